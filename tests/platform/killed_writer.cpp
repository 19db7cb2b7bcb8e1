#include "files/error.h"
#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/jet/check_result.h"
#include "tests/jet/mixed_work.h"
#include "tests/support/files.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace jet;

namespace {

/// PRESVA_KILLS sets how often; the usual run kills less often than a release does.
int kills() { return numberFromEnvironment("PRESVA_KILLS", 60); }

/// One change after the other, each acknowledged with a byte, until somebody stops the process.
[[noreturn]] void workForEver(const std::filesystem::path& file, unsigned seed, int acknowledge)
{
    try {
        const auto database = Database::open(platform::systemDisk(), file);
        MixedWork work(seed);
        MixedWork::Rows rows = MixedWork::read(*database);
        work.forgetPlaces(*database);
        for (;;) {
            Transaction change(database->pager());
            work.change(*database, rows);
            change.commit();
            if (::write(acknowledge, "!", 1) != 1) ::_exit(1);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "writer: %s\n", error.what());
        ::_exit(2);
    }
}

TEST(KilledWriter, killedProcessLosesNothingThatItAcknowledged)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "Yag.mdb";
    MixedWork::create(platform::systemDisk(), file);
    std::mt19937 random(11);
    int interrupted = 0;
    std::size_t acknowledged = 0;
    for (int round = 1; round <= kills(); ++round) {
        const auto seed = static_cast<unsigned>(round);
        files::MemoryDisk twin;
        twin.content("Yag.mdb") = bytesOfFile(file);

        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(ends[0]);
            workForEver(file, seed, ends[1]);
        }
        ::close(ends[1]);
        // Every fourth kill may come as early as it likes, the others when there is something to lose.
        std::size_t done = 0;
        char bytes[256];
        if (round % 4 != 0 && ::read(ends[0], bytes, 1) == 1) ++done;
        ::usleep(random() % 40000);
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        for (ssize_t count = 0; (count = ::read(ends[0], bytes, sizeof bytes)) > 0;)
            done += static_cast<std::size_t>(count);
        ::close(ends[0]);
        acknowledged += done;
        if (std::filesystem::exists(std::filesystem::path(file) += "-journal")) ++interrupted;

        // The same work again, undisturbed, up to what was acknowledged and one further.
        const auto expected = Database::open(twin, "Yag.mdb");
        MixedWork work(seed);
        MixedWork::Rows rows = MixedWork::read(*expected);
        work.forgetPlaces(*expected);
        for (std::size_t i = 0; i < done; ++i) work.change(*expected, rows);
        MixedWork::Rows next = rows;
        work.change(*expected, next);

        const auto database = Database::open(platform::systemDisk(), file);
        const MixedWork::Rows found = MixedWork::read(*database);
        ASSERT_TRUE(found == rows || found == next) << "round " << round;
        ASSERT_THAT(checkDatabase(*database), findsNoFault());
    }
    // Kills that came before the first change prove nothing.
    ASSERT_GT(acknowledged, static_cast<std::size_t>(kills()));
    ASSERT_GT(interrupted, kills() / 4);
}

} // namespace
