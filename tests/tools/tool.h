#pragma once

#include "tests/support/process.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

/// The program itself, from outside, in a folder of the test's own.
class Tool {
protected:
    /// Speaks Turkish, whoever runs the test.
    static Outcome run(const Arguments& arguments, const std::string& input = {},
                       const std::map<std::string, std::string>& environment = {{"LC_ALL", "C"}})
    {
        return ::run({.program = PRESVA_MDB, .arguments = arguments, .input = input, .environment = environment});
    }
    std::filesystem::path folder() const { return folder_.path(); }
    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    std::string created(const std::string& name = "Yag.mdb", const std::string& collation = "turkish") const
    {
        const Outcome outcome = run({"create", path(name), "--collation", collation});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return path(name);
    }
    static void verifySound(const std::string& file)
    {
        const Outcome outcome = run({"check", file});
        ASSERT_EQ(outcome.code, 0) << outcome.out + outcome.err;
    }

private:
    TemporaryFolder folder_;
};

/// The suite of the tests over a table that run the program; Base is Tool, or what has more of it.
// NOLINTBEGIN(bugprone-macro-parentheses): names and types take none
#define TOOL_SUITE(Suite, Base, Row, table)                                                                            \
    class Suite : public TableTest<Row>, protected Base {};                                                            \
    INSTANTIATE_TEST_SUITE_P(, Suite, testing::ValuesIn(table), RowName())
// NOLINTEND(bugprone-macro-parentheses)
