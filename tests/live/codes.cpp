#include "live/codes.h"
#include "tests/support/files.h"
#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>
#include <sstream>
#include <vector>

namespace live {
namespace {

const std::string address = "https://192.168.1.20:8443/#Zm9vYmFyZm9vYmFyZm9vYmFy";

using Modules = std::vector<std::vector<bool>>; ///< true: dark

/// What the terminal shows: two rows in each line of half blocks.
Modules modulesOfTerminal(const std::string& text)
{
    Modules modules;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::vector<bool> upper, lower;
        std::size_t at = line.find('m') + 1;
        const std::size_t end = line.rfind('\033');
        while (at < end) {
            const std::string glyph = line.substr(at, line[at] == ' ' ? 1 : 3);
            at += glyph.size();
            upper.push_back(glyph == "█" || glyph == "▀");
            lower.push_back(glyph == "█" || glyph == "▄");
        }
        modules.push_back(upper);
        modules.push_back(lower);
    }
    return modules;
}

/// A plain picture (PGM), which a reader of codes takes.
std::string pictureOf(const Modules& modules)
{
    constexpr std::size_t scale = 6;
    std::string pixels;
    for (const auto& row : modules)
        for (std::size_t i = 0; i < scale; ++i)
            for (const bool dark : row) pixels += std::string(scale, dark ? '\0' : '\xff');
    return "P5 " + std::to_string(modules[0].size() * scale) + " " + std::to_string(modules.size() * scale) + " 255\n" +
           pixels;
}

std::string readBy(const Modules& modules)
{
    const TemporaryFolder folder;
    const std::filesystem::path picture = folder / "code.pgm";
    writeFile(picture, pictureOf(modules));
    return run({.program = "zbarimg", .arguments = {"-q", "--raw", picture.string()}}).out;
}

TEST(Code, onTheTerminalIsReadByAnotherProgram)
{
    EXPECT_EQ(readBy(modulesOfTerminal(codeForTerminal(address))), address + "\n");
}

TEST(Code, onThePageIsTheSame)
{
    const std::string drawing = codeForPage(address, 400);
    const std::string mark = "viewBox=\"0 0 ";
    const std::size_t width = std::stoul(drawing.substr(drawing.find(mark) + mark.size()));
    Modules modules(width, std::vector<bool>(width));
    const std::size_t path = drawing.rfind(" d=\"") + 4;
    std::string moves = drawing.substr(path, drawing.rfind("\"/></svg>") - path);
    for (char& c : moves)
        if (std::isalpha(static_cast<unsigned char>(c))) c = ' ';
    std::istringstream numbers(moves);
    std::size_t column = 0, row = 0, length = 0, height = 0, back = 0;
    while (numbers >> column >> row >> length >> height >> back) {
        EXPECT_EQ(height, 1U);
        EXPECT_EQ(back, column);
        for (std::size_t i = 0; i < length; ++i) modules.at(row).at(column + i) = true;
    }
    EXPECT_EQ(readBy(modules), address + "\n");
}

} // namespace
} // namespace live
