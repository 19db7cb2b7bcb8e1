#include "weights/weight_book.h"

#include "files/error.h"
#include "mill/season.h"

#include <algorithm>

namespace weights {

const std::filesystem::path currentName = "Tartim.jsonl";

namespace {

constexpr std::string_view seasonPrefix = "Tartim-";
constexpr std::string_view seasonPattern = "Tartim-dddd-dddd.jsonl";

bool isOfASeason(const std::filesystem::path& file)
{
    const std::u8string text = file.u8string();
    return std::ranges::equal(text, seasonPattern, [](char8_t c, char wanted) {
        return wanted == 'd' ? c >= u8'0' && c <= u8'9' : c == static_cast<char8_t>(wanted);
    });
}

std::string readFrom(files::File& file, std::uint64_t begin, std::uint64_t end)
{
    std::string text(static_cast<std::size_t>(end - begin), '\0');
    text.resize(file.read(begin, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
    return text;
}

/// The last line that holds, of a piece that may begin in the middle of one.
std::optional<Line> lastLine(std::string_view text)
{
    for (std::size_t end = text.rfind('\n'); end != std::string_view::npos && end > 0;) {
        const std::size_t before = text.rfind('\n', end - 1);
        const std::size_t begin = before == std::string_view::npos ? 0 : before + 1;
        if (auto line = read(text.substr(begin, end - begin))) return line;
        end = before;
    }
    return std::nullopt;
}

void append(files::File& file, std::uint64_t end, const std::string& text)
{
    file.write(end, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

/// Whether a power cut may have left that of the line: every byte is its own, or none arrived.
bool isTornFrom(std::string_view tail, std::string_view line)
{
    return tail.size() <= line.size() &&
           std::ranges::equal(tail, line.substr(0, tail.size()),
                              [](char left, char whole) { return left == '\0' || left == whole; });
}

/// Whether that may be what a power cut left of some line.
bool mayBeTorn(std::string_view tail)
{
    constexpr std::string_view begins = "{\"line\":";
    constexpr std::size_t longest = 4096;
    const std::string_view begin = tail.substr(0, std::min(tail.size(), begins.size()));
    return tail.size() <= longest && isTornFrom(begin, begins);
}

/// Both tell of the same event, whatever else they say.
bool isSame(const Fact& one, const Fact& other)
{
    const auto* a = std::get_if<Pressing>(&one);
    const auto* b = std::get_if<Pressing>(&other);
    return a && b && a->job == b->job && a->customer == b->customer && isoMoment(a->moment) == isoMoment(b->moment);
}

/// Whether the fact stands among those lines; `end` is behind the last one that holds.
bool holdsFact(const std::string& since, const Fact& fact, std::size_t& end)
{
    bool found = false;
    end = 0;
    for (std::size_t begin = 0, stop = since.find('\n'); stop != std::string::npos; stop = since.find('\n', begin)) {
        const auto line = read(std::string_view(since).substr(begin, stop - begin));
        begin = stop + 1;
        if (!line) continue;
        found = found || isSame(line->fact, fact);
        end = begin;
    }
    return found;
}

} // namespace

std::vector<std::filesystem::path> bookFiles(files::Disk& disk, const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> found;
    for (const std::filesystem::path& file : disk.names(folder))
        if (isOfASeason(file)) found.push_back(folder / file);
    std::ranges::sort(found);
    if (disk.exists(folder / currentName)) found.push_back(folder / currentName);
    return found;
}

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
            PlacedLine line{path, ++row, text.substr(begin, end - begin), {}, found == std::string::npos};
            // Without its line end a line is not whole, whatever it says.
            if (found != std::string::npos) line.line = read(line.text);
            lines.push_back(std::move(line));
            begin = end + 1;
        }
    }
    return lines;
}

WeightBook::WeightBook(files::Disk& disk, std::filesystem::path folder)
    : disk_(disk), folder_(std::move(folder)), current_(folder_ / currentName)
{
}

Head WeightBook::headOf(files::File& file, std::uint64_t end) const
{
    // A few hundred bytes a line: the last piece holds many, and where none of them holds, the whole file is looked at.
    constexpr std::uint64_t piece = 65536;
    for (std::uint64_t begin = end > piece ? end - piece : 0;; begin = 0) {
        if (const auto line = lastLine(readFrom(file, begin, end)))
            return {line->number, line->seal, momentOf(line->fact)};
        if (begin == 0) return {};
    }
}

Head WeightBook::headOfEarlierSeasons()
{
    std::vector<std::filesystem::path> files = bookFiles(disk_, folder_);
    std::erase(files, current_);
    for (; !files.empty(); files.pop_back()) {
        const auto file = disk_.open(files.back(), files::Disk::Access::readOnly);
        if (Head head = headOf(*file, file->size()); head.number > 0) return head;
    }
    return {};
}

Head WeightBook::head()
{
    if (disk_.exists(current_)) {
        const auto file = disk_.open(current_, files::Disk::Access::readOnly);
        if (Head head = headOf(*file, file->size()); head.number > 0) return head;
    }
    return headOfEarlierSeasons();
}

Head WeightBook::headBefore(files::File& file, std::uint64_t end)
{
    const Head head = headOf(file, end);
    return head.number == 0 ? headOfEarlierSeasons() : head;
}

bool WeightBook::holds(const std::string& seal)
{
    const std::string sought = "\"seal\":\"" + seal + '"';
    return std::ranges::any_of(bookFiles(disk_, folder_), [&](const std::filesystem::path& path) {
        const auto file = disk_.open(path, files::Disk::Access::readOnly);
        return readFrom(*file, 0, file->size()).find(sought) != std::string::npos;
    });
}

void WeightBook::beginSeason(const Head& head, double moment)
{
    if (head.number == 0 || mill::seasonOf(moment) <= mill::seasonOf(head.moment)) return;
    const int year = mill::seasonOf(head.moment);
    const std::filesystem::path archive =
        folder_ / (std::string(seasonPrefix) + std::to_string(year) + "-" + std::to_string(year + 1) + ".jsonl");
    // The files are read in the order of their names. Behind a file of that name or a later one, somebody else's or of
    // a clock that was wrong, the book goes on in the old one.
    if (std::ranges::any_of(bookFiles(disk_, folder_),
                            [&](const auto& file) { return file != current_ && file >= archive; }))
        return;
    disk_.rename(current_, archive);
    disk_.syncFolder(folder_);
}

void WeightBook::mendEnd(files::File& file, std::string& cutOff)
{
    const std::uint64_t size = file.size();
    if (size == 0 || readFrom(file, size - 1, size) == "\n") return;
    const std::string text = readFrom(file, 0, size);
    const std::size_t lastEnd = text.rfind('\n');
    const std::uint64_t whole = lastEnd == std::string::npos ? 0 : lastEnd + 1;
    std::string tail = text.substr(static_cast<std::size_t>(whole));
    if (read(tail) || !mayBeTorn(tail)) {
        // A whole line without its end, or nothing of ours, which stays as a line of its own.
        append(file, size, "\n");
    } else {
        file.truncate(whole);
        cutOff = std::move(tail);
    }
    file.sync();
}

NextLine WeightBook::place(double moment)
{
    NextLine next;
    if (disk_.exists(current_)) {
        const auto file = disk_.open(current_, files::Disk::Access::readWrite);
        mendEnd(*file, next.cutOff);
        next.head = headOf(*file, file->size());
        next.place.offset = file->size();
    }
    if (next.place.offset > 0) beginSeason(next.head, moment);
    if (!disk_.exists(current_)) next.place.offset = 0;
    if (next.head.number == 0) next.head = headOfEarlierSeasons();
    next.place.seal = next.head.seal;
    return next;
}

bool WeightBook::isPlace(files::File& file, const Place& place)
{
    if (place.offset > file.size()) return false;
    if (place.offset > 0 && readFrom(file, place.offset - 1, place.offset) != "\n") return false;
    return headBefore(file, place.offset).seal == place.seal;
}

WrittenLine WeightBook::write(const Fact& fact, const Place& place)
{
    const bool isThere = disk_.exists(current_);
    const auto file = disk_.open(current_, isThere ? files::Disk::Access::readWrite : files::Disk::Access::createNew);
    const std::uint64_t size = file->size();
    const bool asNoted = isPlace(*file, place);
    WrittenLine result;
    bool found = false;
    std::uint64_t at = size; // where the line goes
    std::string tail;        // what stands there
    if (asNoted) {
        const std::string since = readFrom(*file, place.offset, size);
        std::size_t end = 0;
        found = holdsFact(since, fact, end);
        at = place.offset + end;
        tail = since.substr(end);
    } else {
        // Another file bears the name: that of a new season, or none of ours. The line may stand in any of them.
        bool isKnown = place.seal.empty();
        for (const PlacedLine& each : allLines(disk_, folder_)) {
            if (!each.line) continue;
            found = found || isSame(each.line->fact, fact);
            isKnown = isKnown || each.line->seal == place.seal;
        }
        result.isAnotherBook = !isKnown;
    }
    if (!found) {
        const Head before = headBefore(*file, at);
        std::string text = written(before.number + 1, fact, before.seal) + '\n';
        if (tail.size() > text.size()) {
            at = size; // nothing of ours: it stays
        } else if (!tail.empty()) {
            // As a rule what a power cut left of this very line.
            if (!isTornFrom(tail, text)) result.replaced = tail;
            file->truncate(at);
        }
        if (at > 0 && readFrom(*file, at - 1, at) != "\n") text.insert(0, 1, '\n');
        append(*file, at, text);
    }
    // Also what was found: a stop may have come between its write and its sync.
    file->sync();
    if (!isThere || place.offset == 0) disk_.syncFolder(folder_);
    result.head = headBefore(*file, file->size());
    return result;
}

} // namespace weights
