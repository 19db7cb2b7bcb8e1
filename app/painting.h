#pragma once

#include <QFont>
#include <QPainter>
#include <QString>

class QAbstractScrollArea;

/// The few strokes that all controls are drawn with, so that they look like one family.
namespace app::painting {

inline constexpr int radius = 7;
inline const QColor ink(0x10, 0x18, 0x1C);
inline const QColor quietInk(0x37, 0x47, 0x4F);   ///< titles; 4.5 : 1 or more on white, cyan, green and button face
inline const QColor line(0x78, 0x90, 0x9C);       ///< border of something at rest
inline const QColor softLine(0xB0, 0xBA, 0xBF);   ///< between areas
inline const QColor chosen(0x0B, 0x3C, 0x5D);     ///< ground of what is switched on
inline const QColor strongLine(0x00, 0x3C, 0x5A); ///< border of the active field and of the focus

/// A rounded box, its border drawn inside the rectangle.
void box(QPainter& painter, const QRect& area, const QColor& fill, const QColor& border, int borderWidth = 1,
         int cornerRadius = radius);

/// The font at that size, or smaller when the text would not fit the width; never below two thirds of it.
QFont fitted(const QFont& font, const QString& text, int pixels, int width);
/// The same with another smallest size.
QFont fitted(QFont font, const QString& text, int pixels, int width, int least);

/// One line, shortened at its start with an ellipsis when it does not fit: of what is being typed the end matters.
void lineOfText(QPainter& painter, const QRect& area, Qt::Alignment place, const QString& text);

/// Scroll bars for fingers: wide, without arrows.
void widenScrollBars(QAbstractScrollArea& area);

/// The font at that pixel size.
QFont sized(QFont font, int pixels, bool bold);

} // namespace app::painting
