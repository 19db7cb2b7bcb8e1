#include "tests/support/process.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

/// Two ends of a pipe, which no program started later inherits.
class Pipe {
public:
    Pipe()
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
        from_ = ends[0];
        to_ = ends[1];
    }
    ~Pipe()
    {
        closeFrom();
        closeTo();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int from() const { return from_; }
    int to() const { return to_; }
    void closeFrom() { close(from_); }
    void closeTo() { close(to_); }

private:
    static void close(int& end)
    {
        if (end >= 0) ::close(end);
        end = -1;
    }

    int from_ = -1;
    int to_ = -1;
};

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& changes)
{
    std::vector<std::string> all;
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string entry = *each;
        if (!changes.contains(entry.substr(0, entry.find('=')))) all.push_back(entry);
    }
    for (const auto& [name, value] : changes) all.push_back(std::string(name).append(1, '=').append(value));
    return all;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

pid_t start(const Command& command, const Pipe& in, const Pipe& out, const Pipe& err)
{
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, in.from(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, out.to(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, err.to(), STDERR_FILENO);
    std::vector<std::string> arguments = command.arguments;
    arguments.insert(arguments.begin(), command.program);
    std::vector<std::string> environment = environmentWith(command.environment);
    // What the test itself ignores (see run()) is no business of the program.
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t usual;
    ::sigemptyset(&usual);
    ::sigaddset(&usual, SIGPIPE);
    ::posix_spawnattr_setsigdefault(&attributes, &usual);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child = -1;
    const int fault = ::posix_spawnp(&child, command.program.c_str(), &actions, &attributes,
                                     pointersTo(arguments).data(), pointersTo(environment).data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    if (fault != 0) throw std::system_error(fault, std::generic_category(), command.program);
    return child;
}

/// Appends what is there to read; false at the end.
bool readSome(int from, std::string& to)
{
    char bytes[65536];
    const ssize_t count = ::read(from, bytes, sizeof bytes);
    if (count > 0) to.append(bytes, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

/// Writes what the other end takes; false when there is nothing left to write or nobody to read it.
bool writeSome(int to, std::string_view& rest)
{
    const ssize_t count = ::write(to, rest.data(), rest.size());
    if (count < 0) return errno == EINTR || errno == EAGAIN;
    rest.remove_prefix(static_cast<std::size_t>(count));
    return !rest.empty();
}

/// Feeds and listens until the program has closed both outputs; false when the time is over.
bool converse(const Command& command, Pipe& in, Pipe& out, Pipe& err, Outcome& outcome)
{
    std::string_view rest = command.input;
    if (rest.empty()) in.closeTo();
    const auto end = std::chrono::steady_clock::now() + command.limit;
    while (out.from() >= 0 || err.from() >= 0) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        // A closed end is a negative number, which poll() leaves out.
        pollfd ends[] = {{in.to(), POLLOUT, 0}, {out.from(), POLLIN, 0}, {err.from(), POLLIN, 0}};
        if (::poll(ends, 3, static_cast<int>(left.count())) < 0 && errno != EINTR) return false;
        if (ends[0].revents != 0 && !writeSome(in.to(), rest)) in.closeTo();
        if (ends[1].revents != 0 && !readSome(out.from(), outcome.out)) out.closeFrom();
        if (ends[2].revents != 0 && !readSome(err.from(), outcome.err)) err.closeFrom();
    }
    return true;
}

} // namespace

Outcome run(const Command& command)
{
    // A program that does not read its input to the end must not end the test.
    ::signal(SIGPIPE, SIG_IGN);
    Pipe in, out, err;
    ::fcntl(in.to(), F_SETFL, O_NONBLOCK);
    const pid_t child = start(command, in, out, err);
    in.closeFrom();
    out.closeTo();
    err.closeTo();
    Outcome outcome;
    if (!converse(command, in, out, err, outcome)) ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
    return outcome;
}
