#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

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

/// Which adapter a port number stands for: the adapter's stable name, and behind a stroke its socket's where both are
/// known, "by-id/...|by-path/...".
using RememberedAdapters = std::map<int, std::string>;

/// The device behind port number n; nothing if there is none.
///
/// A link "comN" in the program's directory decides, even while its device is unplugged: it is how a mill ties a number
/// to one certain adapter (/dev/serial/by-id/...). Otherwise Com n is the n-th port of the mainboard, if that port is
/// really fitted; otherwise the adapter that is remembered for it, even while it is unplugged. The USB adapters that
/// nobody remembers are those of the numbers from Com5 on that are left, in the order of the adapters' names.
/// On Windows Com n is COMn, fitted or not, unless an adapter that is remembered has another number by now; the ports
/// above COM16, which adapters get there in time, are those of the numbers from Com5 on that are not there, in their
/// order.
std::optional<std::filesystem::path> serialPort(int number, const SerialPortPlaces& places,
                                                const RememberedAdapters& remembered = {});

/// The name by which an adapter is found again whatever node it gets: that of its link below devices/serial,
/// "by-id/..." as a rule. Adapters of one make without serial numbers share one such name: while two of them are
/// plugged in, it is the socket's, "by-path/...". On Windows the adapter's place in the system's list of devices, which
/// holds its serial number; one without such a number is looked for in every socket, by its make. Nothing for a device
/// without such a name, as the ports of the mainboard are.
std::optional<std::string> stableName(const std::filesystem::path& device, const SerialPortPlaces& places);

/// What is to be remembered of an adapter: its stable name, and its socket for the day when a second one of that name
/// is plugged in. Nothing for a device without a stable name.
std::optional<std::string> rememberedName(const std::filesystem::path& device, const SerialPortPlaces& places);

/// The same of an adapter that is remembered already: only its socket, where two adapters by now share a name.
std::string stillRemembered(const std::string& adapter, const SerialPortPlaces& places);

/// The device that a path stands for after all links, for showing to people.
std::filesystem::path realDevice(const std::filesystem::path& path);

/// What people know a device by, UTF-8: on Windows the name that its driver gives it, with the port's; elsewhere the
/// device that its path stands for after all links.
std::string titleOf(const std::filesystem::path& device);

/// The port is one of the mainboard's, not an adapter's; false where the system does not tell.
bool isOnMainboard(const std::filesystem::path& device);

/// Whether a device is there now; one that must not be looked at is.
bool isThere(const std::filesystem::path& device);

/// An open line as the system knows it.
#ifdef _WIN32
using OpenLine = void*;
#else
using OpenLine = int;
#endif

/// The system has given the open line up: its adapter is gone. A line whose adapter is there and whose reading fails is
/// not hung up.
bool isHungUp(OpenLine line);

/// How one and a half stop bits, which only lines of 5 data bits have, are asked for: a terminal line of such bytes is
/// told "two" and sends one and a half; elsewhere there is a word of its own for it.
bool twoStopBitsLastOneAndAHalf();

} // namespace platform
