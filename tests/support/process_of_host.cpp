#include "tests/support/process_of_host.h"

#include "tests/support/bytes.h"
#include "tests/support/text.h"

#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace {

std::string inHex(const std::string& text)
{
    return hexOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

std::string fromHex(const std::string& digits)
{
    const std::vector<std::uint8_t> bytes = bytesOf(digits);
    return {bytes.begin(), bytes.end()};
}

} // namespace

bool isOfHost(const Command& command)
{
    return std::getenv("PRESVA_SCENARIO_HOST") != nullptr && !command.program.ends_with(".exe");
}

Outcome runByHost(const Command& command)
{
    std::string question = "host: run " + std::to_string(command.limit.count()) + ' ' + inHex(command.input);
    for (const auto& [name, value] : command.environment) question += ' ' + inHex(name + '=' + value);
    question += ' ' + inHex("--") + ' ' + inHex(command.program);
    for (const std::string& argument : command.arguments) question += ' ' + inHex(argument);
    std::puts(question.c_str());
    std::fflush(stdout);

    std::string answer;
    for (int letter = std::getchar(); letter != EOF && letter != '\n'; letter = std::getchar())
        if (letter != '\r') answer += static_cast<char>(letter);
    const std::vector<std::string> parts = split(answer, " ");
    if (parts.size() != 3) throw std::runtime_error("the host did not answer for " + command.program + ": " + answer);
    if (parts[0] == "absent")
        throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory), fromHex(parts[1]));
    return {.code = std::stoi(parts[0]), .out = fromHex(parts[1]), .err = fromHex(parts[2])};
}
