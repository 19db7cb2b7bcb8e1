#include <cstddef> // moc stumbles over <compare> without it

#include "counter.h"
#include "tests/support/text.h"

#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/pages/journal.h"

#include <QElapsedTimer>
#include <QMap>
#include <QThread>
#include <QtTest>

#include <random>

namespace {

/// PRESVA_KILLS sets how often.
int kills() { return numberFromEnvironment("PRESVA_KILLS", 40); }

/// Every row that is not a totals row, byte for byte at its place.
using Rows = QMap<quint64, QByteArray>;

const QByteArray panelOpen = "click Option1(1)";
constexpr int reportsPerPlay = 12;

/// One report after the other, of some days of January and now and then of a day without pressings.
QString dialogue()
{
    QString text = "click GünlükCmd\n" + panelOpen + '\n';
    for (int i = 0; i < reportsPerPlay; ++i)
        text += i % 4 == 3 ? u"date DTPickerBas 2030-01-01\n"_s : u"date DTPickerSon 2025-01-%1\n"_s.arg(10 + i);
    return text;
}

} // namespace

/// The counter killed as a process, while it writes the totals of reports.
class KilledInTheReport : public QObject {
    Q_OBJECT

    const Counter counter;
    const std::filesystem::path file = counter.databasePath().toStdString();
    std::mt19937 random{21};
    Rows pressings;
    int openJournals = 0, withTotals = 0, withoutTotals = 0;

    void fill()
    {
        const auto database = jet::Database::open(platform::systemDisk(), file);
        jet::Transaction change(database->pager());
        for (int i = 0; i < 3000; ++i)
            database->table(u"Hareket")
                .insert({{0, jet::DateTime{45658 + i / 100.0}}, // from 2025-01-01
                         {1, 100.0 + i},
                         {2, 20.0 + i},
                         {4, 2.0},
                         {6, std::u16string(i % 2 ? u"Ali" : u"Ayşe")}});
        change.commit();
    }

    Rows read(jet::Database& database, int& totals) const
    {
        Rows rows;
        totals = 0;
        database.table(u"Hareket").forEachRow([&](jet::RowId id, const jet::RowView& row) {
            const auto bytes = row.bytes();
            if (row.textIs(6, u"Toplamlar"))
                ++totals;
            else
                rows[id.packed()] =
                    QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
            return true;
        });
        return rows;
    }

    /// The file as the next start finds it.
    void compare()
    {
        const std::filesystem::path journal = file.string() + "-journal";
        files::Disk& disk = platform::systemDisk();
        if (disk.exists(journal) && jet::readJournal(*disk.open(journal, files::Disk::Access::readOnly)))
            ++openJournals;
        const auto database = jet::Database::open(disk, file);
        int totals = 0;
        const Rows found = read(*database, totals);
        QVERIFY(found == pressings);
        QVERIFY2(totals <= 1, qPrintable(QString::number(totals)));
        ++(totals == 1 ? withTotals : withoutTotals);
        const jet::CheckResult check = jet::checkDatabase(*database);
        QVERIFY2(check.ok(), check.ok() ? "" : check.faults.front().c_str());
    }

    /// Waits until the panel is open; what comes then are the reports.
    std::unique_ptr<QProcess> startAtThePanel()
    {
        auto process = counter.start(dialogue(), {"--echo"});
        return process && Ear{*process}.waitToHear(panelOpen) ? std::move(process) : nullptr;
    }

private slots:
    void killLeavesOneTotalsRowAtMostAndEveryPressing()
    {
        QVERIFY(counter.ready());
        fill();
        int totals = 0;
        pressings = read(*jet::Database::open(platform::systemDisk(), file), totals);
        QCOMPARE(pressings.size(), 3000);

        // How long the reports take here and now.
        QElapsedTimer clock;
        auto process = startAtThePanel();
        QVERIFY(process);
        clock.start();
        QCOMPARE(Counter::outcome(*process), QString());
        const auto whole = static_cast<unsigned long>(clock.nsecsElapsed() / 1000);
        compare();
        if (QTest::currentTestFailed()) return;

        int killed = 0;
        for (int kill = 0; kill < kills(); ++kill) {
            process = startAtThePanel();
            QVERIFY(process);
            QThread::usleep(std::uniform_int_distribution<unsigned long>(0, whole * 8 / 10)(random));
            process->kill();
            QVERIFY(process->waitForFinished());
            killed += process->exitStatus() == QProcess::CrashExit;
            compare();
            if (QTest::currentTestFailed()) {
                qInfo("after kill %d", kill);
                return;
            }
        }
        qInfo("%d kills: %d left a journal to roll back, %d a totals row, %d none", killed, openJournals, withTotals,
              withoutTotals);
        QVERIFY(killed > kills() / 2);
        QVERIFY(openJournals > 0);
    }
};

QTEST_GUILESS_MAIN(KilledInTheReport)
#include "killed_in_the_report.moc"
