#include "cups_fixture.h"
#include "tests/print/printed_documents.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include "platform/print_queue.h"
#include "print/queue_or_folder.h"
#include "print/queue_target.h"
#include "print/slip.h"

using platform::DocumentState;
using platform::QueueCondition;
using print::Printer;
using print::QueueTarget;

/// The real print system, with a scheduler of the test's own.
class Cups : public QObject {
    Q_OBJECT

    std::unique_ptr<CupsFixture> cups;

    std::unique_ptr<platform::PrintQueue> open(const QString& queue) const
    {
        return platform::systemPrintQueue({queue.toStdString(), cups->socketPath().toStdString()});
    }
    QueueTarget target(const QString& queue = {}) const { return QueueTarget(open(queue)); }
    QueueCondition condition(const QString& queue = {}) const { return open(queue)->state().condition; }
    /// Some lines, composed for that queue.
    static std::optional<print::Document> documentOf(QueueTarget& queue, int lines = 1)
    {
        Printer printer(queue);
        for (int i = 0; i < lines; ++i) printer.print(u"line %1"_s.arg(i));
        return printer.takeDoc();
    }
    /// The run-time error of printing one line, 0 if it was printed.
    int printOn(print::PrintTarget& target) const
    {
        Printer printer(target);
        const int error = errorOf([&] {
            printer.print("Sayın; Ahmet Yılmaz");
            printer.endDoc();
        });
        printer.killDoc();
        return error;
    }
    int printOn(const QString& queue = {}) const
    {
        QueueTarget queueTarget = target(queue);
        return printOn(queueTarget);
    }
    /// Long enough for a job that should not come.
    void nothingArrives()
    {
        QTest::qWait(500);
        QCOMPARE(cups->printer.jobs().size(), std::size_t(0));
    }

private slots:
    void initTestCase()
    {
        cups = std::make_unique<CupsFixture>();
        if (!cups->start()) QSKIP(qPrintable(cups->whyNot()));
    }
    void cleanupTestCase() { cups.reset(); }

    void init()
    {
        QVERIFY2(cups->addDefault("slip"), qPrintable(cups->whyNot()));
        cups->printer.forget();
    }

    void anAcceptedJobArrivesAtThePrinterWhole()
    {
        QueueTarget queue = target();
        QCOMPARE(condition(), QueueCondition::ready);
        Printer printer(queue);
        printer.setTitle("Bilgi Fişi");
        printer.print("Sayın; Ahmet Yılmaz");
        const auto document = printer.takeDoc();
        const int job = queue.createJob(*document);
        QVERIFY(job > 0);
        QCOMPARE(cups->openJobs().size(), 1);
        queue.sendAndFinish(job, *document);
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));
        QCOMPARE(cups->printer.jobs().front(), document->pdf);
        QTRY_COMPARE(cups->openJobs().size(), 0);
    }

    void theQueueIsToldWhatPaperAndThatNothingIsScaled()
    {
        QVERIFY2(cups->addComplainingQueue("noted", ""), qPrintable(cups->whyNot()));
        QVERIFY(cups->setUserOption("noted", "number-up=4"));
        QVERIFY(cups->setUserOption("noted", "outputorder=reverse"));
        QueueTarget queue = target("noted");
        const auto document = documentOf(queue);
        queue.submit(*document);
        QTRY_COMPARE(cups->complainersJobs().size(), 1);
        const QString options = cups->complainersJobs().front();
        const QString media = u"media=Custom.%1.05x%2.05"_s.arg(document->page.width).arg(document->page.height);
        for (const QString& option : {media, u"print-scaling=none"_s, u"sides=one-sided"_s})
            QVERIFY2(options.split(u' ').contains(option), qPrintable(options));
        // What the user asks of every job is kept, unless it would spoil the page.
        QVERIFY2(options.contains("outputorder=reverse"), qPrintable(options));
        QVERIFY2(!options.contains("number-up=4"), qPrintable(options));
        QVERIFY(cups->removeQueue("noted"));
    }

    void thePrintSystemNeitherScalesNorTurnsThePage_data()
    {
        addCases<int>("lines", {{"wider than long", 2}, {"a slip", 40}, {"longer than the queue's usual paper", 100}});
    }
    void thePrintSystemNeitherScalesNorTurnsThePage()
    {
        NEEDS_PDF_TOOLS;
        QFETCH(int, lines);
        if (!QFile::exists("/usr/lib/cups/filter/pdftopdf")) QSKIP("the page filter (cups-filters) is not installed");
        QVERIFY2(cups->addQueue("filtered", CupsFixture::Paper::filtered), qPrintable(cups->whyNot()));
        QueueTarget queue = target("filtered");
        const auto document = documentOf(queue, lines);
        queue.submit(*document);
        QTRY_COMPARE_WITH_TIMEOUT(cups->printer.jobs().size(), std::size_t(1), 20000);
        const QByteArray printed = cups->printer.jobs().front();
        QVERIFY(printed != document->pdf);
        const QStringList places = askPdf(printed, "pdftotext", {"-bbox", "FILE", "-"}).split(u'\n').filter("<word ");
        QCOMPARE(places, askPdf(document->pdf, "pdftotext", {"-bbox", "FILE", "-"}).split(u'\n').filter("<word "));
        QCOMPARE(places.size(), 2 * lines);
        const QString size = u"Page size: +%1 x %2 pts"_s.arg(document->page.width).arg(document->page.height);
        QVERIFY(askPdf(printed, "pdfinfo", {"FILE"}).contains(QRegularExpression(size)));
        QVERIFY(cups->removeQueue("filtered"));
    }

    void aRollIsToldFromSheetsByWhatTheQueueAccepts_data()
    {
        addColumns<CupsFixture::Paper, bool, int, int>("paper", "roll", "width", "printable");
        QTest::newRow("80 mm") << CupsFixture::Paper::roll80 << true << 226 << 226 * 20 - 2 * 220;
        QTest::newRow("58 mm") << CupsFixture::Paper::roll58 << true << 163 << 163 * 20 - 2 * 281;
        QTest::newRow("narrow sheets") << CupsFixture::Paper::narrow80 << false << 227 << 227 * 20 - 2 * 220;
        QTest::newRow("A4") << CupsFixture::Paper::a4 << false << 595 << 595 * 20 - 2 * 241;
        QTest::newRow("a queue without a driver") << CupsFixture::Paper::raw << false << 595 << 595 * 20 - 720;
    }
    void aRollIsToldFromSheetsByWhatTheQueueAccepts()
    {
        QFETCH(CupsFixture::Paper, paper);
        QVERIFY2(cups->addQueue("measured", paper), qPrintable(cups->whyNot()));
        const print::Paper found = target("measured").paper();
        QTEST(found.roll, "roll");
        QTEST(found.width, "width");
        QFETCH(int, printable);
        // A margin comes back rounded to hundredths of a millimetre.
        QVERIFY2(qAbs(found.printableWidth() - printable) <= 2, qPrintable(QString::number(found.printableWidth())));
        if (found.roll) QVERIFY2(qAbs(found.maxHeight - 5670) <= 1, qPrintable(QString::number(found.maxHeight)));
        QVERIFY(cups->removeQueue("measured"));
    }

    void aRollWithoutFreeLengthsGetsTheShortestThatIsEnough_data()
    {
        addColumns<int, int>("lines", "height");
        QTest::newRow("a slip") << 30 << 595;
        QTest::newRow("a long listing") << 200 << 9286;
    }
    void aRollWithoutFreeLengthsGetsTheShortestThatIsEnough()
    {
        QFETCH(int, lines);
        QVERIFY2(cups->addQueue("lengths", CupsFixture::Paper::lengths), qPrintable(cups->whyNot()));
        QueueTarget queue = target("lengths");
        Printer printer(queue);
        for (int i = 0; i < lines; ++i) printer.print(u"line %1"_s.arg(i));
        QCOMPARE(printer.layout().pages.size(), std::size_t(1));
        const auto document = printer.takeDoc();
        QVERIFY(document->paper.roll);
        QTEST(document->page.height, "height");
        queue.submit(*document);
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));
        QVERIFY(cups->removeQueue("lengths"));
    }

    void theUsersOwnPaperComesBeforeTheQueues()
    {
        QVERIFY(cups->setUserOption("slip", "media=A4"));
        const print::Paper paper = target().paper();
        QVERIFY(cups->setUserOption("slip", "media=Custom.58x100mm"));
        const print::Paper narrow = target().paper();
        QVERIFY(QFile::remove(qEnvironmentVariable("HOME") + "/.cups/lpoptions"));
        QVERIFY(!paper.roll);
        QCOMPARE(paper.width, 595);
        QVERIFY(narrow.roll);
        QCOMPARE(narrow.width, 164);
        QVERIFY(target().paper().roll);
    }

    void aJobCanBeTakenBackBeforeItsPagesAreSent()
    {
        QueueTarget queue = target();
        const int job = queue.createJob(*documentOf(queue));
        QCOMPARE(cups->openJobs().size(), 1);
        queue.cancel(job);
        QTRY_COMPARE(cups->openJobs().size(), 0);
        nothingArrives();
    }

    void aJobThatWaitsInTheQueueCanStillBeTakenBack()
    {
        QueueTarget queue = target();
        const auto document = documentOf(queue);
        QVERIFY(cups->stop("slip"));
        const int job = queue.createJob(*document);
        queue.sendAndFinish(job, *document);
        QCOMPARE(cups->openJobs().size(), 1);
        queue.cancel(job);
        QTRY_COMPARE(cups->openJobs().size(), 0);
        QVERIFY(cups->resume("slip"));
        nothingArrives();
    }

    // ---- What is an error, with nothing printed ----

    void aJobIsTakenOnceItsWholeDocumentIsIn()
    {
        const auto queue = open("slip");
        const auto asker = open("slip");
        const int job = queue->createJob({"slip", "Fiş", "Custom.227x400"});
        QVERIFY(asker->documentState(job) == DocumentState::notTaken);
        queue->startDocument();
        const std::string head = "%PDF-1.4\n";
        queue->write(std::as_bytes(std::span(head)));
        QVERIFY(asker->documentState(job) == DocumentState::notTaken);
        queue->finishDocument();
        QTRY_VERIFY(asker->documentState(job) == DocumentState::taken);
        QVERIFY(asker->documentState(job + 1000) == DocumentState::unknown);
    }

    void aJobThatWasPrintedIsTakenAlsoWhenItsDocumentIsThrownAway()
    {
        QVERIFY(cups->keepDocuments(false));
        QueueTarget queue = target("slip");
        const auto document = documentOf(queue);
        const int job = queue.submit(*document);
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));
        QTRY_COMPARE(cups->openJobs().size(), 0);
        QVERIFY(queue.taken(job) == print::Taken::yes);

        // And when its number is no longer known, nobody can tell.
        QVERIFY(cups->forgetJobs());
        QVERIFY(queue.taken(job) == print::Taken::unknown);
        QVERIFY(cups->keepDocuments(true));
    }

    void aSchedulerThatIsAwaySaysNeitherYesNorNo()
    {
        const auto asker = platform::systemPrintQueue({"slip", cups->socketPath().toStdString() + ".absent"});
        QVERIFY(asker->documentState(1) == DocumentState::noAnswer);
    }

    void aJobWhoseSenderDiesIsNotTaken()
    {
        const auto asker = open("slip");
        int job = 0;
        {
            const auto queue = open("slip");
            job = queue->createJob({"slip", "Fiş", "Custom.227x400"});
            queue->startDocument();
            const std::string head = "%PDF-1.4\n";
            queue->write(std::as_bytes(std::span(head)));
        } // the connection goes with the sender
        QTest::qWait(300);
        QVERIFY(asker->documentState(job) == DocumentState::notTaken);
        asker->cancelJob(job);
        nothingArrives();
    }

    void aStoppedQueueIsAnError()
    {
        QVERIFY(cups->stop("slip"));
        QCOMPARE(printOn(), base::errors::printer);
        QCOMPARE(condition(), QueueCondition::stopped);
        QCOMPARE(cups->openJobs().size(), 0);
        QVERIFY(cups->resume("slip"));
        nothingArrives();
        QCOMPARE(printOn(), 0);
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));
    }

    void aRejectingQueueIsAnError()
    {
        QVERIFY(cups->reject("slip"));
        QCOMPARE(printOn(), base::errors::printer);
        QCOMPARE(condition(), QueueCondition::rejecting);
        QVERIFY(cups->accept("slip"));
        nothingArrives();
    }

    void aQueueThatBeginsToRejectWhileAJobIsComposedIsAnError()
    {
        QueueTarget queue = target();
        Printer printer(queue);
        printer.print("a");
        QVERIFY(cups->reject("slip"));
        QCOMPARE(errorOf([&] { printer.endDoc(); }), base::errors::printer);
        QCOMPARE(cups->openJobs().size(), 0);
        QVERIFY(cups->accept("slip"));
        nothingArrives();
    }

    void anUnknownQueueIsAnErrorAndNoOtherQueuePrints()
    {
        QCOMPARE(printOn("nosuch"), base::errors::printer);
        QCOMPARE(condition("nosuch"), QueueCondition::unknownQueue);
        qputenv("LPDEST", "nosuch");
        QCOMPARE(printOn(), base::errors::printer);
        QCOMPARE(condition(), QueueCondition::unknownQueue);
        qunsetenv("LPDEST");
        nothingArrives();
    }

    void withoutADefaultQueueThereIsNoPrinter()
    {
        QVERIFY(cups->removeQueue("slip"));
        QCOMPARE(condition(), QueueCondition::noQueue);
        QCOMPARE(printOn(), base::errors::printer);
        // Another queue that happens to be there is not taken instead.
        QVERIFY(cups->addQueue("other", CupsFixture::Paper::roll80));
        QCOMPARE(condition(), QueueCondition::noQueue);
        QCOMPARE(printOn(), base::errors::printer);
        QVERIFY(cups->removeQueue("other"));
        nothingArrives();
    }

    void aDeletedQueueOfTheUserDoesNotHideTheSystemsDefault()
    {
        QVERIFY(cups->addQueue("old", CupsFixture::Paper::a4));
        QVERIFY(cups->setUserDefault("old"));
        QVERIFY(!target().paper().roll);
        QVERIFY(cups->removeQueue("old"));
        QVERIFY(target().paper().roll);
        QCOMPARE(printOn(), 0);
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));
        QVERIFY(QFile::remove(qEnvironmentVariable("HOME") + "/.cups/lpoptions"));
    }

    void withoutAQueueSlipsBecomeFilesUntilThereIsOne()
    {
        QTemporaryDir folder;
        const auto files = [&] { return QDir(folder.filePath("fis")).entryList(QDir::Files); };
        const auto queueOrFolder = print::queueOrFolder(folder.filePath("fis"));
        QVERIFY(cups->removeQueue("slip"));
        QCOMPARE(queueOrFolder->stateText(), "Yazıcı: fis klasörü");
        QCOMPARE(printOn(*queueOrFolder), 0);
        QCOMPARE(files(), QStringList{"0001.pdf"});

        QVERIFY2(cups->addDefault("slip"), qPrintable(cups->whyNot()));
        QCOMPARE(queueOrFolder->stateText(), "Yazıcı: slip");
        QCOMPARE(printOn(*queueOrFolder), 0);
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));

        // It was there once: without it nothing is printed, into no file either.
        QVERIFY(cups->removeQueue("slip"));
        QCOMPARE(printOn(*queueOrFolder), base::errors::printer);
        QCOMPARE(files(), QStringList{"0001.pdf"});
    }

    void aPrinterStuckInAJobThatComplainsIsAnError_data()
    {
        addColumns<QString, QueueCondition>("reasons", "condition");
        QTest::newRow("no paper") << "media-empty-error" << QueueCondition::mediaEmpty;
        QTest::newRow("no paper, as a warning") << "media-empty-warning" << QueueCondition::mediaEmpty;
        QTest::newRow("wants paper") << "media-needed" << QueueCondition::mediaEmpty;
        QTest::newRow("cover") << "cover-open-report" << QueueCondition::coverOpen;
        QTest::newRow("door") << "door-open" << QueueCondition::coverOpen;
        QTest::newRow("offline") << "offline-error" << QueueCondition::offline;
        QTest::newRow("among others") << "toner-low-warning media-empty-error" << QueueCondition::mediaEmpty;
        QTest::newRow("paper runs low") << "media-low-warning" << QueueCondition::ready;
    }
    void aPrinterStuckInAJobThatComplainsIsAnError()
    {
        QFETCH(QString, reasons);
        QFETCH(QueueCondition, condition);
        QVERIFY2(cups->addComplainingQueue("complaining", reasons), qPrintable(cups->whyNot()));
        QVERIFY(cups->holdComplainer("complaining"));
        const qsizetype before = cups->complainersJobs().size();
        QCOMPARE(printOn("complaining"), 0);
        QTRY_COMPARE(cups->complainersJobs().size(), before + 1);
        QTRY_COMPARE(this->condition("complaining"), condition);
        if (condition != QueueCondition::ready) QCOMPARE(printOn("complaining"), base::errors::printer);
        QCOMPARE(cups->complainersJobs().size(), before + 1);

        // The job is through. What the printer said stays behind, and nobody takes it back: the queue is used.
        QVERIFY(cups->letComplainerGo("complaining"));
        QTRY_COMPARE(cups->openJobs().size(), 0);
        QTRY_COMPARE(this->condition("complaining"), QueueCondition::ready);
        QCOMPARE(printOn("complaining"), 0);
        QTRY_COMPARE(cups->complainersJobs().size(), before + 2);
        QTRY_COMPARE(cups->openJobs().size(), 0);

        // Stopped, the reason tells more than that it is stopped.
        QVERIFY(cups->stop("complaining"));
        QCOMPARE(this->condition("complaining"),
                 condition == QueueCondition::ready ? QueueCondition::stopped : condition);
        QVERIFY(cups->removeQueue("complaining"));
    }

    void aKilledSchedulerIsAnErrorAtOnce()
    {
        cups->kill();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(printOn(), base::errors::printer);
        QCOMPARE(condition(), QueueCondition::noScheduler);
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY2(cups->startAgain(), qPrintable(cups->whyNot()));
        nothingArrives();
        QCOMPARE(printOn(), 0);
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));
    }

    void aSchedulerKilledBetweenTheStepsIsAnError()
    {
        QueueTarget queue = target();
        const auto document = documentOf(queue);
        const int job = queue.createJob(*document);
        cups->kill();
        QCOMPARE(errorOf([&] { queue.sendAndFinish(job, *document); }), base::errors::printer);
        QVERIFY2(cups->startAgain(), qPrintable(cups->whyNot()));
        queue.cancel(job);
        QTRY_COMPARE(cups->openJobs().size(), 0);
        nothingArrives();
    }

    void aSchedulerThatFallsSilentOverTheDocumentHasNotTakenIt()
    {
        QueueTarget queue = target();
        const auto document = documentOf(queue);
        const int job = queue.createJob(*document);
        cups->pause();
        const int error = errorOf([&] { queue.sendAndFinish(job, *document); });
        cups->goOn();
        QCOMPARE(error, base::errors::printer);
        queue.cancel(job);
        QTRY_COMPARE(cups->openJobs().size(), 0);
    }

    void aSchedulerThatNeverAnswersIsGivenUp()
    {
        SilentScheduler silent;
        QVERIFY(silent.good());
        QueueTarget queue(platform::systemPrintQueue({"", silent.path().toStdString()}));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(printOn(queue), base::errors::printer);
        QVERIFY2(timer.elapsed() < 15000, qPrintable(QString::number(timer.elapsed())));
    }

    void theStatusLineSaysWhatIsWrong()
    {
        QCOMPARE(target().stateText(), "Yazıcı: slip");
        QCOMPARE(target("nosuch").stateText(), "Yazıcı: nosuch bulunamadı");
        QVERIFY(cups->stop("slip"));
        QCOMPARE(target().stateText(), "Yazıcı: slip durduruldu");
        QVERIFY(cups->resume("slip"));
        QVERIFY(cups->reject("slip"));
        QCOMPARE(target().stateText(), "Yazıcı: slip iş kabul etmiyor");
        QVERIFY(cups->accept("slip"));
    }

    void aSlipComesOutOfTheQueueAsItWasComposed()
    {
        print::Slip slip;
        slip.pressing.customer = "Ahmet Yılmaz";
        slip.pressing.olives = "1.000";
        slip.pressing.oil = "850";
        slip.pressing.fee = "1.250";
        slip.countContainers = [] { return mill::Litre{10}; };
        slip.now = QDateTime(QDate(2024, 11, 5), QTime(14, 7));
        QueueTarget queue = target();
        Printer printer(queue);
        print::composeSlip(printer, slip, base::Regional::turkish());
        printer.endDoc();
        QTRY_COMPARE(cups->printer.jobs().size(), std::size_t(1));
        NEEDS_PDF_TOOLS;
        QVERIFY(linesOf(cups->printer.jobs().front()).contains("Dolan Kap Boyutu 10 LT"));
    }
};

PRINT_TEST_MAIN(Cups)
#include "cups_queue.moc"
