#include "store/jet/pages/row_page.h"
#include "store/jet/rows/row_codec.h"
#include "tests/support/bytes.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>

namespace {

using jet::ColumnType;

/// A Long, a Boolean, a variable Double and a text; once there was a further variable column between the last two.
jet::RowLayout layout()
{
    jet::RowLayout layout;
    layout.columnsEver = 5;
    layout.variableEver = 3;
    layout.fixedEnd = 6;
    layout.fields = {{.type = ColumnType::longInteger, .fixed = true, .id = 0, .offset = 2, .length = 4},
                     {.type = ColumnType::boolean, .fixed = true, .id = 1},
                     {.type = ColumnType::doubleFloat, .id = 2, .variableIndex = 0},
                     {.type = ColumnType::text, .id = 4, .variableIndex = 2}};
    layout.lengthChecked = {2};
    return layout;
}

using Page = std::array<std::uint8_t, jet::pageSize>;

TEST(RowPage, aRowIsFixedFieldsThenVariableOnesThenTheirPlaces)
{
    const std::vector<std::optional<jet::Bytes>> fields{bytesOf("01020304"), jet::Bytes(), std::nullopt,
                                                        bytesOf("41004200")};
    jet::Bytes row;
    jet::encodeRow(layout(), fields, row);
    ASSERT_EQ(hexOf(row), plainHex("0500 01020304 41004200 0A00 0600 0600 0600 0300 13"));
    ASSERT_EQ(jet::rowDamage(layout(), row), nullptr);
    ASSERT_EQ(hexOf(*jet::fieldBytes(layout(), 0, row)), plainHex("01020304"));
    ASSERT_TRUE(jet::fieldBytes(layout(), 1, row).has_value());
    ASSERT_FALSE(jet::fieldBytes(layout(), 2, row).has_value());
    ASSERT_EQ(hexOf(*jet::fieldBytes(layout(), 3, row)), plainHex("41004200"));
}

TEST(RowPage, aRowOfBooleansIsLongEnoughToBecomeAPointer)
{
    jet::RowLayout booleans;
    booleans.columnsEver = 1;
    booleans.fields = {{.type = ColumnType::boolean, .fixed = true}};
    jet::Bytes row;
    jet::encodeRow(booleans, std::vector<std::optional<jet::Bytes>>{jet::Bytes()}, row);
    ASSERT_EQ(hexOf(row), plainHex("0100 00 01"));
    ASSERT_TRUE(jet::fieldBytes(booleans, 0, row).has_value());
}

TEST(RowPage, fieldsOfColumnsThatCameLaterAreNull)
{
    // Written when the table had two columns, none of them variable but one place for such reserved.
    const jet::Bytes row = bytesOf("0200 01020304 0600 0600 0100 03");
    ASSERT_EQ(jet::rowDamage(layout(), row), nullptr);
    ASSERT_TRUE(jet::fieldBytes(layout(), 0, row).has_value());
    ASSERT_FALSE(jet::fieldBytes(layout(), 2, row).has_value());
    ASSERT_FALSE(jet::fieldBytes(layout(), 3, row).has_value());
}

const RowTable<std::string> rowDamage = {
    {"no bytes", ""},
    {"two bytes", "0500"},
    {"no columns", "0000 01020304 0600 0600 0100 00"},
    {"more columns than the table ever had", "0600 01020304 0600 0600 0600 0600 0300 00"},
    {"shorter than its bitmap", "0500 00"},
    {"more variable fields than the table ever had", "0500 01020304 0600 0600 0600 0600 0600 0400 01"},
    {"table of places longer than the row", "0500 0600 0300 01"},
    {"a variable field inside the fixed ones", "0500 01020304 0600 0600 0600 0400 0300 01"},
    {"places descend", "0500 01020304 41004200 0A00 0600 0800 0600 0300 11"},
    {"the last field ends behind the row", "0500 01020304 41004200 FF00 0600 0600 0600 0300 11"},
    {"the last field ends inside the table", "0500 01020304 41004200 0C00 0600 0600 0600 0300 11"},
    {"a Double of four bytes", "0500 01020304 41004200 0A00 0A00 0A00 0600 0300 05"},
};

TABLE_SUITE(RowDamage, std::string, rowDamage);

TEST_P(RowDamage, damagedRowsAreToldApart) { ASSERT_NE(jet::rowDamage(layout(), bytesOf(row())), nullptr); }

TEST(RowPage, rowsGrowFromTheEndOfThePage)
{
    Page page{};
    jet::initRowPage(page, 37);
    ASSERT_EQ(jet::freeBytes(page), std::size_t(4096 - 14));
    ASSERT_EQ(jet::appendRow(page, bytesOf("AABBCC"), jet::RowKind::ordinary), jet::SlotNo(0));
    ASSERT_EQ(jet::appendRow(page, bytesOf("DDEE"), jet::RowKind::body), jet::SlotNo(1));
    ASSERT_EQ(hexOf(std::span(page).first(18)), plainHex("0101 E90F 25000000 00000000 0200 FD0F FB8F"));
    ASSERT_EQ(hexOf(std::span(page).last(5)), plainHex("DDEE AABBCC"));
    ASSERT_TRUE(jet::slotAt(page, 1)->body());
    ASSERT_TRUE(jet::slotAt(page, 0)->live());
}

const RowTable<std::string> rowReplacement = {
    {"longer", "0102030405060708"},
    {"shorter", "01"},
    {"as long", "010203"},
    {"nothing", ""},
};

TABLE_SUITE(RowReplacement, std::string, rowReplacement);

TEST_P(RowReplacement, replacingARowMovesTheRowsBelowIt)
{
    const std::string& changed = row();
    Page page{};
    jet::initRowPage(page, 37);
    for (const char* row : {"AABB", "CCDDEE", "FF", "99887766"}) {
        jet::appendRow(page, bytesOf(row), jet::RowKind::ordinary);
    }
    const std::size_t before = jet::freeBytes(page);
    const jet::Bytes row = bytesOf(changed);
    ASSERT_TRUE(jet::fitsSlot(page, 1, row.size()));
    jet::replaceRow(page, 1, row);
    ASSERT_TRUE(jet::slotsInOrder(page));
    ASSERT_EQ(jet::freeBytes(page), before + 3 - row.size());
    ASSERT_EQ(std::size_t(jet::row_page_layout::freeBytes.get(page)), jet::freeBytes(page));
    ASSERT_EQ(hexOf(jet::slotBytes(page, *jet::slotAt(page, 0))), plainHex("AABB"));
    ASSERT_EQ(hexOf(jet::slotBytes(page, *jet::slotAt(page, 1))), hexOf(row));
    ASSERT_EQ(hexOf(jet::slotBytes(page, *jet::slotAt(page, 2))), plainHex("FF"));
    ASSERT_EQ(hexOf(jet::slotBytes(page, *jet::slotAt(page, 3))), plainHex("99887766"));
}

TEST(RowPage, aDeadSlotGivesItsBytesBackAndKeepsItsNumber)
{
    Page page{};
    jet::initRowPage(page, 37);
    jet::appendRow(page, bytesOf("AABBCCDD"), jet::RowKind::ordinary);
    jet::appendRow(page, bytesOf("EEFF"), jet::RowKind::body);
    jet::killSlot(page, 0);
    ASSERT_TRUE(jet::slotAt(page, 0)->dead());
    ASSERT_TRUE(jet::slotAt(page, 1)->body());
    ASSERT_FALSE(jet::allSlotsDead(page));
    ASSERT_EQ(hexOf(std::span(page).last(2)), plainHex("EEFF"));
    ASSERT_EQ(jet::appendRow(page, bytesOf("11"), jet::RowKind::ordinary), jet::SlotNo(2));
    jet::killAllSlots(page);
    ASSERT_TRUE(jet::allSlotsDead(page));
    ASSERT_EQ(jet::freeBytes(page), std::size_t(4096 - 14 - 6));
    ASSERT_EQ(hexOf(std::span(page).subspan(14, 6)), plainHex("00D0 00D0 00D0"));
}

TEST(RowPage, aFullSlotTableTakesNoMoreRows)
{
    Page page{};
    jet::initRowPage(page, 37);
    for (unsigned slot = 0; slot < jet::limits::slotsOnPage; ++slot) {
        ASSERT_GT(jet::roomForRow(page), 0);
        jet::appendRow(page, bytesOf("AABB"), jet::RowKind::ordinary);
        jet::killSlot(page, jet::SlotNo(slot));
    }
    ASSERT_EQ(jet::roomForRow(page), 0U);
}

const RowTable<std::string> rowSlots = {
    {"an offset inside the table", "1000 0F00"},        {"an offset behind the page", "0100 0118"},
    {"offsets that ascend", "0200 000F 010F"},          {"more slots than a row id can name", "0101 F00F"},
    {"a slot table longer than the page", "FFFF F00F"},
};

TABLE_SUITE(RowSlots, std::string, rowSlots);

TEST_P(RowSlots, slotsOutsideThePageAreNotFollowed)
{
    const std::string& slotTable = row();
    Page page{};
    jet::initRowPage(page, 37);
    const jet::Bytes table = bytesOf(slotTable);
    std::copy(table.begin(), table.end(), page.begin() + jet::row_page_layout::slotCount.begin);
    ASSERT_FALSE(jet::slotsInOrder(page));
}

} // namespace
