#include "store/jet/sql/order.h"

#include "store/jet/format/doors.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/order_key.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <tuple>
#include <utility>

namespace jet::sql {
namespace {

constexpr std::uint64_t topBit = std::uint64_t{1} << 63;

bool isText(ColumnType type) { return type == ColumnType::text || type == ColumnType::memo; }

bool hasOrder(ColumnType type)
{
    return type != ColumnType::binary && type != ColumnType::ole && type != ColumnType::guid &&
           type != ColumnType::blob;
}

std::uint64_t keyOf(std::int64_t number) { return static_cast<std::uint64_t>(number) ^ topBit; }

std::uint64_t keyOf(double number)
{
    const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);
    return (bits & topBit) != 0 ? ~bits : bits | topBit;
}

} // namespace

Order::Order(const Table& table, const std::vector<OrderItem>& items)
{
    for (const OrderItem& item : items) {
        const std::optional<std::size_t> column = table.columnNamed(item.field);
        if (!column)
            throw Error(Fault::noSuchTable, "“" + toUtf8(table.name()) + "” tablosunda “" + toUtf8(item.field) +
                                                "” adlı alan yok; sıralama yapılamadı.");
        const ColumnType type = table.columns()[*column].type;
        if (!hasOrder(type))
            throw Error(Fault::badValue, "“" + toUtf8(item.field) + "” alanına göre sıralama yapılamaz.");
        items_.push_back({*column, type, item.descending});
    }
    oneNumber_ = items_.size() == 1 && !isText(items_.front().type);
}

void Order::expect(std::size_t rows)
{
    if (!oneNumber_) return;
    numbers_.reserve(rows);
    rows_.reserve(rows);
}

void Order::add(RowId id, const RowView& row)
{
    if (oneNumber_) {
        const std::uint64_t key = shortKey(items_.front(), row);
        if (!rows_.empty() && std::tie(key, id) < std::tie(numbers_.back(), rows_.back())) inOrder_ = false;
        numbers_.push_back(key);
        rows_.push_back(id);
        return;
    }
    const std::size_t at = keys_.size();
    for (const Item& item : items_) appendKey(item, row);
    long_.push_back({at, keys_.size() - at, id});
}

/// Never 0 for a value: that is Null's place, before all of them.
std::uint64_t Order::shortKey(const Item& item, const RowView& row)
{
    std::uint64_t key = 0;
    if (const std::optional<double> number = row.number(item.column))
        key = item.type == ColumnType::dateTime ? keyOf(milliseconds(DateTime{*number})) : keyOf(*number);
    return item.descending ? ~key : key;
}

/// Byte for byte comparable: a flag, so that Null stands before every value, and the value's own key.
void Order::appendKey(const Item& item, const RowView& row)
{
    const std::size_t at = keys_.size();
    if (isText(item.type)) {
        if (row.text(item.column, buffer_)) {
            keys_.push_back(1);
            appendOrderKey(keys_, buffer_);
        } else {
            keys_.push_back(0);
        }
    } else {
        keys_.push_back(row.isNull(item.column) ? 0 : 1);
        const std::uint64_t number = shortKey({item.column, item.type, false}, row);
        for (int shift = 56; shift >= 0; shift -= 8) keys_.push_back(static_cast<std::uint8_t>(number >> shift));
    }
    if (item.descending)
        for (std::size_t i = at; i < keys_.size(); ++i) keys_[i] = static_cast<std::uint8_t>(~keys_[i]);
}

void Order::sortByNumbers()
{
    struct Short {
        std::uint64_t key = 0;
        RowId row;
    };
    std::vector<Short> pairs(rows_.size());
    for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {numbers_[i], rows_[i]};
    std::ranges::sort(pairs, {}, [](const Short& one) { return std::tuple(one.key, one.row); });
    std::ranges::transform(pairs, rows_.begin(), &Short::row);
}

void Order::sortByKeys()
{
    std::ranges::sort(long_, [this](const Long& left, const Long& right) {
        const std::size_t common = std::min(left.keyLength, right.keyLength);
        const int order = common == 0 ? 0 : std::memcmp(keys_.data() + left.keyAt, keys_.data() + right.keyAt, common);
        if (order != 0) return order < 0;
        return std::tuple(left.keyLength, left.row) < std::tuple(right.keyLength, right.row);
    });
    rows_.reserve(long_.size());
    for (const Long& one : long_) rows_.push_back(one.row);
}

std::vector<RowId> Order::take()
{
    if (!oneNumber_)
        sortByKeys();
    else if (!inOrder_)
        sortByNumbers();
    numbers_ = {};
    inOrder_ = true;
    long_ = {};
    keys_ = {};
    return std::exchange(rows_, {});
}

} // namespace jet::sql
