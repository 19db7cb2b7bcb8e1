#pragma once

#include "tests/jet/samples.h"
#include "tests/support/table.h"

namespace samples {

/// The readable databases as the table of a test; one row with an empty path where there are none, which Test skips.
inline RowTable<std::filesystem::path> table()
{
    RowTable<std::filesystem::path> table;
    for (const std::filesystem::path& file : databases()) table.push_back({file.filename().string(), file});
    if (!present()) table.push_back({"absent", {}});
    return table;
}

/// Base of the tests over that table.
class Test : public TableTest<std::filesystem::path> {
protected:
    void SetUp() override
    {
        if (!present()) GTEST_SKIP() << absent;
    }
};

} // namespace samples
