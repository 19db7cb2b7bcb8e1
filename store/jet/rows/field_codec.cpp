#include "store/jet/rows/field_codec.h"

#include "store/jet/format/doors.h"
#include "store/jet/format/limits.h"
#include "store/jet/format/value_layout.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/values/decimal.h"
#include "store/jet/values/names.h"
#include "store/jet/values/text_codec.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace jet {
namespace {

constexpr double currencyUnits = 10000.0;

Numeric readNumeric(std::span<const std::uint8_t> bytes, std::uint8_t scale)
{
    Numeric number;
    number.negative = numeric_layout::sign.get(bytes) != 0;
    number.scale = scale;
    for (std::size_t word = 0; word < 4; ++word) number.magnitude[word] = getU32(&bytes[numeric_layout::wordAt(word)]);
    return number;
}

double doubleOf(const Numeric& number)
{
    double magnitude = 0;
    for (const std::uint32_t word : number.magnitude) magnitude = magnitude * 4294967296.0 + word;
    magnitude /= std::pow(10.0, number.scale);
    return number.negative ? -magnitude : magnitude;
}

/// Any number, date or Boolean as a double.
struct ToDouble {
    std::optional<double> operator()(bool value) const { return value ? -1.0 : 0.0; }
    std::optional<double> operator()(Currency value) const
    {
        return static_cast<double>(value.tenThousandths) / currencyUnits;
    }
    std::optional<double> operator()(DateTime value) const { return value.days; }
    std::optional<double> operator()(const Numeric& value) const { return doubleOf(value); }
    template <class Other> std::optional<double> operator()(const Other& value) const
    {
        if constexpr (std::is_arithmetic_v<Other>) return value;
        return std::nullopt;
    }
};

class Converter {
public:
    Converter(const Value& value, const Column& column, std::u16string_view table)
        : value_(value), column_(column), table_(table)
    {
    }

    Value convert() const
    {
        switch (column_.type) {
        case ColumnType::boolean:
            return finite() != 0;
        case ColumnType::byte:
            return integer<std::uint8_t>();
        case ColumnType::integer:
            return integer<std::int16_t>();
        case ColumnType::longInteger:
            return integer<std::int32_t>();
        case ColumnType::currency:
            return currency();
        case ColumnType::singleFloat:
            return single();
        case ColumnType::doubleFloat:
            return finite();
        case ColumnType::dateTime:
            return dateTime();
        case ColumnType::numeric:
            return numeric();
        case ColumnType::text:
            return text();
        case ColumnType::memo:
            return same<std::u16string>("bu alana metin yazılır");
        case ColumnType::guid:
            return same<Guid>("bu alana GUID yazılır");
        case ColumnType::binary:
            return binary(column_.length);
        case ColumnType::ole:
            return binary(long_value_layout::longest);
        case ColumnType::blob:
            break;
        }
        fail("bu türden bir alana yazılamaz");
    }

private:
    [[noreturn]] void fail(std::string_view why) const { throwBadValue(table_, column_, why); }
    [[noreturn]] void failRange() const { fail("sayı, alanın alabileceği sınırların dışında"); }

    double finite() const
    {
        const std::optional<double> number = std::visit(ToDouble{}, value_);
        if (!number) fail("bu alana sayı yazılır");
        if (!std::isfinite(*number)) failRange();
        return *number;
    }
    template <class Integer> Value integer() const
    {
        if (const auto* exact = std::get_if<Integer>(&value_)) return *exact;
        const double rounded = std::nearbyint(finite()); // halves go to the even neighbour
        if (rounded < std::numeric_limits<Integer>::min() || rounded > std::numeric_limits<Integer>::max()) failRange();
        return static_cast<Integer>(rounded);
    }
    Value currency() const
    {
        if (const auto* exact = std::get_if<Currency>(&value_)) return *exact;
        if (const auto* number = std::get_if<Numeric>(&value_)) {
            const auto scaled = decimal::toCurrency(*number);
            if (!scaled) failRange();
            return *scaled;
        }
        const double units = std::nearbyint(finite() * currencyUnits);
        constexpr double limit = 9223372036854775808.0;
        if (units < -limit || units >= limit) failRange();
        return Currency{static_cast<std::int64_t>(units)};
    }
    Value single() const
    {
        const double number = finite();
        const auto narrow = static_cast<float>(number);
        if (!std::isfinite(narrow)) failRange();
        return narrow;
    }
    Value dateTime() const
    {
        const double days = finite();
        if (!limits::isMoment(days)) fail("tarih 100 ile 9999 yılları arasında olmalı");
        return DateTime{days};
    }
    Value numeric() const
    {
        std::optional<Numeric> number;
        if (const auto* exact = std::get_if<Numeric>(&value_)) {
            number = decimal::rescaled(*exact, column_.scale);
        } else if (const auto* money = std::get_if<Currency>(&value_)) {
            number = decimal::fromCurrency(*money, column_.scale);
        } else {
            number = decimal::fromDouble(finite(), column_.scale);
        }
        if (!number || decimal::digits(*number) > column_.precision) failRange();
        return *number;
    }
    Value text() const
    {
        auto whole = same<std::u16string>("bu alana metin yazılır");
        const std::size_t room = textRoom(column_);
        if (std::get<std::u16string>(whole).size() > room) {
            fail("metin en çok " + std::to_string(room) + " karakter olabilir");
        }
        return whole;
    }
    Value binary(std::size_t longest) const
    {
        auto whole = same<Bytes>("bu alana ikili veri yazılır");
        if (std::get<Bytes>(whole).size() > longest) fail("veri alana sığmıyor");
        return whole;
    }
    template <class Type> Value same(std::string_view why) const
    {
        if (!std::holds_alternative<Type>(value_)) fail(why);
        return value_;
    }

    const Value& value_;
    const Column& column_;
    std::u16string_view table_;
};

template <std::size_t Size> Bytes littleEndian(std::uint64_t bits)
{
    Bytes bytes(Size);
    for (std::size_t i = 0; i < Size; ++i) bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    return bytes;
}

class Encoder {
public:
    Encoder(const Column& column, std::u16string_view table) : column_(column), table_(table) {}

    Bytes operator()(Null) const { return {}; }
    Bytes operator()(bool) const { return {}; }
    Bytes operator()(std::uint8_t value) const { return {value}; }
    Bytes operator()(std::int16_t value) const { return littleEndian<2>(static_cast<std::uint16_t>(value)); }
    Bytes operator()(std::int32_t value) const { return littleEndian<4>(static_cast<std::uint32_t>(value)); }
    Bytes operator()(Currency value) const { return littleEndian<8>(static_cast<std::uint64_t>(value.tenThousandths)); }
    Bytes operator()(float value) const { return littleEndian<4>(std::bit_cast<std::uint32_t>(value)); }
    Bytes operator()(double value) const { return littleEndian<8>(std::bit_cast<std::uint64_t>(value)); }
    Bytes operator()(DateTime value) const { return (*this)(value.days); }
    Bytes operator()(const Guid& value) const { return {value.bytes.begin(), value.bytes.end()}; }
    Bytes operator()(const Bytes& value) const
    {
        Bytes bytes = value;
        if (column_.fixed) bytes.resize(column_.length, 0);
        return bytes;
    }
    Bytes operator()(const Numeric& value) const
    {
        Bytes bytes(numeric_layout::bytes, 0);
        numeric_layout::sign.put(bytes, value.negative ? numeric_layout::minus : 0);
        for (std::size_t word = 0; word < 4; ++word)
            putU32(&bytes[numeric_layout::wordAt(word)], value.magnitude[word]);
        return bytes;
    }
    Bytes operator()(const std::u16string& value) const
    {
        if (column_.fixed) {
            std::u16string padded = value;
            padded.resize(column_.length / text_layout::unitBytes, u' ');
            Bytes bytes;
            appendUtf16(bytes, padded);
            return bytes;
        }
        auto bytes = encodeText(value, column_.compressible);
        if (!bytes) throwBadValue(table_, column_, "metinde saklanamayan bir karakter var");
        return *bytes;
    }

private:
    const Column& column_;
    std::u16string_view table_;
};

} // namespace

Value decodeValue(ColumnType type, std::uint8_t scale, std::span<const std::uint8_t> bytes)
{
    const std::uint8_t* p = bytes.data();
    switch (type) {
    case ColumnType::boolean:
        return true;
    case ColumnType::byte:
        return *p;
    case ColumnType::integer:
        return static_cast<std::int16_t>(getU16(p));
    case ColumnType::longInteger:
        return static_cast<std::int32_t>(getU32(p));
    case ColumnType::currency:
        return Currency{static_cast<std::int64_t>(getU64(p))};
    case ColumnType::singleFloat:
        return std::bit_cast<float>(getU32(p));
    case ColumnType::doubleFloat:
        return std::bit_cast<double>(getU64(p));
    case ColumnType::dateTime:
        return DateTime{std::bit_cast<double>(getU64(p))};
    case ColumnType::numeric:
        return readNumeric(bytes, scale);
    case ColumnType::text:
    case ColumnType::memo: {
        std::u16string text;
        decodeText(bytes, text);
        return text;
    }
    case ColumnType::guid: {
        Guid guid;
        std::copy_n(p, guid.bytes.size(), guid.bytes.begin());
        return guid;
    }
    case ColumnType::binary:
    case ColumnType::ole:
    case ColumnType::blob:
        break;
    }
    return Bytes(bytes.begin(), bytes.end());
}

std::optional<double> decodeNumber(const FieldPlace& field, std::span<const std::uint8_t> bytes)
{
    const std::uint8_t* p = bytes.data();
    switch (field.type) {
    case ColumnType::doubleFloat:
    case ColumnType::dateTime:
        return std::bit_cast<double>(getU64(p));
    case ColumnType::longInteger:
        return static_cast<std::int32_t>(getU32(p));
    case ColumnType::currency:
        return static_cast<double>(static_cast<std::int64_t>(getU64(p))) / currencyUnits;
    case ColumnType::singleFloat:
        return std::bit_cast<float>(getU32(p));
    case ColumnType::integer:
        return static_cast<std::int16_t>(getU16(p));
    case ColumnType::byte:
        return *p;
    case ColumnType::boolean:
        return -1.0;
    case ColumnType::numeric:
        return doubleOf(readNumeric(bytes, field.scale));
    default:
        return std::nullopt;
    }
}

std::size_t textRoom(const Column& column)
{
    return std::min<std::size_t>(column.length / text_layout::unitBytes, limits::text);
}

Value convertValue(const Value& value, const Column& column, std::u16string_view table)
{
    if (isNull(value)) return column.type == ColumnType::boolean ? Value(false) : value;
    return Converter(value, column, table).convert();
}

Bytes encodeValue(const Value& value, const Column& column, std::u16string_view table)
{
    return std::visit(Encoder(column, table), value);
}

void throwBadValue(std::u16string_view table, const Column& column, std::string_view why)
{
    throw Error(Fault::badValue, quotedName(table) + " tablosunun " + quotedName(column.name) +
                                     " alanına bu değer yazılamaz: " + std::string(why) + ".");
}

} // namespace jet
