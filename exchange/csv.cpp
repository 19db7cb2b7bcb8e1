#include "exchange/csv.h"

#include "files/error.h"
#include "files/language.h"

#include <algorithm>

namespace exchange {

void putCsvText(Output& out, std::string_view text)
{
    const bool quote = text.empty() || text.find_first_of(",\"\r\n") != std::string_view::npos;
    if (!quote) {
        out.put(text);
        return;
    }
    out.put('"');
    for (;;) {
        const std::size_t at = text.find('"');
        out.put(text.substr(0, at));
        if (at == std::string_view::npos) break;
        out.put("\"\"");
        text.remove_prefix(at + 1);
    }
    out.put('"');
}

void putCsvLineEnd(Output& out) { out.put("\r\n"); }

CsvReader::CsvReader(std::string_view text, char delimiter) : text_(text), delimiter_(delimiter) { passMark(); }

CsvReader::CsvReader(TextSource& source, char delimiter) : source_(&source), delimiter_(delimiter)
{
    source.rewind();
    fetch();
    passMark();
}

void CsvReader::passMark()
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text_.starts_with(byteOrderMark)) at_ = byteOrderMark.size();
}

/// More text behind what is here, twice as much as one record has had so far; what was read goes.
void CsvReader::fetch()
{
    pieces_.erase(0, at_);
    at_ = 0;
    const std::size_t wanted = pieces_.size() * 2;
    while (source_ != nullptr && pieces_.size() <= wanted)
        if (!source_->more(pieces_)) source_ = nullptr;
    text_ = pieces_;
}

/// A line end or a quote that stands last here may go on in the next piece: what ends with the text is read once more
/// when there is more of it.
bool CsvReader::next(std::vector<CsvField>& record)
{
    for (;;) {
        const std::size_t begin = at_;
        const std::size_t line = line_;
        const bool found = readRecord(record);
        if (at_ < text_.size() || source_ == nullptr) return found;
        at_ = begin;
        line_ = line;
        fetch();
    }
}

bool CsvReader::readRecord(std::vector<CsvField>& record)
{
    while (!emptyLinesCount_ && at_ < text_.size() && atLineEnd()) passLineEnd();
    if (at_ == text_.size()) return false;
    // Programs of old systems end a text with this byte.
    constexpr std::string_view endOfText = "\x1a";
    if (source_ == nullptr && text_.substr(at_) == endOfText) return false;
    recordLine_ = line_;
    const std::size_t begin = at_;
    std::size_t count = 0;
    for (;;) {
        if (count == record.size()) record.emplace_back();
        readField(record[count++]);
        if (atLineEnd()) break;
        ++at_; // the delimiter
    }
    if (text_.substr(begin, at_ - begin).find('\0') != std::string_view::npos)
        throw files::Error(files::Fault::syntax,
                           files::said("CSV'nin ", "Line ") + std::to_string(recordLine_) +
                               files::said(". satırında sıfır olan bir bayt var; dosyayı düzeltin.",
                                           " of the CSV has a byte that is zero; correct the file."));
    record.resize(count);
    if (at_ < text_.size()) passLineEnd();
    return true;
}

void CsvReader::passLineEnd()
{
    at_ += text_.substr(at_, 2) == "\r\n" ? 2 : 1;
    ++line_;
}

void CsvReader::readField(CsvField& field)
{
    field.text.clear();
    field.quoted = at_ < text_.size() && text_[at_] == '"';
    if (field.quoted) return readQuoted(field);
    std::size_t end = at_;
    while (end < text_.size() && text_[end] != delimiter_ && text_[end] != '\r' && text_[end] != '\n') ++end;
    const std::size_t letter = text_.find_first_not_of(' ', at_);
    if (letter > at_ && letter < end && text_[letter] == '"')
        throw files::Error(files::Fault::syntax,
                           files::said("CSV'nin ", "Line ") + std::to_string(line_) +
                               files::said(". satırında bir tırnağın önünde boşluk var; dosyayı düzeltin.",
                                           " of the CSV has a blank before a quote; correct the file."));
    field.text.assign(text_.substr(at_, end - at_));
    at_ = end;
}

void CsvReader::readQuoted(CsvField& field)
{
    const std::size_t opened = line_;
    ++at_;
    for (;;) {
        const std::size_t quote = text_.find('"', at_);
        if (quote == std::string_view::npos) {
            at_ = text_.size();
            if (source_ != nullptr) return; // it goes on
            throw files::Error(files::Fault::syntax,
                               files::said("CSV'nin ", "Line ") + std::to_string(opened) +
                                   files::said(". satırında açılan tırnak kapanmıyor; dosyayı düzeltin.",
                                               " of the CSV opens a quote that is not closed; correct the file."));
        }
        const std::string_view part = text_.substr(at_, quote - at_);
        line_ += static_cast<std::size_t>(std::ranges::count(part, '\n'));
        field.text += part;
        at_ = quote + 1;
        if (at_ == text_.size() || text_[at_] != '"') break;
        field.text += '"';
        ++at_;
    }
    if (!atLineEnd() && text_[at_] != delimiter_)
        throw files::Error(files::Fault::syntax,
                           files::said("CSV'nin ", "Line ") + std::to_string(line_) +
                               files::said(". satırında tırnak alanın ortasında kapanıyor; dosyayı düzeltin.",
                                           " of the CSV closes a quote in the middle of a field; correct the file."));
}

} // namespace exchange
