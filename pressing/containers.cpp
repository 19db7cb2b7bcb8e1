#include "pressing/containers.h"

#include "base/error.h"
#include "base/numbers.h"
#include "mill/containers.h"
#include "pressing/displays.h"

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace pressing {
namespace {

QStringList namesOfKinds()
{
    QStringList names;
    for (const mill::Container& container : mill::containers) names << QStringView(container.name).toString();
    return names;
}

} // namespace

const QStringList& containerNames()
{
    static const QStringList names = namesOfKinds();
    return names;
}

QString containerName(int kind) { return containerNames().value(kind); }

Litre containerSize(int kind)
{
    if (kind < 0 || kind >= std::ssize(mill::containers)) throw base::runtimeError(base::errors::typeMismatch);
    return {mill::containers[static_cast<std::size_t>(kind)].litres};
}

Litre countContainers(StationScreen& screen, int station)
{
    const Litre size = containerSize(screen.containerKind(station));
    const double count = base::truncate(handedOutFor(read(screen, displays::oil, station)) / size);
    if (std::abs(count) > std::numeric_limits<float>::max()) throw base::runtimeError(base::errors::overflow);
    screen.setContainers(station, static_cast<float>(count));
    screen.setCaption(Field::Label4, station, containerCaption(screen.containers(station), screen.regional()));
    return size;
}

QString containerCaption(float count, const base::Regional& regional)
{
    return base::numberToText(count, regional) + u" Kap"_s;
}

void containerFilled(StationScreen& screen, int station)
{
    if (screen.containers(station) <= 0) return;
    screen.setContainers(station, screen.containers(station) - 1);
    screen.setCaption(Field::Label4, station, containerCaption(screen.containers(station), screen.regional()));
}

void containerCaptionChanged(StationScreen& screen, int station)
{
    screen.setCaption(Field::Label4, station, containerCaption(screen.containers(station), screen.regional()));
    screen.centreContainerCaption(station);
    if (screen.containers(station) == 0) screen.showContainerPanel(station, false);
}

void containersDropped(StationScreen& screen, int station)
{
    screen.setContainers(station, 0);
    screen.showContainerPanel(station, false);
}

} // namespace pressing
