#pragma once

#include "store/jet/values/value.h"
#include "tools/csv.h"

#include <filesystem>
#include <span>
#include <string>

/// What the commands of presva-mdb have in common.
namespace tools {

using Arguments = std::span<const std::string>;

inline constexpr int standardOutput = 1;
inline constexpr int standardError = 2;

/// Percentages on the terminal, in one line that is wiped in the end. Elsewhere nothing.
class Progress {
public:
    explicit Progress(const char* what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    void operator()(int percent);

private:
    const char* what_;
    bool shown_;
    int percent_ = -1;
};

/// The present moment by the local clock, in whole seconds.
jet::DateTime now();

std::filesystem::path pathOf(const std::string& utf8);

/// Ends the command: it was called in a way that it does not know.
[[noreturn]] void misused(const std::string& sentence);

/// A finished statement in one line on standard output.
void say(Output& out, const std::string& line);

} // namespace tools
