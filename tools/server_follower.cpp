#include "tools/server_follower.h"

#include "files/error.h"
#include "files/part_file.h"
#include "mill/names.h"
#include "store/jet/database/database.h"
#include "tools/command_line.h"
#include "tools/language.h"

#include <charconv>
#include <cstdio>
#include <thread>
#include <utility>
#include <vector>

namespace tools {
namespace {

/// Pressings in the file, without the sums of a report.
std::uint64_t pressingsIn(files::Disk& disk, const std::filesystem::path& file)
{
    const auto database = jet::Database::open(disk, file, jet::Pager::Mode::readOnly);
    const jet::Table& journal = database->table(mill::Hareket::table);
    const auto customer = journal.columnNamed(mill::Hareket::fields[mill::Hareket::CariHar]);
    std::uint64_t count = 0;
    journal.forEachRow([&](jet::RowId, const jet::RowView& row) {
        count += !customer || !row.textIs(*customer, mill::reserved::totals);
        return true;
    });
    return count;
}

} // namespace

ServerFollower::ServerFollower(files::Disk& disk, postgres::ServerSettings settings, std::filesystem::path file,
                               postgres::ToServer options)
    : disk_(disk), settings_(std::move(settings)), file_(std::move(file)), memory_(file_.parent_path() / "Sunucu.son"),
      options_(std::move(options))
{
}

void ServerFollower::run(std::chrono::seconds pause)
{
    for (;; std::this_thread::sleep_for(pause)) {
        try {
            look();
            why_.clear();
        } catch (const files::Error& error) {
            if (const std::string why = sentenceOf(error); std::exchange(why_, why) != why)
                std::fprintf(stderr, "presva-mdb: %s\n", why.c_str());
            tell(waiting());
        }
    }
}

void ServerFollower::look()
{
    // Asked before: what is written meanwhile is another state.
    const files::FileStamp state = disk_.open(file_, files::Disk::Access::readOnly)->stamp();
    if (state == carried_) return;
    const postgres::Carried carried = postgres::toServer(disk_, settings_, file_, options_, {});
    carried_ = state;
    rememberCarried(carried.pressings);
    tell(said("Sunucu: bütün kayıtlar aktarıldı", "Server: everything is carried over"));
}

void ServerFollower::tell(const std::string& state)
{
    if (std::exchange(told_, state) == state) return;
    Output out(standardOutput);
    say(out, state);
    out.flush();
}

std::string ServerFollower::waiting()
{
    try {
        const files::FileStamp state = disk_.open(file_, files::Disk::Access::readOnly)->stamp();
        if (state == counted_) return waiting_;
        const std::uint64_t there = pressingsIn(disk_, file_);
        const std::uint64_t before = carriedBefore();
        waiting_ = there > before ? std::string(said("Sunucu: ", "Server: ")) + std::to_string(there - before) +
                                        said(" sıkım bekliyor", " pressings wait")
                                  : said("Sunucu: aktarılamıyor", "Server: cannot be reached");
        counted_ = state;
        return waiting_;
    } catch (const files::Error&) {
        return said("Sunucu: aktarılamıyor", "Server: cannot be reached");
    }
}

std::uint64_t ServerFollower::carriedBefore() const
{
    std::uint64_t number = 0;
    if (!disk_.exists(memory_)) return number;
    std::vector<std::uint8_t> bytes(32);
    bytes.resize(disk_.open(memory_, files::Disk::Access::readOnly)->read(0, bytes));
    const std::string digits(bytes.begin(), bytes.end());
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

void ServerFollower::rememberCarried(std::uint64_t pressings) const
{
    auto part = files::PartFile::replacing(disk_, memory_);
    part.write(std::to_string(pressings));
    part.publish();
}

} // namespace tools
