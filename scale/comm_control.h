#pragma once

#include "base/error.h"
#include <QString>

namespace scale {

/// The serial control as its users see it: the scale's handler, the routine that opens the port, the settings dialog.
/// Every failure is a base::RuntimeError with one of the numbers below and a Turkish sentence for people.
class CommControl {
public:
    virtual ~CommControl() = default;

    virtual int commPort() const = 0;
    virtual void setCommPort(int number) = 0; ///< 1 to 16, else 8002; 8000 while the port is open

    /// Speed, parity letter, data bits and stop bits between commas; reported with a small parity letter.
    virtual QString settings() const = 0;
    virtual void setSettings(const QString& text) = 0; ///< 380 for a string of another shape; the old one stays

    virtual int handshaking() const = 0;
    virtual void setHandshaking(int mode) = 0; ///< 0 none, 1 XON/XOFF, 2 RTS/CTS, 3 both; else 380

    virtual bool portOpen() const = 0;
    /// Opening an open port is 8005; closing a closed one does nothing. Closing discards both buffers.
    virtual void setPortOpen(bool open) = 0;

    /// Everything that waits, which is thereby taken; 8018 on a closed port.
    virtual QString input() = 0;

    virtual int inBufferCount() const = 0;
    virtual int outBufferCount() const = 0;
    /// 0 discards what waits, any other number is 380; without effect on a closed port.
    virtual void setInBufferCount(int count) = 0;
    virtual void setOutBufferCount(int count) = 0;

    /// What the last event was about.
    virtual int commEvent() const = 0;
};

/// Event codes that somebody acts upon.
namespace events {
inline constexpr int received = 2;
inline constexpr int readError = 8020;
} // namespace events

/// Numbers of the control's errors; 380, 68 and 70 are shared with everybody else (base::errors).
namespace errors {
inline constexpr int notWhileOpen = 8000;
inline constexpr int invalidPortNumber = 8002;
inline constexpr int alreadyOpen = 8005;
inline constexpr int inUse = 8010;
inline constexpr int notOpen = 8012;
inline constexpr int parametersRefused = 8015;
inline constexpr int onlyWhileOpen = 8018;
inline constexpr int readFailed = 8020;
} // namespace errors

/// The error of that number with its sentence.
base::RuntimeError commError(int number);

/// Why that port is closed although it was to be open, by the number of the error that closed it: a few words for the
/// status line. Empty for an error that closes no port.
QString whyClosed(int port, int error);

/// Why an open port is silent although its device should be there, by the number of the error that keeps the device
/// from being opened; 0: its plug is out. A few words for the status line.
QString whySilent(int port, int error);

} // namespace scale
