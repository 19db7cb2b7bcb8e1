#include "platform/serial_ports.h"

#include <algorithm>
#include <string>
#include <vector>
#include <windows.h>

namespace platform {

namespace {

/// What the system knows of every device that was ever plugged in; below it a bus, a make, and the device with its
/// serial number.
const std::string deviceList = R"(SYSTEM\CurrentControlSet\Enum\)";
constexpr const char* buses[] = {"USB", "FTDIBUS"};

/// A key of the machine's registry, open for reading; not open where there is none.
class Key {
public:
    explicit Key(const std::string& path)
    {
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key_) != ERROR_SUCCESS) key_ = nullptr;
    }
    ~Key()
    {
        if (key_ != nullptr) RegCloseKey(key_);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    std::vector<std::string> children() const
    {
        std::vector<std::string> names;
        char name[256]; // the longest name of a key, with its end
        for (DWORD at = 0; key_ != nullptr; ++at) {
            DWORD length = sizeof name;
            if (RegEnumKeyExA(key_, at, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
            names.emplace_back(name, length);
        }
        return names;
    }

private:
    HKEY key_ = nullptr;
};

/// "COM5"; empty for what is no port.
std::string portOf(const std::string& device)
{
    char text[32] = {};
    DWORD bytes = sizeof text - 1;
    const std::string key = deviceList + device + R"(\Device Parameters)";
    if (RegGetValueA(HKEY_LOCAL_MACHINE, key.c_str(), "PortName", RRF_RT_REG_SZ, nullptr, text, &bytes) !=
        ERROR_SUCCESS)
        return {};
    return text;
}

/// The places of all that was ever plugged in at these buses.
std::vector<std::string> knownDevices()
{
    std::vector<std::string> found;
    for (const std::string bus : buses)
        for (const std::string& make : Key(deviceList + bus).children())
            for (const std::string& serial : Key(deviceList + bus + '\\' + make).children())
                found.push_back(bus + '\\' + make + '\\' + serial);
    return found;
}

/// The places in the list of devices that claim the port: with two, one is a device of former times.
std::vector<std::string> devicesAt(const std::string& port)
{
    std::vector<std::string> found = knownDevices();
    std::erase_if(found, [&port](const std::string& device) { return portOf(device) != port; });
    return found;
}

std::string comName(int number) { return "COM" + std::to_string(number); }

/// Of an adapter that nobody remembers; nothing if there is none left for the number.
std::optional<std::string> portAboveTheLast(int number)
{
    constexpr int firstForAdapters = 5;
    constexpr int highest = 256; // of the numbers that the system gives
    if (number < firstForAdapters || isThere(comName(number))) return std::nullopt;
    int nth = 0; // of the numbers that are not there
    for (int other = firstForAdapters; other < number; ++other) nth += isThere(comName(other)) ? 0 : 1;
    for (int above = lastSerialPort + 1; above <= highest; ++above)
        if (isThere(comName(above)) && nth-- == 0) return comName(above);
    return std::nullopt;
}

/// Where the serial number begins: behind the make, which FTDI's own driver sets in front of it with a plus:
/// "USB\VID_1A86&PID_7523\SERIAL", "FTDIBUS\VID_0403+PID_6001+SERIAL\0000".
std::size_t serialAt(const std::string& device)
{
    const std::size_t vendor = device.find('+');
    const std::size_t product = vendor == std::string::npos ? vendor : device.find('+', vendor + 1);
    return product == std::string::npos ? device.rfind('\\') : product;
}

std::string makeOf(const std::string& device) { return device.substr(0, serialAt(device)); }

/// Of an adapter without a serial number the system makes one up, another in every socket.
bool hasMadeUpSerial(const std::string& device) { return device.find('&', serialAt(device)) != std::string::npos; }

/// The port of the only adapter of that make that is there, where that one is not known by another number.
std::optional<std::string> portInAnotherSocket(const std::string& adapter, const RememberedAdapters& remembered)
{
    if (!hasMadeUpSerial(adapter)) return std::nullopt;
    std::vector<std::string> ports;
    for (const std::string& device : knownDevices()) {
        const auto isThis = [&device](const auto& known) { return known.second == device; };
        if (makeOf(device) != makeOf(adapter) || !hasMadeUpSerial(device) || std::ranges::any_of(remembered, isThis))
            continue;
        const std::string port = portOf(device);
        // A port that two devices claim may be there for the other.
        if (!port.empty() && isThere(port) && devicesAt(port).size() == 1) ports.push_back(port);
    }
    return ports.size() == 1 ? std::optional(ports.front()) : std::nullopt;
}

} // namespace

std::optional<std::filesystem::path> serialPort(int number, const SerialPortPlaces& /*places*/,
                                                const RememberedAdapters& remembered)
{
    if (number < firstSerialPort || number > lastSerialPort) return std::nullopt;
    if (const auto known = remembered.find(number); known != remembered.end()) {
        const std::string port = portOf(known->second);
        if (port.empty() || !isThere(port))
            if (const auto elsewhere = portInAnotherSocket(known->second, remembered)) return *elsewhere;
        if (!port.empty()) return port;
    }
    return portAboveTheLast(number).value_or(comName(number));
}

std::optional<std::string> stableName(const std::filesystem::path& device, const SerialPortPlaces& /*places*/)
{
    const std::vector<std::string> found = devicesAt(device.string());
    return found.size() == 1 ? std::optional(found.front()) : std::nullopt;
}

std::string titleOf(const std::filesystem::path& device)
{
    const std::vector<std::string> found = devicesAt(device.string());
    if (found.size() != 1) return device.string();
    const std::filesystem::path key = deviceList + found.front();
    wchar_t text[128] = {};
    DWORD bytes = sizeof text - sizeof(wchar_t);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"FriendlyName", RRF_RT_REG_SZ, nullptr, text, &bytes) !=
        ERROR_SUCCESS)
        return device.string();
    const auto title = std::filesystem::path(text).u8string();
    return {title.begin(), title.end()};
}

std::optional<std::string> rememberedName(const std::filesystem::path& device, const SerialPortPlaces& places)
{
    return stableName(device, places);
}

std::string stillRemembered(const std::string& adapter, const SerialPortPlaces& /*places*/) { return adapter; }

/// COM1 and COM2 by custom; an adapter may have any number.
bool isOnMainboard(const std::filesystem::path& device)
{
    const std::string port = device.string();
    return port == "COM1" || port == "COM2";
}

bool isThere(const std::filesystem::path& device)
{
    char target[256];
    // A name that leads to more than that is one all the same.
    return QueryDosDeviceA(device.string().c_str(), target, sizeof target) != 0 ||
           GetLastError() == ERROR_INSUFFICIENT_BUFFER;
}

bool isHungUp(OpenLine line)
{
    DCB settings{};
    settings.DCBlength = sizeof settings;
    return GetCommState(line, &settings) == 0;
}

std::filesystem::path realDevice(const std::filesystem::path& path) { return path; }

bool twoStopBitsLastOneAndAHalf() { return false; }

} // namespace platform
