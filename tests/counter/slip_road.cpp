#include "counter/slip_road.h"
#include "counter/booking.h"
#include "mill/names.h"
#include "mill/queries.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "tests/doors/fake_clock.h"
#include "tests/doors/fake_printer.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/joint/tried_databases.h"
#include "tests/support/columns.h"
#include "tests/support/no_screen.h"
#include "tests/support/outcome.h"
#include "tests/support/qt_files.h"
#include "weights/verification.h"

#include <QTemporaryDir>
#include <QtTest>
#include <functional>
#include <optional>

using base::Regional;
using ::mill::Cari, ::mill::Hareket;

namespace {

mill::Pressing pressingOf(const QString& customer)
{
    return {customer, "1.000", "850", "12", "102", "0", "10 Litrelik Kap"};
}

constexpr jet::DateTime made{45981};

void makeOwn(const std::string& path) { mill::createDatabase(platform::systemDisk(), path, jet::turkish, made); }

/// Two tables as somebody else may have made them.
struct Foreign {
    struct Plan {
        std::vector<jet::NewColumn> columns;
        std::vector<jet::NewIndex> indexes;

        void addRequiredField()
        {
            columns.push_back({u"Adres", jet::ColumnType::text, 50});
            indexes.push_back({.name = u"Adres", .columns = {{u"Adres", true}}, .required = true});
        }
    };
    using Change = std::function<void(Foreign&)>;

    explicit Foreign(const Change& change)
    {
        for (const std::u16string_view name : Cari::fields)
            customers.columns.push_back({std::u16string(name), jet::ColumnType::text, 50});
        for (const std::u16string_view name : Hareket::fields)
            journal.columns.push_back({std::u16string(name), jet::ColumnType::doubleFloat});
        journal.columns[Hareket::Tarih].type = jet::ColumnType::dateTime;
        journal.columns[Hareket::CariHar].type = jet::ColumnType::text;
        journal.columns[Hareket::CariHar].size = 50;
        change(*this);
    }
    void make(const std::string& path) const
    {
        jet::Database::create(platform::systemDisk(), path, jet::turkish, made);
        const auto database = jet::Database::open(platform::systemDisk(), path);
        database->createTable(std::u16string(Cari::table), customers.columns, customers.indexes, made);
        database->createTable(std::u16string(Hareket::table), journal.columns, journal.indexes, made);
    }

    Plan customers, journal;
};

/// A mill without a screen: its database in a folder, a printer that can fail.
struct Mill {
    explicit Mill(const std::function<void(const std::string& path)>& makeDatabase = makeOwn)
    {
        makeDatabase(database().toStdString());
        engine = databases.open(database());
        for (auto* source : {&customers, &journal}) source->setDatabaseName(database());
        customers.setRecordSource("Cari");
        journal.setRecordSource("Hareket");
        customers.refresh();
        journal.refresh();
    }

    QString database() const { return folder.filePath("Yag.mdb"); }
    QList<int> stored() { return {rows("Cari"), rows("Hareket")}; } ///< customers and pressings
    int rows(const QString& table) { return int(engine->open(table).rows.size()); }
    QStringList wholeLog() const
    {
        QFile file(folder.filePath("presva.log"));
        if (!file.open(QIODevice::ReadOnly)) return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }
    /// Without what it hears of the book's end.
    QStringList log() const
    {
        QStringList lines = wholeLog();
        lines.removeIf([](const QString& line) { return line.contains("tartım defterinin sonu:"); });
        return lines;
    }
    QList<std::uint64_t> linesInTheLog() const
    {
        QList<std::uint64_t> numbers;
        for (const auto& head :
             weights::loggedHeads(platform::systemDisk(), weights::logIn(folder.path().toStdString())))
            numbers << head.number;
        return numbers;
    }
    print::Slip slip(const QString& customer)
    {
        print::Slip slip;
        slip.pressing = pressingOf(customer);
        slip.handedOver = "748";
        slip.shareInOil = true;
        slip.countContainers = [] { return mill::Litre{10}; };
        return slip;
    }
    /// The note of a slip that a stop caught on its way.
    store::SlipNote note(int job) const { return {job, 45981.5, pressingOf("Işıl O'Hara"), 0}; }
    /// The book of weights as it stands, and whether journal and log agree with it.
    std::vector<weights::PlacedLine> lines()
    {
        return weights::allLines(platform::systemDisk(), folder.path().toStdString());
    }
    bool bookAgrees()
    {
        const auto file =
            jet::Database::open(platform::systemDisk(), database().toStdString(), jet::Pager::Mode::readOnly);
        return weights::verify(
                   lines(), weights::loggedHeads(platform::systemDisk(), weights::logIn(folder.path().toStdString())),
                   file->table(u"Hareket"))
            .faults.empty();
    }
    int job(bool sent)
    {
        const print::Document document{"%PDF-1.4", "Fiş", {}, print::Paper::slipRoll80()};
        const int number = printer.createJob(document);
        if (sent) printer.sendAndFinish(number, document);
        return number;
    }

    QTemporaryDir folder;
    FakeClock clock;
    TriedDatabases databases{platform::systemDisk()};
    store::DataSource customers{databases}, journal{databases};
    store::SlipNotes notes{platform::systemDisk(), database().toStdString()};
    FakePrinter printer;
    store::Backups backups{platform::systemDisk(), folder.path().toStdU16String()};
    weights::WeightBook book{platform::systemDisk(), folder.path().toStdString()};
    counter::WeightRecord weights{book, counter::Log(folder.path(), clock.hands()), clock.hands()};
    counter::SlipRoad road{{customers, journal, databases, notes, weights, printer, &backups, Regional::turkish(),
                            folder.path(), clock.hands(), [this](const QString& told) { setAside << told; }}};
    QStringList setAside; ///< what was told of notes set aside
    /// Whether journal and log agree with the book behind the test; nothing where that cannot be read.
    std::optional<bool> bookEndsSound = true;
    std::shared_ptr<store::Engine> engine;
};

} // namespace

/// The road of a slip: printed, noted, booked, and what becomes of one that a stop caught on its way.
class TestSlipRoad : public QObject {
    Q_OBJECT

    std::optional<Mill> mill;

public:
    /// Text is measured without a screen.
    static void initMain() { leaveTheScreen(); }

private slots:
    void init() { mill.emplace(); }
    void cleanup()
    {
        if (mill->bookEndsSound) QCOMPARE(mill->bookAgrees(), *mill->bookEndsSound);
        mill.reset();
    }

    void aSlipThatThePrinterHasIsBookedWithItsTerms()
    {
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->printer.sent, QList<int>{1});
        const store::Listing journal = mill->engine->open("Hareket");
        QCOMPARE(journal.rows.size(), std::size_t(1));
        QCOMPARE(mill->engine->field(journal, journal.rows[0], 0).moment(), mill->clock.now);
        QCOMPARE(mill->engine->field(journal, journal.rows[0], 2).number().value(), 850.0);
        const store::Listing customers = mill->engine->open("Cari");
        QCOMPARE(customers.rows.size(), std::size_t(1));
        QCOMPARE(mill->engine->field(customers, customers.rows[0], 2).text(), "10 Litrelik Kap");
        QVERIFY(!mill->notes.open());
        QCOMPARE(mill->log(), QStringList());
    }

    void aJobIsFoundAgainByItsMark()
    {
        mill->printer.marks = true;
        std::optional<store::SlipNote> onItsWay;
        mill->printer.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) onItsWay = mill->notes.open();
        };
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QVERIFY(onItsWay && onItsWay->jobMark == u"Kasa\nFiş 1"_s);

        mill->printer.recalled.clear();
        store::SlipNote stopped = mill->note(mill->job(true));
        stopped.jobMark = mill->printer.markOf(stopped.job);
        mill->notes.write(stopped);
        mill->road.recover();
        QCOMPARE(mill->printer.recalled, QStringList{u"2 Kasa\nFiş 2"_s});
        QCOMPARE(mill->rows("Hareket"), 2);
    }

    void aPrinterIsDoneWithAJobWhenItsNoteIsGone()
    {
        mill->notes.write(mill->note(4711)); // set aside: the operator may want to see it in the printer's list
        mill->road.recover();
        QCOMPARE(mill->printer.settled, QList<int>());

        mill->printer.before = [&](FakePrinter::Step) { QCOMPARE(mill->printer.settled, QList<int>()); };
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->printer.settled, QList<int>{1});
        mill->printer.before = {};

        mill->notes.write(mill->note(mill->job(true)));
        mill->road.recover();
        QCOMPARE(mill->printer.settled, (QList<int>{1, 2}));
    }

    void aSlipWhoseAnswerGotLostIsBookedOnceThePrinterSaysSo()
    {
        mill->printer.answersGetLost = true;
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->printer.cancelled, QList<int>());
        QVERIFY(!mill->notes.open());
        QCOMPARE(mill->rows("Hareket"), 1);
    }

    void aSlipOfWhichNothingIsKnownWaitsWithItsNote_data()
    {
        addCases<bool>("arrived", {{"it had arrived", true}, {"it had not", false}});
    }
    void aSlipOfWhichNothingIsKnownWaitsWithItsNote()
    {
        QFETCH(const bool, arrived);
        (arrived ? mill->printer.answersGetLost : mill->printer.silent) = true;
        if (!arrived) mill->printer.failAt = FakePrinter::Step::send;
        mill->printer.silent = true;
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(!outcome.printed);
        QVERIFY2(outcome.notice.endsWith(
                     "basıldı mı, yazıcıya sorulamıyor; yazıcıyı açın. Notu duruyor, yeniden sorulacak."),
                 qPrintable(outcome.notice));
        QCOMPARE(mill->rows("Hareket"), 0);
        QCOMPARE(mill->printer.cancelled, QList<int>());
        QVERIFY(mill->notes.open());
        QVERIFY(!mill->road.printAndBook(mill->slip("Veli")).printed);

        mill->printer.silent = mill->printer.answersGetLost = false;
        mill->printer.failAt.reset();
        mill->road.recover();
        QVERIFY(!mill->notes.open());
        QCOMPARE(mill->rows("Hareket"), arrived ? 1 : 0);
        QCOMPARE(mill->printer.cancelled, arrived ? QList<int>() : QList<int>{1});
    }

    void aPressingInTheJournalCountsWhateverThePrinterSays_data()
    {
        addColumns<bool, bool>("known", "silent");
        QTest::newRow("it has forgotten the job") << false << false;
        QTest::newRow("it has not taken it") << true << false;
        QTest::newRow("it is silent") << true << true;
    }
    void aPressingInTheJournalCountsWhateverThePrinterSays()
    {
        QFETCH(const bool, known);
        QFETCH(const bool, silent);
        const store::SlipNote note = mill->note(known ? mill->job(false) : 4711);
        mill->printer.silent = silent;
        mill->notes.write(note);
        counter::book(mill->customers, mill->journal, note, Regional::turkish());
        mill->road.recover();
        QCOMPARE(mill->printer.cancelled, QList<int>());
        QCOMPARE(mill->setAside, QStringList());
        QVERIFY(!mill->notes.open());
        QCOMPARE(mill->rows("Hareket"), 1);
        QVERIFY(mill->log().first().endsWith("basılmış ve kaydedilmiş"));
    }

    void aPressingOfWhoseSlipThePrinterKnowsNothingIsSetAsideAndTold()
    {
        mill->notes.write(mill->note(4711));
        mill->road.recover();
        QVERIFY(!mill->notes.open());
        QCOMPARE(mill->rows("Hareket"), 0);
        QCOMPARE(mill->printer.cancelled, QList<int>{4711}); // should it wait somewhere after all
        const QString told = "Yag.mdb-slip-1: fiş 4711 (Işıl O'Hara, 1.000 kg) basıldı mı bilinmiyor, yazıcı onu "
                             "tanımıyor; fiş çıkmış, sıkım raporda yoksa elle girin";
        QCOMPARE(mill->setAside, QStringList{told});
        QVERIFY2(mill->log().size() == 1 && mill->log()[0].endsWith(told), qPrintable(mill->log().join(u'|')));
        QVERIFY(QFile::exists(mill->database() + "-slip-1"));

        // It blocks nothing, and whatever is said of the next slip, this stays told.
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->rows("Hareket"), 1);
        QCOMPARE(mill->setAside, QStringList{told});
    }

    void aSlipWhosePrinterFailsAndForgetsIsSetAsideAtOnce()
    {
        mill->printer.failAt = FakePrinter::Step::send;
        mill->printer.forgetful = true;
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(!outcome.printed && !outcome.stored);
        QCOMPARE(mill->setAside.size(), 1);
        QVERIFY2(mill->setAside[0].startsWith("Yag.mdb-slip-1: fiş 1 (Ali, 1.000 kg) basıldı mı bilinmiyor"),
                 qPrintable(mill->setAside[0]));
        QCOMPARE(mill->printer.cancelled, QList<int>{1}); // should it wait somewhere after all
        QVERIFY(!mill->notes.open());
        QCOMPARE(mill->rows("Hareket"), 0);
        mill->printer.failAt.reset();
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
    }

    void whatIsSaidOfTheNextSlipTakesNothingFromWhatWasSetAside()
    {
        mill->notes.write(mill->note(4711));
        mill->printer.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) QDir().mkpath(mill->folder.filePath("Tartim.jsonl"));
        };
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(outcome.stored);
        QVERIFY(outcome.notice.contains("tartım defterine yazılamadı"));
        QCOMPARE(mill->setAside.size(), 1);
        mill->bookEndsSound.reset();
    }

    void aStartTellsOfEveryNoteThatLiesSetAside()
    {
        mill->road.tellFilesSetAside();
        QCOMPARE(mill->setAside, QStringList());
        for (const int job : {4711, 4712}) {
            mill->notes.write(mill->note(job));
            mill->road.recover();
        }
        mill->notes.write(mill->note(mill->job(true))); // an open one is none
        mill->setAside.clear();
        mill->road.tellFilesSetAside();
        QCOMPARE(mill->setAside, QStringList{"Yag.mdb-slip-1, Yag.mdb-slip-2: kaydedilmemiş fişlerin notları; sıkımı "
                                             "elle girdikten sonra dosyayı kaldırın"});
    }

    void nothingIsDeletedWhileAPrintedSlipWaitsForThePrintersAnswer()
    {
        mill->notes.write(mill->note(mill->job(true)));
        mill->printer.silent = true;
        const std::optional<QString> why = mill->road.settle();
        QVERIFY2(why && why->startsWith("önceki fişin kaydı bekliyor. fiş 1 (Işıl O'Hara, 1.000 kg)"),
                 qPrintable(why.value_or(QString())));
        QVERIFY(mill->notes.open());
        mill->printer.silent = false;
        QVERIFY(!mill->road.settle());
        QCOMPARE(mill->rows("Hareket"), 1);
        QVERIFY(!mill->notes.open());
    }

    void aNoteSetAsideBeforeADeletionIsTold()
    {
        putFile(mill->database() + "-slip", "half");
        QVERIFY(mill->notes.unreadable());
        QVERIFY(!mill->road.settle());
        QVERIFY(mill->setAside.value(0).contains("okunamıyor"));
    }

    void aStoredPressingHasItsLineInTheBookOfWeights()
    {
        const mill::Provenance from{
            2, {mill::WeightSource::scale, "  1000kg\r", 45981.5}, {mill::WeightSource::typed, {}, 0}};
        QVERIFY(mill->road.printAndBook(mill->slip("Işıl O'Hara"), from).stored);
        const auto lines = mill->lines();
        QCOMPARE(lines.size(), std::size_t(1));
        const auto line = std::get<weights::Pressing>(lines[0].line.value().fact);
        QCOMPARE(weights::isoMoment(line.moment), "2025-11-20T14:05:00");
        QCOMPARE(line.station, 2);
        QCOMPARE(line.customer, "Işıl O'Hara");
        QCOMPARE(line.olives, 1000.0);
        QVERIFY(line.olivesFrom == from.olives);
        QCOMPARE(line.oil, 850.0);
        QVERIFY(line.oilFrom == from.oil);
        QCOMPARE(line.percentage, 12.0);
        QCOMPARE(line.entitlement, 102.0);
        QCOMPARE(line.job, 1);
        QCOMPARE(line.before.value(), std::uint64_t(0));
    }

    void theBookCountsWhatWasPressedBeforeIt()
    {
        for (const char* customer : {"Ali", "Veli", "Toplamlar"})
            counter::book(mill->customers, mill->journal, {0, 45000.5, pressingOf(customer), 0}, Regional::turkish());
        for (int slip = 0; slip < 2; ++slip) QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        const auto lines = mill->lines();
        QCOMPARE(std::get<weights::Pressing>(lines[0].line.value().fact).before.value(), std::uint64_t(2));
        QVERIFY(!std::get<weights::Pressing>(lines[1].line.value().fact).before);
    }

    void aBookThatCannotBeWrittenStopsTheSlip()
    {
        const QString book = mill->folder.filePath("Tartim.jsonl");
        QVERIFY(QDir().mkpath(book));
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(!outcome.printed);
        QVERIFY2(outcome.notice.startsWith("Fiş basılmadı: "), qPrintable(outcome.notice));
        QCOMPARE(mill->rows("Hareket"), 0);
        QVERIFY(!mill->notes.open());
        QVERIFY(QDir().rmdir(book));
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
    }

    void aLineThatCannotBeWrittenKeepsTheNoteAndTheNextSlipWaits()
    {
        const QString book = mill->folder.filePath("Tartim.jsonl");
        // In the middle of the slip: the note is on the disk, the paper is out.
        mill->printer.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) QDir().mkpath(book);
        };
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(outcome.stored);
        QVERIFY2(outcome.notice.contains("tartım defterine yazılamadı; notu duruyor"), qPrintable(outcome.notice));
        QVERIFY(mill->notes.open());
        mill->printer.before = nullptr;
        QVERIFY(!mill->road.printAndBook(mill->slip("Veli")).printed);
        QVERIFY(mill->road.settle());
        QCOMPARE(mill->rows("Hareket"), 1);

        QVERIFY(QDir().rmdir(book));
        QVERIFY(mill->road.printAndBook(mill->slip("Veli")).stored);
        QCOMPARE(mill->lines().size(), std::size_t(2));
    }

    void aDeletionIsWrittenIntoTheBookBeforehand()
    {
        mill->road.announceDeletion(u"Ali"_s);
        QCOMPARE(mill->lines().size(), std::size_t(0)); // of a book without pressings
        for (const char* customer : {"Ali", "Veli", "Ali"})
            QVERIFY(mill->road.printAndBook(mill->slip(customer)).stored);
        QVERIFY(mill->bookAgrees());
        mill->road.announceDeletion(u"Ali"_s);
        QVERIFY(mill->bookAgrees());
        mill->engine->execute(mill::deletePressingsOf(u"Ali"_s));
        QVERIFY(mill->bookAgrees());
        if (TriedDatabases::overRegister()) return; // nobody empties a shared register
        mill->engine->execute("DELETE FROM Hareket");
        QVERIFY(!mill->bookAgrees());
        mill->road.announceDeletion({}); // announced too late
        mill->bookEndsSound = false;
        QCOMPARE(mill->lines().size(), std::size_t(5));
        QCOMPARE(mill->linesInTheLog(), (QList<std::uint64_t>{1, 4, 5}));
    }

    void aPrintedSlipIsBookedBeforeItsCustomerIsDeleted()
    {
        mill->notes.write(mill->note(mill->job(true)));
        QVERIFY(!mill->road.settle());
        mill->road.announceDeletion(u"Işıl O'Hara"_s);
        QVERIFY(!mill->notes.open());
        QCOMPARE(mill->rows("Hareket"), 1);
        QCOMPARE(mill->lines().size(), std::size_t(2));
    }

    void aDeletionThatTheLogCannotHearOfIsStopped()
    {
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QVERIFY(QFile::remove(mill->folder.filePath("presva.log")) &&
                QDir().mkpath(mill->folder.filePath("presva.log")));
        mill->bookEndsSound.reset();
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, mill->road.announceDeletion({}));
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored); // a slip does not wait for it

        Mill next;
        QVERIFY(QDir().mkpath(next.folder.filePath("presva.log")));
        QVERIFY(next.road.printAndBook(next.slip("Ali")).stored);
    }

    void theLogSeesTheEndOfTheBookOnEveryDay()
    {
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        const std::string evening = mill->book.head().seal;
        QCOMPARE(mill->linesInTheLog(), QList<std::uint64_t>{1}); // the first at once
        mill->clock.pass(86400);
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->wholeLog().last(),
                 "2025-11-21T14:05:00 tartım defterinin sonu: satır 2, özet " + QString::fromStdString(evening));
        mill->weights.tellEnd();
        mill->weights.tellEnd(); // and nothing new
        QCOMPARE(mill->linesInTheLog(), (QList<std::uint64_t>{1, 2, 3}));
        for (int slip = 0; slip < 8; ++slip) QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->linesInTheLog(), (QList<std::uint64_t>{1, 2, 3, 10}));
    }

    void aBookThatWasExchangedIsToldAndWhatItWasIsLogged_data()
    {
        addCases<bool>("betweenTheSlips", {{"while the program runs", true}, {"in the middle of a slip", false}});
    }
    void aBookThatWasExchangedIsToldAndWhatItWasIsLogged()
    {
        QFETCH(const bool, betweenTheSlips);
        const std::filesystem::path book = mill->folder.filePath("Tartim.jsonl").toStdString();
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        std::filesystem::copy_file(book, mill->folder.filePath("eski").toStdString());
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        const auto exchange = [&] {
            std::filesystem::remove(book); // a copy over a file is refused by the compiler's library for Windows
            std::filesystem::copy_file(mill->folder.filePath("eski").toStdString(), book);
        };
        if (betweenTheSlips)
            exchange();
        else
            mill->printer.before = [&](FakePrinter::Step step) {
                if (step == FakePrinter::Step::send) exchange();
            };
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(outcome.stored);
        QVERIFY2(outcome.notice.contains("Tartım defteri programın bıraktığı gibi değil"), qPrintable(outcome.notice));
        QCOMPARE(mill->lines().size(), std::size_t(2));
        QCOMPARE(mill->linesInTheLog(), (QList<std::uint64_t>{1, 2})); // of the one that it left
        QVERIFY(!mill->bookAgrees());
        mill->bookEndsSound = false;
        mill->printer.before = nullptr;
        QCOMPARE(mill->road.printAndBook(mill->slip("Ali")).notice, QString()); // once
    }

    void aBookThatWasExchangedBeforeTheStartIsTold()
    {
        for (int slip = 0; slip < 3; ++slip) QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        mill->weights.tellEnd();
        QVERIFY(QFile::remove(mill->folder.filePath("Tartim.jsonl")));
        counter::WeightRecord next(mill->book, counter::Log(mill->folder.path(), mill->clock.hands()),
                                   mill->clock.hands());
        next.tellEndOfTheDay();
        QVERIFY(next.takeNotice().contains("Tartım defteri"));
        mill->bookEndsSound = false;
    }

    void theFirstSlipOfADayBeginsItsCopy()
    {
        mill->printer.failAt = FakePrinter::Step::send;
        QVERIFY(!mill->road.printAndBook(mill->slip("Ali")).stored);
        mill->backups.wait();
        const QString copy = mill->folder.filePath("Yedek/Yag-2025-11-20.mdb");
        QVERIFY(!QFile::exists(copy));
        mill->printer.failAt.reset();
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        mill->backups.wait();
        QVERIFY(QFile::exists(copy));
    }

    void theNoteIsOnTheDiskBeforeAPageLeaves()
    {
        std::optional<store::SlipNote> atCreate, atSend;
        mill->printer.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::create) atCreate = mill->notes.open();
            if (step == FakePrinter::Step::send) atSend = mill->notes.open();
            QCOMPARE(mill->rows("Hareket"), 0);
        };
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QVERIFY(!atCreate);
        QVERIFY(atSend && atSend->job == 1 && atSend->pressing == pressingOf("Ali"));
    }

    void whatIsNotPrintedIsNotBooked_data()
    {
        // of the printer; -1: the slip itself fails
        addCases<int>("step", {{"no printer", int(FakePrinter::Step::paper)},
                               {"job refused", int(FakePrinter::Step::create)},
                               {"pages refused", int(FakePrinter::Step::send)},
                               {"weight that is no number", -1}});
    }
    void whatIsNotPrintedIsNotBooked()
    {
        QFETCH(int, step);
        print::Slip slip = mill->slip("Ali");
        if (step < 0)
            slip.pressing.olives = "1234KG";
        else
            mill->printer.failAt = FakePrinter::Step(step);
        const counter::SlipOutcome outcome = mill->road.printAndBook(slip);
        QVERIFY(!outcome.printed);
        QVERIFY2(outcome.notice.startsWith(step < 0 ? "Fiş basılmadı: sayı olması gereken bir alanda sayı yok"
                                                    : "Fiş basılmadı: yazıcı işi almadı."),
                 qPrintable(outcome.notice));
        QCOMPARE(mill->stored(), (QList<int>{0, 0}));
        QVERIFY(!mill->notes.open());
        mill->printer.failAt.reset();
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->rows("Hareket"), 1);
    }

    void aNoteThatCannotBeTakenAwayIsTold()
    {
        const QString note = mill->database() + "-slip";
        mill->printer.failAt = FakePrinter::Step::send;
        mill->printer.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) QVERIFY(QFile::remove(note) && QDir().mkpath(note + "/in the way"));
        };
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(!outcome.printed && !outcome.stored);
        QVERIFY2(outcome.notice.startsWith("Fiş basılmadı, notu kaldırılamadı: "), qPrintable(outcome.notice));
        QCOMPARE(mill->log().size(), 1);
        QCOMPARE(mill->rows("Hareket"), 0);
    }

    void aNoteThatCannotBeSetAsideDoesNotCallTheSlipUnprinted()
    {
        const QString note = mill->database() + "-slip";
        mill->printer.failAt = FakePrinter::Step::send;
        mill->printer.forgetful = true;
        mill->printer.before = [&](FakePrinter::Step step) {
            if (step == FakePrinter::Step::send) QVERIFY(QFile::remove(note));
        };
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(!outcome.printed && !outcome.stored);
        QVERIFY2(outcome.notice.contains("basıldı mı bilinmiyor, notu kenara konamadı: "), qPrintable(outcome.notice));
        QCOMPARE(mill->log().size(), 1);
    }

    void whatNoTableTakesIsNotPrinted_data()
    {
        // notice: begins like this
        addColumns<QString, QString, QString>("customer", "percentage", "notice");
        const QString prefix = "Fiş basılmadı: ";
        QTest::newRow("name too long") << QString(101, 'A') << "12"
                                       << prefix + "Cari tablosunun Unvan alanı en çok 100 harf alır";
        QTest::newRow("no number") << u"Ali"_s << u"1e"_s
                                   << prefix + "Cari tablosunun Yuzde alanı “1e” değerini almıyor.";
        QTest::newRow("totals row") << u"Toplamlar"_s << u"12"_s
                                    << prefix + "“Toplamlar” raporun toplam satırının adıdır";
        QTest::newRow("prompt") << u"Müşteri Seçin"_s << u"12"_s << prefix + "Müşteri seçilmedi.";
        QTest::newRow("nobody") << QString() << u"12"_s << prefix + "Müşterinin adı boş.";
        QTest::newRow("blanks") << u"  "_s << u"12"_s << prefix + "Müşterinin adı boş.";
    }
    void whatNoTableTakesIsNotPrinted()
    {
        QFETCH(QString, customer);
        QFETCH(QString, percentage);
        print::Slip slip = mill->slip(customer);
        slip.pressing.percentage = percentage;
        slip.shareInOil = false; // cash prints no percentage
        const counter::SlipOutcome outcome = mill->road.printAndBook(slip);
        QVERIFY(!outcome.printed && !outcome.stored);
        QFETCH(QString, notice);
        QVERIFY2(outcome.notice.startsWith(notice), qPrintable(outcome.notice));
        QCOMPARE(mill->printer.sent, QList<int>{});
        QCOMPARE(mill->printer.waiting.size(), std::size_t(0));
        QCOMPARE(mill->stored(), (QList<int>{0, 0}));
        QVERIFY(!mill->notes.open());
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
    }

    void aForeignTableSaysWhichFieldKeepsTheSlipBackAndWhy_data()
    {
        addColumns<Foreign::Change, QString>("change", "reason");
        const auto row = [](const char* name, const Foreign::Change& change, const char* reason) {
            QTest::newRow(name) << change << QString::fromUtf8(reason);
        };
        row(
            "short container field", [](Foreign& tables) { tables.customers.columns[Cari::Kap].size = 8; },
            "Cari tablosunun Kap alanı en çok 8 harf alır, “10 Litrelik Kap” 15 harf.");
        row(
            "short name in the journal", [](Foreign& tables) { tables.journal.columns[Hareket::CariHar].size = 3; },
            "Hareket tablosunun CariHar alanı en çok 3 harf alır, “Işıl” 4 harf.");
        row(
            "customers without their last column", [](Foreign& tables) { tables.customers.columns.pop_back(); },
            "Cari tablosunun 4. alanı yok.");
        row(
            "journal without its last column", [](Foreign& tables) { tables.journal.columns.pop_back(); },
            "Hareket tablosunun 7. alanı yok.");
        row(
            "column of another type",
            [](Foreign& tables) { tables.journal.columns[Hareket::Nakit].type = jet::ColumnType::guid; },
            "Hareket tablosunun Nakit alanı “0” değerini almıyor.");
        row(
            "customer's field that must be filled", [](Foreign& tables) { tables.customers.addRequiredField(); },
            "Adres");
        row(
            "pressing's field that must be filled", [](Foreign& tables) { tables.journal.addRequiredField(); },
            "Adres");
    }
    void aForeignTableSaysWhichFieldKeepsTheSlipBackAndWhy()
    {
        QFETCH(Foreign::Change, change);
        QFETCH(QString, reason);
        const Foreign foreign(change);
        mill.emplace([&](const std::string& path) { foreign.make(path); });
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Işıl"));
        QVERIFY(!outcome.printed && !outcome.stored);
        QVERIFY2(outcome.notice.startsWith("Fiş basılmadı: "), qPrintable(outcome.notice));
        QVERIFY2(outcome.notice.contains(reason), qPrintable(outcome.notice));
        QCOMPARE(mill->printer.sent, QList<int>{});
        QCOMPARE(mill->printer.waiting.size(), std::size_t(0));
        QCOMPARE(mill->stored(), (QList<int>{0, 0}));
        QVERIFY(!mill->notes.open() && !mill->notes.unreadable());
    }

    void aFieldThatWouldRoundStopsTheSlip()
    {
        const Foreign foreign([](Foreign& tables) {
            for (jet::NewColumn* column :
                 {&tables.customers.columns[Cari::Yuzde], &tables.journal.columns[Hareket::Yuzde]})
                column->type = jet::ColumnType::longInteger;
        });
        mill.emplace([&](const std::string& path) { foreign.make(path); });
        print::Slip slip = mill->slip("Ali");
        slip.pressing.percentage = "12,5";
        const counter::SlipOutcome outcome = mill->road.printAndBook(slip);
        QVERIFY(!outcome.printed);
        QCOMPARE(outcome.notice, "Fiş basılmadı: Cari tablosunun Yuzde alanı tam sayı alır, “12,5” değil.");
        QCOMPARE(mill->rows("Hareket"), 0);
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
    }

    void emptyDisplaysAreStoredAsZero()
    {
        print::Slip slip = mill->slip("Ali");
        slip.pressing = {"Ali", "1.000", "", "", "", "", "10 Litrelik Kap"};
        QVERIFY(mill->road.printAndBook(slip).stored);
        const store::Listing journal = mill->engine->open("Hareket");
        for (const int field : {Hareket::Yağ, Hareket::Yuzde, Hareket::HakTut, Hareket::Nakit})
            QCOMPARE(mill->engine->field(journal, journal.rows[0], field).number().value_or(-1), 0.0);
        const store::Listing customers = mill->engine->open("Cari");
        for (const int field : {Cari::Yuzde, Cari::Nakit})
            QCOMPARE(mill->engine->field(customers, customers.rows[0], field).number().value_or(-1), 0.0);
    }

    void oneRowHoldsTheTermsOfEachName()
    {
        for (const char* name : {"Ali", "Veli", "Ali", "Işıl O'Hara", "Veli", "Işıl O'Hara"})
            QVERIFY(mill->road.printAndBook(mill->slip(name)).stored);
        QCOMPARE(mill->stored(), (QList<int>{3, 6}));
        mill->notes.write({mill->job(true), 45982.5, pressingOf("Veli"), 0});
        mill->road.recover();
        QCOMPARE(mill->stored(), (QList<int>{3, 7}));
    }

    void aPrintedPressingThatNoTableTakesIsKeptAndBlocksNothing()
    {
        for (const char* customer : {"Toplamlar", "Toplamlar"}) {
            mill->notes.write({mill->job(true), 45981.5, pressingOf(customer), 0});
            mill->road.recover();
        }
        QVERIFY(!mill->notes.open());
        QVERIFY(QFile::exists(mill->database() + "-slip-1"));
        QVERIFY(QFile::exists(mill->database() + "-slip-2"));
        QCOMPARE(mill->rows("Hareket"), 0);
        QCOMPARE(mill->log().size(), 2);
        QVERIFY2(mill->log()[1].contains("Yag.mdb-slip-2: fiş 2 (Toplamlar, 1.000 kg) basılmış, kaydedilemiyor"),
                 qPrintable(mill->log()[1]));

        // The next slip finds such a note too: it goes out all the same, and says so.
        mill->notes.write({mill->job(true), 45981.5, pressingOf("Toplamlar"), 0});
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Ali"));
        QVERIFY(outcome.stored);
        QCOMPARE(outcome.notice, QString());
        QVERIFY2(mill->setAside.last().startsWith("Yag.mdb-slip-3: "), qPrintable(mill->setAside.last()));
        QCOMPARE(mill->setAside.size(), 3);
    }

    void aPressingWithAFieldThatIsNoNumberIsBookedWithoutIt()
    {
        store::SlipNote slip = mill->note(mill->job(true));
        slip.pressing.percentage = "1e";
        mill->notes.write(slip);
        mill->bookEndsSound.reset();
        mill->road.recover();
        QCOMPARE(mill->rows("Hareket"), 1);
        QVERIFY(mill->log()[0].endsWith("basılmış, kaydı şimdi yapıldı"));
    }

    void aNoteStaysWhileThePrinterCannotBeAsked()
    {
        mill->notes.write(mill->note(mill->job(true)));
        mill->printer.silent = true;
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, mill->road.recover());
        const counter::SlipOutcome outcome = mill->road.printAndBook(mill->slip("Veli"));
        QVERIFY(!outcome.printed);
        QVERIFY2(outcome.notice.contains("yazıcıya sorulamıyor"), qPrintable(outcome.notice));
        QVERIFY(mill->notes.open());
        QCOMPARE(mill->log(), QStringList());
        QCOMPARE(mill->rows("Hareket"), 0);
        // Where printers have names, the one that is meant need not be the default any more.
        mill->printer.marks = true;
        QVERIFY(mill->road.printAndBook(mill->slip("Veli")).notice.contains("“Kasa” yazıcısına sorulamıyor"));

        mill->printer.silent = false;
        QVERIFY(mill->road.printAndBook(mill->slip("Veli")).stored);
        QCOMPARE(mill->rows("Hareket"), 2);
        QVERIFY(!mill->notes.open());
    }

    void aNoteLeftOverIsTakenUpBeforeTheNextSlip()
    {
        mill->notes.write(mill->note(mill->job(true)));
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->stored(), (QList<int>{2, 2}));
        QCOMPARE(mill->log().size(), 1);
    }

    void aNoteComesBackLetterForLetter()
    {
        mill->notes.write(mill->note(7));
        QVERIFY(mill->notes.open() == mill->note(7));
        store::SlipNote whole = mill->note(7);
        whole.from = {2,
                      {mill::WeightSource::scale, std::string("\0\xff kg\r", 6), 45981.25},
                      {mill::WeightSource::computed, {}, 0}};
        whole.bookPlace = 123456789012;
        whole.before = 3;
        mill->notes.write(whole);
        QVERIFY(mill->notes.open() == whole);
        mill->notes.write(mill->note(8));
        QVERIFY(mill->notes.open() == mill->note(8));
        mill->notes.strike();
        QVERIFY(!mill->notes.open());
    }

    void aNoteThatIsNotWholeIsKeptAsAFileAndBlocksNothing()
    {
        mill->notes.write(mill->note(mill->job(true)));
        QFile file(mill->database() + "-slip");
        QVERIFY(file.resize(file.size() - 1));
        QVERIFY(!mill->notes.open());
        QVERIFY(mill->notes.unreadable());
        mill->road.recover();
        const QString notice = mill->setAside.value(0);
        QVERIFY2(notice.startsWith("Yag.mdb-slip-1: ") && notice.contains("okunamıyor"), qPrintable(notice));
        QVERIFY(QFile::exists(mill->database() + "-slip-1"));
        QVERIFY(!mill->notes.unreadable());
        QVERIFY2(mill->log().size() == 1 && mill->log()[0].endsWith(notice), qPrintable(mill->log().join(u'|')));
        QCOMPARE(mill->rows("Hareket"), 0);
        mill->road.recover();
        QCOMPARE(mill->setAside.size(), 1);
        QVERIFY(mill->road.printAndBook(mill->slip("Ali")).stored);
        QCOMPARE(mill->log().size(), 1);
    }

    void aNoteThatTheDiskRefusesLeavesNoHalf()
    {
        PowerCutDisk disk;
        const std::filesystem::path note = "Yag.mdb-slip";
        store::SlipNotes notes(disk, "Yag.mdb");
        for (int failing = 1;; ++failing) {
            disk.failing = {disk.changes() + failing};
            const bool refused = errorOf([&] { notes.write({failing, 45981.5, pressingOf("Ali"), 0}); }) != 0;
            disk.failing.clear();
            QCOMPARE(disk.has(note), !refused);
            if (refused) continue;
            QVERIFY(failing > 2);
            return;
        }
    }

    void aSlipThatThePrinterTookIsStoredOnce()
    {
        mill->notes.write(mill->note(mill->job(true)));
        mill->road.recover();
        QCOMPARE(mill->stored(), (QList<int>{1, 1}));
        const store::Listing journal = mill->engine->open("Hareket");
        QCOMPARE(mill->engine->field(journal, journal.rows[0], 1).number().value(), 1000.0);
        QCOMPARE(mill->engine->field(journal, journal.rows[0], 4).number().value(), 102.0);
        QCOMPARE(mill->engine->field(journal, journal.rows[0], 6).text(), "Işıl O'Hara");
        QCOMPARE(mill->log().size(), 1);
        QVERIFY(!mill->notes.open());
        mill->road.recover();
        QCOMPARE(mill->rows("Hareket"), 1);
        QCOMPARE(mill->log(),
                 QStringList{"2025-11-20T14:05:00 fiş 1 (Işıl O'Hara, 1.000 kg): basılmış, kaydı şimdi yapıldı"});
    }

    void aSlipThatWasStoredBeforeTheCrashIsNotStoredAgain()
    {
        const store::SlipNote slip = mill->note(mill->job(true));
        mill->notes.write(slip);
        counter::book(mill->customers, mill->journal, slip, Regional::turkish());
        mill->road.recover();
        QCOMPARE(mill->stored(), (QList<int>{1, 1}));
        QVERIFY(!mill->notes.open());
    }

    void aSlipThatNeverReachedThePrinterIsDropped()
    {
        mill->notes.write(mill->note(mill->job(false)));
        mill->road.recover();
        QCOMPARE(mill->stored(), (QList<int>{0, 0}));
        QCOMPARE(mill->log().size(), 1);
        QVERIFY(!mill->notes.open());
    }

    void theSameCustomerTwiceInOneSecondIsTwoPressings()
    {
        mill->bookEndsSound = false; // the first of them has no line
        counter::book(mill->customers, mill->journal, mill->note(mill->job(true)), Regional::turkish());
        store::SlipNote second = mill->note(mill->job(true));
        second.sameBefore = store::pressingsAt(*mill->engine, second.pressing.customer, second.moment);
        QCOMPARE(second.sameBefore, 1);
        mill->notes.write(second);
        mill->road.recover();
        QCOMPARE(mill->stored(), (QList<int>{1, 2}));
    }
};

QTEST_MAIN(TestSlipRoad)
#include "slip_road.moc"
