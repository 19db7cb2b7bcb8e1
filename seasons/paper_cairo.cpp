#include "seasons/paper.h"

#include "files/error.h"
#include "files/language.h"

#include <cairo-pdf.h>

#include <algorithm>
#include <memory>
#include <new>

namespace seasons {
namespace {

// Points, 72 to the inch.
constexpr double width = 595, height = 842; ///< A4
constexpr double margin = 40;
constexpr double inside = width - 2 * margin;
constexpr double bottom = height - margin - 14;                   ///< above the page's number
constexpr double line = 12.5;                                     ///< from one row to the next
constexpr double gap = 12;                                        ///< between columns, and around headlines
constexpr double body = 8.5, small = 7.5, large = 13, title = 19; ///< letters
constexpr double mostOfName = 200;                                ///< of a text column
constexpr std::size_t mostRows = 1000;                            ///< of one table
constexpr std::size_t unbroken = 30;                              ///< rows of a table that stays on one page

struct Colour {
    double red, green, blue;
};
constexpr Colour ink{.14, .15, .11}, soft{.36, .38, .31}, rule{.82, .81, .75}, bars{.72, .78, .5},
    warning{.63, .17, .11};

struct Destroy {
    void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};

/// Gathers the bytes, so that nothing reaches the disk but through its door.
cairo_status_t gather(void* text, const unsigned char* bytes, unsigned int count)
{
    try {
        static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), count);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

/// The column whose figures have bars; nothing without one.
std::optional<std::size_t> barredColumn(const Section& section)
{
    std::optional<std::size_t> first;
    for (std::size_t i = 1; section.drawn && i < section.columns.size(); ++i) {
        const Kind kind = section.columns[i].kind;
        if (kind == Kind::amount) return i;
        if (!first && (kind == Kind::count || kind == Kind::percent)) first = i;
    }
    return first;
}

class Paper {
public:
    Paper()
        : surface_(cairo_pdf_surface_create_for_stream(gather, &bytes_, width, height)),
          cairo_(cairo_create(surface_.get()))
    {
    }

    void put(const Report& report)
    {
        cairo_pdf_surface_set_metadata(surface_.get(), CAIRO_PDF_METADATA_TITLE, report.title.c_str());
        footer_ = report.source + " · Mendrik Presva";
        letters(title, true, ink);
        y_ += title;
        write(margin, report.title);
        letters(body, false, soft);
        y_ += line + 2;
        write(margin, report.period);
        for (const std::string& each : report.warnings) {
            letters(body, false, warning);
            paragraph(each);
        }
        headlines(report.headlines);
        for (const Section& section : report.sections) table(section);
        finishPage();
    }

    /// Throws unsupported.
    std::string finish()
    {
        // What drawing has failed at stands with the one, what writing has with the other.
        const cairo_status_t drawn = cairo_status(cairo());
        cairo_.reset();
        cairo_surface_finish(surface_.get());
        const cairo_status_t written = cairo_surface_status(surface_.get());
        const cairo_status_t status = drawn != CAIRO_STATUS_SUCCESS ? drawn : written;
        if (status != CAIRO_STATUS_SUCCESS)
            throw files::Error(files::Fault::unsupported,
                               std::string(files::said("PDF yapılamadı (", "The PDF could not be made (")) +
                                   cairo_status_to_string(status) +
                                   files::said("); sayfayı tarayıcıdan yazdırın.", "); print the page."));
        return std::move(bytes_);
    }

private:
    cairo_t* cairo() { return cairo_.get(); }

    void colour(const Colour& of) { cairo_set_source_rgb(cairo(), of.red, of.green, of.blue); }

    void letters(double size, bool bold, const Colour& of)
    {
        cairo_select_font_face(cairo(), "Liberation Sans", CAIRO_FONT_SLANT_NORMAL,
                               bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(cairo(), size);
        colour(of);
    }

    double widthOf(const std::string& text)
    {
        cairo_text_extents_t extents;
        cairo_text_extents(cairo(), text.c_str(), &extents);
        return extents.x_advance;
    }

    void write(double x, const std::string& text)
    {
        cairo_move_to(cairo(), x, y_);
        cairo_show_text(cairo(), text.c_str());
    }

    /// Cut with "…" where it does not fit; a character is never cut in its middle.
    std::string fitting(std::string text, double room)
    {
        if (widthOf(text) <= room) return text;
        while (!text.empty() && widthOf(text + "…") > room) {
            while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) text.pop_back();
            if (!text.empty()) text.pop_back();
        }
        return text + "…";
    }

    /// A text over as many lines as it takes.
    void paragraph(const std::string& text)
    {
        std::string now;
        for (std::size_t from = 0; from <= text.size();) {
            const std::size_t end = std::min(text.find(' ', from), text.size());
            const std::string word = text.substr(from, end - from);
            std::string longer = now;
            if (!now.empty()) longer += ' ';
            longer += word;
            from = end + 1;
            if (!now.empty() && widthOf(longer) > inside) {
                y_ += line;
                write(margin, now);
                now = word;
            } else {
                now = longer;
            }
        }
        y_ += line;
        write(margin, now);
    }

    void finishPage()
    {
        y_ = height - margin;
        letters(small, false, soft);
        write(margin, fitting(footer_, inside - 40));
        const std::string number = std::to_string(++page_);
        write(width - margin - widthOf(number), number);
        cairo_show_page(cairo());
        y_ = margin;
    }

    bool isRoomFor(double points) const { return y_ + points <= bottom; }

    void ruleBelow()
    {
        colour(rule);
        cairo_set_line_width(cairo(), .5);
        cairo_move_to(cairo(), margin, y_ + 3.5);
        cairo_line_to(cairo(), width - margin, y_ + 3.5);
        cairo_stroke(cairo());
    }

    void headlines(const std::vector<Headline>& all)
    {
        constexpr std::size_t across = 4;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const double x = margin + static_cast<double>(i % across) * inside / across;
            if (i % across == 0) y_ += 2 * gap;
            letters(small, false, soft);
            write(x, all[i].title);
            y_ += large + 2;
            letters(large, true, ink);
            write(x, all[i].figure);
            const double end = x + widthOf(all[i].figure) + 4;
            letters(small, false, soft);
            write(end, all[i].unit);
            y_ -= large + 2;
            if (i % across == across - 1 || i + 1 == all.size()) y_ += large + 2;
        }
        y_ += gap;
    }

    void headings(const Section& section)
    {
        letters(body, true, ink);
        y_ += line + 2;
        for (std::size_t i = 0; i < section.columns.size(); ++i) cell(i, section.columns[i].title, section.columns[i]);
        ruleBelow();
    }

    /// Texts begin at the left, figures end at the right.
    void cell(std::size_t i, const std::string& text, const Column& column)
    {
        const double room = ends_[i] - begins_[i];
        const std::string shown = fitting(text, room + .5);
        write(column.kind == Kind::text || i == 0 ? begins_[i] : ends_[i] - widthOf(shown), shown);
    }

    void row(const Section& section, const std::vector<Cell>& cells)
    {
        y_ += line;
        for (std::size_t i = 0; i < section.columns.size() && i < cells.size(); ++i)
            cell(i, cellText(cells[i], section.columns[i]), section.columns[i]);
    }

    /// The widest cell of a column decides, the title among them.
    double measure(const Section& section, std::size_t rows)
    {
        begins_.clear();
        ends_.clear();
        double x = margin;
        for (std::size_t i = 0; i < section.columns.size(); ++i) {
            const Column& column = section.columns[i];
            letters(body, true, ink);
            double widest = widthOf(column.title);
            if (i < section.sum.size()) widest = std::max(widest, widthOf(cellText(section.sum[i], column)));
            letters(body, false, ink);
            for (std::size_t at = 0; at < rows; ++at)
                widest = std::max(widest, widthOf(cellText(section.rows[at][i], column)));
            begins_.push_back(x);
            x += column.kind == Kind::text ? std::min(widest, mostOfName) : widest;
            ends_.push_back(x);
            x += gap;
        }
        return x;
    }

    void table(const Section& section)
    {
        const std::size_t rows = std::min(section.rows.size(), mostRows);
        const auto barred = barredColumn(section);
        const double afterLast = measure(section, rows);
        double largest = 0;
        for (std::size_t i = 0; barred && i < rows; ++i)
            if (const auto* figure = std::get_if<double>(&section.rows[i][*barred]))
                largest = std::max(largest, *figure);

        // A title, its sentences and headings are some six lines, the sum two.
        const std::size_t together = rows <= unbroken ? rows + 8 : 8;
        if (!isRoomFor(static_cast<double>(together) * line)) finishPage();
        y_ += large + gap;
        letters(large, true, ink);
        write(margin, section.title);
        y_ += 2;
        letters(body, false, soft);
        if (!section.summary.empty()) paragraph(section.summary);
        headings(section);
        for (std::size_t i = 0; i < rows; ++i) {
            if (!isRoomFor(line)) {
                finishPage();
                headings(section);
            }
            letters(body, false, ink);
            row(section, section.rows[i]);
            const auto* figure = barred ? std::get_if<double>(&section.rows[i][*barred]) : nullptr;
            if (figure && *figure > 0 && largest > 0) {
                colour(bars);
                cairo_rectangle(cairo(), afterLast, y_ - 7, (width - margin - afterLast) * *figure / largest, 8);
                cairo_fill(cairo());
            }
        }
        if (rows == section.rows.size() && section.sum.empty()) return;
        if (!isRoomFor(3 * line)) {
            finishPage();
            headings(section);
        }
        if (rows < section.rows.size()) {
            letters(body, false, soft);
            paragraph("ve " + std::to_string(section.rows.size() - rows) + " satır daha; toplamın içindedir");
        }
        if (section.sum.empty()) return;
        ruleBelow();
        y_ += 2;
        letters(body, true, ink);
        row(section, section.sum);
    }

    std::string bytes_; ///< outlives what writes into it
    std::unique_ptr<cairo_surface_t, Destroy> surface_;
    std::unique_ptr<cairo_t, Destroy> cairo_;
    std::string footer_;
    std::vector<double> begins_, ends_; ///< of the columns of the table at hand
    double y_ = margin;                 ///< where letters stand
    int page_ = 0;
};

} // namespace

bool writesPaper() { return true; }

std::string paper(const Report& report)
{
    Paper paper;
    paper.put(report);
    return paper.finish();
}

} // namespace seasons
