// The main() of every program of tests that know no Qt. A first argument without dashes is the name of a test file
// without its ending, and only the tests of that file run: `tests_jet test_pager --gtest_filter=...`.
#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

/// The filter for all tests that stand in that file; empty if there is none.
std::string filterFor(const std::string& wanted)
{
    std::string filter;
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    for (int s = 0; s < all.total_test_suite_count(); ++s) {
        const testing::TestSuite& suite = *all.GetTestSuite(s);
        for (int t = 0; t < suite.total_test_count(); ++t) {
            const testing::TestInfo& test = *suite.GetTestInfo(t);
            if (std::filesystem::path(test.file()).stem() == wanted)
                filter += (filter.empty() ? "" : ":") + std::string(suite.name()) + '.' + test.name();
        }
    }
    return filter;
}

} // namespace

int main(int count, char** arguments)
{
    testing::InitGoogleMock(&count, arguments); // registers the tests of tables too
    if (count > 1) {
        const std::string filter = filterFor(arguments[1]);
        if (filter.empty()) {
            std::fprintf(stderr, "%s: there is no test in a file named %s\n", arguments[0], arguments[1]);
            return 2;
        }
        testing::GTEST_FLAG(filter) = filter;
    }
    return RUN_ALL_TESTS();
}
