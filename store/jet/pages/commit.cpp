#include "store/jet/pages/commit.h"

#include "store/jet/format/journal_layout.h"
#include "store/jet/pages/left_over_journal.h"
#include "store/jet/pages/pager_failing.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <random>
#include <utility>

namespace jet {

namespace {

constexpr std::uint64_t journalSizeKept = 1 << 20;
constexpr std::size_t mostPagesApart = 64;
/// The digest of a file of up to so many pages is computed anew to see whether the one kept is right.
constexpr PageCount mostPagesDigestedTwice = 256;

bool byPage(const TouchedPage& a, const TouchedPage& b) { return a.page < b.page; }

} // namespace

Commit::Commit(Disk& disk, const std::filesystem::path& database, File& file, PageMemory& memory)
    : disk_(disk), database_(database), journalPath_(journalPathOf(disk, database)), file_(file), memory_(memory)
{
    std::random_device noise;
    salt_ = static_cast<std::uint64_t>(noise()) << 32 | noise();
}

Commit::~Commit()
{
    // A struck out journal is of no use to anyone; one that still counts is the next open's business.
    if (!journal_ || stage_ == Stage::broken) return;
    journal_.reset();
    succeeds([&] { disk_.remove(journalPath_); });
}

void Commit::throwBroken() const { throw Error(Fault::disk, *broken_); }

bool Commit::prepare()
{
    assert(stage_ == Stage::idle);
    changed_.clear();
    appended_.clear();
    old_.clear();
    for (const TouchedPage& one : memory_.touched()) {
        if (one.image == nullptr)
            appended_.push_back(one);
        else if (std::memcmp(one.image, memory_.read(one.page).data(), pageSize) != 0)
            changed_.push_back(one);
    }
    if (changed_.empty() && appended_.empty()) return false;
    std::ranges::sort(changed_, byPage);
    std::ranges::sort(appended_, byPage);
    for (const TouchedPage& one : changed_) old_.push_back({one.page, one.image});
    reachedFile_ = false;
    if (!lockPatiently(file_, File::Lock::commit)) throw inUse(database_);
    stage_ = Stage::prepared;
    refuseIfChangedElsewhere();
    return true;
}

/// By what a program that knows nothing of our locks cannot help changing, and by the pages that would be overwritten:
/// a clock may be too coarse to tell.
void Commit::refuseIfChangedElsewhere() const
{
    if (file_.stamp() != memory_.stamp()) throw changedElsewhere(database_);
    std::vector<std::uint8_t> bytes(pageSize);
    const auto holds = [&](PageNo page, const std::uint8_t* image) {
        return file_.read(positionOf(page), bytes) == pageSize && std::memcmp(bytes.data(), image, pageSize) == 0;
    };
    for (const TouchedPage& one : changed_)
        if (!holds(one.page, one.image)) throw changedElsewhere(database_);
    const std::span<const std::uint8_t> header = memory_.loaded(0, 1);
    if (!header.empty() && !memory_.isTouched(0) && !holds(0, header.data())) throw changedElsewhere(database_);
}

void Commit::arm()
{
    assert(stage_ == Stage::prepared);
    openJournal();
    header_ = {++salt_, memory_.countBefore(), static_cast<std::uint32_t>(old_.size()), digestWithout(old_)};
    struckOut_ = false;
    journalReach_ = std::max(journalReach_, journal_layout::recordAt(old_.size()));
    writeJournal(*journal_, header_, old_);
    journal_->sync();
    stage_ = Stage::armed;
    // Syncing takes its time, and not every system keeps others from opening the file meanwhile.
    if (file_.stamp() != memory_.stamp()) throw changedElsewhere(database_);
}

void Commit::writeFile()
{
    assert(stage_ == Stage::armed);
    reachedFile_ = true;
    // New pages first: a full disk then shows before an old page is overwritten.
    writeRuns(appended_);
    writeRuns(changed_);
    file_.sync();
    memory_.setStamp(file_.stamp());
    stage_ = Stage::inFile;
}

void Commit::disarm()
{
    assert(stage_ == Stage::inFile);
    strikeOut();
    shortenJournal();
    std::vector<PageNo> written;
    for (const auto* part : {&changed_, &appended_}) // new pages stand behind the others
        for (const TouchedPage& one : *part) written.push_back(one.page);
    apart_ = std::move(written);
    digest_ = header_.othersDigest;
    if (apart_.size() > mostPagesApart) knowDigest(digestWithThoseApart());
    stage_ = Stage::idle;
    backToWriter();
}

void Commit::takeBack() noexcept
{
    // A journal that counts beside a file that nothing was written to has nothing to put back.
    switch (stage_ == Stage::armed && !reachedFile_ ? Stage::prepared : stage_) {
    case Stage::idle:
    case Stage::broken:
        return;
    case Stage::prepared:
        // Nothing has reached the database. The journal must not count beside a file that others go on changing.
        if (journal_ && !succeeds([&] { strikeOut(); })) succeeds([&] { journal_->truncate(0); });
        shortenJournal();
        break;
    case Stage::armed:
    case Stage::inFile:
        // Once striking out was tried, the journal on the disk may or may not count; it has to before old pages go
        // back.
        const bool armed = stage_ == Stage::armed || succeeds([&] {
                               struckOut_ = false;
                               writeJournalHeader(*journal_, header_);
                               journal_->sync();
                           });
        if (!armed || !putBack()) {
            broken_ = inQuotes(database_) +
                      " dosyasına yazılamadı ve eski durumu geri konamadı (disk hatası); programı kapatıp "
                      "diski denetleyin, dosya yeniden açılınca onarılacak.";
            stage_ = Stage::broken;
            return;
        }
        succeeds([&] { strikeOut(); });
        shortenJournal();
        break;
    }
    stage_ = Stage::idle;
    backToWriter();
}

void Commit::backToWriter() noexcept
{
    succeeds([&] { file_.lock(File::Lock::writer); });
}

/// Opens the journal for the first commit. Its name must survive a power cut before a page of the database is touched.
void Commit::openJournal()
{
    if (journal_) return;
    std::unique_ptr<File> opened;
    if (disk_.exists(journalPath_)) {
        try {
            opened = disk_.open(journalPath_, Disk::Access::readWrite);
        } catch (const Error& error) {
            if (error.fault() != Fault::noPermission) throw;
            disk_.remove(journalPath_); // another account's, and dealt with when the database was opened
        }
    }
    if (!opened) opened = disk_.open(journalPath_, Disk::Access::createNew);
    disk_.syncFolder(journalPath_.parent_path());
    journal_ = std::move(opened);
}

std::uint64_t Commit::digest()
{
    if (!digest_) digest_ = digestOfFile();
    if (file_.stamp() != memory_.stamp()) throw changedElsewhere(database_);
    return digestWithThoseApart();
}

std::uint64_t Commit::digestWithThoseApart() const
{
    std::uint64_t sum = *digest_;
    for (const PageNo page : apart_) sum += pageHash(page.number(), memory_.read(page));
    return sum;
}

/// Digest of the pages of the file that are not among `pages` (which hold what the file holds).
std::uint64_t Commit::digestWithout(std::span<const OldPage> pages)
{
    if (!digest_) digest_ = digestOfFile();
    std::uint64_t sum = *digest_;
    auto apart = apart_.begin();
    const auto addBelow = [&](PageNo end) {
        for (; apart != apart_.end() && *apart < end; ++apart) sum += pageHash(apart->number(), memory_.read(*apart));
    };
    for (const OldPage& old : pages) {
        addBelow(old.page);
        if (apart != apart_.end() && *apart == old.page)
            ++apart;
        else
            sum -= pageHash(old.page.number(), PageView(old.image, pageSize));
    }
    addBelow(PageNo(memory_.countBefore()));
    return sum;
}

/// Of the file as it is outside the transaction. Pages that were never asked for are read for this alone.
std::uint64_t Commit::digestOfFile() const
{
    std::uint64_t sum = 0;
    std::vector<std::uint8_t> buffer;
    const PageNo fileEnd(memory_.countBefore());
    for (PageNo first = 0; first < fileEnd; first += PageMemory::pagesPerExtent) {
        const PageNo end = std::min(first + PageMemory::pagesPerExtent, fileEnd);
        std::span<const std::uint8_t> bytes = memory_.loaded(first, end);
        if (bytes.empty()) {
            buffer.resize((end - first) * pageSize);
            if (file_.read(positionOf(first), buffer) != buffer.size()) memory_.throwNoSuchPage(first);
            bytes = buffer;
        }
        for (PageNo page = first; page < end; ++page)
            if (!memory_.isTouched(page))
                sum += pageHash(page.number(), PageView(&bytes[(page - first) * pageSize], pageSize));
    }
    for (const TouchedPage& one : memory_.touched())
        if (one.image != nullptr) sum += pageHash(one.page.number(), PageView(one.image, pageSize));
    return sum;
}

void Commit::writeRuns(std::span<const TouchedPage> sorted)
{
    constexpr PageCount perExtent = PageMemory::pagesPerExtent;
    for (std::size_t i = 0; i < sorted.size();) {
        const PageNo first = sorted[i].page;
        PageNo end = first;
        // A run ends with its extent: the next one lies elsewhere in memory.
        while (i < sorted.size() && sorted[i].page == end && end.number() / perExtent == first.number() / perExtent) {
            ++i;
            ++end;
        }
        file_.write(positionOf(first), memory_.loaded(first, end));
    }
}

bool Commit::putBack() noexcept
{
    return succeeds([&] {
        for (const OldPage& one : old_) file_.write(positionOf(one.page), std::span(one.image, pageSize));
        const std::uint64_t size = positionOf(PageNo(memory_.countBefore()));
        if (file_.size() > size) file_.truncate(size);
        file_.sync();
        memory_.setStamp(file_.stamp());
    });
}

void Commit::strikeOut()
{
    struckOut_ = false;
    strikeOutJournal(*journal_);
    journal_->sync();
    struckOut_ = true;
}

/// A long journal that does not count takes room that a full disk may need.
void Commit::shortenJournal() noexcept
{
    if (!struckOut_ || journalReach_ <= journalSizeKept) return;
    if (succeeds([&] { journal_->truncate(0); })) journalReach_ = 0;
}

// ---- what must hold ----

void Commit::assertState() const
{
#ifndef NDEBUG
    assert((stage_ == Stage::broken) == broken_.has_value());
    assert(stage_ == Stage::idle || stage_ == Stage::broken || !(changed_.empty() && appended_.empty()));
    // Only what this object wrote itself a moment ago is read back: what others do to a disk is no matter of asserts.
    if (stage_ == Stage::armed) assert(journalLeadsBack());
    if (stage_ == Stage::inFile) assert(fileHolds(changed_) && fileHolds(appended_));
    if (stage_ == Stage::idle && struckOut_) assert(!readJournal(*journal_));
    const bool isTheFile = stage_ == Stage::idle && memory_.touched().empty();
    if (!isTheFile || !digest_ || memory_.countBefore() > mostPagesDigestedTwice) return;
    for (PageNo page = 0; page < PageNo(memory_.countBefore()); ++page)
        if (memory_.loaded(page, page + 1).empty()) return;
    assert(digestWithThoseApart() == digestOfFile());
#endif
}

/// The journal counts and holds the state before this commit.
bool Commit::journalLeadsBack() const
{
    const auto header = readJournal(*journal_);
    if (!header || header->salt != header_.salt || header->records != old_.size()) return false;
    std::size_t record = 0;
    bool same = header->pagesBefore == memory_.countBefore();
    forEachOldPage(*journal_, *header, [&](PageNo page, PageView image) {
        const OldPage& expected = old_[record++];
        same = same && page == expected.page && std::memcmp(image.data(), expected.image, pageSize) == 0;
    });
    return same;
}

/// The pages stand in the file as they stand in memory.
bool Commit::fileHolds(std::span<const TouchedPage> pages) const
{
    std::vector<std::uint8_t> bytes(pageSize);
    return std::ranges::all_of(pages, [&](const TouchedPage& one) {
        return file_.read(positionOf(one.page), bytes) == pageSize && std::ranges::equal(bytes, memory_.read(one.page));
    });
}

} // namespace jet
