#include "exchange/row_writer.h"

#include "exchange/csv.h"
#include "exchange/field_text.h"

#include <cmath>

namespace exchange {

void RowWriter::row(const jet::RowView& row, const FieldReceiver& damaged)
{
    fields_.clear();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        fields_.emplace_back();
        try {
            fields_.back() = row.value(i);
        } catch (const jet::Error& error) {
            damaged(error);
        }
    }
    values(fields_);
}

namespace {

class CsvRows : public RowWriter {
public:
    explicit CsvRows(Output& out) : out_(out), fields_(out) {}

    void begin(std::u16string_view, const std::vector<jet::Column>& columns) override
    {
        columns_ = columns;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i > 0) out_.put(',');
            putCsvText(out_, jet::toUtf8(columns[i].name));
        }
        putCsvLineEnd(out_);
    }
    void row(const jet::RowView& row, const FieldReceiver& damaged) override
    {
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (i > 0) out_.put(',');
            try {
                fields_.put(row, i, columns_[i]);
            } catch (const jet::Error& error) {
                damaged(error);
            }
        }
        putCsvLineEnd(out_);
    }
    void values(std::span<const jet::Value> row) override
    {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) out_.put(',');
            fields_.put(row[i]);
        }
        putCsvLineEnd(out_);
    }
    void end() override { out_.flush(); }

private:
    Output& out_;
    FieldWriter fields_;
};

void putJsonText(Output& out, std::string_view text)
{
    static constexpr char digits[] = "0123456789abcdef";
    out.put('"');
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= ' ' && byte != '"' && byte != '\\') continue;
        out.put(text.substr(plain, i - plain));
        plain = i + 1;
        out.put('\\');
        if (byte >= ' ') {
            out.put(text[i]);
        } else if (byte == '\n') {
            out.put('n');
        } else if (byte == '\r') {
            out.put('r');
        } else if (byte == '\t') {
            out.put('t');
        } else {
            out.put("u00");
            out.put(digits[byte >> 4]);
            out.put(digits[byte & 15]);
        }
    }
    out.put(text.substr(plain));
    out.put('"');
}

/// Written without quotes: numbers and Booleans, as far as JSON has them.
bool isBare(const jet::Value& value)
{
    if (const auto* number = std::get_if<double>(&value)) return std::isfinite(*number);
    if (const auto* number = std::get_if<float>(&value)) return std::isfinite(*number);
    return std::holds_alternative<bool>(value) || std::holds_alternative<std::uint8_t>(value) ||
           std::holds_alternative<std::int16_t>(value) || std::holds_alternative<std::int32_t>(value) ||
           std::holds_alternative<jet::Currency>(value) || std::holds_alternative<jet::Numeric>(value);
}

class JsonRows : public RowWriter {
public:
    explicit JsonRows(Output& out) : out_(out), fields_(out) {}

    void begin(std::u16string_view, const std::vector<jet::Column>& columns) override { columns_ = columns; }
    void values(std::span<const jet::Value> row) override
    {
        out_.put('{');
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) out_.put(',');
            putJsonText(out_, jet::toUtf8(columns_[i].name));
            out_.put(':');
            putValue(row[i]);
        }
        out_.put("}\n");
    }
    void end() override { out_.flush(); }

private:
    void putValue(const jet::Value& value)
    {
        if (jet::isNull(value)) {
            out_.put("null");
        } else if (const auto* text = std::get_if<std::u16string>(&value)) {
            putJsonText(out_, jet::toUtf8(*text));
        } else if (const auto* bytes = std::get_if<jet::Bytes>(&value); bytes != nullptr && bytes->empty()) {
            out_.put("\"\""); // which the field's own text is, too
        } else if (isBare(value)) {
            fields_.put(value);
        } else {
            out_.put('"');
            fields_.put(value);
            out_.put('"');
        }
    }

    Output& out_;
    FieldWriter fields_;
};

} // namespace

std::unique_ptr<RowWriter> csvRows(Output& out) { return std::make_unique<CsvRows>(out); }

std::unique_ptr<RowWriter> jsonRows(Output& out) { return std::make_unique<JsonRows>(out); }

} // namespace exchange
