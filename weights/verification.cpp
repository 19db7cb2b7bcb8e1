#include "weights/verification.h"

#include "files/language.h"
#include "files/quoted_path.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace weights {

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
            if (lines[i].isCutOff) return at(lines[i], Kind::cutOff, number, number);
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

std::optional<ChainFault> firstFault(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads)
{
    std::set<std::pair<std::uint64_t, std::string>> logged; // where the log has two for one line, both must be true
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
            const std::size_t row = lines.empty() ? 1 : lines.back().row + 1;
            return ChainFault{Kind::removed, first, number, lines.empty() ? currentName : lines.back().file, row};
        }
        if (found->second->line->seal != seal) return at(*found->second, Kind::rewritten, agreed + 1, number);
        agreed = number;
    }
    return std::nullopt;
}

std::string sentence(const ChainFault& fault)
{
    const std::string first = std::to_string(fault.first);
    const std::string range = fault.first == fault.last ? first : first + "-" + std::to_string(fault.last);
    const std::string file = files::quotedPath(fault.file.filename());
    const std::string row = std::to_string(fault.row);
    const std::string place = files::inEnglish() ? (fault.first == fault.last ? "Line " : "Lines ") + range + " (" +
                                                       file + ", line " + row + " of the file): "
                                                 : range + (fault.first == fault.last ? ". satır (" : ". satırlar (") +
                                                       file + ", dosyanın " + row + ". satırı): ";
    switch (fault.kind) {
    case Kind::altered:
        return place + files::said("değiştirilmiş.", "altered.");
    case Kind::removed:
        return place + files::said("eksik.", "missing.");
    case Kind::doubled:
        return place + files::said("ikinci kez yazılmış.", "written a second time.");
    case Kind::putBetween:
        return place + files::said("araya sokulmuş.", "put in between.");
    case Kind::cutOff:
        return place + files::said("yarım, satır sonu yok.", "cut off, without its line end.");
    case Kind::rewritten:
        return place + files::said("presva.log'un gördüğü satırlar değil, yeniden yazılmış.",
                                   "not the lines that presva.log has seen, written anew.");
    }
    return {};
}

namespace {

/// What the log must have seen of a book with these lines.
std::optional<std::string> gapOfTheLog(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads)
{
    if (lines.empty()) return std::nullopt;
    if (heads.empty())
        return files::said("presva.log yok ya da defterin sonunu hiç görmemiş: baştan yazılmış bir defter anlaşılamaz.",
                           "presva.log is missing or has never seen the book's end: a book written anew would not be "
                           "noticed.");
    std::set<std::uint64_t> seen;
    for (const LoggedHead& head : heads) seen.insert(head.number);
    std::uint64_t last = 0;
    const auto gap = [&](std::uint64_t end) {
        const std::string range = std::to_string(last + 1) + "-" + std::to_string(end);
        return files::inEnglish()
                   ? "presva.log has not seen the end of the lines " + range +
                         ": lines were taken out of the log, or it could not be written."
                   : "presva.log " + range +
                         ". satırların sonunu görmemiş: günlükten satır çıkarılmış ya da günlüğe yazılamamış.";
    };
    // The first line is told at once.
    if (*seen.begin() > 1) return gap(*seen.begin() - 1);
    for (const std::uint64_t number : seen) {
        if (number - last > linesUnseenAtMost) return gap(number - 1);
        last = number;
    }
    if (lines.size() > last + linesUnseenAtMost) return gap(lines.size());
    return std::nullopt;
}

} // namespace

Findings verify(const std::vector<PlacedLine>& lines, const std::vector<LoggedHead>& heads, const jet::Table& journal,
                Journal whose)
{
    Findings found;
    if (const auto fault = firstFault(lines)) found.faults.push_back(sentence(*fault));
    if (const auto fault = firstFault(lines, heads)) found.faults.push_back(sentence(*fault));
    if (auto gap = gapOfTheLog(lines, heads)) found.faults.push_back(std::move(*gap));
    Findings journals = differences(lines, heads, journal, whose);
    std::ranges::move(journals.faults, std::back_inserter(found.faults));
    found.remarks = std::move(journals.remarks);
    return found;
}

} // namespace weights
