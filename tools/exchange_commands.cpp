#include "tools/commands.h"
#include "tools/language.h"

#include "exchange/linked_tables.h"
#include "exchange/schema.h"
#include "exchange/table_export.h"
#include "exchange/table_import.h"
#include "exchange/text_source.h"
#include "files/quoted_path.h"
#include "store/jet/database/database.h"
#include "store/postgres/leave.h"
#include "tools/row_output.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <vector>

namespace tools {

namespace {

using exchange::ExportLosses;

/// Throws files::Error (noSuchTable, or unsupported for one whose rows are elsewhere).
jet::Table& tableOf(jet::Database& database, const std::string& name)
{
    if (!database.hasTable(jet::fromUtf8(name))) exchange::refuseLinkedTable(database, name);
    return database.table(jet::fromUtf8(name));
}

// ---- export ----

void write(const jet::Table& table, exchange::RowWriter& rows, ExportLosses& losses)
{
    Progress progress(said("Aktarılıyor", "Exporting"));
    exchange::exportTable(table, rows, losses, std::ref(progress));
}

/// A name that Windows keeps for a device, whatever stands behind its first point.
bool isDevice(std::string_view stem)
{
    std::string name(stem.substr(0, stem.find('.')));
    while (name.ends_with(' ')) name.pop_back();
    for (char& c : name)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (name == "CON" || name == "PRN" || name == "AUX" || name == "NUL") return true;
    return name.size() == 4 && (name.starts_with("COM") || name.starts_with("LPT")) && name.back() >= '1' &&
           name.back() <= '9';
}

/// The names of the files of all tables, as far as a folder can hold the tables' names, on Windows, too.
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
        if (stem.ends_with('.') || stem.ends_with(' ')) stem.back() = '_';
        if (isDevice(stem)) stem.insert(0, "_");
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
    exchange::checkCatalogue(database, losses);
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
    std::string done = counted(tables.size(), " tablo yazıldı.", " table written.", " tables written.");
    for (const jet::LinkedTable& each : database.linkedTables())
        done += said("\nBağlı tablo yazılmadı: '", "\nLinked table, not written: '") + jet::toUtf8(each.name) + "' (" +
                exchange::placeOf(each) + ")";
    sayDone(done);
}

// ---- import ----

/// The file of that name, or a copy of standard input for "-": it is read more than once.
std::unique_ptr<files::File> textFile(files::Disk& disk, const std::string& name)
{
    if (name != "-") return disk.open(pathOf(name), files::Disk::Access::readOnly);
    auto copy = disk.scratch();
    std::vector<char> piece(std::size_t{1} << 20);
    for (std::uint64_t at = 0; std::cin;) {
        std::cin.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        const auto count = static_cast<std::size_t>(std::cin.gcount());
        copy->write(at, {reinterpret_cast<const std::uint8_t*>(piece.data()), count});
        at += count;
    }
    return copy;
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
        const jet::Table& table = tableOf(*database, parsed.words[1]);
        writeRows(disk, format, to ? std::optional(pathOf(*to)) : std::nullopt, losses,
                  [&](exchange::RowWriter& rows) { write(table, rows, losses); });
    }
    return toldLosses(losses);
}

int importTable(files::Disk& disk, Arguments arguments)
{
    const Parsed parsed =
        parse("import", arguments, {"--encoding", "--delimiter", "--decimal", "--dates", "--empty-lines"});
    if (parsed.words.size() != 3)
        misused(said("'import' DOSYA, TABLO ve CSV ister; yardım için: presva-mdb import --help",
                     "'import' takes FILE, TABLE and CSV; for help: presva-mdb import --help"));
    exchange::ImportStyle style;
    if (const auto given = parsed.oneOf("--delimiter", {",", ";", "tab"}))
        style.delimiter = *given == "tab" ? '\t' : given->front();
    if (const auto given = parsed.oneOf("--decimal", {"point", "comma"}))
        style.decimalMark = *given == "point" ? '.' : ',';
    if (const auto given = parsed.oneOf("--dates", {"dmy", "mdy"})) style.dayFirst = *given == "dmy";
    if (const auto given = parsed.oneOf("--empty-lines", {"rows", "skip"})) style.emptyRows = *given == "rows";
    const auto encoding = parsed.oneOf("--encoding", {"utf-8", "utf-16le", "utf-16be", "1254", "857"});

    const auto file = textFile(disk, parsed.words[2]);
    exchange::DecodedFile text(*file, encoding ? *exchange::encodingNamed(*encoding) : exchange::foundEncoding(*file));
    const auto database = jet::Database::open(disk, pathOf(parsed.words[0]));
    tableOf(*database, parsed.words[1]);
    postgres::requireNoRegister(*database);
    const std::uint64_t rows = jet::onWhatIsThere(database->pager(), [&] {
        Progress progress(said("Yükleniyor", "Loading"));
        return exchange::importRows(*database, parsed.words[1], text, style, std::ref(progress));
    });
    sayDone(counted(rows, " satır yüklendi.", " row loaded.", " rows loaded."));
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
    out.flush();
    ExportLosses losses;
    exchange::checkCatalogue(*database, losses);
    return toldLosses(losses);
}

} // namespace tools
