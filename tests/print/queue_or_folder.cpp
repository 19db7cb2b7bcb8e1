#include "tests/doors/fake_printer.h"
#include "tests/print/printed_documents.h"
#include "tests/support/outcome.h"

#include "print/folder_target.h"
#include "print/queue_or_folder.h"

using print::FolderTarget;
using print::QueueOrFolder;

/// A machine whose print system may be late, or not there at all.
class QueueOrFolderTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;
    FakePrinter* queue = nullptr;
    bool queueIsThere = false;
    int asked = 0;
    std::unique_ptr<QueueOrFolder> target;

    static print::Document slip()
    {
        print::Document document;
        document.pdf = "%PDF-1.4 a slip";
        return document;
    }
    /// A job from its beginning to its end; its number.
    int print()
    {
        target->paper();
        return target->submit(slip());
    }
    QStringList files() const { return QDir(folder->filePath("fis")).entryList(QDir::Files, QDir::Name); }
    std::unique_ptr<QueueOrFolder> newTarget()
    {
        auto trail = std::make_unique<FakePrinter>();
        queue = trail.get();
        return std::make_unique<QueueOrFolder>(std::move(trail),
                                               std::make_unique<FolderTarget>(folder->filePath("fis"),
                                                                              print::Paper::slipRoll80(),
                                                                              FolderTarget::Make::yes),
                                               [this] { return ++asked, queueIsThere; });
    }

private slots:
    void init()
    {
        folder = std::make_unique<QTemporaryDir>();
        queueIsThere = false;
        asked = 0;
        target = newTarget();
    }

    void aMarkIsTheQueuesOwn()
    {
        queue->marks = true;
        QCOMPARE(target->markOf(7), u"Kasa\nFiş 7"_s);
        QCOMPARE(target->markOf(QueueOrFolder::firstFolderJob + 7), QString());
        QCOMPARE(target->printerOf(7), u"Kasa"_s);
        QCOMPARE(target->printerOf(QueueOrFolder::firstFolderJob + 7), QString());
        for (const int job : {7, QueueOrFolder::firstFolderJob + 7}) {
            target->recall(job, u"Kasa\nFiş 7"_s);
            target->settle(job);
        }
        QCOMPARE(queue->recalled, QStringList{u"7 Kasa\nFiş 7"_s});
        QCOMPARE(queue->settled, QList<int>{7});
    }

    void withoutAQueueSlipsBecomeFiles()
    {
        QCOMPARE(target->stateText(), "Yazıcı: fis klasörü");
        print();
        print();
        QCOMPARE(files(), QStringList({"0001.pdf", "0002.pdf"}));
        QVERIFY(queue->printed.empty());
    }

    void aPrintSystemThatIsLateIsUsedFromTheNextSlipOn()
    {
        print();
        queueIsThere = true;
        print();
        print();
        QCOMPARE(files(), QStringList{"0001.pdf"});
        QCOMPARE(queue->printed.size(), std::size_t(2));
    }

    void aSlipThatIsOpenStaysWhereItBegan()
    {
        target->paper();
        queueIsThere = true;
        target->stateText(); // the status line asks in between
        const int job = target->createJob(slip());
        target->sendAndFinish(job, slip());
        QCOMPARE(files(), QStringList{"0001.pdf"});
        QVERIFY(queue->printed.empty());
    }

    void aQueueThatGoesAwayIsAnErrorAndNoFile()
    {
        queueIsThere = true;
        print();
        queueIsThere = false;
        queue->failAt = FakePrinter::Step::paper;
        QCOMPARE(errorOf([&] { target->paper(); }), base::errors::printer);
        QCOMPARE(files(), QStringList());
        QCOMPARE(asked, 1); // it was seen once, and that is that
    }

    void aNumberWrittenDownTellsLaterWhomToAsk()
    {
        const int file = print();
        queueIsThere = true;
        const int job = print();
        QVERIFY(file != job);
        const int unfinished = target->createJob(slip());
        target = newTarget(); // the next run; its queue knows of nothing
        QVERIFY(target->taken(file) == print::Taken::yes);
        QVERIFY(QFile::remove(folder->filePath("fis/0001.pdf")));
        QVERIFY(target->taken(file) == print::Taken::unknown);
        QVERIFY(target->taken(unfinished) == print::Taken::unknown);
        queue->waiting = {unfinished};
        QVERIFY(target->taken(unfinished) == print::Taken::no);
        target->cancel(unfinished);
        QVERIFY(queue->waiting.empty());
    }
};

PRINT_TEST_MAIN(QueueOrFolderTest)
#include "queue_or_folder.moc"
