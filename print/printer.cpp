#include "print/printer.h"

#include "base/error.h"
#include "print/face.h"
#include "print/pdf.h"
#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace print {

namespace {

constexpr float largestSize = 2160;

/// The font list of a job is short (a slip has five); it is searched, not hashed.
std::size_t indexOf(const QFont& font, std::vector<QFont>& fonts)
{
    const auto found = std::ranges::find(fonts, font);
    if (found != fonts.end()) return static_cast<std::size_t>(found - fonts.begin());
    fonts.push_back(font);
    return fonts.size() - 1;
}

} // namespace

Printer::Printer(PrintTarget& target, Clock clock) : target_(target), clock_(std::move(clock)), fontName_(u"Arial"_s) {}

void Printer::beginJob()
{
    if (!paper_) paper_ = target_.paper();
}

const Paper& Printer::paper()
{
    beginJob();
    return *paper_;
}

template <class Property> void Printer::change(Property& property, const Property& value)
{
    beginJob();
    property = value;
    font_.reset();
    metrics_.reset();
    measured_.reset();
    fontIndex_.reset();
}

void Printer::setFontName(const QString& name) { change(fontName_, name); }

void Printer::setFontSize(float points)
{
    beginJob();
    if (!(points > 0) || points > largestSize) throw base::runtimeError(base::errors::invalidProperty);
    change(fontSize_, points);
}

void Printer::setFontBold(bool on) { change(bold_, on); }

void Printer::setFontItalic(bool on) { change(italic_, on); }

void Printer::setFontUnderline(bool on) { change(underline_, on); }

void Printer::setFontStretch(int percent)
{
    beginJob();
    if (percent < 1 || percent > fullWidth) throw base::runtimeError(base::errors::invalidProperty);
    change(stretch_, percent);
}

void Printer::setFontCharset(int /*charset*/) { beginJob(); }

const QFontMetricsF& Printer::metrics()
{
    if (!metrics_) {
        font_ = printFont(availableFace(fontName_), fontSize_, bold_, italic_, underline_, stretch_);
        metrics_ = metricsInTwips(*font_);
    }
    return *metrics_;
}

std::size_t Printer::currentFont()
{
    metrics();
    if (!fontIndex_) fontIndex_ = indexOf(*font_, layout_.fonts);
    return *fontIndex_;
}

int Printer::pageWidth() { return paper().printableWidth(); }

int Printer::pageHeight() { return paper().printableHeight(); }

double Printer::textWidth(const QString& text)
{
    beginJob();
    if (!measured_ || measured_->text != text) measured_ = Measured{text, metrics().horizontalAdvance(text)};
    return measured_->width;
}

double Printer::textHeight()
{
    beginJob();
    return metrics().lineSpacing();
}

void Printer::setCurrentX(double x)
{
    beginJob();
    x_ = x;
}

void Printer::setCurrentY(double y)
{
    beginJob();
    y_ = y;
}

void Printer::place(const QString& text)
{
    // An empty text leaves no ink, so it needs no page either.
    if (text.isEmpty()) return;
    if (y_ + textHeight() > pageHeight() && y_ > 0) {
        layout_.pages.emplace_back();
        y_ = 0;
    }
    layout_.pages.back().texts.push_back({x_, y_, lineLead + metrics().ascent(), currentFont(), text});
    layout_.height = std::max(layout_.height, y_ + textHeight());
}

void Printer::print(const QString& text)
{
    beginJob();
    started_ = true;
    place(text);
    printLine();
}

void Printer::printStay(const QString& text)
{
    beginJob();
    started_ = true;
    place(text);
    x_ += textWidth(text);
}

void Printer::printLine()
{
    beginJob();
    started_ = true;
    x_ = 0;
    y_ += textHeight();
    layout_.height = std::max(layout_.height, y_);
}

void Printer::line(double x1, double y1, double x2, double y2)
{
    beginJob();
    started_ = true;
    layout_.pages.back().lines.push_back({x1, y1, x2, y2});
    layout_.height = std::max({layout_.height, y1, y2});
}

void Printer::newPage()
{
    beginJob();
    started_ = true;
    layout_.pages.emplace_back();
    x_ = 0;
    y_ = 0;
}

void Printer::reset() noexcept
{
    paper_.reset();
    started_ = false;
    x_ = 0;
    y_ = 0;
    fontIndex_.reset();
    layout_.fonts.clear();
    // One page is left in place instead of a new one: clearing cannot run out of memory.
    layout_.pages.resize(1);
    layout_.pages.front() = Page();
    layout_.height = 0;
    title_.clear();
}

std::optional<Document> Printer::takeDoc()
{
    if (!started_) {
        reset();
        return std::nullopt;
    }
    try {
        Document document;
        document.paper = paper();
        document.title = title_;
        document.pdf = renderPdf(layout_, paper(), title_, clock_());
        document.page = pageOf(layout_, paper());
        document.layout = layout_;
        reset();
        return document;
    } catch (...) {
        reset();
        throw;
    }
}

void Printer::endDoc()
{
    if (const auto document = takeDoc()) target_.submit(*document);
}

void Printer::killDoc() noexcept { reset(); }

} // namespace print
