#pragma once

#include "exchange/output.h"
#include "store/jet/values/value.h"

#include <filesystem>
#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// What the commands of presva-mdb have in common.
namespace tools {

using Arguments = std::span<const std::string>;
using exchange::Output;

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

/// A command was called in a way that it does not know; the sentence is in the language that is spoken.
struct Misuse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Ends the command with a Misuse: it was called in a way that it does not know.
[[noreturn]] void misused(const std::string& sentence);

/// What stands behind a command's name: words, and options with a value each.
struct Parsed {
    std::vector<std::string> words;
    std::map<std::string, std::string, std::less<>> options;

    std::optional<std::string> option(std::string_view name) const;
    /// The option is one of these; nothing when it was not given. Misused for another one.
    std::optional<std::string> oneOf(std::string_view name, std::initializer_list<std::string_view> allowed) const;
};

/// Takes the arguments of a command apart. Misused for an option that is not among `known`, one without its value and
/// one given twice. A word that begins with "-" and is longer is an option.
Parsed parse(std::string_view command, Arguments arguments, std::initializer_list<std::string_view> known);

/// A finished statement in one line on standard output.
void say(Output& out, const std::string& line);
/// The last word of a command that has changed something, on standard output. Throws files::Error (disk) where that
/// takes nothing; the sentence says that the work is done all the same.
void sayDone(const std::string& sentence);

} // namespace tools
