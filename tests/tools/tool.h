#pragma once

#include "tests/support/outcome_matchers.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <map>
#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

inline Arguments with(Arguments first, const Arguments& more)
{
    first.insert(first.end(), more.begin(), more.end());
    return first;
}

/// The program itself, from outside, in a folder of the test's own.
class Tool {
protected:
    /// Speaks Turkish, whoever runs the test.
    static Outcome run(const Arguments& arguments, const std::string& input = {},
                       const std::map<std::string, std::string>& environment = {{"LC_ALL", "C"}})
    {
        return ::run({.program = PRESVA_MDB, .arguments = arguments, .input = input, .environment = environment});
    }
    std::string folder() const { return folder_.path().string(); }
    std::string path(const std::string& name) const { return (folder_ / name).string(); }
    std::string created(const std::string& name = "Yag.mdb", const std::string& collation = "turkish") const
    {
        EXPECT_THAT(run({"create", path(name), "--collation", collation}), succeeds());
        return path(name);
    }
    static void verifySound(const std::string& file) { ASSERT_THAT(run({"check", file}), succeeds()); }
    /// The lines of a table's export in their own order, for rows that may have changed their places.
    static std::vector<std::string> sortedRows(const std::string& file, const std::string& table)
    {
        std::vector<std::string> lines = split(run({"export", file, table}).out, "\r\n");
        std::ranges::sort(lines);
        return lines;
    }

private:
    TemporaryFolder folder_;
};
