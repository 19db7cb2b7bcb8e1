// Two programs on one file: the engine, and one that knows nothing of it.

#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/jet/check_result.h"
#include "tests/jet/mdbtools.h"
#include "tests/jet/mixed_work.h"
#include "tests/platform/plain_appender.h"
#include "tests/support/fault.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace jet;

namespace {

constexpr std::int32_t ours = 1;
constexpr std::int32_t theirs = 2;

/// PRESVA_ROUNDS sets how many rows each of the two adds; the usual run adds fewer than a release does.
int rounds() { return std::max(10, numberFromEnvironment("PRESVA_ROUNDS", 150)); }

/// A process of its own for a piece of work; its end tells whether all went well.
class Process {
public:
    explicit Process(const std::function<void()>& work) : child_(::fork())
    {
        if (child_ != 0) return;
        try {
            work();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "other program: %s\n", error.what());
            ::_exit(1);
        }
        ::_exit(0);
    }
    ~Process() { wait(); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    bool wait()
    {
        if (child_ > 0) ::waitpid(child_, &status_, 0);
        child_ = 0;
        return WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
    }
    bool runs()
    {
        if (child_ <= 0 || ::waitpid(child_, &status_, WNOHANG) == 0) return child_ > 0;
        child_ = 0;
        return false;
    }

private:
    pid_t child_;
    int status_ = 0;
};

class TwoPrograms : public testing::Test {
protected:
    void SetUp() override
    {
        MixedWork::create(platform::systemDisk(), file);
        const auto database = open();
        definition = database
                         ->createTable(u"Ortak",
                                       {{.name = u"Kim", .type = ColumnType::longInteger},
                                        {.name = u"Kaçıncı", .type = ColumnType::longInteger}},
                                       {}, DateTime{45000})
                         .definitionPage();
    }
    std::unique_ptr<Database> open(Pager::Mode mode = Pager::Mode::readWrite) const
    {
        return Database::open(platform::systemDisk(), file, mode);
    }
    PlainAppender appender() const { return {file, definition.number()}; }
    static std::multiset<std::pair<int, int>> common(Database& database)
    {
        std::multiset<std::pair<int, int>> found;
        database.table(u"Ortak").forEachRow([&](RowId, const RowView& row) {
            found.emplace(static_cast<int>(*row.number(0)), static_cast<int>(*row.number(1)));
            return true;
        });
        return found;
    }
    static std::multiset<std::pair<int, int>> expected(int count)
    {
        std::multiset<std::pair<int, int>> all;
        for (const int who : {ours, theirs})
            for (int i = 0; i < count; ++i) all.emplace(who, i);
        return all;
    }
    /// A row of ours, and now and then other work in the same file.
    void work(Database& database, int round)
    {
        if (round % 10 == 0)
            onWhatIsThere(database.pager(), [&] {
                Transaction change(database.pager());
                MixedWork::Rows next = rows;
                mixed.insert(database.table(MixedWork::table), next);
                change.commit();
                rows = next;
            });
        database.table(u"Ortak").insert({{0, std::int32_t{ours}}, {1, std::int32_t{round}}});
    }
    void expectNothingLost(int count)
    {
        const auto database = open();
        ASSERT_TRUE(common(*database) == expected(count));
        ASSERT_TRUE(MixedWork::read(*database) == rows);
        ASSERT_EQ(database->table(u"Ortak").rowCount(), static_cast<std::uint32_t>(2 * count));
        ASSERT_THAT(checkDatabase(*database), findsNothing());
        ASSERT_EQ(mdbtools::table(file, "Ortak").size(), static_cast<std::size_t>(2 * count + 1));
    }

    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "Yag.mdb";
    PageNo definition{};
    MixedWork mixed{4};
    MixedWork::Rows rows;
};

TEST_F(TwoPrograms, takingTurnsLoseNoRowOfEither)
{
    auto database = open();
    const PlainAppender other = appender();
    for (int round = 0; round < rounds(); ++round) {
        // Each comes twice in a row now and then.
        if (round % 3 == 0) {
            ASSERT_NO_THROW(work(*database, round));
        }
        ASSERT_TRUE(Process([&] { other.append(theirs, round); }).wait());
        if (round % 3 != 0) {
            ASSERT_NO_THROW(work(*database, round));
        }
    }
    database.reset();
    expectNothingLost(rounds());
}

TEST_F(TwoPrograms, atOnceLoseNoRowOfEither)
{
    auto database = open();
    const PlainAppender other = appender();
    Process appending([&] {
        std::mt19937 random(8);
        for (int round = 0; round < rounds(); ++round) {
            ::usleep(random() % 3000);
            other.append(theirs, round);
        }
    });
    int exports = 0;
    for (int round = 0; round < rounds(); ++round) {
        ASSERT_NO_THROW(work(*database, round));
        if (round % 5 != 0) continue;
        // And a third, which reads meanwhile: what it sees is one state of the file, or it is told to come again.
        Process exporting([&] {
            for (int attempt = 0; attempt < 20; ++attempt) {
                const auto fault = faultOf([&] {
                    const auto reader = open(Pager::Mode::readOnly);
                    const auto seen = common(*reader);
                    if (seen.size() != reader->table(u"Ortak").rowCount()) throw std::runtime_error("half a change");
                    if (!seen.contains({ours, 0})) throw std::runtime_error("rows are missing");
                });
                if (!fault) return;
                if (fault != Fault::changedElsewhere) throw std::runtime_error("another fault");
            }
        });
        work(*database, ++round);
        if (exporting.wait()) ++exports;
    }
    ASSERT_TRUE(appending.wait());
    database.reset();
    expectNothingLost(rounds());
    ASSERT_GT(exports, 0);
}

TEST_F(TwoPrograms, ofOursTakeTurnsByWaiting)
{
    std::vector<std::unique_ptr<Process>> programs;
    for (const int who : {ours, theirs})
        programs.push_back(std::make_unique<Process>([&, who] {
            std::mt19937 random(static_cast<unsigned>(who));
            for (int round = 0; round < rounds(); ++round, ::usleep(random() % 2000))
                open()->table(u"Ortak").insert({{0, std::int32_t{who}}, {1, std::int32_t{round}}});
        }));
    int exports = 0;
    while (programs.front()->runs()) {
        const auto reader = open(Pager::Mode::readOnly);
        ASSERT_EQ(common(*reader).size(), reader->table(u"Ortak").rowCount());
        ++exports;
    }
    for (const auto& each : programs) ASSERT_TRUE(each->wait());
    ASSERT_GT(exports, 0);
    expectNothingLost(rounds());
}

TEST_F(TwoPrograms, oneThatKeepsTheFileOpenForWritingIsNotWrittenOver)
{
    const auto database = open();
    int said[2];
    int told[2];
    ASSERT_TRUE(::pipe(said) == 0 && ::pipe(told) == 0);
    Process keeping([&] {
        ::close(told[1]);
        ::close(said[0]);
        char byte = 'd';
        if (::open(file.c_str(), O_RDWR) < 0 || ::write(said[1], &byte, 1) != 1) ::_exit(1);
        [[maybe_unused]] const auto end = ::read(told[0], &byte, 1);
    });
    // The other one ends when it has nobody to wait for: before anything is asked that may end this test.
    ::close(said[1]);
    ::close(told[0]);
    char byte = 0;
    const auto count = ::read(said[0], &byte, 1);
    const auto fault = faultOf([&] { work(*database, 1); });
    ::close(told[1]);
    ::close(said[0]);
    ASSERT_EQ(count, 1);
    ASSERT_EQ(fault, Fault::inUse);
    ASSERT_TRUE(keeping.wait());
    work(*database, 1);
    ASSERT_EQ(common(*database).size(), 1U);
}

} // namespace
