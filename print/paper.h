#pragma once

#include <QString>
#include <vector>

namespace print {

/// One inch in the unit of everything that is placed on paper, and one point of a page size.
inline constexpr int twipsPerInch = 1440;
inline constexpr int twipsPerPoint = 20;

/// Blank above the letters of every line, in twips, besides the font's own. It is the same for all texts, so they do
/// not move against each other; but a rule that is drawn at this distance below the current Y runs between two lines of
/// text, where it would otherwise cut the accents off the capitals of the lower one.
inline constexpr int lineLead = 30;

/// Of drawn lines, in twips: one dot of the usual 203 dpi slip head, and a fine line on a page printer.
inline constexpr double lineWidth = 7;

/// The size of the pages of one job, in whole points: a page of a PDF has no finer size.
struct PageSize {
    int width = 0;
    int height = 0;

    bool operator==(const PageSize&) const = default;
};

/// The paper that a target prints on.
/// On a roll a page is as long as what stands on it, between minHeight and maxHeight; other paper keeps its size and
/// what does not fit goes on to the next sheet. Sizes are in points, margins (what the device cannot reach) in twips.
struct Paper {
    int width = 0;
    int height = 0; ///< of a sheet; on a roll the queue's usual length, which no page has to have
    bool roll = false;
    int minHeight = 0; ///< roll only
    int maxHeight = 0; ///< roll only
    int leftMargin = 0;
    int topMargin = 0;
    int rightMargin = 0;
    int bottomMargin = 0;
    QString media; ///< the queue's own word for this sheet; empty where a size says it all

    struct Cut {
        int height = 0;
        QString media;
    };
    std::vector<Cut> cuts; ///< roll only: its only lengths, shortest first; empty where any length will do

    /// In twips. The origin of everything printed is the top left of the printable area.
    int printableWidth() const;
    /// In twips, for lines of text: the last one's letters stand `lineLead` lower. On a roll of the longest page.
    int printableHeight() const;
    /// The page for lines that end `contentHeight` twips below the origin.
    PageSize pageFor(double contentHeight) const;

    /// A common 80 mm slip roll: 72 mm of it can be printed on.
    static Paper slipRoll80();
    static Paper a4();
};

} // namespace print
