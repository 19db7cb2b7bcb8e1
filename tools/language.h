#pragma once

#include "files/error.h"
#include "files/language.h"
#include "tools/command_line.h"

#include <cstdint>
#include <string>

/// The language in which presva-mdb speaks to people. What it writes for programs (CSV, names, types) has none.
namespace tools {

/// English where the option --lang or, without it, the first of LC_ALL, LC_MESSAGES and LANG that is set says "en";
/// otherwise Turkish. To be called once, first; takes the option out of the arguments. Misused for another language.
void chooseLanguage(std::vector<std::string>& arguments);
inline bool speaksEnglish() { return files::inEnglish(); }

using files::said;

/// So many of something: "3 satır", in English "1 row" or "3 rows". What is counted stands behind its blank.
inline std::string counted(std::uint64_t count, const char* turkish, const char* one, const char* more)
{
    return std::to_string(count) + said(turkish, count == 1 ? one : more);
}

/// The sentence of a failure. Those of the engine are Turkish: in English the kind of failure stands before it.
std::string sentenceOf(const files::Error& error);

} // namespace tools
