#pragma once

#include "store/jet/values/sort_key.h"
#include "store/jet/values/value.h"

#include <cstdint>
#include <string>

namespace jet {

struct Column {
    std::u16string name;
    ColumnType type{};
    std::uint16_t id = 0;            ///< bit in a row's null bitmap
    std::uint16_t variableIndex = 0; ///< place in a row's offset table, for variable columns
    std::uint16_t fixedOffset = 0;   ///< bytes after the row's column count, for fixed columns
    std::uint16_t length = 0;        ///< bytes; Text: twice the number of characters
    std::uint16_t ordinal = 0;       ///< display position
    std::uint8_t precision = 0;      ///< Numeric only
    std::uint8_t scale = 0;          ///< Numeric only
    bool fixed = false;              ///< storage class: decided by the column's flag, never by its type
    bool autoNumber = false;         ///< Long only
    bool autoGuid = false;           ///< GUID only
    bool randomNumber = false;       ///< of an AutoNumber, by the table's properties: drawn, not counted
    bool compressible = false;       ///< text may be stored compressed
    bool required = false;           ///< by the table's properties
    bool emptyTextAllowed = true;    ///< by the table's properties
    Collation collation{};           ///< Text and Memo only
};

} // namespace jet
