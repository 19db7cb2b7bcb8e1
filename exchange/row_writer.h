#pragma once

#include "exchange/output.h"
#include "store/jet/table/table.h"

#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace exchange {

/// Hears of a field that could not be written, while the rest of its row is.
using FieldReceiver = std::function<void(const jet::Error&)>;

/// Writes rows to somewhere in some format: the columns once, then row by row, then the end. Nothing of a row is kept,
/// so that a table may be larger than memory.
class RowWriter {
public:
    virtual ~RowWriter() = default;
    RowWriter() = default;
    RowWriter(const RowWriter&) = delete;
    RowWriter& operator=(const RowWriter&) = delete;

    /// `title` names the whole, where the format has a place for it.
    virtual void begin(std::u16string_view title, const std::vector<jet::Column>& columns) = 0;
    /// The fields of a table's row. One that cannot be read is told and left empty.
    virtual void row(const jet::RowView& row, const FieldReceiver& damaged);
    /// One value for each column.
    virtual void values(std::span<const jet::Value> row) = 0;
    virtual void end() = 0;

protected:
    std::vector<jet::Column> columns_;

private:
    std::vector<jet::Value> fields_; ///< of the row at hand
};

/// Comma-separated values, as csv.h says.
std::unique_ptr<RowWriter> csvRows(Output& out);

/// One JSON object a line (UTF-8): the names of the columns and the values as field_text.h writes them, numbers and
/// Booleans bare, Null as null. A number that JSON does not know (infinite, none) is a text.
std::unique_ptr<RowWriter> jsonRows(Output& out);

} // namespace exchange
