#include "store/restore.h"

#include "files/error.h"
#include "files/journal_name.h"
#include "files/part_file.h"
#include "files/quoted_path.h"
#include "mill/names.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <memory>

namespace store {
namespace {

using Path = std::filesystem::path;

Path copyOf(files::Disk& disk, const Path& directory, const std::string& wanted)
{
    const Path folder = directory / copyFolder;
    for (const std::string& name : {wanted, "Yag-" + wanted + ".mdb"})
        if (copyTime(name) && disk.exists(folder / name)) return folder / name;
    throw files::Error(files::Fault::notFound,
                       files::quotedPath(folder) + " klasöründe '" + wanted +
                           "' adlı ya da tarihli bir kopya yok; kopyaları komutu yalnızca klasörle "
                           "çalıştırarak listeleyin.");
}

/// `from` is the name of `source`.
void copyBytes(files::Disk& disk, files::File& source, const Path& from, const Path& to)
{
    constexpr std::size_t atOnce = std::size_t{1} << 20;
    const auto target = disk.open(to, files::Disk::Access::createNew);
    std::vector<std::uint8_t> buffer(atOnce);
    const std::uint64_t size = source.size();
    for (std::uint64_t done = 0; done < size;) {
        const std::size_t got = source.read(done, buffer);
        if (got == 0) throw files::Error(files::Fault::disk, files::quotedPath(from) + " okunurken kısaldı.");
        target->write(done, std::span(buffer).first(got));
        done += got;
    }
    target->sync();
}

void copyBytes(files::Disk& disk, const Path& from, const Path& to)
{
    copyBytes(disk, *disk.open(from, files::Disk::Access::readOnly), from, to);
}

/// Throws damaged unless every page of the file is sound and it has the tables of a mill.
void refuseUnsound(files::Disk& disk, const Path& file, const Path& copy)
{
    const auto refuse = [&](const std::string& why) {
        throw files::Error(files::Fault::damaged, files::quotedPath(copy) + " kopyası sağlam değil, geri yüklenmedi: " +
                                                      why + " Başka bir kopya seçin.");
    };
    try {
        const auto database = jet::Database::open(disk, file, jet::Pager::Mode::readOnly);
        if (database->pager().protection() != jet::Protection::none)
            refuse("parolalı ya da kodlanmış; program ona yazamaz.");
        const jet::CheckResult result = jet::checkDatabase(*database);
        if (!result.ok()) refuse(result.faults.front());
        for (const std::u16string_view table : {mill::Cari::table, mill::Hareket::table})
            if (!database->hasTable(table)) refuse(jet::quotedName(table) + " tablosu yok.");
    } catch (const files::Error& error) {
        if (error.fault() == files::Fault::disk || error.fault() == files::Fault::damaged) throw;
        refuse(error.what());
    }
}

/// Keeps the program away from the database for as long as this lives.
class Hold {
public:
    Hold(files::Disk& disk, const Path& database) : disk_(disk), database_(database)
    {
        if (disk.exists(database)) beTheWriter();
    }

    /// From here on the database can be given another name, or its name to another file. Throws inUse when somebody
    /// keeps the file open where that forbids it.
    void readyForAnotherName()
    {
        if (disk_.replacesOpenFiles() || (!pager_ && !file_)) return;
        pager_.reset();
        file_.reset();
        lone_ = disk_.openAlone(database_);
    }

    /// What stands in the database's place now.
    void copyTo(const Path& to)
    {
        if (lone_)
            copyBytes(disk_, lone_->file(), database_, to);
        else
            copyBytes(disk_, database_, to);
    }

    void moveTo(const Path& to)
    {
        lone_.reset();
        disk_.rename(database_, to);
    }

    void give(files::PartFile& next)
    {
        if (lone_)
            next.publish(*lone_);
        else
            next.publish();
    }

    bool readable()
    {
        try {
            const auto opened = lone_ ? nullptr : disk_.open(database_, files::Disk::Access::readOnly);
            files::File& file = lone_ ? lone_->file() : *opened;
            std::vector<std::uint8_t> page(jet::pageSize);
            for (std::uint64_t at = 0; file.read(at, page) != 0; at += page.size()) continue;
            return true;
        } catch (const files::Error&) {
            return false;
        }
    }

private:
    void beTheWriter()
    {
        try {
            pager_ =
                std::make_unique<jet::Pager>(disk_, database_, jet::Pager::Mode::readWrite); // puts a journal right
            if (!pager_->writable() && pager_->protection() == jet::Protection::none)
                throw files::Error(files::Fault::noPermission,
                                   files::quotedPath(database_) + " yazılamıyor; dosyanın izinlerini denetleyin.");
            if (pager_->writable()) return;
            pager_.reset();
        } catch (const files::Error& error) {
            if (error.fault() == files::Fault::inUse || error.fault() == files::Fault::noPermission) throw;
        }
        // Too damaged to be opened, or no file to work with: that is what copies are for.
        file_ = disk_.open(database_, files::Disk::Access::readWrite);
        if (!file_->lock(files::File::Lock::writer))
            throw files::Error(files::Fault::inUse,
                               files::quotedPath(database_) +
                                   " başka bir program tarafından kullanılıyor; onu kapatıp yeniden "
                                   "deneyin.");
    }

    files::Disk& disk_;
    Path database_;
    std::unique_ptr<jet::Pager> pager_;
    std::unique_ptr<files::File> file_;
    std::unique_ptr<files::LoneFile> lone_;
};

Path freeName(files::Disk& disk, const Path& database, CopyTime now)
{
    now.ofDay = false;
    const std::string stem = "Yag-onceki-" + Path(copyName(now)).stem().string().substr(4);
    Path name = database.parent_path() / (stem + ".mdb");
    for (int i = 2; disk.exists(name) || disk.exists(files::journalOf(name)); ++i)
        name = database.parent_path() / (stem + "-" + std::to_string(i) + ".mdb");
    return name;
}

/// Keeps what stands in the database's place under another name, with a journal that could not be applied.
void setAside(files::Disk& disk, Hold& hold, const Path& database, const Path& aside)
{
    const Path journal = files::journalOf(database);
    try {
        files::PartFile kept(disk, aside);
        hold.copyTo(kept.path());
        kept.publish();
        if (!disk.exists(journal)) return;
        files::PartFile keptJournal(disk, files::journalOf(aside));
        copyBytes(disk, journal, keptJournal.path());
        keptJournal.publish();
    } catch (const files::Error& error) {
        // A disk that is full or may not be written leaves everything as it is. One that cannot read the old file any
        // more must not keep the mill from its copy.
        if (error.fault() != files::Fault::disk || disk.exists(aside)) throw;
        if (hold.readable()) throw;
        hold.moveTo(aside);
        if (disk.exists(journal)) disk.rename(journal, files::journalOf(aside));
        disk.syncFolder(aside.parent_path());
    }
}

CopyFacts factsOf(files::Disk& disk, const Path& copy, const CopyTime& time)
{
    CopyFacts facts;
    facts.name = copy.filename().string();
    facts.time = time;
    try {
        const auto database = jet::Database::open(disk, copy, jet::Pager::Mode::readOnly);
        database->table(mill::Cari::table).forEachRow([&](jet::RowId, const jet::RowView&) {
            ++facts.customers;
            return true;
        });
        const jet::Table& journal = database->table(mill::Hareket::table);
        const auto date = journal.columnNamed(mill::Hareket::fields[mill::Hareket::Tarih]);
        const auto customer = journal.columnNamed(mill::Hareket::fields[mill::Hareket::CariHar]);
        if (!date || !customer)
            throw files::Error(files::Fault::damaged, "'Hareket' tablosunda 'Tarih' ya da 'CariHar' sütunu yok.");
        journal.forEachRow([&](jet::RowId, const jet::RowView& row) {
            if (row.textIs(*customer, mill::reserved::totals)) return true;
            ++facts.pressings;
            const auto days = row.number(*date);
            if (days && (!facts.newest || *days > facts.newest->days)) facts.newest = jet::DateTime{*days};
            return true;
        });
    } catch (const files::Error& error) {
        facts.unreadable = error.what();
    }
    return facts;
}

} // namespace

std::filesystem::path databaseIn(files::Disk& disk, const std::filesystem::path& directory)
{
    Path usual = directory / mill::databaseFile;
    if (disk.exists(usual)) return usual;
    for (const Path& name : disk.names(directory))
        if (jet::sameName(name.u16string(), mill::databaseFile)) return directory / name;
    return usual;
}

std::vector<CopyFacts> listCopies(files::Disk& disk, const std::filesystem::path& directory)
{
    const Path folder = directory / copyFolder;
    std::vector<CopyFacts> copies;
    for (const Path& name : disk.names(folder))
        if (const auto time = copyTime(name)) copies.push_back(factsOf(disk, folder / name, *time));
    // Of one day, the day's copy is the oldest: those before deletions were made because it was there.
    std::ranges::sort(copies, [](const CopyFacts& a, const CopyFacts& b) {
        const auto key = [](const CopyFacts& copy) {
            const CopyTime& t = copy.time;
            return std::tuple(t.year, t.month, t.day, !t.ofDay, t.hour, t.minute, t.second);
        };
        return key(a) > key(b);
    });
    return copies;
}

Restored restoreCopy(files::Disk& disk, const std::filesystem::path& directory, const std::string& copy,
                     const CopyTime& now,
                     const std::function<void(const Path& next, const std::string& copy)>& announce,
                     const std::function<void(const Path& old, const Path& next)>& admit)
{
    const Path from = copyOf(disk, directory, copy);
    Restored result;
    result.database = databaseIn(disk, directory);
    result.slipOpen = disk.exists(directory / mill::slipNoteFile);
    const Path database = disk.realPath(result.database);

    // Held to the end, also while the new file takes the name: a program that starts meanwhile must not get hold of
    // the old one.
    Hold hold(disk, database);
    const bool present = disk.exists(database);
    auto part = files::PartFile::replacing(disk, database);
    copyBytes(disk, from, part.path());
    refuseUnsound(disk, part.path(), from);
    if (admit) admit(database, part.path());
    if (present) {
        result.aside = freeName(disk, database, now);
        hold.readyForAnotherName();
        setAside(disk, hold, database, result.aside);
    }
    if (announce) announce(part.path(), from.filename().string());
    hold.give(part);
    // A journal that still stands here belonged to the old file, and is kept beside that.
    const Path journal = files::journalOf(database);
    if (present && disk.exists(journal)) disk.remove(journal);
    return result;
}

} // namespace store
