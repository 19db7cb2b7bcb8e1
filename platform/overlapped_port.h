#pragma once

#include "platform/serial_ports.h"
#include <memory>
#include <optional>
#include <string>

namespace platform {

/// How a line is set.
struct PortSettings {
    int speed = 9600;  ///< baud
    char parity = 'n'; ///< n none, e even, o odd, m mark, s space
    int dataBits = 8;
    enum class Stop { one, oneAndHalf, two } stop = Stop::one;
    bool software = false; ///< XON/XOFF
    bool hardware = false; ///< RTS/CTS
};

/// Why a port cannot be used.
enum class PortFault {
    absent,      ///< there is no such port
    held,        ///< another program has it
    unavailable, ///< it does not answer
    refused,     ///< it does not take these settings
};

/// A serial port of Windows that is read: one read is always under way, so nobody has to ask whether something came.
/// No call waits for ever, whatever a driver does. Only there.
class OverlappedPort {
public:
    OverlappedPort();
    ~OverlappedPort();
    OverlappedPort(const OverlappedPort&) = delete;
    OverlappedPort& operator=(const OverlappedPort&) = delete;

    /// `name` as "COM5". What had arrived before is discarded. Nothing if it is open now.
    std::optional<PortFault> open(const std::string& name, const PortSettings& settings);
    bool apply(const PortSettings& settings); ///< false: refused, and the line is as it was
    void close();
    bool isOpen() const;
    OpenLine line() const;

    /// An event of the system, set when take() has something to give, or an end to tell; the same while it is open.
    void* arrived() const;
    /// Appends what has come, which may be nothing, and reads on. False when reading broke down; then it stays so.
    bool take(std::string& bytes);

    int bytesToWrite() const;
    void discardOutput();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace platform
