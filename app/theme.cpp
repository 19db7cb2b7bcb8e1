#include "app/theme.h"

#include <QApplication>
#include <QFont>
#include <QLibraryInfo>
#include <QLocale>
#include <QPalette>
#include <QStyleFactory>
#include <QTranslator>

namespace app {

void applyTheme(QApplication& application)
{
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));

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

    QFont font;
    font.setFamilies({QStringLiteral("Noto Sans"), QStringLiteral("Liberation Sans"), QStringLiteral("DejaVu Sans")});
    font.setPixelSize(17);
    QApplication::setFont(font);

    auto* texts = new QTranslator(&application);
    if (texts->load(QLocale(QLocale::Turkish), QStringLiteral("qtbase"), QStringLiteral("_"),
                    QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(texts);
}

} // namespace app
