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

std::vector<CsvField> firstLine(TextSource& text, char delimiter)
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
char foundDelimiter(const jet::Table& table, TextSource& text)
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
    /// `emptyCount`: a line without anything is one of a field that says nothing.
    Lines(TextSource& text, char delimiter, std::size_t fields, bool emptyCount)
        : reader_(text, delimiter), fields_(fields)
    {
        reader_.next(record_);
        if (emptyCount) reader_.countEmptyLines();
    }
    bool next()
    {
        if (!reader_.next(record_)) return false;
        const bool empty =
            std::ranges::all_of(record_, [](const CsvField& field) { return field.text.empty() && !field.quoted; });
        emptySince_ = !empty ? 0 : emptySince_ == 0 ? number() : emptySince_;
        if (empty && firstEmpty_ == 0) firstEmpty_ = number();
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
    /// The first of the lines up to this one of which no field says anything; 0 when this one does.
    std::size_t emptySince() const { return emptySince_; }
    /// The first line of which no field says anything; 0 when there is none up to this one.
    std::size_t firstEmpty() const { return firstEmpty_; }

private:
    CsvReader reader_;
    std::vector<CsvField> record_;
    std::size_t fields_;
    std::size_t emptySince_ = 0;
    std::size_t firstEmpty_ = 0;
};

/// The line from which on there are no rows; 0 when all lines are. Lines of empty fields at the end are what a
/// spreadsheet writes of a sheet's blank part, and what a table's last rows are that hold Nulls alone; in a table of
/// one column they are rows unless it is said that they are none.
std::size_t endOfRows(std::size_t emptySince, bool wholeRows, std::optional<bool> emptyRows)
{
    if (emptySince == 0 || emptyRows.value_or(wholeRows)) return 0;
    if (!emptyRows)
        refuse(files::said("CSV'nin ", "From line ") + std::to_string(emptySince) +
               files::said(". satırından sonuna kadar bütün alanlar boş; bunlar satır değilse --empty-lines skip, boş "
                           "alanlı satırlarsa --empty-lines rows ile söyleyin.",
                           " of the CSV to its end all fields are empty; say --empty-lines skip when these are no "
                           "rows, --empty-lines rows when they are rows without values.") +
               nothingLoaded());
    return emptySince;
}

/// Throws for a blank line among those of one field: a list of names has them between its parts, and a row of it would
/// be a customer without a name.
[[noreturn]] void askForBlankLine(std::size_t line)
{
    refuse(
        files::said("CSV'nin ", "Line ") + std::to_string(line) +
        files::said(". satırı boş; boş satırlar satır değilse --empty-lines skip, alanı boş satırlarsa --empty-lines "
                    "rows ile söyleyin.",
                    " of the CSV is blank; say --empty-lines skip when blank lines are no rows, --empty-lines rows "
                    "when they are rows without a value.") +
        nothingLoaded());
}

/// The values of a line.
void readValues(const Lines& lines, const jet::Table& table, const std::vector<std::size_t>& positions,
                const WrittenStyle& style, std::vector<jet::Assignment>& values)
{
    values.clear();
    const std::vector<jet::Column>& columns = table.columns();
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const jet::Column& column = columns[positions[i]];
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

std::uint64_t importRows(jet::Database& database, const std::string& name, TextSource& text, const ImportStyle& said,
                         const std::function<void(int)>& progress)
{
    jet::Table& table = database.table(jet::fromUtf8(name));
    const char delimiter = said.delimiter ? *said.delimiter : foundDelimiter(table, text);
    const std::vector<std::size_t> positions = positionsOf(table, firstLine(text, delimiter));

    // Where a line of one field is not all of a row, a blank one may be either.
    const bool oneField = positions.size() == 1;
    const bool wholeRows = oneField && table.columns().size() == 1;
    const bool emptyCount = oneField && (wholeRows || said.emptyRows.value_or(true));

    StyleFinder finder;
    std::size_t end = 0;
    {
        // Its memory goes before the rows come: a long value takes several times its own length.
        Lines seen(text, delimiter, positions.size(), emptyCount);
        const std::vector<jet::Column>& columns = table.columns();
        while (seen.next())
            for (std::size_t i = 0; i < positions.size(); ++i)
                finder.see(seen.record()[i], columns[positions[i]], seen.number());
        if (oneField && !wholeRows && !said.emptyRows && seen.firstEmpty() != 0) askForBlankLine(seen.firstEmpty());
        end = endOfRows(seen.emptySince(), wholeRows, said.emptyRows);
    }
    const WrittenStyle style = finder.style(said.decimalMark, said.dayFirst);

    jet::Transaction change(database.pager());
    std::vector<jet::Assignment> values;
    std::uint64_t rows = 0;
    for (Lines lines(text, delimiter, positions.size(), emptyCount); lines.next() && lines.number() != end;) {
        try {
            readValues(lines, table, positions, style, values);
            table.insert(values);
        } catch (const jet::Error& error) {
            throw jet::Error(error.fault(), lines.where() + error.what() + nothingLoaded());
        }
        ++rows;
        progress(text.percent());
    }
    change.commit();
    return rows;
}

} // namespace exchange
