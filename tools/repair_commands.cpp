#include "tools/commands.h"
#include "tools/language.h"

#include "files/error.h"
#include "files/quoted_path.h"
#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/care/rescue.h"
#include "store/jet/database/database.h"
#include "store/jet/values/calendar.h"
#include "store/postgres/leave.h"
#include "store/postgres/server_settings.h"
#include "store/postgres/shared_tables.h"
#include "store/postgres/unheard.h"
#include "store/restore.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace tools {

namespace {

constexpr double secondsADay = 86400;

store::CopyTime calendarTime(jet::DateTime moment)
{
    const auto seconds = static_cast<std::int64_t>(std::llround(moment.days * secondsADay));
    const auto day = static_cast<std::int64_t>(std::floor(static_cast<double>(seconds) / secondsADay));
    const auto rest = static_cast<int>(seconds - day * std::int64_t{86400});
    const std::chrono::year_month_day date(jet::dayZero + std::chrono::days(day));
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            false,
            rest / 3600,
            rest / 60 % 60,
            rest % 60};
}

std::string shown(const store::CopyTime& time, bool seconds)
{
    char text[64];
    int length = std::snprintf(text, sizeof text, "%02d.%02d.%04d", time.day, time.month, time.year);
    if (time.ofDay) return {text, static_cast<std::size_t>(length)};
    if (seconds)
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), " %02d:%02d:%02d",
                                time.hour, time.minute, time.second);
    else
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), " %02d:%02d", time.hour,
                                time.minute);
    return {text, static_cast<std::size_t>(length)};
}

/// Bytes of padding to the left or right of a text without letters outside ASCII.
std::string padded(const std::string& text, int width, bool right)
{
    const auto missing = static_cast<std::size_t>(std::max(0, width - static_cast<int>(text.size())));
    return right ? std::string(missing, ' ') + text : text + std::string(missing, ' ');
}

int list(files::Disk& disk, const std::string& directory)
{
    const std::vector<store::CopyFacts> copies = store::listCopies(disk, pathOf(directory));
    Output out(standardOutput);
    if (copies.empty()) {
        say(out,
            said("Klasörde yedek yok: ", "There is no copy in the folder: ") + directory + "/" + store::copyFolder);
        out.flush();
        return 1;
    }
    const auto line = [](const std::string& name, const std::string& time, const std::string& customers,
                         const std::string& pressings, const std::string& newest) {
        return padded(name, 28, false) + padded(time, 21, false) + padded(customers, 8, true) +
               padded(pressings, 10, true) + "  " + newest;
    };
    say(out,
        line(said("Yedek", "Copy"), said("Tarih", "Date"), "Cari", "Hareket", said("Son hareket", "Newest pressing")));
    for (const store::CopyFacts& copy : copies) {
        const std::string name = padded(copy.name, 28, false);
        if (copy.unreadable)
            say(out, name + padded(shown(copy.time, true), 21, false) + said("  okunamadı: ", "  unreadable: ") +
                         *copy.unreadable);
        else
            say(out,
                line(copy.name, shown(copy.time, true), std::to_string(copy.customers), std::to_string(copy.pressings),
                     copy.newest ? shown(calendarTime(*copy.newest), false) : "-"));
    }
    out.flush();
    return 0;
}

/// The file itself is not as it must be; a copy elsewhere, or a rescue, may help.
bool isDamage(files::Fault fault)
{
    return fault == files::Fault::damaged || fault == files::Fault::cutShort || fault == files::Fault::notADatabase;
}

void sayLosses(Output& out, const jet::RescueResult& result)
{
    for (const std::string& sentence : result.losses) say(out, said("Kayıp: ", "Lost: ") + sentence);
    if (result.lossesLeftOut > 0)
        say(out, said("Kayıp: bunlardan başka ", "Lost: and in ") +
                     counted(result.lossesLeftOut, " yer.", " more place.", " more places."));
}

std::string rowsOf(const jet::RescueResult& result)
{
    std::string text;
    for (const jet::RescueResult::Table& table : result.tables)
        text +=
            (text.empty() ? "" : ", ") + jet::toUtf8(table.name) + " " + counted(table.rows, " satır", " row", " rows");
    return text.empty() ? said("hiçbir tablo bulunamadı", "no table was found") : text;
}

void sayWhatCanBeSaved(files::Disk& disk, Output& out, const std::string& file)
{
    try {
        const jet::RescueResult result = jet::survey(disk, pathOf(file), mill::tableNamed);
        sayLosses(out, result);
        say(out, said("Kurtarılabilecek: ", "What can be saved: ") + rowsOf(result) + ".");
        say(out, said("Yedekten dönmek için: presva-mdb restore. Kurtarmak için: presva-mdb rescue ",
                      "To put a copy back: presva-mdb restore. To save it: presva-mdb rescue ") +
                     file + said(" YENİ-DOSYA", " NEW-FILE"));
    } catch (const files::Error& error) {
        say(out, std::string(said("Kurtarılabilecek bir şey bulunamadı: ", "Nothing was found that can be saved: ")) +
                     error.what());
    }
}

} // namespace

int check(files::Disk& disk, Arguments arguments)
{
    Output out(standardOutput);
    jet::CheckResult result;
    try {
        const auto database = jet::Database::open(disk, pathOf(arguments[0]), jet::Pager::Mode::readOnly);
        Progress progress(said("Denetleniyor", "Checking"));
        result = jet::checkDatabase(*database, std::ref(progress));
    } catch (const files::Error& error) {
        // A file that never was a database gets no advice on saving it.
        if (!isDamage(error.fault()) || error.fault() == files::Fault::notADatabase) throw;
        say(out, std::string(said("HATA: ", "FAULT: ")) + error.what());
        sayWhatCanBeSaved(disk, out, arguments[0]);
        out.flush();
        return 1;
    }
    for (const std::string& sentence : result.faults) say(out, said("HATA: ", "FAULT: ") + sentence);
    for (const std::string& sentence : result.warnings) say(out, said("Uyarı: ", "Warning: ") + sentence);
    say(out, counted(result.pages, " sayfa, ", " page, ", " pages, ") +
                 counted(result.tables, " tablo, ", " table, ", " tables, ") +
                 counted(result.rows, " satır, ", " row, ", " rows, ") +
                 counted(result.indexEntries, " dizin girişi denetlendi.", " index entry was looked at.",
                         " index entries were looked at."));
    say(out, result.ok() ? said("Dosya sağlam.", "The file is sound.")
                         : said("Dosya bozuk: ", "The file is damaged: ") +
                               counted(result.faults.size(), " hata.", " fault.", " faults."));
    if (!result.ok()) sayWhatCanBeSaved(disk, out, arguments[0]);
    out.flush();
    return result.ok() ? 0 : 1;
}

int rescueFile(files::Disk& disk, Arguments arguments)
{
    jet::RescueResult result;
    {
        Progress progress(said("Kurtarılıyor", "Saving"));
        result =
            jet::rescue(disk, pathOf(arguments[0]), pathOf(arguments[1]), now(), mill::tableNamed, std::ref(progress));
    }
    Output out(standardOutput);
    sayLosses(out, result);
    say(out, said("Kurtarıldı: ", "Saved: ") + rowsOf(result) + ".");
    if (result.whole())
        say(out, said("Okunamayan bir yer yok.", "Every place could be read."));
    else if (postgres::forgetRegister(disk, pathOf(arguments[1])))
        say(out,
            said(
                "Dosya ortak bir defterdeydi; Sunucu.ini'de Defter satırı varsa eksiğini oradan alması için presva-mdb "
                "to-server ile yeniden bağlayın.",
                "The file was in a shared register; where Sunucu.ini has a line Defter, let it join again with "
                "presva-mdb to-server, to get from there what it lacks."));
    out.flush();
    return result.whole() ? 0 : savedInPart;
}

int compactFile(files::Disk& disk, Arguments arguments)
{
    try {
        const auto database = jet::Database::open(disk, pathOf(arguments[0]), jet::Pager::Mode::readOnly);
        // Rows of a lost page would be missing without a word.
        const jet::CheckResult result = jet::checkDatabase(*database);
        if (!result.ok()) throw files::Error(files::Fault::damaged, result.faults.front());
        Progress progress(said("Sıkıştırılıyor", "Compacting"));
        jet::compact(disk, *database, pathOf(arguments[1]), std::ref(progress));
        return 0;
    } catch (const files::Error& error) {
        if (!isDamage(error.fault()) || error.fault() == files::Fault::notADatabase) throw;
        Output out(standardOutput);
        say(out, std::string(said("HATA: ", "FAULT: ")) + error.what());
        out.flush();
    }
    const int code = rescueFile(disk, arguments);
    // The damage is told; nothing but rows was to be saved.
    return code == 0 ? savedInPart : code;
}

namespace {

bool namesRegister(files::Disk& disk, const std::filesystem::path& folder)
{
    try {
        return !postgres::readServerSettings(disk, folder).book.empty();
    } catch (const files::Error&) {
        return false;
    }
}

/// What the file that goes has of a register: nothing where neither it nor the next one is in one, and none is named.
postgres::Unheard unheardAsItGoes(files::Disk& disk, const std::filesystem::path& old,
                                  const std::filesystem::path& next)
{
    const postgres::Unheard found = postgres::unheardIn(disk, old, next);
    const auto nextIsIn = [&] {
        return postgres::placeIn(*jet::Database::open(disk, next, jet::Pager::Mode::readOnly)).has_value();
    };
    return found.inRegister || namesRegister(disk, old.parent_path()) || nextIsIn() ? found : postgres::Unheard{};
}

void refuseUnheard(const std::filesystem::path& old, const postgres::Unheard& unheard)
{
    throw files::Error(
        files::Fault::badValue,
        files::quotedPath(old) +
            said(": sunucunun duymadığı, kopyada da olmayan ", " has what neither the server nor the copy knows: ") +
            postgres::counted(unheard.waiting) + said(" bekliyor. ", ". ") + postgres::howItIsBrought(unheard) +
            said(" Sunucu artık yoksa --waiting drop: bekleyenler yalnız saklanan dosyada kalır. Hiçbir "
                 "şey değiştirilmedi.",
                 " Where the server is no more, --waiting drop: they stay in the file that is kept, and "
                 "nowhere else. Nothing was changed."));
}

/// What was not brought anywhere, and where it lies.
void sayOfUnheard(Output& out, const postgres::Unheard& unheard, const std::string& aside)
{
    if (!unheard.readable)
        say(out,
            said("Önceki dosya okunamadı: sunucunun duymadığı sıkımlar varsa yalnız ondadır, presva-mdb rescue ile "
                 "kurtarın: ",
                 "The file before could not be read: pressings that the server has not heard of are in it alone, "
                 "to be saved with presva-mdb rescue: ") +
                aside);
    else if (unheard.waiting.changes > 0)
        say(out, said("Sunucunun duymadığı ", "What the server has not heard of, ") +
                     postgres::counted(unheard.waiting) + said(" yalnız şurada: ", ", is in this file alone: ") +
                     aside);
}

/// What a copy that is put back does not do in a register that several counters share.
void sayOfRegister(Output& out, files::Disk& disk, const std::filesystem::path& database)
{
    const auto file = jet::Database::open(disk, database, jet::Pager::Mode::readOnly);
    if (postgres::placeIn(*file)) {
        say(out,
            said("Dosya ortak bir defterde: sunucuda hâlâ o defter varsa program açılınca sunucunun bildiklerini alır, "
                 "kopyadan sonra silinenler yine silinir. Silinmiş bir müşteri presva-mdb undelete ile geri gelir.",
                 "The file is in a shared register: where the server still has that one, it gets what the server knows "
                 "when the program starts, and what was deleted since the copy goes again. presva-mdb undelete brings "
                 "a deleted customer back."));
    } else if (disk.exists(database.parent_path() / postgres::settingsFile)) {
        say(out, said("Kopya ortak bir defteri bilmiyor; Sunucu.ini'de bir Defter satırı varsa programı açmadan önce "
                      "docs/sunucu.md'ye bakın.",
                      "The copy knows of no shared register; where Sunucu.ini has a line Defter, see docs/sunucu.md "
                      "before the program is started."));
    }
}

} // namespace

int restore(files::Disk& disk, Arguments arguments)
{
    const Parsed given = parse("restore", arguments, {"--waiting"});
    const bool dropWaiting = given.oneOf("--waiting", {"drop"}).has_value();
    if (given.words.empty() || given.words.size() > 2 || (dropWaiting && given.words.size() == 1))
        misused(said("'restore' KLASÖR ve KOPYA ister; yardım için: presva-mdb restore --help",
                     "'restore' takes FOLDER and COPY; for help: presva-mdb restore --help"));
    if (given.words.size() == 1) return list(disk, given.words[0]);
    const std::filesystem::path folder = pathOf(given.words[0]);
    const jet::DateTime moment = now();
    std::uint64_t line = 0;
    postgres::Unheard unheard;
    const store::Restored done = store::restoreCopy(
        disk, folder, given.words[1], calendarTime(moment),
        [&](const auto& next, const std::string& copy) {
            line = announceRestore(disk, folder, next, moment.days, copy);
        },
        [&](const auto& old, const auto& next) {
            unheard = unheardAsItGoes(disk, old, next);
            if (unheard.waiting.changes > 0 && !dropWaiting) refuseUnheard(old, unheard);
        });
    const auto utf8 = [](const std::filesystem::path& path) {
        const std::u8string text = path.u8string();
        return std::string(text.begin(), text.end());
    };
    Output out(standardOutput);
    say(out, said("Geri yüklendi: ", "Put back: ") + given.words[1] + " -> " + utf8(done.database));
    if (!done.aside.empty()) say(out, said("Önceki dosya saklandı: ", "The file before is kept: ") + utf8(done.aside));
    if (line > 0)
        say(out, said("Tartım defterine yazıldı: ", "Written into the book of weights: line ") + std::to_string(line) +
                     said(". satır.", "."));
    if (done.slipOpen)
        say(out,
            said("Yarım kalmış bir fişin notu duruyor; program açılınca yazıcıya sorup kaydını bu dosyaya yapacak.",
                 "The note of an unfinished slip is there; the program will ask the printer at its start, and book it "
                 "into this file."));
    sayOfUnheard(out, unheard, utf8(done.aside));
    sayOfRegister(out, disk, done.database);
    out.flush();
    return 0;
}

} // namespace tools
