// A server for the tests that are run over a shared register, as long as the run of ctest that started it.
// usage: register_server start FOLDER     FOLDER gets Sunucu.ini, without a register, and the passwords: PGPASSFILE
//        register_server stop FOLDER      ends it, and fails where nobody has made a register there
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/postgres/join.h"
#include "tests/doors/private_postgres.h"

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <thread>

namespace {

using Path = std::filesystem::path;
using namespace std::chrono_literals;

bool await(const std::function<bool()>& happened)
{
    for (int i = 0; i < 900 && !happened(); ++i) std::this_thread::sleep_for(100ms);
    return happened();
}

/// The tables, which the first counter of a register makes.
void makeTables(const Path& folder)
{
    const Path file = folder / "ilk.mdb";
    mill::createDatabase(platform::systemDisk(), file, jet::turkish, jet::DateTime{45000});
    postgres::ServerSettings settings = postgres::readServerSettings(platform::systemDisk(), folder);
    settings.book = "ilk";
    postgres::joinRegister(platform::systemDisk(), settings, file, {"sahip", false}, jet::DateTime{45000}, {});
}

/// Until FOLDER/Sunucu.ini is taken away, or whoever asked for the server is gone.
void serve(const Path& folder, pid_t owner)
{
    PrivatePostgres server;
    const std::string database = server.database();
    const Path ini = folder / postgres::settingsFile, passwords = folder / "pgpass";
    writeFile(passwords, "*:*:*:sahip:sahip\n*:*:*:hat1:hat1\n");
    std::filesystem::permissions(passwords, std::filesystem::perms::owner_read);
    ::setenv("PGPASSFILE", passwords.c_str(), 1);
    writeFile(ini, "[Sunucu]\nAdres=" + server.folder().string() + "\nVeritabani=" + database +
                       "\nKullanici=hat1\nSayac=Hat 1\n");
    makeTables(folder);
    writeFile(folder / "hazir", "");
    while (std::filesystem::exists(ini) && ::kill(owner, 0) == 0) std::this_thread::sleep_for(100ms);
    writeFile(folder / "defterler.yeni",
              server.sql("select count(*) from presva.sayaclar where sayac <> 'ilk'", database) +
                  server.sql("select count(*) from presva.hareket", database));
    std::filesystem::rename(folder / "defterler.yeni", folder / "defterler");
}

int start(const Path& folder)
{
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    const pid_t owner = ::getppid();
    const pid_t child = ::fork();
    if (child < 0) return 1;
    if (child == 0) {
        // Whoever waits for the output of this program waits for its first half only.
        ::setsid();
        const int log = ::open((folder / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(log, STDOUT_FILENO);
        ::dup2(log, STDERR_FILENO);
        try {
            serve(folder, owner);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            return 1;
        }
        return 0;
    }
    bool ended = false;
    await([&] {
        ended = ::waitpid(child, nullptr, WNOHANG) == child;
        return ended || std::filesystem::exists(folder / "hazir");
    });
    if (std::filesystem::exists(folder / "hazir")) return 0;
    if (!ended) ::kill(child, SIGKILL);
    std::fprintf(stderr, "%s", textOfFile(folder / "log").c_str());
    return 1;
}

int stop(const Path& folder)
{
    std::filesystem::remove(folder / postgres::settingsFile);
    if (!await([&] { return std::filesystem::exists(folder / "defterler"); })) return 1;
    const std::string counts = textOfFile(folder / "defterler");
    std::printf("registers, and pressings in them: %s", counts.c_str());
    return std::atoi(counts.c_str()) > 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
try {
    if (argc != 3) return 2;
    const std::string what = argv[1];
    return what == "start" ? start(argv[2]) : what == "stop" ? stop(argv[2]) : 2;
} catch (const std::exception& error) {
    std::fprintf(stderr, "register_server: %s\n", error.what());
    return 1;
}
