#include "tools/row_output.h"
#include "tools/language.h"

#include "exchange/sheet_rows.h"
#include "files/error.h"
#include "files/part_file.h"

#include <algorithm>
#include <utility>

namespace tools {

namespace {

constexpr std::pair<std::string_view, Format> formats[] = {
    {"csv", Format::csv}, {"jsonl", Format::json}, {"xlsx", Format::sheet}};

} // namespace

std::string_view endingOf(Format format)
{
    return std::ranges::find(formats, format, &std::pair<std::string_view, Format>::second)->first;
}

Format formatOf(const Parsed& parsed, bool toFolder)
{
    const auto named = parsed.oneOf("--format", {"csv", "jsonl", "xlsx"});
    const auto out = parsed.option("--out");
    Format wanted = Format::csv;
    for (const auto& [name, format] : formats)
        if (named ? *named == name : out && out->ends_with("." + std::string(name))) wanted = format;
    if (wanted != Format::sheet) return wanted;
    if (!toFolder && !out)
        misused(said("xlsx standart çıktıya yazılamaz; --out ÇIKTI.xlsx ile bir dosya adı verin.",
                     "xlsx cannot go to standard output; give a file's name with --out OUT.xlsx."));
    if (!sheets::available())
        throw files::Error(files::Fault::unsupported,
                           said("Bu kurulum .xlsx yazamaz (libxlsxwriter olmadan derlenmiş); CSV olarak aktarın, hesap "
                                "tablosu programı onu açar.",
                                "This installation cannot write .xlsx (it was built without libxlsxwriter); export "
                                "CSV, which spreadsheets open."));
    return wanted;
}

void writeRows(files::Disk& disk, Format format, const std::optional<std::filesystem::path>& path,
               exchange::ExportLosses& losses, const std::function<void(exchange::RowWriter&)>& produce)
{
    const auto textRows = [&](Output& out) {
        const auto rows = format == Format::csv ? exchange::csvRows(out) : exchange::jsonRows(out);
        produce(*rows);
    };
    if (!path) {
        Output out(standardOutput);
        textRows(out);
        return;
    }
    files::PartFile part(disk, *path);
    part.make([&] {
        if (format == Format::sheet) {
            sheets::Workbook workbook(part.path());
            const auto rows = exchange::sheetRows(workbook, [&](const jet::Error& error) { losses.add(error); });
            produce(*rows);
            workbook.close();
            disk.open(part.path(), files::Disk::Access::readWrite)->sync();
        } else {
            const auto file = disk.open(part.path(), files::Disk::Access::createNew);
            Output out(*file);
            textRows(out);
            file->sync();
        }
        part.publish();
    });
}

int toldLosses(const exchange::ExportLosses& losses)
{
    if (losses.places > 0)
        throw files::Error(losses.fault, counted(losses.places, " yer yazılamadı, geri kalanı yazıldı. İlki: ",
                                                 " place could not be written, the rest is. It is: ",
                                                 " places could not be written, the rest is. The first: ") +
                                             losses.first);
    return 0;
}

} // namespace tools
