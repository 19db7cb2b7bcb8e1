#include "store/jet/pages/row_page.h"
#include "store/jet/rows/row_codec.h"

#include <QtTest>

#include <array>

namespace {

using jet::ColumnType;

jet::Bytes bytes(const char* digits)
{
    const QByteArray raw = QByteArray::fromHex(digits);
    return {raw.begin(), raw.end()};
}

QByteArray digits(std::span<const std::uint8_t> bytes)
{
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())).toHex(' ');
}

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

} // namespace

class Rows : public QObject {
    Q_OBJECT
private slots:
    void aRowIsFixedFieldsThenVariableOnesThenTheirPlaces();
    void aRowOfBooleansIsLongEnoughToBecomeAPointer();
    void fieldsOfColumnsThatCameLaterAreNull();
    void damagedRowsAreToldApart_data();
    void damagedRowsAreToldApart();
    void rowsGrowFromTheEndOfThePage();
    void replacingARowMovesTheRowsBelowIt_data();
    void replacingARowMovesTheRowsBelowIt();
    void aDeadSlotGivesItsBytesBackAndKeepsItsNumber();
    void aFullSlotTableTakesNoMoreRows();
    void slotsOutsideThePageAreNotFollowed_data();
    void slotsOutsideThePageAreNotFollowed();
};

void Rows::aRowIsFixedFieldsThenVariableOnesThenTheirPlaces()
{
    const std::vector<std::optional<jet::Bytes>> fields{bytes("01020304"), jet::Bytes(), std::nullopt,
                                                        bytes("41004200")};
    jet::Bytes row;
    jet::encodeRow(layout(), fields, row);
    QCOMPARE(digits(row), digits(bytes("0500 01020304 41004200 0A00 0600 0600 0600 0300 13")));
    QVERIFY(jet::rowDamage(layout(), row) == nullptr);
    QCOMPARE(digits(*jet::fieldBytes(layout(), 0, row)), digits(bytes("01020304")));
    QVERIFY(jet::fieldBytes(layout(), 1, row).has_value());
    QVERIFY(!jet::fieldBytes(layout(), 2, row).has_value());
    QCOMPARE(digits(*jet::fieldBytes(layout(), 3, row)), digits(bytes("41004200")));
}

void Rows::aRowOfBooleansIsLongEnoughToBecomeAPointer()
{
    jet::RowLayout booleans;
    booleans.columnsEver = 1;
    booleans.fields = {{.type = ColumnType::boolean, .fixed = true}};
    jet::Bytes row;
    jet::encodeRow(booleans, std::vector<std::optional<jet::Bytes>>{jet::Bytes()}, row);
    QCOMPARE(digits(row), digits(bytes("0100 00 01")));
    QVERIFY(jet::fieldBytes(booleans, 0, row).has_value());
}

void Rows::fieldsOfColumnsThatCameLaterAreNull()
{
    // Written when the table had two columns, none of them variable but one place for such reserved.
    const jet::Bytes row = bytes("0200 01020304 0600 0600 0100 03");
    QVERIFY(jet::rowDamage(layout(), row) == nullptr);
    QVERIFY(jet::fieldBytes(layout(), 0, row).has_value());
    QVERIFY(!jet::fieldBytes(layout(), 2, row).has_value());
    QVERIFY(!jet::fieldBytes(layout(), 3, row).has_value());
}

void Rows::damagedRowsAreToldApart_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::newRow("no bytes") << QByteArray();
    QTest::newRow("two bytes") << QByteArray("0500");
    QTest::newRow("no columns") << QByteArray("0000 01020304 0600 0600 0100 00");
    QTest::newRow("more columns than the table ever had") << QByteArray("0600 01020304 0600 0600 0600 0600 0300 00");
    QTest::newRow("shorter than its bitmap") << QByteArray("0500 00");
    QTest::newRow("more variable fields than the table ever had")
        << QByteArray("0500 01020304 0600 0600 0600 0600 0600 0400 01");
    QTest::newRow("table of places longer than the row") << QByteArray("0500 0600 0300 01");
    QTest::newRow("a variable field inside the fixed ones") << QByteArray("0500 01020304 0600 0600 0600 0400 0300 01");
    QTest::newRow("places descend") << QByteArray("0500 01020304 41004200 0A00 0600 0800 0600 0300 11");
    QTest::newRow("the last field ends behind the row")
        << QByteArray("0500 01020304 41004200 FF00 0600 0600 0600 0300 11");
    QTest::newRow("the last field ends inside the table")
        << QByteArray("0500 01020304 41004200 0C00 0600 0600 0600 0300 11");
    QTest::newRow("a Double of four bytes") << QByteArray("0500 01020304 41004200 0A00 0A00 0A00 0600 0300 05");
}

void Rows::damagedRowsAreToldApart()
{
    QFETCH(QByteArray, row);
    QVERIFY(jet::rowDamage(layout(), bytes(row.constData())) != nullptr);
}

void Rows::rowsGrowFromTheEndOfThePage()
{
    Page page{};
    jet::initRowPage(page, 37);
    QCOMPARE(jet::freeBytes(page), std::size_t(4096 - 14));
    QCOMPARE(int(jet::appendRow(page, bytes("AABBCC"), jet::RowKind::ordinary)), 0);
    QCOMPARE(int(jet::appendRow(page, bytes("DDEE"), jet::RowKind::body)), 1);
    QCOMPARE(digits(std::span(page).first(18)), digits(bytes("0101 E90F 25000000 00000000 0200 FD0F FB8F")));
    QCOMPARE(digits(std::span(page).last(5)), digits(bytes("DDEE AABBCC")));
    QVERIFY(jet::slotAt(page, 1)->body());
    QVERIFY(jet::slotAt(page, 0)->live());
}

void Rows::replacingARowMovesTheRowsBelowIt_data()
{
    QTest::addColumn<QByteArray>("changed");
    QTest::newRow("longer") << QByteArray("0102030405060708");
    QTest::newRow("shorter") << QByteArray("01");
    QTest::newRow("as long") << QByteArray("010203");
    QTest::newRow("nothing") << QByteArray();
}

void Rows::replacingARowMovesTheRowsBelowIt()
{
    QFETCH(QByteArray, changed);
    Page page{};
    jet::initRowPage(page, 37);
    for (const char* row : {"AABB", "CCDDEE", "FF", "99887766"}) {
        jet::appendRow(page, bytes(row), jet::RowKind::ordinary);
    }
    const std::size_t before = jet::freeBytes(page);
    const jet::Bytes row = bytes(changed.constData());
    QVERIFY(jet::fitsSlot(page, 1, row.size()));
    jet::replaceRow(page, 1, row);
    QVERIFY(jet::slotsInOrder(page));
    QCOMPARE(jet::freeBytes(page), before + 3 - row.size());
    QCOMPARE(std::size_t(jet::getU16(page.data() + 2)), jet::freeBytes(page));
    QCOMPARE(digits(jet::slotBytes(page, *jet::slotAt(page, 0))), digits(bytes("AABB")));
    QCOMPARE(digits(jet::slotBytes(page, *jet::slotAt(page, 1))), digits(row));
    QCOMPARE(digits(jet::slotBytes(page, *jet::slotAt(page, 2))), digits(bytes("FF")));
    QCOMPARE(digits(jet::slotBytes(page, *jet::slotAt(page, 3))), digits(bytes("99887766")));
}

void Rows::aDeadSlotGivesItsBytesBackAndKeepsItsNumber()
{
    Page page{};
    jet::initRowPage(page, 37);
    jet::appendRow(page, bytes("AABBCCDD"), jet::RowKind::ordinary);
    jet::appendRow(page, bytes("EEFF"), jet::RowKind::body);
    jet::killSlot(page, 0);
    QVERIFY(jet::slotAt(page, 0)->dead());
    QVERIFY(jet::slotAt(page, 1)->body());
    QVERIFY(!jet::allSlotsDead(page));
    QCOMPARE(digits(std::span(page).last(2)), digits(bytes("EEFF")));
    QCOMPARE(int(jet::appendRow(page, bytes("11"), jet::RowKind::ordinary)), 2);
    jet::killAllSlots(page);
    QVERIFY(jet::allSlotsDead(page));
    QCOMPARE(jet::freeBytes(page), std::size_t(4096 - 14 - 6));
    QCOMPARE(digits(std::span(page).subspan(14, 6)), digits(bytes("00D0 00D0 00D0")));
}

void Rows::aFullSlotTableTakesNoMoreRows()
{
    Page page{};
    jet::initRowPage(page, 37);
    for (unsigned slot = 0; slot < jet::maxSlots; ++slot) {
        QVERIFY(jet::roomForRow(page) > 0);
        jet::appendRow(page, bytes("AABB"), jet::RowKind::ordinary);
        jet::killSlot(page, slot);
    }
    QCOMPARE(jet::roomForRow(page), std::size_t(0));
}

void Rows::slotsOutsideThePageAreNotFollowed_data()
{
    QTest::addColumn<QByteArray>("slotTable");
    QTest::newRow("an offset inside the table") << QByteArray("1000 0F00");
    QTest::newRow("an offset behind the page") << QByteArray("0100 0118");
    QTest::newRow("offsets that ascend") << QByteArray("0200 000F 010F");
    QTest::newRow("more slots than a row id can name") << QByteArray("0101 F00F");
    QTest::newRow("a slot table longer than the page") << QByteArray("FFFF F00F");
}

void Rows::slotsOutsideThePageAreNotFollowed()
{
    QFETCH(QByteArray, slotTable);
    Page page{};
    jet::initRowPage(page, 37);
    const jet::Bytes table = bytes(slotTable.constData());
    std::copy(table.begin(), table.end(), page.begin() + 12);
    QVERIFY(!jet::slotsInOrder(page));
}

QTEST_GUILESS_MAIN(Rows)
#include "rows.moc"
