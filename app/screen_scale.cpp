#include "app/screen_scale.h"

#include <QByteArray>
#include <QtGlobal>
#include <algorithm>

namespace app {

double scaleToFit(const QSize& least, const platform::ScreenRoom& room)
{
    const double fits = std::min({1.0, room.width / double(least.width()), room.height / double(least.height())});
    return std::max(fits, 1.0 / std::max(room.scale, 1.0));
}

void lowerScaleFor(const QSize& least)
{
    const char* const factor = "QT_SCALE_FACTOR"; // Qt multiplies the system's with it
    for (const char* theirs : {factor, "QT_SCREEN_SCALE_FACTORS", "QT_ENABLE_HIGHDPI_SCALING"})
        if (qEnvironmentVariableIsSet(theirs)) return;
    const auto room = platform::screenRoom();
    if (!room) return;
    const double scale = scaleToFit(least, *room);
    if (scale < 1) qputenv(factor, QByteArray::number(scale));
}

} // namespace app
