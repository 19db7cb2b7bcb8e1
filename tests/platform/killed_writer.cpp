#include <cstddef> // moc stumbles over <compare> without it

#include "files/error.h"
#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "tests/jet/mixed_work.h"

#include <QtTest>

#include <csignal>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

using namespace jet;

namespace {

/// PRESVA_KILLS sets how often; the usual run kills less often than a release does.
int kills()
{
    const int wanted = qEnvironmentVariableIntValue("PRESVA_KILLS");
    return wanted > 0 ? wanted : 60;
}

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

std::vector<std::uint8_t> contentOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

class KilledWriterTest : public QObject {
    Q_OBJECT
private slots:
    void killedProcessLosesNothingThatItAcknowledged();
};

void KilledWriterTest::killedProcessLosesNothingThatItAcknowledged()
{
    const QTemporaryDir folder;
    const std::filesystem::path file = folder.filePath("Yag.mdb").toStdString();
    MixedWork::create(platform::systemDisk(), file);
    std::mt19937 random(11);
    int interrupted = 0;
    std::size_t acknowledged = 0;
    for (int round = 1; round <= kills(); ++round) {
        const auto seed = static_cast<unsigned>(round);
        files::MemoryDisk twin;
        twin.content("Yag.mdb") = contentOf(file);

        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            ::close(ends[0]);
            workForEver(file, seed, ends[1]);
        }
        ::close(ends[1]);
        ::usleep(random() % 40000);
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(WIFSIGNALED(status));
        std::size_t done = 0;
        char bytes[256];
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
        QVERIFY2(found == rows || found == next, qPrintable(QStringLiteral("round %1").arg(round)));
        const CheckResult result = checkDatabase(*database);
        QVERIFY2(result.ok(), result.ok() ? "" : result.faults.front().c_str());
    }
    // Kills that came before the first change prove nothing.
    QVERIFY(acknowledged > static_cast<std::size_t>(kills()));
    QVERIFY(interrupted > kills() / 4);
}

QTEST_APPLESS_MAIN(KilledWriterTest)
#include "killed_writer.moc"
