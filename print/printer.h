#pragma once

#include "print/face.h"
#include "print/layout.h"
#include "print/print_target.h"
#include <QDateTime>
#include <QFontMetricsF>
#include <QString>
#include <functional>
#include <optional>

namespace print {

/// The printer as the program sees it: one job at a time, composed text by text. All positions are in twips, the origin
/// is the top left of the printable area, Y grows downwards.
///
/// A job begins with the first property or output after the last job ended: then the target is asked for its paper, and
/// error 482 means that there is no printer or that it cannot print. Nothing leaves before endDoc(): until then a job
/// is only a record of what stands where. After a job, sent or killed, the font stays and the current point is (0, 0).
///
/// A text that does not fit above the bottom edge begins a new page by itself, at Y 0; lines never do. On a roll the
/// page is as long as its content.
class Printer {
public:
    using Clock = std::function<QDateTime()>;

    /// The target must outlive the printer. The clock dates the documents.
    explicit Printer(PrintTarget& target, Clock clock = &QDateTime::currentDateTime);
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

    // ---- Font: what is set holds for the texts that follow ----

    void setFontName(const QString& name); ///< a face that is not there is substituted silently
    float fontSize() const { return fontSize_; }
    void setFontSize(float points); ///< error 380 unless above 0 and at most 2160
    void setFontBold(bool on);
    void setFontItalic(bool on);
    void setFontUnderline(bool on);
    /// Width of the letters in percent of their own: 1 to 100; error 380 for anything else.
    int fontStretch() const { return stretch_; }
    void setFontStretch(int percent);
    /// Begins the job like any property, and no more: the texts are Unicode, and every face used has the Turkish
    /// letters.
    void setFontCharset(int charset);

    // ---- Measures ----

    int pageWidth();  ///< of the printable area, a whole number
    int pageHeight(); ///< of the printable area; on a roll of its longest page
    double textWidth(const QString& text);
    double textHeight(); ///< what an ended line adds to Y: ascent, descent and leading of the current font

    // ---- Output ----

    void setCurrentX(double x);
    double currentY() const { return y_; }
    void setCurrentY(double y);

    void print(const QString& text);                       ///< and end the line: X becomes 0, Y grows by textHeight()
    void printStay(const QString& text);                   ///< X grows by the text's width, Y stays
    void printLine();                                      ///< only end the line
    void line(double x1, double y1, double x2, double y2); ///< leaves the current point where it is
    void newPage();                                        ///< the current point becomes (0, 0)

    // ---- The job ----

    /// What the queue lists the job under.
    void setTitle(const QString& title) { title_ = title; }

    /// Sends the job and waits until the target has taken it over; does nothing if nothing was printed.
    /// If it throws (482), the job is gone, unsent; but for PerhapsPrinted.
    void endDoc();
    /// Forgets the job. Never fails.
    void killDoc() noexcept;
    /// Ends the job without sending it, for callers that need the job's number before the pages leave; nothing if
    /// nothing was printed.
    std::optional<Document> takeDoc();

    /// What the job holds so far.
    const Layout& layout() const { return layout_; }

private:
    /// Asks the target for its paper unless it has been asked for this job; error 482 without one.
    void beginJob();
    const Paper& paper();
    /// A property of the font; the next text needs another one.
    template <class Property> void change(Property& property, const Property& value);
    const QFontMetricsF& metrics();
    std::size_t currentFont();
    void place(const QString& text);
    void reset() noexcept;

    PrintTarget& target_;
    Clock clock_;

    QString fontName_;
    float fontSize_ = 8;
    bool bold_ = false;
    bool italic_ = false;
    bool underline_ = false;
    int stretch_ = fullWidth;
    std::optional<QFont> font_; ///< of the properties above, built when it is needed
    std::optional<QFontMetricsF> metrics_;
    std::optional<std::size_t> fontIndex_; ///< of font_ in layout_.fonts
    /// The text measured last: a text is measured to find its place and again to move past it.
    struct Measured {
        QString text;
        double width = 0;
    };
    std::optional<Measured> measured_;

    std::optional<Paper> paper_;
    QString title_;
    bool started_ = false;
    double x_ = 0;
    double y_ = 0;
    Layout layout_;
};

} // namespace print
