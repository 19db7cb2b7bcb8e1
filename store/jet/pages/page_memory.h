#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/format/format.h"
#include "store/jet/pages/passing_buffer.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace jet {

/// A page that the open transaction has written.
struct TouchedPage {
    PageNo page = 0;
    const std::uint8_t* image = nullptr; ///< its pageSize bytes before the transaction; null where it appended the page
};

/// The pages of a file in memory, and what the open transaction has written over. Private to the Pager.
///
/// Pages are read when first asked for and stay: a view is valid until the end of the memory. Whoever asks for one page
/// after the other gets them read ahead, more each time; whoever jumps gets what he asks for.
class PageMemory {
public:
    /// `pages` as they stand in the file, which has that stamp. `path` is for sentences.
    PageMemory(File& file, PageCount pages, const FileStamp& stamp, const std::filesystem::path& path);
    ~PageMemory();
    PageMemory(const PageMemory&) = delete;
    PageMemory& operator=(const PageMemory&) = delete;

    PageCount count() const { return count_; }             ///< those appended by the open transaction included
    PageCount countBefore() const { return countBefore_; } ///< without them: what the file holds

    /// Throws damaged where there is no such page, cutShort where the file has lost it, changedElsewhere when it had to
    /// be read and the file is not the one that the other pages were read from.
    PageView read(PageNo page)
    {
        if (!has(page)) throwNoSuchPage(page);
        return PageView(bytes(page), pageSize);
    }
    /// The page for a look in passing: where it is not in memory it is read into `buffer` with those around it and not
    /// kept. Valid until the next look with that buffer; the pages must not be written meanwhile. Throws as read().
    PageView look(PageNo page, PassingBuffer& buffer);
    /// The same, alone.
    PageView look(PageNo page, PageBuffer& buffer);
    /// The page for changing; what it holds now is kept when it is the transaction's first change. Throws as read().
    PageBytes write(PageNo page);
    [[noreturn]] void throwNoSuchPage(PageNo page) const;
    /// Appends zero pages until there are `count`.
    void extendTo(PageCount count);
    /// Puts other content in the place of what the file holds, for good: for a medium that cannot be written.
    void replace(PageNo page, PageView content);

    /// The pages written since the last accept() or takeBack(), each once, in the order of their first change.
    std::span<const TouchedPage> touched() const { return touched_; }
    bool isTouched(PageNo page) const { return isTouched_[page.number()]; }
    /// The pages from `page` to before `end`, of one extent, as they stand in memory one behind the other; empty where
    /// one of them was never asked for.
    std::span<const std::uint8_t> loaded(PageNo page, PageNo end) const;

    /// What was written stands in the file now.
    void accept() noexcept;
    /// The file as it was when the pages were read, or after this program's own last write.
    const FileStamp& stamp() const { return stamp_; }
    void setStamp(const FileStamp& stamp) { stamp_ = stamp; }
    /// Forgets every page: the file is another now, of so many pages. Nothing may be touched.
    void forget(PageCount pages, const FileStamp& stamp);
    /// Everything is as it was before the first change.
    void takeBack() noexcept;

    /// Asserts what must hold at any time; at `thorough` also what needs a look at every touched page.
    void assertState(bool thorough) const;

    static constexpr PageCount pagesPerExtent = 64;

private:
    bool has(PageNo page) const { return page < PageNo(count_); }
    bool wasThere(PageNo page) const { return page < PageNo(countBefore_); }

    static constexpr std::size_t extentSize = pagesPerExtent * pageSize;
    static std::size_t extentsFor(PageCount pages) { return (pages + pagesPerExtent - 1) / pagesPerExtent; }

    static std::size_t extentOf(PageNo page) { return page.number() / pagesPerExtent; }
    static unsigned placeOf(PageNo page) { return page.number() % pagesPerExtent; } ///< in its extent

    struct Extent {
        std::unique_ptr<std::uint8_t[]> bytes; ///< null: none of its pages was asked for yet
        std::uint64_t loaded = 0;              ///< a bit for each page
        bool has(PageNo page) const { return (loaded >> placeOf(page) & 1) != 0; }
    };

    std::uint8_t* bytes(PageNo page)
    {
        Extent& extent = extents_[extentOf(page)];
        if (!extent.has(page)) load(page);
        return extent.bytes.get() + placeOf(page) * pageSize;
    }
    void load(PageNo page);
    PageNo readAhead(PageNo page) const;
    void readFile(PageNo first, PageNo end, std::uint8_t* into);
    void touch(PageNo page);
    void forgetTouched() noexcept;

    File& file_;
    FileStamp stamp_;
    const std::filesystem::path& path_;
    std::vector<Extent> extents_;
    PageCount count_;
    PageCount countBefore_;
    std::vector<TouchedPage> touched_;
    std::vector<bool> isTouched_;
    std::vector<std::unique_ptr<std::uint8_t[]>> imageChunks_;
    std::size_t imagesUsed_ = 0;
};

} // namespace jet
