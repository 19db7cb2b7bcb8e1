#include "store/jet/sql/sum.h"

#include "store/jet/format/doors.h"

namespace jet::sql {
namespace {

__extension__ typedef __int128 Wide;
__extension__ typedef unsigned __int128 WideMagnitude;

} // namespace

Sum::Sum(const Table& table, std::size_t column) : table_(&table), column_(column)
{
    const Column& field = table.columns()[column];
    switch (field.type) {
    case ColumnType::boolean:
    case ColumnType::byte:
    case ColumnType::integer:
    case ColumnType::longInteger:
        kind_ = Kind::whole;
        return;
    case ColumnType::currency:
        kind_ = Kind::currency;
        return;
    case ColumnType::singleFloat:
    case ColumnType::doubleFloat:
        kind_ = Kind::floating;
        return;
    case ColumnType::numeric:
        kind_ = Kind::numeric;
        scale_ = field.scale;
        return;
    default:
        throw Error(Fault::badValue, "“" + toUtf8(field.name) + "” alanı sayı tutmaz, toplamı alınamaz.");
    }
}

void Sum::add(const RowView& row)
{
    if (kind_ == Kind::currency || kind_ == Kind::numeric) return addExact(row);
    const std::optional<double> value = row.number(column_);
    if (!value) return;
    any_ = true;
    if (kind_ == Kind::floating)
        floating_ += *value;
    else
        whole_ += static_cast<std::int64_t>(*value); // a double holds every value of the whole types exactly
}

void Sum::addExact(const RowView& row)
{
    if (row.isNull(column_)) return;
    any_ = true;
    if (kind_ == Kind::numeric) return addNumeric(std::get<Numeric>(row.value(column_)));
    const std::int64_t amount = std::get<Currency>(row.value(column_)).tenThousandths;
    if (__builtin_add_overflow(whole_, amount, &whole_)) failTooLarge();
}

void Sum::addNumeric(const Numeric& value)
{
    WideMagnitude magnitude = 0;
    for (const std::uint32_t word : value.magnitude) magnitude = magnitude << 32 | word;
    auto term = static_cast<Wide>(magnitude);
    if (term < 0 || __builtin_add_overflow(numeric_, value.negative ? -term : term, &numeric_)) failTooLarge();
}

void Sum::failTooLarge() const
{
    throw Error(Fault::badValue,
                "“" + toUtf8(table_->columns()[column_].name) + "” alanının toplamı sayı sınırını aşıyor.");
}

Value Sum::result() const
{
    if (!any_) return Null{};
    switch (kind_) {
    case Kind::whole:
        return static_cast<double>(whole_);
    case Kind::currency:
        return Currency{whole_};
    case Kind::floating:
        return floating_;
    case Kind::numeric:
        break;
    }
    Numeric sum;
    sum.negative = numeric_ < 0;
    sum.scale = scale_;
    auto magnitude = static_cast<WideMagnitude>(sum.negative ? -numeric_ : numeric_);
    for (std::size_t word = sum.magnitude.size(); word-- > 0; magnitude >>= 32)
        sum.magnitude[word] = static_cast<std::uint32_t>(magnitude);
    return sum;
}

} // namespace jet::sql
