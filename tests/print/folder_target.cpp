#include "tests/print/printed_documents.h"
#ifdef __linux__
#include "tests/support/no_hard_links.h"
#endif
#include "tests/support/outcome.h"
#include "tests/support/qt_files.h"

#include "base/path_text.h"
#include "print/folder_target.h"
#include <QDir>
#include <filesystem>
#include <optional>

using print::FolderTarget;
using print::Printer;

/// Jobs that end in a folder instead of a printer.
class FolderTargetTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;
    std::optional<FolderTarget> target;

    QStringList files() const { return QDir(folder->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }
    /// With slashes, as Qt writes it.
    static QString fileOf(const FolderTarget& target, int job)
    {
        return QDir::fromNativeSeparators(target.fileOf(job));
    }
    QByteArray content(const QString& name) const { return contentOf(folder->filePath(name)); }
    void put(const QString& name, const QByteArray& bytes) const { putFile(folder->filePath(name), bytes); }
    static print::Document document(FolderTarget& target, const QString& text = "a")
    {
        Printer printer(target);
        printer.print(text);
        return *printer.takeDoc();
    }

private slots:
    void init()
    {
        folder = std::make_unique<QTemporaryDir>();
        target.emplace(folder->path());
    }

    void jobsAreNumbered()
    {
        QCOMPARE(target->submit(document(*target)), 1);
        QCOMPARE(target->submit(document(*target)), 2);
        QCOMPARE(files(), QStringList({"0001.pdf", "0002.pdf"}));
        QCOMPARE(fileOf(*target, 2), folder->filePath("0002.pdf"));
        NEEDS_PDF_TOOLS;
        QCOMPARE(linesOf(content("0001.pdf")), QStringList{"a"});
    }

    void everyLetterOfTheFolderIsKept()
    {
        const QString turkish = folder->filePath(u"Şükrü Işık/Fişler ĞİÇÖ"_s);
        FolderTarget made(turkish, print::Paper::slipRoll80(), FolderTarget::Make::yes);
        QCOMPARE(made.submit(document(made)), 1);
        QCOMPARE(made.submit(document(made)), 2);
        QCOMPARE(QDir(turkish).entryList(QDir::Files | QDir::Hidden, QDir::Name),
                 QStringList({"0001.pdf", "0002.pdf"}));
        QCOMPARE(fileOf(made, 2), turkish + u"/0002.pdf"_s);
        QCOMPARE(made.stateText(), u"Yazıcı: Fişler ĞİÇÖ klasörü"_s);
        QCOMPARE(FolderTarget(turkish + u" yok"_s).stateText(), u"Yazıcı: Fişler ĞİÇÖ yok klasörü yok"_s);
    }

    void numbersGoOnAfterWhatIsThere()
    {
        put("0007.pdf", "seven");
        put("notes.pdf", "notes");
        QCOMPARE(target->submit(document(*target)), 8);
        QCOMPARE(content("0007.pdf"), "seven");
    }

    void thePaperIsAnEightyMillimetreRollUnlessToldOtherwise()
    {
        QVERIFY(target->paper().roll);
        QCOMPARE(document(*target).page.width, 227);
        FolderTarget sheets(folder->path(), print::Paper::a4());
        QCOMPARE(document(sheets).page, (print::PageSize{595, 842}));
    }

    void nothingIsThereBeforeTheJobIsFinished()
    {
        const print::Document slip = document(*target);
        const int job = target->createJob(slip);
        QVERIFY(!QFile::exists(target->fileOf(job)));
        target->sendAndFinish(job, slip);
        QCOMPARE(content("0001.pdf"), slip.pdf);
        QCOMPARE(files(), QStringList{"0001.pdf"});
    }

    void aCancelledJobLeavesNothingAndItsNumberIsFree()
    {
        const print::Document slip = document(*target);
        const int job = target->createJob(slip);
        target->cancel(job);
        target->cancel(job);
        QCOMPARE(files(), QStringList());
        QCOMPARE(errorOf([&] { target->sendAndFinish(job, slip); }), base::errors::printer);
        QCOMPARE(target->submit(slip), 1);
    }

    void twoProgramsSharingTheFolderNeverTakeEachOthersNumbers()
    {
        FolderTarget one(folder->path());
        FolderTarget other(folder->path());
        const print::Document slip = document(one);
        const int first = one.createJob(slip);
        const int second = other.createJob(slip);
        QVERIFY(first != second);
        other.sendAndFinish(second, slip);
        one.sendAndFinish(first, slip);
        QCOMPARE(files(), QStringList({"0001.pdf", "0002.pdf"}));
    }

    void aFileThatAppearsMeanwhileIsNotReplaced()
    {
        const print::Document slip = document(*target);
        const int job = target->createJob(slip);
        put("0001.pdf", "somebody else's");
        QCOMPARE(errorOf([&] { target->sendAndFinish(job, slip); }), base::errors::printer);
        QCOMPARE(content("0001.pdf"), "somebody else's");
        QCOMPARE(files(), QStringList{"0001.pdf"});
    }

    void whatIsKnownOfAJobIsSaidAndNothingElse()
    {
        const print::Document slip = document(*target);
        const int printed = target->submit(slip);
        const int begun = target->createJob(slip);
        const int failed = target->createJob(slip);
        put("0003.pdf", "somebody else's");
        QCOMPARE(errorOf([&] { target->sendAndFinish(failed, slip); }), base::errors::printer);
        QVERIFY(target->taken(printed) == print::Taken::yes);
        QVERIFY(target->taken(begun) == print::Taken::no);
        QVERIFY(target->taken(failed) == print::Taken::no);

        // As a run that was killed leaves it to the next.
        FolderTarget next(folder->path());
        QVERIFY(next.taken(printed) == print::Taken::yes);
        QVERIFY(next.taken(begun) == print::Taken::no);
        QVERIFY(next.taken(4711) == print::Taken::unknown);
        QVERIFY(QFile::remove(next.fileOf(printed)));
        QVERIFY(next.taken(printed) == print::Taken::unknown);
        FolderTarget moved(folder->filePath("missing"));
        QVERIFY(moved.taken(printed) == print::Taken::unknown);
    }

    void withoutTheFolderThereIsNoPrinter()
    {
        FolderTarget target(folder->filePath("missing"));
        QCOMPARE(errorOf([&] { target.paper(); }), base::errors::printer);
        QCOMPARE(errorOf([&] { target.createJob({}); }), base::errors::printer);
        QCOMPARE(target.stateText(), "Yazıcı: missing klasörü yok");
        FolderTarget there(folder->path());
        QCOMPARE(there.stateText(), u"Yazıcı: %1 klasörü"_s.arg(QFileInfo(folder->path()).fileName()));
        FolderTarget withSlash(folder->path() + u'/');
        QCOMPARE(withSlash.stateText(), there.stateText());
    }

    void aFolderThatIsMadeForTheFirstSlipIsSaidToBeReady()
    {
        FolderTarget target(folder->filePath("fis"), print::Paper::slipRoll80(), FolderTarget::Make::yes);
        QCOMPARE(target.stateText(), "Yazıcı: fis klasörü");
        QVERIFY(!QFile::exists(folder->filePath("fis")));
        QCOMPARE(target.submit(document(target)), 1);
        QVERIFY(QFile::exists(folder->filePath("fis/0001.pdf")));
    }

    void aJobThatHasItsNameAlreadyIsThere()
    {
        const print::Document one = document(*target);
        const int job = target->createJob(one);
        // As a share leaves it that does what it was asked for and loses the answer.
        std::filesystem::create_hard_link(base::pathOf(folder->filePath(".0001.pdf.part")),
                                          base::pathOf(fileOf(*target, job)));
        target->sendAndFinish(job, one);
        QCOMPARE(target->taken(job), print::Taken::yes);
        QCOMPARE(files(), QStringList{"0001.pdf"});
        QVERIFY(content("0001.pdf").startsWith("%PDF"));
    }

#ifdef __linux__
    void aStickThatGivesAFileOneNameOnlyTakesJobsAndReplacesNone()
    {
        int first = 0;
        QString refusal;
        withoutHardLinks([&] {
            first = target->submit(document(*target));
            const print::Document next = document(*target, "b");
            const int job = target->createJob(next);
            put("0002.pdf", "a stranger's");
            try {
                target->sendAndFinish(job, next);
            } catch (const base::RuntimeError& error) {
                refusal = error.text();
            }
        });
        QCOMPARE(first, 1);
        QVERIFY2(refusal.contains("0002.pdf\" zaten var"), qPrintable(refusal));
        QCOMPARE(files(), QStringList({"0001.pdf", "0002.pdf"}));
        QVERIFY(content("0001.pdf").startsWith("%PDF"));
        QCOMPARE(content("0002.pdf"), "a stranger's");
        QCOMPARE(target->submit(document(*target)), 3);
    }
#endif
};

PRINT_TEST_MAIN(FolderTargetTest)
#include "folder_target.moc"
