#include "platform/serial_ports.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string>
#include <system_error>
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

} // namespace

std::optional<fs::path> serialPort(int number, const SerialPortPlaces& places)
{
    if (number < firstSerialPort || number > lastSerialPort) return std::nullopt;
    std::error_code ignored;
    const fs::path link = places.programDirectory / ("com" + std::to_string(number));
    if (fs::symlink_status(link, ignored).type() == fs::file_type::symlink) return link;

    const std::string fitted = "ttyS" + std::to_string(number - 1);
    if (fs::exists(places.devices / fitted, ignored) && isFitted(places.classes, fitted))
        return places.devices / fitted;

    const std::vector<std::string> adapters = usbAdapters(places.devices);
    const int adapter = number - firstUsbPort;
    if (adapter < 0 || adapter >= static_cast<int>(adapters.size())) return std::nullopt;
    return places.devices / adapters[static_cast<std::size_t>(adapter)];
}

fs::path realDevice(const fs::path& path)
{
    std::error_code failed;
    const fs::path real = fs::weakly_canonical(path, failed);
    return failed ? path : real;
}

bool twoStopBitsLastOneAndAHalf() { return true; }

} // namespace platform
