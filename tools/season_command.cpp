#include "tools/season_command.h"

#include "files/part_file.h"
#include "files/quoted_path.h"
#include "seasons/page.h"
#include "seasons/workbook.h"
#include "store/jet/database/database.h"
#include "store/restore.h"
#include "tools/language.h"

#include <charconv>
#include <chrono>
#include <optional>
#include <thread>

namespace tools {
namespace {

int yearOf(const std::string& text)
{
    constexpr int first = 1900, last = 9998;
    int year = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), year);
    if (fault != std::errc() || end != text.data() + text.size() || year < first || year > last)
        misused(said("--year sezonun başladığı yıl olmalı: 2025 gibi.",
                     "--year must be the one in which the season began, like 2025."));
    return year;
}

/// In the mill's folder, or the file itself.
std::filesystem::path databaseAt(files::Disk& disk, const std::filesystem::path& source)
{
    const bool isFolder = disk.exists(source / ""); // no file is found under a name that ends so
    return isFolder ? store::databaseIn(disk, source) : source;
}

/// While the counter writes a change, which takes it some milliseconds, nobody may begin to read.
std::unique_ptr<jet::Database> opened(files::Disk& disk, const std::filesystem::path& path)
{
    using namespace std::chrono_literals;
    for (int attempt = 0;; ++attempt) {
        try {
            return jet::Database::open(disk, path, jet::Pager::Mode::readOnly);
        } catch (const jet::Error& error) {
            constexpr int attempts = 20;
            if (error.fault() != jet::Fault::inUse || attempt == attempts) throw;
            std::this_thread::sleep_for(100ms);
        }
    }
}

void writePage(files::Disk& disk, const std::filesystem::path& to, const std::string& text)
{
    const auto file = disk.open(to, files::Disk::Access::createNew);
    file->write(0, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    file->sync();
}

void writeSheets(files::Disk& disk, const std::filesystem::path& to, const seasons::Report& report)
{
    seasons::writeWorkbook(report, to);
    disk.open(to, files::Disk::Access::readWrite)->sync();
}

} // namespace

int season(files::Disk& disk, Arguments arguments)
{
    const Parsed parsed = parse("season", arguments, {"--year"});
    if (parsed.words.size() != 2)
        misused(said("Komut şöyle yazılır: presva-mdb season KAYNAK [--year YIL] ÇIKTI",
                     "The command is written so: presva-mdb season SOURCE [--year YEAR] OUT"));
    const std::filesystem::path source = pathOf(parsed.words[0]);
    const std::filesystem::path to = pathOf(parsed.words[1]);
    const bool sheets = to.extension() == ".xlsx";
    if (!sheets && to.extension() != ".html")
        misused(said("ÇIKTI'nın adı .html ya da .xlsx ile bitmeli.", "OUT must end in .html or .xlsx."));
    const auto year = parsed.option("--year");

    const auto database = opened(disk, databaseAt(disk, source));
    const double moment = now().days;
    const seasons::Reading reading =
        seasons::readSeason(*database, year ? std::optional(yearOf(*year)) : std::nullopt, moment);
    const seasons::Report report = seasons::describe(reading, files::quotedPath(source), moment);
    files::PartFile part = files::PartFile::replacing(disk, to);
    if (sheets)
        writeSheets(disk, part.path(), report);
    else
        writePage(disk, part.path(), seasons::page(report));
    part.publish();

    Output out(standardOutput);
    say(out, report.title + ": " + std::to_string(reading.figures.total.pressings) + said(" sıkım.", " pressings."));
    for (const std::string& warning : report.warnings) say(out, warning);
    out.flush();
    return reading.damaged > 0 ? 2 : 0;
}

} // namespace tools
