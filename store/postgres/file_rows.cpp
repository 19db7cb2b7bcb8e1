#include "store/postgres/file_rows.h"

#include "files/language.h"
#include "mill/names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace postgres {
namespace {

using files::said;

/// Whole numbers up to here are doubles, each of them.
constexpr std::int64_t exactInDouble = std::int64_t{1} << 53;

/// The double that the digits of an exact number say, where it says no more than they do.
std::optional<double> doubleOf(std::string digits, unsigned scale, bool negative)
{
    constexpr std::size_t certain = 15; // digits that every double brings back
    const std::size_t leading = digits.find_first_not_of('0');
    if (leading == std::string::npos) return 0.0;
    digits.erase(0, leading);
    std::string text = digits + "e-" + std::to_string(scale);
    std::size_t significant = digits.size();
    while (significant > 1 && digits[significant - 1] == '0') --significant;
    if (significant > certain) return std::nullopt;
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return negative ? -number : number;
}

std::optional<double> doubleOf(const jet::Numeric& number)
{
    // 128 bits, divided by ten until nothing is left.
    auto words = number.magnitude;
    std::string digits;
    while (std::ranges::any_of(words, [](std::uint32_t word) { return word != 0; })) {
        std::uint64_t rest = 0;
        for (std::uint32_t& word : words) {
            rest = rest << 32 | word;
            word = static_cast<std::uint32_t>(rest / 10);
            rest %= 10;
        }
        digits.insert(digits.begin(), static_cast<char>('0' + rest));
    }
    return doubleOf(digits, number.scale, number.negative);
}

std::optional<double> doubleOf(jet::Currency money)
{
    constexpr double tenThousandths = 10000;
    if (std::abs(money.tenThousandths) >= exactInDouble) return std::nullopt;
    return static_cast<double>(money.tenThousandths) / tenThousandths;
}

/// By the fewest digits that mean it, so that 0.1 stays 0.1: read as a Single again they give the same one.
std::optional<double> doubleOf(float number)
{
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    double wide = 0;
    std::from_chars(digits.data(), end, wide);
    return wide;
}

/// Nothing for what is no number, or one that a double cannot say.
std::optional<double> numberOf(const jet::Value& value)
{
    struct Read {
        std::optional<double> operator()(std::uint8_t number) const { return number; }
        std::optional<double> operator()(std::int16_t number) const { return number; }
        std::optional<double> operator()(std::int32_t number) const { return number; }
        std::optional<double> operator()(jet::Currency money) const { return doubleOf(money); }
        std::optional<double> operator()(float number) const { return doubleOf(number); }
        std::optional<double> operator()(double number) const { return number; }
        std::optional<double> operator()(const jet::Numeric& number) const { return doubleOf(number); }
        std::optional<double> operator()(jet::DateTime) const { return std::nullopt; }
        std::optional<double> operator()(jet::Null) const { return std::nullopt; }
        std::optional<double> operator()(bool) const { return std::nullopt; }
        std::optional<double> operator()(const std::u16string&) const { return std::nullopt; }
        std::optional<double> operator()(const jet::Bytes&) const { return std::nullopt; }
        std::optional<double> operator()(const jet::Guid&) const { return std::nullopt; }
    };
    return std::visit(Read{}, value);
}

/// Texts of UTF-16 that are none come back as others, and a server takes no NUL.
bool canTravel(const std::u16string& text)
{
    return text.find(u'\0') == std::u16string::npos && jet::fromUtf8(jet::toUtf8(text)) == text;
}

/// The field of a line; nothing when the server could not give it back as it is.
std::optional<std::string> written(const jet::Value& value, const FieldShape& shape)
{
    if (jet::isNull(value)) return writtenField({});
    if (shape.kind == Kind::text) {
        const auto* const text = std::get_if<std::u16string>(&value);
        if (text == nullptr || text->size() > shape.longest || !canTravel(*text)) return std::nullopt;
        return writtenField(jet::toUtf8(*text));
    }
    const auto* const moment = std::get_if<jet::DateTime>(&value);
    if ((shape.kind == Kind::moment) != (moment != nullptr)) return std::nullopt;
    const std::optional<double> number = moment != nullptr ? moment->days : numberOf(value);
    // One bit pattern of many is no number: which one it was is not told.
    if (!number || std::isnan(*number)) return std::nullopt;
    return writtenNumber(*number);
}

std::vector<std::size_t> columnsOf(const jet::Table& table, const TableShape& shape)
{
    std::vector<std::size_t> columns;
    for (const FieldShape& each : shape.fields) {
        const auto column = table.columnNamed(each.name);
        if (!column)
            throw files::Error(files::Fault::badValue,
                               jet::toUtf8(table.name()) + ": " + jet::toUtf8(each.name) +
                                   said(" adlı sütun yok; bu dosya aktarılamaz.",
                                        ": there is no such column; this file cannot be carried over."));
        columns.push_back(*column);
    }
    return columns;
}

[[noreturn]] void refuseField(const jet::Table& table, std::size_t row, const jet::Column& column)
{
    throw files::Error(
        files::Fault::badValue,
        jet::toUtf8(table.name()) + ", " + std::to_string(row) + said(". satır, ", ". row, ") +
            jet::toUtf8(column.name) +
            said(": bu değer sunucuda olduğu gibi saklanamaz (çok uzun bir metin, çok uzun bir sayı ya da "
                 "başka türden bir alan); düzeltin ya da boşaltın. Hiçbir şey aktarılmadı.",
                 ": the server could not keep this value as it is (a text or a number too long, or a "
                 "field of another kind); change it or empty it. Nothing was carried over."));
}

} // namespace

std::vector<std::string> linesIn(const jet::Table& table, const TableShape& shape)
{
    std::vector<std::string> lines;
    for (FileLine& each : fileLinesIn(table, shape)) lines.push_back(std::move(each.line));
    return lines;
}

std::vector<FileLine> fileLinesIn(const jet::Table& table, const TableShape& shape)
{
    const std::vector<std::size_t> columns = columnsOf(table, shape);
    std::vector<bool> known(table.columns().size());
    for (const std::size_t column : columns) known[column] = true;
    const bool journal = shape.name == mill::Hareket::table;
    std::vector<FileLine> lines;
    std::size_t number = 0;
    table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
        ++number;
        if (journal && row.textIs(columns.back(), mill::reserved::totals)) return true;
        std::string line;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const auto field = written(row.value(columns[i]), shape.fields[i]);
            if (!field) refuseField(table, number, table.columns()[columns[i]]);
            line += (i > 0 ? "\t" : "") + *field;
        }
        // A column that somebody added would stay behind.
        for (std::size_t i = 0; i < known.size(); ++i)
            if (!known[i] && !row.isNull(i)) refuseField(table, number, table.columns()[i]);
        lines.push_back({id, std::move(line)});
        return true;
    });
    return lines;
}

std::vector<jet::Assignment> assignmentsOf(const std::string& line, const TableShape& shape, const jet::Table& table)
{
    const std::vector<std::size_t> columns = columnsOf(table, shape);
    const auto fields = fieldsOf(line);
    std::vector<jet::Assignment> assignments;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (!fields.at(i)) continue;
        jet::Assignment& each = assignments.emplace_back(jet::Assignment{columns[i], {}});
        if (shape.fields[i].kind == Kind::text)
            each.value = jet::fromUtf8(*fields[i]);
        else if (shape.fields[i].kind == Kind::moment)
            each.value = jet::DateTime{numberIn(*fields[i])};
        else
            each.value = numberIn(*fields[i]);
    }
    return assignments;
}

} // namespace postgres
