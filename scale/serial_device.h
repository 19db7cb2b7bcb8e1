#pragma once

#include "scale/line_settings.h"
#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>

namespace scale {

enum class FlowControl { none = 0, software = 1, hardware = 2, both = 3 };

/// The line behind the control: a real serial device, or in tests one that plays a scale or refuses.
/// Failures are thrown as the control's errors (comm_control.h). The callbacks may come from inside any call of the
/// event loop, failed() and gone() also repeatedly; they must not close the device there and then.
class SerialDevice {
public:
    virtual ~SerialDevice() = default;

    std::function<void()> arrived; ///< bytes can be read
    std::function<void()> failed;  ///< reading broke down although the device is there
    std::function<void()> gone;    ///< the device is there no more: its plug was pulled

    /// `path` may be a link. 8002 without such a device, 8010 if another program holds it, 70 without the right to use
    /// it, 68 if it does not answer, 8015 if it refuses the parameters. What had arrived before is discarded: it would
    /// be shown as the first weight.
    virtual void open(const QString& path, const LineSettings& settings, FlowControl flow) = 0;
    /// To the open device; 8015 if it refuses, and then it keeps what it had.
    virtual void apply(const LineSettings& settings, FlowControl flow) = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;

    virtual QByteArray readAll() = 0;
    virtual int bytesToWrite() const = 0;
    virtual void discardOutput() = 0;
};

/// A device of this machine.
std::unique_ptr<SerialDevice> systemSerialDevice();

} // namespace scale
