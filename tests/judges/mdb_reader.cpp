#include "tests/jet/chosen_rows.h"
#include "tests/jet/mdbtools.h"
#include "tests/jet/random_rows.h"
#include "tests/jet/sample_test.h"
#include "tests/support/bytes.h"
#include "tests/support/files.h"
#include "tests/support/process.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include "platform/system_disk.h"
#include "store/jet/database/database.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <optional>
#include <system_error>

namespace {

/// Where npm put mdb-reader: the folder that PRESVA_NODE_MODULES names, else where scripts/ensure-judges puts it, else
/// the global one. Empty: nowhere.
std::filesystem::path modules()
{
    const char* const named = std::getenv("PRESVA_NODE_MODULES");
    std::vector<std::string> folders{named == nullptr ? "" : named, PRESVA_INSTALLED_JUDGES};
    try {
        folders.push_back(simplified(run({.program = "npm", .arguments = {"root", "-g"}}).out));
    } catch (const std::system_error&) {
        // No npm, no global folder.
    }
    for (std::filesystem::path folder : folders)
        if (!folder.empty() && std::filesystem::exists(folder / "mdb-reader/package.json")) return folder;
    return {};
}

bool nodeIsThere()
{
    try {
        return run({.program = "node", .arguments = {"--version"}}).code == 0;
    } catch (const std::system_error&) {
        return false;
    }
}

const char* const absent = "needs Node.js and the npm package mdb-reader: scripts/ensure-judges installs it";

using Fields = std::vector<std::u16string>;

std::u16string unitsOf(std::string_view digits)
{
    const auto bytes = bytesOf(digits);
    std::u16string units(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<char16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    return units;
}

/// Every user table as mdb-reader sees it, the first row its column names (the form is told in mdb_reader.mjs).
std::map<std::u16string, std::vector<Fields>> read(const std::filesystem::path& file)
{
    const Outcome outcome = run({.program = "node",
                                 .arguments = {PRESVA_JUDGES "/mdb_reader.mjs", modules(), file},
                                 .limit = std::chrono::minutes(2)});
    if (outcome.code != 0) throw std::runtime_error("mdb-reader: " + outcome.err);
    std::map<std::u16string, std::vector<Fields>> tables;
    std::vector<Fields>* rows = nullptr;
    for (const std::string& line : split(outcome.out, "\n")) {
        if (line.starts_with("table ")) {
            rows = &tables[unitsOf(line.substr(6))];
        } else if (line.starts_with("row ")) {
            Fields& fields = rows->emplace_back();
            for (const std::string& field : split(line.substr(4), " ")) fields.push_back(unitsOf(field));
        }
    }
    return tables;
}

/// True when the printed field says what the value is, to the last letter and byte.
bool agrees(const std::u16string& printed, const jet::Value& value, const jet::Column& column)
{
    if (const auto* text = std::get_if<std::u16string>(&value)) return printed == *text;
    const std::string plain = jet::toUtf8(printed);
    if (const auto* bytes = std::get_if<jet::Bytes>(&value)) return plain == hexOf(*bytes);
    if (const auto* guid = std::get_if<jet::Guid>(&value)) return plain == mdbtools::shownGuid(*guid);
    return mdbtools::agrees(plain, value, column);
}

/// The first field that the printed row says differently, by its place in `names`; nothing when they agree.
std::optional<std::size_t> firstDifference(const Fields& names, const Fields& printed, const jet::Table& table,
                                           const jet::RowView& row)
{
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto column = table.columnNamed(names[i]);
        if (!column || i >= printed.size() || !agrees(printed[i], row.value(*column), table.columns()[*column]))
            return i;
    }
    return std::nullopt;
}

/// What differs between a table and the printed rows, whatever their order; empty when nothing does.
std::string difference(const jet::Table& table, std::vector<Fields> printed)
{
    const Fields names = printed.at(0);
    printed.erase(printed.begin());
    std::string fault;
    const std::size_t rows = printed.size();
    std::size_t seen = 0;
    table.forEachRow([&](jet::RowId id, const jet::RowView& row) {
        ++seen;
        std::optional<std::size_t> nearest;
        std::size_t best = 0;
        for (std::size_t i = 0; i < printed.size(); ++i) {
            const auto field = firstDifference(names, printed[i], table, row);
            if (!field) {
                printed.erase(printed.begin() + static_cast<std::ptrdiff_t>(i));
                return true;
            }
            if (!nearest || *field > best) {
                best = *field;
                nearest = i;
            }
        }
        fault = "the row at page " + std::to_string(id.page.number()) + " slot " + std::to_string(id.slot.number()) +
                " is not among those printed";
        if (nearest)
            fault += "; the nearest one has " + jet::toUtf8(names[best]) + " = " +
                     (best < printed[*nearest].size() ? jet::toUtf8(printed[*nearest][best]) : "");
        return false;
    });
    if (fault.empty() && seen != rows) fault = std::to_string(seen) + " rows, " + std::to_string(rows) + " printed";
    return fault;
}

/// Inserts, updates and deletes in every table that may be written.
void change(jet::Database& database, unsigned seed)
{
    rows::Maker maker(seed);
    for (const std::u16string& name : database.tableNames()) {
        jet::Table& table = database.table(name);
        if (table.whyReadOnly()) continue;
        std::vector<jet::RowId> known = allRows(table);
        jet::Transaction work(database.pager());
        for (int step = 0; step < 400; ++step) {
            std::vector<jet::Assignment> values;
            for (std::size_t i = 0; i < table.columns().size(); ++i)
                if (!table.columns()[i].autoNumber && !maker.oneIn(4))
                    values.push_back({i, maker.value(table.columns()[i])});
            const auto victim = known.empty() ? 0 : std::size_t(maker.below(int(known.size())));
            try {
                if (known.empty() || maker.below(10) < 5) {
                    known.push_back(table.insert(values));
                } else if (maker.below(5) < 3) {
                    table.update(known[victim], values);
                } else {
                    table.erase(known[victim]);
                    known.erase(known.begin() + std::ptrdiff_t(victim));
                }
            } catch (const jet::Error& error) {
                // A value against the rules of a sample's table changes nothing.
                if (!rows::isAgainstTheRules(error.fault()) && error.fault() != jet::Fault::indexNotWritable) throw;
            }
        }
        work.commit();
    }
}

void compare(const std::filesystem::path& file)
{
    const auto printed = read(file);
    const auto database = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
    for (const std::u16string& name : database->tableNames()) {
        ASSERT_TRUE(printed.contains(name)) << jet::toUtf8(name);
        ASSERT_EQ(difference(database->table(name), printed.at(name)), "") << jet::toUtf8(name);
    }
}

class MdbReaderMadeHere : public TableTest<bool> {
protected:
    void SetUp() override
    {
        if (!nodeIsThere() || modules().empty()) GTEST_SKIP() << absent;
    }
};

const RowTable<bool> mdbReaderMadeHere = {
    {"General order", false},
    {"Turkish order", true},
};

INSTANTIATE_TEST_SUITE_P(, MdbReaderMadeHere, testing::ValuesIn(mdbReaderMadeHere), RowName());

TEST_P(MdbReaderMadeHere, readsADatabaseMadeHere)
{
    const bool turkish = row();
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "deneme.mdb";
    files::Disk& disk = platform::systemDisk();
    jet::Database::create(disk, file, turkish ? jet::turkish : jet::general, rows::created);
    {
        const auto database = jet::Database::open(disk, file);
        database->createTable(u"Hepsi", rows::everyType(), rows::someIndexes(), rows::created);
        database->createTable(u"Dizinsiz", rows::everyType(), {}, rows::created);
        for (unsigned seed = 1; seed <= 3; ++seed) change(*database, seed);
    }
    compare(file);
}

class MdbReaderSamples : public samples::Test {
protected:
    void SetUp() override
    {
        if (!nodeIsThere() || modules().empty()) GTEST_SKIP() << absent;
        samples::Test::SetUp();
    }
};

INSTANTIATE_TEST_SUITE_P(, MdbReaderSamples, testing::ValuesIn(samples::table()), RowName());

TEST_P(MdbReaderSamples, readsSamplesAfterChanges)
{
    const TemporaryFolder folder;
    const std::filesystem::path copy = folder / row().filename();
    copyWritable(row(), copy);
    {
        const auto database = jet::Database::open(platform::systemDisk(), copy);
        change(*database, 5);
    }
    compare(copy);
}

} // namespace
