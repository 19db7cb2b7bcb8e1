#include "tools/command_line.h"

#include "files/error.h"
#include "platform/console.h"
#include "store/jet/values/calendar.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace tools {

Progress::Progress(const char* what) : what_(what), shown_(platform::isTerminal(standardError)) {}

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
    const std::tm local = platform::localTime(std::time(nullptr));
    return jet::dateTime(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                         std::min(local.tm_sec, 59))
        .value_or(jet::DateTime{});
}

std::filesystem::path pathOf(const std::string& utf8)
{
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

void misused(const std::string& sentence) { throw files::Error(files::Fault::badValue, sentence); }

void say(Output& out, const std::string& line)
{
    out.put(line);
    out.put('\n');
}

} // namespace tools
