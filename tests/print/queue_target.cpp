#include "tests/doors/fake_queue.h"
#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include "print/queue_target.h"
#include <algorithm>

using platform::QueueCondition;
using platform::QueuePaper;
using print::Paper;
using print::Printer;
using print::QueueTarget;

namespace {

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

    FakeSpool spool;

    int printLine()
    {
        QueueTarget target(std::make_unique<FakeQueue>(spool));
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
        spool = FakeSpool();
        spool.jobs = 41;
        spool.state.condition = QueueCondition::ready;
        spool.state.queue = "slip";
        spool.state.paper = roll80();
    }

    void aJobIsCreatedSentAndFinished()
    {
        QCOMPARE(printLine(), 0);
        QCOMPARE(spool.calls, QStringList({"create", "start", "write", "finish", "settle 42"}));
        QCOMPARE(spool.ticket.queue, std::string("slip"));
        QCOMPARE(QString::fromStdString(spool.ticket.title), "Bilgi Fişi");
        QVERIFY(spool.received.startsWith("%PDF-") && spool.received.trimmed().endsWith("%%EOF"));
    }

    void aRollIsAskedForByItsPointsAndASheetByItsName()
    {
        QCOMPARE(printLine(), 0);
        QVERIFY2(
            QString::fromStdString(spool.ticket.media).contains(QRegularExpression("^Custom\\.226\\.05x[0-9]+\\.05$")),
            spool.ticket.media.c_str());
        spool.state.paper = a4();
        QCOMPARE(printLine(), 0);
        QCOMPARE(spool.ticket.media, std::string("iso_a4_210x297mm"));
    }

    void whateverStepFailsTheJobIsCancelledByItsNumber_data()
    {
        addColumns<QString, QStringList>("step", "calls");
        QTest::newRow("create") << "create" << QStringList{"create"};
        QTest::newRow("start") << "start" << QStringList{"create", "start", "cancel 42"};
        QTest::newRow("write") << "write" << QStringList{"create", "start", "write", "cancel 42"};
        QTest::newRow("draw") << "draw" << QStringList{"create", "start", "draw", "cancel 42"};
        QTest::newRow("finish") << "finish" << QStringList{"create", "start", "write", "finish", "cancel 42"};
    }
    void whateverStepFailsTheJobIsCancelledByItsNumber()
    {
        QFETCH(QString, step);
        spool.failAt = step;
        spool.drawsPages = step == "draw";
        QCOMPARE(printLine(), base::errors::printer);
        QTEST(spool.calls, "calls");
    }

    void aLongJobIsSentInPiecesAndArrivesWhole()
    {
        QueueTarget target(std::make_unique<FakeQueue>(spool));
        print::Document document;
        document.pdf = QByteArray(200000, 'x');
        document.paper = target.paper();
        const int job = target.createJob(document);
        target.sendAndFinish(job, document);
        QCOMPARE(spool.received, document.pdf);
        QCOMPARE(spool.calls.count("write"), 4);
    }

    void aPrinterThatIsDrawnOnGetsEveryTextAndLineAtItsPlaceOnTheSheet()
    {
        spool.drawsPages = true;
        spool.state.paper = a4(); // 240 twips cannot be reached at every edge
        QueueTarget target(std::make_unique<FakeQueue>(spool));
        Printer printer(target);
        printer.setFontName("Arial");
        printer.setFontSize(8);
        printer.setCurrentX(1000);
        printer.setCurrentY(500);
        const double width = printer.textWidth("Sıkım");
        printer.printStay("Sıkım");
        printer.setFontBold(true);
        printer.setFontStretch(70);
        printer.print("Yağ");
        printer.line(60, 2000, 900, 2000);
        printer.newPage();
        printer.print("İkinci");
        printer.endDoc();

        QCOMPARE(spool.calls, QStringList({"create", "start", "draw", "finish", "settle 42"}));
        const platform::Drawing& drawn = spool.drawn;
        QCOMPARE(drawn.pages.size(), std::size_t(2));
        const platform::DrawnPage& page = drawn.pages.front();
        QCOMPARE(page.texts.size(), std::size_t(2));
        const platform::DrawnText& first = page.texts[0];
        QCOMPARE(first.text, std::u16string(u"Sıkım"));
        QCOMPARE(first.x, 240.0 + 1000);
        QVERIFY2(first.y > 240 + 500 && first.y < 240 + 500 + 200, "below the top of the line, by the letters' height");
        QCOMPARE(first.ends.size(), first.text.size());
        QVERIFY(std::ranges::is_sorted(first.ends) && first.ends.front() > 0);
        QCOMPARE(first.ends.back(), width);
        const platform::DrawnText& second = page.texts[1];
        QCOMPARE(second.x, 240 + 1000 + width);
        QCOMPARE(second.y, first.y);
        QCOMPARE(drawn.fonts.at(first.font).points, 8.0);
        QCOMPARE(drawn.fonts.at(first.font).stretch, 100);
        QVERIFY(!drawn.fonts.at(first.font).bold && drawn.fonts.at(second.font).bold);
        QCOMPARE(drawn.fonts.at(second.font).stretch, 70);
        QCOMPARE(page.lines.size(), std::size_t(1));
        QCOMPARE(page.lines[0].x1, 300.0);
        QCOMPARE(page.lines[0].y2, 2240.0);
        QCOMPARE(drawn.pages[1].texts.at(0).text, std::u16string(u"İkinci"));
    }

    void aJobSaysHowLargeItsPagesAre()
    {
        spool.state.paper = a4();
        QCOMPARE(printLine(), 0);
        QCOMPARE(spool.ticket.width, 20990); // 595 points
        QCOMPARE(spool.ticket.length, 29704);
    }

    void aPrinterThatCannotPrintIsNotEvenAskedToTakeAJob_data()
    {
        addColumns<QueueCondition, QString>("condition", "text");
        QTest::newRow("no scheduler") << QueueCondition::noScheduler << "Yazıcı: yazdırma servisi yanıt vermiyor";
        QTest::newRow("scheduler stopped")
            << QueueCondition::schedulerStopped << "Yazıcı: yazdırma servisi yanıt vermiyor";
        QTest::newRow("no queue") << QueueCondition::noQueue << "Yazıcı: varsayılan yazıcı yok";
        QTest::newRow("not on paper")
            << QueueCondition::paperless
            << "Yazıcı: varsayılan yazıcı slip kâğıda basmıyor; fiş yazıcısını varsayılan yapın";
        QTest::newRow("unknown") << QueueCondition::unknownQueue << "Yazıcı: slip bulunamadı";
        QTest::newRow("rejecting") << QueueCondition::rejecting << "Yazıcı: slip iş kabul etmiyor";
        QTest::newRow("stopped") << QueueCondition::stopped << "Yazıcı: slip durduruldu";
        QTest::newRow("no paper") << QueueCondition::mediaEmpty << "Yazıcı: slip kâğıt bitti";
        QTest::newRow("cover open") << QueueCondition::coverOpen << "Yazıcı: slip kapağı açık";
        QTest::newRow("somebody has to look")
            << QueueCondition::attention << "Yazıcı: slip bekliyor; kâğıdına, kapağına ve ekranına bakın";
        QTest::newRow("offline") << QueueCondition::offline << "Yazıcı: slip bağlı değil";
    }
    void aPrinterThatCannotPrintIsNotEvenAskedToTakeAJob()
    {
        QFETCH(QueueCondition, condition);
        spool.state.condition = condition;
        QCOMPARE(printLine(), base::errors::printer);
        QCOMPARE(spool.calls, QStringList());
        QTEST(QueueTarget(std::make_unique<FakeQueue>(spool)).stateText(), "text");
    }

    void aJobOfAnEarlierRunIsNamedToTheQueue()
    {
        QueueTarget target(std::make_unique<FakeQueue>(spool));
        QCOMPARE(target.markOf(7), u"Kasa\nFiş 7"_s);
        QCOMPARE(target.printerOf(7), u"Kasa"_s);
        target.recall(7, u"Kasa\nFiş 7"_s);
        target.settle(7);
        QCOMPARE(spool.calls, QStringList({u"recall 7 Kasa\nFiş 7"_s, u"settle 7"_s}));
    }

    void aReadyQueueSaysItsNameAndWhetherItPrints()
    {
        QueueTarget target(std::make_unique<FakeQueue>(spool));
        QCOMPARE(target.stateText(), "Yazıcı: slip");
        spool.state.printing = true;
        QCOMPARE(target.stateText(), "Yazıcı: slip (yazdırıyor)");
    }

    void readsThePaperOfTheQueue_data()
    {
        addColumns<QueuePaper, bool, int, int>("queue", "roll", "width", "longest");
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
        spool.state.paper.minLength = spool.state.paper.maxLength = 0;
        spool.state.paper.sheets = {{"short", 21000}, {"long", 327600}};
        QCOMPARE(printLine(), 0);
        QCOMPARE(spool.ticket.media, std::string("short"));
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
#include "queue_target.moc"
