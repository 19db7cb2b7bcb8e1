#include "print/statement.h"

#include "base/error.h"
#include "base/numbers.h"
#include "base/patterns.h"
#include "mill/names.h"
#include "mill/queries.h"
#include "print/head.h"
#include "print/placement.h"
#include <QMetaType>
#include <algorithm>
#include <numeric>
#include <optional>

using namespace Qt::StringLiterals;

namespace print {

namespace {

constexpr double ruleOffset = 30;
constexpr double cellPadding = 30;
constexpr int rightAligned = 1;

/// The columns of the table as they stand on the paper: the visible ones that fit, in twips of the paper.
struct PrintedColumns {
    std::vector<StatementColumn> columns;
    double factor = 1; ///< of letters and columns, at most 1
    double width = 0;
    QStringList leftOut; ///< captions
};

PrintedColumns fitted(Printer& printer, const std::vector<StatementColumn>& all)
{
    const double room = printer.pageWidth();
    double wanted = 0;
    for (const StatementColumn& column : all)
        if (column.visible) wanted += column.width;

    PrintedColumns result;
    if (wanted > room)
        result.factor = std::max(room / wanted, std::min(1.0, double(smallestLetters) / double(printer.fontSize())));
    for (StatementColumn column : all) {
        if (!column.visible) continue;
        column.left *= result.factor;
        column.width *= result.factor;
        // Half a twip: the factor was made from the same widths, and a sum of them may come out a hair above the room.
        if (result.leftOut.isEmpty() && result.width + column.width <= room + 0.5) {
            result.width += column.width;
            result.columns.push_back(std::move(column));
        } else {
            result.leftOut += column.caption.trimmed();
        }
    }
    return result;
}

/// The table on the page that is being printed.
class Table {
public:
    Table(Printer& printer, const PrintedColumns& printed)
        : printer_(printer), columns_(printed.columns), width_(printed.width)
    {
        left_ = (printer_.pageWidth() - width_) / 2;
    }

    double left() const { return left_; }

    void open()
    {
        if (!hasRoom()) printer_.newPage();
        rule();
        top_ = printer_.currentY();
        printer_.setCurrentX(leftMargin);
    }

    /// Before a record: what does not fit with the rule below it goes to the next page as a whole.
    void makeRoom()
    {
        if (hasRoom()) return;
        close();
        printer_.newPage();
        open();
    }

    void endRow()
    {
        printer_.printLine();
        rule();
    }

    /// The column lines of this page. They begin and end at the current Y of the first and the last rule, so they stand
    /// 30 above both.
    void close()
    {
        double x = left_;
        for (const StatementColumn& column : columns_) {
            printer_.line(x, top_, x, printer_.currentY());
            x += column.width;
        }
        printer_.line(x, top_, x, printer_.currentY());
    }

private:
    /// On an empty page there is no more room to be had.
    bool hasRoom()
    {
        const double y = printer_.currentY();
        return y <= 0 || y + printer_.textHeight() + ruleOffset <= printer_.pageHeight();
    }

    void rule()
    {
        const double y = printer_.currentY() + ruleOffset;
        printer_.line(left_, y, left_ + width_, y);
    }

    Printer& printer_;
    const std::vector<StatementColumn>& columns_;
    double width_;
    double left_ = 0;
    double top_ = 0;
};

bool isNumber(const QVariant& value)
{
    static constexpr int kinds[] = {QMetaType::Int, QMetaType::LongLong, QMetaType::Float, QMetaType::Double};
    return std::ranges::find(kinds, value.typeId()) != std::end(kinds);
}

QString plainText(const QVariant& value, const base::Regional& regional)
{
    if (value.isNull()) return {};
    // A single keeps its seven digits: widened to a double it would show the digits that it does not have.
    if (value.typeId() == QMetaType::Float) return base::numberToText(value.toFloat(), regional);
    if (isNumber(value)) return base::numberToText(value.toDouble(), regional);
    if (value.typeId() == QMetaType::QDateTime) return base::dateToText(value.toDateTime(), regional);
    return value.toString();
}

QString formattedText(const QVariant& value, const QString& pattern, const base::Regional& regional)
{
    if (pattern.isEmpty()) return plainText(value, regional);
    if (value.isNull()) return {};
    if (isNumber(value)) return base::formatNumber(value.toDouble(), pattern, regional);
    if (value.typeId() != QMetaType::QString) throw base::runtimeError(base::errors::typeMismatch);
    const QString text = value.toString();
    return text.isEmpty() ? text : base::formatQuantity(text, pattern, regional);
}

void printCell(Printer& printer, const StatementColumn& column, double tableLeft, double factor, const QVariant& value,
               const base::Regional& regional)
{
    const double left = tableLeft + column.left;
    const double padding = cellPadding * factor;
    if (column.alignment == rightAligned) {
        const QString text = formattedText(value, column.numberFormat, regional);
        // A number is never cut, and never runs into the column before it.
        const NarrowLetters narrow(printer, text, column.width - 2 * padding);
        printer.setCurrentX(left + column.width - printer.textWidth(text) - padding);
        printer.printStay(text);
        return;
    }
    const QString text = cutToFit(printer, plainText(value, regional), column.width);
    printer.setCurrentX(left + padding);
    printer.printStay(text);
}

/// The place in `columns` that names a row of sums: none while the customers' names are printed, they do it themselves.
std::optional<std::size_t> namesSums(const std::vector<StatementColumn>& columns)
{
    constexpr std::u16string_view nameField = mill::Hareket::fields[mill::Hareket::CariHar];
    const auto showsNames = [&](const StatementColumn& column) {
        return QStringView(column.field) == QStringView(nameField);
    };
    if (std::ranges::any_of(columns, showsNames)) return std::nullopt;
    const auto text =
        std::ranges::find_if(columns, [](const auto& column) { return column.alignment != rightAligned; });
    if (text == columns.end()) return std::nullopt;
    return static_cast<std::size_t>(text - columns.begin());
}

void printCaptions(Printer& printer, const std::vector<StatementColumn>& columns, double tableLeft)
{
    for (const StatementColumn& column : columns) {
        const QString caption = column.caption.trimmed();
        const NarrowLetters narrow(printer, caption, column.width);
        printer.setCurrentX(tableLeft + column.left + (column.width - printer.textWidth(caption)) / 2);
        printer.printStay(caption);
    }
}

} // namespace

QString cutToFit(Printer& printer, const QString& text, double width)
{
    if (printer.textWidth(text) <= width) return text;
    // The longest beginning that fits, found by halving: letter by letter a long text costs a measure for each letter.
    qsizetype fits = 0;
    qsizetype tooLong = text.size();
    while (fits + 1 < tooLong) {
        const qsizetype middle = std::midpoint(fits, tooLong);
        (printer.textWidth(text.first(middle)) <= width ? fits : tooLong) = middle;
    }
    // Half of a character outside the basic plane is no character.
    if (fits > 0 && text[fits - 1].isHighSurrogate()) --fits;
    return text.first(fits);
}

QStringList composeStatement(Printer& printer, const Statement& statement, const base::Regional& regional)
{
    printer.setTitle(u"Cari Hesap Dökümü"_s);
    printHead(printer, statement.font, statement.headerItems, regional);
    if (base::toBool(statement.listingKind, regional)) {
        printCentred(printer, u"Cari Hesap Dökümü"_s);
        printCentred(printer, statement.customer);
    }
    applyBold(printer, statement.font);
    gap(printer, dateGap);
    printCentred(printer, base::formatDate(statement.firstDay.startOfDay(), u"dd mmmm yyyy dddd", regional));

    const PrintedColumns printed = fitted(printer, statement.columns);
    if (printed.columns.empty() && !printed.leftOut.isEmpty()) return printed.leftOut;
    printer.setFontSize(static_cast<float>(printer.fontSize() * printed.factor));
    Table table(printer, printed);
    table.open();
    printCaptions(printer, printed.columns, table.left());
    table.endRow();
    const std::optional<std::size_t> naming = namesSums(printed.columns);
    while (statement.nextRecord()) {
        table.makeRoom();
        const bool sums = naming && statement.onSums && statement.onSums();
        for (std::size_t i = 0; i < printed.columns.size(); ++i) {
            const StatementColumn& column = printed.columns[i];
            const QVariant value = sums && i == *naming ? QVariant(mill::totalsName) : statement.value(column.field);
            printCell(printer, column, table.left(), printed.factor, value, regional);
        }
        table.endRow();
    }
    table.close();
    return printed.leftOut;
}

} // namespace print
