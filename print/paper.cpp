#include "print/paper.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace print {

int Paper::printableWidth() const { return width * twipsPerPoint - leftMargin - rightMargin; }

int Paper::printableHeight() const
{
    return (roll ? maxHeight : height) * twipsPerPoint - topMargin - bottomMargin - lineLead;
}

PageSize Paper::pageFor(double contentHeight) const
{
    if (!roll) return {width, height};
    const double needed = std::ceil((topMargin + contentHeight + lineLead + bottomMargin) / twipsPerPoint);
    for (const Cut& cut : cuts)
        if (cut.height >= needed) return {width, cut.height};
    // Compared before the conversion: a current point far outside the page is allowed, and its number may fit no int.
    return {width, static_cast<int>(std::clamp(needed, double(minHeight), double(maxHeight)))};
}

Paper Paper::slipRoll80()
{
    constexpr int fourMillimetres = 227;
    return {.width = 227, // 80 mm
            .height = 567,
            .roll = true,
            .minHeight = 72,
            .maxHeight = 5669, // 2 m
            .leftMargin = fourMillimetres,
            .topMargin = fourMillimetres,
            .rightMargin = fourMillimetres,
            .bottomMargin = fourMillimetres,
            .media = {},
            .cuts = {}};
}

Paper Paper::a4()
{
    constexpr int quarterInch = 360;
    return {.width = 595,
            .height = 842,
            .roll = false,
            .minHeight = 0,
            .maxHeight = 0,
            .leftMargin = quarterInch,
            .topMargin = quarterInch,
            .rightMargin = quarterInch,
            .bottomMargin = quarterInch,
            .media = u"iso_a4_210x297mm"_s,
            .cuts = {}};
}

} // namespace print
