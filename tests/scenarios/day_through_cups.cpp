#include "counter.h"

#include "tests/jet/mdbtools.h"
#include "tests/jet/samples.h"
#include "tests/print/cups_fixture.h"
#include "tests/print/pdf_text.h"
#include "tests/support/columns.h"
#include "tests/support/qt_files.h"

#include <QRegularExpression>
#include <QSet>
#include <QtTest>

namespace {

const QString today = u"2031-11-20"_s; // after every pressing that a database may hold already
const QStringList atNoon = {"--now", today + " 12:00:00"};

QStringList linesIn(const QString& scenario)
{
    return QString::fromUtf8(contentOf(SCENARIOS "/" + scenario)).split('\n', Qt::SkipEmptyParts);
}

ExportedTable exported(const Counter& counter, const QString& table)
{
    QList<QStringList> rows;
    for (const mdbtools::Fields& fields : mdbtools::table(counter.databasePath().toStdString(), table.toStdString())) {
        QStringList row;
        for (const std::string& field : fields) row << QString::fromStdString(field);
        rows << row;
    }
    return ExportedTable(rows);
}

/// What the day must leave in the journal: column names first, "*" where any figure will do.
QList<QStringList> expectedPressings()
{
    QList<QStringList> rows;
    for (const QString& line : linesIn("forty-customers-are-served.expected.tsv")) rows << line.split('\t');
    return rows;
}

/// The scenario of the day as it goes on a database that holds customers and pressings already: row counts move on, and
/// a customer who has been here before is not saved again but picked from the list, which lies over the figures until
/// then.
QString dayAfter(const QSet<QString>& known, qsizetype customers, qsizetype pressings)
{
    static const QRegularExpression count("^table (Cari|Hareket) ([0-9]+)$");
    static const QRegularExpression name("^expect TxtLbl\\([01]\\) caption \"(.*)\"$");
    QStringList lines;
    bool been = false;
    for (const QString& line : linesIn("forty-customers-are-served.txt")) {
        if (const auto match = count.match(line); match.hasMatch()) {
            const qsizetype before = match.captured(1) == "Cari" ? customers : pressings;
            lines << u"table %1 %2"_s.arg(match.captured(1)).arg(match.captured(2).toLongLong() + before);
            continue;
        }
        if (been && line == "click Kaydet") continue;
        lines << line;
        if (const auto match = name.match(line); match.hasMatch()) {
            been = known.contains(match.captured(1));
            if (been) lines << "pick " + match.captured(1);
        }
    }
    return lines.join('\n');
}

/// A customer with a tonne of olives, up to the press on "Fiş Yaz".
const QString pressing = u"click YeniCmd(0)\n"
                         "key Sil\n"
                         "keys ali\n"
                         "click Label2(0)\n"
                         "keys 1000\n"
                         "click YazCmd(0)\n"_s;

QString printedAndStored(int count)
{
    return u"printed %1\nexpect YazCmd(0) enabled true\ntable Hareket %1\n"_s.arg(count);
}

/// What may be wrong with the printer, and how it is put right.
struct Mishap {
    const char* name;
    std::function<bool(CupsFixture&)> bring, undo;
};
bool kill(CupsFixture& cups)
{
    cups.kill();
    return true;
}
const Mishap mishaps[] = {
    {"the queue is stopped", [](auto& cups) { return cups.stop("slip"); },
     [](auto& cups) { return cups.resume("slip"); }},
    {"the queue takes no jobs", [](auto& cups) { return cups.reject("slip"); },
     [](auto& cups) { return cups.accept("slip"); }},
    {"there is no default queue", [](auto& cups) { return cups.removeQueue("slip"); },
     [](auto& cups) { return cups.addDefault("slip"); }},
    {"the scheduler is dead", kill, [](auto& cups) { return cups.startAgain(); }},
};

} // namespace

/// The counter on a real print scheduler, whose printer is a socket of this test.
class DayThroughCups : public QObject {
    Q_OBJECT

    std::unique_ptr<CupsFixture> cups;

private slots:
    void initTestCase()
    {
        cups = std::make_unique<CupsFixture>();
        if (!cups->start()) QSKIP(qPrintable("no print scheduler to test with: " + cups->whyNot()));
    }
    void cleanupTestCase() { cups.reset(); }

    void init()
    {
        QVERIFY2(cups->addDefault("slip"), qPrintable(cups->whyNot()));
        cups->printer.forget();
    }

    void everyPressingOfADayIsPrintedAndStored_data()
    {
        addCases<QString>("start", {{"on a new database", QString()}, {"after two seasons", "data/yag-a.mdb"}});
    }
    void everyPressingOfADayIsPrintedAndStored()
    {
        QFETCH(QString, start);
        if (!start.isEmpty() && !samples::present()) QSKIP(samples::absent);
        const Counter counter(
            start.isEmpty() ? start : QString::fromStdString(samples::database(start.toStdString()).string()));
        QVERIFY(counter.ready());
        QList<QStringList> expected = expectedPressings();
        const QStringList columns = expected.takeFirst();
        const qsizetype name = columns.indexOf("CariHar");
        QVERIFY(name >= 0);
        QCOMPARE(expected.size(), 40);

        const ExportedTable customersBefore = exported(counter, "Cari");
        const qsizetype pressingsBefore = exported(counter, "Hareket").size();
        QSet<QString> known;
        for (qsizetype row = 0; row < customersBefore.size(); ++row) known << customersBefore.text(row, "Unvan");
        qsizetype knownToday = 0;
        for (const QStringList& row : expected) knownToday += known.contains(row[name]);

        QCOMPARE(counter.play(dayAfter(known, customersBefore.size() - knownToday, pressingsBefore), atNoon),
                 QString());
        QVERIFY(counter.sound());
        QVERIFY(counter.hasArrived());

        // The journal has grown by the day's pressings and by nothing else.
        const ExportedTable journal = exported(counter, "Hareket");
        QCOMPARE(journal.size(), pressingsBefore + expected.size());
        QList<qsizetype> ofToday;
        for (qsizetype row = 0; row < journal.size(); ++row)
            if (journal.text(row, "Tarih").startsWith(today)) ofToday << row;
        QCOMPARE(ofToday.size(), expected.size());
        QString last;
        for (const QStringList& pressing : expected) {
            const auto isIt = [&](qsizetype row) {
                for (qsizetype i = 0; i < columns.size(); ++i) {
                    const QString found = journal.text(row, columns[i]);
                    const bool same = i == name               ? found == pressing[i]
                                      : pressing[i] == u"*"_s ? true
                                                              : found.toDouble() == pressing[i].toDouble();
                    if (!same) return false;
                }
                return true;
            };
            const auto row = std::find_if(ofToday.begin(), ofToday.end(), isIt);
            QVERIFY2(row != ofToday.end(), qPrintable("no such pressing: " + pressing.join(' ')));
            QVERIFY2(journal.text(*row, "Tarih") >= last, qPrintable(pressing[name]));
            last = journal.text(*row, "Tarih");
            ofToday.erase(row);
        }

        // Every customer of the day is in the register once.
        const ExportedTable customers = exported(counter, "Cari");
        QCOMPARE(customers.size(), customersBefore.size() + expected.size() - knownToday);
        for (const QStringList& pressing : expected) {
            int found = 0;
            for (qsizetype row = 0; row < customers.size(); ++row)
                found += customers.text(row, "Unvan") == pressing[name];
            QVERIFY2(found == 1, qPrintable(pressing[name]));
        }

        // And every slip has come out, each one of its own customer, in the order of the day.
        QTRY_COMPARE_WITH_TIMEOUT(cups->printer.jobs().size(), std::size_t(expected.size()), 60000);
        const std::vector<QByteArray> slips = cups->printer.jobs();
        for (qsizetype i = 0; i < expected.size(); ++i) {
            const QByteArray& slip = slips[static_cast<std::size_t>(i)];
            QVERIFY(slip.startsWith("%PDF"));
            const QString text = askPdf(slip, "pdftotext", {"-layout", "FILE", "-"}).simplified();
            QVERIFY2(text.contains("Sayın; " + expected[i][name]), qPrintable(text));
        }
        QTRY_COMPARE(cups->openJobs().size(), 0);
    }

    void whatCannotBePrintedIsNotStored_data()
    {
        QTest::addColumn<const Mishap*>("mishap");
        for (const Mishap& mishap : mishaps) QTest::newRow(mishap.name) << &mishap;
    }
    void whatCannotBePrintedIsNotStored()
    {
        QFETCH(const Mishap*, mishap);
        const Counter counter;
        QVERIFY(counter.ready());
        const auto putRight = qScopeGuard([&] { undo(mishap); });
        bring(mishap);
        QCOMPARE(counter.play(pressing + printedAndStored(0) + "table Cari 0\n", atNoon), QString());
        QVERIFY(counter.sound());
        QVERIFY(counter.hasArrived());

        // Once the printer is put right, the same press prints and stores.
        undo(mishap);
        QCOMPARE(counter.play(pressing + printedAndStored(1) + "table Cari 1\n", atNoon), QString());
        QTRY_COMPARE_WITH_TIMEOUT(cups->printer.jobs().size(), std::size_t(1), 20000);
    }

    void theSecondSlipIsNotStoredWhenTheQueueFailsBetweenSlips_data() { whatCannotBePrintedIsNotStored_data(); }
    void theSecondSlipIsNotStoredWhenTheQueueFailsBetweenSlips()
    {
        QFETCH(const Mishap*, mishap);
        const Counter counter;
        QVERIFY(counter.ready());
        const auto putRight = qScopeGuard([&] { undo(mishap); });
        const auto process =
            counter.start(pressing + printedAndStored(1) + "await mishap\nclick YazCmd(0)\n" + printedAndStored(1) +
                              "await mended\nclick YazCmd(0)\n" + printedAndStored(2) + "table Cari 1\n",
                          atNoon + QStringList{"--echo"});
        QVERIFY(process);
        Ear ear{*process};
        QVERIFY(ear.waitToHear("table Hareket 1"));
        // A scheduler that dies in the middle of a job prints it again when it comes back; that is not the point here.
        QTRY_VERIFY_WITH_TIMEOUT(nothingWaits(), 20000);
        bring(mishap);
        QVERIFY(QFile(counter.path("mishap")).open(QIODevice::WriteOnly));
        QVERIFY(ear.waitToHear("table Hareket 1", 2));
        undo(mishap);
        QVERIFY(QFile(counter.path("mended")).open(QIODevice::WriteOnly));
        QCOMPARE(Counter::outcome(*process), QString());
        QVERIFY(counter.sound());
        QVERIFY(counter.hasArrived());
        QTRY_COMPARE_WITH_TIMEOUT(cups->printer.jobs().size(), std::size_t(2), 20000);
    }

private:
    /// Every job so far has gone to the printer, and the scheduler knows it.
    static bool nothingWaits()
    {
        QProcess jobs;
        jobs.start("lpstat", {"-o"});
        return jobs.waitForFinished() && jobs.exitCode() == 0 && jobs.readAllStandardOutput().trimmed().isEmpty();
    }

    void bring(const Mishap* mishap)
    {
        QVERIFY(mishap->bring(*cups));
        broken_ = true;
    }
    void undo(const Mishap* mishap)
    {
        if (std::exchange(broken_, false)) QVERIFY(mishap->undo(*cups));
    }

    bool broken_ = false;
};

QTEST_GUILESS_MAIN(DayThroughCups)
#include "day_through_cups.moc"
