#include "seasons/page.h"

#include "platform/sha256.h"
#include "seasons/page_parts.h"
#include "seasons/texts.h"

#include <array>
#include <cstdint>

namespace seasons {
namespace {

/// Rows of one table take at most so many bytes of the page, which must stay small enough to be sent to a telephone.
constexpr std::size_t mostOfATable = 800'000;

std::string base64(const std::array<std::uint8_t, 32>& bytes)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const auto byte = [&](std::size_t at) { return at < bytes.size() ? std::uint32_t{bytes[at]} : 0; };
        const std::uint32_t three = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += i + digit > bytes.size() ? '=' : digits[three >> (18 - 6 * digit) & 63];
    }
    return text;
}

std::string_view kindName(Kind kind) { return kind == Kind::text ? "text" : kind == Kind::day ? "day" : "number"; }

void putRow(std::string& out, const std::vector<Cell>& cells, const std::vector<Column>& columns)
{
    out += "<tr>";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        // The row's name is its heading.
        out += i == 0 ? "<th>" : "<td>";
        if (i < cells.size()) out += escaped(cellText(cells[i], columns[i]));
    }
    out += '\n';
}

/// End tags that the language lets out are left out: they would be a fifth of the page.
void putTable(std::string& out, const Section& section)
{
    out += "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"" + escaped(section.title) +
           "\"><table id=\"" + section.id + "-tablo\"><thead><tr>";
    for (const Column& column : section.columns)
        out += "<th scope=\"col\" data-kind=\"" + std::string(kindName(column.kind)) + "\">" + escaped(column.title);
    out += "<tbody>\n";
    const std::size_t begin = out.size();
    std::size_t rows = 0;
    for (; rows < section.rows.size() && out.size() - begin < mostOfATable; ++rows)
        putRow(out, section.rows[rows], section.columns);
    out += "<tfoot>\n";
    if (rows < section.rows.size())
        out += "<tr><td colspan=\"" + std::to_string(section.columns.size()) + "\">ve " +
               numberText(static_cast<double>(section.rows.size() - rows), 0) +
               " satır daha; sayfa küçük kalsın diye yazılmadı, toplamın içindedir\n";
    if (!section.sum.empty()) putRow(out, section.sum, section.columns);
    out += "</table></div>\n";
}

void putDrawn(std::string& out, const Section& section)
{
    out += std::string("<figure class=\"card") + (section.wide ? " wide" : "") + "\" id=\"" + section.id +
           "\"><figcaption><h2>" + escaped(section.title) + "</h2><p>" + escaped(section.summary) +
           "</p></figcaption>\n<div class=\"plot\"><canvas role=\"img\" data-plot=\"" + section.id +
           "\" aria-label=\"" + escaped(section.title + ". " + section.summary) +
           "\"></canvas></div>\n<details><summary>Sayılar</summary>";
    putTable(out, section);
    out += "</details></figure>\n";
}

void putListed(std::string& out, const Section& section)
{
    out += "<section class=\"card wide list\" id=\"" + section.id + "\"><h2>" + escaped(section.title) + "</h2>\n";
    putTable(out, section);
    out += "</section>\n";
}

/// `rules` and `more` are what a page may do, and does, beyond the one that is a file; `first` stands before its
/// figures.
std::string pageOf(const Report& report, std::string_view rules, std::string_view more, std::string_view first)
{
    const std::string script = std::string(parts::charts) + "\n" + std::string(parts::script) + std::string(more);
    std::string out;
    out.reserve(script.size() + 2 * mostOfATable);
    out += "<!doctype html>\n<html lang=\"tr\"><head><meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src " +
           sourceDigest(script) + "; style-src " + sourceDigest(parts::style) + std::string(rules) +
           "; base-uri 'none'; form-action 'none'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
           escaped(report.title) + "</title>\n<style>" + std::string(parts::style) +
           "</style></head>\n<body>\n<header><h1>" + escaped(report.title) + "</h1><p>" + escaped(report.period) +
           "</p></header>\n<main>\n";
    out += first;
    for (const std::string& warning : report.warnings) out += notice(warning);
    if (!report.headlines.empty()) {
        out += "<dl class=\"wide\">\n";
        for (const Headline& each : report.headlines)
            out += "<div><dt>" + escaped(each.title) + "</dt><dd>" + escaped(each.figure) + " <small>" +
                   escaped(each.unit) + "</small></dd></div>\n";
        out += "</dl>\n";
    }
    for (const Section& section : report.sections) section.drawn ? putDrawn(out, section) : putListed(out, section);
    out += "</main>\n<footer>" + escaped(report.source) + " · Mendrik Presva</footer>\n<script>" + script +
           "</script>\n</body></html>\n";
    return out;
}

} // namespace

std::string sourceDigest(std::string_view source) { return "'sha256-" + base64(platform::sha256(source)) + "'"; }

std::string notice(const std::string& sentence)
{
    return "<p class=\"warning wide\" role=\"alert\">" + escaped(sentence) + "</p>\n";
}

std::string todayPart(const Section& section)
{
    std::string out = "<h2>" + escaped(section.title) + "</h2><p>" + escaped(section.summary) + "</p>\n";
    if (!section.rows.empty()) putTable(out, section);
    return out;
}

std::string page(const Report& report) { return pageOf(report, {}, {}, {}); }

std::string livePage(const Report& report, const std::string& today)
{
    return pageOf(report, "; connect-src 'self'", "\n" + std::string(parts::live),
                  "<section class=\"card wide\"><div id=\"bugun\">" + today +
                      "</div><p id=\"canli\" role=\"status\"></p></section>\n");
}

} // namespace seasons
