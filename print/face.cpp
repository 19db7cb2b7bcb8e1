#include "print/face.h"

#include "print/paper.h"
#include <QFontDatabase>
#include <QPaintDevice>
#include <QRawFont>
#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace print {

namespace {

/// Faces with the same widths letter by letter, so that a slip keeps its line lengths.
constexpr std::array<std::pair<QStringView, QStringView>, 6> sameWidths = {{
    {u"Arial", u"Liberation Sans"},
    {u"Helvetica", u"Liberation Sans"},
    {u"Arial Narrow", u"Liberation Sans Narrow"},
    {u"Times New Roman", u"Liberation Serif"},
    {u"Times", u"Liberation Serif"},
    {u"Courier New", u"Liberation Mono"},
}};

constexpr std::array<QStringView, 5> arialWidths = {u"Arial", u"Liberation Sans", u"Arimo", u"Nimbus Sans",
                                                    u"DejaVu Sans"};

bool writesTurkish(const QString& face)
{
    const QRawFont raw = QRawFont::fromFont(QFont(face));
    return std::ranges::all_of(u"ÇçĞğIıİiÖöŞşÜüÂâ"_s, [&raw](QChar letter) { return raw.supportsCharacter(letter); });
}

bool usable(const QString& face)
{
    return QFontDatabase::hasFamily(face) && QFontDatabase::isSmoothlyScalable(face) && writesTurkish(face);
}

/// Measures as paper does: one unit is one twip.
class TwipDevice : public QPaintDevice {
public:
    QPaintEngine* paintEngine() const override { return nullptr; }

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        switch (metric) {
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return twipsPerInch;
        default:
            return QPaintDevice::metric(metric);
        }
    }
};

} // namespace

QString availableFace(const QString& asked)
{
    if (usable(asked)) return asked;
    for (const auto& [face, substitute] : sameWidths)
        if (asked.compare(face, Qt::CaseInsensitive) == 0 && usable(substitute.toString()))
            return substitute.toString();
    for (const QStringView substitute : arialWidths)
        if (usable(substitute.toString())) return substitute.toString();
    return asked;
}

QFont printFont(const QString& face, double points, bool bold, bool italic, bool underline, int stretch)
{
    QFont font(face);
    font.setPointSizeF(points);
    font.setBold(bold);
    font.setItalic(italic);
    font.setUnderline(underline);
    // Said only where it is wanted: a font that was never stretched keeps the exact widths of its face.
    if (stretch != fullWidth) font.setStretch(stretch);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QFontMetricsF metricsInTwips(const QFont& font)
{
    static TwipDevice device;
    return QFontMetricsF(font, &device);
}

} // namespace print
