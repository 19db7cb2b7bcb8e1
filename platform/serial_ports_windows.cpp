#include "platform/serial_ports.h"

#include <string>

namespace platform {

std::optional<std::filesystem::path> serialPort(int number, const SerialPortPlaces& /*places*/)
{
    if (number < firstSerialPort || number > lastSerialPort) return std::nullopt;
    return std::filesystem::path("COM" + std::to_string(number));
}

std::filesystem::path realDevice(const std::filesystem::path& path) { return path; }

bool twoStopBitsLastOneAndAHalf() { return false; }

} // namespace platform
