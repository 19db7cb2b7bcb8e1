#include "pressing/containers.h"

namespace pressing {

QString containerCaption(float count)
{
    // A count has no decimals, so the separators of the regional settings never show.
    return QString::number(static_cast<double>(count), 'g', 7) + QStringLiteral(" Kap");
}

void containerFilled(StationScreen& screen, int station)
{
    if (screen.containers(station) <= 0) return;
    screen.setContainers(station, screen.containers(station) - 1);
    screen.setCaption(Field::Label4, station, containerCaption(screen.containers(station)));
}

void containerCaptionChanged(StationScreen& screen, int station)
{
    screen.setCaption(Field::Label4, station, containerCaption(screen.containers(station)));
    screen.centreContainerCaption(station);
    if (screen.containers(station) == 0) screen.showContainerPanel(station, false);
}

void containersDropped(StationScreen& screen, int station)
{
    screen.setContainers(station, 0);
    screen.showContainerPanel(station, false);
}

} // namespace pressing
