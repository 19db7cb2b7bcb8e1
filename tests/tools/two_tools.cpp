// presva-mdb beside itself on one file: two that write at once, and one that exports meanwhile.

#include "tests/support/files.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <algorithm>
#include <set>

namespace {

/// PRESVA_ROUNDS sets how many rows each of the two adds; the usual run adds fewer than a release does.
int rounds() { return std::max(5, numberFromEnvironment("PRESVA_ROUNDS", 15)); }

/// Each writer stores its numbers one by one, and comes again where the other has kept it waiting too long. The exports
/// are kept in files, the newest number last.
constexpr const char* script = R"script(
tool=$1 file=$2 folder=$3 rounds=$4
writer() {
    for ((i = 1; i <= rounds; ++i)); do
        until "$tool" sql "$file" "Insert Into Cari (Unvan, Nakit) Values ('$1', $i)" >/dev/null 2>"$folder/$1.err"; do
            grep -q kullan "$folder/$1.err" || exit 1
        done
    done
}
writer Ali & first=$!
writer Veli & second=$!
exports=0
while kill -0 $first 2>/dev/null || kill -0 $second 2>/dev/null; do
    "$tool" export "$file" Cari --out "$folder/$exports.csv" 2>"$folder/export.err" || exit 2
    exports=$((exports + 1))
done
wait $first && wait $second && echo $exports
)script";

class TwoTools : public testing::Test, protected Tool {};

TEST_F(TwoTools, loseNoRowAndAreExportedWholeMeanwhile)
{
    const std::string file = created();
    const Outcome outcome =
        ::run({.program = "bash",
               .arguments = {"-c", script, "bash", PRESVA_MDB, file, folder(), std::to_string(rounds())},
               .environment = {{"LC_ALL", "C"}},
               .limit = std::chrono::seconds(60 + 2 * rounds())});
    const auto left = [&](const std::string& name) { return textOfFile(path(name)); };
    ASSERT_EQ(outcome.code, 0) << outcome.err << left("Ali.err") << left("Veli.err") << left("export.err");
    const int exports = std::stoi(outcome.out);
    ASSERT_GT(exports, 0);
    std::set<std::string> before;
    for (int i = 0; i <= exports; ++i) {
        const std::string csv = i < exports ? left(std::to_string(i) + ".csv") : run({"export", file, "Cari"}).out;
        std::vector<std::string> lines = split(csv, "\r\n");
        ASSERT_EQ(lines.front(), "Unvan,Yuzde,Kap,Nakit");
        ASSERT_EQ(lines.back(), "");
        const std::set<std::string> now(lines.begin() + 1, lines.end() - 1);
        ASSERT_EQ(now.size() + 2, lines.size()) << "a row stands there twice";
        ASSERT_TRUE(std::ranges::includes(now, before)) << "export " << i << " lacks a row of the one before";
        // Of each writer the numbers from the first one on: no row was passed over.
        for (const std::string name : {"Ali", "Veli"}) {
            const auto of =
                std::ranges::count_if(now, [&](const std::string& row) { return row.starts_with(name + ","); });
            for (auto number = of; number > 0; --number)
                ASSERT_TRUE(now.contains(name + ",,," + std::to_string(number))) << i << name << number;
            if (i == exports) {
                ASSERT_EQ(of, rounds());
            }
        }
        before = now;
    }
    verifySound(file);
}

} // namespace
