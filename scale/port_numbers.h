#pragma once

#include "platform/serial_ports.h"
#include <QString>
#include <functional>
#include <optional>

namespace scale {

/// The device that a port number stands for.
struct PortDevice {
    QString path;         ///< to be opened; may be a link that leads to another node after every plugging in
    bool lasting = false; ///< a certain adapter, which is the port's device also while its plug is out
    bool moved = false;   ///< it is in another socket than it was remembered in, or another one of the same name is
};

/// Finds the device of a port number; nothing if there is none.
using PortFinder = std::function<std::optional<PortDevice>(int number)>;

/// Where it is kept from one start to the next which adapter a port number stands for: as one text.
struct AdapterMemory {
    std::function<QString()> read;
    std::function<void(const QString& text)> write;
};

/// The devices of this machine; the program's directory may hold links "com1" to "com16".
PortFinder systemPorts(platform::SerialPortPlaces places, AdapterMemory memory = {});

/// The port of that number was opened, and this was its device: if that is an adapter with a name of its own, the
/// number stands for it from now on, whatever node it gets. Where two adapters share a name by now, each number keeps
/// its adapter by the socket.
void rememberAdapter(int number, const QString& path, const platform::SerialPortPlaces& places,
                     const AdapterMemory& memory);

/// What an operator knows a device by: the adapter's name where the system has one, else the device.
QString titleOfDevice(const QString& path);

/// The node that a device's path leads to now.
QString shownDevice(const QString& path);

} // namespace scale
