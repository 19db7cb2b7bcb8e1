#include "platform/system_disk.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/care/rescue.h"
#include "store/jet/database/database.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/long_value_layout.h"
#include "store/jet/format/row_page_layout.h"
#include "tests/jet/check_result.h"
#include "tests/jet/committed.h"
#include "tests/jet/memory_database.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <random>

using namespace jet;
namespace at = jet::long_value_layout;
namespace row_page = jet::row_page_layout;

/// Memo and OLE values of any length. Where their parts stand is looked up by the bytes of the file, not by the engine.
namespace {

using testing::HasSubstr;

const std::filesystem::path other = "yeni.mdb";
enum : std::size_t { number, memo, ole };

Bytes someBytes(std::size_t length, unsigned seed)
{
    std::mt19937 random(seed);
    Bytes bytes(length);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

/// Letters that each take two bytes.
std::u16string someText(std::size_t length)
{
    std::u16string text(length, u'ş');
    for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char16_t>(0x411 + i % 700 % 23 + i / 4000 % 7);
    return text;
}

class LongValues : public testing::Test, protected MemoryDatabase {
protected:
    LongValues() : MemoryDatabase("uzun.mdb")
    {
        table_ = &database->createTable(u"Notlar",
                                        {{.name = u"No", .type = ColumnType::longInteger},
                                         {.name = u"Not", .type = ColumnType::memo},
                                         {.name = u"Resim", .type = ColumnType::ole}},
                                        {{.name = u"No", .columns = {{u"No", true}}}}, rows::created);
    }
    void reopen(Pager::Mode mode = Pager::Mode::readWrite)
    {
        MemoryDatabase::reopen(mode);
        table_ = &database->table(u"Notlar");
    }
    /// Where a chain's parts stand and how long each is, by its reference in the row.
    struct Part {
        RowId place;
        std::size_t length = 0; ///< bytes of its row
    };
    static std::size_t offsetOf(PageView page, SlotNo slot)
    {
        return getU16(&page[row_page::slotAt(slot)]) & row_page::offsetMask;
    }
    std::vector<Part> chainOf(RowId row, std::size_t column)
    {
        const auto view = table_->row(row);
        const auto reference = view->stored(column);
        std::vector<Part> parts;
        RowId place = at::place.get(reference);
        while (place.page != 0) {
            const PageView page = pager().read(place.page);
            EXPECT_TRUE(isPageOf(page, PageType::row));
            EXPECT_EQ(row_page::owner.get(page), row_page::longValueOwner);
            const std::size_t from = offsetOf(page, place.slot);
            const std::size_t to = place.slot == 0 ? pageSize : offsetOf(page, SlotNo(place.slot.number() - 1U));
            parts.push_back({place, to - from});
            place = at::nextPiece.get(page.subspan(from));
        }
        return parts;
    }
    void pointTo(RowId place, RowId next)
    {
        Transaction change(pager());
        const PageBytes page = pager().write(place.page);
        at::nextPiece.put(page.subspan(offsetOf(page, place.slot)), next);
        change.commit();
        reopen();
    }
    CheckResult check() { return checkDatabase(*database); }
    void expectSound() const { EXPECT_EQ(faults(), ""); }
    std::size_t freePages() { return mapPages(pager(), MapRef{0, 1}).size(); }

    Table* table_ = nullptr;
};

constexpr std::size_t lengths[] = {0,    1,    63,   64,   65,   66,    2000,  4075,   4076,
                                   4077, 4078, 8143, 8144, 8145, 12216, 12217, 100000, 3000000};

TEST_F(LongValues, ofEveryLengthComeBack)
{
    for (const std::size_t length : lengths) {
        const Bytes bytes = someBytes(length, 1);
        const std::u16string text = someText(length / 2);
        const RowId row = table_->insert({{number, 1}, {memo, text}, {ole, bytes}});
        reopen();
        ASSERT_EQ(table_->row(row)->value(ole), Value(bytes)) << length;
        ASSERT_EQ(table_->row(row)->value(memo), Value(text)) << length;
        std::u16string read;
        ASSERT_TRUE(table_->row(row)->text(memo, read));
        ASSERT_TRUE(read == text && table_->row(row)->textIs(memo, text));
        expectSound();
        ASSERT_FALSE(HasFailure()) << length;
    }
}

/// PRESVA_LONGEST sets the length of the longest in bytes; the usual run stays at what a disk in memory holds easily.
TEST_F(LongValues, growAndShrinkInStepsUpToTheLongest)
{
    constexpr std::size_t limit = at::lengthMask; // a gibibyte, but for one byte
    const auto longest = std::min(limit, static_cast<std::size_t>(numberFromEnvironment("PRESVA_LONGEST", 20'000'000)));
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "uzun.mdb";
    Database::create(platform::systemDisk(), path, turkish, rows::created);
    Database::open(platform::systemDisk(), path)
        ->createTable(u"Notlar", {{.name = u"Resim", .type = ColumnType::ole}}, {}, rows::created);
    // The file is opened anew for each: what one value takes in memory is gone before the next.
    const auto opened = [&] { return Database::open(platform::systemDisk(), path); };
    const RowId row = opened()->table(u"Notlar").insert({{0, someBytes(1, 1)}});
    const auto replaceAndRead = [&](std::size_t length, unsigned seed) {
        {
            std::vector<Assignment> fields(1);
            fields[0].value = someBytes(length, seed);
            const auto database = opened();
            database->table(u"Notlar").update(row, std::span<const Assignment>(fields));
        }
        const auto database = opened();
        const Value read = database->table(u"Notlar").row(row)->value(0);
        ASSERT_EQ(std::get<Bytes>(read).size(), length);
        std::mt19937 random(seed);
        ASSERT_TRUE(std::ranges::all_of(std::get<Bytes>(read), [&](std::uint8_t byte) {
            return byte == static_cast<std::uint8_t>(random());
        })) << length;
    };
    unsigned seed = 1;
    for (std::size_t length = 1; length < longest; length = length * 7 + 1) {
        replaceAndRead(length, ++seed);
        replaceAndRead(length / 3 + 1, ++seed);
    }
    replaceAndRead(longest, ++seed);
    {
        ASSERT_THAT(checkDatabase(*Database::open(platform::systemDisk(), path, Pager::Mode::readOnly)),
                    findsNothing());
    }
    opened()->table(u"Notlar").erase(row);
    const auto database = opened();
    const std::size_t used = database->pager().pageCount() - mapPages(database->pager(), MapRef{0, 1}).size();
    ASSERT_LT(used, 100U);
}

TEST_F(LongValues, ofManyPagesStandAsAccessWritesThem)
{
    const Bytes bytes = someBytes(at::longestPiece * 3 + 5, 2);
    const RowId row = table_->insert({{ole, bytes}});
    const auto view = table_->row(row);
    const auto reference = view->stored(ole);
    ASSERT_EQ(reference.size(), at::reference);
    ASSERT_EQ(at::lengthAndKind.get(reference), bytes.size() | at::chainKind << at::kindShift);
    ASSERT_EQ(at::stamp.get(reference), 0U);
    const auto parts = chainOf(row, ole);
    ASSERT_EQ(parts.size(), 4U);
    Bytes joined;
    for (const Part& part : parts) {
        // A page to itself, no stamp, all but the last one full.
        const PageView page = pager().read(part.place.page);
        ASSERT_EQ(part.place.slot.number(), 0);
        ASSERT_EQ(row_page::slotCount.get(page), 1U);
        ASSERT_EQ(row_page::stamp.get(page), 0U);
        ASSERT_EQ(part.length, &part == &parts.back() ? 9U : 4076U);
        ASSERT_EQ(row_page::freeBytes.get(page), pageSize - row_page::slotsEnd(1) - part.length);
        joined.insert(joined.end(), page.end() - static_cast<std::ptrdiff_t>(part.length) + 4, page.end());
    }
    ASSERT_EQ(joined, bytes);
    // What follows is not put beside the last part.
    const RowId shorter = table_->insert({{ole, someBytes(100, 3)}});
    const RowId place = at::place.get(table_->row(shorter)->stored(ole));
    for (const Part& part : parts) ASSERT_NE(place.page, part.place.page);
}

TEST_F(LongValues, giveTheirPagesBack)
{
    const RowId keeper = table_->insert({{number, 1}, {memo, someText(40)}});
    // The longest makes the column's map larger for good.
    table_->erase(table_->insert({{ole, someBytes(lengths[std::size(lengths) - 1], 3)}}));
    for (const std::size_t length : lengths) {
        const std::size_t before = freePages(), pages = pager().pageCount();
        const RowId row = table_->insert({{number, 2}, {ole, someBytes(length, 4)}});
        table_->update(row, {{ole, someBytes(200, 5)}});
        table_->update(row, {{ole, someBytes(length, 6)}});
        table_->update(row, {{ole, Value()}});
        table_->update(row, {{ole, someBytes(length, 7)}});
        table_->erase(row);
        // The file may have grown meanwhile, but every page that it grew by is free again.
        ASSERT_EQ(freePages() - before, pager().pageCount() - pages) << length;
        expectSound();
    }
    ASSERT_EQ(table_->row(keeper)->value(memo), Value(someText(40)));
}

TEST_F(LongValues, areNotTouchedByChangesOfOtherFields)
{
    const Bytes bytes = someBytes(50000, 8);
    const RowId row = table_->insert({{number, 1}, {ole, bytes}});
    const auto stored = [&] {
        const auto view = table_->row(row);
        const auto reference = view->stored(ole);
        return Bytes(reference.begin(), reference.end());
    };
    const Bytes before = stored();
    table_->update(row, {{number, 2}, {memo, someText(9000)}});
    table_->update(row, {{memo, u"kısa"}});
    ASSERT_EQ(stored(), before);
    ASSERT_EQ(table_->row(row)->value(ole), Value(bytes));
    expectSound();
}

TEST_F(LongValues, roomBesideAValueIsUsedAgain)
{
    // Two values on a page, one of them away: the next one stands there, and no page is taken.
    const RowId first = table_->insert({{ole, someBytes(1500, 1)}});
    const RowId second = table_->insert({{ole, someBytes(1500, 2)}});
    table_->insert({{ole, someBytes(3000, 3)}}); // finds no room there, and says so to the map
    table_->erase(first);
    const std::size_t pages = pager().pageCount(), free = freePages();
    table_->insert({{ole, someBytes(2000, 4)}});
    ASSERT_EQ(pager().pageCount(), pages);
    ASSERT_EQ(freePages(), free);
    ASSERT_EQ(table_->row(second)->value(ole), Value(someBytes(1500, 2)));
    expectSound();
}

TEST_F(LongValues, takenBackLeaveNothingBehind)
{
    const RowId row = table_->insert({{ole, someBytes(30000, 1)}});
    const std::size_t pages = pager().pageCount(), free = freePages();
    {
        Transaction change(pager());
        table_->update(row, {{ole, someBytes(200000, 2)}});
        table_->insert({{memo, someText(100000)}});
    }
    ASSERT_EQ(pager().pageCount(), pages);
    ASSERT_EQ(freePages(), free);
    ASSERT_EQ(table_->row(row)->value(ole), Value(someBytes(30000, 1)));
    expectSound();
}

TEST_F(LongValues, areCarriedByCompactAndRescue)
{
    std::map<std::int32_t, std::pair<Value, Value>> expected;
    std::int32_t next = 0;
    for (const std::size_t length : lengths) {
        expected[++next] = {Value(someText(length)), Value(someBytes(length, 9))};
        table_->insert({{number, next}, {memo, expected[next].first}, {ole, expected[next].second}});
    }
    const auto contentOf = [&](const std::filesystem::path& path) {
        const auto database = Database::open(disk, path, Pager::Mode::readOnly);
        EXPECT_TRUE(checkDatabase(*database).ok());
        std::map<std::int32_t, std::pair<Value, Value>> content;
        database->table(u"Notlar").forEachRow([&](RowId, const RowView& row) {
            content[std::get<std::int32_t>(row.value(number))] = {row.value(memo), row.value(ole)};
            return true;
        });
        return content;
    };
    compact(disk, *database, other);
    ASSERT_TRUE(contentOf(other) == expected);
    disk.remove(other);
    database.reset();
    ASSERT_TRUE(rescue(disk, file, other, rows::created).whole());
    ASSERT_TRUE(contentOf(other) == expected);
}

// ---- damage ----

/// What is made of a chain of four parts, and a word of the sentence that must name it.
struct Damage {
    void (*inflict)(std::vector<RowId> parts, const std::function<void(RowId, RowId)>& point);
    const char* sentence;
};

class DamagedChain : public LongValues, public testing::WithParamInterface<NamedRow<Damage>> {};

INSTANTIATE_TEST_SUITE_P(
    , DamagedChain,
    testing::ValuesIn(RowTable<Damage>{
        {"to itself", {[](auto parts, const auto& point) { point(parts[1], parts[1]); }, "kendine"}},
        {"to its beginning", {[](auto parts, const auto& point) { point(parts[2], parts[0]); }, "kendine"}},
        {"too short", {[](auto parts, const auto& point) { point(parts[1], RowId{}); }, "yarım"}},
        {"to no slot",
         {[](auto parts, const auto& point) {
              point(parts[1], {parts[2].page, 9});
          },
          "satırı yok"}},
        {"behind the file",
         {[](auto parts, const auto& point) {
              point(parts[1], {PageNo(maxPages), 0});
          },
          "olmayan"}},
        {"to a definition",
         {[](auto parts, const auto& point) {
              point(parts[1], {2, 0});
          },
          "uzun alan sayfası"}},
    }),
    RowName());

TEST_P(DamagedChain, isNamedAndNeverWrittenOver)
{
    const Damage& damage = GetParam().row;
    const RowId row = table_->insert({{number, 7}, {ole, someBytes(at::longestPiece * 4, 1)}});
    const RowId sound = table_->insert({{number, 8}, {ole, someBytes(9000, 2)}});
    std::vector<RowId> parts;
    for (const Part& part : chainOf(row, ole)) parts.push_back(part.place);
    ASSERT_EQ(parts.size(), 4U);
    damage.inflict(parts, [&](RowId from, RowId to) { pointTo(from, to); });

    ASSERT_EQ(faultOf([&] { table_->row(row)->value(ole); }), Fault::damaged);
    ASSERT_THAT(check().faults, testing::Contains(HasSubstr(damage.sentence)));
    const auto before = disk.content(file);
    ASSERT_THAT(table_->whyReadOnly().value_or(""), HasSubstr(damage.sentence));
    ASSERT_NE(faultOf([&] { table_->erase(row); }), std::nullopt);
    ASSERT_NE(faultOf([&] { table_->update(sound, {{ole, Value()}}); }), std::nullopt);
    ASSERT_EQ(disk.content(file), before);
    ASSERT_EQ(table_->row(sound)->value(ole), Value(someBytes(9000, 2)));

    // All the rest is saved, and the loss is named.
    database.reset();
    const RescueResult result = rescue(disk, file, other, rows::created);
    ASSERT_THAT(result.losses, testing::ElementsAre(HasSubstr("Resim")));
    ASSERT_EQ(result.tables.at(0).rows, 2U);
}

TEST_F(LongValues, twoThatShareAPartAreNotWritten)
{
    // Deleting one of them would take the other one's part away.
    const RowId one = table_->insert({{ole, someBytes(at::longestPiece * 3, 1)}});
    const RowId two = table_->insert({{ole, someBytes(at::longestPiece * 3, 2)}});
    const auto first = chainOf(one, ole), second = chainOf(two, ole);
    pointTo(first[1].place, second[2].place);
    ASSERT_THAT(check().faults, testing::Contains(HasSubstr("iki değere ait")));
    ASSERT_THAT(table_->whyReadOnly().value_or(""), HasSubstr("aynı yeri paylaşıyor"));
}

TEST_F(LongValues, aPromiseOfMoreThanTheFileHoldsTakesNoMemory)
{
    const RowId row = table_->insert({{ole, someBytes(at::longestPiece * 2, 1)}});
    const RowId place = row;
    const auto view = table_->row(row);
    const auto offset = static_cast<std::size_t>(view->stored(ole).data() - pager().read(place.page).data());
    committed(pager(), [&] { at::lengthAndKind.put(&pager().write(place.page)[offset], at::lengthMask); });
    ASSERT_EQ(faultOf([&] { table_->row(row)->value(ole); }), Fault::damaged);
}

} // namespace
