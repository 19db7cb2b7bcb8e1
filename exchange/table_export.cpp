#include "exchange/table_export.h"

#include "files/language.h"
#include "store/jet/database/database.h"

#include <algorithm>

namespace exchange {

void ExportLosses::add(const jet::Error& error)
{
    // A disk that fails is no loss of the file's.
    if (error.fault() != jet::Fault::damaged && error.fault() != jet::Fault::unsupported) throw error;
    if (places++ > 0) return;
    first = error.what();
    fault = error.fault();
}

namespace {

/// Visits all rows that can be read.
void walk(const jet::Table& table, ExportLosses& losses, const std::function<void(const jet::RowView&)>& visit)
{
    jet::RowCursor cursor(table, table.dataPages(), jet::PageUse::pass);
    const auto step = [&] {
        for (;;) {
            try {
                return cursor.next();
            } catch (const jet::Error& error) {
                losses.add(error);
            }
        }
    };
    while (step()) visit(cursor.row());
    try {
        cursor.requireEveryRow();
    } catch (const jet::Error& error) {
        losses.add(error);
    }
}

} // namespace

std::uint64_t countRows(const jet::Table& table, ExportLosses& losses)
{
    std::uint64_t rows = 0;
    walk(table, losses, [&rows](const jet::RowView&) { ++rows; });
    return rows;
}

void checkCatalogue(jet::Database& database, ExportLosses& losses)
{
    try {
        countRows(database.table(u"MSysObjects"), losses);
    } catch (const jet::Error& error) {
        if (error.fault() != jet::Fault::noSuchTable) throw; // it is listed in itself
        losses.add(jet::Error(jet::Fault::damaged, files::said("nesne listesi eksik; tablolar: presva-mdb rescue",
                                                               "the list of objects is not whole; for the tables: "
                                                               "presva-mdb rescue")));
    }
}

void exportTable(const jet::Table& table, RowWriter& writer, ExportLosses& losses,
                 const std::function<void(int)>& progress)
{
    constexpr std::uint64_t perStep = 4096;
    const std::uint64_t expected = std::max<std::uint64_t>(table.rowCount(), 1);
    const FieldReceiver note = [&](const jet::Error& error) { losses.add(error); };
    std::uint64_t rows = 0;
    writer.begin(table.name(), table.columns());
    walk(table, losses, [&](const jet::RowView& row) {
        writer.row(row, note);
        if (++rows % perStep == 0) progress(static_cast<int>(std::min<std::uint64_t>(99, rows * 100 / expected)));
    });
    writer.end();
}

} // namespace exchange
