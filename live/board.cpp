#include "live/board.h"

#include "files/error.h"
#include "files/quoted_path.h"
#include "seasons/journal.h"
#include "seasons/page.h"
#include "seasons/report.h"

#include <algorithm>
#include <cmath>

namespace live {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds shortestRest{1000};
constexpr int restPerReading = 9; ///< so that reading takes a tenth of the time at most

std::string markOf(const std::string& text)
{
    // Only to tell one from the next: nobody gains by two that are alike.
    return '"' + std::to_string(std::hash<std::string>()(text)) + '"';
}

} // namespace

Board::Board(files::Disk& disk, std::filesystem::path database, Now now, Tell tell)
    : disk_(disk), database_(std::move(database)), now_(std::move(now)), tell_(std::move(tell))
{
    read();
    thread_ = std::jthread([this](const std::stop_token& end) { follow(end); });
}

std::shared_ptr<const Shown> Board::shown() const
{
    const std::scoped_lock lock(mutex_);
    return shown_;
}

files::FileStamp Board::stamp() { return disk_.open(database_, files::Disk::Access::readOnly)->stamp(); }

void Board::read()
{
    const double now = now_();
    const files::FileStamp before = stamp();
    const auto database = seasons::openToRead(disk_, database_);
    const seasons::Reading reading = seasons::readSeason(*database, {}, now);
    today_ = seasons::todayPart(seasons::describeToday(reading, now));
    show({seasons::livePage(seasons::describe(reading, files::inQuotes(database_.filename()), now), today_),
          today_,
          {}});
    // Who wrote meanwhile has left another stamp.
    seen_ = before;
    day_ = static_cast<int>(std::floor(now));
    told_.clear();
}

void Board::show(Shown shown)
{
    shown.mark = markOf(shown.today);
    auto next = std::make_shared<const Shown>(std::move(shown));
    const std::scoped_lock lock(mutex_);
    shown_ = std::move(next);
}

milliseconds Board::look()
{
    const auto begun = std::chrono::steady_clock::now();
    try {
        if (stamp() != seen_ || static_cast<int>(std::floor(now_())) != day_ || !told_.empty()) read();
    } catch (const files::Error& error) {
        if (told_ != error.what()) {
            told_ = error.what();
            tell_(told_);
            // The sentence names paths, which are nobody's business out there.
            show({shown()->page,
                  seasons::notice("Veritabanı şu anda okunamıyor; görülenler biraz eski olabilir.") + today_,
                  {}});
        }
    }
    const auto took = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begun);
    return std::max(shortestRest, took * restPerReading);
}

void Board::follow(const std::stop_token& end)
{
    for (milliseconds rest = shortestRest;; rest = look()) {
        std::unique_lock lock(mutex_);
        pause_.wait_for(lock, end, rest, [] { return false; });
        if (end.stop_requested()) return;
    }
}

} // namespace live
