#include "weights/weight_book.h"

#include "files/error.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace weights {
namespace {

constexpr std::string_view name = "Tartim.jsonl";
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

/// Both tell of the same event, whatever else they say.
bool isSame(const Fact& one, const Fact& other)
{
    const auto* a = std::get_if<Pressing>(&one);
    const auto* b = std::get_if<Pressing>(&other);
    return a && b && a->job == b->job && a->customer == b->customer && isoMoment(a->moment) == isoMoment(b->moment);
}

} // namespace

std::vector<std::filesystem::path> bookFiles(files::Disk& disk, const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> found;
    for (const std::filesystem::path& file : disk.names(folder))
        if (isOfASeason(file)) found.push_back(folder / file);
    std::ranges::sort(found);
    if (disk.exists(folder / name)) found.push_back(folder / name);
    return found;
}

int seasonOf(double moment)
{
    const std::string iso = isoMoment(moment);
    const int year = std::atoi(iso.c_str());
    constexpr int july = 7;
    return std::atoi(iso.c_str() + 5) < july ? year - 1 : year;
}

WeightBook::WeightBook(files::Disk& disk, std::filesystem::path folder)
    : disk_(disk), folder_(std::move(folder)), current_(folder_ / name)
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

void WeightBook::beginSeason(double moment)
{
    const auto file = disk_.open(current_, files::Disk::Access::readWrite);
    const Head head = headOf(*file, file->size());
    if (head.number == 0 || seasonOf(moment) <= seasonOf(head.moment)) return;
    const int year = seasonOf(head.moment);
    const std::filesystem::path archive =
        folder_ / (std::string(seasonPrefix) + std::to_string(year) + "-" + std::to_string(year + 1) + ".jsonl");
    // Somebody else's file of that name stays: the book goes on in the old one.
    if (disk_.exists(archive)) return;
    disk_.rename(current_, archive);
    disk_.syncFolder(folder_);
}

std::uint64_t WeightBook::place(double moment, std::string& cutOff)
{
    cutOff.clear();
    if (!disk_.exists(current_)) return 0;
    beginSeason(moment);
    if (!disk_.exists(current_)) return 0;
    const auto file = disk_.open(current_, files::Disk::Access::readWrite);
    const std::uint64_t size = file->size();
    if (size == 0 || readFrom(*file, size - 1, size) == "\n") return size;
    const std::string text = readFrom(*file, 0, size);
    const std::size_t lastEnd = text.rfind('\n');
    const std::uint64_t whole = lastEnd == std::string::npos ? 0 : lastEnd + 1;
    cutOff = text.substr(static_cast<std::size_t>(whole));
    file->truncate(whole);
    file->sync();
    return whole;
}

void WeightBook::write(const Fact& fact, std::uint64_t place)
{
    const bool isThere = disk_.exists(current_);
    const auto file = disk_.open(current_, isThere ? files::Disk::Access::readWrite : files::Disk::Access::createNew);
    const std::uint64_t size = file->size();
    const std::uint64_t from = std::min(place, size);
    const std::string since = readFrom(*file, from, size);

    bool found = false;
    std::uint64_t at = from; // behind the last line that holds
    for (std::size_t begin = 0, end = since.find('\n'); end != std::string::npos; end = since.find('\n', begin)) {
        const auto line = read(std::string_view(since).substr(begin, end - begin));
        begin = end + 1;
        if (!line) continue;
        found = found || isSame(line->fact, fact);
        at = from + begin;
    }
    if (!found) {
        // What stands there is what a power cut left of this very line.
        if (at < size) file->truncate(at);
        Head before = headOf(*file, at);
        if (before.number == 0) before = headOfEarlierSeasons();
        std::string text = written(before.number + 1, fact, before.seal) + '\n';
        if (at > 0 && readFrom(*file, at - 1, at) != "\n") text.insert(0, 1, '\n');
        file->write(at, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    }
    // Also what was found: a stop may have come between its write and its sync.
    file->sync();
    if (place == 0) disk_.syncFolder(folder_);
}

} // namespace weights
