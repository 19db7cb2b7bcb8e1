#pragma once

#include "store/jet/format/key_layout.h"
#include "store/jet/table/table.h"
#include "tests/support/bytes.h"
#include "tests/support/process.h"
#include "tests/support/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>

/// Another program's view of a database: what the command-line tools of mdbtools print.
namespace mdbtools {

using Fields = std::vector<std::string>;

inline std::string run(const std::string& program, const std::vector<std::string>& arguments)
{
    const Outcome outcome =
        ::run({.program = program, .arguments = arguments, .environment = {{"LC_ALL", "C.UTF-8"}, {"TZ", "UTC"}}});
    if (outcome.code < 0) throw std::runtime_error(program + " did not finish");
    return outcome.out;
}

inline std::vector<std::string> tables(const std::filesystem::path& file)
{
    std::vector<std::string> names = split(run("mdb-tables", {"-1", file.string()}), "\n");
    std::erase(names, "");
    return names;
}

/// A table as text fields; the first row holds the column names. Null is `null`.
inline const std::string null = "<NULL>";
inline std::vector<Fields> table(const std::filesystem::path& file, const std::string& name)
{
    const std::string text = run("mdb-export", {"-Q", "-d", "<|>", "-R", "<#>", "-0", null, "-b", "hex", "-D",
                                                "%Y-%m-%d %H:%M:%S", "-T", "%Y-%m-%d %H:%M:%S", file.string(), name});
    std::vector<Fields> rows;
    for (const std::string& line : split(text, "<#>")) rows.push_back(split(line, "<|>"));
    rows.pop_back(); // behind the last row end
    return rows;
}

/// The day and second that a date value names, in the form asked of mdb-export above.
inline std::string printedDate(jet::DateTime date)
{
    using namespace std::chrono;
    double whole = 0;
    const auto rest = seconds(std::llround(std::fabs(std::modf(date.days, &whole)) * 86400));
    const sys_seconds moment = sys_days(1899y / December / 30) + days(static_cast<int>(whole)) + rest;
    const auto day = floor<days>(moment);
    const year_month_day calendar(day);
    const hh_mm_ss clock(moment - day);
    std::array<char, 40> text;
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(calendar.year()),
                  static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text.data();
}

/// A GUID as people write it, without braces: its first three groups are stored lowest byte first.
inline std::string shownGuid(const jet::Guid& guid)
{
    auto bytes = guid.bytes;
    constexpr auto& parts = jet::key_layout::guidParts;
    for (std::size_t i = 1; i < parts.size(); ++i) std::reverse(&bytes[parts[i - 1]], &bytes[parts[i]]);
    std::string shown = hexOf(bytes);
    for (const std::size_t at : {20U, 16U, 12U, 8U}) shown.insert(at, "-");
    return shown;
}

inline std::string capitals(std::string text)
{
    for (char& letter : text)
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    return text;
}

/// Asked for bytes in hexadecimal, mdb-export prints the characters of a GUID so; it leaves one hyphen out.
inline bool isGuid(const std::string& printed, const jet::Guid& guid)
{
    if (printed.size() % 2 != 0 || printed.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        return false;
    const auto characters = bytesOf(printed);
    std::string shown(characters.begin(), characters.end());
    std::erase(shown, '-');
    std::string expected = capitals('{' + shownGuid(guid) + '}');
    std::erase(expected, '-');
    return shown == expected;
}

/// True when the field that mdb-export printed says what the value is; it prints empty ones as it prints Null.
inline bool agrees(const std::string& printed, const jet::Value& value, const jet::Column& column)
{
    using jet::ColumnType;
    if (jet::isNull(value)) return printed == null;
    const auto closeTo = [&](double number, double share) {
        double other = 0;
        const char* const end = printed.data() + printed.size();
        const auto read = std::from_chars(printed.data(), end, other);
        return read.ec == std::errc() && read.ptr == end && std::fabs(other - number) <= std::fabs(number) * share;
    };
    switch (column.type) {
    case ColumnType::boolean:
        return printed == (std::get<bool>(value) ? "1" : "0");
    case ColumnType::byte:
        return printed == std::to_string(std::get<std::uint8_t>(value));
    case ColumnType::integer:
        return printed == std::to_string(std::get<std::int16_t>(value));
    case ColumnType::longInteger:
        return printed == std::to_string(std::get<std::int32_t>(value));
    case ColumnType::currency:
        return closeTo(static_cast<double>(std::get<jet::Currency>(value).tenThousandths) / 1e4, 1e-14);
    case ColumnType::singleFloat:
        return closeTo(std::get<float>(value), 1e-6);
    case ColumnType::doubleFloat:
        return closeTo(std::get<double>(value), 1e-14);
    case ColumnType::text:
    case ColumnType::memo: {
        const auto& text = std::get<std::u16string>(value);
        return printed == (text.empty() ? null : jet::toUtf8(text));
    }
    case ColumnType::dateTime:
        return printed == printedDate(std::get<jet::DateTime>(value));
    case ColumnType::guid:
        return isGuid(printed, std::get<jet::Guid>(value));
    case ColumnType::numeric: {
        const auto& number = std::get<jet::Numeric>(value);
        double magnitude = 0;
        for (const std::uint32_t word : number.magnitude) magnitude = magnitude * 4294967296.0 + word;
        magnitude /= std::pow(10.0, number.scale);
        return closeTo(number.negative ? -magnitude : magnitude, 1e-14);
    }
    case ColumnType::binary:
    case ColumnType::ole:
    case ColumnType::blob: {
        jet::Bytes raw = std::get<jet::Bytes>(value);
        // It prints Binary fields up to the first zero byte.
        if (column.type == ColumnType::binary) raw.erase(std::ranges::find(raw, std::uint8_t{0}), raw.end());
        if (raw.empty()) return printed.empty() || printed == null;
        return capitals(printed) == capitals(hexOf(raw));
    }
    }
    return false;
}

/// The first field that the printed row (see table()) says differently, by its place in `names`, the first printed
/// row; nothing when they agree.
inline std::optional<std::size_t> firstDifference(const Fields& names, const Fields& printed, const jet::Table& table,
                                                  const jet::RowView& row)
{
    for (std::size_t field = 0; field < names.size(); ++field) {
        const auto column = table.columnNamed(jet::fromUtf8(names[field]));
        const bool there = column && field < printed.size();
        if (!there || !agrees(printed[field], row.value(*column), table.columns()[*column])) return field;
    }
    return std::nullopt;
}

/// What differs between a table and what mdb-export prints of it; empty when nothing does. A moved row may stand
/// anywhere: mdb-export prints it where its body is.
inline std::string difference(const std::filesystem::path& file, const jet::Table& table)
{
    const std::string name = jet::toUtf8(table.name());
    std::vector<Fields> printed = mdbtools::table(file, name);
    const Fields names = printed.at(0);
    printed.erase(printed.begin());
    if (names.size() != table.columns().size()) return name + ": other columns";
    std::size_t rows = 0;
    std::string fault;
    std::size_t at = 0;
    std::vector<bool> taken(printed.size());
    table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
        ++rows;
        while (at < printed.size() && taken[at]) ++at;
        std::optional<std::size_t> nearest;
        std::string nearestText;
        for (std::size_t i = at; i < printed.size(); ++i) {
            if (taken[i]) continue;
            const auto field = firstDifference(names, printed[i], table, row);
            if (!field) {
                taken[i] = true;
                return true;
            }
            if (!nearest || *field > *nearest) {
                nearest = field;
                nearestText = *field < printed[i].size() ? printed[i][*field] : std::string();
            }
        }
        fault = name + ": the row at page " + std::to_string(id.page.number()) + " slot " +
                std::to_string(id.slot.number()) + " is not among those printed";
        if (nearest) fault += "; the nearest one has " + names[*nearest] + " = " + nearestText;
        return false;
    });
    if (fault.empty() && rows != printed.size())
        fault = name + ": " + std::to_string(rows) + " rows, " + std::to_string(printed.size()) + " printed";
    return fault;
}

} // namespace mdbtools
