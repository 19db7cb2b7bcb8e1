#include "tools/weight_commands.h"

#include "files/error.h"
#include "store/jet/database/database.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/sort_key.h"
#include "weights/verification.h"
#include "weights/weight_book.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>

namespace tools {
namespace {

using ::weights::Deletion, ::weights::Line, ::weights::Pressing, ::weights::PlacedLine;

struct Wanted {
    std::filesystem::path folder;
    std::optional<std::string> day;         ///< 2025-11-20
    std::optional<std::u16string> customer; ///< folded; the beginning of a name
    bool verify = false;
};

bool isDay(const std::string& text)
{
    int year = 0, month = 0, day = 0, length = 0;
    return std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &length) == 3 && length == 10 &&
           text.size() == 10 && jet::dateTime(year, month, day);
}

Wanted read(Arguments arguments)
{
    Wanted wanted;
    std::optional<std::string> folder;
    const auto valueOf = [&](std::size_t& i) {
        if (i + 1 == arguments.size())
            misused(arguments[i] + " bir değer ister; yardım için: presva-mdb weights --help");
        return arguments[++i];
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--verify")
            wanted.verify = true;
        else if (arguments[i] == "--day")
            wanted.day = valueOf(i);
        else if (arguments[i] == "--customer")
            wanted.customer = jet::foldTurkish(jet::fromUtf8(valueOf(i)));
        else if (!folder)
            folder = arguments[i];
        else
            misused("'" + arguments[i] + "' fazla; yardım için: presva-mdb weights --help");
    }
    if (!folder) misused("Klasör adı eksik; yardım için: presva-mdb weights --help");
    if (wanted.day && !isDay(*wanted.day)) misused("--day 2025-11-20 gibi bir gün olmalı.");
    if (wanted.verify && (wanted.day || wanted.customer))
        misused("--verify bütün defteri denetler; --day ve --customer ile birlikte verilmez.");
    wanted.folder = pathOf(*folder);
    return wanted;
}

bool isWanted(const Line& line, const Wanted& wanted)
{
    if (wanted.day && !::weights::isoMoment(::weights::momentOf(line.fact)).starts_with(*wanted.day)) return false;
    if (!wanted.customer) return true;
    const auto* pressing = std::get_if<Pressing>(&line.fact);
    const std::string name = pressing ? pressing->customer : std::get<Deletion>(line.fact).customer.value_or("");
    return jet::foldTurkish(jet::fromUtf8(name)).starts_with(*wanted.customer);
}

/// "20.11.2025 14:05:00".
std::string shown(double moment)
{
    const std::string iso = ::weights::isoMoment(moment);
    return iso.substr(8, 2) + "." + iso.substr(5, 2) + "." + iso.substr(0, 4) + " " + iso.substr(11);
}

/// With the decimal comma.
std::string figure(double number)
{
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    std::replace(digits.data(), end, '.', ',');
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
        return "elle";
    case mill::WeightSource::computed:
        return "hesap";
    case mill::WeightSource::scale:
        return "terazi " + shown(from.moment).substr(11) + " \"" + visible(from.bytes) + "\"";
    }
    return {};
}

std::string described(const Pressing& pressing)
{
    return std::to_string(pressing.station) + ". tezgâh  " + pressing.customer + ": zeytin " + figure(pressing.olives) +
           " kg (" + origin(pressing.olivesFrom) + "), yağ " + figure(pressing.oil) + " kg (" +
           origin(pressing.oilFrom) + "), %" + figure(pressing.percentage) + ", hak ediş " +
           figure(pressing.entitlement) + " kg, " + figure(pressing.fee) + " TL, fiş " + std::to_string(pressing.job);
}

std::string described(const Deletion& deletion)
{
    return deletion.customer ? "silme: " + *deletion.customer + ", bütün sıkımları" : "silme: bütün sıkımlar";
}

int list(const std::vector<PlacedLine>& lines, const Wanted& wanted)
{
    Output out(standardOutput);
    for (const PlacedLine& each : lines) {
        if (!each.line) {
            if (!wanted.day && !wanted.customer) say(out, "     ?  okunamayan satır; presva-mdb weights --verify");
            continue;
        }
        if (!isWanted(*each.line, wanted)) continue;
        std::array<char, 24> number{};
        std::snprintf(number.data(), number.size(), "%6llu  ", static_cast<unsigned long long>(each.line->number));
        say(out, number.data() + shown(::weights::momentOf(each.line->fact)) + "  " +
                     std::visit([](const auto& fact) { return described(fact); }, each.line->fact));
    }
    out.flush();
    return 0;
}

std::string textOf(files::Disk& disk, const std::filesystem::path& path)
{
    if (!disk.exists(path)) return {};
    const auto file = disk.open(path, files::Disk::Access::readOnly);
    std::string text(static_cast<std::size_t>(file->size()), '\0');
    text.resize(file->read(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
    return text;
}

int verify(files::Disk& disk, const std::vector<PlacedLine>& lines, const Wanted& wanted)
{
    const auto heads = ::weights::loggedHeads(textOf(disk, wanted.folder / "presva.log"));
    const auto database = jet::Database::open(disk, wanted.folder / "Yag.mdb", jet::Pager::Mode::readOnly);
    std::vector<std::string> faults;
    if (const auto fault = firstFault(lines)) faults.push_back(sentence(*fault));
    if (const auto fault = firstFault(lines, heads)) faults.push_back(sentence(*fault));
    const auto differing = differences(lines, database->table(u"Hareket"));
    faults.insert(faults.end(), differing.begin(), differing.end());

    Output out(standardOutput);
    for (const std::string& each : faults) say(out, each);
    if (disk.exists(wanted.folder / "Yag.mdb-slip"))
        say(out, "Yolda bir fiş var (Yag.mdb-slip): program açılınca satırı yazılır.");
    if (heads.empty() && !lines.empty())
        say(out, "presva.log defterin sonunu hiç görmemiş: baştan yazılmış bir defter anlaşılamaz.");
    const std::string counted =
        std::to_string(lines.size()) + " satır, presva.log'da " + std::to_string(heads.size()) + " gün sonu";
    say(out, faults.empty()
                 ? "Tartım defteri sağlam: " + counted + "."
                 : "Tartım defteri sağlam değil: " + counted + ", " + std::to_string(faults.size()) + " bulgu.");
    out.flush();
    return faults.empty() ? 0 : 1;
}

} // namespace

int weights(files::Disk& disk, Arguments arguments)
{
    const Wanted wanted = read(arguments);
    const std::vector<PlacedLine> lines = ::weights::allLines(disk, wanted.folder);
    return wanted.verify ? verify(disk, lines, wanted) : list(lines, wanted);
}

} // namespace tools
