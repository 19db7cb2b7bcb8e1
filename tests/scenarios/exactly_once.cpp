// Every slip that the print system accepted is one row of the journal and one line of the book of weights, and there is
// no other row or line: the counter is killed at random moments around "Fiş Yaz", with a real print scheduler behind
// it.
//
// The usual run kills a few times. Many, with the figures on standard output:
//
//     PRESVA_KILLS=500 build/test/tests/exactly_once

#include <cstddef> // moc stumbles over <compare> without it

#include "counter.h"

#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "tests/print/cups_fixture.h"
#include "tests/print/pdf_text.h"
#include "tests/support/qt_files.h"
#include "tests/support/text.h"
#include "weights/verification.h"

#include <QRegularExpression>
#include <QtTest>

#include <algorithm>
#include <csignal>
#include <random>

namespace {

int kills() { return numberFromEnvironment("PRESVA_KILLS", 15); }

constexpr int enough = 3;

const QByteArray pressed = "click YazCmd(0)";
const QByteArray started = "wait 0"; // the first command: what an open note asks for is done by then

/// The fee that a slip on paper says; no two slips of the test have the same.
int feeOnPaper(const QByteArray& pdf)
{
    static const QRegularExpression amount("([0-9.]+) TL");
    const auto match = amount.match(askPdf(pdf, "pdftotext", {"-layout", "FILE", "-"}));
    return match.hasMatch() ? match.captured(1).remove('.').toInt() : -1;
}

} // namespace

class ExactlyOnce : public QObject {
    Q_OBJECT

    std::unique_ptr<CupsFixture> cups;
    std::unique_ptr<Counter> counter;
    std::mt19937 random{30};
    int fees = 1000;
    QList<int> acknowledged;
    qint64 pressMicroseconds = 0;
    qint64 longestStart = 0, longestRecovery = 0; ///< milliseconds
    int killedInThePress = 0, killedWithANote = 0, forgottenNotes = 0;
    bool forgets = false; ///< the scheduler, after some of the kills

    QString note() const { return counter->databasePath() + "-slip"; }
    int upTo(qint64 limit) { return std::uniform_int_distribution<int>(0, static_cast<int>(limit))(random); }

    static QByteArray typed(int fee) { return "keys " + QByteArray::number(fee); }
    QString dialogue(const QList<int>& slips) const
    {
        QString text = started + "\nclick YeniCmd(0)\nkey Sil\nkeys ali\n";
        if (!acknowledged.isEmpty()) text += "pick Ali\n"; // the list lies over the figures
        text += "click Label2(0)\nkeys 1000\n";
        for (const int fee : slips) text += "click NakitLbl(0)\nkey Sil\n" + typed(fee) + '\n' + pressed + '\n';
        return text;
    }

    /// Starts the counter and waits until it stands on the screen; what a crash left is recovered by then.
    std::unique_ptr<QProcess> start(const QList<int>& slips, QByteArray& said)
    {
        const bool noteIsOpen = QFile::exists(note());
        QElapsedTimer clock;
        clock.start();
        auto process = counter->start(dialogue(slips), {"--echo"});
        if (!process) return nullptr;
        Ear ear{*process};
        const bool stands = ear.waitToHear(started);
        said = ear.said;
        if (!stands) return nullptr;
        qint64& longest = noteIsOpen ? longestRecovery : longestStart;
        longest = std::max(longest, clock.elapsed());
        return process;
    }

    void measure()
    {
        const QList<int> slips = {++fees, ++fees, ++fees};
        QByteArray said;
        const auto process = start(slips, said);
        QVERIFY(process);
        Ear ear{*process, said};
        QElapsedTimer clock;
        clock.start();
        qint64 sum = 0;
        for (qsizetype i = 0; i < slips.size(); ++i) {
            QVERIFY(ear.waitToHear(typed(slips[i])));
            const qint64 from = clock.nsecsElapsed();
            QVERIFY(ear.waitToHear(pressed, i + 1));
            sum += clock.nsecsElapsed() - from;
        }
        pressMicroseconds = sum / 1000 / slips.size();
        QCOMPARE(Counter::outcome(*process), QString());
        acknowledged << slips;
    }

    void killOnce()
    {
        const QList<int> slips = {++fees, ++fees};
        const qsizetype victim = upTo(1);
        QByteArray said;
        const auto process = start(slips, said);
        QVERIFY2(process, said.constData());
        Ear ear{*process, said};
        QVERIFY(ear.waitToHear(typed(slips[victim])));
        // Every other kill waits for the note: what comes then is short and matters most.
        if (upTo(1) == 0) ear.waitFor([&] { return QFile::exists(note()) || ear.heard(pressed, victim + 1); });
        ::usleep(static_cast<useconds_t>(upTo(pressMicroseconds * 5 / 4)));
        ::kill(static_cast<pid_t>(process->processId()), SIGKILL);
        QVERIFY(process->waitForFinished());
        ear.heard({});
        const qsizetype heard = std::min(ear.said.count(pressed + '\n'), slips.size());
        acknowledged << slips.first(heard);
        if (heard <= victim) ++killedInThePress;
        if (QFile::exists(note())) ++killedWithANote;
        if (!forgets || upTo(1) == 0) return;
        waitForThePrinter();
        QVERIFY(cups->forgetJobs());
        if (QFile::exists(note())) ++forgottenNotes;
    }

    /// Kills, and starts once more for what the last kill left.
    void killManyTimes()
    {
        acknowledged.clear();
        killedInThePress = killedWithANote = forgottenNotes = 0;
        longestStart = longestRecovery = 0;
        cups->printer.forget();
        counter = std::make_unique<Counter>();
        QVERIFY(counter->ready());
        measure();
        // Kills that miss the press prove nothing: on until enough of them met an open note.
        for (int done = 0; done < kills() || (killedWithANote < enough && done < 20 * kills()); ++done) {
            killOnce();
            if (QTest::currentTestFailed()) return;
        }
        QByteArray said;
        const auto last = start({}, said);
        QVERIFY(last);
        QCOMPARE(Counter::outcome(*last), QString());
        QVERIFY(!QFile::exists(note()));
        waitForThePrinter();
        QVERIFY(killedWithANote >= enough);
    }

    QList<int> stored() const
    {
        QList<int> found;
        const auto database = jet::Database::open(platform::systemDisk(), counter->databasePath().toStdString(),
                                                  jet::Pager::Mode::readOnly);
        if (!jet::checkDatabase(*database).ok()) return {-2};
        database->table(u"Hareket").forEachRow([&](jet::RowId, const jet::RowView& row) {
            found << static_cast<int>(row.number(5).value_or(-1));
            return true;
        });
        std::ranges::sort(found);
        return found;
    }
    /// The fees in the book of weights; -3 for a line that does not hold.
    QList<int> lines() const
    {
        QList<int> found;
        for (const auto& each :
             weights::allLines(platform::systemDisk(), QFileInfo(counter->databasePath()).path().toStdString()))
            found << (each.line ? static_cast<int>(std::get<weights::Pressing>(each.line->fact).fee) : -3);
        std::ranges::sort(found);
        return found;
    }
    QList<int> accepted()
    {
        QList<int> found;
        for (const QByteArray& job : cups->printer.jobs()) found << feeOnPaper(job);
        std::ranges::sort(found);
        return found;
    }

    /// Until the scheduler has printed what it accepted. A job whose counter died before the note was written stays
    /// there without a document until the scheduler's own patience ends; it is listed with 0 bytes.
    void waitForThePrinter()
    {
        static const QRegularExpression withDocument("^\\S+\\s+\\S+\\s+[1-9]");
        QTRY_VERIFY2_WITH_TIMEOUT(cups->openJobs().filter(withDocument).isEmpty(),
                                  qPrintable(cups->openJobs().join('\n')), 60000);
    }

private slots:
    void initTestCase()
    {
        NEEDS_PDF_TOOLS;
        cups = std::make_unique<CupsFixture>();
        if (!cups->start()) QSKIP(qPrintable("no print scheduler to test with: " + cups->whyNot()));
        QVERIFY2(cups->addDefault("slip"), qPrintable(cups->whyNot()));
    }
    void cleanupTestCase() { cups.reset(); }

    void acceptedSlipsAreTheRowsOfTheJournal()
    {
        forgets = false;
        killManyTimes();
        if (QTest::currentTestFailed()) return;

        const QList<int> rows = stored(), slips = accepted();
        const auto recovered = static_cast<int>(contentOf(counter->path("presva.log")).count(" fiş "));
        qInfo("%d kills: %d during the press, %d with an open note; %d notes recovered; %d slips accepted, %d rows "
              "stored, "
              "%d presses acknowledged; a press takes %lld ms; start at most %lld ms, with an open note %lld ms",
              kills(), killedInThePress, killedWithANote, recovered, int(slips.size()), int(rows.size()),
              int(acknowledged.size()), pressMicroseconds / 1000, longestStart, longestRecovery);
        QCOMPARE(rows, slips);
        QCOMPARE(lines(), rows);
        QVERIFY(counter->bookAgrees());
        QVERIFY(counter->hasArrived());
        for (const int fee : acknowledged) QVERIFY2(rows.contains(fee), qPrintable(QString::number(fee)));
        QVERIFY(recovered <= killedWithANote); // no note is settled twice
    }

    void storedSlipsHaveOneLineAlsoWhenThePrinterHasForgottenThem()
    {
        forgets = true;
        killManyTimes();
        if (QTest::currentTestFailed()) return;

        const QList<int> rows = stored(), slips = accepted();
        qInfo("%d kills: %d during the press, %d with an open note, of which the printer forgot %d; %d slips on paper, "
              "%d rows stored",
              kills(), killedInThePress, killedWithANote, forgottenNotes, int(slips.size()), int(rows.size()));
        QCOMPARE(lines(), rows);
        QVERIFY(counter->bookAgrees());
        QVERIFY(counter->hasArrived());
        for (qsizetype i = 0; i < rows.size(); ++i) {
            QVERIFY2(slips.contains(rows[i]), qPrintable(QString::number(rows[i])));
            QVERIFY2(i == 0 || rows[i] != rows[i - 1], qPrintable(QString::number(rows[i])));
        }
        for (const int fee : acknowledged) QVERIFY2(rows.contains(fee), qPrintable(QString::number(fee)));
    }
};

QTEST_GUILESS_MAIN(ExactlyOnce)
#include "exactly_once.moc"
