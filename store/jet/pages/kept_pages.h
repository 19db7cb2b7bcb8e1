#pragma once

#include "store/jet/format/format.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <unordered_map>

namespace jet {

/// What a Pager and the reader of one of its snapshots share: old pages that the file no longer has.
class KeptPages {
public:
    /// What the reader finds.
    enum class State {
        good,
        closed,     ///< the Pager is gone: nobody keeps old pages any more
        incomplete, ///< there was no memory for an old page
    };

    explicit KeptPages(PageCount pages) : pages_(pages) {}

    PageCount pageCount() const { return pages_; }
    /// The page is about to be overwritten in the file. Called by the Pager's thread.
    void keep(PageNo page, const std::uint8_t* image) noexcept;
    /// Called by the Pager's thread when it goes.
    void close() noexcept;
    /// Puts kept pages over what was read from the file at `first`; pages before the end of `pages` are no longer
    /// kept from now on. Called by the reader, in the order of the pages.
    State overlay(PageNo first, std::span<std::uint8_t> pages);

private:
    const PageCount pages_;
    std::mutex mutex_;
    std::unordered_map<PageNo, std::unique_ptr<std::uint8_t[]>> images_;
    PageNo read_ = 0; ///< pages below are read already
    State state_ = State::good;
};

} // namespace jet
