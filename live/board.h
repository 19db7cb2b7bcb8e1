#pragma once

#include "files/disk.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace live {

/// What telephones see: the season's page, and today's pressings.
struct Shown {
    std::string page;
    std::string today; ///< the part of the page that is asked for again and again
    std::string mark;  ///< another one whenever `today` is another
};

/// Shows what the database holds. It is read when its file has changed or a new day has begun, read-only and in
/// passing, by a thread of its own that takes at most a tenth of one processor.
class Board {
public:
    /// Days since 1899-12-30 by the mill's clock.
    using Now = std::function<double()>;
    using Tell = std::function<void(const std::string& sentence)>;

    /// Reads the database once before it returns; throws files::Error where it cannot be read. Later failures are
    /// told, once each, and what was seen last stays with a line that says so.
    Board(files::Disk& disk, std::filesystem::path database, Now now, Tell tell);
    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    std::shared_ptr<const Shown> shown() const;

private:
    void follow(const std::stop_token& end);
    void read();
    void show(Shown shown);
    files::FileStamp stamp();
    std::chrono::milliseconds look();

    files::Disk& disk_;
    const std::filesystem::path database_;
    const Now now_;
    const Tell tell_;

    // Of the thread that reads, and before it begins of the constructor.
    files::FileStamp seen_;
    int day_ = 0;
    std::string told_;
    std::string today_; ///< without a word of failures

    mutable std::mutex mutex_;
    std::condition_variable_any pause_;
    std::shared_ptr<const Shown> shown_;
    std::jthread thread_; ///< last: it ends before anything else goes
};

} // namespace live
