#include "store/jet/pages/pager.h"

#include "store/jet/format/header_layout.h"
#include "store/jet/pages/commit.h"
#include "store/jet/pages/left_over_journal.h"
#include "store/jet/pages/page_memory.h"
#include "store/jet/pages/pager_failing.h"
#include "store/jet/pages/snapshot_list.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <optional>
#include <string>
#include <utility>

namespace jet {

namespace {

constexpr PageCount pagesOfEmptyDatabase = 16;

/// A session of Access keeps a byte of its lock file locked for every user; the file alone, left over from a crash,
/// says nothing.
void refuseIfAccessIsAtWork(Disk& disk, const std::filesystem::path& database)
{
    auto lockFile = disk.realPath(database);
    lockFile.replace_extension(".ldb");
    if (lockFile != disk.realPath(database) && disk.exists(lockFile) && disk.heldElsewhere(lockFile))
        throw inUse(database);
}

/// The number of pages of a file that may be a database. Throws notADatabase, oldFormat, cutShort, unsupported.
PageCount pagesOf(File& file, const std::filesystem::path& path)
{
    const std::uint64_t size = file.size();
    if (size % pageSize != 0 || size < pagesOfEmptyDatabase * pageSize) {
        namespace at = header_layout;
        std::array<std::uint8_t, at::version.end> head{};
        file.read(0, head);
        if (!at::isText(at::signature.of(std::span(head)), at::jetSignature))
            throw Error(Fault::notADatabase, inQuotes(path) + " bir Access veritabanı değil; doğru dosyayı seçin.");
        // Access 97 used pages of half the size, and smaller files.
        if (at::version.get(head) < at::jet4)
            throw Error(Fault::oldFormat, inQuotes(path) + " Access 97 veya daha eski biçimde; Access ile 2000-2003 "
                                                           "biçimine dönüştürün.");
        throw Error(Fault::cutShort, inQuotes(path) + " yarım kalmış, sonu eksik (" + std::to_string(size) +
                                         " bayt); yedeğini geri yükleyin.");
    }
    if (size / pageSize > maxPages)
        throw Error(Fault::unsupported, inQuotes(path) + " 2 GB sınırından büyük; bu biçimde böyle bir dosya olamaz.");
    return static_cast<PageCount>(size / pageSize);
}

} // namespace

struct Pager::State {
    /// How much of the state a boundary looks at: a write comes by far too often for more than its own page.
    enum class Look { quick, thorough };

    Disk& disk;
    std::filesystem::path path;
    bool writable = false;
    std::unique_ptr<File> file;
    std::optional<PageMemory> memory;
    std::optional<Commit> writer;
    SnapshotList snapshots;

    bool open = false; ///< a transaction
    bool spoilt = false;
    std::uint64_t changes = 0;
    std::uint64_t writes = 0;
    PageNo freeSearchStart = 0;

    State(Disk& d, std::filesystem::path p, Mode mode);
    void openFile(Mode mode);
    void settleJournal();
    void commit();
    void rollback() noexcept;
    void endTransaction() noexcept;
    void assertState(Look look = Look::thorough) const;
};

Pager::State::State(Disk& d, std::filesystem::path p, Mode mode) : disk(d), path(std::move(p))
{
    openFile(mode);
    refuseIfAccessIsAtWork(disk, path);
    settleJournal();
    writer.emplace(disk, path, *file, *memory);
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

void Pager::State::settleJournal()
{
    LeftOverJournal leftOver(disk, path);
    std::optional<LeftOverJournal::Unapplied> unapplied;
    if (writable)
        leftOver.settleAsWriter(*file);
    else
        unapplied = leftOver.settleAsReader(*file);
    if (!unapplied || unapplied->header.pagesBefore == 0) {
        memory.emplace(*file, pagesOf(*file, path), path);
        return;
    }
    memory.emplace(*file, unapplied->header.pagesBefore, path);
    forEachOldPage(*unapplied->journal, unapplied->header,
                   [this](PageNo page, PageView image) { memory->replace(page, image); });
}

void Pager::State::assertState([[maybe_unused]] Look look) const
{
#ifndef NDEBUG
    const Commit::Stage stage = writer->stage();
    const bool underWay = stage != Commit::Stage::idle && stage != Commit::Stage::broken;
    if (!open) assert(memory->touched().empty() && !spoilt);      // 1
    if (open) assert(writable && stage != Commit::Stage::broken); // 2
    if (underWay) assert(open && !spoilt);                        // 2
    memory->assertState(look == Look::thorough);                  // 3
    assert(freeSearchStart <= PageNo(memory->count()));           // 6
    if (look == Look::thorough) writer->assertState();            // 4, 5
#endif
}

void Pager::State::endTransaction() noexcept
{
    open = false;
    spoilt = false;
    assertState();
}

void Pager::State::rollback() noexcept
{
    if (!open) return;
    if (!memory->touched().empty()) ++changes;
    memory->takeBack();
    freeSearchStart = 0;
    endTransaction();
}

void Pager::State::commit()
{
    writer->refuseIfBroken();
    assert(open);
    assertState();
    if (spoilt) {
        rollback();
        throw Error(Fault::disk, inQuotes(path) +
                                     " üzerindeki işlemin bir adımı yarıda kaldı; hiçbir değişiklik yazılmadı, "
                                     "işlemi yineleyin.");
    }
    try {
        if (writer->prepare()) {
            assertState();
            writer->arm();
            assertState();
            snapshots.keep(writer->changed());
            writer->writeFile();
            assertState();
            writer->disarm();
            ++changes;
        }
    } catch (...) {
        writer->takeBack();
        rollback();
        throw;
    }
    memory->accept();
    endTransaction();
}

Pager::Pager(Disk& disk, std::filesystem::path path, Mode mode)
    : state_(std::make_unique<State>(disk, std::move(path), mode))
{
    state_->assertState();
}

Pager::~Pager()
{
    rollback();
    state_->assertState();
}

const std::filesystem::path& Pager::path() const { return state_->path; }
bool Pager::writable() const { return state_->writable; }
PageCount Pager::pageCount() const { return state_->memory->count(); }

PageView Pager::read(PageNo page)
{
    state_->writer->refuseIfBroken();
    return state_->memory->read(page);
}

PageView Pager::look(PageNo page, PassingBuffer& buffer)
{
    state_->writer->refuseIfBroken();
    return state_->memory->look(page, buffer);
}

PageView Pager::look(PageNo page, PageBuffer& buffer)
{
    state_->writer->refuseIfBroken();
    return state_->memory->look(page, buffer);
}

PageBytes Pager::write(PageNo page)
{
    State& s = *state_;
    s.writer->refuseIfBroken();
    assert(s.open);
    const PageBytes bytes = s.memory->write(page);
    ++s.writes;
    s.assertState(State::Look::quick);
    return bytes;
}

void Pager::extendTo(PageCount count)
{
    State& s = *state_;
    s.writer->refuseIfBroken();
    assert(s.open);
    if (count <= s.memory->count()) return;
    if (count > maxPages)
        throw Error(Fault::disk,
                    inQuotes(s.path) + " 2 GB sınırına ulaştı; eski kayıtları silip veritabanını sıkıştırın.");
    ++s.writes;
    s.memory->extendTo(count);
    s.assertState(State::Look::quick);
}

void Pager::begin()
{
    State& s = *state_;
    s.writer->refuseIfBroken();
    assert(!s.open);
    if (!s.writable)
        throw Error(Fault::readOnly, inQuotes(s.path) + " yalnızca okunabiliyor; dosyanın yazma iznini denetleyin.");
    s.open = true;
    s.assertState();
}

void Pager::commit() { state_->commit(); }
void Pager::rollback() noexcept { state_->rollback(); }
bool Pager::inTransaction() const { return state_->open; }

std::unique_ptr<Snapshot> Pager::snapshot()
{
    State& s = *state_;
    s.writer->refuseIfBroken();
    assert(!s.open);
    s.assertState();
    if (!s.writable)
        throw Error(Fault::readOnly,
                    inQuotes(s.path) +
                        " yalnızca okunabiliyor; başka bir program onu kopyalama sırasında değiştirebilir.");
    return s.snapshots.take(s.disk, s.path, s.memory->count());
}

std::uint64_t Pager::changeCount() const { return state_->changes; }
std::uint64_t Pager::writeCount() const { return state_->writes; }
void Pager::spoil() noexcept { state_->spoilt = true; }
PageNo Pager::freeSearchStart() const { return state_->freeSearchStart; }
void Pager::setFreeSearchStart(PageNo page) { state_->freeSearchStart = page; }

} // namespace jet
