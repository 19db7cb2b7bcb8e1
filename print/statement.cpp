#include "print/statement.h"

#include "base/error.h"
#include "base/numbers.h"
#include "base/patterns.h"
#include "print/head.h"
#include "print/placement.h"
#include <QMetaType>
#include <numeric>

using namespace Qt::StringLiterals;

namespace print {

namespace {

constexpr double ruleOffset = 30;
constexpr double cellPadding = 30;
constexpr int rightAligned = 1;

/// The table on the page that is being printed.
class Table {
public:
    Table(Printer& printer, const std::vector<StatementColumn>& columns) : printer_(printer), columns_(columns)
    {
        for (const StatementColumn& column : columns_)
            if (column.visible) width_ += column.width;
        left_ = (printer_.scaleWidth() - width_) / 2;
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
            if (!column.visible) continue;
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
    double left_ = 0;
    double width_ = 0;
    double top_ = 0;
};

bool isNumber(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

/// A single keeps its seven digits: widened to a double it would show the digits that it does not have.
QString plainText(const QVariant& value, const base::Regional& regional)
{
    if (value.isNull()) return {};
    switch (value.typeId()) {
    case QMetaType::Float:
        return base::numberToText(value.toFloat(), regional);
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double:
        return base::numberToText(value.toDouble(), regional);
    case QMetaType::QDate:
    case QMetaType::QDateTime:
        return base::dateToText(value.toDateTime(), regional);
    default:
        return value.toString();
    }
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

void printCell(Printer& printer, const StatementColumn& column, double tableLeft, const QVariant& value,
               const base::Regional& regional)
{
    const double left = tableLeft + column.left;
    if (column.alignment == rightAligned) {
        const QString text = formattedText(value, column.numberFormat, regional);
        printer.setCurrentX(left + column.width - printer.textWidth(text) - cellPadding);
        printer.printStay(text);
        return;
    }
    const QString text = cutToFit(printer, plainText(value, regional), column.width);
    printer.setCurrentX(left + cellPadding);
    printer.printStay(text);
}

void printCaptions(Printer& printer, const std::vector<StatementColumn>& columns, double tableLeft)
{
    for (const StatementColumn& column : columns) {
        if (!column.visible) continue;
        const QString caption = column.caption.trimmed();
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

void composeStatement(Printer& printer, const Statement& statement, const base::Regional& regional)
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

    Table table(printer, statement.columns);
    table.open();
    printCaptions(printer, statement.columns, table.left());
    table.endRow();
    while (statement.nextRecord()) {
        table.makeRoom();
        for (const StatementColumn& column : statement.columns)
            if (column.visible) printCell(printer, column, table.left(), statement.value(column.field), regional);
        table.endRow();
    }
    table.close();
}

} // namespace print
