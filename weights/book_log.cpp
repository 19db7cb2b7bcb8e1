#include "weights/book_log.h"

#include "weights/weight_line.h"

#include <charconv>

namespace weights {
namespace {

constexpr std::string_view logBegins = "tartım defterinin sonu: satır ";
constexpr std::string_view logMiddle = ", özet ";

std::string readFrom(files::File& file, std::uint64_t begin)
{
    std::string text(static_cast<std::size_t>(file.size() - begin), '\0');
    text.resize(file.read(begin, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
    return text;
}

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
        if (line.ends_with('\r')) line.remove_suffix(1);
        // The last one where half a line came before it.
        const std::size_t begin = line.rfind(logBegins);
        if (begin == std::string_view::npos) continue;
        LoggedHead head;
        head.moment = line.substr(0, line.find(' '));
        line.remove_prefix(begin + logBegins.size());
        const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), head.number);
        if (error != std::errc()) continue;
        line.remove_prefix(static_cast<std::size_t>(rest - line.data()));
        if (!line.starts_with(logMiddle)) continue;
        head.seal = line.substr(logMiddle.size());
        if (head.seal.size() != noSeal.size() || head.number == 0) continue; // half of one
        heads.push_back(std::move(head));
    }
    return heads;
}

std::filesystem::path logIn(const std::filesystem::path& folder) { return folder / "presva.log"; }

std::vector<LoggedHead> loggedHeads(files::Disk& disk, const std::filesystem::path& log)
{
    if (!disk.exists(log)) return {};
    return loggedHeads(readFrom(*disk.open(log, files::Disk::Access::readOnly), 0));
}

void tellLog(files::Disk& disk, const std::filesystem::path& folder, double moment, const std::string& text,
             Keeping keeping)
{
    const bool isThere = disk.exists(logIn(folder));
    const auto file =
        disk.open(logIn(folder), isThere ? files::Disk::Access::readWrite : files::Disk::Access::createNew);
    const std::uint64_t size = file->size();
    std::string line = isoMoment(moment) + ' ' + text + '\n';
    if (size > 0 && readFrom(*file, size - 1) != "\n") line.insert(0, 1, '\n');
    file->write(size, {reinterpret_cast<const std::uint8_t*>(line.data()), line.size()});
    if (keeping == Keeping::untilThePowerGoes) return;
    file->sync();
    if (!isThere) disk.syncFolder(folder);
}

} // namespace weights
