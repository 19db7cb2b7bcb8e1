#include "mill/queries.h"
#include "platform/system_disk.h"
#include "reports/grid_model.h"
#include "reports/period_report.h"
#include "store/jet_engine.h"
#include "tests/jet/samples.h"
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <array>
#include <map>

using namespace reports;
using namespace Qt::StringLiterals;

namespace {

/// A pressing as the text file beside the database has it. Numbers in hundredths, exactly.
struct Pressing {
    QDateTime moment;
    std::array<qint64, 4> amounts{}; ///< Zeytin, Yağ, HakTut, Nakit
    QString name;
};

qint64 hundredths(const QString& text)
{
    const QStringList parts = text.split(u'.');
    const qint64 whole = qAbs(parts[0].toLongLong()) * 100 + parts.value(1).leftJustified(2, u'0').toLongLong();
    return text.startsWith(u'-') ? -whole : whole;
}

/// "1.234,50": written here from whole numbers, not by the formatter that the grid uses.
QString amount(qint64 hundredths)
{
    QString digits = QString::number(qAbs(hundredths)).rightJustified(3, u'0');
    QString whole = digits.chopped(2);
    for (qsizetype at = whole.size() - 3; at > 0; at -= 3) whole.insert(at, u'.');
    return (hundredths < 0 ? u"-"_s : QString()) + whole + u',' + digits.last(2);
}

QString line(const QDateTime& moment, const std::array<qint64, 4>& amounts, const QString& name)
{
    QString text = moment.toString(u"dd.MM.yyyy"_s);
    if (moment.time() != QTime(0, 0)) text += moment.toString(u" hh:mm:ss"_s);
    for (const qint64 each : amounts) text += u'|' + amount(each);
    return text + u'|' + name;
}

std::vector<Pressing> pressingsOf(const QString& file)
{
    QFile text(file);
    if (!text.open(QIODevice::ReadOnly)) return {};
    std::vector<Pressing> all;
    const QStringList lines = QString::fromUtf8(text.readAll()).split(u'\n', Qt::SkipEmptyParts);
    for (const QString& each : lines.mid(1)) {
        const QStringList fields = each.split(u'\t');
        all.push_back({QDateTime::fromString(fields[0], Qt::ISODate),
                       {hundredths(fields[1]), hundredths(fields[2]), hundredths(fields[4]), hundredths(fields[5])},
                       fields[6]});
    }
    return all;
}

} // namespace

/// Reports over databases made by Access, against the text files beside them: every row of every month, and the sums
/// to the last digit that the grid shows.
class SampleReports : public QObject {
    Q_OBJECT

private slots:
    void everyMonthAddsUp_data()
    {
        if (!samples::present()) QSKIP(samples::absent);
        QTest::addColumn<QString>("sample");
        for (const QString& sample : {u"yag-a"_s, u"yag-b"_s, u"yag-tr"_s}) QTest::newRow(qPrintable(sample)) << sample;
    }

    void everyMonthAddsUp()
    {
        QFETCH(QString, sample);
        QTemporaryDir directory;
        const QString database = directory.filePath(u"Yag.mdb"_s);
        const std::filesystem::path original = samples::database("data/" + sample.toStdString());
        QVERIFY(QFile::copy(QString::fromStdString(original.string() + ".mdb"), database));
        QVERIFY(QFile::setPermissions(database, QFile::ReadOwner | QFile::WriteOwner));
        const std::vector<Pressing> pressings = pressingsOf(QString::fromStdString(original.string() + ".hareket.tsv"));
        QVERIFY(pressings.size() > 2000);

        store::JetDatabases databases(platform::systemDisk());
        store::DataSource listing(databases);
        listing.setDatabaseName(database);
        GridModel grid(listing, base::Regional::turkish());
        const QDateTime now(QDate(2026, 1, 9), QTime(12, 0, 5));
        const auto shown = [&] {
            grid.rebind();
            GridColumns columns = grid.columns();
            IzgaraDuzenle(columns, u"1"_s);
            grid.setColumns(columns);
            QStringList lines;
            for (int row = 0; row < grid.rowCount(); ++row) {
                QStringList cells;
                for (const int column : {0, 1, 2, 4, 5, 6}) cells += grid.index(row, column).data().toString();
                lines += cells.join(u'|');
            }
            return lines;
        };

        int reportsWithRows = 0;
        for (QDate month(2023, 1, 1); month.year() < 2026; month = month.addMonths(1)) {
            const Period period{month, month.addMonths(1).addDays(-1)};
            const auto within = [&](const Pressing& pressing) {
                return pressing.moment.date() >= period.first && pressing.moment.date() <= period.last;
            };
            // Everybody; a customer of the month; somebody who does not exist.
            QStringList names{QString(), u"Yok Böyle Biri"_s};
            std::map<QString, int> visits;
            for (const Pressing& pressing : pressings)
                if (within(pressing)) ++visits[pressing.name];
            const auto most = std::max_element(visits.begin(), visits.end(),
                                               [](const auto& a, const auto& b) { return a.second < b.second; });
            if (most != visits.end()) names += most->first;

            for (const QString& name : names) {
                RaporYenile({period, true, true, name, name}, {listing, databases, now, {}});
                QStringList expected;
                std::array<qint64, 4> sums{};
                for (const Pressing& pressing : pressings) {
                    if (!within(pressing) || (!name.isEmpty() && pressing.name != name)) continue;
                    expected += line(pressing.moment, pressing.amounts, pressing.name);
                    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += pressing.amounts[i];
                }
                if (!expected.isEmpty()) {
                    expected += line(now, sums, mill::totalsName);
                    ++reportsWithRows;
                }
                QCOMPARE(shown(), expected);
            }
        }
        QVERIFY(reportsWithRows >= 20);

        // After all these reports the journal holds what it held, and one row more at most.
        listing.setRecordSource(mill::wholeJournal);
        listing.refresh();
        QStringList expected;
        for (const Pressing& pressing : pressings) expected += line(pressing.moment, pressing.amounts, pressing.name);
        QStringList all = shown();
        all.removeIf([](const QString& each) { return each.endsWith(mill::totalsName); });
        QCOMPARE(all, expected);
        QVERIFY(grid.rowCount() - all.size() <= 1);
    }
};

QTEST_GUILESS_MAIN(SampleReports)
#include "sample_reports.moc"
