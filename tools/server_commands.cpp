#include "tools/commands.h"

#include "files/quoted_path.h"
#include "store/postgres/carry.h"
#include "store/postgres/join.h"
#include "store/postgres/leave.h"
#include "store/postgres/server_settings.h"
#include "store/postgres/undelete.h"
#include "store/postgres/unheard.h"
#include "store/restore.h"
#include "tools/language.h"
#include "tools/server_follower.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <functional>
#include <optional>
#include <string_view>

namespace tools {
namespace {

Parsed parsed(const char* command, Arguments arguments, std::size_t words,
              std::initializer_list<std::string_view> known)
{
    Parsed found = parse(command, arguments, known);
    if (found.words.size() != words)
        misused(said("Klasör ya da dosya adı eksik ya da fazla; yardım için: presva-mdb ",
                     "The name of a folder or a file is missing, or too much; for help: presva-mdb ") +
                std::string(command) + " --help");
    return found;
}

int sayCarried(const postgres::Carried& carried)
{
    Output out(standardOutput);
    if (!carried.compared) {
        say(out, said("Bu sayacın sunucudaki kopyası silindi (geçmişte kalır), satır: ",
                      "The copy of this counter's books on the server was taken away (the history keeps it), rows: ") +
                     std::to_string(carried.removed) + ".");
        out.flush();
        return 0;
    }
    say(out, counted(carried.customers, " cari, ", " customer, ", " customers, ") +
                 counted(carried.pressings, " sıkım iki yerde de aynı; yazılan ",
                         " pressing are the same in both places; written ",
                         " pressings are the same in both places; written ") +
                 std::to_string(carried.written) + said(", silinen ", ", removed ") + std::to_string(carried.removed) +
                 ".");
    out.flush();
    return 0;
}

std::chrono::seconds pauseIn(const std::string& text)
{
    constexpr int longest = 86400;
    int seconds = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size() || seconds < 1 || seconds > longest)
        misused(said("--every 1 ile 86400 arasında bir saniye sayısı olmalı.",
                     "--every must be a number of seconds from 1 to 86400."));
    return std::chrono::seconds(seconds);
}

/// "2026-11-20 04:30:20"; empty where none was given.
std::string momentIn(const std::optional<std::string>& text)
{
    constexpr std::string_view pattern = "dddd-dd-dd dd:dd:dd";
    const bool fits = !text || (text->size() == pattern.size() &&
                                std::equal(pattern.begin(), pattern.end(), text->begin(), [](char wanted, char is) {
                                    return wanted == 'd' ? is >= '0' && is <= '9' : wanted == is;
                                }));
    if (!fits)
        misused(said("--deletion \"2026-11-20 04:30:20\" gibi bir an olmalı (UTC).",
                     "--deletion must be a moment like \"2026-11-20 04:30:20\" (UTC)."));
    return text.value_or("");
}

int joinBook(files::Disk& disk, const postgres::ServerSettings& settings, const std::filesystem::path& file,
             const postgres::Join& options, const Parsed& given)
{
    if (given.option("--every"))
        misused(said("--every ortak bir defter için yoktur: sayaç onu kendisi günceller.",
                     "--every is not for a shared register: the counter keeps it up to date by itself."));
    Progress progress(said("Aktarılıyor", "Carrying over"));
    return sayCarried(postgres::joinRegister(disk, settings, file, options, now(), std::ref(progress)));
}

/// The new file is meant to take the place of this one, sooner or later.
void sayWhatTheNewFileLacks(files::Disk& disk, const std::filesystem::path& file, const std::filesystem::path& next)
{
    const postgres::Unheard unheard = postgres::unheardIn(disk, file, next);
    if (unheard.readable && unheard.waiting.changes == 0) return;
    Output out(standardOutput);
    if (unheard.readable)
        say(out, said("Uyarı: sunucunun duymadığı ", "Warning: what the server has not heard of, ") +
                     postgres::counted(unheard.waiting) + said(" yeni dosyada yok, yalnız ", ", is in ") +
                     files::quotedPath(file) +
                     said(" dosyasında. Yenisini onun yerine koymayın. ",
                          " alone: do not put the new file in its place yet. ") +
                     postgres::howItIsBrought(unheard));
    else
        say(out, said("Uyarı: sunucunun duymadığı sıkımlar varsa yeni dosyada değil, okunamayan ",
                      "Warning: pressings that the server has not heard of are not in the new file, but in ") +
                     files::quotedPath(file) + said(" dosyasındadır.", ", which cannot be read."));
    out.flush();
}

} // namespace

int toServer(files::Disk& disk, Arguments arguments)
{
    const Parsed given =
        parsed("to-server", arguments, 1, {"--user", "--delete", "--every", "--merge", "--new", "--deleted"});
    const std::filesystem::path folder = pathOf(given.words[0]);
    postgres::ToServer options;
    options.user = given.option("--user").value_or("");
    options.removeGone = given.oneOf("--delete", {"yes"}).has_value();
    const postgres::ServerSettings settings = postgres::readServerSettings(disk, folder);
    const std::filesystem::path file = store::databaseIn(disk, folder);
    const bool merge = given.oneOf("--merge", {"yes"}).has_value();
    const bool create = given.oneOf("--new", {"yes"}).has_value();
    const auto deleted = given.oneOf("--deleted", {"drop", "keep"});
    if (!settings.book.empty())
        return joinBook(disk, settings, file,
                        {options.user, merge, create, options.removeGone,
                         !deleted             ? postgres::Deleted::ask
                         : *deleted == "drop" ? postgres::Deleted::drop
                                              : postgres::Deleted::keep},
                        given);
    if (merge || create || deleted)
        misused(said("--merge, --new ve --deleted ortak bir defter içindir: Sunucu.ini'de Defter satırı yok.",
                     "--merge, --new and --deleted are for a shared register: Sunucu.ini has no line Defter."));
    if (const auto every = given.option("--every")) ServerFollower(disk, settings, file, options).run(pauseIn(*every));
    Progress progress(said("Aktarılıyor", "Carrying over"));
    return sayCarried(postgres::toServer(disk, settings, file, options, std::ref(progress)));
}

int fromServer(files::Disk& disk, Arguments arguments)
{
    const Parsed given = parsed("from-server", arguments, 2, {"--user"});
    const std::filesystem::path folder = pathOf(given.words[0]);
    const postgres::ServerSettings settings = postgres::readServerSettings(disk, folder);
    {
        Progress progress(said("Aktarılıyor", "Carrying over"));
        sayCarried(postgres::fromServer(disk, settings, pathOf(given.words[1]), given.option("--user").value_or(""),
                                        now(), std::ref(progress)));
    }
    if (!settings.book.empty()) sayWhatTheNewFileLacks(disk, store::databaseIn(disk, folder), pathOf(given.words[1]));
    return 0;
}

int undelete(files::Disk& disk, Arguments arguments)
{
    const Parsed given = parsed("undelete", arguments, 2, {"--user", "--deletion"});
    const std::string& customer = given.words[1];
    const postgres::BroughtBack back =
        postgres::undelete(postgres::readServerSettings(disk, pathOf(given.words[0])),
                           given.option("--user").value_or(""), customer, momentIn(given.option("--deletion")));
    sayDone(customer + ": " + std::to_string(back.customers) + said(" cari, ", " customers, ") +
            std::to_string(back.pressings) +
            said(" sıkım geri geldi; sayaçlar birkaç saniyede alır. Silinmişti: ",
                 " pressings are back; the counters have them in seconds. Deleted: ") +
            back.when + " UTC, " + back.who + "." +
            (back.there == 0
                 ? ""
                 : said(" Zaten defterde olan sıkım: ", " Pressings that the register had again already: ") +
                       std::to_string(back.there) + ".") +
            (back.earlier.empty()
                 ? ""
                 : said(" Daha önceki silmeleri, --deletion ile: ", " Deletions before it, with --deletion: ") +
                       back.earlier + " UTC."));
    return 0;
}

int leaveRegister(files::Disk& disk, Arguments arguments)
{
    const Parsed given = parsed("leave-register", arguments, 1, {"--waiting"});
    const bool dropWaiting = given.oneOf("--waiting", {"drop"}).has_value();
    const postgres::Left left =
        postgres::leaveRegister(disk, store::databaseIn(disk, pathOf(given.words[0])), dropWaiting);
    Output out(standardOutput);
    say(out, left.name +
                 said(" defterinden ayrıldı; satırlar dosyada. Defterin duymayacağı değişiklik: ",
                      ": the file has left that register and keeps its rows. Changes that the register will "
                      "not hear of: ") +
                 std::to_string(left.dropped) + ".");
    out.flush();
    return 0;
}

} // namespace tools
