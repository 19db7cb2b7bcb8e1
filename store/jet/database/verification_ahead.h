#pragma once

#include "store/jet/database/database.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace jet {

/// Tables of a Database verified, and its pages summed up for the journal, on a thread of its own, so that their first
/// change need not wait for it. That thread has a Database of its own beside the one that will write (Pager::beside)
/// and shares nothing with it.
///
/// What it finds counts only for the pages that it has read: as long as nobody, not even the open transaction, has
/// written since it began.
class VerificationAhead {
public:
    /// Null where nothing can be done ahead. The database outlives it.
    static std::unique_ptr<VerificationAhead> begin(Database::State& of, const std::vector<std::u16string>& tables);
    ~VerificationAhead(); ///< ends the thread
    VerificationAhead(const VerificationAhead&) = delete;
    VerificationAhead& operator=(const VerificationAhead&) = delete;

    bool isDone() const { return done_; }
    /// Waits for the end, and gives every table what was found about it. Once.
    void giveVerdicts() noexcept;

private:
    VerificationAhead(Database::State& of, const std::vector<std::u16string>& tables);
    void run() noexcept;

    /// Which state of the file its pages are of.
    struct Moment {
        std::uint64_t changes, foreignChanges, writes;
        bool operator==(const Moment&) const = default;
    };
    static Moment now(const Pager& pager) { return {pager.changeCount(), pager.foreignChanges(), pager.writeCount()}; }

    Database::State& of_;
    std::vector<std::u16string> tables_;
    Moment began_;
    std::atomic<bool> goOn_ = true;
    std::atomic<bool> done_ = false;
    std::unique_ptr<Pager> pager_;       ///< until the thread opens the database on it
    std::unique_ptr<Database> database_; ///< the thread's until it has ended
    std::optional<std::uint64_t> digest_;
    std::thread thread_;
};

} // namespace jet
