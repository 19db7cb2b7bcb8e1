#include "tools/exchange_commands.h"
#include "tools/language.h"

#include "exchange/schema.h"
#include "exchange/table_export.h"
#include "exchange/table_import.h"
#include "exchange/text_encoding.h"
#include "files/quoted_path.h"
#include "store/jet/database/database.h"
#include "tools/row_output.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <iterator>

namespace tools {

namespace {

using exchange::ExportLosses;

// ---- export ----

void write(const jet::Table& table, exchange::RowWriter& rows, ExportLosses& losses)
{
    Progress progress(said("Aktarılıyor", "Exporting"));
    exchange::exportTable(table, rows, losses, std::ref(progress));
}

/// The names of the files of all tables, as far as a folder can hold the tables' names.
std::vector<std::string> fileNames(const std::vector<std::u16string>& tables, Format format)
{
    std::vector<std::string> names;
    for (const std::u16string& table : tables) {
        std::string stem = jet::toUtf8(table);
        for (char& c : stem) {
            const bool allowed = static_cast<unsigned char>(c) >= ' ' &&
                                 std::string_view("/\\:*?\"<>|").find(c) == std::string_view::npos;
            if (!allowed) c = '_';
        }
        if (stem.starts_with('.')) stem.front() = '_';
        std::string name;
        for (int number = 1; name.empty() || std::ranges::find(names, name) != names.end(); ++number)
            name =
                stem + (number == 1 ? "" : " (" + std::to_string(number) + ")") + "." + std::string(endingOf(format));
        names.push_back(name);
    }
    return names;
}

void exportAll(files::Disk& disk, jet::Database& database, Format format, const std::filesystem::path& folder,
               ExportLosses& losses)
{
    const std::vector<std::u16string> tables = database.tableNames();
    const std::vector<std::string> names = fileNames(tables, format);
    disk.makeFolder(folder);
    for (const std::string& name : names)
        if (disk.exists(folder / pathOf(name)))
            throw files::Error(files::Fault::exists,
                               files::quotedPath(folder / pathOf(name)) +
                                   said(" zaten var; başka bir klasör verin. Hiçbir şey yazılmadı.",
                                        " is there already; give another folder. Nothing was written."));
    for (std::size_t i = 0; i < tables.size(); ++i)
        writeRows(disk, format, folder / pathOf(names[i]), losses,
                  [&](exchange::RowWriter& rows) { write(database.table(tables[i]), rows, losses); });
    Output out(standardOutput);
    say(out, std::to_string(tables.size()) + said(" tablo yazıldı.", " tables written."));
    out.flush();
}

// ---- import ----

/// The whole text of a file, or of standard input for "-".
std::string wholeText(files::Disk& disk, const std::string& name)
{
    if (name == "-") return {std::istreambuf_iterator<char>(std::cin), {}};
    const auto file = disk.open(pathOf(name), files::Disk::Access::readOnly);
    std::string text(file->size(), '\0');
    const std::size_t count = file->read(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()});
    text.resize(count);
    return text;
}

} // namespace

int exportTables(files::Disk& disk, Arguments arguments)
{
    const Parsed parsed = parse("export", arguments, {"--out", "--all", "--format"});
    const auto folder = parsed.option("--all");
    const auto to = parsed.option("--out");
    if (parsed.words.size() != (folder ? 1 : 2) || (folder && to))
        misused(
            said("'export' ya bir TABLO adıyla ya da --all KLASÖR ile yazılır; yardım için: presva-mdb export --help",
                 "'export' takes a TABLE or --all FOLDER; for help: presva-mdb export --help"));
    const Format format = formatOf(parsed, folder.has_value());
    const auto database = jet::Database::open(disk, pathOf(parsed.words[0]), jet::Pager::Mode::readOnly);
    ExportLosses losses;
    if (folder) {
        exportAll(disk, *database, format, pathOf(*folder), losses);
    } else {
        const jet::Table& table = database->table(jet::fromUtf8(parsed.words[1]));
        writeRows(disk, format, to ? std::optional(pathOf(*to)) : std::nullopt, losses,
                  [&](exchange::RowWriter& rows) { write(table, rows, losses); });
    }
    return toldLosses(losses);
}

int importTable(files::Disk& disk, Arguments arguments)
{
    const Parsed parsed = parse("import", arguments, {"--encoding", "--delimiter", "--decimal", "--dates"});
    if (parsed.words.size() != 3)
        misused(said("'import' DOSYA, TABLO ve CSV ister; yardım için: presva-mdb import --help",
                     "'import' takes FILE, TABLE and CSV; for help: presva-mdb import --help"));
    exchange::ImportStyle style;
    if (const auto given = parsed.oneOf("--delimiter", {",", ";", "tab"}))
        style.delimiter = *given == "tab" ? '\t' : given->front();
    if (const auto given = parsed.oneOf("--decimal", {"point", "comma"}))
        style.decimalMark = *given == "point" ? '.' : ',';
    if (const auto given = parsed.oneOf("--dates", {"dmy", "mdy"})) style.dayFirst = *given == "dmy";
    const auto encoding = parsed.oneOf("--encoding", {"utf-8", "utf-16le", "utf-16be", "1254", "857"});

    std::string text = wholeText(disk, parsed.words[2]);
    text = exchange::decoded(text, encoding ? *exchange::encodingNamed(*encoding) : exchange::foundEncoding(text));
    const auto database = jet::Database::open(disk, pathOf(parsed.words[0]));
    const std::uint64_t rows = jet::onWhatIsThere(database->pager(), [&] {
        Progress progress(said("Yükleniyor", "Loading"));
        return exchange::importRows(*database, parsed.words[1], text, style, std::ref(progress));
    });
    Output out(standardOutput);
    say(out, std::to_string(rows) + said(" satır yüklendi.", " rows loaded."));
    out.flush();
    return 0;
}

int writeSchema(files::Disk& disk, Arguments arguments)
{
    const Parsed parsed = parse("schema", arguments, {"--dialect"});
    if (parsed.words.size() != 1)
        misused(said("'schema' bir DOSYA ister; yardım için: presva-mdb schema --help",
                     "'schema' takes a FILE; for help: presva-mdb schema --help"));
    const auto named = parsed.oneOf("--dialect", {"sqlite", "postgres"});
    const exchange::Dialect dialect = !named               ? exchange::Dialect::both
                                      : *named == "sqlite" ? exchange::Dialect::sqlite
                                                           : exchange::Dialect::postgres;
    const auto database = jet::Database::open(disk, pathOf(parsed.words[0]), jet::Pager::Mode::readOnly);
    Output out(standardOutput);
    exchange::writeSchema(*database, dialect, out);
    return 0;
}

} // namespace tools
