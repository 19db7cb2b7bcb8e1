#include "store/jet/pages/pager.h"

#include "store/jet/format/doors.h"
#include "store/jet/pages/journal.h"
#include "store/jet/pages/kept_pages.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <chrono>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace jet {

namespace {

constexpr PageNo pagesPerExtent = 64;
constexpr std::size_t extentSize = pagesPerExtent * pageSize;
constexpr PageNo pagesOfEmptyDatabase = 16;
constexpr PageNo imagesPerChunk = 32;
constexpr std::size_t chunksKept = 16;
constexpr std::uint64_t journalSizeKept = 1 << 20;
constexpr auto longestWait = std::chrono::seconds(2);
constexpr auto pause = std::chrono::milliseconds(10);

std::string quoted(const std::filesystem::path& path)
{
    const auto utf8 = path.u8string();
    return "'" + std::string(utf8.begin(), utf8.end()) + "'";
}

Error inUse(const std::filesystem::path& path)
{
    return {Fault::inUse, quoted(path) + " başka bir program tarafından kullanılıyor; onu kapatıp yeniden deneyin."};
}

std::filesystem::path withSuffix(std::filesystem::path path, const char* suffix) { return path += suffix; }

/// Tries until it succeeds or other programs have had two seconds to finish.
bool lockPatiently(File& file, File::Lock wanted)
{
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    while (!file.lock(wanted)) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

/// For steps that only tidy up: what fails here is made good by the next open.
template <class Action> bool succeeds(Action&& action) noexcept
{
    try {
        action();
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace

struct Pager::State {
    /// A page of the open transaction. Pages appended by it have no image.
    struct Touched {
        PageNo page = 0;
        std::uint8_t* image = nullptr;
    };

    Disk& disk;
    std::filesystem::path path;
    std::filesystem::path journalPath;
    std::unique_ptr<File> file;
    std::unique_ptr<File> journal; ///< from the first commit on
    bool writable = false;

    std::vector<std::unique_ptr<std::uint8_t[]>> extents; ///< null: not loaded yet
    PageNo count = 0;                                     ///< pages now
    PageNo countBefore = 0;                               ///< pages outside the transaction: those of the file

    bool open = false; ///< a transaction
    bool spoilt = false;
    std::vector<Touched> touched;
    std::vector<bool> isTouched;
    std::vector<std::unique_ptr<std::uint8_t[]>> imageChunks;
    std::size_t imagesUsed = 0;

    std::vector<std::weak_ptr<KeptPages>> snapshots; ///< whoever reads what the file is about to lose

    std::uint64_t changes = 0;
    std::uint64_t writes = 0;
    PageNo freeSearchStart = 0;
    std::optional<std::uint64_t> digest; ///< sum of pageHash over all pages of the file, once it was needed
    std::uint64_t salt = 0;
    std::optional<std::string> broken; ///< why nothing may be done any more

    State(Disk& d, std::filesystem::path p, Mode mode);
    ~State();

    void openFile(Mode mode);
    std::unique_ptr<File> openFoundJournal(Disk::Access access);
    void settleJournalAsWriter();
    void settleJournalAsReader();
    bool belongs(File& journalFile, const JournalHeader& header);
    void putBackFrom(File& journalFile, const JournalHeader& header);
    void setJournalAside();
    void checkGeometry();

    void refuseIfBroken() const
    {
        if (broken) throw Error(Fault::disk, *broken);
    }
    void load(PageNo extent);
    std::uint8_t* bytes(PageNo page)
    {
        const PageNo extent = page / pagesPerExtent;
        if (!extents[extent]) load(extent);
        return extents[extent].get() + std::size_t{page % pagesPerExtent} * pageSize;
    }
    PageView view(PageNo page) { return PageView(bytes(page), pageSize); }
    [[noreturn]] void noSuchPage(PageNo page) const;
    void touch(PageNo page);
    void endTransaction() noexcept;

    void openJournal();
    std::uint64_t digestWithout(std::span<const OldPage> pages);
    void writeRuns(std::span<const Touched> sorted);
    bool putBack(std::span<const OldPage> old) noexcept;
    void strikeOut();
    void keepForSnapshots(std::span<const Touched> changed) noexcept;
    void commit();
    void rollback() noexcept;
};

Pager::State::State(Disk& d, std::filesystem::path p, Mode mode) : disk(d), path(std::move(p))
{
    std::random_device noise;
    salt = static_cast<std::uint64_t>(noise()) << 32 | noise();
    journalPath = withSuffix(disk.realPath(path), "-journal");
    openFile(mode);
    // A session of Access keeps a byte of its lock file locked for every user; the file alone, left over from a
    // crash, says nothing.
    auto accessLockFile = disk.realPath(path);
    accessLockFile.replace_extension(".ldb");
    if (accessLockFile != disk.realPath(path) && disk.exists(accessLockFile) && disk.heldElsewhere(accessLockFile))
        throw inUse(path);
    if (writable)
        settleJournalAsWriter();
    else
        settleJournalAsReader();
    if (count == 0) checkGeometry();
    countBefore = count;
    extents.resize((count + pagesPerExtent - 1) / pagesPerExtent);
    isTouched.resize(count);
}

Pager::State::~State()
{
    for (const auto& each : snapshots)
        if (const auto kept = each.lock()) kept->close();
    // A struck out journal is of no use to anyone; one that still counts is the next open's business.
    if (journal && !broken) {
        journal.reset();
        succeeds([&] { disk.remove(journalPath); });
    }
}

void Pager::State::openFile(Mode mode)
{
    if (mode == Mode::readWrite) {
        try {
            file = disk.open(path, Disk::Access::readWrite);
            writable = true;
            return;
        } catch (const Error& error) {
            if (error.fault() != Fault::noPermission) throw;
        }
    }
    file = disk.open(path, Disk::Access::readOnly);
}

/// Nothing when there is none, also when its owner removes it at this very moment.
std::unique_ptr<File> Pager::State::openFoundJournal(Disk::Access access)
{
    if (!disk.exists(journalPath)) return nullptr;
    try {
        return disk.open(journalPath, access);
    } catch (const Error& error) {
        if (error.fault() == Fault::notFound) return nullptr;
        throw;
    }
}

void Pager::State::settleJournalAsWriter()
{
    // A writer holds its lock as long as it runs: waiting would be in vain.
    if (!file->lock(File::Lock::writer)) throw inUse(path);
    bool strikable = true;
    std::unique_ptr<File> found;
    try {
        found = openFoundJournal(Disk::Access::readWrite);
    } catch (const Error& error) {
        if (error.fault() != Fault::noPermission) throw;
        found = openFoundJournal(Disk::Access::readOnly);
        strikable = false;
    }
    if (!found) return;
    if (const auto header = readJournal(*found)) {
        if (!belongs(*found, *header)) {
            found.reset();
            setJournalAside();
            return;
        }
        if (!lockPatiently(*file, File::Lock::commit)) throw inUse(path);
        putBackFrom(*found, *header);
        if (strikable) {
            strikeOutJournal(*found);
            found->sync();
        } else {
            found.reset();
            disk.remove(journalPath);
            disk.syncFolder(journalPath.parent_path());
        }
        file->lock(File::Lock::writer);
        if (!strikable) return;
    }
    // What remains counts for nothing, whether or not its name survives.
    found.reset();
    succeeds([&] { disk.remove(journalPath); });
}

void Pager::State::settleJournalAsReader()
{
    // While a reader holds its lock no commit can be under way: a journal that counts was left by a crash.
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    for (;; std::this_thread::sleep_for(pause)) {
        if (!lockPatiently(*file, File::Lock::reader)) throw inUse(path);
        const auto found = openFoundJournal(Disk::Access::readOnly);
        if (!found) return;
        const auto header = readJournal(*found);
        if (!header || !belongs(*found, *header)) return;

        // Repair the file itself where that is allowed; a second reader must not find the journal again.
        std::unique_ptr<File> repaired;
        try {
            repaired = disk.open(path, Disk::Access::readWrite);
        } catch (const Error& error) {
            if (error.fault() != Fault::noPermission) throw;
        }
        if (!repaired) {
            count = header->pagesBefore;
            countBefore = count;
            extents.resize((count + pagesPerExtent - 1) / pagesPerExtent);
            forEachOldPage(*found, *header,
                           [&](PageNo page, PageView image) { std::memcpy(bytes(page), image.data(), pageSize); });
            return;
        }
        file->lock(File::Lock::none);
        if (repaired->lock(File::Lock::writer)) {
            std::swap(file, repaired);
            settleJournalAsWriter();
            file->lock(File::Lock::none);
            std::swap(file, repaired);
        } else if (std::chrono::steady_clock::now() >= deadline) {
            throw inUse(path);
        }
    }
}

/// The pages without a record must be those that stood beside the journal. Then putting the old pages back gives the
/// very state before the commit, whatever the pages with a record look like now.
bool Pager::State::belongs(File& journalFile, const JournalHeader& header)
{
    if (file->size() < std::uint64_t{header.pagesBefore} * pageSize) return false;
    std::vector<bool> inJournal(header.pagesBefore);
    forEachOldPage(journalFile, header, [&](PageNo page, PageView) { inJournal[page] = true; });
    std::vector<std::uint8_t> extent(extentSize);
    std::uint64_t sum = 0;
    for (PageNo first = 0; first < header.pagesBefore; first += pagesPerExtent) {
        const PageNo pages = std::min(pagesPerExtent, header.pagesBefore - first);
        const std::span part(extent.data(), pages * pageSize);
        if (file->read(std::uint64_t{first} * pageSize, part) != part.size()) return false;
        for (PageNo i = 0; i < pages; ++i)
            if (!inJournal[first + i]) sum += pageHash(first + i, PageView(&part[i * pageSize], pageSize));
    }
    return sum == header.othersDigest;
}

void Pager::State::putBackFrom(File& journalFile, const JournalHeader& header)
{
    forEachOldPage(journalFile, header,
                   [&](PageNo page, PageView image) { file->write(std::uint64_t{page} * pageSize, image); });
    const std::uint64_t size = std::uint64_t{header.pagesBefore} * pageSize;
    if (file->size() > size) file->truncate(size);
    file->sync();
}

void Pager::State::setJournalAside()
{
    disk.rename(journalPath, withSuffix(journalPath, ".old"));
    disk.syncFolder(journalPath.parent_path());
}

void Pager::State::checkGeometry()
{
    const std::uint64_t size = file->size();
    if (size % pageSize != 0 || size < pagesOfEmptyDatabase * pageSize) {
        constexpr std::string_view signature("Standard Jet DB\0", 16);
        std::array<std::uint8_t, 21> head{};
        file->read(0, head);
        if (!std::equal(signature.begin(), signature.end(), head.begin() + 4))
            throw Error(Fault::notADatabase, quoted(path) + " bir Access veritabanı değil; doğru dosyayı seçin.");
        // Access 97 used pages of half the size, and smaller files.
        if (head[20] == 0)
            throw Error(Fault::oldFormat, quoted(path) + " Access 97 veya daha eski biçimde; Access ile 2000-2003 "
                                                         "biçimine dönüştürün.");
        throw Error(Fault::cutShort, quoted(path) + " yarım kalmış, sonu eksik (" + std::to_string(size) +
                                         " bayt); yedeğini geri yükleyin.");
    }
    if (size / pageSize > maxPages)
        throw Error(Fault::unsupported, quoted(path) + " 2 GB sınırından büyük; bu biçimde böyle bir dosya olamaz.");
    count = static_cast<PageNo>(size / pageSize);
}

void Pager::State::load(PageNo extent)
{
    auto memory = std::make_unique_for_overwrite<std::uint8_t[]>(extentSize);
    const PageNo first = extent * pagesPerExtent;
    const PageNo pages = first < countBefore ? std::min(pagesPerExtent, countBefore - first) : 0;
    const std::span part(memory.get(), pages * pageSize);
    if (pages != 0 && file->read(std::uint64_t{first} * pageSize, part) != part.size())
        throw Error(Fault::cutShort, quoted(path) + " açıkken kısalmış, " + std::to_string(first) +
                                         ". sayfadan sonrası okunamadı; programı kapatıp dosyayı denetleyin.");
    extents[extent] = std::move(memory);
}

void Pager::State::noSuchPage(PageNo page) const
{
    throw Error(Fault::damaged, quoted(path) + " hasarlı: olmayan " + std::to_string(page) +
                                    ". sayfaya başvuruluyor (" + std::to_string(count) +
                                    " sayfa var); yedeğini geri yükleyin.");
}

void Pager::State::touch(PageNo page)
{
    std::uint8_t* const current = bytes(page);
    std::uint8_t* image = nullptr;
    if (page < countBefore) {
        const std::size_t chunk = imagesUsed / imagesPerChunk;
        if (chunk == imageChunks.size())
            imageChunks.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(imagesPerChunk * pageSize));
        image = imageChunks[chunk].get() + (imagesUsed % imagesPerChunk) * pageSize;
        std::memcpy(image, current, pageSize);
    }
    touched.push_back({page, image});
    if (image) ++imagesUsed;
    isTouched[page] = true;
}

void Pager::State::endTransaction() noexcept
{
    for (const Touched& one : touched)
        if (one.page < isTouched.size()) isTouched[one.page] = false;
    touched.clear();
    imagesUsed = 0;
    if (imageChunks.size() > chunksKept) imageChunks.resize(chunksKept);
    isTouched.resize(count);
    open = false;
    spoilt = false;
}

void Pager::State::rollback() noexcept
{
    if (!open) return;
    for (const Touched& one : touched)
        if (one.image) std::memcpy(bytes(one.page), one.image, pageSize); // loaded when it was touched: cannot throw
    if (!touched.empty()) ++changes;
    count = countBefore;
    freeSearchStart = 0;
    endTransaction();
}

/// Opens the journal for the first commit. Its name must survive a power cut before a page of the database is touched.
void Pager::State::openJournal()
{
    if (journal) return;
    std::unique_ptr<File> opened;
    if (disk.exists(journalPath)) {
        try {
            opened = disk.open(journalPath, Disk::Access::readWrite);
        } catch (const Error& error) {
            if (error.fault() != Fault::noPermission) throw;
            disk.remove(journalPath); // another account's, and settled when this Pager was opened
        }
    }
    if (!opened) opened = disk.open(journalPath, Disk::Access::createNew);
    disk.syncFolder(journalPath.parent_path());
    journal = std::move(opened);
}

/// Digest of the pages of the file that are not among `pages` (which hold what the file holds).
std::uint64_t Pager::State::digestWithout(std::span<const OldPage> pages)
{
    if (!digest) {
        std::uint64_t sum = 0;
        std::vector<std::uint8_t> extent(extentSize);
        for (PageNo first = 0; first < countBefore; first += pagesPerExtent) {
            const PageNo n = std::min(pagesPerExtent, countBefore - first);
            const std::uint8_t* from = extents[first / pagesPerExtent].get();
            if (!from) {
                const std::span part(extent.data(), n * pageSize);
                if (file->read(std::uint64_t{first} * pageSize, part) != part.size()) noSuchPage(first);
                from = extent.data();
            }
            for (PageNo i = 0; i < n; ++i)
                if (!isTouched[first + i]) sum += pageHash(first + i, PageView(from + i * pageSize, pageSize));
        }
        for (const Touched& one : touched)
            if (one.image) sum += pageHash(one.page, PageView(one.image, pageSize));
        digest = sum;
    }
    std::uint64_t sum = *digest;
    for (const OldPage& old : pages) sum -= pageHash(old.page, PageView(old.image, pageSize));
    return sum;
}

void Pager::State::writeRuns(std::span<const Touched> sorted)
{
    for (std::size_t i = 0; i < sorted.size();) {
        const PageNo first = sorted[i].page;
        PageNo end = first;
        // A run ends with its extent: the next one lies elsewhere in memory.
        while (i < sorted.size() && sorted[i].page == end && end / pagesPerExtent == first / pagesPerExtent) {
            ++i;
            ++end;
        }
        file->write(std::uint64_t{first} * pageSize, std::span(bytes(first), (end - first) * pageSize));
    }
}

bool Pager::State::putBack(std::span<const OldPage> old) noexcept
{
    return succeeds([&] {
        for (const OldPage& one : old) file->write(std::uint64_t{one.page} * pageSize, std::span(one.image, pageSize));
        const std::uint64_t size = std::uint64_t{countBefore} * pageSize;
        if (file->size() > size) file->truncate(size);
        file->sync();
    });
}

void Pager::State::strikeOut()
{
    strikeOutJournal(*journal);
    journal->sync();
}

void Pager::State::keepForSnapshots(std::span<const Touched> changed) noexcept
{
    std::erase_if(snapshots, [](const auto& each) { return each.expired(); });
    for (const auto& each : snapshots) {
        if (const auto kept = each.lock())
            for (const Touched& one : changed) kept->keep(one.page, one.image);
    }
}

void Pager::State::commit()
{
    refuseIfBroken();
    assert(open);
    if (spoilt) {
        rollback();
        throw Error(Fault::disk, quoted(path) +
                                     " üzerindeki işlemin bir adımı yarıda kaldı; hiçbir değişiklik yazılmadı, "
                                     "işlemi yineleyin.");
    }

    std::vector<Touched> changed;
    std::vector<Touched> appended;
    std::vector<OldPage> old;
    try {
        changed.reserve(touched.size());
        for (const Touched& one : touched) {
            if (!one.image)
                appended.push_back(one);
            else if (std::memcmp(one.image, bytes(one.page), pageSize) != 0)
                changed.push_back(one);
        }
        if (changed.empty() && appended.empty()) {
            endTransaction();
            return;
        }
        const auto byPage = [](const Touched& a, const Touched& b) { return a.page < b.page; };
        std::sort(changed.begin(), changed.end(), byPage);
        std::sort(appended.begin(), appended.end(), byPage);
        for (const Touched& one : changed) old.push_back({one.page, one.image});
        if (!lockPatiently(*file, File::Lock::commit)) throw inUse(path);
    } catch (...) {
        rollback();
        throw;
    }
    const auto backToWriter = [&] { succeeds([&] { file->lock(File::Lock::writer); }); };

    JournalHeader header;
    try {
        openJournal();
        header = {++salt, countBefore, static_cast<std::uint32_t>(old.size()), digestWithout(old)};
        writeJournal(*journal, header, old);
        journal->sync();
    } catch (...) {
        // Nothing has reached the database. The journal must not count beside a file that others go on changing.
        if (journal && !succeeds([&] { strikeOut(); })) succeeds([&] { journal->truncate(0); });
        backToWriter();
        rollback();
        throw;
    }

    bool fileIsNew = false;
    keepForSnapshots(changed);
    try {
        // New pages first: a full disk then shows before an old page is overwritten.
        writeRuns(appended);
        writeRuns(changed);
        file->sync();
        fileIsNew = true;
        strikeOut();
    } catch (...) {
        // Once striking out was tried, the journal on the disk may or may not count; it has to before old pages go
        // back.
        const bool armed = !fileIsNew || succeeds([&] {
            writeJournalHeader(*journal, header);
            journal->sync();
        });
        if (armed && putBack(old)) {
            succeeds([&] { strikeOut(); });
            backToWriter();
        } else {
            broken = quoted(path) +
                     " dosyasına yazılamadı ve eski durumu geri konamadı (disk hatası); programı kapatıp "
                     "diski denetleyin, dosya yeniden açılınca onarılacak.";
        }
        rollback();
        throw;
    }

    succeeds([&] {
        if (journal->size() > journalSizeKept) journal->truncate(0);
    });
    std::uint64_t sum = header.othersDigest;
    for (const auto* part : {&changed, &appended})
        for (const Touched& one : *part) sum += pageHash(one.page, view(one.page));
    digest = sum;
    countBefore = count;
    ++changes;
    endTransaction();
    backToWriter();
}

Pager::Pager(Disk& disk, std::filesystem::path path, Mode mode)
    : state_(std::make_unique<State>(disk, std::move(path), mode))
{
}

Pager::~Pager() { rollback(); }

const std::filesystem::path& Pager::path() const { return state_->path; }
bool Pager::writable() const { return state_->writable; }
PageNo Pager::pageCount() const { return state_->count; }

PageView Pager::read(PageNo page)
{
    State& s = *state_;
    s.refuseIfBroken();
    if (page >= s.count) s.noSuchPage(page);
    return s.view(page);
}

PageBytes Pager::write(PageNo page)
{
    State& s = *state_;
    s.refuseIfBroken();
    assert(s.open);
    if (page >= s.count) s.noSuchPage(page);
    ++s.writes;
    if (!s.isTouched[page]) s.touch(page);
    return PageBytes(s.bytes(page), pageSize);
}

void Pager::extendTo(PageNo count)
{
    State& s = *state_;
    s.refuseIfBroken();
    assert(s.open);
    if (count <= s.count) return;
    if (count > maxPages)
        throw Error(Fault::disk,
                    quoted(s.path) + " 2 GB sınırına ulaştı; eski kayıtları silip veritabanını sıkıştırın.");
    ++s.writes;
    s.extents.resize((count + pagesPerExtent - 1) / pagesPerExtent);
    s.isTouched.resize(count);
    while (s.count < count) {
        std::memset(s.bytes(s.count), 0, pageSize);
        s.touch(s.count);
        ++s.count;
    }
}

void Pager::begin()
{
    State& s = *state_;
    s.refuseIfBroken();
    assert(!s.open);
    if (!s.writable)
        throw Error(Fault::readOnly, quoted(s.path) + " yalnızca okunabiliyor; dosyanın yazma iznini denetleyin.");
    s.open = true;
}

void Pager::commit() { state_->commit(); }
void Pager::rollback() noexcept { state_->rollback(); }
bool Pager::inTransaction() const { return state_->open; }

std::unique_ptr<Snapshot> Pager::snapshot()
{
    State& s = *state_;
    s.refuseIfBroken();
    assert(!s.open);
    if (!s.writable)
        throw Error(Fault::readOnly,
                    quoted(s.path) +
                        " yalnızca okunabiliyor; başka bir program onu kopyalama sırasında değiştirebilir.");
    auto kept = std::make_shared<KeptPages>(s.count);
    auto snapshot = std::make_unique<Snapshot>(s.disk.open(s.path, Disk::Access::readOnly), kept);
    s.snapshots.push_back(kept);
    return snapshot;
}

std::uint64_t Pager::changeCount() const { return state_->changes; }
std::uint64_t Pager::writeCount() const { return state_->writes; }
void Pager::spoil() noexcept { state_->spoilt = true; }
PageNo Pager::freeSearchStart() const { return state_->freeSearchStart; }
void Pager::setFreeSearchStart(PageNo page) { state_->freeSearchStart = page; }

} // namespace jet
