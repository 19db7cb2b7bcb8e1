#include "mill/tables.h"
#include "platform/system_disk.h"
#include "tests/support/files.h"
#include "tests/support/process.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class LiveProgram : public testing::Test {
protected:
    LiveProgram() { mill::createDatabase(platform::systemDisk(), folder_ / "Yag.mdb", jet::turkish, {}); }

    std::string folder() const { return folder_.path().string(); }
    static std::string port() { return std::to_string(20'000 + getpid() % 20'000); }
    /// Runs for two seconds and is then told to stop.
    Outcome serve(std::vector<std::string> more = {}) const
    {
        std::vector<std::string> arguments = {"--preserve-status", "-s",        "TERM",   "2",   PRESVA_LIVE, folder(),
                                              "--address",         "127.0.0.1", "--port", port()};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run({.program = "timeout", .arguments = arguments});
    }

    TemporaryFolder folder_;
};

TEST_F(LiveProgram, showsACodeOnTheTerminalAndAsAPageUntilItIsStopped)
{
    const Outcome outcome = serve();
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("https://127.0.0.1:" + port() + "/#"));
    EXPECT_THAT(outcome.out, HasSubstr("Parmak izi: "));
    EXPECT_THAT(filesIn(folder_ / "Canli"), testing::ElementsAre("karekod.html", "sertifika.pem"));
    EXPECT_THAT(textOfFile(folder_ / "Canli" / "karekod.html"), HasSubstr("Telefonlara kapalı"));
    struct stat facts {};
    ASSERT_EQ(stat((folder_ / "Canli").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0700);
}

class LiveProgramMisuse : public LiveProgram, public testing::WithParamInterface<NamedRow<std::vector<std::string>>> {};

RowTable<std::vector<std::string>> misuses()
{
    return {
        {"no address", {"FOLDER"}},
        {"every network", {"FOLDER", "--address", "0.0.0.0"}},
        {"every network of the sixth version", {"FOLDER", "--address", "::"}},
        {"a name", {"FOLDER", "--address", "localhost"}},
        {"nobody's address", {"FOLDER", "--address", "192.0.2.1"}},
        {"port of the system", {"FOLDER", "--address", "127.0.0.1", "--port", "443"}},
        {"no port", {"FOLDER", "--address", "127.0.0.1", "--port", "x"}},
        {"for ever", {"FOLDER", "--address", "127.0.0.1", "--valid", "100000"}},
        {"no folder", {"--address", "127.0.0.1"}},
        {"absent folder", {"/absent", "--address", "127.0.0.1"}},
        {"unknown option", {"FOLDER", "--address", "127.0.0.1", "--all", "1"}},
    };
}

INSTANTIATE_TEST_SUITE_P(, LiveProgramMisuse, testing::ValuesIn(misuses()), RowName());

TEST_P(LiveProgramMisuse, isOneSentence)
{
    std::vector<std::string> arguments = GetParam().row;
    for (std::string& each : arguments)
        if (each == "FOLDER") each = folder();
    const Outcome outcome = run({.program = PRESVA_LIVE, .arguments = arguments});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(countOf("\n", outcome.err), 1) << outcome.err;
    EXPECT_THAT(outcome.err, StartsWith("presva-live: "));
}

} // namespace
