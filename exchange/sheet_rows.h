#pragma once

#include "exchange/row_writer.h"
#include "sheets/workbook.h"

#include <memory>

namespace exchange {

/// Rows as a sheet of a workbook: numbers and dates are real ones, Null is an empty cell. Numbers of more than 15
/// digits are texts, because a cell would round them; so are moments before March 1900, which a sheet does not count as
/// days. A value too long for a cell is left out and told to `tooLong` (Fault::unsupported).
std::unique_ptr<RowWriter> sheetRows(sheets::Workbook& workbook, FieldReceiver tooLong);

} // namespace exchange
