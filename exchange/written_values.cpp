#include "exchange/written_values.h"

#include "exchange/ascii.h"
#include "exchange/field_text.h"
#include "files/error.h"
#include "files/language.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <array>
#include <utility>

namespace exchange {

namespace {

using jet::ColumnType;

/// A value of no length is one of the type's.
bool holdsEmpty(ColumnType type)
{
    return type == ColumnType::text || type == ColumnType::memo || type == ColumnType::binary ||
           type == ColumnType::ole || type == ColumnType::blob;
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

/// The number without its marks for thousands and with a decimal point; nothing where the marks stand out of place.
std::optional<std::string> plainNumber(std::string_view text, char decimalMark)
{
    constexpr std::size_t perGroup = 3;
    const char groupMark = decimalMark == '.' ? ',' : '.';
    std::string plain;
    if (text.find(groupMark) == std::string_view::npos) {
        plain = text;
        std::ranges::replace(plain, decimalMark, '.');
        return plain;
    }
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        plain += text.front();
        text.remove_prefix(1);
    }
    // Nobody parts the thousands of a number below one: that mark stands before decimals.
    if (text.starts_with('0')) return std::nullopt;
    const std::size_t whole = std::min(text.find_first_of(decimalMark == '.' ? ".eE" : ",eE"), text.size());
    bool grouped = false;
    std::size_t inGroup = 0;
    for (const char c : text.substr(0, whole)) {
        if (c == groupMark) {
            if (inGroup == 0 || inGroup > perGroup || (grouped && inGroup != perGroup)) return std::nullopt;
            grouped = true;
            inGroup = 0;
        } else {
            plain += c;
            ++inGroup;
        }
    }
    if (grouped && inGroup != perGroup) return std::nullopt;
    for (const char c : text.substr(whole)) {
        if (c == groupMark) return std::nullopt;
        plain += c == decimalMark ? '.' : c;
    }
    // A whole number with an empty fraction, "12,0", is one for people.
    return plain;
}

// ---- dates ----

struct WrittenDate {
    int first = 0, second = 0, year = 0; ///< day and month as they come
    bool yearFirst = false;
    bool certain = false; ///< the day stands first, whatever the style
    bool points = false;  ///< certain for its points alone: somebody may say otherwise
    bool machine = false;
    std::string_view time; ///< what stands behind the date
};

/// Names of months, from January, in the two languages.
constexpr std::array<std::array<std::string_view, 2>, 12> monthNames = {{{"Ocak", "January"},
                                                                         {"Şubat", "February"},
                                                                         {"Mart", "March"},
                                                                         {"Nisan", "April"},
                                                                         {"Mayıs", "May"},
                                                                         {"Haziran", "June"},
                                                                         {"Temmuz", "July"},
                                                                         {"Ağustos", "August"},
                                                                         {"Eylül", "September"},
                                                                         {"Ekim", "October"},
                                                                         {"Kasım", "November"},
                                                                         {"Aralık", "December"}}};

std::optional<int> monthNamed(std::string_view name)
{
    const auto folded = [](std::string_view text) { return jet::foldTurkish(jet::fromUtf8(text)); };
    const std::u16string wanted = folded(name);
    for (std::size_t month = 0; month < monthNames.size(); ++month)
        for (const std::string_view each : monthNames[month])
            if (folded(each) == wanted) return static_cast<int>(month) + 1;
    return std::nullopt;
}

/// "20 Kasım 2025"
std::optional<WrittenDate> namedMonthDate(std::string_view text)
{
    WrittenDate date;
    const auto day = takeNumber(text, 2);
    if (!day || !text.starts_with(' ')) return std::nullopt;
    text.remove_prefix(1);
    const std::size_t blank = text.find(' ');
    if (blank == std::string_view::npos) return std::nullopt;
    const auto month = monthNamed(text.substr(0, blank));
    text.remove_prefix(blank + 1);
    const std::size_t before = text.size();
    const auto year = takeNumber(text, 4);
    if (!month || !year || before - text.size() != 4) return std::nullopt;
    date.first = *day;
    date.second = *month;
    date.year = *year;
    date.certain = true;
    date.time = text;
    return date;
}

std::optional<WrittenDate> readDate(std::string_view text)
{
    const std::string_view whole = text;
    const auto first = takeNumber(text, 4);
    if (!first || text.empty()) return std::nullopt;
    const std::size_t firstDigits = whole.size() - text.size();
    const char mark = text.front();
    if (mark == ' ') return namedMonthDate(whole);
    if (mark != '.' && mark != '/' && mark != '-') return std::nullopt;
    text.remove_prefix(1);
    const auto second = takeNumber(text, 2);
    if (!second || !text.starts_with(mark)) return std::nullopt;
    text.remove_prefix(1);
    const std::size_t before = text.size();
    const auto third = takeNumber(text, 4);
    if (!third) return std::nullopt;
    const std::size_t thirdDigits = before - text.size();
    WrittenDate date;
    date.time = text;
    if (firstDigits == 4 && thirdDigits <= 2) {
        date.yearFirst = true;
        date.year = *first;
        date.first = *third;
        date.second = *second;
        date.certain = true;
        date.machine = mark == '-' && text.starts_with('T');
    } else if (firstDigits <= 2 && thirdDigits == 4) {
        date.first = *first;
        date.second = *second;
        date.year = *third;
        date.certain = date.points = mark == '.';
    } else {
        return std::nullopt; // a year of two digits is of any century
    }
    return date;
}

struct WrittenTime {
    int hour = 0, minute = 0, second = 0;
};

/// " 14:05", "T14:05:00", " 2:05 PM"; midnight for nothing at all.
std::optional<WrittenTime> readTime(std::string_view text)
{
    WrittenTime time;
    if (text.empty()) return time;
    if (text.front() == 'T' || text.front() == ' ') text.remove_prefix(1);
    const auto hour = takeNumber(text, 2);
    if (!hour || !text.starts_with(':')) return std::nullopt;
    text.remove_prefix(1);
    const auto minute = takeNumber(text, 2);
    if (!minute) return std::nullopt;
    time.hour = *hour;
    time.minute = *minute;
    if (text.starts_with(':')) {
        text.remove_prefix(1);
        const auto second = takeNumber(text, 2);
        if (!second) return std::nullopt;
        time.second = *second;
    }
    text = trimmed(text);
    if (text.empty()) return time;
    const bool morning = text == "AM" || text == "am" || text == "ÖÖ";
    const bool afternoon = text == "PM" || text == "pm" || text == "ÖS";
    if ((!morning && !afternoon) || time.hour < 1 || time.hour > 12) return std::nullopt;
    time.hour = time.hour % 12 + (afternoon ? 12 : 0);
    return time;
}

[[noreturn]] void refuse(std::string_view text, const char* why)
{
    throw files::Error(files::Fault::badValue, "'" + std::string(text) + "' " + why);
}

jet::Value writtenDate(const CsvField& field, const jet::Column& column, const WrittenStyle& style)
{
    const std::string_view text = trimmed(field.text);
    const auto date = readDate(text);
    if (!date || date->machine || date->time.find('.') != std::string_view::npos) {
        // A time alone is one of the day that dates are counted from.
        const auto time = date ? std::nullopt : readTime(text);
        if (!time || text.empty()) return parseField({std::string(text), field.quoted}, column);
        const auto moment = jet::dateTime(1899, 12, 30, time->hour, time->minute, time->second);
        if (moment) return *moment;
        refuse(text, files::said("bir saat değil", "is no time"));
    }
    const auto time = readTime(date->time);
    const bool dayFirst = style.dayFirst || (date->certain && !(date->points && style.saidOrder));
    const int day = dayFirst ? date->first : date->second;
    const int month = dayFirst ? date->second : date->first;
    const auto moment =
        time ? jet::dateTime(date->year, month, day, time->hour, time->minute, time->second) : std::nullopt;
    if (!moment)
        refuse(text, files::said("bir tarih değil (20.11.2025 14:05 ya da 2025-11-20T14:05:00 gibi olmalı)",
                                 "is no date (like 20.11.2025 14:05 or 2025-11-20T14:05:00)"));
    return *moment;
}

std::optional<bool> writtenBoolean(std::string_view text)
{
    static constexpr std::pair<std::string_view, bool> words[] = {{"evet", true},    {"hayır", false}, {"doğru", true},
                                                                  {"yanlış", false}, {"yes", true},    {"no", false}};
    const std::u16string folded = jet::foldTurkish(jet::fromUtf8(text));
    for (const auto& [word, value] : words)
        if (jet::fromUtf8(word) == folded) return value;
    return std::nullopt;
}

} // namespace

Hint numberHint(std::string_view text)
{
    constexpr std::size_t perGroup = 3;
    text = trimmed(text);
    const auto points = std::ranges::count(text, '.');
    const auto commas = std::ranges::count(text, ',');
    if (points + commas == 0) return Hint::nothing;
    const auto mayBeOfNumber = [](char c) {
        return isDigit(c) || c == '+' || c == '-' || c == '.' || c == ',' || c == 'e' || c == 'E';
    };
    if (!std::ranges::all_of(text, mayBeOfNumber)) return Hint::nothing; // no number in any style
    if (points > 0 && commas > 0) {
        const bool asPoint = plainNumber(text, '.').has_value();
        const bool asComma = plainNumber(text, ',').has_value();
        return asPoint == asComma ? Hint::nothing : asPoint ? Hint::first : Hint::second;
    }
    const Hint decimal = points > 0 ? Hint::first : Hint::second;
    const Hint thousands = points > 0 ? Hint::second : Hint::first;
    if (points + commas > 1) return thousands;
    const std::size_t mark = text.find_first_of(".,");
    const std::string_view before = text.substr(text.front() == '-' || text.front() == '+' ? 1 : 0);
    const std::size_t ahead = before.find_first_of(".,");
    const std::size_t behind = text.size() - mark - 1;
    if (behind != perGroup || ahead == 0 || ahead > perGroup || before.front() == '0') return decimal;
    return Hint::either; // for whole numbers too: programs write 5 as 5.000
}

Hint dateHint(std::string_view text)
{
    constexpr int months = 12;
    const auto date = readDate(trimmed(text));
    if (!date || date->certain || date->first == date->second) return Hint::nothing;
    if (date->first > months) return date->second > months ? Hint::nothing : Hint::first;
    return date->second > months ? Hint::second : Hint::either;
}

void StyleFinder::note(Hints& hints, Hint hint, std::string_view text, std::size_t line)
{
    Seen& seen = hints[static_cast<std::size_t>(hint)];
    if (seen.line == 0) seen = {line, std::string(text)};
}

void StyleFinder::see(const CsvField& field, const jet::Column& column, std::size_t line)
{
    if (field.text.empty()) return;
    if (isNumber(column.type)) {
        note(numbers_, numberHint(field.text), field.text, line);
    } else if (column.type == ColumnType::dateTime) {
        note(dates_, dateHint(field.text), field.text, line);
        if (!machineDates_) {
            const auto date = readDate(trimmed(field.text));
            machineDates_ = date && date->machine;
        }
    }
}

WrittenStyle StyleFinder::style(std::optional<char> decimalMark, std::optional<bool> dayFirst) const
{
    const auto of = [](const Hints& hints, Hint hint) -> const Seen& { return hints[static_cast<std::size_t>(hint)]; };
    const auto shown = [](const Seen& seen) {
        return std::to_string(seen.line) + files::said(". satırda '", ". line '") + seen.text + "'";
    };
    const auto ask = [&](const Hints& hints, const char* what, const char* option) {
        const Seen& first = of(hints, Hint::first);
        const Seen& second = of(hints, Hint::second);
        const std::string where = first.line > 0 ? shown(first) + ", " + shown(second) : shown(of(hints, Hint::either));
        throw files::Error(files::Fault::badValue,
                           where + ": " + what + files::said(" anlaşılamıyor; ", " cannot be told; say it with ") +
                               option + files::said(" ile söyleyin. Hiçbir satır yüklenmedi.", ". No row was loaded."));
    };
    /// The style that the file tells: true for the first; nothing where any will do.
    const auto told = [&](const Hints& hints, const char* what, const char* option) -> std::optional<bool> {
        const bool first = of(hints, Hint::first).line > 0;
        const bool second = of(hints, Hint::second).line > 0;
        if (first && second) ask(hints, what, option);
        if (first || second) return first;
        if (of(hints, Hint::either).line > 0 && !(&hints == &numbers_ && machineDates_)) ask(hints, what, option);
        return std::nullopt;
    };
    WrittenStyle style;
    if (decimalMark) {
        style.decimalMark = *decimalMark;
    } else {
        const auto point =
            told(numbers_,
                 files::said("ondalığın nokta mı virgül mü olduğu", "whether the decimal mark is a point or a comma"),
                 files::said("--decimal point ya da --decimal comma", "--decimal point or --decimal comma"));
        style.decimalMark = point.value_or(true) ? '.' : ',';
    }
    style.saidOrder = dayFirst.has_value();
    style.dayFirst =
        dayFirst
            ? *dayFirst
            : told(dates_, files::said("günün mü ayın mı önce yazıldığı", "whether the day or the month comes first"),
                   files::said("--dates dmy ya da --dates mdy", "--dates dmy or --dates mdy"))
                  .value_or(true);
    return style;
}

jet::Value writtenValue(const CsvField& field, const jet::Column& column, const WrittenStyle& style)
{
    // Programs that quote every field write Nulls so, too: where nothing is a value, it is none.
    if (field.text.empty()) return parseField({{}, field.quoted && holdsEmpty(column.type)}, column);
    if (isNumber(column.type)) {
        const std::string_view text = trimmed(field.text);
        const auto plain = plainNumber(text, style.decimalMark);
        if (!plain) refuse(text, noNumber(style.decimalMark));
        return parseNumberField(*plain, {text, style.decimalMark}, column);
    }
    if (column.type == ColumnType::dateTime) return writtenDate(field, column, style);
    if (column.type == ColumnType::boolean)
        if (const auto value = writtenBoolean(field.text)) return *value;
    return parseField(field, column);
}

} // namespace exchange
