#include "scale/port_numbers.h"

#include "base/path_text.h"
#include <QStringList>
#include <utility>

using namespace Qt::StringLiterals;
using base::pathOf;
using base::textOf;

namespace scale {

namespace {

/// A link "comN" is what the mill itself says of a number, and lies in the program's directory.
bool isLinkOfTheMill(const std::filesystem::path& path, const platform::SerialPortPlaces& places)
{
    return path.parent_path() == places.programDirectory;
}

/// "5=by-id/usb-... 6=by-id/usb-...": names of devices hold no blanks.
platform::RememberedAdapters remembered(const AdapterMemory& memory)
{
    platform::RememberedAdapters adapters;
    if (!memory.read) return adapters;
    for (const QString& entry : memory.read().split(u' ', Qt::SkipEmptyParts)) {
        const qsizetype end = entry.indexOf(u'=');
        const int number = entry.left(end).toInt();
        if (end > 0 && end + 1 < entry.size() && number >= platform::firstSerialPort &&
            number <= platform::lastSerialPort)
            adapters[number] = entry.sliced(end + 1).toStdString();
    }
    return adapters;
}

} // namespace

PortFinder systemPorts(platform::SerialPortPlaces places, AdapterMemory memory)
{
    return [places = std::move(places), memory = std::move(memory)](int number) -> std::optional<PortDevice> {
        const platform::RememberedAdapters adapters = remembered(memory);
        const auto path = platform::serialPort(number, places, adapters);
        if (!path) return std::nullopt;
        PortDevice device{textOf(*path)};
        if (const auto known = adapters.find(number); known != adapters.end() && !isLinkOfTheMill(*path, places)) {
            device.lasting = true;
            const auto now = platform::rememberedName(*path, places);
            device.moved = now && *now != known->second;
        }
        return device;
    };
}

void rememberAdapter(int number, const QString& path, const platform::SerialPortPlaces& places,
                     const AdapterMemory& memory)
{
    if (isLinkOfTheMill(pathOf(path), places)) return;
    const platform::RememberedAdapters before = remembered(memory);
    platform::RememberedAdapters adapters = before;
    for (auto& [known, adapter] : adapters) adapter = platform::stillRemembered(adapter, places);
    const auto name = platform::rememberedName(pathOf(path), places);
    if (name && name->find(' ') == std::string::npos) adapters[number] = *name;
    if (adapters == before) return;
    QStringList entries;
    for (const auto& [known, adapter] : adapters)
        entries += QString::number(known) + u'=' + QString::fromStdString(adapter);
    memory.write(entries.join(u' '));
}

QString titleOfDevice(const QString& path) { return QString::fromStdString(platform::titleOf(pathOf(path))); }

QString shownDevice(const QString& path) { return textOf(platform::realDevice(pathOf(path))); }

} // namespace scale
