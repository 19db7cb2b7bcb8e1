#pragma once

#include "store/jet/format/row_layout.h"
#include "store/jet/values/value.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// The bytes of one row, as format/row_layout.h draws them.
namespace jet {

/// Where a column's field stands in a row. Computed once for each table, read for each field.
struct FieldPlace {
    ColumnType type{};
    bool fixed = false;
    std::uint8_t scale = 0;          ///< Numeric only
    std::uint16_t id = 0;            ///< bit in the null bitmap
    std::uint16_t offset = 0;        ///< from the start of the row, for fixed fields
    std::uint16_t length = 0;        ///< bytes, for fixed fields
    std::uint16_t variableIndex = 0; ///< for variable fields
};

struct RowLayout {
    std::vector<FieldPlace> fields;
    std::vector<std::size_t> lengthChecked; ///< variable fields of types whose values have a length of their own
    std::uint16_t columnsEver = 0;          ///< columns ever defined: NC of new rows
    std::uint16_t variableEver = 0;         ///< variable columns ever defined: VC of new rows
    std::uint16_t fixedEnd = row_layout::fixedFields; ///< where the fixed fields end, from the start of the row
};

/// The length that every value of the type has; 0 for types of any length and for Boolean, which has no bytes.
std::size_t exactLength(ColumnType type);
/// True for a type whose values may have any length where they stand as a variable field.
bool hasFreeLength(ColumnType type);

/// What contradicts the format in a row, as a Turkish clause, or null when it is sound. The functions below may only
/// be given sound rows.
const char* rowDamage(const RowLayout& layout, std::span<const std::uint8_t> row);

/// The field's bytes: nothing for Null, and for a Boolean that is false; an empty span for one that is true.
inline std::optional<std::span<const std::uint8_t>> fieldBytes(const FieldPlace& field, bool hasVariable,
                                                               std::span<const std::uint8_t> row)
{
    namespace at = row_layout;
    const std::uint8_t* begin = row.data();
    const unsigned columns = at::columnCount.get(begin);
    if (field.id >= columns) return std::nullopt;
    const std::uint8_t* bitmap = begin + row.size() - at::bitmapBytes(columns);
    if (!at::bit(bitmap, field.id)) return std::nullopt;
    if (field.type == ColumnType::boolean) return std::span<const std::uint8_t>{};
    if (field.fixed) return std::span<const std::uint8_t>(begin + field.offset, field.length);
    if (!hasVariable) return std::nullopt;
    if (field.variableIndex >= getU16(at::variableCount(bitmap))) return std::nullopt;
    const std::uint8_t* entry = at::start(bitmap, field.variableIndex);
    const unsigned start = getU16(entry);
    const unsigned end = getU16(entry - at::startBytes);
    return std::span<const std::uint8_t>(begin + start, end - start);
}

inline std::optional<std::span<const std::uint8_t>> fieldBytes(const RowLayout& layout, std::size_t field,
                                                               std::span<const std::uint8_t> row)
{
    return fieldBytes(layout.fields[field], layout.variableEver > 0, row);
}

/// A new row from the bytes of each of the layout's fields (nothing: Null, or false). Bytes of a fixed field have its
/// length. The row is at least row_layout::shortest bytes long; its greatest length is the caller's to
/// check.
void encodeRow(const RowLayout& layout, std::span<const std::optional<Bytes>> fields, Bytes& row);

} // namespace jet
