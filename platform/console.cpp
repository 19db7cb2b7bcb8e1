#include "platform/console.h"

#include <unistd.h>

namespace platform {

std::vector<std::string> commandWords(int argc, char** argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

bool isTerminal(int descriptor) { return ::isatty(descriptor) != 0; }

long long writeSome(int descriptor, const char* bytes, std::size_t count) { return ::write(descriptor, bytes, count); }

std::tm localTime(std::time_t moment)
{
    std::tm local = {};
    ::localtime_r(&moment, &local);
    return local;
}

} // namespace platform
