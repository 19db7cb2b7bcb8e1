#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/database/header.h"
#include "store/jet/format/definition_layout.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/header_layout.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/table/table_state.h"
#include "tests/jet/chosen_rows.h"
#include "tests/jet/random_rows.h"
#include "tests/jet/samples.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <set>

namespace {

using testing::HasSubstr;

using Content = files::MemoryDisk::Content;

/// A database with one table of a few hundred rows.
Content sound()
{
    files::MemoryDisk disk;
    jet::Database::create(disk, "a.mdb", jet::turkish, rows::created);
    const auto database = jet::Database::open(disk, "a.mdb");
    jet::Table& table = database->createTable(u"Cari", {{.name = u"Unvan", .type = jet::ColumnType::text, .size = 50}},
                                              {}, rows::created);
    jet::Transaction change(database->pager());
    for (int i = 0; i < 300; ++i) table.insert({{0, u"Ayşe Öztürk"}});
    change.commit();
    return disk.content("a.mdb");
}

namespace at = jet::header_layout;

/// Changes the readable bytes of the header.
void inHeader(Content& content, const std::function<void(jet::PageBytes)>& change)
{
    const jet::PageBytes page(content.data(), jet::pageSize);
    jet::maskHeader(page);
    change(page);
    jet::maskHeader(page);
}

void text(Content& content, std::size_t at, std::string_view text)
{
    std::copy(text.begin(), text.end(), content.begin() + std::ptrdiff_t(at));
}

Refusal refusalOfOpening(jet::Disk& disk, const std::filesystem::path& file)
{
    return refusalOf([&] { jet::Database::open(disk, file); });
}

struct OpeningRefusalRow {
    std::function<void(Content&)> spoil;
    jet::Fault fault;
};

using jet::Fault;
const RowTable<OpeningRefusalRow> openingRefusal = {
    {"a text file", {[](Content& c) { c.assign(70000, std::uint8_t{'a'}); }, Fault::notADatabase}},
    {"a page full of zeros", {[](Content& c) { std::fill(c.begin(), c.end(), std::uint8_t{0}); }, Fault::notADatabase}},
    {"Access 97", {[](Content& c) { at::version.put(c, 0); }, Fault::oldFormat}},
    {"Access 2010 by its version", {[](Content& c) { at::version.put(c, 3); }, Fault::newFormat}},
    {"Access 2007 by its signature",
     {[](Content& c) { text(c, at::signature.begin, "Standard ACE DB"); }, Fault::newFormat}},
    {"Money by its signature",
     {[](Content& c) { text(c, at::signature.begin, "MSISAM Database"); }, Fault::notADatabase}},
    {"cut inside a page", {[](Content& c) { c.resize(c.size() - 100); }, Fault::cutShort}},
    {"cut before its last page", {[](Content& c) { c.resize(c.size() - jet::pageSize); }, Fault::cutShort}},
    {"cut before the pages of its table", {[](Content& c) { c.resize(16 * jet::pageSize); }, Fault::cutShort}},
    {"cut before the pages of the system", {[](Content& c) { c.resize(5 * jet::pageSize); }, Fault::cutShort}},
    {"a header that leads nowhere",
     {[](Content& c) { inHeader(c, [](jet::PageBytes page) { at::catalogue.put(page, jet::PageNo(7340034U)); }); },
      Fault::damaged}},
    {"a catalogue that is none",
     {[](Content& c) { jet::page_layout::type.put(&c[jet::positionOf(2)], 1); }, Fault::damaged}},
    {"a catalogue without its columns",
     {[](Content& c) { jet::definition_layout::head::columns.put(&c[jet::positionOf(2)], 16); }, Fault::damaged}},
};

TABLE_SUITE(OpeningRefusal, OpeningRefusalRow, openingRefusal);

TEST_P(OpeningRefusal, whatIsNotADatabaseIsToldApart)
{
    const auto& [spoil, fault] = row();
    const std::filesystem::path file(u8"Yağ.mdb");
    files::MemoryDisk disk;
    disk.content(file) = sound();
    spoil(disk.content(file));
    const auto refusal = refusalOfOpening(disk, file);
    ASSERT_EQ(refusal.fault, fault) << refusal.sentence;
    ASSERT_THAT(refusal.sentence, HasSubstr("Yağ.mdb"));
}

TEST(Opening, pathsAreToldApart)
{
    const TemporaryFolder folder;
    const auto check = [](const std::filesystem::path& file, jet::Fault fault) {
        const auto refusal = refusalOfOpening(platform::systemDisk(), file);
        ASSERT_EQ(refusal.fault, fault);
        ASSERT_THAT(refusal.sentence, HasSubstr(file.string()));
    };
    check(folder / "yok.mdb", jet::Fault::notFound);
    check(folder.path(), jet::Fault::isFolder);
}

TEST(Opening, aSecondProgramFindsTheFileInUse)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "Yag.mdb";
    jet::Database::create(platform::systemDisk(), file, jet::turkish, rows::created);
    const auto first = jet::Database::open(platform::systemDisk(), file);
    ASSERT_EQ(refusalOfOpening(platform::systemDisk(), file).fault, jet::Fault::inUse);
}

TEST(Opening, everyRefusalHasItsOwnSentence)
{
    std::map<jet::Fault, std::string> sentences;
    const auto note = [&](const Refusal& refusal) {
        ASSERT_TRUE(refusal.fault) << "was opened";
        sentences.emplace(*refusal.fault, refusal.sentence);
    };
    for (const auto& [name, row] : openingRefusal) {
        files::MemoryDisk disk;
        disk.content("Yağ.mdb") = sound();
        row.spoil(disk.content("Yağ.mdb"));
        note(refusalOfOpening(disk, "Yağ.mdb"));
    }
    const TemporaryFolder folder;
    note(refusalOfOpening(platform::systemDisk(), folder / "yok.mdb"));
    note(refusalOfOpening(platform::systemDisk(), folder.path()));
    jet::Database::create(platform::systemDisk(), folder / "Yag.mdb", jet::turkish, rows::created);
    const auto first = jet::Database::open(platform::systemDisk(), folder / "Yag.mdb");
    note(refusalOfOpening(platform::systemDisk(), folder / "Yag.mdb"));

    std::set<std::string> different;
    for (const auto& [fault, sentence] : sentences) {
        ASSERT_TRUE(different.insert(sentence).second) << sentence;
        ASSERT_TRUE(sentence.ends_with('.')) << sentence;
    }
    ASSERT_GE(different.size(), 8U);
}

struct SoundDatabase : testing::Test {
    SoundDatabase() { disk.content("a.mdb") = sound(); }
    files::MemoryDisk disk;
};

TEST_F(SoundDatabase, aHeaderWithoutAReadableTimeStillOpens)
{
    inHeader(disk.content("a.mdb"),
             [](jet::PageBytes page) { std::ranges::fill(at::creationTime.of(page), std::uint8_t{0xFF}); });
    ASSERT_TRUE(jet::Database::open(disk, "a.mdb")->hasTable(u"Cari"));
}

TEST_F(SoundDatabase, oneDamagedTableLeavesTheOthersReadable)
{
    jet::PageNo damaged = 0;
    {
        const auto database = jet::Database::open(disk, "a.mdb");
        damaged = database->createTable(u"Bozuk", {{.name = u"A", .type = jet::ColumnType::byte}}, {}, rows::created)
                      .definitionPage();
    }
    jet::definition_layout::head::length.put(&disk.content("a.mdb")[jet::positionOf(damaged)], 255);
    const auto database = jet::Database::open(disk, "a.mdb");
    ASSERT_EQ(database->tableNames().size(), 2U);
    ASSERT_EQ(allRows(database->table(u"Cari")).size(), 300U);
    ASSERT_THROW(database->table(u"Bozuk"), jet::Error);
}

TEST_F(SoundDatabase, namesAreFoundInAnyCase)
{
    const auto database = jet::Database::open(disk, "a.mdb");
    ASSERT_TRUE(database->hasTable(u"CARI"));
    ASSERT_TRUE(database->hasTable(u"CARİ"));
    ASSERT_FALSE(database->hasTable(u"Car"));
    ASSERT_FALSE(database->hasTable(u"MSysObjects"));
    ASSERT_EQ(&database->table(u"cari"), &database->table(u"Cari"));
    ASSERT_EQ(database->table(u"Cari").columnNamed(u"UNVAN"), std::optional<std::size_t>(0));
}

TEST_F(SoundDatabase, anUnknownTableIsNamed)
{
    const auto database = jet::Database::open(disk, "a.mdb");
    const auto refusal = refusalOf([&] { database->table(u"Müşteri"); });
    ASSERT_EQ(refusal.fault, jet::Fault::noSuchTable);
    ASSERT_THAT(refusal.sentence, HasSubstr("\"Müşteri\""));
}

TEST(Opening, aLinkedTableIsNamedAsWhatItIs)
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    const auto database = jet::Database::open(disk, "a.mdb");
    const jet::Table& listed = database->table(u"MSysObjects");
    jet::Table::State objects(database->pager(), listed.name(), listed.definitionPage(), {});
    objects.systemObjects = &listed;
    const auto column = [&](std::u16string_view name) { return *listed.columnNamed(name); };
    const std::vector<jet::Assignment> link = {{column(u"Id"), std::numeric_limits<std::int32_t>::min() + 256},
                                               {column(u"ParentId"), static_cast<std::int32_t>(jet::tablesContainer)},
                                               {column(u"Name"), std::u16string(u"Uzak")},
                                               {column(u"Type"), std::int16_t{6}},
                                               {column(u"DateCreate"), rows::created},
                                               {column(u"DateUpdate"), rows::created},
                                               {column(u"Database"), std::u16string(u"C:\\Ofis\\Asıl.mdb")},
                                               {column(u"ForeignName"), std::u16string(u"Müşteri")}};
    objects.insert(link);
    ASSERT_FALSE(database->hasTable(u"Uzak"));
    ASSERT_EQ(database->linkedTables().size(), 1U);
    try {
        database->table(u"UZAK");
        FAIL() << "found it";
    } catch (const jet::Error& error) {
        ASSERT_EQ(error.fault(), jet::Fault::noSuchTable);
        ASSERT_THAT(error.what(), HasSubstr("'C:\\Ofis\\Asıl.mdb' dosyasının \"Müşteri\" tablosunda"));
    }
}

TEST(Opening, theTablesOfTheFileItselfStaySoWhateverTheirFlagsSay)
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    auto database = jet::Database::open(disk, "a.mdb");
    {
        const jet::Table& listed = database->table(jet::msysObjects);
        jet::Table::State objects(database->pager(), listed.name(), listed.definitionPage(), {});
        objects.systemObjects = &listed;
        const std::size_t name = *listed.columnNamed(u"Name"), flags = *listed.columnNamed(u"Flags");
        const auto ofTheSystem = {jet::msysObjects, jet::msysAces, jet::msysQueries, jet::msysRelationships};
        const auto rows = rowsWhere(listed, [&](const jet::RowView& row) {
            return std::ranges::any_of(ofTheSystem, [&](const auto* each) { return row.textIs(name, each); });
        });
        ASSERT_EQ(rows.size(), 4U);
        for (const jet::RowId row : rows) objects.update(row, std::vector<jet::Assignment>{{flags, std::int32_t{14}}});
    }
    database.reset();
    database = jet::Database::open(disk, "a.mdb");
    ASSERT_EQ(database->tableNames(), std::vector<std::u16string>{u"Cari"});
    ASSERT_EQ(faultOf([&] { database->table(jet::msysObjects).eraseAll(); }), jet::Fault::readOnly);
}

struct OpeningOtherVersionsRow {
    const char* file; // among the samples
    jet::Fault fault;
};
class OpeningOtherVersions : public TableTest<OpeningOtherVersionsRow> {
protected:
    void SetUp() override
    {
        if (!samples::present()) GTEST_SKIP() << samples::absent;
    }
};

const RowTable<OpeningOtherVersionsRow> openingOtherVersions = {
    {"Access 97", {"mdb/access97.mdb", jet::Fault::oldFormat}},
    {"Access 2007", {"mdb/access2007.accdb", jet::Fault::newFormat}},
};

INSTANTIATE_TEST_SUITE_P(, OpeningOtherVersions, testing::ValuesIn(openingOtherVersions), RowName());

TEST_P(OpeningOtherVersions, filesOfOtherVersionsOfAccessAreRefused)
{
    const auto refusal = refusalOf(
        [] { jet::Database::open(platform::systemDisk(), samples::database(row().file), jet::Pager::Mode::readOnly); });
    ASSERT_EQ(refusal.fault, row().fault) << refusal.sentence;
}

} // namespace
