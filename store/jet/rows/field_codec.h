#pragma once

#include "store/jet/rows/column.h"
#include "store/jet/rows/row_codec.h"
#include "store/jet/values/value.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

/// Single fields as bytes and as values. Long values are not followed here: for Memo and OLE the bytes are those of
/// the value itself, wherever it stands.
namespace jet {

/// The value of a field that is not Null. A Boolean field has no bytes and is true.
Value decodeValue(ColumnType type, std::uint8_t scale, std::span<const std::uint8_t> bytes);

/// The field as a number; nothing for texts, GUIDs and bytes.
std::optional<double> decodeNumber(const FieldPlace& field, std::span<const std::uint8_t> bytes);

/// The characters that a Text column takes.
std::size_t textRoom(const Column& column);

/// The value in the type of the column. Numbers, dates and Booleans turn into one another: halves are rounded to the
/// even neighbour, True is -1, a date is its days. Throws badValue, naming table and column, for anything that does
/// not fit: too large, too long, not a number.
Value convertValue(const Value& value, const Column& column, std::u16string_view table);

/// The bytes of a converted value that is not Null.
Bytes encodeValue(const Value& value, const Column& column, std::u16string_view table);

/// Throws badValue: a sentence that the column cannot take a value, and why (a Turkish clause).
[[noreturn]] void throwBadValue(std::u16string_view table, const Column& column, std::string_view why);

} // namespace jet
