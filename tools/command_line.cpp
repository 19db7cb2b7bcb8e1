#include "tools/command_line.h"

#include "platform/console.h"
#include "store/jet/values/calendar.h"
#include "tools/language.h"

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

void misused(const std::string& sentence) { throw Misuse(sentence); }

std::optional<std::string> Parsed::option(std::string_view name) const
{
    const auto found = options.find(name);
    return found == options.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> Parsed::oneOf(std::string_view name, std::initializer_list<std::string_view> allowed) const
{
    auto given = option(name);
    if (!given || std::ranges::find(allowed, *given) != allowed.end()) return given;
    std::string names;
    for (const std::string_view each : allowed) names += (names.empty() ? "" : ", ") + std::string(each);
    misused(std::string(name) + said(" şunlardan biri olmalı: ", " must be one of: ") + names + ".");
}

Parsed parse(std::string_view command, Arguments arguments, std::initializer_list<std::string_view> known)
{
    Parsed parsed;
    // A program that is named so has no commands.
    const std::string of = command.starts_with("presva-") ? "" : "presva-mdb ";
    const auto refuse = [&](const std::string& word, const char* why) {
        misused("'" + word + why + said("; yardım için: ", "; for help: ") + of + std::string(command) + " --help");
    };
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (!word.starts_with('-') || word.size() == 1) {
            parsed.words.push_back(word);
            continue;
        }
        if (std::ranges::find(known, word) == known.end())
            refuse(word, said("' diye bir seçenek yok", "' is no option"));
        if (i + 1 == arguments.size()) refuse(word, said("' seçeneğinin değeri eksik", "' lacks its value"));
        if (!parsed.options.emplace(word, arguments[++i]).second)
            refuse(word, said("' iki kez verilmiş", "' is given twice"));
    }
    return parsed;
}

void say(Output& out, const std::string& line)
{
    out.put(line);
    out.put('\n');
}

void sayDone(const std::string& sentence)
{
    try {
        Output out(standardOutput);
        say(out, sentence);
        out.flush();
    } catch (const files::Error& error) {
        throw files::Error(error.fault(), said("Yapıldı: ", "It is done: ") + sentence + " " + error.what());
    }
}

} // namespace tools
