#include "exchange/table_import.h"

#include "exchange/csv.h"
#include "exchange/written_values.h"
#include "files/error.h"
#include "files/language.h"

#include <algorithm>
#include <vector>

namespace exchange {

namespace {

const char* nothingLoaded() { return files::said(" Hiçbir satır yüklenmedi.", " No row was loaded."); }

[[noreturn]] void refuse(const std::string& sentence) { throw files::Error(files::Fault::badValue, sentence); }

std::vector<CsvField> firstLine(std::string_view text, char delimiter)
{
    CsvReader reader(text, delimiter);
    std::vector<CsvField> record;
    if (!reader.next(record))
        refuse(files::said("CSV boş; ilk satırda sütun adları olmalı.",
                           "The CSV is empty; its first line must name columns."));
    return record;
}

bool namesColumns(const jet::Table& table, const std::vector<CsvField>& names)
{
    return std::ranges::all_of(
        names, [&](const CsvField& name) { return table.columnNamed(jet::fromUtf8(name.text)).has_value(); });
}

/// The one that takes the first line apart into names of columns; where none does, the one that stands there most.
char foundDelimiter(const jet::Table& table, std::string_view text)
{
    char most = ',';
    std::size_t fields = 0;
    for (const char delimiter : {',', ';', '\t'}) {
        std::vector<CsvField> names;
        try {
            names = firstLine(text, delimiter);
        } catch (const files::Error& error) {
            // A quote that stands well for another delimiter.
            if (error.fault() != files::Fault::syntax) throw;
            continue;
        }
        if (namesColumns(table, names)) return delimiter;
        if (names.size() > fields) {
            fields = names.size();
            most = delimiter;
        }
    }
    return most;
}

/// Which column each field of a line belongs to, by the first line.
std::vector<std::size_t> positionsOf(const jet::Table& table, const std::vector<CsvField>& names)
{
    std::vector<std::size_t> positions;
    for (const CsvField& name : names) {
        const auto column = table.columnNamed(jet::fromUtf8(name.text));
        if (!column)
            throw jet::Error(jet::Fault::noSuchTable,
                             "'" + jet::toUtf8(table.name()) + files::said("' tablosunda '", "' has no column '") +
                                 name.text +
                                 files::said("' adlı sütun yok; CSV'nin ilk satırını düzeltin.",
                                             "'; correct the first line of the CSV."));
        if (std::ranges::find(positions, *column) != positions.end())
            refuse("'" + name.text +
                   files::said("' sütunu CSV'nin ilk satırında iki kez geçiyor.",
                               "' stands twice in the first line of the CSV."));
        positions.push_back(*column);
    }
    return positions;
}

/// The lines behind the first one, each with as many fields as there are columns.
class Lines {
public:
    Lines(std::string_view text, char delimiter, std::size_t fields) : reader_(text, delimiter), fields_(fields)
    {
        reader_.next(record_);
        if (fields == 1) reader_.countEmptyLines();
    }
    bool next()
    {
        if (!reader_.next(record_)) return false;
        if (record_.size() != fields_)
            refuse(where() + std::to_string(record_.size()) +
                   files::said(" alan var, ", " fields, but there must be ") + std::to_string(fields_) +
                   files::said(" olmalı.", ".") + nothingLoaded());
        return true;
    }
    const std::vector<CsvField>& record() const { return record_; }
    std::size_t number() const { return reader_.line(); }
    std::string where() const
    {
        return files::said("CSV'nin ", "Line ") + std::to_string(number()) + files::said(". satırı: ", " of the CSV: ");
    }
    int percent() const { return reader_.percent(); }

private:
    CsvReader reader_;
    std::vector<CsvField> record_;
    std::size_t fields_;
};

/// The values of a line.
void readValues(const Lines& lines, const jet::Table& table, const std::vector<std::size_t>& positions,
                const WrittenStyle& style, std::vector<jet::Assignment>& values)
{
    values.clear();
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const jet::Column& column = table.columns()[positions[i]];
        try {
            jet::Value value = writtenValue(lines.record()[i], column, style);
            // A field that is left empty is empty: defaults are for columns that the CSV does not have.
            values.push_back({positions[i], std::move(value)});
        } catch (const jet::Error& error) {
            throw jet::Error(error.fault(), "'" + jet::toUtf8(column.name) + files::said("' alanı: ", "' field: ") +
                                                error.what() + ".");
        }
    }
}

} // namespace

std::uint64_t importRows(jet::Database& database, const std::string& name, std::string_view text,
                         const ImportStyle& said, const std::function<void(int)>& progress)
{
    jet::Table& table = database.table(jet::fromUtf8(name));
    const char delimiter = said.delimiter ? *said.delimiter : foundDelimiter(table, text);
    const std::vector<std::size_t> positions = positionsOf(table, firstLine(text, delimiter));

    StyleFinder finder;
    for (Lines lines(text, delimiter, positions.size()); lines.next();)
        for (std::size_t i = 0; i < positions.size(); ++i)
            finder.see(lines.record()[i], table.columns()[positions[i]], lines.number());
    const WrittenStyle style = finder.style(said.decimalMark, said.dayFirst);

    jet::Transaction change(database.pager());
    std::vector<jet::Assignment> values;
    std::uint64_t rows = 0;
    for (Lines lines(text, delimiter, positions.size()); lines.next();) {
        try {
            readValues(lines, table, positions, style, values);
            table.insert(values);
        } catch (const jet::Error& error) {
            throw jet::Error(error.fault(), lines.where() + error.what() + nothingLoaded());
        }
        ++rows;
        progress(lines.percent());
    }
    change.commit();
    return rows;
}

} // namespace exchange
