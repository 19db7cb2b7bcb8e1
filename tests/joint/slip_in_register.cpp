#include "counter/slip_road.h"
#include "tests/doors/fake_clock.h"
#include "tests/doors/fake_printer.h"
#include "tests/joint/shared_mill.h"
#include "tests/support/columns.h"
#include "tests/support/no_screen.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

/// A counter that prints its slips. The printer outlives it, as a real one does.
class SlipCounter : public SharedCounter {
public:
    SlipCounter(const QString& folder, FakePrinter& printer, bool connected)
        : SharedCounter(folder, connected), notes(platform::systemDisk(), SharedMill::file(folder)),
          book_(platform::systemDisk(), folder.toStdString()),
          weights_(book_, counter::Log(folder, clock_.hands()), clock_.hands()),
          road({customers_, journal_, databases_, notes, weights_, printer, nullptr, base::Regional::turkish(), folder,
                clock_.hands()})
    {
    }
    bool print(const QString& customer)
    {
        print::Slip slip;
        slip.pressing = {customer, u"1.000"_s, u"200,5"_s, u"12"_s, u"24"_s, u"0"_s, u"10 Litrelik Kap"_s};
        slip.handedOver = u"176"_s;
        slip.shareInOil = true;
        slip.countContainers = [] { return mill::Litre{10}; };
        return road.printAndBook(slip).stored;
    }

    store::SlipNotes notes;

private:
    FakeClock clock_;
    weights::WeightBook book_;
    counter::WeightRecord weights_;

public:
    counter::SlipRoad road;
};

void copyOver(const QString& from, const QString& to)
{
    QFile::remove(to);
    QVERIFY2(QFile::copy(from, to), qPrintable(from));
}

} // namespace

/// Slips of a counter whose register is shared, when its file is not the one that it was.
class SlipInRegister : public QObject {
    Q_OBJECT

    std::optional<SharedMill> mill;
    FakePrinter printer;
    QString folder; ///< of the counter that prints

    QString yag() const { return folder + u"/Yag.mdb"_s; }
    QString saved(const QString& name) const { return folder + u"/saved-"_s + name; }

    void anotherCounterDeletesAli()
    {
        SharedCounter other(mill->folder(2));
        QVERIFY(other.settled(mill->historyEnd()));
        other.erase(u"Ali"_s);
        QVERIFY(other.until([&] { return other.shared().waiting().empty(); }));
    }

    /// A slip of Ali is printed and its pressing confirmed by the server. Its note as it lay on the disk when the slip
    /// left, and the file as it was before, are saved.
    void printOne()
    {
        copyOver(yag(), saved(u"Yag.mdb"_s));
        SlipCounter counter(folder, printer, true);
        printer.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) copyOver(yag() + u"-slip"_s, saved(u"slip"_s));
        };
        QVERIFY(counter.print(u"Ali"_s));
        printer.before = {};
        QVERIFY(counter.settled(mill->historyEnd()));
        QVERIFY(counter.until([&] { return counter.shared().waiting().empty(); }));
    }
    /// The file is the old one, and the slip's note lies there as if power had gone before it was struck out.
    void putBack(const QString& to) const
    {
        copyOver(saved(u"Yag.mdb"_s), to + u"/Yag.mdb"_s);
        copyOver(saved(u"slip"_s), to + u"/Yag.mdb-slip"_s);
    }
    void compareOne(SharedCounter& counter) const
    {
        QVERIFY(counter.until([&] { return counter.shared().waiting().empty(); }));
        QVERIFY(counter.settled(mill->historyEnd()));
        QCOMPARE(rowsIn(counter.engine(), mill::journalTable).size(), 1);
        QCOMPARE(mill->sql("select count(*) from presva.hareket"), u"1\n"_s);
    }

public:
    /// Text is measured without a screen.
    static void initMain() { leaveTheScreen(); }

private slots:
    void init()
    {
        mill.emplace();
        folder = mill->folder(1);
    }
    void cleanup() { mill.reset(); }

    void oneIsStoredOnceThoughTheFileIsPutBackWithItsNoteOpen_data()
    {
        addCases<bool>("bookedFirst", {{"the slip is asked for first", true}, {"the history comes first", false}});
    }
    void oneIsStoredOnceThoughTheFileIsPutBackWithItsNoteOpen()
    {
        QFETCH(const bool, bookedFirst);
        printOne();
        putBack(folder);
        SlipCounter again(folder, printer, false);
        QCOMPARE(rowsIn(again.engine(), mill::journalTable).size(), 0);
        if (bookedFirst) again.road.recover();
        again.connect();
        if (!bookedFirst) {
            QVERIFY(again.settled(mill->historyEnd()));
            again.road.recover();
        }
        QVERIFY(!again.notes.open());
        compareOne(again);
        SharedCounter other(mill->folder(2));
        compareOne(other);
    }

    void oneIsStoredOnceThoughTheFolderWasCopiedToAnotherCounter()
    {
        printOne();
        const QString second = mill->folder(2);
        putBack(second);
        SlipCounter other(second, printer, false);
        other.road.recover();
        QCOMPARE(rowsIn(other.engine(), mill::journalTable).size(), 1);
        other.connect();
        compareOne(other);
        SharedCounter one(folder);
        compareOne(one);
        QCOMPARE(mill->sql("select giren from presva.hareket"), u"Hat 1\n"_s);
    }

    void oneThatAnotherCounterHasDeletedSinceGoesAgain()
    {
        printOne();
        anotherCounterDeletesAli();
        if (QTest::currentTestFailed()) return;
        putBack(folder);
        SlipCounter again(folder, printer, false);
        again.road.recover();
        QCOMPARE(rowsIn(again.engine(), mill::journalTable).size(), 1);
        again.connect();
        QVERIFY(again.until([&] { return again.shared().waiting().empty(); }));
        QVERIFY(again.settled(mill->historyEnd()));
        for (const QString& table : {mill::journalTable, mill::customerTable})
            QCOMPARE(rowsIn(again.engine(), table), QStringList());
        QCOMPARE(mill->sql("select (select count(*) from presva.cari), count(*) from presva.hareket"), u"0|0\n"_s);
    }

    void oneThatTheHistoryHasLeftBehindWaitsForNothing()
    {
        printOne();
        anotherCounterDeletesAli();
        if (QTest::currentTestFailed()) return;
        putBack(folder);
        SlipCounter again(folder, printer, false);
        again.connect();
        QVERIFY(again.settled(mill->historyEnd()));
        again.road.recover();
        QVERIFY(!again.notes.open());
        QVERIFY(again.until([&] { return again.shared().waiting().empty(); }));
        QVERIFY(again.settled(mill->historyEnd()));
        for (const QString& table : {mill::journalTable, mill::customerTable})
            QCOMPARE(rowsIn(again.engine(), table), QStringList());
        QCOMPARE(mill->sql("select (select count(*) from presva.cari), count(*) from presva.hareket"), u"0|0\n"_s);
    }

    void oneThatIsBookedOnceMoreChangesNothingThatAnotherHasDoneSince_data()
    {
        addCases<bool>("bookedFirst", {{"the slip is asked for first", true}, {"the history comes first", false}});
    }
    void oneThatIsBookedOnceMoreChangesNothingThatAnotherHasDoneSince()
    {
        QFETCH(const bool, bookedFirst);
        printOne();
        SharedCounter other(mill->folder(2));
        QVERIFY(other.settled(mill->historyEnd()));
        other.erase(u"Ali"_s);
        QVERIFY(other.press(u"Ali"_s, 100, u"15"_s));
        QVERIFY(other.until([&] { return other.shared().waiting().empty(); }));
        QVERIFY(other.settled(mill->historyEnd()));
        putBack(folder);
        SlipCounter again(folder, printer, false);
        if (bookedFirst) again.road.recover();
        again.connect();
        QVERIFY(again.settled(mill->historyEnd()));
        if (!bookedFirst) {
            again.road.recover();
            QVERIFY(again.until([&] { return again.shared().waiting().empty(); }));
            QVERIFY(again.settled(mill->historyEnd()));
        }
        QVERIFY(other.settled(mill->historyEnd()));
        for (const QString& table : {mill::journalTable, mill::customerTable})
            QCOMPARE(rowsIn(again.engine(), table), rowsIn(other.engine(), table));
        QCOMPARE(mill->sql("select yuzde from presva.cari"), u"15\n"_s);
    }

    void twoSlipsAreTwoThoughEverythingOfThemIsEqual()
    {
        SlipCounter counter(folder, printer, true);
        QVERIFY(counter.print(u"Ali"_s));
        QVERIFY(counter.print(u"Ali"_s));
        QVERIFY(counter.until([&] { return counter.shared().waiting().empty(); }));
        QCOMPARE(mill->sql("select count(*), count(distinct tarih) from presva.hareket"), u"2|1\n"_s);
    }

    void aNoteOfLongAgoIsBookedUnderAnIdentityOfItsOwn()
    {
        SlipCounter counter(folder, printer, true);
        const print::Document document{"%PDF-1.4", u"Fiş"_s, {}, print::Paper::slipRoll80()};
        const int job = printer.createJob(document);
        printer.sendAndFinish(job, document);
        counter.notes.write({job, 46000.5, {u"Ali"_s, u"1"_s, u"1"_s, u"12"_s, u"1"_s, u"0"_s, {}}, 0});
        counter.road.recover();
        compareOne(counter);
        QVERIFY(mill->sql("select kimlik is not null from presva.gecmis where tablo = 'hareket'") == u"t\n"_s);
    }
};

QTEST_MAIN(SlipInRegister)
#include "slip_in_register.moc"
