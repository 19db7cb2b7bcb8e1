#include "tests/doors/cutting_proxy.h"
#include "tests/joint/shared_mill.h"
#include "tests/support/text.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QtTest>
#include <cmath>
#include <csignal>
#include <map>
#include <memory>
#include <set>
#include <sys/prctl.h>
#include <vector>

using namespace Qt::StringLiterals;

/// Counters as processes on one server, and everything that can break while they work. What is asked in the end is
/// always the same: each accepted slip is in every file and on the server exactly once, and every sum is that of the
/// slips.
class ManyCounters : public QObject {
    Q_OBJECT

    struct Counter {
        QString folder;
        int first = 0, count = 0, pause = 0;
        std::unique_ptr<QProcess> process;
        QByteArray told;
        int kills = 0;
    };
    std::optional<SharedMill> mill;
    std::vector<Counter> counters;

    void begin(int number, int pressingsEach, int pause = 0)
    {
        for (int i = 1; i <= number; ++i) {
            Counter& counter = counters.emplace_back();
            counter.folder = mill->folder(i);
            counter.first = i * 100000;
            counter.count = pressingsEach;
            counter.pause = pause;
        }
        for (Counter& each : counters) start(each);
    }
    static void start(Counter& counter)
    {
        counter.process = std::make_unique<QProcess>();
        counter.process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // A test that crashes must not leave its counters running.
        counter.process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        counter.process->start(QString::fromUtf8(COUNTER_PROCESS),
                               {counter.folder, QString::number(counter.first), QString::number(counter.count),
                                QString::number(counter.pause)});
        QVERIFY(counter.process->waitForStarted());
    }
    static void kill(Counter& counter)
    {
        counter.process->kill();
        counter.process->waitForFinished();
        // A number that was being written when it was killed was not told whole.
        QByteArray told = counter.process->readAllStandardOutput();
        told.truncate(told.lastIndexOf('\n') + 1);
        counter.told += told;
        ++counter.kills;
    }
    void readAll()
    {
        for (Counter& each : counters) each.told += each.process->readAllStandardOutput();
    }
    bool allEntered()
    {
        readAll();
        return std::ranges::all_of(counters,
                                   [](const Counter& each) { return QFile::exists(each.folder + u"/girildi"_s); });
    }
    /// All have entered what they had to, and brought and read everything.
    void finish()
    {
        QTRY_VERIFY_WITH_TIMEOUT(allEntered(), 540000);
        for (Counter& each : counters) {
            QFile(each.folder + u"/dur"_s).open(QIODevice::WriteOnly);
            QVERIFY(each.process->waitForFinished(120000));
            QCOMPARE(each.process->exitCode(), 0);
        }
        readAll();
    }
    std::set<int> accepted() const
    {
        std::set<int> numbers;
        for (const Counter& each : counters)
            for (const QByteArray& line : each.told.split('\n'))
                if (!line.isEmpty()) numbers.insert(line.toInt());
        return numbers;
    }
    void judge()
    {
        std::set<int> all;
        for (const Counter& each : counters)
            for (int i = 0; i < each.count; ++i) all.insert(each.first + i);
        const std::set<int> told = accepted();
        QVERIFY(std::ranges::includes(all, told));

        // On the server each once.
        std::multiset<int> stored;
        for (const QString& line : mill->sql("select zeytin from presva.hareket").split(u'\n', Qt::SkipEmptyParts))
            stored.insert(line.toInt());
        QCOMPARE(stored.size(), all.size());
        QVERIFY(std::ranges::equal(stored, all));
        QCOMPARE(mill->sql("select count(*) from (select unvan from presva.cari group by unvan having count(*) > 1) x"),
                 u"0\n"_s);

        // In every file each once, and every report is the sum of all slips.
        std::map<QString, std::array<double, 2>> sums;
        for (const int number : all) {
            const QString name = number % 3 == 0 ? u"Ortak %1"_s.arg(number % 50) : u"Müşteri %1"_s.arg(number % 400);
            sums[name][0] += number;
            sums[name][1] += std::round(number / 5.0 * 100) / 100;
        }
        QStringList firstJournal, firstCustomers;
        for (const Counter& each : counters) {
            SharedCounter counter(each.folder);
            QVERIFY(counter.settled(mill->historyEnd()));
            const QStringList journal = rowsIn(counter.engine(), mill::journalTable);
            const QStringList customers = rowsIn(counter.engine(), mill::customerTable);
            if (firstJournal.isEmpty()) {
                firstJournal = journal;
                firstCustomers = customers;
                QCOMPARE(journal.size(), static_cast<qsizetype>(all.size()));
            }
            QVERIFY(journal == firstJournal);
            QCOMPARE(customers, firstCustomers);
            for (const auto& [name, sum] : sums) {
                const auto report = counter.engine().aggregate(mill::sumsWhere(
                    mill::periodCondition(QDate(2000, 1, 1), QDate(2100, 1, 1)) + mill::andOfCustomer(name)));
                QVERIFY2(std::abs(report[0].number().value_or(0) - sum[0]) < 0.001 &&
                             std::abs(report[1].number().value_or(0) - sum[1]) < 0.01,
                         qPrintable(name));
            }
            const auto total = counter.engine().aggregate(
                mill::sumsWhere(mill::periodCondition(QDate(2000, 1, 1), QDate(2100, 1, 1))));
            double whole = 0;
            for (const int number : all) whole += number;
            QCOMPARE(total[0].number().value_or(0), whole);
        }
    }

private slots:
    void init() { mill.emplace(); }
    void cleanup()
    {
        for (Counter& each : counters)
            if (each.process && each.process->state() != QProcess::NotRunning) {
                each.process->kill();
                each.process->waitForFinished();
            }
        counters.clear();
        mill.reset();
    }

    void nothingIsLostOrDoubled_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("two") << 2;
        QTest::newRow("eight") << 8;
    }
    void nothingIsLostOrDoubled()
    {
        QFETCH(const int, number);
        const int all = numberFromEnvironment("PRESVA_SHARED_PRESSINGS", 800);
        QElapsedTimer time;
        time.start();
        begin(number, all / number);
        finish();
        std::printf("%d counters, %d pressings: %.1f s until all had all\n", number, all / number * number,
                    static_cast<double>(time.elapsed()) / 1000);
        judge();
    }

    void theServerIsKilledWhileTheyWork()
    {
        const int kills = numberFromEnvironment("PRESVA_SHARED_KILLS", 5);
        begin(2, 100 + 80 * kills, 5); // so that they work on until the last kill
        for (int i = 0; i < kills; ++i) {
            QTest::qWait(50 + QRandomGenerator::global()->bounded(400));
            SharedMill::server().kill();
            QTest::qWait(QRandomGenerator::global()->bounded(200));
            SharedMill::server().start();
        }
        finish();
        judge();
        std::printf("the server killed %d times\n", kills);
    }

    void theLineIsCutWhileTheyWork()
    {
        const int cuts = numberFromEnvironment("PRESVA_SHARED_CUTS", 8);
        // One line for each: a proxy serves one session after the other.
        CuttingProxy lines[] = {{SharedMill::server().folder(), 5441, 5432},
                                {SharedMill::server().folder(), 5442, 5432}};
        begin(2, 60 * cuts, 5);
        for (int i = 0; i < 2; ++i) {
            kill(counters[static_cast<std::size_t>(i)]);
            mill->writeIni(counters[static_cast<std::size_t>(i)].folder, i + 1, QString::number(5441 + i));
        }
        for (Counter& each : counters) start(each);
        QElapsedTimer time;
        for (time.start(); lines[0].cuts() + lines[1].cuts() < cuts && time.elapsed() < 500000;)
            for (CuttingProxy& line : lines) {
                line.cutBehind(static_cast<std::size_t>(QRandomGenerator::global()->bounded(20000)));
                const int before = line.cuts();
                for (int i = 0; i < 40 && line.cuts() == before; ++i) QTest::qWait(50);
            }
        QVERIFY(lines[0].cuts() + lines[1].cuts() >= cuts);
        finish();
        judge();
        std::printf("the line cut %d times\n", lines[0].cuts() + lines[1].cuts());
    }

    void aCounterIsKilledWhileItWorks()
    {
        const int kills = numberFromEnvironment("PRESVA_SHARED_COUNTER_KILLS", 8);
        begin(2, 200 + 30 * kills, 5);
        for (int i = 0; i < kills; ++i) {
            Counter& victim = counters[static_cast<std::size_t>(i) % 2];
            QTest::qWait(60 + QRandomGenerator::global()->bounded(300));
            kill(victim);
            start(victim);
        }
        finish();
        judge();
        std::printf("a counter killed %d times\n", kills);
    }
};

QTEST_GUILESS_MAIN(ManyCounters)
#include "many_counters.moc"
