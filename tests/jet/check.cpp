#include "store/jet/care/check.h"
#include "files/memory_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/index_layout.h"
#include "store/jet/format/key_layout.h"
#include "store/jet/format/long_value_layout.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/format/usage_map_layout.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/table/table_state.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/committed.h"
#include "tests/jet/mixed_work.h"
#include "tests/jet/sample_test.h"
#include "tests/support/files.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>

using namespace jet;

namespace {

using testing::HasSubstr;

namespace at = long_value_layout;
using namespace definition_layout;

const std::filesystem::path file = "Yag.mdb";

/// A sound database with two tables, moved rows, long values and index trees of two levels; and the places in it that
/// the damages below need.
struct Patient {
    Patient()
    {
        MixedWork::create(disk, file);
        database = Database::open(disk, file);
        MixedWork work(3);
        MixedWork::Rows rows;
        Transaction change(database->pager());
        for (int i = 0; i < 600; ++i) work.change(*database, rows);
        Table& other = database->createTable(u"Küçük", {{u"Ad", ColumnType::text, 20}}, {{u"Ad", {{u"Ad", true}}}},
                                             DateTime{45000});
        for (const char16_t* name : {u"Ali", u"Ali", u"Veli"}) other.insert({{0, std::u16string(name)}});
        other.insert({});
        change.commit();
    }

    Pager& pager() { return database->pager(); }
    Table::State& state(const char16_t* name)
    {
        auto& made = states[name];
        if (!made) {
            const Table& table = database->table(name);
            made = std::make_unique<Table::State>(pager(), table.name(), table.definitionPage(), TableProperties{});
            made->systemObjects = &database->table(u"MSysObjects");
        }
        return *made;
    }
    Table::State& large() { return state(MixedWork::table); }
    Table::State& small() { return state(u"Küçük"); }
    PageNo dataPage(Table::State& table, std::size_t which = 0)
    {
        return mapPages(pager(), table.definition.owned).at(which);
    }
    void poke(PageNo page, std::size_t at, std::initializer_list<int> bytes)
    {
        for (const int byte : bytes) pager().write(page)[at++] = static_cast<std::uint8_t>(byte);
    }
    /// Sets the bit of the first page behind the end.
    void pointPastTheEnd(MapRef map)
    {
        namespace at = usage_map_layout;
        const std::size_t row = startOf({map.page, map.slot});
        const auto bit = pager().pageCount() - at::firstPage.get(pager().read(map.page).subspan(row)).number();
        const std::size_t byte = row + at::inlineBits + bit / 8;
        poke(map.page, byte, {pager().read(map.page)[byte] | 1 << bit % 8});
    }
    template <class Field, class Value> void put(PageNo page, Field, Value value, std::size_t record = 0)
    {
        Field::put(pager().write(page).subspan(record), value);
    }
    std::size_t startOf(RowId row) { return slotAt(pager().read(row.page), row.slot)->offset; }
    /// The first slot of the large table for which `wanted` holds.
    template <class Wanted> RowId slotWhere(Wanted&& wanted)
    {
        for (const PageNo page : mapPages(pager(), large().definition.owned)) {
            const PageView view = pager().read(page);
            for (unsigned i = 0; i < *slotCount(view); ++i)
                if (wanted(*slotAt(view, SlotNo(i)))) return {page, SlotNo(i)};
        }
        throw std::logic_error("no such slot");
    }
    /// Where the bytes of a field of the large table stand, for the first row whose field `wanted`s.
    template <class Wanted> std::pair<PageNo, std::size_t> fieldWhere(std::size_t column, Wanted&& wanted)
    {
        std::optional<std::pair<PageNo, std::size_t>> place;
        database->table(MixedWork::table).forEachRow([&](RowId id, const RowView& row) {
            const auto bytes = row.stored(column);
            const PageNo page = large().find(id)->body.page;
            if (!bytes.empty() && wanted(bytes))
                place.emplace(page, static_cast<std::size_t>(bytes.data() - pager().read(page).data()));
            return !place;
        });
        if (!place) throw std::logic_error("no such field");
        return *place;
    }
    /// The record of a physical index in the definition's first page.
    std::size_t indexRecord(Table::State& table, std::size_t number)
    {
        const PageView page = pager().read(table.definition.page);
        for (std::size_t at = head::bytes, seen = 0; at + physicalIndex::bytes < pageSize; ++at)
            if (physicalIndex::magic.get(&page[at]) == indexMagicNumber && seen++ == number) return at;
        throw std::logic_error("no such index");
    }
    /// The record of a column in the large table's definition.
    std::size_t columnRecord(std::size_t number)
    {
        std::size_t physical = 0;
        for (const Index& index : large().definition.indexes)
            physical = std::max<std::size_t>(physical, index.number + 1);
        return statistics::at(physical) + definition_layout::column::bytes * number;
    }
    /// Of the small table's index.
    void putFlags(unsigned flag)
    {
        put(small().definition.page, physicalIndex::flags, physicalIndex::alwaysFlag | flag, indexRecord(small(), 0));
    }
    RowId rowOf(const char16_t* table, const char16_t* column, double number)
    {
        const Table& rows = database->table(table);
        const auto isIt = [&](const RowView& row) { return row.number(*rows.columnNamed(column)) == number; };
        return rowsWhere(rows, isIt).at(0);
    }
    RowId rightsOf(PageNo definition) { return rowOf(u"MSysACEs", u"ObjectId", definition.number()); }

    files::MemoryDisk disk;
    std::unique_ptr<Database> database;
    std::map<std::u16string, std::unique_ptr<Table::State>> states;
};

enum : std::size_t { number, name, code, day, amount, note };

/// One damage, and a word of the sentence that must name it.
struct Damage {
    std::function<void(Patient&)> inflict;
    const char* sentence = "";
    bool isFault = true;
};

TEST(Check, soundDatabaseHasNoFaultAndNoWarning)
{
    Patient patient;
    const CheckResult result = checkDatabase(*patient.database);
    ASSERT_TRUE(result.ok()) << testing::PrintToString(result.faults);
    ASSERT_TRUE(result.warnings.empty()) << testing::PrintToString(result.warnings);
    ASSERT_EQ(result.pages, patient.pager().pageCount());
    ASSERT_EQ(result.tables, 6U);
    std::uint64_t rows = 0;
    for (const auto& [table, page] : patient.database->allTables()) rows += patient.database->table(table).rowCount();
    ASSERT_EQ(result.rows, rows);
    ASSERT_GT(result.indexEntries, 4 * patient.large().liveRows());
}

RowTable<Damage> checkDamage()
{
    RowTable<Damage> table;
    const auto fault = [&table](const char* title, const char* sentence, std::function<void(Patient&)> inflict) {
        table.push_back({title, Damage{std::move(inflict), sentence, true}});
    };
    const auto warning = [&table](const char* title, const char* sentence, std::function<void(Patient&)> inflict) {
        table.push_back({title, Damage{std::move(inflict), sentence, false}});
    };

    // Who owns the pages
    fault("page of two tables", "iki sahibi var",
          [](Patient& p) { mapSet(p.pager(), p.small().definition.owned, p.dataPage(p.large())); });
    fault("page owned and free", "hem boş görünüyor",
          [](Patient& p) { mapSet(p.pager(), freeMap, p.dataPage(p.large())); });
    warning("page of nobody", "ne boş ne de birinin", [](Patient& p) { allocatePage(p.pager()); });
    fault("one map for two tables", "haritanın iki sahibi var", [](Patient& p) {
        const MapRef map = p.large().definition.owned;
        p.put(p.small().definition.page, head::owned, map);
    });
    fault("list of roomy pages with a foreign one", "yer olan sayfaları arasında",
          [](Patient& p) { mapSet(p.pager(), p.small().definition.freeSpace, p.dataPage(p.large())); });
    for (const auto& [title, mapOf] : {
             std::pair{"list of roomy pages that leads past the end",
                       +[](Patient& p) { return p.small().definition.freeSpace; }},
             std::pair{"map of an index that leads past the end",
                       +[](Patient& p) { return p.small().definition.indexes.front().ownedPages; }},
             std::pair{"map of long values that leads past the end",
                       +[](Patient& p) { return p.large().definition.longValues.front().owned; }},
             std::pair{"list of pages with room for long values that leads past the end",
                       +[](Patient& p) { return p.large().definition.longValues.front().freeSpace; }},
         })
        fault(title, "dosyada olmayan sayfaları gösteriyor",
              [mapOf = mapOf](Patient& p) { p.pointPastTheEnd(mapOf(p)); });
    fault("map page of another kind", "harita",
          [](Patient& p) { p.put(p.small().definition.owned.page, row_page_layout::owner, PageNo(9)); });
    warning("bits in the second global map", "ikinci haritada", [](Patient& p) {
        p.poke(1, p.startOf({1, secondGlobalMap.slot}) + usage_map_layout::inlineBits + 5, {1});
    });
    fault("free map page with a wrong count", "1. sayfa: boş alan",
          [](Patient& p) { p.put(1, page_layout::freeBytes, 257); });

    // Definitions and the catalogue
    fault("definition without its mark", "tanım sayfasının ikinci baytı",
          [](Patient& p) { p.put(p.small().definition.page, page_layout::mark, 0); });
    warning("free count of a definition", "tanımın boş alan",
            [](Patient& p) { p.put(p.small().definition.page, page_layout::freeBytes, 1); });
    fault("definition of another type", "tablo tanımı",
          [](Patient& p) { p.put(p.small().definition.page, page_layout::type, 1); });
    fault("table without rights", "erişim hakları yok", [](Patient& p) {
        auto& rights = p.state(u"MSysACEs");
        const PageNo definition = p.small().definition.page;
        for (int i = 0; i < 2; ++i) rights.erase(p.rightsOf(definition));
    });
    fault("no container of tables", "kabı",
          [](Patient& p) { p.state(u"MSysObjects").erase(p.rowOf(u"MSysObjects", u"Id", tablesContainer)); });

    // Row pages
    fault("page of another owner", "tablonun veri sayfası değil",
          [](Patient& p) { p.put(p.dataPage(p.large()), row_page_layout::owner, PageNo(2)); });
    fault("wrong free count", "boş alan sayısı yanlış",
          [](Patient& p) { p.put(p.dataPage(p.large()), page_layout::freeBytes, 2030); });
    fault("slots out of order", "yerleri sayfaya uymuyor", [](Patient& p) {
        p.poke(p.dataPage(p.large()), row_page_layout::slotAt(0), {255, 31});
    });
    fault("too many slots", "sayfaya uymuyor",
          [](Patient& p) { p.put(p.dataPage(p.large()), row_page_layout::slotCount, 65535); });

    // Rows
    fault("row with too many columns", "sütun sayısı", [](Patient& p) {
        const RowId row = p.slotWhere([](Slot slot) { return slot.live() && !slot.pointer; });
        p.poke(row.page, p.startOf(row), {77});
    });
    warning("wrong row count", "satır yazılı", [](Patient& p) { p.put(p.large().definition.page, head::rowCount, 1); });
    fault("moved row that leads nowhere", "taşındığı yer", [](Patient& p) {
        const RowId row = p.slotWhere([](Slot slot) { return slot.live() && slot.pointer; });
        p.put(row.page, row_page_layout::pointer, RowId{farthestPage, 0}, p.startOf(row));
    });
    fault("moved row that leads to an ordinary one", "taşındığı yerde satır yok", [](Patient& p) {
        const RowId row = p.slotWhere([](Slot slot) { return slot.live() && slot.pointer; });
        const RowId other = p.slotWhere([](Slot slot) { return slot.live() && !slot.pointer; });
        p.put(row.page, row_page_layout::pointer, other, p.startOf(row));
    });
    fault("moved row with two heads", "iki yerden geliniyor", [](Patient& p) {
        const RowId row = p.slotWhere([](Slot slot) { return slot.live() && slot.pointer; });
        const RowId other = p.slotWhere([](Slot slot) { return slot.live() && !slot.pointer; });
        const auto view = p.pager().read(row.page);
        const auto body = *pointerOf(view, *slotAt(view, row.slot));
        pointSlot(p.pager().write(other.page), other.slot, body);
    });
    warning("moved row without a head", "hiçbir yerden gelinmiyor", [](Patient& p) {
        const PageNo page = mapPages(p.pager(), p.large().definition.owned).back();
        appendRow(p.pager().write(page), std::vector<std::uint8_t>(10), RowKind::body);
    });
    fault("half a letter", "bir harfin ortasında", [](Patient& p) {
        const auto [page, at] = p.fieldWhere(name, [](auto bytes) { return bytes.size() % 2 == 1; });
        p.poke(page, at, {'A', 0});
    });
    fault("date outside the calendar", "tarih", [](Patient& p) {
        const auto [page, at] = p.fieldWhere(day, [](auto) { return true; });
        p.poke(page, at, {0, 0, 0, 0, 0, 0, 0xF0, 0x7F});
    });
    warning("counter below the largest number", "sayaç",
            [](Patient& p) { p.put(p.large().definition.page, head::lastAutoNumber, 3); });

    // Definitions
    fault("two fields in one place", "aynı yeri gösteriyor", [](Patient& p) {
        const auto& columns = p.large().definition.columns;
        ASSERT_TRUE(columns[day].fixed && columns[0].fixed);
        p.put(p.large().definition.page, definition_layout::column::fixedOffset, columns[0].fixedOffset + 1,
              p.columnRecord(day));
    });
    fault("long values of a column of numbers", "başka türden bir sütuna", [](Patient& p) {
        const LongValueMaps& maps = p.large().definition.longValues.front();
        const PageView page = p.pager().read(p.large().definition.page);
        for (std::size_t at = page.size() - longValueMaps::bytes; at > 0; --at) {
            if (longValueMaps::owned.get(page.subspan(at)) != maps.owned) continue;
            p.put(p.large().definition.page, longValueMaps::columnId, p.large().definition.columns[day].id, at);
            break;
        }
    });

    // Values outside their rows
    const auto isOutside = [](std::span<const std::uint8_t> bytes) {
        return at::lengthAndKind.get(bytes) >> at::kindShift == at::onePageKind;
    };
    fault("value on a missing page", "uzun alan", [=](Patient& p) {
        const auto [page, at] = p.fieldWhere(note, isOutside);
        p.poke(page, at + at::place.page.begin, {255, 255, 15});
    });
    fault("value in a dead slot", "uzun alanın satırı yok", [=](Patient& p) {
        const auto [page, at] = p.fieldWhere(note, isOutside);
        const RowId value = at::place.get(p.pager().read(page).subspan(at));
        killSlot(p.pager().write(value.page), value.slot);
    });
    fault("value of two rows", "iki değere ait", [=](Patient& p) {
        std::set<RowId> seen;
        const auto first = p.fieldWhere(note, isOutside);
        const auto second = p.fieldWhere(note, [&](auto bytes) {
            return isOutside(bytes) && seen.insert(at::place.get(bytes)).second && seen.size() == 2;
        });
        const auto from = p.pager().read(first.first);
        for (std::size_t i = 0; i < at::reference; ++i)
            p.poke(second.first, second.second + i, {from[first.second + i]});
    });
    warning("value of no row", "hiçbir satır kullanmıyor", [=](Patient& p) {
        const auto [page, at] = p.fieldWhere(note, isOutside);
        p.poke(page, at, {0, 0, 0, 0x80});
    });

    // Indexes
    const auto firstEntry = [](Patient& p, std::size_t index) {
        std::pair<Key, RowId> found;
        p.large().tree(p.large().definition.indexes[index]).walk({}, [&](auto key, RowId row) {
            found = {Key(key.begin(), key.end()), row};
            return false;
        });
        return found;
    };
    fault("row without an entry", "dizinde yok", [=](Patient& p) {
        const auto [key, row] = firstEntry(p, 1);
        p.large().tree(p.large().definition.indexes[1]).erase(key, row);
    });
    fault("entry without a row", "öyle sağlam bir satır yok", [](Patient& p) {
        p.large()
            .tree(p.large().definition.indexes[1])
            .insert(Key{key_layout::valueAscending, 1, 0}, RowId{p.dataPage(p.large()), 254});
    });
    fault("entry for a missing page", "öyle sağlam bir satır yok", [](Patient& p) {
        p.large()
            .tree(p.large().definition.indexes[1])
            .insert(Key{key_layout::valueAscending, 1, 0}, RowId{farthestPage, 0});
    });
    fault("two entries for a row", "iki giriş var", [=](Patient& p) {
        const auto [key, row] = firstEntry(p, 1);
        p.large().tree(p.large().definition.indexes[1]).insert(Key{key_layout::valueAscending, 238, 1, 0}, row);
    });
    fault("key of another value", "yazılı anahtar", [=](Patient& p) {
        const auto [key, row] = firstEntry(p, 1);
        const IndexTree tree = p.large().tree(p.large().definition.indexes[1]);
        IndexTree(tree).erase(key, row);
        IndexTree(tree).insert(Key{key_layout::valueAscending, 238, 1, 0}, row);
    });
    fault("field changed behind the index's back", "yazılı anahtar", [](Patient& p) {
        const auto [page, at] = p.fieldWhere(day, [](auto) { return true; });
        p.poke(page, at, {0, 0, 0, 0, 0, 0, 0xF0, 0x40});
    });
    fault("equal keys in a unique index", "benzersiz", [](Patient& p) { p.putFlags(physicalIndex::uniqueFlag); });
    fault("empty field of a required index", "zorunlu", [](Patient& p) { p.putFlags(physicalIndex::requiredFlag); });
    fault("entry that an index without empty rows has", "boş olduğu hâlde",
          [](Patient& p) { p.putFlags(physicalIndex::ignoreNullsFlag); });
    warning("too few distinct keys", "ayrı anahtar",
            [](Patient& p) { p.put(p.small().definition.page, statistics::distinctKeys, 1, statistics::at(0)); });
    fault("tree with a broken link", "dizini", [](Patient& p) {
        const PageNo root = p.large().definition.indexes[1].root;
        p.put(root, index_layout::prefix, 511);
    });
    fault("tree page of another table", "dizini",
          [](Patient& p) { p.put(p.small().definition.indexes[0].root, index_layout::owner, PageNo(2)); });
    return table;
}

TABLE_SUITE(CheckDamage, Damage, checkDamage());

TEST_P(CheckDamage, everyDamageIsNamed)
{
    const Damage& damage = row();
    Patient patient;
    {
        committed(patient.pager(), [&] { damage.inflict(patient); });
    }
    patient.states.clear();
    patient.database.reset();
    patient.database = Database::open(patient.disk, file, Pager::Mode::readOnly);
    const CheckResult result = checkDatabase(*patient.database);
    const auto& sentences = damage.isFault ? result.faults : result.warnings;
    std::string all;
    for (const std::string& sentence : sentences) all += sentence + '\n';
    ASSERT_THAT(all, HasSubstr(damage.sentence));
    if (!damage.isFault) {
        ASSERT_TRUE(result.ok()) << testing::PrintToString(result.faults);
    }
}

// The file would grow by the very page that the map of another table has a bit for.
TEST(Check, nothingIsWrittenWhereTheMapOfAnyTableLeadsPastTheEnd)
{
    Patient patient;
    {
        Transaction change(patient.pager());
        patient.pointPastTheEnd(patient.large().definition.longValues.front().owned);
        change.commit();
    }
    patient.states.clear();
    patient.database.reset();
    patient.database = Database::open(patient.disk, file);
    for (const char16_t* table : {u"Küçük", MixedWork::table})
        ASSERT_THAT(patient.database->table(table).whyReadOnly().value_or(""),
                    HasSubstr("dosyada olmayan sayfaları gösteriyor"));
}

TEST(Check, progressRunsFromZeroToHundred)
{
    Patient patient;
    std::vector<int> seen;
    checkDatabase(*patient.database, [&](int percent) { seen.push_back(percent); });
    ASSERT_GT(seen.size(), 10U);
    ASSERT_TRUE(std::ranges::is_sorted(seen));
    ASSERT_EQ(seen.back(), 100);
    ASSERT_LT(seen.front(), 20);
}

TEST(Check, manyFaultsAreCountedNotListed)
{
    Patient patient;
    {
        Transaction change(patient.pager());
        for (const PageNo page : mapPages(patient.pager(), patient.large().definition.owned))
            for (unsigned slot = 0; slot < *slotCount(patient.pager().read(page)); ++slot) {
                // The slot of a row that is gone may stand at the very end of the page, with no byte to change.
                const auto offset = slotAt(patient.pager().read(page), SlotNo(slot))->offset;
                if (offset < pageSize) patient.poke(page, offset, {99});
            }
        change.commit();
    }
    // Each row is one fault, and one more in each index, where its entry leads to no sound row any more.
    const std::size_t faults = head::rowCount.get(patient.pager().read(patient.large().definition.page)) *
                               (1 + patient.large().definition.indexes.size());
    ASSERT_GT(faults, 600U);
    patient.states.clear();
    const CheckResult result = checkDatabase(*patient.database);
    ASSERT_EQ(result.faults.size(), 501U);
    ASSERT_THAT(result.faults.back(), HasSubstr(" " + std::to_string(faults - 500) + " hata daha"));
}

class CheckSamples : public samples::Test {};

INSTANTIATE_TEST_SUITE_P(, CheckSamples, testing::ValuesIn(samples::table()), RowName());

TEST_P(CheckSamples, databasesOfOtherProgramsAreSound)
{
    files::MemoryDisk disk;
    disk.content(file) = bytesOfFile(row());
    const CheckResult result = checkDatabase(*Database::open(disk, file, Pager::Mode::readOnly));
    ASSERT_TRUE(result.ok()) << testing::PrintToString(result.faults);
    ASSERT_GE(result.tables, 6U);
}

} // namespace
