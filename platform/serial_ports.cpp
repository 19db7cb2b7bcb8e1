#include "platform/serial_ports.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <string>
#include <system_error>
#include <termios.h>
#include <tuple>
#include <vector>

namespace platform {

namespace fs = std::filesystem;

namespace {

constexpr int firstUsbPort = 5;

/// The node of a mainboard port exists whether or not the port does; its type tells.
bool isFitted(const fs::path& classes, const std::string& name)
{
    std::ifstream file(classes / name / "type");
    int type = 0;
    // A driver that publishes no type has real ports only.
    return !(file >> type) || type != 0;
}

/// Sorts "ttyUSB2" before "ttyUSB10" and all of them before "ttyACM0".
struct UsbName {
    explicit UsbName(const std::string& name) : acm(name.starts_with("ttyACM")), length(name.size()), text(name) {}
    bool acm;
    std::size_t length;
    std::string text;
    bool operator<(const UsbName& other) const
    {
        return std::tie(acm, length, text) < std::tie(other.acm, other.length, other.text);
    }
};

std::vector<std::string> usbAdapters(const fs::path& devices)
{
    std::vector<std::string> names;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(devices, ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("ttyUSB") || name.starts_with("ttyACM")) names.push_back(name);
    }
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return UsbName(a) < UsbName(b); });
    return names;
}

/// The port of the mainboard that has this number, if it is fitted.
std::optional<fs::path> mainboardPort(int number, const SerialPortPlaces& places)
{
    const std::string name = "ttyS" + std::to_string(number - 1);
    std::error_code ignored;
    if (!fs::exists(places.devices / name, ignored) || !isFitted(places.classes, name)) return std::nullopt;
    return places.devices / name;
}

bool isSameDevice(const fs::path& one, const fs::path& other)
{
    std::error_code missing;
    const fs::path node = fs::canonical(one, missing);
    return !missing && node == fs::canonical(other, missing);
}

/// The link to that device in one folder of devices/serial, as a name below devices/serial.
std::optional<std::string> linkTo(const fs::path& device, const std::string& folder, const SerialPortPlaces& places)
{
    std::error_code ignored;
    for (const fs::directory_entry& link : fs::directory_iterator(places.devices / "serial" / folder, ignored))
        if (isSameDevice(link.path(), device)) return folder + '/' + link.path().filename().string();
    return std::nullopt;
}

/// Two adapters that share a name have one link by that name, so one of them has none.
bool namesAreShared(const SerialPortPlaces& places)
{
    const std::vector<std::string> adapters = usbAdapters(places.devices);
    return std::any_of(adapters.begin(), adapters.end(), [&](const std::string& adapter) {
        return !linkTo(places.devices / adapter, "by-id", places).has_value();
    });
}

/// The link by which a remembered adapter is found.
fs::path placeOf(const std::string& adapter, const SerialPortPlaces& places)
{
    const std::size_t stroke = std::min(adapter.find('|'), adapter.size());
    const bool bySocket = stroke < adapter.size() && namesAreShared(places);
    return places.devices / "serial" / (bySocket ? adapter.substr(stroke + 1) : adapter.substr(0, stroke));
}

bool isRemembered(const fs::path& device, const SerialPortPlaces& places, const RememberedAdapters& remembered)
{
    return std::any_of(remembered.begin(), remembered.end(),
                       [&](const auto& adapter) { return isSameDevice(placeOf(adapter.second, places), device); });
}

/// The adapter that nobody remembers and that stands at this number when they are counted through from Com5 on.
std::optional<fs::path> countedAdapter(int number, const SerialPortPlaces& places, const RememberedAdapters& remembered)
{
    int counted = firstUsbPort;
    for (const std::string& name : usbAdapters(places.devices)) {
        if (isRemembered(places.devices / name, places, remembered)) continue;
        while (remembered.contains(counted)) ++counted;
        if (counted == number) return places.devices / name;
        ++counted;
    }
    return std::nullopt;
}

} // namespace

std::optional<fs::path> serialPort(int number, const SerialPortPlaces& places, const RememberedAdapters& remembered)
{
    if (number < firstSerialPort || number > lastSerialPort) return std::nullopt;
    std::error_code ignored;
    const fs::path link = places.programDirectory / ("com" + std::to_string(number));
    if (fs::symlink_status(link, ignored).type() == fs::file_type::symlink) return link;
    if (auto fitted = mainboardPort(number, places)) return fitted;
    if (const auto known = remembered.find(number); known != remembered.end()) return placeOf(known->second, places);
    return countedAdapter(number, places, remembered);
}

std::optional<std::string> stableName(const fs::path& device, const SerialPortPlaces& places)
{
    const bool shared = namesAreShared(places);
    if (auto name = linkTo(device, shared ? "by-path" : "by-id", places)) return name;
    return linkTo(device, shared ? "by-id" : "by-path", places);
}

std::optional<std::string> rememberedName(const fs::path& device, const SerialPortPlaces& places)
{
    const auto name = stableName(device, places);
    const auto socket = linkTo(device, "by-path", places);
    return name && socket && name != socket ? *name + '|' + *socket : name;
}

std::string stillRemembered(const std::string& adapter, const SerialPortPlaces& places)
{
    const std::size_t stroke = adapter.find('|');
    return stroke != std::string::npos && namesAreShared(places) ? adapter.substr(stroke + 1) : adapter;
}

bool isOnMainboard(const fs::path& device)
{
    return device.filename().string().starts_with("ttyS") || realDevice(device).filename().string().starts_with("ttyS");
}

std::string titleOf(const fs::path& device) { return realDevice(device).string(); }

bool isThere(const fs::path& device)
{
    std::error_code ignored;
    return fs::status(device, ignored).type() != fs::file_type::not_found;
}

bool isHungUp(OpenLine line)
{
    termios settings{};
    return ::tcgetattr(line, &settings) != 0 && errno == EIO;
}

fs::path realDevice(const fs::path& path)
{
    std::error_code failed;
    const fs::path real = fs::weakly_canonical(path, failed);
    return failed ? path : real;
}

bool twoStopBitsLastOneAndAHalf() { return true; }

} // namespace platform
