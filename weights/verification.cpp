#include "weights/verification.h"

#include "files/quoted_path.h"
#include "weights/weight_book.h"

#include <charconv>
#include <map>
#include <memory>

namespace weights {

std::vector<PlacedLine> allLines(files::Disk& disk, const std::filesystem::path& folder)
{
    std::vector<PlacedLine> lines;
    for (const std::filesystem::path& path : bookFiles(disk, folder)) {
        const auto file = disk.open(path, files::Disk::Access::readOnly);
        std::string text(static_cast<std::size_t>(file->size()), '\0');
        text.resize(file->read(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
        std::size_t row = 0;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t found = text.find('\n', begin);
            const std::size_t end = found == std::string::npos ? text.size() : found;
            PlacedLine line{path, ++row, text.substr(begin, end - begin), {}};
            // Without its line end a line is not whole, whatever it says.
            if (found != std::string::npos) line.line = read(line.text);
            lines.push_back(std::move(line));
            begin = end + 1;
        }
    }
    return lines;
}

namespace {

using Kind = ChainFault::Kind;

ChainFault at(const PlacedLine& place, Kind kind, std::uint64_t first, std::uint64_t last)
{
    return {kind, first, last, place.file, place.row};
}

} // namespace

std::optional<ChainFault> firstFault(const std::vector<PlacedLine>& lines)
{
    std::map<std::string, std::size_t> behind; // after which seal comes the line of that position
    std::map<std::string, std::size_t> texts;
    behind[noSeal] = 0;
    std::string seal = noSeal;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::uint64_t number = i + 1; // up to here each line has been the next
        const std::optional<Line>& line = lines[i].line;
        if (!line) {
            const bool goesOn = i + 1 < lines.size() && lines[i + 1].line && lines[i + 1].line->previous == seal;
            return at(lines[i], goesOn ? Kind::putBetween : Kind::altered, number, number);
        }
        if (line->number == number && line->previous == seal) {
            seal = line->seal;
            behind[seal] = i + 1;
            texts[lines[i].text] = i;
            continue;
        }
        if (texts.contains(lines[i].text)) return at(lines[i], Kind::doubled, line->number, line->number);
        // It follows on an earlier line: what stands between the two came later.
        if (const auto earlier = behind.find(line->previous);
            earlier != behind.end() && earlier->second < i && line->number == earlier->second + 1)
            return at(lines[earlier->second], Kind::putBetween, earlier->second + 1, i);
        if (line->number > number) return at(lines[i], Kind::removed, number, line->number - 1);
        // Two lines that do not fit together, each with a seal that fits itself. The one on which the next line
        // follows is the one that was written.
        const bool nextFollows =
            i + 1 == lines.size() || (lines[i + 1].line && lines[i + 1].line->previous == line->seal);
        if (i > 0 && line->number == number && nextFollows)
            return at(lines[i - 1], Kind::altered, number - 1, number - 1);
        return at(lines[i], Kind::altered, number, number);
    }
    return std::nullopt;
}

namespace {

constexpr std::string_view logBegins = "tartım defterinin sonu: satır ";
constexpr std::string_view logMiddle = ", özet ";

} // namespace

std::string logLine(std::uint64_t number, const std::string& seal)
{
    return std::string(logBegins) + std::to_string(number) + std::string(logMiddle) + seal;
}

std::vector<LoggedHead> loggedHeads(std::string_view log)
{
    std::vector<LoggedHead> heads;
    while (!log.empty()) {
        const std::size_t end = std::min(log.find('\n'), log.size());
        std::string_view line = log.substr(0, end);
        log.remove_prefix(std::min(end + 1, log.size()));
        const std::size_t begin = line.find(logBegins);
        if (begin == std::string_view::npos) continue;
        LoggedHead head;
        head.moment = line.substr(0, line.find(' '));
        line.remove_prefix(begin + logBegins.size());
        const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), head.number);
        if (error != std::errc()) continue;
        line.remove_prefix(static_cast<std::size_t>(rest - line.data()));
        if (!line.starts_with(logMiddle)) continue;
        head.seal = line.substr(logMiddle.size());
        heads.push_back(std::move(head));
    }
    return heads;
}

std::optional<ChainFault> firstFault(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads)
{
    std::map<std::uint64_t, std::string> logged;
    for (const LoggedHead& head : heads) logged.emplace(head.number, head.seal);
    std::map<std::uint64_t, const PlacedLine*> numbered;
    for (const PlacedLine& each : lines)
        if (each.line) numbered.emplace(each.line->number, &each);
    std::uint64_t agreed = 0;
    for (const auto& [number, seal] : logged) {
        const auto found = numbered.find(number);
        if (found == numbered.end()) {
            const std::uint64_t last = lines.size();
            const std::uint64_t first = last < number ? last + 1 : number;
            return ChainFault{Kind::removed, first, number, lines.empty() ? std::filesystem::path() : lines.back().file,
                              lines.empty() ? 0 : lines.back().row + 1};
        }
        if (found->second->line->seal != seal) return at(*found->second, Kind::rewritten, agreed + 1, number);
        agreed = number;
    }
    return std::nullopt;
}

std::string sentence(const ChainFault& fault)
{
    const std::string numbers = fault.first == fault.last
                                    ? std::to_string(fault.first) + ". satır"
                                    : std::to_string(fault.first) + "-" + std::to_string(fault.last) + ". satırlar";
    const std::string place =
        " (" + files::quotedPath(fault.file.filename()) + ", dosyanın " + std::to_string(fault.row) + ". satırı)";
    switch (fault.kind) {
    case Kind::altered:
        return numbers + place + ": değiştirilmiş.";
    case Kind::removed:
        return numbers + place + ": eksik.";
    case Kind::doubled:
        return numbers + place + ": ikinci kez yazılmış.";
    case Kind::putBetween:
        return numbers + place + ": araya sokulmuş.";
    case Kind::rewritten:
        return numbers + place + ": presva.log'un gördüğü satırlar değil, yeniden yazılmış.";
    }
    return {};
}

} // namespace weights
