#include "weights/weight_line.h"

#include "platform/sha256.h"
#include "store/jet/values/calendar.h"
#include "weights/flat_json.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace weights {

const std::string noSeal(64, '0');

namespace {

constexpr std::string_view sealBegins = ",\"seal\":\"";
constexpr std::string_view sealEnds = "\"}";
constexpr std::size_t sealLength = 64;

constexpr std::array<std::pair<mill::WeightSource, std::string_view>, 3> sources = {{
    {mill::WeightSource::typed, "typed"},
    {mill::WeightSource::computed, "computed"},
    {mill::WeightSource::scale, "scale"},
}};

std::string hexOf(std::string_view bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 15U];
    }
    return text;
}

std::optional<std::string> bytesOf(std::string_view hex)
{
    const auto digit = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1; };
    if (hex.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        if (digit(hex[i]) < 0 || digit(hex[i + 1]) < 0) return std::nullopt;
        bytes += static_cast<char>(digit(hex[i]) * 16 + digit(hex[i + 1]));
    }
    return bytes;
}

std::string sealOf(std::string_view text)
{
    const std::array<std::uint8_t, 32> digest = platform::sha256(text);
    return hexOf({reinterpret_cast<const char*>(digest.data()), digest.size()});
}

std::optional<double> moment(const std::string& iso)
{
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, length = 0;
    if (std::sscanf(iso.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &year, &month, &day, &hour, &minute, &second, &length) !=
            6 ||
        static_cast<std::size_t>(length) != iso.size())
        return std::nullopt;
    const auto found = jet::dateTime(year, month, day, hour, minute, second);
    return found ? std::optional(found->days) : std::nullopt;
}

void put(std::string& out, const std::string& name, double kilograms, const mill::Weighing& from)
{
    putField(out, name, kilograms);
    for (const auto& [source, word] : sources)
        if (source == from.source) putField(out, name + "By", word);
    if (from.source != mill::WeightSource::scale) return;
    putField(out, name + "Bytes", hexOf(from.bytes));
    putField(out, name + "When", isoMoment(from.moment));
}

void put(std::string& out, const Pressing& pressing)
{
    putField(out, "kind", "pressing");
    putField(out, "when", isoMoment(pressing.moment));
    putField(out, "station", static_cast<double>(pressing.station));
    putField(out, "customer", pressing.customer);
    put(out, "olives", pressing.olives, pressing.olivesFrom);
    put(out, "oil", pressing.oil, pressing.oilFrom);
    putField(out, "percentage", pressing.percentage);
    putField(out, "entitlement", pressing.entitlement);
    putField(out, "fee", pressing.fee);
    putField(out, "job", static_cast<double>(pressing.job));
    if (pressing.before) putField(out, "before", static_cast<double>(*pressing.before));
}

void put(std::string& out, const Deletion& deletion)
{
    putField(out, "kind", "deletion");
    putField(out, "when", isoMoment(deletion.moment));
    if (deletion.customer) putField(out, "customer", *deletion.customer);
    putField(out, "pressings", static_cast<double>(deletion.pressings));
    putField(out, "before", static_cast<double>(deletion.before));
}

void put(std::string& out, const Restore& restore)
{
    putField(out, "kind", "restore");
    putField(out, "when", isoMoment(restore.moment));
    putField(out, "copy", restore.copy);
    putField(out, "upTo", static_cast<double>(restore.upTo));
    putField(out, "before", static_cast<double>(restore.before));
}

/// A count that a line holds; nothing for anything else.
std::optional<std::uint64_t> count(const FlatObject& in, const std::string& name)
{
    constexpr double most = 1e15; // exact as a double
    const auto number = fieldOf<double>(in, name);
    if (!number || !(*number >= 0 && *number <= most)) return std::nullopt;
    return static_cast<std::uint64_t>(*number);
}

bool get(const FlatObject& in, const std::string& name, double& kilograms, mill::Weighing& from)
{
    const auto amount = fieldOf<double>(in, name);
    const auto by = fieldOf<std::string>(in, name + "By");
    if (!amount || !by) return false;
    kilograms = *amount;
    for (const auto& [source, word] : sources)
        if (word == *by) from.source = source;
    if (from.source != mill::WeightSource::scale) return true;
    const auto bytes = fieldOf<std::string>(in, name + "Bytes"), when = fieldOf<std::string>(in, name + "When");
    const auto raw = bytes ? bytesOf(*bytes) : std::nullopt;
    const auto came = when ? moment(*when) : std::nullopt;
    if (!raw || !came) return false;
    from.bytes = *raw;
    from.moment = *came;
    return true;
}

std::optional<Fact> factOf(const FlatObject& in)
{
    const auto kind = fieldOf<std::string>(in, "kind"), when = fieldOf<std::string>(in, "when");
    const auto at = when ? moment(*when) : std::nullopt;
    if (!kind || !at) return std::nullopt;
    if (*kind == "deletion") {
        const auto pressings = count(in, "pressings"), before = count(in, "before");
        if (!pressings || !before) return std::nullopt;
        return Deletion{*at, fieldOf<std::string>(in, "customer"), *pressings, *before};
    }
    if (*kind == "restore") {
        const auto copy = fieldOf<std::string>(in, "copy");
        const auto upTo = count(in, "upTo"), before = count(in, "before");
        if (!copy || !upTo || !before) return std::nullopt;
        return Restore{*at, *copy, *upTo, *before};
    }
    if (*kind != "pressing") return std::nullopt;

    Pressing pressing;
    pressing.moment = *at;
    const auto station = count(in, "station"), job = count(in, "job"), before = count(in, "before");
    const auto percentage = fieldOf<double>(in, "percentage"), entitlement = fieldOf<double>(in, "entitlement"),
               fee = fieldOf<double>(in, "fee");
    const auto customer = fieldOf<std::string>(in, "customer");
    if (!station || !percentage || !entitlement || !fee || !job || !customer) return std::nullopt;
    if (!get(in, "olives", pressing.olives, pressing.olivesFrom)) return std::nullopt;
    if (!get(in, "oil", pressing.oil, pressing.oilFrom)) return std::nullopt;
    pressing.station = static_cast<int>(*station);
    pressing.customer = *customer;
    pressing.percentage = *percentage;
    pressing.entitlement = *entitlement;
    pressing.fee = *fee;
    pressing.job = static_cast<int>(*job);
    pressing.before = before;
    return pressing;
}

} // namespace

double momentOf(const Fact& fact)
{
    return std::visit([](const auto& each) { return each.moment; }, fact);
}

std::string isoMoment(double moment)
{
    namespace chrono = std::chrono;
    constexpr std::int64_t perSecond = 1000;
    const std::int64_t rounded = (jet::milliseconds(jet::DateTime{moment}) + perSecond / 2) / perSecond;
    const auto at = chrono::sys_seconds(jet::dayZero) + chrono::seconds(rounded);
    const auto midnight = chrono::floor<chrono::days>(at);
    const chrono::year_month_day date(midnight);
    const chrono::hh_mm_ss time(at - midnight);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

std::string shownMoment(double moment)
{
    const std::string iso = isoMoment(moment);
    return iso.substr(8, 2) + "." + iso.substr(5, 2) + "." + iso.substr(0, 4) + " " + iso.substr(11);
}

std::string written(std::uint64_t number, const Fact& fact, const std::string& previous)
{
    std::string text = "{";
    putField(text, "line", static_cast<double>(number));
    std::visit([&](const auto& each) { put(text, each); }, fact);
    putField(text, "previous", previous);
    const std::string seal = sealOf(text);
    return text.append(sealBegins).append(seal).append(sealEnds);
}

std::optional<Line> read(std::string_view text)
{
    constexpr std::size_t sealPart = sealBegins.size() + sealLength + sealEnds.size();
    if (text.size() < sealPart) return std::nullopt;
    const std::size_t end = text.size() - sealPart;
    const std::string_view part = text.substr(end);
    if (!part.starts_with(sealBegins) || !part.ends_with(sealEnds)) return std::nullopt;
    Line line;
    line.seal = part.substr(sealBegins.size(), sealLength);
    if (sealOf(text.substr(0, end)) != line.seal) return std::nullopt;

    const auto object = readFlat(text);
    if (!object) return std::nullopt;
    const auto number = count(*object, "line");
    const auto previous = fieldOf<std::string>(*object, "previous");
    auto fact = factOf(*object);
    if (!number || !previous || !fact) return std::nullopt;
    line.number = *number;
    line.previous = *previous;
    line.fact = std::move(*fact);
    // Nothing of ours: another order, another way of writing a number.
    if (written(line.number, line.fact, line.previous) != text) return std::nullopt;
    return line;
}

} // namespace weights
