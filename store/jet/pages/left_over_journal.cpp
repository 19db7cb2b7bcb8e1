#include "store/jet/pages/left_over_journal.h"

#include "files/journal_name.h"
#include "store/jet/pages/pager_failing.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace jet {

namespace {

constexpr PageCount pagesPerRead = 64;
constexpr auto longestWait = std::chrono::seconds(2);
constexpr auto pause = std::chrono::milliseconds(10);

void putBackFrom(File& file, File& journal, const JournalHeader& header)
{
    forEachOldPage(journal, header, [&](PageNo page, PageView image) { file.write(positionOf(page), image); });
    const std::uint64_t size = positionOf(PageNo(header.pagesBefore));
    if (file.size() > size) file.truncate(size);
    file.sync();
}

} // namespace

std::filesystem::path journalPathOf(Disk& disk, const std::filesystem::path& database)
{
    return files::journalOf(disk.realPath(database));
}

bool lockPatiently(File& file, File::Lock wanted)
{
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    while (!file.lock(wanted)) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

LeftOverJournal::LeftOverJournal(Disk& disk, const std::filesystem::path& database)
    : disk_(disk), database_(database), path_(journalPathOf(disk, database))
{
}

/// Nothing when there is none, also when its owner removes it at this very moment.
std::unique_ptr<File> LeftOverJournal::openFound(Disk::Access access)
{
    if (!disk_.exists(path_)) return nullptr;
    try {
        return disk_.open(path_, access);
    } catch (const Error& error) {
        if (error.fault() == Fault::notFound) return nullptr;
        throw;
    }
}

void LeftOverJournal::repairAsWriter(File& file)
{
    bool strikable = true;
    std::unique_ptr<File> found;
    try {
        found = openFound(Disk::Access::readWrite);
    } catch (const Error& error) {
        if (error.fault() != Fault::noPermission) throw;
        found = openFound(Disk::Access::readOnly);
        strikable = false;
    }
    if (!found) return;
    if (const auto header = readJournal(*found)) {
        if (!belongs(file, *found, *header)) {
            found.reset();
            setAside();
            return;
        }
        if (!lockPatiently(file, File::Lock::commit)) throw inUse(database_);
        putBackFrom(file, *found, *header);
        if (strikable) {
            strikeOutJournal(*found);
            found->sync();
        } else {
            found.reset();
            disk_.remove(path_);
            disk_.syncFolder(path_.parent_path());
        }
        file.lock(File::Lock::writer);
        if (!strikable) return;
    }
    // What remains counts for nothing, whether or not its name survives.
    found.reset();
    succeeds([&] { disk_.remove(path_); });
}

std::optional<LeftOverJournal::Unapplied> LeftOverJournal::repairAsReader(File& file)
{
    // While a reader holds its lock no commit can be under way: a journal that counts was left by a crash.
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    for (;; std::this_thread::sleep_for(pause)) {
        if (!lockPatiently(file, File::Lock::reader)) throw inUse(database_);
        auto found = openFound(Disk::Access::readOnly);
        if (!found) return {};
        const auto header = readJournal(*found);
        if (!header || !belongs(file, *found, *header)) return {};

        std::unique_ptr<File> repaired;
        try {
            repaired = disk_.open(database_, Disk::Access::readWrite);
        } catch (const Error& error) {
            if (error.fault() != Fault::noPermission) throw;
        }
        if (!repaired) return Unapplied{std::move(found), *header};
        file.lock(File::Lock::none);
        if (repaired->lock(File::Lock::writer)) {
            repairAsWriter(*repaired);
            repaired->lock(File::Lock::none);
        } else if (std::chrono::steady_clock::now() >= deadline) {
            throw inUse(database_);
        }
    }
}

bool LeftOverJournal::belongs(File& file, File& journal, const JournalHeader& header)
{
    if (file.size() < positionOf(PageNo(header.pagesBefore))) return false;
    std::vector<bool> inJournal(header.pagesBefore);
    forEachOldPage(journal, header, [&](PageNo page, PageView) { inJournal[page.number()] = true; });
    std::vector<std::uint8_t> buffer(pagesPerRead * pageSize);
    std::uint64_t sum = 0;
    const PageNo end(header.pagesBefore);
    for (PageNo first = 0; first < end; first += pagesPerRead) {
        const PageCount pages = std::min(pagesPerRead, end - first);
        const std::span part(buffer.data(), pages * pageSize);
        if (file.read(positionOf(first), part) != part.size()) return false;
        for (PageCount i = 0; i < pages; ++i)
            if (!inJournal[(first + i).number()])
                sum += pageHash((first + i).number(), PageView(&part[i * pageSize], pageSize));
    }
    return sum == header.othersDigest;
}

void LeftOverJournal::setAside()
{
    auto aside = path_;
    disk_.rename(path_, aside += ".old");
    disk_.syncFolder(path_.parent_path());
}

} // namespace jet
