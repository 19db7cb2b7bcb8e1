#include <cstddef> // moc needs it ahead of <compare>

#include "files/error.h"
#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/pages/journal.h"
#include "store/restore.h"
#include "tests/jet/power_cut_disk.h"

#include <QtTest>

using namespace jet;

namespace {

const std::filesystem::path directory = "degirmen";
const std::filesystem::path database = directory / "Yag.mdb";
const std::filesystem::path journal = directory / "Yag.mdb-journal";
const std::filesystem::path copy = directory / "Yedek" / "Yag-2025-11-20.mdb";
const std::filesystem::path aside = directory / "Yag-onceki-2025-11-25-081500.mdb";
const store::CopyTime now{2025, 11, 25, false, 8, 15, 0};
constexpr double firstDay = 45980;

void addPressing(Database& to, double moment, const char16_t* customer)
{
    to.table(u"Hareket").insert({{0, DateTime{moment}}, {1, 1000.0}, {6, std::u16string(customer)}});
}

PowerCutDisk::Image mill(int pressings)
{
    PowerCutDisk disk;
    mill::createDatabase(disk, "x.mdb", turkish, DateTime{firstDay});
    const auto to = Database::open(disk, "x.mdb");
    to->table(u"Cari").insert({{0, std::u16string(u"Ali")}});
    for (int i = 0; i < pressings; ++i) addPressing(*to, firstDay + i, u"Ali");
    return disk.content("x.mdb");
}

const PowerCutDisk::Image& oldMill()
{
    static const PowerCutDisk::Image image = mill(3);
    return image;
}
const PowerCutDisk::Image& newMill()
{
    static const PowerCutDisk::Image image = mill(200);
    return image;
}

/// A mill that has gone on since its copy was made.
void arrange(PowerCutDisk& disk)
{
    disk.put(database, newMill());
    disk.put(copy, oldMill());
}

std::optional<Fault> faultOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const Error& error) {
        return error.fault();
    }
    return {};
}

} // namespace

class Restore : public QObject {
    Q_OBJECT
private slots:
    void theCopyTakesThePlaceAndTheOldFileStays_data()
    {
        QTest::addColumn<QString>("wanted");
        QTest::newRow("by name") << "Yag-2025-11-20.mdb";
        QTest::newRow("by date") << "2025-11-20";
    }
    void theCopyTakesThePlaceAndTheOldFileStays()
    {
        QFETCH(QString, wanted);
        PowerCutDisk disk;
        arrange(disk);
        const store::Restored done = store::restoreCopy(disk, directory, wanted.toStdString(), now);
        QVERIFY(done.database == database && done.aside == aside && !done.slipOpen);
        QVERIFY(disk.content(database) == oldMill());
        QVERIFY(disk.content(aside) == newMill());
        QVERIFY(disk.content(copy) == oldMill());
        QVERIFY(!disk.has("degirmen/Yag.mdb.part"));
    }

    void aSecondRestoreInTheSameSecondKeepsBothFiles()
    {
        PowerCutDisk disk;
        arrange(disk);
        store::restoreCopy(disk, directory, "2025-11-20", now);
        const auto second = store::restoreCopy(disk, directory, "2025-11-20", now).aside;
        QVERIFY(second != aside);
        QVERIFY(disk.content(aside) == newMill());
        QVERIFY(disk.content(second) == oldMill());
    }

    void aMillWithoutDatabaseGetsTheCopy()
    {
        PowerCutDisk disk;
        disk.put(copy, oldMill());
        QVERIFY(store::restoreCopy(disk, directory, "2025-11-20", now).aside.empty());
        QVERIFY(disk.content(database) == oldMill());
    }

    void atEveryPowerCutTheDatabaseIsTheOldOrTheNewOne()
    {
        PowerCutDisk disk;
        arrange(disk);
        int cuts = 0, old = 0, restored = 0;
        disk.beforeEachChange = [&] {
            for (std::uint32_t seed = 0; seed < 4; ++seed, ++cuts) {
                const auto after = disk.afterPowerCut(seed);
                QVERIFY(after->has(database));
                if (after->content(database) == newMill()) {
                    ++old;
                } else {
                    QVERIFY(after->content(database) == oldMill());
                    QVERIFY(after->has(aside) && after->content(aside) == newMill());
                    ++restored;
                }
                // What is left over is no obstacle to doing it again.
                if (after->content(database) != newMill()) continue;
                store::restoreCopy(*after, directory, "2025-11-20", now);
                QVERIFY(after->content(database) == oldMill());
            }
        };
        store::restoreCopy(disk, directory, "2025-11-20", now);
        QVERIFY(old > 0 && restored > 0 && old + restored == cuts);
    }

    void anyFailureOfTheDiskLeavesTheOldDatabase()
    {
        PowerCutDisk counting;
        arrange(counting);
        store::restoreCopy(counting, directory, "2025-11-20", now);
        // The last two changes are the name and its sync: a failure of that sync comes too late.
        for (int failing = 1; failing < counting.changes(); ++failing) {
            PowerCutDisk disk;
            arrange(disk);
            disk.failing = {failing};
            QCOMPARE(faultOf([&] { store::restoreCopy(disk, directory, "2025-11-20", now); }), Fault::disk);
            QVERIFY(disk.content(database) == newMill());
        }
    }

    void aRunningProgramIsLeftAlone()
    {
        PowerCutDisk disk;
        arrange(disk);
        const auto running = Database::open(disk, database);
        QCOMPARE(faultOf([&] { store::restoreCopy(disk, directory, "2025-11-20", now); }), Fault::inUse);
        QVERIFY(disk.content(database) == newMill());
        QVERIFY(!disk.has(aside));
    }

    void aDamagedCopyReplacesNothing_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto bytes = [](const PowerCutDisk::Image& image) {
            return QByteArray(reinterpret_cast<const char*>(image.data()), static_cast<qsizetype>(image.size()));
        };
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("cut") << bytes(oldMill()).chopped(5000);
        QTest::newRow("text") << QByteArray("Merhaba").repeated(20000);
        QByteArray rows = bytes(oldMill());
        for (qsizetype page = rows.size() / 4096; page-- > 0;)
            if (rows[page * 4096] == 1) {
                rows.replace(page * 4096 + 14, 4082, QByteArray(4082, '\xEE'));
                break;
            }
        QTest::newRow("rows lost") << rows;
        PowerCutDisk other;
        Database::create(other, "x.mdb", turkish, DateTime{firstDay});
        QTest::newRow("no mill") << bytes(other.content("x.mdb"));
    }
    void aDamagedCopyReplacesNothing()
    {
        QFETCH(QByteArray, bytes);
        PowerCutDisk disk;
        arrange(disk);
        disk.put(copy, PowerCutDisk::Image(bytes.begin(), bytes.end()));
        QCOMPARE(faultOf([&] { store::restoreCopy(disk, directory, "2025-11-20", now); }), Fault::damaged);
        QVERIFY(disk.content(database) == newMill());
        QVERIFY(!disk.has(aside) && !disk.has("degirmen/Yag.mdb.part"));
    }

    void anUnknownCopyIsRefused_data()
    {
        QTest::addColumn<QString>("wanted");
        QTest::newRow("no such day") << "2025-11-21";
        QTest::newRow("another file") << "../Yag.mdb";
        QTest::newRow("nothing") << "";
    }
    void anUnknownCopyIsRefused()
    {
        QFETCH(QString, wanted);
        PowerCutDisk disk;
        arrange(disk);
        QCOMPARE(faultOf([&] { store::restoreCopy(disk, directory, wanted.toStdString(), now); }), Fault::notFound);
        QVERIFY(disk.content(database) == newMill());
    }

    void aJournalOfACrashIsAppliedToTheFileThatIsKept()
    {
        // The power goes while 100 pressings are being committed, with the journal armed.
        PowerCutDisk disk;
        arrange(disk);
        std::unique_ptr<PowerCutDisk> crashed;
        {
            const auto running = Database::open(disk, database);
            Transaction change(running->pager());
            for (int i = 0; i < 100; ++i) addPressing(*running, firstDay + 300 + i, u"Veli");
            disk.beforeEachChange = [&] {
                if (crashed) return;
                auto after = disk.afterPowerCut(1);
                if (after->has(journal) && readJournal(*after->open(journal, Disk::Access::readOnly)) &&
                    after->content(database) != newMill())
                    crashed = std::move(after);
            };
            change.commit();
        }
        QVERIFY(crashed != nullptr);
        store::restoreCopy(*crashed, directory, "2025-11-20", now);
        QVERIFY(crashed->content(database) == oldMill());
        QVERIFY(crashed->content(aside) == newMill());
        QVERIFY(!crashed->has(journal));
    }

    void aFileThatCannotBeOpenedIsKeptAsItIs()
    {
        PowerCutDisk disk;
        arrange(disk);
        PowerCutDisk::Image cut = newMill();
        cut.resize(cut.size() - 1000);
        disk.put(database, cut);
        store::restoreCopy(disk, directory, "2025-11-20", now);
        QVERIFY(disk.content(database) == oldMill());
        QVERIFY(disk.content(aside) == cut);
    }

    void anOpenSlipIsToldAndStays()
    {
        PowerCutDisk disk;
        arrange(disk);
        disk.put("degirmen/Yag.mdb-slip", {1, 2, 3});
        QVERIFY(store::restoreCopy(disk, directory, "2025-11-20", now).slipOpen);
        QVERIFY(disk.has("degirmen/Yag.mdb-slip"));
    }

    void aDatabaseNamedInCapitalsIsFound()
    {
        PowerCutDisk disk;
        disk.put(directory / "YAG.MDB", newMill());
        disk.put(copy, oldMill());
        QVERIFY(store::restoreCopy(disk, directory, "2025-11-20", now).database == directory / "YAG.MDB");
        QVERIFY(disk.content(directory / "YAG.MDB") == oldMill());
        QVERIFY(!disk.has(database));
    }

    void theListTellsWhatIsInEachCopy()
    {
        PowerCutDisk disk;
        arrange(disk);
        disk.put(directory / "Yedek" / "Yag-2025-11-20-140501.mdb", newMill());
        disk.put(directory / "Yedek" / "Yag-2025-11-21.mdb", PowerCutDisk::Image(100));
        disk.put(directory / "Yedek" / "not.txt", {1});
        {
            const auto withTotals = Database::open(disk, copy);
            addPressing(*withTotals, firstDay + 900, u"Toplamlar");
        }
        const auto copies = store::listCopies(disk, directory);
        QCOMPARE(copies.size(), std::size_t{3});
        QCOMPARE(copies[0].name, std::string("Yag-2025-11-21.mdb"));
        QVERIFY(copies[0].unreadable);
        QCOMPARE(copies[1].name, std::string("Yag-2025-11-20-140501.mdb"));
        QCOMPARE(copies[1].pressings, std::uint64_t{200});
        QCOMPARE(copies[2].name, std::string("Yag-2025-11-20.mdb"));
        QCOMPARE(copies[2].customers, std::uint64_t{1});
        QCOMPARE(copies[2].pressings, std::uint64_t{3});
        QVERIFY(copies[2].newest == DateTime{firstDay + 2});
        QVERIFY(!copies[2].unreadable);
    }
};

QTEST_GUILESS_MAIN(Restore)
#include "restore.moc"
