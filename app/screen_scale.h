#pragma once

#include "platform/screen_room.h"
#include <QSize>

namespace app {

/// What the system's scale is to be multiplied with so that a window that fills the screen has at least `least` pixels
/// for its content: 1 where it has, and never so little that one of its pixels became smaller than one of the screen's.
double scaleToFit(const QSize& least, const platform::ScreenRoom& room);

/// Makes Qt draw accordingly on the primary screen. To be called before the application is made. Somebody's own choice
/// in Qt's environment variables stays.
void lowerScaleFor(const QSize& least);

} // namespace app
