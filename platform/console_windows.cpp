#include "platform/console.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// after windows.h, whose types it uses
#include <shellapi.h>

namespace platform {

std::vector<std::string> commandWords(int /*argc*/, char** /*argv*/)
{
    for (const int descriptor : {0, 1, 2}) ::_setmode(descriptor, _O_BINARY);
    static const UINT before = ::GetConsoleOutputCP(); // of the console, where there is one, and of its other programs
    if (before != 0) std::atexit([] { ::SetConsoleOutputCP(before); });
    ::SetConsoleOutputCP(CP_UTF8);

    // What main() is given is in the machine's code page and has lost whatever that does not hold.
    std::vector<std::string> words;
    int count = 0;
    LPWSTR* const wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    for (int i = 1; wide != nullptr && i < count; ++i) {
        const int size = ::WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, nullptr, 0, nullptr, nullptr);
        std::string word(static_cast<std::size_t>(std::max(size, 1)), '\0');
        ::WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, word.data(), size, nullptr, nullptr);
        word.pop_back(); // the terminating zero
        words.push_back(std::move(word));
    }
    ::LocalFree(wide);
    return words;
}

bool isTerminal(int descriptor) { return ::_isatty(descriptor) != 0; }

long long writeSome(int descriptor, const char* bytes, std::size_t count)
{
    constexpr std::size_t most = std::size_t{1} << 30; // of what the call can count
    return ::_write(descriptor, bytes, static_cast<unsigned>(std::min(count, most)));
}

std::tm localTime(std::time_t moment)
{
    std::tm local = {};
    ::localtime_s(&local, &moment);
    return local;
}

} // namespace platform
