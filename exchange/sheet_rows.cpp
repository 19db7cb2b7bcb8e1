#include "exchange/sheet_rows.h"

#include "exchange/field_text.h"
#include "files/language.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/decimal.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace exchange {

namespace {

using jet::ColumnType;

/// Characters that the values of a column take as a rule.
double usualWidth(const jet::Column& column)
{
    constexpr double widestText = 40;
    switch (column.type) {
    case ColumnType::boolean:
    case ColumnType::byte:
        return 8;
    case ColumnType::integer:
    case ColumnType::longInteger:
        return 11;
    case ColumnType::dateTime:
        return 19;
    case ColumnType::guid:
        return 40;
    case ColumnType::text:
        return std::clamp(column.length / 2.0, 8.0, widestText);
    case ColumnType::memo:
    case ColumnType::ole:
    case ColumnType::binary:
    case ColumnType::blob:
        return widestText;
    default:
        return 14;
    }
}

/// The whole number, where a sheet would show another one: it has 15 digits.
std::optional<std::int64_t> wholeOfManyDigits(double number)
{
    constexpr double least = 1e15, most = 9e18;
    if (!(std::abs(number) >= least && std::abs(number) < most) || number != std::trunc(number)) return std::nullopt;
    const auto whole = static_cast<std::int64_t>(number);
    std::int64_t shown = whole;
    for (constexpr std::int64_t limit = 1'000'000'000'000'000; shown >= limit || shown <= -limit; shown /= 10)
        if (shown % 10 != 0) return whole;
    return std::nullopt;
}

class SheetRows : public RowWriter {
public:
    SheetRows(sheets::Workbook& workbook, FieldReceiver tooLong)
        : workbook_(workbook), tooLong_(std::move(tooLong)), out_(text_), fields_(out_)
    {
    }

    void begin(std::u16string_view title, const std::vector<jet::Column>& columns) override
    {
        columns_ = columns;
        std::vector<sheets::Heading> headings;
        for (const jet::Column& column : columns) {
            // Headings are bold, and a little wider for it.
            const double own = static_cast<double>(column.name.size()) * 1.2 + 2;
            headings.push_back({jet::toUtf8(column.name), std::max(own, usualWidth(column))});
        }
        workbook_.beginSheet(jet::toUtf8(title), headings);
    }
    void values(std::span<const jet::Value> row) override
    {
        ++row_;
        for (std::size_t i = 0; i < row.size(); ++i) putValue(i, row[i]);
        workbook_.nextRow();
    }
    void end() override {}

private:
    void putValue(std::size_t column, const jet::Value& value)
    {
        struct Cell {
            SheetRows& rows;
            std::size_t column;
            sheets::Workbook& book() const { return rows.workbook_; }
            void operator()(jet::Null) const {}
            void operator()(bool b) const { book().boolean(column, b); }
            void operator()(std::uint8_t n) const { book().number(column, n); }
            void operator()(std::int16_t n) const { book().number(column, n); }
            void operator()(std::int32_t n) const { book().number(column, n); }
            void operator()(jet::Currency money) const
            {
                constexpr std::int64_t exact = 1'000'000'000'000'000; // 15 digits
                if (money.tenThousandths < exact && money.tenThousandths > -exact)
                    book().money(column, static_cast<double>(money.tenThousandths) / 10000);
                else
                    rows.putText(column, money);
            }
            void operator()(float n) const
            {
                // As people read it: 0.1 and not 0.100000001490116.
                std::isfinite(n) ? book().number(column, std::stod(rows.textOf(n))) : rows.putText(column, n);
            }
            void operator()(double n) const
            {
                if (const auto whole = wholeOfManyDigits(n))
                    rows.put(column, std::to_string(*whole));
                else
                    std::isfinite(n) ? book().number(column, n) : rows.putText(column, n);
            }
            void operator()(jet::DateTime moment) const
            {
                if (moment.days >= sheets::firstDay && moment.days < sheets::dayAfterLast)
                    book().moment(column, moment.days);
                else
                    rows.putText(column, moment);
            }
            void operator()(const std::u16string& text) const { rows.put(column, jet::toUtf8(text)); }
            void operator()(const jet::Bytes& bytes) const
            {
                if (!bytes.empty()) rows.putText(column, bytes);
            }
            void operator()(const jet::Guid& guid) const { rows.putText(column, guid); }
            void operator()(const jet::Numeric& number) const
            {
                constexpr unsigned exact = 15;
                if (jet::decimal::digits(number) <= exact)
                    book().number(column, std::stod(rows.textOf(number)));
                else
                    rows.putText(column, number);
            }
        };
        std::visit(Cell{*this, column}, value);
    }

    /// The value as every other format has it.
    const std::string& textOf(const jet::Value& value)
    {
        text_.clear();
        fields_.put(value);
        out_.flush();
        return text_;
    }
    void putText(std::size_t column, const jet::Value& value) { put(column, textOf(value)); }
    void put(std::size_t column, const std::string& text)
    {
        if (workbook_.text(column, text)) return;
        tooLong_(jet::Error(jet::Fault::unsupported,
                            std::to_string(row_) + files::said(". satırın ", ". row, field ") +
                                jet::quotedName(columns_[column].name) +
                                files::said(" alanı bir hücreye sığmaz (en çok ", ": too long for a cell (at most ") +
                                std::to_string(sheets::longestText) + files::said(" harf).", " letters).")));
    }

    sheets::Workbook& workbook_;
    FieldReceiver tooLong_;
    std::string text_; ///< of the value written last
    Output out_;
    FieldWriter fields_;
    std::uint64_t row_ = 0;
};

} // namespace

std::unique_ptr<RowWriter> sheetRows(sheets::Workbook& workbook, FieldReceiver tooLong)
{
    return std::make_unique<SheetRows>(workbook, std::move(tooLong));
}

} // namespace exchange
