#include "store/jet/index/index_key.h"

#include "store/jet/format/key_layout.h"
#include "store/jet/index/known_texts.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdio>

namespace jet {
namespace {

namespace at = key_layout;

[[noreturn]] void cannotIndex(const Column& column, const std::string& why)
{
    throw Error(Fault::indexNotWritable, quotedName(column.name) + " alanının dizini yazılamıyor: " + why + ".");
}

[[noreturn]] void wrongType(const Column& column)
{
    throw Error(Fault::badValue, "Değer " + quotedName(column.name) + " alanının türünde değil.");
}

template <class T> const T& as(const Value& value, const Column& column)
{
    const T* held = std::get_if<T>(&value);
    if (held == nullptr) wrongType(column);
    return *held;
}

template <class Unsigned> void appendBigEndian(Key& key, Unsigned bits)
{
    for (unsigned shift = sizeof(Unsigned) * 8; shift != 0;) {
        shift -= 8;
        key.push_back(static_cast<std::uint8_t>(bits >> shift));
    }
}

void invertFrom(Key& key, std::size_t begin)
{
    for (std::size_t i = begin; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(~key[i]);
}

/// Whole numbers: the sign bit turned puts negative ones first.
template <class Unsigned> Unsigned orderedWhole(Unsigned bits)
{
    return static_cast<Unsigned>(bits ^ Unsigned{1} << (sizeof(Unsigned) * 8 - 1));
}

/// Floating numbers: a negative one grows as its magnitude shrinks.
template <class Unsigned> Unsigned orderedFloat(Unsigned bits)
{
    const Unsigned sign = Unsigned{1} << (sizeof(Unsigned) * 8 - 1);
    return (bits & sign) != 0 ? static_cast<Unsigned>(~bits) : static_cast<Unsigned>(bits ^ sign);
}

void appendGroups(Key& key, std::span<const std::uint8_t> bytes, bool ascending)
{
    while (!bytes.empty()) {
        const std::size_t begin = key.size();
        const std::size_t count = std::min(bytes.size(), at::binaryGroup);
        key.insert(key.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        bytes = bytes.subspan(count);
        key.resize(begin + at::binaryGroup);
        if (bytes.empty()) key.push_back(static_cast<std::uint8_t>(count));
        if (!ascending) invertFrom(key, begin);
        if (!bytes.empty()) key.push_back(at::moreGroups);
    }
}

/// A GUID sorts by its text, which shows the first three parts with the highest byte first.
void appendGuid(Key& key, const Guid& guid, bool ascending)
{
    auto bytes = guid.bytes;
    for (std::size_t part = 1; part < at::guidParts.size(); ++part)
        std::reverse(bytes.begin() + at::guidParts[part - 1], bytes.begin() + at::guidParts[part]);
    appendGroups(key, bytes, ascending);
}

/// The sign byte is the same in both directions. That orders mixed signs wrongly in a descending index, and is what
/// the format does.
void appendNumeric(Key& key, const Numeric& number, bool ascending)
{
    key.push_back(number.negative ? at::negativeNumeric : at::positiveNumeric);
    const std::size_t begin = key.size();
    for (const std::uint32_t word : number.magnitude) appendBigEndian(key, word);
    if (number.negative == ascending) invertFrom(key, begin);
}

std::string unsureCharacter(std::u16string_view text, Collation collation)
{
    char sentence[80];
    const unsigned unit = firstUncertain(text, collation).value_or(u'\0');
    std::snprintf(sentence, sizeof sentence, "U+%04X karakterinin sıralamadaki yeri kesin bilinmiyor", unit);
    return sentence;
}

/// In descending text the bytes are inverted; a plain 00 behind them marks the end.
void appendText(Key& key, const Column& column, std::u16string_view text, bool ascending, KeyUse use)
{
    const std::size_t begin = key.size();
    const auto certainty = appendTextKey(key, text, column.collation);
    if (!certainty) cannotIndex(column, "alanın sıralama düzeni desteklenmiyor");
    if (use == KeyUse::write && *certainty == Certainty::uncertain)
        cannotIndex(column, unsureCharacter(text, column.collation));
    if (!ascending) {
        invertFrom(key, begin);
        key.push_back(at::text::end);
    }
}

} // namespace

void appendKey(Key& key, const Column& column, const Value& value, bool ascending, KeyUse use)
{
    if (isNull(value) && column.type != ColumnType::boolean) {
        key.push_back(ascending ? at::nullAscending : at::nullDescending);
        return;
    }
    key.push_back(ascending ? at::valueAscending : at::valueDescending);
    const std::size_t begin = key.size();
    switch (column.type) {
    case ColumnType::boolean:
        key.push_back(!isNull(value) && as<bool>(value, column) ? at::trueByte : at::falseByte);
        break;
    case ColumnType::byte:
        key.push_back(as<std::uint8_t>(value, column));
        break;
    case ColumnType::integer:
        appendBigEndian(key, orderedWhole(static_cast<std::uint16_t>(as<std::int16_t>(value, column))));
        break;
    case ColumnType::longInteger:
        appendBigEndian(key, orderedWhole(static_cast<std::uint32_t>(as<std::int32_t>(value, column))));
        break;
    case ColumnType::currency:
        appendBigEndian(key, orderedWhole(static_cast<std::uint64_t>(as<Currency>(value, column).tenThousandths)));
        break;
    case ColumnType::singleFloat:
        appendBigEndian(key, orderedFloat(std::bit_cast<std::uint32_t>(as<float>(value, column))));
        break;
    case ColumnType::doubleFloat:
        appendBigEndian(key, orderedFloat(std::bit_cast<std::uint64_t>(as<double>(value, column))));
        break;
    case ColumnType::dateTime:
        appendBigEndian(key, orderedFloat(std::bit_cast<std::uint64_t>(as<DateTime>(value, column).days)));
        break;
    // The others have their own idea of descending.
    case ColumnType::binary:
        appendGroups(key, as<Bytes>(value, column), ascending);
        return;
    case ColumnType::guid:
        appendGuid(key, as<Guid>(value, column), ascending);
        return;
    case ColumnType::numeric: {
        const Numeric& number = as<Numeric>(value, column);
        if (number.scale != column.scale) wrongType(column);
        appendNumeric(key, number, ascending);
        return;
    }
    case ColumnType::text:
    case ColumnType::memo:
        appendText(key, column, as<std::u16string>(value, column), ascending, use);
        return;
    default:
        cannotIndex(column, "bu türdeki alanlara göre dizin tutulamaz");
    }
    if (!ascending) invertFrom(key, begin);
}

bool appendStoredKey(Key& key, const Column& column, const std::optional<std::span<const std::uint8_t>>& stored,
                     bool ascending)
{
    bool floating = false;
    switch (column.type) {
    case ColumnType::byte:
    case ColumnType::integer:
    case ColumnType::longInteger:
    case ColumnType::currency:
        break;
    case ColumnType::singleFloat:
    case ColumnType::doubleFloat:
    case ColumnType::dateTime:
        floating = true;
        break;
    default:
        return false;
    }
    if (!stored) {
        key.push_back(ascending ? key_layout::nullAscending : key_layout::nullDescending);
        return true;
    }
    std::uint64_t bits = 0;
    for (std::size_t i = stored->size(); i-- > 0;) bits = bits << 8 | (*stored)[i];
    const std::size_t length = stored->size() * 8;
    const std::uint64_t sign = std::uint64_t{1} << (length - 1);
    if (floating && (bits & sign) != 0)
        bits = ~bits;
    else if (column.type != ColumnType::byte)
        bits ^= sign;
    if (!ascending) bits = ~bits;
    key.push_back(ascending ? key_layout::valueAscending : key_layout::valueDescending);
    for (std::size_t shift = length; shift != 0;) {
        shift -= 8;
        key.push_back(static_cast<std::uint8_t>(bits >> shift));
    }
    return true;
}

bool hasUnknownOrder(const Column& column)
{
    return (column.type == ColumnType::text || column.type == ColumnType::memo) && !hasWeights(column.collation);
}

bool indexKey(Key& key, const Index& index, const std::vector<Column>& columns, std::span<const Value> values,
              KeyUse use, const KnownTexts* known)
{
    assert(values.size() == index.columns.size());
    key.clear();
    if (index.ignoreNulls && std::ranges::all_of(values, isNull)) return false;
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
        const Column& column = columns[index.columns[i].column];
        const std::u16string* const text = known != nullptr ? std::get_if<std::u16string>(&values[i]) : nullptr;
        if (text == nullptr || !hasUnknownOrder(column))
            appendKey(key, column, values[i], index.columns[i].ascending, use);
        else if (!known->append(key, *text))
            cannotIndex(column, "alanın sıralama düzeni tanınmıyor, bu metin de dizinde daha yok");
    }
    if (use == KeyUse::write && key.size() > at::longest)
        cannotIndex(columns[index.columns.front().column],
                    "dizin anahtarı " + std::to_string(at::longest) + " bayttan uzun olurdu");
    return true;
}

std::optional<Key> indexKey(const Index& index, const std::vector<Column>& columns, std::span<const Value> values,
                            KeyUse use, const KnownTexts* known)
{
    Key key;
    if (!indexKey(key, index, columns, values, use, known)) return std::nullopt;
    return key;
}

} // namespace jet
