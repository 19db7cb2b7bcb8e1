#include "store/jet/pages/pager.h"

#include "store/jet/format/header_layout.h"
#include "store/jet/pages/commit.h"
#include "store/jet/pages/file_while.h"
#include "store/jet/pages/left_over_journal.h"
#include "store/jet/pages/page_code.h"
#include "store/jet/pages/page_memory.h"
#include "store/jet/pages/pager_failing.h"
#include "store/jet/pages/reader_file.h"
#include "store/jet/pages/session.h"
#include "store/jet/pages/snapshot_list.h"

#include <array>
#include <cassert>
#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace jet {

namespace {

constexpr PageCount pagesOfEmptyDatabase = 16;

/// Takes a step until another program is no longer in its way, or that has had two seconds to go.
template <class Step> auto patiently(Step&& step)
{
    constexpr auto longestWait = std::chrono::seconds(2);
    constexpr auto pause = std::chrono::milliseconds(1);
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    for (;; std::this_thread::sleep_for(pause)) {
        try {
            return step();
        } catch (const Error& error) {
            if (error.fault() != Fault::inUse || std::chrono::steady_clock::now() >= deadline) throw;
        }
    }
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
    Protection protection = Protection::none;
    std::unique_ptr<File> file;
    std::optional<Session> session; ///< of a writer
    std::optional<PageMemory> memory;
    std::optional<Commit> writer;
    SnapshotList snapshots;

    bool open = false; ///< a transaction
    bool spoilt = false;
    bool alone = false; ///< others are kept out
    std::uint64_t changes = 0;
    std::uint64_t writes = 0;
    PageNo freeSearchStart = 0;

    State(Disk& d, std::filesystem::path p, Mode mode);
    State(State& writing, std::unique_ptr<File> of);
    void openForWriting();
    void openForReading();
    void readPages(const std::optional<LeftOverJournal::Unapplied>& unapplied);
    bool lookAround();
    void forgetPages();
    void commit();
    void rollback() noexcept;
    void endTransaction() noexcept;
    void assertState(Look look = Look::thorough) const;
};

Pager::State::State(Disk& d, std::filesystem::path p, Mode mode) : disk(d), path(std::move(p))
{
    if (mode == Mode::readWrite) {
        try {
            openForWriting();
        } catch (const Error& error) {
            if (error.fault() != Fault::noPermission) throw;
        }
    }
    if (!writable) openForReading();
    writer.emplace(disk, path, *file, *memory);
}

Pager::State::State(State& writing, std::unique_ptr<File> of)
    : disk(writing.disk), path(writing.path), file(std::move(of))
{
    // Between two commits the file is what the other's pages were read from. Some systems tell a writer another time
    // than a reader, so each is compared with itself: this one's first, so that nothing was written before it.
    const FileStamp own = file->stamp();
    const FileStamp& known = writing.memory->stamp();
    if (writing.file->stamp() != known || own.size != known.size || !own.underItsName) throw changedElsewhere(path);
    memory.emplace(*file, writing.memory->count(), own, path);
    writer.emplace(disk, path, *file, *memory);
}

void Pager::State::openForWriting()
{
    patiently([&] {
        // Not kept open while another program has the lock: to that one's commits it would be a stranger's.
        file.reset();
        file = disk.open(path, Disk::Access::readWrite);
        if (file->lock(File::Lock::writer)) return;
        file.reset();
        throw inUse(path, personAtWork(disk, path).value_or(files::Person{}));
    });
    // Whoever protected it must not find it open, nor half of it covered.
    if (protectionOf(*file) != Protection::none) return file.reset();
    writable = true;
    patiently([&] { session.emplace(disk, path); });
    LeftOverJournal(disk, path).repairAsWriter(*file);
    readPages({});
}

void Pager::State::openForReading()
{
    file = disk.open(path, Disk::Access::readOnly);
    const auto person = personAtWork(disk, path);
    const bool strangers = person && !file->writerElsewhere();
    // Whoever is at work there would not take it kindly if the file were put right under his hands.
    if (strangers && disk.exists(journalPathOf(disk, path))) throw inUse(path, *person);
    const auto unapplied = LeftOverJournal(disk, path).repairAsReader(*file);
    auto reader = std::make_unique<ReaderFile>(disk, std::move(file), path);
    if (strangers) reader->copyInAQuietMoment();
    file = std::move(reader);
    protection = protectionOf(*file);
    if (protection == Protection::covered) file = std::make_unique<UncoveredFile>(std::move(file));
    readPages(unapplied);
}

void Pager::State::readPages(const std::optional<LeftOverJournal::Unapplied>& unapplied)
{
    const FileStamp stamp = file->stamp();
    if (!unapplied || unapplied->header.pagesBefore == 0) {
        memory.emplace(*file, pagesOf(*file, path), stamp, path);
        return;
    }
    memory.emplace(*file, unapplied->header.pagesBefore, stamp, path);
    forEachOldPage(*unapplied->journal, unapplied->header,
                   [this](PageNo page, PageView image) { memory->replace(page, image); });
}

void Pager::State::forgetPages()
{
    assert(!open);
    if (writable) memory->forget(memory->count(), memory->stamp());
    assertState();
}

bool Pager::State::lookAround()
{
    writer->refuseIfBroken();
    assert(!open);
    // A reader's pages are of one state; another one takes opening the file again.
    if (!writable) return false;
    const FileStamp stamp = file->stamp();
    if (stamp == memory->stamp()) return false;
    if (!stamp.underItsName)
        throw Error(Fault::changedElsewhere, inQuotes(path) +
                                                 " silinmiş ya da yerine başka bir dosya konmuş; programı kapatıp "
                                                 "yeniden açın.");
    memory->forget(pagesOf(*file, path), stamp);
    writer->forgetDigest();
    snapshots.close();
    freeSearchStart = 0;
    ++changes;
    assertState();
    return true;
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

Pager::Pager(std::unique_ptr<State> state) : state_(std::move(state)) { state_->assertState(); }

Pager::~Pager()
{
    rollback();
    state_->assertState();
}

const std::filesystem::path& Pager::path() const { return state_->path; }
bool Pager::writable() const { return state_->writable; }
const char* Pager::whyNotWritable() const
{
    if (state_->writable) return nullptr;
    switch (state_->protection) {
    case Protection::covered:
        return "dosyanın sayfaları kodlanmış; açık bir kopyası için: presva-mdb compact DOSYA YENİ-DOSYA";
    case Protection::password:
        return "dosya parolalı; parolasız bir kopyası için: presva-mdb compact DOSYA YENİ-DOSYA";
    case Protection::none:
        break;
    }
    return "dosya salt okunur açıldı; başka bir program kullanıyor olabilir ya da yazma izni yok";
}

Protection Pager::protection() const { return state_->protection; }
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

void Pager::begin(LookForOthers when)
{
    State& s = *state_;
    s.writer->refuseIfBroken();
    assert(!s.open);
    if (!s.writable) throw Error(Fault::readOnly, inQuotes(s.path) + " dosyasına yazılamaz: " + whyNotWritable() + '.');
    if (when == LookForOthers::atBegin && !s.alone && !lockPatiently(*s.file, File::Lock::writer)) throw inUse(s.path);
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

std::unique_ptr<Pager> Pager::beside(std::function<bool()> goOn)
{
    State& s = *state_;
    s.writer->refuseIfBroken();
    if (!s.writable || s.open || !s.disk.isForSeveralThreads()) return nullptr;
    auto file = std::make_unique<FileWhile>(std::move(goOn), s.disk.open(s.path, Disk::Access::readOnly));
    return std::unique_ptr<Pager>(new Pager(std::make_unique<State>(s, std::move(file))));
}

std::uint64_t Pager::digest()
{
    state_->writer->refuseIfBroken();
    return state_->writer->digest();
}

void Pager::knowDigest(std::uint64_t digest)
{
    State& s = *state_;
    s.writer->refuseIfBroken();
    s.writer->knowDigest(digest);
    s.assertState();
}

std::uint64_t Pager::changeCount() const { return state_->changes; }
bool Pager::lookAround()
{
    if (!state_->lookAround()) return false;
    ++foreignChanges_;
    return true;
}
void Pager::forgetPages() { state_->forgetPages(); }
void Pager::keepOthersOut()
{
    State& s = *state_;
    if (s.alone || s.writer->stage() == Commit::Stage::broken) return;
    if (!lockPatiently(*s.file, File::Lock::commit)) throw inUse(s.path);
    s.alone = true;
}

void Pager::letOthersIn() noexcept
{
    State& s = *state_;
    if (!s.alone || s.writer->stage() == Commit::Stage::broken) return;
    succeeds([&] { s.file->lock(File::Lock::writer); });
    s.alone = false;
}

std::uint64_t Pager::writeCount() const { return state_->writes; }
void Pager::spoil() noexcept { state_->spoilt = true; }
PageNo Pager::freeSearchStart() const { return state_->freeSearchStart; }
void Pager::setFreeSearchStart(PageNo page) { state_->freeSearchStart = page; }

} // namespace jet
