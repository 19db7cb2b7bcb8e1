#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/database/header.h"
#include "store/jet/format/doors.h"
#include "tests/jet/random_rows.h"
#include "tests/jet/samples.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
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

/// What opening a file was refused with.
struct Refusal {
    jet::Fault fault;
    std::string sentence;
};

/// Nothing when it was opened.
std::optional<Refusal> refusalOf(jet::Disk& disk, const std::filesystem::path& file)
{
    try {
        jet::Database::open(disk, file);
    } catch (const jet::Error& error) {
        return Refusal{error.fault(), error.what()};
    }
    return std::nullopt;
}

struct OpeningRefusalRow {
    std::function<void(Content&)> spoil;
    jet::Fault fault;
};
class OpeningRefusal : public TableTest<OpeningRefusalRow> {};

RowTable<OpeningRefusalRow> openingRefusal()
{
    RowTable<OpeningRefusalRow> table;
    const auto row = [&table](const char* name, jet::Fault fault, std::function<void(Content&)> spoil) {
        table.push_back({name, {spoil, fault}});
    };
    using jet::Fault;
    row("a text file", Fault::notADatabase, [](Content& c) { c.assign(70000, std::uint8_t{'a'}); });
    row("a page full of zeros", Fault::notADatabase,
        [](Content& c) { std::fill(c.begin(), c.end(), std::uint8_t{0}); });
    row("Access 97", Fault::oldFormat, [](Content& c) { c[0x14] = 0; });
    row("Access 2010 by its version", Fault::newFormat, [](Content& c) { c[0x14] = 3; });
    row("Access 2007 by its signature", Fault::newFormat, [](Content& c) { text(c, 4, "Standard ACE DB"); });
    row("Money by its signature", Fault::notADatabase, [](Content& c) { text(c, 4, "MSISAM Database"); });
    row("a password", Fault::password, [](Content& c) { inHeader(c, [](jet::PageBytes page) { page[0x42] ^= 'x'; }); });
    row("encoded pages", Fault::encoded, [](Content& c) { inHeader(c, [](jet::PageBytes page) { page[0x3E] = 1; }); });
    row("cut inside a page", Fault::cutShort, [](Content& c) { c.resize(c.size() - 100); });
    row("cut before its last page", Fault::cutShort, [](Content& c) { c.resize(c.size() - jet::pageSize); });
    row("cut before the pages of its table", Fault::cutShort, [](Content& c) { c.resize(16 * jet::pageSize); });
    row("cut before the pages of the system", Fault::cutShort, [](Content& c) { c.resize(5 * jet::pageSize); });
    row("a header that leads nowhere", Fault::damaged,
        [](Content& c) { inHeader(c, [](jet::PageBytes page) { page[0x22] = 0x70; }); });
    row("a catalogue that is none", Fault::damaged, [](Content& c) { c[2 * jet::pageSize] = 1; });
    row("a catalogue without its columns", Fault::damaged, [](Content& c) { c[2 * jet::pageSize + 45] = 16; });
    return table;
}

INSTANTIATE_TEST_SUITE_P(, OpeningRefusal, testing::ValuesIn(openingRefusal()), RowName());

TEST_P(OpeningRefusal, whatIsNotADatabaseIsToldApart)
{
    const auto& [spoil, fault] = row();
    files::MemoryDisk disk;
    disk.content("Yağ.mdb") = sound();
    spoil(disk.content("Yağ.mdb"));
    const auto refusal = refusalOf(disk, "Yağ.mdb");
    ASSERT_TRUE(refusal) << "was opened";
    ASSERT_EQ(refusal->fault, fault) << refusal->sentence;
    ASSERT_THAT(refusal->sentence, HasSubstr("Yağ.mdb"));
}

TEST(Opening, pathsAreToldApart)
{
    const TemporaryFolder folder;
    const auto check = [](const std::filesystem::path& file, jet::Fault fault) {
        const auto refusal = refusalOf(platform::systemDisk(), file);
        ASSERT_TRUE(refusal) << "was opened";
        ASSERT_EQ(refusal->fault, fault);
        ASSERT_THAT(refusal->sentence, HasSubstr(file.string()));
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
    const auto refusal = refusalOf(platform::systemDisk(), file);
    ASSERT_TRUE(refusal) << "two programs may write";
    ASSERT_EQ(refusal->fault, jet::Fault::inUse);
}

TEST(Opening, everyRefusalHasItsOwnSentence)
{
    std::map<jet::Fault, std::string> sentences;
    const auto note = [&](const std::optional<Refusal>& refusal) {
        ASSERT_TRUE(refusal) << "was opened";
        sentences.emplace(refusal->fault, refusal->sentence);
    };
    for (const auto& [name, row] : openingRefusal()) {
        files::MemoryDisk disk;
        disk.content("Yağ.mdb") = sound();
        row.spoil(disk.content("Yağ.mdb"));
        note(refusalOf(disk, "Yağ.mdb"));
    }
    const TemporaryFolder folder;
    note(refusalOf(platform::systemDisk(), folder / "yok.mdb"));
    note(refusalOf(platform::systemDisk(), folder.path()));
    jet::Database::create(platform::systemDisk(), folder / "Yag.mdb", jet::turkish, rows::created);
    const auto first = jet::Database::open(platform::systemDisk(), folder / "Yag.mdb");
    note(refusalOf(platform::systemDisk(), folder / "Yag.mdb"));

    std::set<std::string> different;
    for (const auto& [fault, sentence] : sentences) {
        ASSERT_TRUE(different.insert(sentence).second) << sentence;
        ASSERT_TRUE(sentence.ends_with('.')) << sentence;
    }
    ASSERT_GE(different.size(), 8U);
}

TEST(Opening, aHeaderWithoutAReadableTimeStillOpens)
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    inHeader(disk.content("a.mdb"),
             [](jet::PageBytes page) { std::fill_n(page.begin() + 0x72, 8, std::uint8_t{0xFF}); });
    ASSERT_TRUE(jet::Database::open(disk, "a.mdb")->hasTable(u"Cari"));
}

TEST(Opening, oneDamagedTableLeavesTheOthersReadable)
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    jet::PageNo damaged = 0;
    {
        const auto database = jet::Database::open(disk, "a.mdb");
        damaged = database->createTable(u"Bozuk", {{.name = u"A", .type = jet::ColumnType::byte}}, {}, rows::created)
                      .definitionPage();
    }
    disk.content("a.mdb")[jet::positionOf(damaged) + 8] = 0xFF;
    const auto database = jet::Database::open(disk, "a.mdb");
    ASSERT_EQ(database->tableNames().size(), 2U);
    int count = 0;
    database->table(u"Cari").forEachRow([&](jet::RowId, const jet::RowView&) { return ++count > 0; });
    ASSERT_EQ(count, 300);
    ASSERT_THROW(database->table(u"Bozuk"), jet::Error);
}

TEST(Opening, namesAreFoundInAnyCase)
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    const auto database = jet::Database::open(disk, "a.mdb");
    ASSERT_TRUE(database->hasTable(u"CARI"));
    ASSERT_TRUE(database->hasTable(u"CARİ"));
    ASSERT_FALSE(database->hasTable(u"Car"));
    ASSERT_FALSE(database->hasTable(u"MSysObjects"));
    ASSERT_EQ(&database->table(u"cari"), &database->table(u"Cari"));
    ASSERT_EQ(database->table(u"Cari").columnNamed(u"UNVAN"), std::optional<std::size_t>(0));
}

TEST(Opening, anUnknownTableIsNamed)
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    const auto database = jet::Database::open(disk, "a.mdb");
    try {
        database->table(u"Müşteri");
        FAIL() << "found it";
    } catch (const jet::Error& error) {
        ASSERT_EQ(error.fault(), jet::Fault::noSuchTable);
        ASSERT_THAT(error.what(), HasSubstr("\"Müşteri\""));
    }
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

RowTable<OpeningOtherVersionsRow> openingOtherVersions()
{
    return {
        {"Access 97", {"mdb/access97.mdb", jet::Fault::oldFormat}},
        {"Access 2007", {"mdb/access2007.accdb", jet::Fault::newFormat}},
    };
}

INSTANTIATE_TEST_SUITE_P(, OpeningOtherVersions, testing::ValuesIn(openingOtherVersions()), RowName());

TEST_P(OpeningOtherVersions, filesOfOtherVersionsOfAccessAreRefused)
{
    const auto& [file, fault] = row();
    try {
        jet::Database::open(platform::systemDisk(), samples::database(file), jet::Pager::Mode::readOnly);
        FAIL() << "was opened";
    } catch (const jet::Error& error) {
        ASSERT_EQ(error.fault(), fault) << error.what();
    }
}

} // namespace
