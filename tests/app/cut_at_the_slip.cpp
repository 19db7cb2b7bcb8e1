#include "counter/slip_road.h"
#include "print/queue_target.h"
#include "store/jet/care/check.h"
#include "tests/app/screen_fixture.h"
#include "tests/doors/fake_queue.h"
#include "tests/doors/power_cut_disk.h"
#include "tests/support/columns.h"
#include "weights/verification.h"

#include <QtTest>

namespace {

/// The world as a stop leaves it.
struct Moment {
    std::unique_ptr<PowerCutDisk> disk;
    FakeSpool spool;
};

} // namespace

/// "Fiş Yaz", stopped at every boundary between the program and the system: before each change of the disk, before and
/// after each step of the print system. The next start must always find as many rows as slips were taken.
class CutAtTheSlip : public QObject {
    Q_OBJECT

    struct Mill : World {
        Mill()
        {
            jet::Database::create(power, file(), jet::turkish, {});
            mill::createTables(*jet::Database::open(power, file()), {});
            spool.state.condition = platform::QueueCondition::ready;
            spool.state.queue = "slip";
            spool.state.paper.width = 8000;
            spool.state.paper.length = 20000;
            spool.state.paper.minLength = 5000;
            spool.state.paper.maxLength = 200000;
            book = &onPower;
            form = std::make_unique<app::Form1>(surroundings(books, target, notes));
            form->start();
        }
        std::filesystem::path file() const { return folder.filePath("Yag.mdb").toStdU16String(); }
        void press(const QString& customer)
        {
            form->TxtLbl[0]->setCaption(customer);
            form->Label2[0]->setCaption("1000");
            form->YazCmd[0]->click();
            clock.pass(60);
        }
        void happened() const
        {
            if (moment) moment();
        }

        PowerCutDisk power;
        FakeSpool spool;
        std::function<void()> moment;
        TriedDatabases books{power, TriedDatabases::Line::none};
        store::SlipNotes notes{power, file()};
        weights::WeightBook onPower{power, file().parent_path()};
        print::QueueTarget target{std::make_unique<FakeQueue>(spool, [this] { happened(); })};
        std::unique_ptr<app::Form1> form;
    };

    /// What a killed process leaves: everything that it wrote.
    static std::unique_ptr<PowerCutDisk> asItIs(PowerCutDisk& disk, const std::filesystem::path& file)
    {
        auto copy = std::make_unique<PowerCutDisk>();
        for (const auto& name : disk.names(file.parent_path()))
            copy->put(file.parent_path() / name, disk.content(file.parent_path() / name));
        return copy;
    }

    /// In a shared register a row and what is to be told of it are both in the file, or neither.
    static std::size_t notedPressings(jet::Database& database)
    {
        std::size_t notes = 0;
        database.table(mill::Giden::table).forEachRow([&](jet::RowId, const jet::RowView& row) {
            notes += row.value(mill::Giden::Ne) == jet::Value(std::u16string(u"sikim")) ? 1 : 0;
            return true;
        });
        return notes;
    }

    static std::size_t pressings(PowerCutDisk& disk, const std::filesystem::path& file)
    {
        std::size_t rows = 0;
        const auto database = jet::Database::open(disk, file);
        if (!jet::checkDatabase(*database).ok()) return SIZE_MAX;
        database->table(u"Hareket").forEachRow([&](jet::RowId, const jet::RowView&) { return ++rows > 0; });
        return TriedDatabases::overRegister() && notedPressings(*database) != rows ? SIZE_MAX : rows;
    }

    /// Every row has its line in the book of weights, and the other way round; the book holds together.
    static QString differenceOfTheBook(PowerCutDisk& disk, const std::filesystem::path& file)
    {
        const auto lines = weights::allLines(disk, file.parent_path());
        const auto found = weights::verify(lines, weights::loggedHeads(disk, weights::logIn(file.parent_path())),
                                           jet::Database::open(disk, file)->table(u"Hareket"))
                               .faults;
        if (!found.empty()) return QString::fromStdString(found.front());
        return lines.size() == pressings(disk, file) ? QString() : u"%1 lines"_s.arg(lines.size());
    }

    /// The next start; `moment` is called before each change of the disk that it makes.
    static void startAgain(Moment& world, const std::filesystem::path& file, const std::function<void()>& moment = {})
    {
        world.disk->beforeEachChange = moment;
        TriedDatabases books(*world.disk, TriedDatabases::Line::none);
        store::SlipNotes notes(*world.disk, file);
        print::QueueTarget target(std::make_unique<FakeQueue>(world.spool, [] {}));
        store::DataSource customers(books), journal(books);
        customers.setDatabaseName(QString::fromStdU16String(file.u16string()));
        const QString folder = QString::fromStdU16String(file.parent_path().u16string());
        const auto now = [] { return QDateTime({2025, 11, 20}, {14, 30}); };
        weights::WeightBook book(*world.disk, file.parent_path());
        counter::WeightRecord record(book, counter::Log(folder, [] { return QDateTime(); }), now);
        counter::SlipRoad(
            {customers, journal, books, notes, record, target, nullptr, base::Regional::turkish(), folder, now})
            .recover();
        world.disk->beforeEachChange = nullptr;
    }

private slots:
    void slipsTakenAreRowsStoredAtEveryBoundary_data()
    {
        addCases<bool>("powerCut", {{"killed", false}, {"power cut", true}});
    }
    void slipsTakenAreRowsStoredAtEveryBoundary()
    {
        QFETCH(bool, powerCut);
        constexpr std::uint32_t kindsOfLuck = 4;
        Mill mill;
        const std::filesystem::path file = mill.file();
        std::vector<Moment> moments;
        mill.moment = [&] {
            for (std::uint32_t luck = 0; luck < (powerCut ? kindsOfLuck : 1); ++luck)
                moments.push_back({powerCut ? mill.power.afterPowerCut(luck + 10 * std::uint32_t(moments.size()))
                                            : asItIs(mill.power, file),
                                   mill.spool});
        };
        mill.power.beforeEachChange = [&] { mill.happened(); };
        mill.press("Ali");  // a new customer
        mill.press("Ali");  // the same again
        mill.press("Veli"); // and another
        mill.happened();
        mill.moment = nullptr;
        QCOMPARE(mill.spool.taken.size(), std::size_t{3});
        QCOMPARE(pressings(*asItIs(mill.power, file), file), std::size_t{3});

        std::set<std::size_t> seen;
        int recoveries = 0;
        for (std::size_t i = 0; i < moments.size(); ++i) {
            Moment& world = moments[i];
            // The next start may be stopped too, at each of its own boundaries.
            std::vector<Moment> again;
            startAgain(world, file, [&] {
                again.push_back(
                    {powerCut ? world.disk->afterPowerCut(std::uint32_t(i + again.size())) : asItIs(*world.disk, file),
                     world.spool});
            });
            recoveries += again.empty() ? 0 : 1;
            QVERIFY2(pressings(*world.disk, file) == world.spool.taken.size(), qPrintable(QString::number(i)));
            QVERIFY(!world.disk->has(std::filesystem::path(file) += "-slip"));
            QCOMPARE(differenceOfTheBook(*world.disk, file), QString());
            for (Moment& second : again) {
                startAgain(second, file);
                QVERIFY2(pressings(*second.disk, file) == second.spool.taken.size(),
                         qPrintable(u"%1, stopped again"_s.arg(i)));
                QCOMPARE(differenceOfTheBook(*second.disk, file), QString());
            }
            seen.insert(world.spool.taken.size());
        }
        qInfo("%d moments, %d of them with something to recover", int(moments.size()), recoveries);
        QCOMPARE(seen, (std::set<std::size_t>{0, 1, 2, 3}));
        QVERIFY(recoveries > 10);
    }

    void everyFailureOfTheDiskLeavesSlipsAndRowsEqual()
    {
        // The disk refuses one change after the other; the counter goes on, and starts again in the end.
        for (int failing = 1;; ++failing) {
            Mill mill;
            const int before = mill.power.changes();
            mill.power.failing = {before + failing};
            mill.press("Ali");
            const bool past = mill.power.changes() < before + failing;
            mill.power.failing.clear();
            Moment world{asItIs(mill.power, mill.file()), mill.spool};
            startAgain(world, mill.file());
            QVERIFY2(pressings(*world.disk, mill.file()) == world.spool.taken.size(),
                     qPrintable(QString::number(failing)));
            QCOMPARE(differenceOfTheBook(*world.disk, mill.file()), QString());
            if (past) {
                QVERIFY(failing > 8);
                return;
            }
        }
    }
};

QTEST_MAIN(CutAtTheSlip)
#include "cut_at_the_slip.moc"
