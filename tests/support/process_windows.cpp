#include "tests/support/process.h"

#include "tests/support/process_of_host.h"

#include <array>
#include <cwchar>
#include <memory>
#include <system_error>
#include <thread>
#include <windows.h>

namespace {

struct CloseObject {
    using pointer = HANDLE;
    void operator()(HANDLE object) const { ::CloseHandle(object); }
};
using Object = std::unique_ptr<void, CloseObject>;

[[noreturn]] void fail(const std::string& what)
{
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), what);
}

std::wstring wide(const std::string& text)
{
    const int size = static_cast<int>(text.size());
    std::wstring result(static_cast<std::size_t>(::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)), 0);
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, result.data(), static_cast<int>(result.size()));
    return result;
}

/// One end is the program's and inherited, the other is ours.
struct Pipe {
    enum class Programs { readingEnd, writingEnd };

    explicit Pipe(Programs end)
    {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        HANDLE reading = nullptr;
        HANDLE writing = nullptr;
        if (!::CreatePipe(&reading, &writing, &inherited, 0)) fail("pipe");
        (end == Programs::readingEnd ? programs : ours).reset(reading);
        (end == Programs::readingEnd ? ours : programs).reset(writing);
        ::SetHandleInformation(ours.get(), HANDLE_FLAG_INHERIT, 0);
    }

    Object programs;
    Object ours;
};

/// As the program's own runtime takes a command line apart again.
void appendQuoted(std::wstring& line, const std::wstring& argument)
{
    if (!line.empty()) line += L' ';
    line += L'"';
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"') line.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        line += c;
    }
    line.append(backslashes, L'\\');
    line += L'"';
}

/// Names of variables are one whatever their letter case.
std::wstring environmentWith(const std::map<std::string, std::string>& changes)
{
    std::wstring block;
    wchar_t* const all = ::GetEnvironmentStringsW();
    for (const wchar_t* each = all; *each != 0; each += std::wcslen(each) + 1) {
        const std::wstring entry = each;
        bool changed = false;
        for (const auto& [name, value] : changes) {
            const std::wstring begin = wide(name) + L'=';
            changed |= ::_wcsnicmp(entry.c_str(), begin.c_str(), begin.size()) == 0;
        }
        if (!changed) block.append(entry).append(1, L'\0');
    }
    ::FreeEnvironmentStringsW(all);
    for (const auto& [name, value] : changes) block.append(wide(name) + L'=' + wide(value)).append(1, L'\0');
    return block.append(1, L'\0');
}

void readAll(HANDLE from, std::string& to)
{
    std::array<char, 65536> bytes{};
    DWORD count = 0;
    while (::ReadFile(from, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) && count > 0)
        to.append(bytes.data(), count);
}

/// To the end, or as far as somebody reads it.
void writeAll(Object to, std::string_view rest)
{
    DWORD count = 0;
    while (!rest.empty() && ::WriteFile(to.get(), rest.data(), static_cast<DWORD>(rest.size()), &count, nullptr))
        rest.remove_prefix(count);
}

} // namespace

Outcome run(const Command& command)
{
    if (isOfHost(command)) return runByHost(command);
    std::wstring line;
    appendQuoted(line, wide(command.program));
    for (const std::string& argument : command.arguments) appendQuoted(line, wide(argument));
    std::wstring environment = environmentWith(command.environment);

    Pipe in(Pipe::Programs::readingEnd);
    Pipe out(Pipe::Programs::writingEnd);
    Pipe err(Pipe::Programs::writingEnd);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = in.programs.get();
    start.hStdOutput = out.programs.get();
    start.hStdError = err.programs.get();
    PROCESS_INFORMATION started{};
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT, environment.data(),
                          nullptr, &start, &started))
        fail(command.program);
    const Object process(started.hProcess);
    const Object thread(started.hThread);
    for (Pipe* pipe : {&in, &out, &err}) pipe->programs.reset();

    Outcome outcome;
    std::thread feeding(writeAll, std::move(in.ours), std::string_view(command.input));
    std::thread hearing(readAll, out.ours.get(), std::ref(outcome.out));
    std::thread hearingErrors(readAll, err.ours.get(), std::ref(outcome.err));
    const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(command.limit).count();
    const bool ended = ::WaitForSingleObject(process.get(), static_cast<DWORD>(limit)) == WAIT_OBJECT_0;
    if (!ended) ::TerminateProcess(process.get(), 1);
    feeding.join();
    hearing.join();
    hearingErrors.join();
    DWORD code = 0;
    // An exception that nobody caught ends a program with a code from 0xC0000000 on.
    if (ended && ::GetExitCodeProcess(process.get(), &code) && code < 0xC0000000) outcome.code = static_cast<int>(code);
    return outcome;
}
