#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

/// What a program left behind. Texts are as it wrote them, UTF-8 as a rule.
struct Outcome {
    int code = -1; ///< -1: it did not end by itself in time, or was ended by a signal
    std::string out;
    std::string err;
};

/// A program to run and how.
struct Command {
    std::string program; ///< searched in PATH
    std::vector<std::string> arguments;
    std::string input = {};                                ///< what its standard input gives, through a pipe
    std::map<std::string, std::string> environment = {};   ///< set beside what the test itself has
    std::chrono::seconds limit = std::chrono::seconds(60); ///< it is killed then
};

/// Runs it to its end. Throws std::system_error where it cannot be started.
Outcome run(const Command& command);
