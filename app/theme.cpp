#include "app/theme.h"

#include <QApplication>
#include <QFont>
#include <QLibraryInfo>
#include <QLocale>
#include <QPalette>
#include <QProxyStyle>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace app {

namespace {

/// Fusion with marks for fingers where Qt's own controls are used.
class TouchStyle : public QProxyStyle {
public:
    TouchStyle() : QProxyStyle(u"Fusion"_s) {}

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        switch (metric) {
        case PM_IndicatorWidth:
        case PM_IndicatorHeight:
        case PM_ExclusiveIndicatorWidth:
        case PM_ExclusiveIndicatorHeight:
            return 26;
        case PM_MessageBoxIconSize:
            return 56;
        default:
            return QProxyStyle::pixelMetric(metric, option, widget);
        }
    }
};

} // namespace

void applyTheme(QApplication& application)
{
    QApplication::setStyle(new TouchStyle);

    // Explicit colours: a dark desktop must not turn white fields and black captions around.
    QPalette palette(QColor(0xE4, 0xE9, 0xEC), QColor(0xEE, 0xF2, 0xF4));
    const QColor ink(0x10, 0x18, 0x1C);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, ink);
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, QColor(0xF2, 0xF6, 0xF8));
    palette.setColor(QPalette::Highlight, QColor(0x0B, 0x3C, 0x5D));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    QApplication::setPalette(palette);
    // Some systems have colours of their own for these, which a dark or a high-contrast scheme would turn around.
    for (const char* kind : {"QMenu", "QMenuBar", "QToolTip", "QTipLabel"}) QApplication::setPalette(palette, kind);

    QFont font;
    font.setFamilies({u"Noto Sans"_s, u"Liberation Sans"_s, u"DejaVu Sans"_s, u"Segoe UI"_s});
    font.setPixelSize(17);
    QApplication::setFont(font);

    auto* texts = new QTranslator(&application);
    if (texts->load(QLocale(QLocale::Turkish), u"qtbase"_s, u"_"_s, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(texts);
}

} // namespace app
