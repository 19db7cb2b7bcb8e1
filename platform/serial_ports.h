#pragma once

#include <filesystem>
#include <optional>

namespace platform {

/// Port numbers that an operator can choose: Com1 to Com16.
inline constexpr int firstSerialPort = 1;
inline constexpr int lastSerialPort = 16;

/// Where serial devices are looked for; tests point it at folders of their own.
struct SerialPortPlaces {
    std::filesystem::path programDirectory;           ///< may hold links "com1" ... "com16"
    std::filesystem::path devices = "/dev";           ///< the device nodes
    std::filesystem::path classes = "/sys/class/tty"; ///< what the system knows about them
};

/// The device behind port number n; nothing if there is none.
///
/// A link "comN" in the program's directory decides, even while its device is unplugged: it is how a mill ties a number
/// to one certain adapter (/dev/serial/by-id/...). Otherwise Com n is the n-th port of the mainboard, if that port is
/// really fitted, and Com5 to Com16 are the USB adapters that are plugged in, in the order of their names.
/// On Windows Com n is COMn, fitted or not.
std::optional<std::filesystem::path> serialPort(int number, const SerialPortPlaces& places);

/// The device that a path stands for after all links, for showing to people.
std::filesystem::path realDevice(const std::filesystem::path& path);

/// How one and a half stop bits, which only lines of 5 data bits have, are asked for: a terminal line of such bytes is
/// told "two" and sends one and a half; elsewhere there is a word of its own for it.
bool twoStopBitsLastOneAndAHalf();

} // namespace platform
