#include "tools/scenario_report.h"

#include "base/letters.h"
#include "mill/queries.h"

#include <QLocale>
#include <QStringList>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace scenario {
namespace {

using mill::Hareket;

constexpr int fieldCount = Hareket::fields.size();
const QLocale turkish(QLocale::Turkish, QLocale::Turkey);

using Row = std::array<store::FieldValue, fieldCount>;

/// Weights and money with two digits, a percentage as plain as it is, nothing for an empty field.
QString cell(const store::FieldValue& value, int field)
{
    if (value.isNull()) return {};
    if (field == Hareket::Tarih) return value.moment().toString(u"dd.MM.yyyy HH:mm:ss"_s);
    if (field == Hareket::CariHar) return value.text();
    const double number = value.number().value();
    if (field != Hareket::Yuzde) return turkish.toString(number, 'f', 2);
    return QString::number(number, 'g', 15).replace(u'.', u',');
}

QString line(const Row& row)
{
    QStringList cells;
    for (int field = 0; field < fieldCount; ++field) cells += cell(row[static_cast<std::size_t>(field)], field);
    return cells.join(u'|');
}

QString line(const QAbstractItemModel& grid, int row)
{
    QStringList cells;
    for (int column = 0; column < grid.columnCount(); ++column) {
        QString text = grid.index(row, column).data().toString();
        // Midnight is shown without a time.
        if (column == Hareket::Tarih && text.size() == 10) text += u" 00:00:00"_s;
        cells += text;
    }
    return cells.join(u'|');
}

} // namespace

QString differenceFromReport(store::Engine& database, const QAbstractItemModel& grid, const QDate& first,
                             const QDate& last, const QString& customer)
{
    std::vector<Row> pressings;
    int totalsRows = 0;
    const store::Listing table = database.open(mill::journalTable);
    for (const store::RowKey key : table.rows) {
        Row row;
        for (int field = 0; field < fieldCount; ++field)
            row[static_cast<std::size_t>(field)] = database.field(table, key, field);
        const QString name = row[Hareket::CariHar].text();
        const QDate day = row[Hareket::Tarih].moment().date();
        if (name == mill::totalsName)
            ++totalsRows;
        else if (day >= first && day <= last &&
                 (customer.isEmpty() || base::lowerCase(name) == base::lowerCase(customer)))
            pressings.push_back(row);
    }
    std::stable_sort(pressings.begin(), pressings.end(), [](const Row& a, const Row& b) {
        return a[Hareket::Tarih].moment() < b[Hareket::Tarih].moment();
    });

    const int rows = pressings.empty() ? 0 : static_cast<int>(pressings.size()) + 1;
    if (totalsRows != (rows > 0 ? 1 : 0)) return u"the table has %1 totals rows"_s.arg(totalsRows);
    if (grid.rowCount() != rows) return u"expected %1 rows, found %2"_s.arg(rows).arg(grid.rowCount());
    if (rows == 0) return {};

    Row totals;
    for (const Hareket::Field field : {Hareket::Zeytin, Hareket::Yağ, Hareket::HakTut, Hareket::Nakit}) {
        // Ten-thousandths are added as whole numbers: nothing is rounded on the way.
        qint64 sum = 0;
        bool any = false;
        for (const Row& row : pressings)
            if (const auto number = row[field].number(); number && !row[Hareket::CariHar].isNull()) {
                sum += qRound64(*number * 10000);
                any = true;
            }
        if (any) totals[field] = static_cast<double>(sum) / 10000;
    }
    totals[Hareket::CariHar] = mill::totalsName;

    for (int row = 0; row < rows - 1; ++row) {
        const QString expected = line(pressings[static_cast<std::size_t>(row)]), found = line(grid, row);
        if (found != expected) return u"row %1: expected '%2', found '%3'"_s.arg(row).arg(expected, found);
    }
    // Whenever the report was made: its moment is none of the sums.
    const QString expected = line(totals).section(u'|', 1), found = line(grid, rows - 1).section(u'|', 1);
    if (found != expected) return u"totals: expected '%1', found '%2'"_s.arg(expected, found);
    return {};
}

} // namespace scenario
