#include "tools/commands.h"

#include "files/part_file.h"
#include "files/quoted_path.h"
#include "seasons/page.h"
#include "seasons/paper.h"
#include "seasons/workbook.h"
#include "store/jet/database/database.h"
#include "store/restore.h"
#include "tools/language.h"

#include <charconv>
#include <optional>

namespace tools {
namespace {

int yearOf(const std::string& text)
{
    constexpr int first = 99, last = 9998;
    int year = 0;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), year);
    if (fault != std::errc() || end != text.data() + text.size() || year < first || year > last)
        misused(said("--year sezonun başladığı yıl olmalı, 99 ile 9998 arasında: 2025 gibi.",
                     "--year must be the one in which the season began, 99 to 9998: like 2025."));
    return year;
}

/// In the mill's folder, or the file itself.
std::filesystem::path databaseAt(files::Disk& disk, const std::filesystem::path& source)
{
    const bool isFolder = disk.exists(source / ""); // no file is found under a name that ends so
    return isFolder ? store::databaseIn(disk, source) : source;
}

/// Made by a library that knows paths alone.
void writeWorkbook(files::Disk& disk, const std::filesystem::path& to, const seasons::Report& report)
{
    disk.open(to, files::Disk::Access::createNew); // what stands in the way is told by the disk, and in words
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
    const std::filesystem::path kind = to.extension();
    if (kind != ".html" && kind != ".xlsx" && kind != ".pdf")
        misused(said("ÇIKTI'nın adı .html, .xlsx ya da .pdf ile bitmeli.", "OUT must end in .html, .xlsx or .pdf."));
    const auto year = parsed.option("--year");

    const auto database = seasons::openToRead(disk, databaseAt(disk, source));
    const double moment = now().days;
    const seasons::Reading reading =
        seasons::readSeason(*database, year ? std::optional(yearOf(*year)) : std::nullopt, moment);
    const seasons::Report report = seasons::describe(reading, files::quotedPath(source), moment);
    files::PartFile part = files::PartFile::replacing(disk, to);
    part.make([&] {
        if (kind == ".xlsx")
            writeWorkbook(disk, part.path(), report);
        else
            part.write(kind == ".pdf" ? seasons::paper(report) : seasons::page(report));
        part.publish();
    });

    Output out(standardOutput);
    say(out, report.title + ": " + counted(reading.figures.total.pressings, " sıkım.", " pressing.", " pressings."));
    for (const std::string& warning : report.warnings) say(out, warning);
    out.flush();
    return reading.damaged > 0 ? 2 : 0;
}

} // namespace tools
