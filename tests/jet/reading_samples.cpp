#include "tests/jet/mdbtools.h"
#include "tests/jet/sample_test.h"

#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

namespace {

using testing::Contains;

class ReadingSamples : public samples::Test {};

INSTANTIATE_TEST_SUITE_P(, ReadingSamples, testing::ValuesIn(samples::table()), RowName());

TEST_P(ReadingSamples, everyTableReadsAsMdbtoolsReadsIt)
{
    const std::filesystem::path& file = row();
    const auto database = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
    std::vector<std::string> names;
    for (const std::u16string& name : database->tableNames()) names.push_back(jet::toUtf8(name));
    for (const std::string& name : mdbtools::tables(file)) ASSERT_THAT(names, Contains(name));

    for (const std::string& name : names) {
        const jet::Table& table = database->table(jet::fromUtf8(name));
        ASSERT_EQ(mdbtools::difference(file, table), "");
    }
}

} // namespace
