#pragma once

#include "tests/support/files.h"
#include "tests/support/process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

/// A PostgreSQL server of the test's own: in a folder of its own, on a socket in it, as a user without privileges. It
/// ends with the object, and with the test however that ends.
///
/// The superuser `owner` comes in without a password, all others with theirs. `sahip` is of the role presva_sahip,
/// `hat1` of presva_sayac, `buro` of presva_buro; the password of each is its name.
class PrivatePostgres {
public:
    PrivatePostgres()
    {
        char name[] = "/tmp/presva-pg-XXXXXX"; // short: the path of a socket has 107 bytes at most
        if (::mkdtemp(name) == nullptr) throw std::system_error(errno, std::generic_category(), "mkdtemp");
        folder_ = name;
        if (::getuid() == 0) {
            user_ = ::getpwnam("postgres");
            if (user_ == nullptr) throw std::runtime_error("there is no user postgres; install postgresql-15");
            if (::chown(name, user_->pw_uid, user_->pw_gid) != 0)
                throw std::system_error(errno, std::generic_category());
        }
        std::vector<std::string> command = {
            "--reset-env", programs() / "initdb", "-D", data(), "-U", "owner", "-A", "trust", "-E", "UTF8",
            "--locale=C",  "--no-instructions",   "-N"};
        if (user_ != nullptr)
            command.insert(command.begin(), {"--reuid=postgres", "--regid=postgres", "--clear-groups"});
        const Outcome made = run({.program = "setpriv", .arguments = command});
        if (made.code != 0) throw std::runtime_error(made.err);
        writeFile(std::filesystem::path(data()) / "pg_hba.conf",
                  "local all owner trust\nlocal all all scram-sha-256\n");
        writeFile(std::filesystem::path(data()) / "postgresql.conf", "listen_addresses = ''\nport = 5432\n");
        start();
        sql("create role presva_sahip nologin; create role presva_sayac nologin; create role presva_buro nologin;"
            "create role sahip login password 'sahip' in role presva_sahip;"
            "create role hat1 login password 'hat1' in role presva_sayac;"
            "create role buro login password 'buro' in role presva_buro");
    }
    ~PrivatePostgres()
    {
        stop();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    PrivatePostgres(const PrivatePostgres&) = delete;
    PrivatePostgres& operator=(const PrivatePostgres&) = delete;

    /// The folder of the socket.
    std::filesystem::path folder() const { return folder_; }

    /// Throws what the server says where it does not answer within a minute.
    void start()
    {
        using Clock = std::chrono::steady_clock;
        const auto until = Clock::now() + std::chrono::minutes(1);
        for (launch(); Clock::now() < until; ::usleep(50000)) {
            // Backends of a server that was killed may still be ending: it is started again until they are gone.
            if (::waitpid(child_, nullptr, WNOHANG) == child_)
                launch();
            else if (psql("select 1", "postgres").code == 0)
                return;
        }
        kill();
        throw std::runtime_error("the server does not start: " + textOfFile(std::filesystem::path(data()) / "log"));
    }
    void stop() { end(SIGINT); }
    void kill() { end(SIGKILL); }

    /// Listens on 127.0.0.1 too, for TLS alone, with a certificate for that address. Where it is.
    std::filesystem::path listenWithTls(int port)
    {
        std::filesystem::path certificate = makeCertificate("server", "IP:127.0.0.1");
        writeFile(std::filesystem::path(data()) / "pg_hba.conf",
                  "local all owner trust\nhostssl all all 127.0.0.1/32 scram-sha-256\n");
        sql("alter system set listen_addresses = '127.0.0.1'");
        sql("alter system set ssl_cert_file = '" + certificate.string() + "'");
        sql("alter system set ssl_key_file = '" + (folder_ / "server.key").string() + "'");
        sql("alter system set ssl = on");
        sql("alter system set port = " + std::to_string(port));
        stop();
        port_ = port;
        start();
        return certificate;
    }
    /// One of our own, with its key beside it.
    std::filesystem::path makeCertificate(const std::string& name, const std::string& whose) const
    {
        const std::string key = folder_ / (name + ".key");
        const std::string certificate = folder_ / (name + ".crt");
        const Outcome made =
            run({.program = "openssl",
                 .arguments = {"req", "-new", "-x509", "-days", "2", "-nodes", "-newkey", "ec", "-pkeyopt",
                               "ec_paramgen_curve:prime256v1", "-subj", "/CN=presva", "-addext",
                               "subjectAltName=" + whose, "-keyout", key, "-out", certificate}});
        if (made.code != 0) throw std::runtime_error(made.err);
        if (user_ != nullptr && ::chown(key.c_str(), user_->pw_uid, user_->pw_gid) != 0)
            throw std::system_error(errno, std::generic_category(), key);
        std::filesystem::permissions(key, std::filesystem::perms::owner_read);
        return certificate;
    }

    /// A new database that belongs to presva_sahip; in `place`, an empty folder, or with the server's own data.
    std::string database(const std::filesystem::path& place = {})
    {
        std::string name = "degirmen" + std::to_string(++databases_);
        std::string where;
        if (!place.empty()) {
            if (user_ != nullptr && ::chown(place.c_str(), user_->pw_uid, user_->pw_gid) != 0)
                throw std::system_error(errno, std::generic_category(), place);
            sql("create tablespace " + name + " location '" + place.string() + "'");
            where = " tablespace " + name;
        }
        sql("create database " + name + " owner presva_sahip" + where);
        return name;
    }
    /// What the superuser gets for statements: fields between bars, a row a line. Throws what psql says.
    std::string sql(const std::string& statements, const std::string& database = "postgres") const
    {
        const Outcome outcome = psql(statements, database);
        if (outcome.code != 0) throw std::runtime_error(outcome.err);
        return outcome.out;
    }
    Outcome psql(const std::string& statements, const std::string& database, const std::string& user = "owner") const
    {
        return run({.program = programs() / "psql",
                    .arguments = {"-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1", "-h", folder_, "-p",
                                  std::to_string(port_), "-U", user, "-c", statements, database},
                    .environment = {{"PGPASSWORD", user}, {"LC_ALL", "C"}}});
    }

private:
    static std::filesystem::path programs()
    {
        const std::filesystem::path all = "/usr/lib/postgresql";
        std::vector<std::filesystem::path> versions;
        if (std::filesystem::exists(all))
            for (const auto& each : std::filesystem::directory_iterator(all)) versions.push_back(each.path());
        if (versions.empty()) throw std::runtime_error("there is no PostgreSQL; install postgresql-15");
        return std::ranges::max(versions) / "bin";
    }
    std::string data() const { return folder_ / "data"; }
    void launch()
    {
        const std::string program = programs() / "postgres";
        const std::string place = data();
        child_ = ::fork();
        if (child_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
        if (child_ > 0) return;
        if (user_ != nullptr &&
            (::setgroups(0, nullptr) != 0 || ::setgid(user_->pw_gid) != 0 || ::setuid(user_->pw_uid) != 0))
            ::_exit(126);
        ::prctl(PR_SET_PDEATHSIG, SIGQUIT);
        if (::freopen((place + "/log").c_str(), "a", stderr) == nullptr) ::_exit(126);
        ::execl(program.c_str(), "postgres", "-D", place.c_str(), "-k", folder_.c_str(), "-c",
                "recovery_init_sync_method=syncfs", "-c", "max_connections=40", nullptr);
        ::_exit(127);
    }
    void end(int signal)
    {
        if (child_ <= 0) return;
        ::kill(child_, signal);
        ::waitpid(child_, nullptr, 0);
        child_ = -1;
    }

    std::filesystem::path folder_;
    passwd* user_ = nullptr; ///< whom a superuser becomes for the server
    pid_t child_ = -1;
    int databases_ = 0;
    int port_ = 5432;
};
