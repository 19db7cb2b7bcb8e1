#include <cstddef> // moc stumbles over <compare> without it

#include "files/memory_disk.h"
#include "mill/tables.h"
#include "store/jet/care/check.h"
#include "store/jet/care/rescue.h"
#include "store/jet/format/doors.h"
#include "tests/jet/mixed_work.h"

#include <QtTest>

#include <set>

using namespace jet;

namespace {

using Image = std::vector<std::uint8_t>;
using Pages = std::set<PageNo>;

const std::filesystem::path file = "Yag.mdb";
const std::filesystem::path saved = "Kurtarilan.mdb";
constexpr int customers = 60;
constexpr int pressings = 1500;

/// The test's own look at a page, so that what must survive is not told by the code that is tested.
std::uint32_t u16At(const Image& image, std::size_t at) { return image[at] | image[at + 1] << 8; }
std::uint32_t u24At(const Image& image, std::size_t at) { return u16At(image, at) | image[at + 2] << 16; }
std::uint32_t u32At(const Image& image, std::size_t at)
{
    return u24At(image, at) | static_cast<std::uint32_t>(image[at + 3]) << 24;
}
std::size_t slotStart(const Image& image, PageNo page, unsigned slot)
{
    return page * pageSize + (u16At(image, page * pageSize + 14 + 2 * slot) & 0x1FFF);
}

/// Where a row of the big table stands.
struct Place {
    PageNo head = 0;
    PageNo body = 0; ///< where the row itself is, if it was moved
    Pages note;      ///< pages of its long value outside the row
};

/// A database with a table of every kind of row, and the tables of a mill.
struct World {
    World()
    {
        files::MemoryDisk disk;
        MixedWork::create(disk, file);
        mill::createTables(*Database::open(disk, file), DateTime{45000});
        {
            const auto database = Database::open(disk, file);
            Transaction change(database->pager());
            MixedWork work(11);
            for (int i = 0; i < 500; ++i) work.change(*database, rows);
            for (int i = 0; i < customers; ++i)
                database->table(u"Cari").insert({{0, u"Müşteri " + name(i)}, {1, 12.0}});
            for (int i = 0; i < pressings; ++i)
                database->table(u"Hareket")
                    .insert({{0, DateTime{45000.0 + i}}, {1, 1.0 * i}, {6, u"Müşteri " + name(i)}});
            for (int i = 0; i < 100; ++i) work.change(*database, rows);
            change.commit();
        }
        image = disk.content(file);
        const auto database = Database::open(disk, file, Pager::Mode::readOnly);
        for (const char16_t* each : {MixedWork::table, u"Cari", u"Hareket"})
            definitions.push_back(database->table(each).definitionPage());
        database->table(MixedWork::table).forEachRow([&](RowId id, const RowView& row) {
            Place place{id.page, id.page, {}};
            const std::size_t entry = id.page * pageSize + 14 + 2 * std::size_t{id.slot};
            if (u16At(image, entry) & 0x4000) place.body = u24At(image, slotStart(image, id.page, id.slot) + 1);
            const auto stored = row.stored(5);
            if (stored.size() >= 12 && (stored[3] & 0x80) == 0) {
                PageNo page = getU24(&stored[5]);
                unsigned slot = stored[4];
                for (const bool chain = (stored[3] & 0x40) == 0; page != 0;) {
                    place.note.insert(page);
                    const std::size_t piece = slotStart(image, page, slot);
                    slot = image[piece];
                    page = chain ? u24At(image, piece + 1) : 0;
                }
            }
            places[static_cast<int>(row.number(0).value())] = place;
            return true;
        });
        for (const Index& index : database->table(MixedWork::table).indexes()) roots.insert(index.root);
    }
    static std::u16string name(int i)
    {
        const std::string digits = std::to_string(i);
        return {digits.begin(), digits.end()};
    }

    /// The page on which most rows of the big table have their bodies.
    PageNo fullestPage() const
    {
        std::map<PageNo, int> count;
        for (const auto& [number, place] : places) ++count[place.body];
        return std::ranges::max_element(count, {}, [](const auto& each) { return each.second; })->first;
    }
    PageNo notePage() const
    {
        for (const auto& [number, place] : places)
            if (!place.note.empty()) return *place.note.begin();
        return 0;
    }
    PageNo mapPage() const { return u24At(image, definitions[0] * pageSize + 56); }
    /// The page with the rows of the catalogue, which belong to the definition on page 2.
    Pages cataloguePages() const
    {
        Pages pages;
        for (PageNo page = 3; page < image.size() / pageSize; ++page)
            if (image[page * pageSize] == 1 && u32At(image, page * pageSize + 4) == 2) pages.insert(page);
        return pages;
    }

    Image image;
    MixedWork::Rows rows;
    std::map<int, Place> places;
    std::vector<PageNo> definitions; ///< of the big table, Cari, Hareket
    Pages roots;
};

const World& world()
{
    static const World world;
    return world;
}

/// One kind of damage, and what is gone with it.
struct Damage {
    std::function<void(Image&)> inflict;
    Pages gone;
    bool tableIsGone = false; ///< the big one
    bool namesAreGone = false;
    bool rowsOfMillMayBeGone = false;
};

void fill(Image& image, PageNo page, std::uint8_t byte)
{
    std::fill_n(image.begin() + static_cast<std::ptrdiff_t>(page * pageSize), pageSize, byte);
}

Damage blank(Pages pages, std::uint8_t byte = 0)
{
    return {[pages, byte](Image& image) {
                for (const PageNo page : pages) fill(image, page, byte);
            },
            pages};
}

} // namespace
Q_DECLARE_METATYPE(Damage)

class RescueTest : public QObject {
    Q_OBJECT

    static RescueResult run(files::MemoryDisk& disk)
    {
        return rescue(disk, file, saved, DateTime{45000}, mill::tableNamed);
    }

private slots:
    void initTestCase()
    {
        QCOMPARE(world().places.size(), world().rows.size());
        QVERIFY(
            std::ranges::any_of(world().places, [](const auto& each) { return each.second.head != each.second.body; }));
        QVERIFY(world().notePage() != 0);
    }

    void aSoundFileComesOutWhole()
    {
        files::MemoryDisk disk;
        disk.content(file) = world().image;
        const RescueResult result = run(disk);
        QVERIFY2(result.whole(), result.whole() ? "" : result.losses.front().c_str());
        QVERIFY(disk.content(file) == world().image);
        const auto database = Database::open(disk, saved);
        QVERIFY(MixedWork::read(*database) == world().rows);
        QCOMPARE(database->table(MixedWork::table).indexes().size(), std::size_t{4});
        QVERIFY(database->table(MixedWork::table).indexes()[0].primaryKey);
        QVERIFY(!database->table(MixedWork::table).whyReadOnly());
    }

    void everyRowOutsideTheDamageSurvives_data()
    {
        QTest::addColumn<Damage>("damage");
        const World& w = world();
        const PageNo pages = static_cast<PageNo>(w.image.size() / pageSize);
        QTest::newRow("a page of rows zeroed") << blank({w.fullestPage()});
        QTest::newRow("a page of rows full of junk") << blank({w.fullestPage()}, 0xEE);
        QTest::newRow("a page of long values zeroed") << blank({w.notePage()});
        QTest::newRow("index pages zeroed") << blank(w.roots);
        QTest::newRow("index pages full of junk") << blank(w.roots, 0xEE);
        QTest::newRow("the page of the usage maps zeroed") << blank({w.mapPage()});
        QTest::newRow("the page of the usage maps full of junk") << blank({w.mapPage()}, 0xEE);
        QTest::newRow("the map of free pages zeroed") << blank({1});
        QTest::newRow("the header zeroed") << blank({0});
        QTest::newRow("the header full of junk") << blank({0}, 0xEE);
        QTest::newRow("the catalogue's definition zeroed") << blank({2});

        Damage rowsOfCatalogue = blank(w.cataloguePages());
        rowsOfCatalogue.namesAreGone = true;
        QTest::newRow("the catalogue's rows zeroed") << rowsOfCatalogue;
        Damage wholeCatalogue = blank(w.cataloguePages());
        wholeCatalogue.inflict = [inflict = wholeCatalogue.inflict](Image& image) {
            inflict(image);
            for (const PageNo page : {0, 1, 2}) fill(image, page, 0);
        };
        wholeCatalogue.namesAreGone = true;
        QTest::newRow("header, free map and catalogue gone") << wholeCatalogue;

        Damage definition = blank({w.definitions[0]});
        definition.tableIsGone = true;
        QTest::newRow("the table's definition zeroed") << definition;

        Damage owner = blank({});
        owner.inflict = [page = w.fullestPage()](Image& image) { image[page * pageSize + 5] ^= 0x40; };
        QTest::newRow("a page of rows says another owner") << owner;
        Damage type = blank({});
        type.inflict = [page = w.fullestPage()](Image& image) { image[page * pageSize] = 0x5A; };
        QTest::newRow("a page of rows says another type") << type;
        Damage map = blank({});
        map.inflict = [&w](Image& image) {
            // The row of the table's own map: its bits go, one page after the other.
            const unsigned slot = image[w.definitions[0] * pageSize + 55];
            const std::size_t at = slotStart(image, w.mapPage(), slot);
            std::fill_n(image.begin() + static_cast<std::ptrdiff_t>(at + 5), 16, std::uint8_t{0});
        };
        QTest::newRow("the table's map cleared") << map;

        for (const PageNo cut : {pages * 3 / 4, pages / 2}) {
            Damage end;
            end.inflict = [cut](Image& image) { image.resize(cut * pageSize + 11); };
            for (PageNo page = cut; page < pages; ++page) end.gone.insert(page);
            end.rowsOfMillMayBeGone = true;
            QTest::addRow("cut after page %u", cut) << end;
        }
    }
    void everyRowOutsideTheDamageSurvives()
    {
        QFETCH(Damage, damage);
        const World& w = world();
        files::MemoryDisk disk;
        disk.content(file) = w.image;
        damage.inflict(disk.content(file));
        const Image damaged = disk.content(file);
        const RescueResult result = run(disk);
        QVERIFY(disk.content(file) == damaged);

        const auto database = Database::open(disk, saved);
        QVERIFY(checkDatabase(*database).ok());
        const auto rowsOf = [&](const char16_t* table) {
            int rows = 0;
            database->table(table).forEachRow([&](RowId, const RowView&) { return ++rows > 0; });
            return rows;
        };
        if (!damage.rowsOfMillMayBeGone) {
            QCOMPARE(rowsOf(u"Cari"), customers);
            QCOMPARE(rowsOf(u"Hareket"), pressings);
        }
        if (damage.tableIsGone) {
            QVERIFY(!database->hasTable(MixedWork::table));
            QVERIFY(!result.whole());
            return;
        }

        MixedWork::Rows expected;
        bool anythingLost = false;
        for (const auto& [number, row] : w.rows) {
            const Place& place = w.places.at(number);
            if (damage.gone.contains(place.body)) {
                anythingLost = true;
                continue;
            }
            expected[number] = row;
            if (std::ranges::any_of(place.note, [&](PageNo page) { return damage.gone.contains(page); })) {
                expected[number].note.clear();
                anythingLost = true;
            }
        }
        QVERIFY(!anythingLost || !result.whole());
        const auto found = std::ranges::find_if(result.tables, [&](const RescueResult::Table& table) {
            return table.nameInvented == damage.namesAreGone && table.name != u"Cari" && table.name != u"Hareket";
        });
        QVERIFY(found != result.tables.end());
        QCOMPARE(found->rows, std::uint64_t{expected.size()});
        if (damage.namesAreGone) return;
        const MixedWork::Rows read = MixedWork::read(*database);
        QCOMPARE(read.size(), expected.size());
        QVERIFY(read == expected);
    }

    void aPageThatStandsTwiceGivesItsRowsTwice()
    {
        const World& w = world();
        const PageNo target = w.fullestPage();
        PageNo source = 0;
        for (const auto& [number, place] : w.places)
            if (place.body != target && place.head == place.body && place.note.empty()) source = place.body;
        files::MemoryDisk disk;
        disk.content(file) = w.image;
        Image& image = disk.content(file);
        std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(source * pageSize), pageSize,
                    image.begin() + static_cast<std::ptrdiff_t>(target * pageSize));
        const RescueResult result = run(disk);
        QVERIFY(!result.whole());
        // Two rows with one number: the rule of the primary key is lost, no row is.
        const auto database = Database::open(disk, saved);
        QVERIFY(!database->table(MixedWork::table).indexes()[0].unique);
        const MixedWork::Rows read = MixedWork::read(*database);
        for (const auto& [number, row] : w.rows) {
            const Place& place = w.places.at(number);
            if (place.body != target && place.head != target) QVERIFY(read.contains(number) && read.at(number) == row);
        }
    }

    void aRunningProgramsLastCommitIsSaved()
    {
        files::MemoryDisk disk;
        disk.content(file) = world().image;
        const auto database = Database::open(disk, file);
        Image before = disk.content(file);
        QVERIFY(before == world().image);
        database->table(u"Cari").insert({{0, std::u16string(u"Yeni")}});
        const Image after = disk.content(file);
        QVERIFY(after != before);
        const RescueResult result = run(disk);
        QVERIFY(result.whole());
        int rows = 0;
        Database::open(disk, saved)->table(u"Cari").forEachRow([&](RowId, const RowView&) { return ++rows > 0; });
        QCOMPARE(rows, customers + 1);
    }

    void otherFilesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("text") << QByteArray("Merhaba ").repeated(20000);
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("zeros") << QByteArray(200000, '\0');
    }
    void otherFilesAreRefused()
    {
        QFETCH(QByteArray, bytes);
        files::MemoryDisk disk;
        disk.content(file) = Image(bytes.begin(), bytes.end());
        try {
            run(disk);
            QFAIL("rescued");
        } catch (const Error& error) {
            QCOMPARE(error.fault(), Fault::notADatabase);
        }
        QVERIFY(!disk.exists(saved) && !disk.exists("Kurtarilan.mdb.part"));
    }

    void anExistingFileIsNotReplaced()
    {
        files::MemoryDisk disk;
        disk.content(file) = world().image;
        disk.content(saved) = {1, 2, 3};
        try {
            run(disk);
            QFAIL("replaced");
        } catch (const Error& error) {
            QCOMPARE(error.fault(), Fault::exists);
        }
        QVERIFY((disk.content(saved) == Image{1, 2, 3}));
    }

    void aSurveyCountsWhatARescueSaves()
    {
        files::MemoryDisk disk;
        disk.content(file) = world().image;
        fill(disk.content(file), world().fullestPage(), 0);
        const RescueResult counted = survey(disk, file, mill::tableNamed);
        QVERIFY(!disk.exists(saved));
        const RescueResult done = run(disk);
        QCOMPARE(counted.tables.size(), done.tables.size());
        for (std::size_t i = 0; i < done.tables.size(); ++i) QCOMPARE(counted.tables[i].rows, done.tables[i].rows);
        QVERIFY(counted.losses == done.losses);
    }
};

QTEST_GUILESS_MAIN(RescueTest)
#include "rescue.moc"
