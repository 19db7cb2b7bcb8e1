#include "exchange/table_export.h"

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

void exportTable(const jet::Table& table, RowWriter& writer, ExportLosses& losses,
                 const std::function<void(int)>& progress)
{
    constexpr std::uint64_t perStep = 4096;
    const std::uint64_t expected = std::max<std::uint64_t>(table.rowCount(), 1);
    const FieldReceiver note = [&](const jet::Error& error) { losses.add(error); };
    std::uint64_t rows = 0;
    writer.begin(table.name(), table.columns());
    jet::RowCursor cursor(table, table.dataPages(), jet::PageUse::pass);
    const auto step = [&] {
        for (;;) {
            try {
                return cursor.next();
            } catch (const jet::Error& error) {
                note(error);
            }
        }
    };
    while (step()) {
        writer.row(cursor.row(), note);
        if (++rows % perStep == 0) progress(static_cast<int>(std::min<std::uint64_t>(99, rows * 100 / expected)));
    }
    writer.end();
}

} // namespace exchange
