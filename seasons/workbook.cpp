#include "seasons/workbook.h"

#include "sheets/workbook.h"

#include <cmath>

namespace seasons {
namespace {

constexpr double wordsWidth = 100;
constexpr double figuresWidth = 14;

void put(sheets::Workbook& book, std::size_t column, const Cell& cell, Kind kind)
{
    if (const auto* text = std::get_if<std::string>(&cell)) {
        book.text(column, *text);
        return;
    }
    const auto* number = std::get_if<double>(&cell);
    if (!number || !std::isfinite(*number)) return;
    // What a sheet takes for another day is left a number.
    if (kind == Kind::day && *number >= sheets::firstDay && *number < sheets::dayAfterLast)
        book.moment(column, *number);
    else
        book.number(column, *number);
}

void putRow(sheets::Workbook& book, const std::vector<Cell>& cells, const std::vector<Column>& columns)
{
    for (std::size_t i = 0; i < cells.size(); ++i) put(book, i, cells[i], columns[i].kind);
    book.nextRow();
}

} // namespace

void writeWorkbook(const Report& report, const std::filesystem::path& path)
{
    sheets::Workbook book(path);
    book.beginSheet("Sezon", {{report.title, wordsWidth}});
    std::vector<std::string> words = {report.period, report.source};
    words.insert(words.end(), report.warnings.begin(), report.warnings.end());
    for (const Section& section : report.sections)
        if (!section.summary.empty()) words.push_back(section.title + ": " + section.summary);
    for (const std::string& line : words) {
        book.text(0, line);
        book.nextRow();
    }

    for (const Section& section : report.sections) {
        std::vector<sheets::Heading> headings;
        for (const Column& column : section.columns)
            headings.push_back({column.title, column.kind == Kind::text ? 2 * figuresWidth : figuresWidth});
        book.beginSheet(section.title, headings);
        for (const std::vector<Cell>& row : section.rows) putRow(book, row, section.columns);
        if (!section.sum.empty()) putRow(book, section.sum, section.columns);
    }
    book.close();
}

} // namespace seasons
