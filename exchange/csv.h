#pragma once

#include "exchange/output.h"
#include "exchange/text_source.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Tables as comma-separated values (RFC 4180): UTF-8, lines end in CR LF, a field is quoted where it holds a comma, a
/// quote or a line end. Null is an empty field, an empty text is a quoted empty field; in a table of one column Null is
/// an empty line.
namespace exchange {

/// The text as one field, quoted where it must be.
void putCsvText(Output& out, std::string_view text);
void putCsvLineEnd(Output& out);

struct CsvField {
    std::string text;
    bool quoted = false;
};

/// Reads records one after another; also those that end in LF or CR alone, and with another delimiter than a comma.
class CsvReader {
public:
    /// `text` must live as long as the reader. A byte order mark in front is passed over.
    explicit CsvReader(std::string_view text, char delimiter = ',');
    /// Reads the source from its beginning; it lives as long as the reader. A few pieces are in memory at a time, or
    /// as many as one record needs.
    CsvReader(TextSource& source, char delimiter);
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    /// False behind the last record. Throws files::Error (Fault::syntax) with the line for a quote out of place and for
    /// a byte that is zero, and what the source throws.
    bool next(std::vector<CsvField>& record);
    /// From here on an empty line is a record with one empty field, as a table of one column has it for Null; as a rule
    /// it is none.
    void countEmptyLines() { emptyLinesCount_ = true; }
    /// Line on which the record that next() gave last begins, from 1.
    std::size_t line() const { return recordLine_; }

private:
    void fetch();
    bool readRecord(std::vector<CsvField>& record);
    void readField(CsvField& field);
    void readQuoted(CsvField& field);
    void passMark();
    void passLineEnd();
    bool atLineEnd() const { return at_ == text_.size() || text_[at_] == '\r' || text_[at_] == '\n'; }

    TextSource* source_ = nullptr; ///< null when the text ends with what is here
    std::string pieces_;
    std::string_view text_;
    char delimiter_;
    std::size_t at_ = 0;
    std::size_t line_ = 1;
    std::size_t recordLine_ = 0;
    bool emptyLinesCount_ = false;
};

} // namespace exchange
