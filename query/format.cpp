#include "query/format.h"

#include "exchange/ascii.h"
#include "exchange/field_text.h"
#include "files/error.h"
#include "files/language.h"
#include "query/moments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

namespace query {

namespace {

using exchange::isDigit, exchange::lower;
using files::said;

using Names = std::array<std::string_view, 12>;
constexpr Names turkishMonths = {"Ocak",   "Şubat",   "Mart",  "Nisan", "Mayıs", "Haziran",
                                 "Temmuz", "Ağustos", "Eylül", "Ekim",  "Kasım", "Aralık"};
constexpr Names englishMonths = {"January", "February", "March",     "April",   "May",      "June",
                                 "July",    "August",   "September", "October", "November", "December"};
constexpr Names turkishShortMonths = {"Oca", "Şub", "Mar", "Nis", "May", "Haz",
                                      "Tem", "Ağu", "Eyl", "Eki", "Kas", "Ara"};
constexpr std::array<std::string_view, 7> turkishDays = {"Pazar",    "Pazartesi", "Salı",     "Çarşamba",
                                                         "Perşembe", "Cuma",      "Cumartesi"};
constexpr std::array<std::string_view, 7> turkishShortDays = {"Paz", "Pzt", "Sal", "Çar", "Per", "Cum", "Cmt"};
constexpr std::array<std::string_view, 7> englishDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                         "Thursday", "Friday", "Saturday"};

/// A pattern that has a name, by language.
struct NamedPattern {
    std::string_view name, turkish, english;
};
constexpr NamedPattern ofMoments[] = {
    {"general date", "dd.mm.yyyy hh:nn:ss", "m/d/yyyy h:nn:ss AM/PM"},
    {"long date", "d mmmm yyyy dddd", "dddd, mmmm d, yyyy"},
    {"medium date", "dd-mmm-yy", "dd-mmm-yy"},
    {"short date", "dd.mm.yyyy", "m/d/yyyy"},
    {"long time", "hh:nn:ss", "h:nn:ss AM/PM"},
    {"medium time", "hh:nn", "hh:nn AM/PM"},
    {"short time", "hh:nn", "hh:nn"},
};
constexpr NamedPattern ofNumbers[] = {
    {"general number", "0.##############", "0.##############"},
    {"fixed", "0.00", "0.00"},
    {"standard", "#,##0.00", "#,##0.00"},
    {"percent", "0.00%", "0.00%"},
    {"yes/no", "\"Evet\";\"Evet\";\"Hayır\"", "\"Yes\";\"Yes\";\"No\""},
    {"true/false", "\"Doğru\";\"Doğru\";\"Yanlış\"", "\"True\";\"True\";\"False\""},
    {"on/off", "\"Açık\";\"Açık\";\"Kapalı\"", "\"On\";\"On\";\"Off\""},
};

template <class Patterns> std::string_view unnamed(const Patterns& patterns, std::string_view pattern, bool english)
{
    std::string name(pattern);
    std::ranges::transform(name, name.begin(), lower);
    for (const NamedPattern& each : patterns)
        if (each.name == name) return english ? each.english : each.turkish;
    return {};
}

[[noreturn]] void refuse(std::string_view pattern, std::string_view part)
{
    throw files::Error(files::Fault::unsupported,
                       said("Format'ın '", "'") + std::string(part) +
                           said("' parçası anlaşılmıyor (desen: '", "' of the pattern '") + std::string(pattern) +
                           said("'); olduğu gibi yazılacak harfler tırnak içinde durur",
                                "' is not understood by Format; letters to be written as they are stand in quotes"));
}

/// A pattern as a row of letters that mean something, and of texts that stand for themselves.
struct Piece {
    std::string_view text; ///< the same letter in any number, or what stands for itself
    bool literal = false;
};

std::vector<Piece> piecesOf(std::string_view pattern)
{
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < pattern.size();) {
        const char first = pattern[at];
        if (first == '"') {
            const std::size_t close = pattern.find('"', at + 1);
            if (close == pattern.npos) refuse(pattern, pattern.substr(at));
            pieces.push_back({pattern.substr(at + 1, close - at - 1), true});
            at = close + 1;
        } else if (first == '\\' && at + 1 < pattern.size()) {
            pieces.push_back({pattern.substr(at + 1, 1), true});
            at += 2;
        } else {
            std::size_t count = 1;
            while (at + count < pattern.size() && lower(pattern[at + count]) == lower(first)) ++count;
            pieces.push_back({pattern.substr(at, count)});
            at += count;
        }
    }
    return pieces;
}

/// A letter that means something in patterns of one kind or the other; others stand for themselves.
bool isMeant(char unit) { return std::string_view("acdehmnpqstwy").find(lower(unit)) != std::string_view::npos; }

std::string padded(int number, int digits)
{
    char text[16];
    std::snprintf(text, sizeof text, "%0*d", digits, number);
    return text;
}

/// What so many of a letter in a row stand for; nothing for what is not understood.
std::string partOf(const Calendar& c, char letter, std::size_t count, bool english)
{
    const auto number = [&](int value) { return count <= 2 ? padded(value, static_cast<int>(count)) : std::string(); };
    switch (letter) {
    case 'y':
        return count == 4 ? padded(c.year, 4) : count == 2 ? padded(c.year % 100, 2) : "";
    case 'm': {
        const auto month = static_cast<std::size_t>(c.month - 1);
        if (count == 4) return std::string(english ? englishMonths[month] : turkishMonths[month]);
        if (count == 3) return std::string(english ? englishMonths[month].substr(0, 3) : turkishShortMonths[month]);
        return number(c.month);
    }
    case 'd': {
        const auto day = static_cast<std::size_t>(weekdayOf(c) - 1);
        if (count == 4) return std::string(english ? englishDays[day] : turkishDays[day]);
        if (count == 3) return std::string(english ? englishDays[day].substr(0, 3) : turkishShortDays[day]);
        return number(c.day);
    }
    case 'h':
        return number(c.hour);
    case 'n':
        return number(c.minute);
    case 's':
        return number(c.second);
    case 'q':
        return count == 1 ? padded((c.month - 1) / 3 + 1, 1) : "";
    default:
        return {};
    }
}

/// "AM/PM" or "am/pm" at the place; the hours are then those of half a day.
bool isHalfDay(std::string_view pattern)
{
    const std::string_view mark = pattern.substr(0, 5);
    return mark == "AM/PM" || mark == "am/pm";
}

/// Digits of a number that is not below zero, rounded to so many decimals, halves away from zero, by the digits that
/// people see: 2.675 is 2.68.
std::string roundedDigits(double number, std::size_t decimals)
{
    std::string text = exchange::numberText(number);
    if (text.find_first_not_of("0123456789.") != text.npos) {
        char room[400];
        std::snprintf(room, sizeof room, "%.*f", static_cast<int>(decimals), number);
        return room;
    }
    std::size_t point = text.find('.');
    if (point == text.npos) return text;
    if (text.size() - point - 1 <= decimals) return text;
    const bool up = text[point + 1 + decimals] >= '5';
    text.resize(decimals == 0 ? point : point + 1 + decimals);
    for (std::size_t at = text.size(); up && at-- > 0;) {
        if (text[at] == '.') continue;
        if (text[at] != '9') {
            ++text[at];
            return text;
        }
        text[at] = '0';
    }
    return up ? "1" + text : text;
}

/// The number, not below zero, with so many decimals at least and at most, so many digits before them, and marks for
/// thousands.
std::string written(double number, std::size_t fewest, std::size_t most, std::size_t digits, bool grouped, bool english)
{
    std::string whole = roundedDigits(number, most);
    std::string decimals;
    if (const std::size_t point = whole.find('.'); point != std::string::npos) {
        decimals = whole.substr(point + 1);
        whole.resize(point);
    }
    while (decimals.size() > fewest && decimals.ends_with('0')) decimals.pop_back();
    while (decimals.size() < fewest) decimals += '0';
    if (digits == 0 && whole == "0") whole.clear();
    while (whole.size() < digits) whole.insert(0, "0");
    for (std::size_t at = whole.size(); grouped && at > 3;) whole.insert(at -= 3, english ? "," : ".");
    return whole + (decimals.empty() ? "" : (english ? "." : ",") + decimals);
}

/// The parts between the semicolons of a pattern: of numbers above zero, below, and of zero.
std::vector<std::string_view> sectionsOf(std::string_view pattern)
{
    std::vector<std::string_view> sections;
    std::size_t from = 0;
    bool quoted = false;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] == '"') quoted = !quoted;
        if (!quoted && pattern[at] == '\\') ++at;
        if (quoted || at >= pattern.size() || pattern[at] != ';') continue;
        sections.push_back(pattern.substr(from, at - from));
        from = at + 1;
    }
    sections.push_back(pattern.substr(from));
    return sections;
}

} // namespace

bool isOfMoments(std::string_view pattern)
{
    if (!unnamed(ofNumbers, pattern, false).empty()) return false;
    if (!unnamed(ofMoments, pattern, false).empty()) return true;
    return std::ranges::any_of(piecesOf(pattern), [](const Piece& piece) {
        return !piece.literal && std::string_view("ymdhnsq").find(lower(piece.text.front())) != std::string_view::npos;
    });
}

std::string formatMoment(jet::DateTime moment, std::string_view pattern, bool english)
{
    Calendar c = calendarOf(moment);
    std::string_view meant = unnamed(ofMoments, pattern, english);
    const bool general =
        !meant.empty() && meant.data() == (english ? ofMoments[0].english : ofMoments[0].turkish).data();
    if (general && c.hour == 0 && c.minute == 0 && c.second == 0) meant = unnamed(ofMoments, "short date", english);
    if (meant.empty()) meant = pattern;
    const std::size_t half = std::min(meant.find("AM/PM"), meant.find("am/pm"));
    const bool morning = c.hour < 12;
    if (half != meant.npos) c.hour = (c.hour + 11) % 12 + 1;

    std::string text;
    bool behindHours = false; // then m is minutes
    for (const Piece& piece : piecesOf(meant)) {
        const std::string_view rest = meant.substr(static_cast<std::size_t>(piece.text.data() - meant.data()));
        if (half != meant.npos && !piece.literal && rest.data() > meant.data() + half &&
            rest.data() < meant.data() + half + 5)
            continue; // the rest of AM/PM
        char letter = lower(piece.text.front());
        if (piece.literal || (!isMeant(letter) && !isDigit(letter))) {
            text += piece.text;
        } else if (isHalfDay(rest)) {
            text += rest.starts_with('A') ? (morning ? "AM" : "PM") : (morning ? "am" : "pm");
        } else {
            if (letter == 'm' && behindHours && piece.text.size() <= 2) letter = 'n';
            behindHours = letter == 'h';
            const std::string part = partOf(c, letter, piece.text.size(), english);
            if (part.empty()) refuse(pattern, piece.text);
            text += part;
        }
    }
    return text;
}

std::string formatNumber(double number, std::string_view pattern, bool english)
{
    std::string_view meant = unnamed(ofNumbers, pattern.empty() ? "general number" : pattern, english);
    if (meant.empty()) meant = pattern;
    const std::vector<std::string_view> sections = sectionsOf(meant);
    const std::size_t wanted = number < 0 ? 1 : number == 0 ? 2 : 0;
    const bool ownSection = wanted < sections.size() && !sections[wanted].empty();
    const std::string_view section = sections[ownSection ? wanted : 0];

    // What stands before the digits, their shape, and what stands behind them.
    std::string before, shape, behind;
    bool percent = false;
    for (const Piece& piece : piecesOf(section)) {
        const char first = piece.text.front();
        if (!piece.literal && std::string_view("0#.,").find(first) != std::string_view::npos) {
            if (!behind.empty()) refuse(pattern, piece.text);
            shape += piece.text;
            continue;
        }
        if (!piece.literal &&
            (isMeant(first) || isDigit(first) || std::string_view("@&<>!*").find(first) != std::string_view::npos))
            refuse(pattern, piece.text);
        percent = percent || (!piece.literal && first == '%');
        (shape.empty() ? before : behind) += piece.text;
    }
    if (shape.empty()) return before;
    if (percent) number *= 100;
    const std::size_t point = std::min(shape.find('.'), shape.size());
    const std::string whole = shape.substr(0, point);
    const std::string decimals = point < shape.size() ? shape.substr(point + 1) : std::string();
    if (whole.ends_with(',') || decimals.find_first_of(".,") != decimals.npos) refuse(pattern, shape);
    const auto zeros = [](const std::string& part) { return static_cast<std::size_t>(std::ranges::count(part, '0')); };
    const std::string text = written(std::abs(number), zeros(decimals), std::min<std::size_t>(decimals.size(), 15),
                                     zeros(whole), whole.find(',') != whole.npos, english);
    const bool minus = number < 0 && !ownSection && text.find_first_of("123456789") != text.npos;
    return (minus ? "-" : "") + before + text + behind;
}

} // namespace query
