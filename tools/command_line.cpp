#include "tools/command_line.h"

#include "store/jet/calendar.h"
#include "store/jet/error.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace tools {

namespace {

bool isTerminal(int descriptor)
{
#ifdef _WIN32
    return ::_isatty(descriptor) != 0;
#else
    return ::isatty(descriptor) != 0;
#endif
}

} // namespace

Progress::Progress(const char* what) : what_(what), shown_(isTerminal(standardError)) {}

Progress::~Progress()
{
    constexpr int wide = 60;
    if (shown_ && percent_ >= 0) std::fprintf(stderr, "\r%*s\r", wide, "");
}

void Progress::operator()(int percent)
{
    if (!shown_ || percent == percent_) return;
    percent_ = percent;
    std::fprintf(stderr, "\r%s: %%%d", what_, percent);
    std::fflush(stderr);
}

jet::DateTime now()
{
    const std::time_t seconds = std::time(nullptr);
    std::tm local = {};
#ifdef _WIN32
    ::localtime_s(&local, &seconds);
#else
    ::localtime_r(&seconds, &local);
#endif
    return jet::dateTime(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                         std::min(local.tm_sec, 59))
        .value_or(jet::DateTime{});
}

std::filesystem::path pathOf(const std::string& utf8)
{
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

void misused(const std::string& sentence) { throw jet::Error(jet::Fault::badValue, sentence); }

void say(Output& out, const std::string& line)
{
    out.put(line);
    out.put('\n');
}

} // namespace tools
