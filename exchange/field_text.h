#pragma once

#include "exchange/csv.h"
#include "store/jet/table/table.h"

#include <optional>
#include <string>
#include <string_view>

/// Fields as texts that every program reads the same: 2025-11-20T14:05:00 for dates, a point before decimals, true and
/// false, hexadecimal digits for bytes, {8-4-4-4-12} for GUIDs.
namespace exchange {

/// Writes the fields of rows. Keeps what the last row taught it: the texts of whole days are used again.
class FieldWriter {
public:
    explicit FieldWriter(Output& out) : out_(out) {}

    /// The field of a row as one CSV field; nothing at all for Null. Throws jet::Error (damaged).
    void put(const jet::RowView& row, std::size_t position, const jet::Column& column);
    void put(const jet::Value& value);

private:
    void putNumber(double number);
    void putDate(jet::DateTime moment);
    void putText(std::span<const std::uint8_t> stored);
    bool putPlainLetters();

    Output& out_;
    std::u16string text_;
    std::int64_t day_ = INT64_MIN; ///< the day that dayText_ names
    std::string dayText_;
};

/// A number with a decimal point, as short as it can be and in plain digits between 0.00001 and 10^15.
std::string numberText(double number);

/// The value that a CSV field stands for in a column: an empty field without quotes is Null.
/// Throws jet::Error (badValue), with a sentence about the field alone.
jet::Value parseField(const CsvField& field, const jet::Column& column);

/// What a number stands in a file as, for the sentences about it.
struct WrittenNumber {
    std::string_view text;
    char decimalMark = '.';
};
/// The value of a column of numbers, which `plain` says with a decimal point and without marks between thousands.
/// Throws files::Error (badValue), with a sentence that shows the number as it was written.
jet::Value parseNumberField(std::string_view plain, const WrittenNumber& written, const jet::Column& column);
/// Why a text is no number, where numbers are written with that mark.
const char* noNumber(char decimalMark);

/// The number that digits with at most one point and a sign are, exactly; nothing for any other text, nor for more
/// digits than a decimal holds (28 of them behind the point).
std::optional<jet::Numeric> decimalIn(std::string_view text);

/// Name of a column's type as people know it.
std::string typeName(const jet::Column& column);

} // namespace exchange
