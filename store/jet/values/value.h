#pragma once

#include <cstddef> // before <compare>: moc of Qt 6.4 stumbles otherwise

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace jet {

/// Column types of the format; the numbers are on disk.
enum class ColumnType : std::uint8_t {
    boolean = 1,
    byte = 2,
    integer = 3,
    longInteger = 4,
    currency = 5,
    singleFloat = 6,
    doubleFloat = 7,
    dateTime = 8,
    binary = 9,
    text = 10,
    ole = 11,
    memo = 12,
    guid = 15,
    numeric = 16,
    blob = 17, ///< fixed 3992 bytes, only in Access's own tables
};

/// Memo and OLE: their values may stand outside their row.
inline bool isLongValue(ColumnType type) { return type == ColumnType::memo || type == ColumnType::ole; }

/// Types of numbers: not of dates, which are stored as one, and not Boolean.
inline bool isNumber(ColumnType type)
{
    return (type >= ColumnType::byte && type <= ColumnType::doubleFloat) || type == ColumnType::numeric;
}

/// A type of the format's tables. Values of any other one are carried along and never interpreted.
bool isKnown(ColumnType type);

struct Currency {
    std::int64_t tenThousandths = 0; ///< 1 TL = 10000
    auto operator<=>(const Currency&) const = default;
};

/// Days since 1899-12-30; the integer part counts days, the absolute fraction is the time of day.
struct DateTime {
    double days = 0;
    auto operator<=>(const DateTime&) const = default;
};

struct Guid {
    std::array<std::uint8_t, 16> bytes{}; ///< as stored
    auto operator<=>(const Guid&) const = default;
};

/// Exact decimal number: magnitude / 10^scale, scale 0..28.
struct Numeric {
    bool negative = false;
    std::array<std::uint32_t, 4> magnitude{}; ///< most significant word first
    std::uint8_t scale = 0;
    auto operator<=>(const Numeric&) const = default;
};

using Null = std::monostate;
using Bytes = std::vector<std::uint8_t>;

/// What a field holds. Text and Memo are u16string, Binary/OLE/blob are Bytes.
using Value = std::variant<Null, bool, std::uint8_t, std::int16_t, std::int32_t, Currency, float, double, DateTime,
                           std::u16string, Bytes, Guid, Numeric>;

inline bool isNull(const Value& value) { return std::holds_alternative<Null>(value); }

std::string toUtf8(std::u16string_view text); ///< lone surrogates become U+FFFD
std::u16string fromUtf8(std::string_view text);

} // namespace jet
