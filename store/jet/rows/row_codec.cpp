#include "store/jet/rows/row_codec.h"

#include "store/jet/format/long_value_layout.h"
#include "store/jet/format/value_layout.h"

#include <algorithm>
#include <cassert>

namespace jet {
namespace {

namespace at = row_layout;

/// Where the fixed fields end in a row that knows only the first `columns` column ids.
std::size_t fixedEndFor(const RowLayout& layout, unsigned columns)
{
    if (columns >= layout.columnsEver) return layout.fixedEnd;
    std::size_t end = at::fixedFields;
    for (const FieldPlace& field : layout.fields) {
        if (field.fixed && field.type != ColumnType::boolean && field.id < columns) {
            end = std::max<std::size_t>(end, field.offset + field.length);
        }
    }
    return end;
}

/// A variable field of a type with a length of its own must have that length.
bool lengthFits(const RowLayout& layout, const FieldPlace& field, std::span<const std::uint8_t> row)
{
    const auto bytes = fieldBytes(field, layout.variableEver > 0, row);
    if (!bytes) return true;
    if (isLongValue(field.type)) {
        return bytes->empty() || bytes->size() >= long_value_layout::reference;
    }
    return bytes->size() == exactLength(field.type);
}

} // namespace

std::size_t exactLength(ColumnType type)
{
    switch (type) {
    case ColumnType::byte:
        return 1;
    case ColumnType::integer:
        return 2;
    case ColumnType::longInteger:
    case ColumnType::singleFloat:
        return 4;
    case ColumnType::currency:
    case ColumnType::doubleFloat:
    case ColumnType::dateTime:
        return 8;
    case ColumnType::guid:
        return guidBytes;
    case ColumnType::numeric:
        return numeric_layout::bytes;
    default:
        return 0;
    }
}

bool hasFreeLength(ColumnType type)
{
    return type == ColumnType::boolean || (exactLength(type) == 0 && !isLongValue(type));
}

const char* rowDamage(const RowLayout& layout, std::span<const std::uint8_t> row)
{
    if (row.size() < at::fixedFields + at::bitmapBytes(1)) return "satır çok kısa";
    const unsigned columns = at::columnCount.get(row);
    if (columns == 0 || columns > layout.columnsEver) return "satırın sütun sayısı tabloya uymuyor";
    const std::size_t bitmapLength = at::bitmapBytes(columns);
    const std::size_t fixedEnd = fixedEndFor(layout, columns);
    if (layout.variableEver == 0) {
        return fixedEnd + bitmapLength > row.size() ? "satır, sabit alanlarından kısa" : nullptr;
    }
    if (row.size() < at::fixedFields + bitmapLength + at::tableBytes(0)) return "satır çok kısa";
    const std::uint8_t* bitmap = row.data() + row.size() - bitmapLength;
    const unsigned variables = getU16(at::variableCount(bitmap));
    if (variables > layout.variableEver) return "satırın değişken alan sayısı tabloya uymuyor";
    const std::size_t tableLength = at::tableBytes(variables);
    if (row.size() < at::fixedFields + bitmapLength + tableLength) return "satırın alan tablosu satırdan uzun";
    const std::size_t tableStart = row.size() - bitmapLength - tableLength;
    std::size_t last = fixedEnd;
    for (unsigned k = 0; k <= variables; ++k) {
        const std::size_t offset = getU16(at::start(bitmap, k));
        if (offset < last) return "satırın alan yerleri sırasız";
        last = offset;
    }
    if (last > tableStart) return "satırın alanları alan tablosuna taşıyor";
    for (const std::size_t field : layout.lengthChecked) {
        if (!lengthFits(layout, layout.fields[field], row)) return "bir alanın uzunluğu türüne uymuyor";
    }
    return nullptr;
}

void encodeRow(const RowLayout& layout, std::span<const std::optional<Bytes>> fields, Bytes& row)
{
    assert(fields.size() == layout.fields.size());
    const auto isVariable = [&](std::size_t i) {
        return fields[i] && !layout.fields[i].fixed && layout.fields[i].type != ColumnType::boolean;
    };
    std::size_t length = layout.fixedEnd + at::bitmapBytes(layout.columnsEver);
    if (layout.variableEver > 0) length += at::tableBytes(layout.variableEver);
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (isVariable(i)) length += fields[i]->size();
    // Padding stands between the fields and the offset table: both are found from their own end of the row.
    row.assign(std::max(length, at::shortest), 0);
    at::columnCount.put(row, layout.columnsEver);

    std::uint8_t* const bitmap = row.data() + row.size() - at::bitmapBytes(layout.columnsEver);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const FieldPlace& place = layout.fields[i];
        if (!fields[i]) continue;
        bitmap[place.id >> 3] = static_cast<std::uint8_t>(bitmap[place.id >> 3] | 1u << (place.id & 7));
        if (isVariable(i)) {
            putU16(at::start(bitmap, place.variableIndex), static_cast<std::uint32_t>(fields[i]->size())); // for now
        } else if (place.type != ColumnType::boolean) {
            assert(fields[i]->size() == place.length);
            std::copy(fields[i]->begin(), fields[i]->end(), row.begin() + place.offset);
        }
    }
    if (layout.variableEver == 0) return;
    std::size_t begin = layout.fixedEnd;
    for (std::size_t k = 0; k <= layout.variableEver; ++k) {
        const unsigned bytes = getU16(at::start(bitmap, k));
        putU16(at::start(bitmap, k), static_cast<std::uint32_t>(begin));
        begin += bytes;
    }
    putU16(at::variableCount(bitmap), layout.variableEver);
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (isVariable(i))
            std::copy(fields[i]->begin(), fields[i]->end(),
                      row.begin() + getU16(at::start(bitmap, layout.fields[i].variableIndex)));
}

} // namespace jet
