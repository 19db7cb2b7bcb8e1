#include "mill/tables.h"
#include "platform/system_disk.h"
#include "tests/support/files.h"
#include "tests/support/outcome_matchers.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A program that runs beside the test until it is stopped.
class Beside {
public:
    explicit Beside(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), PRESVA_LIVE);
        std::vector<char*> words;
        for (std::string& each : arguments) words.push_back(each.data());
        words.push_back(nullptr);
        posix_spawn_file_actions_t files{};
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, said("out").c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addopen(&files, STDERR_FILENO, said("err").c_str(), O_WRONLY | O_CREAT, 0600);
        if (posix_spawn(&process_, PRESVA_LIVE, &files, nullptr, words.data(), environ) != 0) process_ = -1;
        posix_spawn_file_actions_destroy(&files);
    }
    ~Beside()
    {
        if (process_ > 0) stop();
    }
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;

    /// Its exit code; -1 where it did not end by itself.
    int stop()
    {
        int status = 0;
        kill(process_, SIGTERM);
        waitpid(std::exchange(process_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    bool runs() const { return process_ > 0 && waitpid(process_, nullptr, WNOHANG) == 0; }
    std::string output() const { return textOfFile(said("out")); }
    std::string error() const { return textOfFile(said("err")); }

private:
    std::filesystem::path said(const char* where) const { return folder_ / where; }

    TemporaryFolder folder_;
    pid_t process_ = -1;
};

class LiveProgram : public testing::Test {
protected:
    LiveProgram() { mill::createDatabase(platform::systemDisk(), folder_ / "Yag.mdb", jet::turkish, {}); }

    std::string folder() const { return folder_.path().string(); }
    static std::string port() { return std::to_string(20'000 + getpid() % 20'000); }
    std::filesystem::path own() const { return folder_ / "Canli"; }
    std::filesystem::path page() const { return own() / "karekod.html"; }
    std::vector<std::string> arguments() const { return {folder(), "--address", "127.0.0.1", "--port", port()}; }

    /// Waits for half a minute at most.
    template <class Condition> static bool becomes(Condition condition)
    {
        for (int i = 0; i < 300; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }
    bool showsACode() const
    {
        return becomes([this] { return exists(page()) && textOfFile(page()).find("/#") != std::string::npos; });
    }
    /// Runs until it shows a code, and is then told to stop.
    Outcome serve(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> words = arguments();
        words.insert(words.end(), more.begin(), more.end());
        Beside program(words);
        EXPECT_TRUE(showsACode()) << program.error();
        const int code = program.stop();
        return {code, program.output(), program.error()};
    }

    TemporaryFolder folder_;
};

TEST_F(LiveProgram, showsACodeOnTheTerminalAndAsAPageUntilItIsStopped)
{
    EXPECT_THAT(serve(), succeeds(AllOf(HasSubstr("https://127.0.0.1:" + port() + "/#"), HasSubstr("Parmak izi: "))));
    EXPECT_THAT(filesIn(folder_ / "Canli"), testing::ElementsAre("karekod.html", "kilit", "sertifika.pem"));
    EXPECT_THAT(textOfFile(folder_ / "Canli" / "karekod.html"), HasSubstr("Telefonlara kapalı"));
    struct stat facts {};
    ASSERT_EQ(stat((folder_ / "Canli").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0700);
}

/// Neither its telephones nor its code nor its certificate are touched.
TEST_F(LiveProgram, aSecondOneInTheFolderIsRefused)
{
    Beside first(arguments());
    ASSERT_TRUE(showsACode());
    writeFile(own() / "telefonlar", "somebody");
    const std::string shown = textOfFile(page());
    const std::string certificate = textOfFile(own() / "sertifika.pem");
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{}, {"--forget"}, {"--port", std::to_string(std::stoi(port()) + 1)}}) {
        std::vector<std::string> words = {folder(), "--address", "127.0.0.2"};
        words.insert(words.end(), more.begin(), more.end());
        EXPECT_THAT(run({.program = PRESVA_LIVE, .arguments = words}),
                    refuses(AllOf(HasSubstr("zaten çalışıyor"), isOneLine())));
    }
    EXPECT_EQ(textOfFile(own() / "telefonlar"), "somebody");
    EXPECT_EQ(textOfFile(page()), shown);
    EXPECT_EQ(textOfFile(own() / "sertifika.pem"), certificate);
    EXPECT_EQ(first.stop(), 0);
    EXPECT_EQ(serve({"--forget"}).code, 0);
    EXPECT_FALSE(exists(own() / "telefonlar"));
}

TEST_F(LiveProgram, goesOnWhenThePageCannotBeWritten)
{
    // A folder of that name stands in the way of everybody, the administrator too.
    create_directories(page());
    writeFile(page() / "in the way", "");
    Beside program(arguments());
    ASSERT_TRUE(becomes([&] { return program.error().find("yeniden denenecek") != std::string::npos; }))
        << program.error();
    std::this_thread::sleep_for(std::chrono::seconds(2)); // it tries again every second
    EXPECT_TRUE(program.runs());
    EXPECT_EQ(countOf("yeniden denenecek", program.error()), 1) << program.error();
    remove_all(page());
    EXPECT_TRUE(showsACode());
    EXPECT_EQ(program.stop(), 0);
}

TEST_F(LiveProgram, makesItsFolderAnewWhenItIsRemoved)
{
    Beside program(arguments());
    ASSERT_TRUE(showsACode());
    remove_all(own());
    EXPECT_TRUE(showsACode()) << program.error();
    EXPECT_THAT(program.error(), HasSubstr("silinmiş; yeniden yapıldı"));
    EXPECT_EQ(run({.program = PRESVA_LIVE, .arguments = arguments()}).code, 1);
    EXPECT_EQ(program.stop(), 0);
}

class LiveProgramMisuse : public LiveProgram, public testing::WithParamInterface<NamedRow<std::vector<std::string>>> {};

const RowTable<std::vector<std::string>> misuses = {
    {"no address", {"FOLDER"}},
    {"every network", {"FOLDER", "--address", "0.0.0.0"}},
    {"every network of the sixth version", {"FOLDER", "--address", "::"}},
    {"every network in other clothes", {"FOLDER", "--address", "::ffff:0.0.0.0"}},
    {"itself in other clothes", {"FOLDER", "--address", "::ffff:127.0.0.1"}},
    {"everybody", {"FOLDER", "--address", "255.255.255.255"}},
    {"everybody at home", {"FOLDER", "--address", "127.255.255.255"}},
    {"a group", {"FOLDER", "--address", "224.0.0.1"}},
    {"a group of the sixth version", {"FOLDER", "--address", "ff02::1"}},
    {"a file", {"FILE", "--address", "127.0.0.1"}},
    {"a name", {"FOLDER", "--address", "localhost"}},
    {"nobody's address", {"FOLDER", "--address", "192.0.2.1"}},
    {"port of the system", {"FOLDER", "--address", "127.0.0.1", "--port", "443"}},
    {"no port", {"FOLDER", "--address", "127.0.0.1", "--port", "x"}},
    {"for ever", {"FOLDER", "--address", "127.0.0.1", "--valid", "100000"}},
    {"no folder", {"--address", "127.0.0.1"}},
    {"absent folder", {"/absent", "--address", "127.0.0.1"}},
    {"unknown option", {"FOLDER", "--address", "127.0.0.1", "--all", "1"}},
};

INSTANTIATE_TEST_SUITE_P(, LiveProgramMisuse, testing::ValuesIn(misuses), RowName());

TEST_P(LiveProgramMisuse, isOneSentence)
{
    std::vector<std::string> arguments = GetParam().row;
    for (std::string& each : arguments)
        if (each == "FOLDER" || each == "FILE") each = folder() + (each == "FILE" ? "/Yag.mdb" : "");
    EXPECT_THAT(run({.program = PRESVA_LIVE, .arguments = arguments}),
                refuses(AllOf(isOneLine(), StartsWith("presva-live: ")), ""));
}

} // namespace
