#include "tools/commands.h"
#include "tools/language.h"

#include "files/error.h"
#include "files/quoted_path.h"
#include "mill/names.h"
#include "store/jet/database/database.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/sort_key.h"
#include "store/restore.h"
#include "weights/verification.h"
#include "weights/weight_book.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>

namespace tools {
namespace {

using ::weights::Deletion, ::weights::Line, ::weights::Pressing, ::weights::PlacedLine, ::weights::Restore;

struct Wanted {
    std::filesystem::path folder;
    std::optional<std::string> day;         ///< 2025-11-20
    std::optional<std::u16string> customer; ///< folded; the beginning of a name
    bool verify = false;
    std::optional<std::filesystem::path> log; ///< a copy of presva.log that was kept elsewhere
};

bool isDay(const std::string& text)
{
    int year = 0, month = 0, day = 0, length = 0;
    return std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &length) == 3 && length == 10 &&
           text.size() == 10 && jet::dateTime(year, month, day);
}

std::string helpHint()
{
    return said("; yardım için: presva-mdb weights --help", "; for help: presva-mdb weights --help");
}

Wanted read(Arguments arguments)
{
    Wanted wanted;
    std::optional<std::string> folder;
    const auto valueOf = [&](std::size_t& i) {
        if (i + 1 == arguments.size()) misused(arguments[i] + said(" bir değer ister", " wants a value") + helpHint());
        return arguments[++i];
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--verify")
            wanted.verify = true;
        else if (arguments[i] == "--day")
            wanted.day = valueOf(i);
        else if (arguments[i] == "--customer")
            wanted.customer = jet::foldTurkish(jet::fromUtf8(valueOf(i)));
        else if (arguments[i] == "--log")
            wanted.log = pathOf(valueOf(i));
        else if (!folder)
            folder = arguments[i];
        else
            misused("'" + arguments[i] + said("' fazla", "' is too much") + helpHint());
    }
    if (!folder) misused(said("Klasör adı eksik", "The folder's name is missing") + helpHint());
    if (wanted.day && !isDay(*wanted.day))
        misused(said("--day 2025-11-20 gibi bir gün olmalı.", "--day must be a day like 2025-11-20."));
    if (wanted.verify && (wanted.day || wanted.customer))
        misused(said("--verify bütün defteri denetler; --day ve --customer ile birlikte verilmez.",
                     "--verify looks at the whole book; it does not go with --day and --customer."));
    if (wanted.log && !wanted.verify)
        misused(said("--log, --verify ile birlikte verilir.", "--log goes with --verify."));
    wanted.folder = pathOf(*folder);
    return wanted;
}

bool isWanted(const Line& line, const Wanted& wanted)
{
    if (wanted.day && !::weights::isoMoment(::weights::momentOf(line.fact)).starts_with(*wanted.day)) return false;
    if (!wanted.customer) return true;
    // What takes everybody's pressings away concerns this customer, too.
    const auto* pressing = std::get_if<Pressing>(&line.fact);
    const auto* deletion = std::get_if<Deletion>(&line.fact);
    const std::optional<std::string> name = pressing   ? std::optional(pressing->customer)
                                            : deletion ? deletion->customer
                                                       : std::nullopt;
    return !name || jet::foldTurkish(jet::fromUtf8(*name)).starts_with(*wanted.customer);
}

/// With the decimal mark of the language.
std::string figure(double number)
{
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    if (!speaksEnglish()) std::replace(digits.data(), end, '.', ',');
    return {digits.data(), end};
}

/// The scale's bytes, what cannot be seen among them as an escape.
std::string visible(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        std::array<char, 8> escaped{};
        if (byte == '\r')
            text += "\\r";
        else if (byte == '\n')
            text += "\\n";
        else if (code >= 0x20 && code < 0x7f && byte != '\\')
            text += byte;
        else if (std::snprintf(escaped.data(), escaped.size(), "\\x%02x", unsigned{code}) > 0)
            text += escaped.data();
    }
    return text;
}

std::string origin(const mill::Weighing& from)
{
    switch (from.source) {
    case mill::WeightSource::typed:
        return said("elle", "by hand");
    case mill::WeightSource::computed:
        return said("hesap", "computed");
    case mill::WeightSource::scale:
        return said("terazi ", "scale ") + ::weights::shownMoment(from.moment).substr(11) + " \"" +
               visible(from.bytes) + "\"";
    }
    return {};
}

std::string described(const Pressing& pressing)
{
    const std::string station = std::to_string(pressing.station);
    return (speaksEnglish() ? "station " + station : station + ". tezgâh") + "  " + pressing.customer +
           said(": zeytin ", ": olives ") + figure(pressing.olives) + " kg (" + origin(pressing.olivesFrom) +
           said("), yağ ", "), oil ") + figure(pressing.oil) + " kg (" + origin(pressing.oilFrom) + "), %" +
           figure(pressing.percentage) + said(", hak ediş ", ", entitlement ") + figure(pressing.entitlement) +
           " kg, " + figure(pressing.fee) + said(" TL, fiş ", " TL, slip ") + std::to_string(pressing.job);
}

std::string described(const Deletion& deletion)
{
    return said("silme: ", "deletion: ") + deletion.customer.value_or(said("bütün cariler", "all customers")) + ", " +
           counted(deletion.pressings, " sıkım", " pressing", " pressings");
}

std::string described(const Restore& restore) { return said("yedekten dönüş: ", "copy put back: ") + restore.copy; }

int list(const std::vector<PlacedLine>& lines, const Wanted& wanted)
{
    Output out(standardOutput);
    for (const PlacedLine& each : lines) {
        if (!each.line) {
            if (!wanted.day && !wanted.customer)
                say(out, said("     ?  okunamayan satır; presva-mdb weights --verify",
                              "     ?  a line that cannot be read; presva-mdb weights --verify"));
            continue;
        }
        if (!isWanted(*each.line, wanted)) continue;
        std::array<char, 24> number{};
        std::snprintf(number.data(), number.size(), "%6llu  ", static_cast<unsigned long long>(each.line->number));
        say(out, number.data() + ::weights::shownMoment(::weights::momentOf(each.line->fact)) + "  " +
                     std::visit([](const auto& fact) { return described(fact); }, each.line->fact));
    }
    out.flush();
    return 0;
}

/// The lines, and what they are compared with, as they stood together: the program may be writing meanwhile.
int verify(files::Disk& disk, const Wanted& wanted)
{
    constexpr int attempts = 10;
    const std::filesystem::path slip = wanted.folder / mill::slipNoteFile;
    std::vector<PlacedLine> lines = ::weights::allLines(disk, wanted.folder);
    std::vector<::weights::LoggedHead> heads, kept;
    if (wanted.log) {
        kept = ::weights::loggedHeads(disk, *wanted.log);
        if (kept.empty())
            throw files::Error(files::Fault::notFound,
                               files::quotedPath(*wanted.log) +
                                   said(" yok ya da defterin sonunu hiç görmemiş bir günlük.",
                                        " is missing, or a log that has never seen the book's end."));
    }
    ::weights::Findings found;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        heads = ::weights::loggedHeads(disk, ::weights::logIn(wanted.folder));
        if (wanted.log) heads.insert(heads.begin(), kept.begin(), kept.end());
        const auto database =
            jet::Database::open(disk, store::databaseIn(disk, wanted.folder), jet::Pager::Mode::readOnly);
        found = ::weights::verify(lines, heads, database->table(mill::Hareket::table),
                                  database->hasTable(mill::Durum::table) ? ::weights::Journal::shared
                                                                         : ::weights::Journal::own);
        std::vector<PlacedLine> after = ::weights::allLines(disk, wanted.folder);
        const bool same = after.size() == lines.size();
        lines = std::move(after);
        // Between a row and its line a slip is on its way, for some milliseconds as a rule.
        if (same && (found.faults.empty() || !disk.exists(slip))) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }

    Output out(standardOutput);
    for (const std::string& each : found.faults) say(out, each);
    for (const std::string& each : found.remarks) say(out, said("Bilgi: ", "Note: ") + each);
    if (disk.exists(slip))
        say(out, said("Bilgi: Yolda bir fiş var (Yag.mdb-slip): program açılınca satırı yazılır.",
                      "Note: A slip is on its way (Yag.mdb-slip): its line is written when the program starts."));
    const std::string looked = counted(lines.size(), " satır, presva.log'da ",
                                       " line, digests in presva.log: ", " lines, digests in presva.log: ") +
                               std::to_string(heads.size()) + said(" özet", "");
    say(out, found.faults.empty()
                 ? said("Tartım defteri sağlam: ", "The book of weights is sound: ") + looked + "."
                 : said("Tartım defteri sağlam değil: ", "The book of weights is not sound: ") + looked + ", " +
                       counted(found.faults.size(), " bulgu.", " finding.", " findings."));
    out.flush();
    return found.faults.empty() ? 0 : 1;
}

} // namespace

int weights(files::Disk& disk, Arguments arguments)
{
    const Wanted wanted = read(arguments);
    // A mistyped folder has neither, and would look like a mill that has not pressed yet.
    if (!disk.exists(store::databaseIn(disk, wanted.folder)) && ::weights::bookFiles(disk, wanted.folder).empty())
        throw files::Error(files::Fault::notFound,
                           files::quotedPath(wanted.folder) +
                               said(" klasöründe ne Yag.mdb ne Tartim.jsonl var; programın veri klasörünü verin.",
                                    " has neither Yag.mdb nor Tartim.jsonl; give the program's data folder."));
    return wanted.verify ? verify(disk, wanted) : list(::weights::allLines(disk, wanted.folder), wanted);
}

std::uint64_t announceRestore(files::Disk& disk, const std::filesystem::path& folder, const std::filesystem::path& next,
                              double moment, const std::string& copy)
{
    ::weights::WeightBook book(disk, folder);
    const ::weights::NextLine place = book.place(moment);
    if (!place.cutOff.empty())
        tellLog(disk, folder, moment, "tartım defterinin yarım kalmış son satırı çıkarıldı: " + visible(place.cutOff),
                ::weights::Keeping::untilThePowerGoes);
    const auto database = jet::Database::open(disk, next, jet::Pager::Mode::readOnly);
    const auto fact = restoreOf(::weights::allLines(disk, folder), database->table(mill::Hareket::table), moment, copy);
    if (!fact) return 0;
    const ::weights::Head head = book.write(*fact, place.place).head;
    tellLog(disk, folder, moment, ::weights::logLine(head.number, head.seal), ::weights::Keeping::synced);
    return head.number;
}

} // namespace tools
