#include "paper_trail.h"

#include "print/queue_target.h"
#include <functional>

using platform::PrintError;
using platform::QueueCondition;
using platform::QueuePaper;
using print::Paper;
using print::Printer;
using print::QueueTarget;

namespace {

/// A queue that notes every call and fails at the one a test names.
struct Log {
    QStringList calls;
    QString failAt;
    platform::QueueState state;
    platform::JobTicket ticket;
    QByteArray received;
};

class NotedQueue : public platform::PrintQueue {
public:
    explicit NotedQueue(Log& log) : log_(log) {}

    platform::QueueState state() noexcept override { return log_.state; }
    int createJob(const platform::JobTicket& ticket) override
    {
        log_.ticket = ticket;
        note("create");
        return 42;
    }
    void startDocument() override { note("start"); }
    void write(std::span<const std::byte> bytes) override
    {
        note("write");
        log_.received.append(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size()));
    }
    void finishDocument() override { note("finish"); }
    void cancelJob(int job) noexcept override { log_.calls.append(QString("cancel %1").arg(job)); }
    bool documentTaken(int) noexcept override { return false; }

private:
    void note(const QString& call)
    {
        log_.calls.append(call);
        if (log_.failAt == call) throw PrintError(call.toStdString() + " refused");
    }

    Log& log_;
};

QueuePaper roll80()
{
    QueuePaper paper;
    paper.media = "custom_80x200mm_80x200mm";
    paper.width = 8000;
    paper.length = 20000;
    paper.left = paper.right = 388;
    paper.minLength = 2540;
    paper.maxLength = 200025;
    paper.maxWidth = 8008;
    return paper;
}

QueuePaper a4()
{
    QueuePaper paper;
    paper.media = "iso_a4_210x297mm";
    paper.width = 21000;
    paper.length = 29700;
    paper.left = paper.right = paper.top = paper.bottom = 423;
    return paper;
}

} // namespace

/// Jobs and the system's queue, call by call.
class QueueTargetTest : public QObject {
    Q_OBJECT

    Log log;

    int printLine()
    {
        QueueTarget target(std::make_unique<NotedQueue>(log));
        Printer printer(target);
        return errorOf([&] {
            printer.setTitle("Bilgi Fişi");
            printer.print("Sayın; Ahmet Yılmaz");
            printer.endDoc();
        });
    }

private slots:
    void init()
    {
        log = Log();
        log.state.condition = QueueCondition::ready;
        log.state.queue = "slip";
        log.state.paper = roll80();
    }

    void aJobIsCreatedSentAndFinished()
    {
        QCOMPARE(printLine(), 0);
        QCOMPARE(log.calls, QStringList({"create", "start", "write", "finish"}));
        QCOMPARE(log.ticket.queue, std::string("slip"));
        QCOMPARE(QString::fromStdString(log.ticket.title), "Bilgi Fişi");
        QVERIFY(log.received.startsWith("%PDF-") && log.received.trimmed().endsWith("%%EOF"));
    }

    void aRollIsAskedForByItsPointsAndASheetByItsName()
    {
        QCOMPARE(printLine(), 0);
        QVERIFY2(
            QString::fromStdString(log.ticket.media).contains(QRegularExpression("^Custom\\.226\\.05x[0-9]+\\.05$")),
            log.ticket.media.c_str());
        log.state.paper = a4();
        QCOMPARE(printLine(), 0);
        QCOMPARE(log.ticket.media, std::string("iso_a4_210x297mm"));
    }

    void whateverStepFailsTheJobIsCancelledByItsNumber_data()
    {
        QTest::addColumn<QString>("step");
        QTest::addColumn<QStringList>("calls");
        QTest::newRow("create") << "create" << QStringList{"create"};
        QTest::newRow("start") << "start" << QStringList{"create", "start", "cancel 42"};
        QTest::newRow("write") << "write" << QStringList{"create", "start", "write", "cancel 42"};
        QTest::newRow("finish") << "finish" << QStringList{"create", "start", "write", "finish", "cancel 42"};
    }
    void whateverStepFailsTheJobIsCancelledByItsNumber()
    {
        QFETCH(QString, step);
        log.failAt = step;
        QCOMPARE(printLine(), base::errors::printer);
        QTEST(log.calls, "calls");
    }

    void aLongJobIsSentInPiecesAndArrivesWhole()
    {
        QueueTarget target(std::make_unique<NotedQueue>(log));
        print::Document document;
        document.pdf = QByteArray(200000, 'x');
        document.paper = target.paper();
        const int job = target.createJob(document);
        target.sendAndFinish(job, document);
        QCOMPARE(log.received, document.pdf);
        QCOMPARE(log.calls.count("write"), 4);
    }

    void aPrinterThatCannotPrintIsNotEvenAskedToTakeAJob_data()
    {
        QTest::addColumn<QueueCondition>("condition");
        QTest::addColumn<QString>("text");
        QTest::newRow("no scheduler") << QueueCondition::noScheduler << "Yazıcı: yazdırma servisi yanıt vermiyor";
        QTest::newRow("no queue") << QueueCondition::noQueue << "Yazıcı: varsayılan yazıcı yok";
        QTest::newRow("unknown") << QueueCondition::unknownQueue << "Yazıcı: slip bulunamadı";
        QTest::newRow("rejecting") << QueueCondition::rejecting << "Yazıcı: slip iş kabul etmiyor";
        QTest::newRow("stopped") << QueueCondition::stopped << "Yazıcı: slip durduruldu";
        QTest::newRow("no paper") << QueueCondition::mediaEmpty << "Yazıcı: slip kâğıt bitti";
        QTest::newRow("cover open") << QueueCondition::coverOpen << "Yazıcı: slip kapağı açık";
        QTest::newRow("offline") << QueueCondition::offline << "Yazıcı: slip bağlı değil";
    }
    void aPrinterThatCannotPrintIsNotEvenAskedToTakeAJob()
    {
        QFETCH(QueueCondition, condition);
        log.state.condition = condition;
        QCOMPARE(printLine(), base::errors::printer);
        QCOMPARE(log.calls, QStringList());
        QTEST(QueueTarget(std::make_unique<NotedQueue>(log)).stateText(), "text");
    }

    void aReadyQueueSaysItsNameAndWhetherItPrints()
    {
        QueueTarget target(std::make_unique<NotedQueue>(log));
        QCOMPARE(target.stateText(), "Yazıcı: slip");
        log.state.printing = true;
        QCOMPARE(target.stateText(), "Yazıcı: slip (yazdırıyor)");
    }

    void readsThePaperOfTheQueue_data()
    {
        QTest::addColumn<QueuePaper>("queue");
        QTest::addColumn<bool>("roll");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("longest");
        QueuePaper wide = roll80();
        wide.maxWidth = 21000;
        QTest::newRow("80 mm roll in a wide printer") << wide << true << 227 << 5669;
        QTest::newRow("80 mm roll") << roll80() << true << 226 << 5669;
        QueuePaper exact = roll80();
        exact.maxWidth = 8000;
        QTest::newRow("no wider than its widest sheet") << exact << true << 226 << 5669;
        QueuePaper labels = roll80();
        labels.width = labels.maxWidth = 11200;
        QTest::newRow("112 mm is still a roll") << labels << true << 317 << 5669;
        labels.width = labels.maxWidth = 11300;
        QTest::newRow("113 mm is a sheet") << labels << false << 320 << 0;
        QueuePaper fixed = roll80();
        fixed.maxLength = fixed.minLength = 0;
        QTest::newRow("narrow, one length only") << fixed << false << 227 << 0;
        QueuePaper lengths = fixed;
        lengths.sheets = {{"short", 21000}, {"long", 327600}};
        QTest::newRow("narrow, with a length of metres") << lengths << true << 227 << 9286;
        QueuePaper sheetLabels = fixed;
        sheetLabels.sheets = {{"label 2", 5080}, {"label 6", 15240}};
        QTest::newRow("labels of several lengths") << sheetLabels << false << 227 << 0;
        QTest::newRow("A4") << a4() << false << 595 << 0;
        QueuePaper custom = a4();
        custom.minLength = 2540;
        custom.maxLength = 100000;
        QTest::newRow("A4 in a printer that takes any size") << custom << false << 595 << 0;
        QTest::newRow("a queue that says nothing") << QueuePaper() << false << 595 << 0;
    }
    void readsThePaperOfTheQueue()
    {
        QFETCH(QueuePaper, queue);
        const Paper paper = print::paperOf(queue);
        QTEST(paper.roll, "roll");
        QTEST(paper.width, "width");
        QTEST(paper.maxHeight, "longest");
        QVERIFY(paper.printableWidth() > 0 && paper.printableHeight() > 0);
    }

    void aRollOfFixedLengthsIsAskedForByTheirNames()
    {
        log.state.paper.minLength = log.state.paper.maxLength = 0;
        log.state.paper.sheets = {{"short", 21000}, {"long", 327600}};
        QCOMPARE(printLine(), 0);
        QCOMPARE(log.ticket.media, std::string("short"));
    }

    void marginsAreNeverSmallerThanTheDevicesOwn()
    {
        const Paper paper = print::paperOf(roll80());
        QCOMPARE(paper.leftMargin, 220); // 3.88 mm are 219.97 twips
        QCOMPARE(paper.topMargin, 0);
        QCOMPARE(print::paperOf(a4()).topMargin, 240);
    }
};

PRINT_TEST_MAIN(QueueTargetTest)
#include "test_queue_target.moc"
