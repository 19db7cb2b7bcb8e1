#pragma once

#include "scale/port_numbers.h"
#include "scale/serial_device.h"
#include <QObject>
#include <QSet>
#include <QTimer>
#include <functional>
#include <memory>

namespace scale {

/// The line behind a port number, which outlives its plug.
///
/// To whoever opened it an adapter is like the port inside a computer: while its plug is out the line stays open and
/// silent, and when the adapter is back, on whatever node, bytes come again. A port that was open once, or whose
/// adapter is remembered, can be opened while the plug is out.
///
/// Nothing is asked while the plug is in. While it is out, a few times a second is asked whether the device is back,
/// never more often, so an adapter that comes and goes cannot keep the processor busy. A device that was there when the
/// plug was pulled is another adapter's, and is left alone: also one that shares the adapter's name.
class SerialLine : public QObject {
public:
    SerialLine(PortFinder ports, std::unique_ptr<SerialDevice> device);
    ~SerialLine() override;

    std::function<void()> arrived; ///< bytes can be read
    std::function<void()> failed;  ///< reading broke down although the device is there; as of SerialDevice
    std::function<void()> pulled;  ///< the plug is out; from the event loop
    std::function<void()> back;    ///< the plug is in again; from the event loop
    std::function<void()> refused; ///< whyNotBack() is another; from the event loop
    std::function<void(int number, const QString& path)> opened; ///< a device was opened for this number

    /// As SerialDevice::open(), with the port's number; 8002 also where the number has no device.
    void open(int number, const LineSettings& settings, FlowControl flow);
    /// 8015 where the device refuses, or no device could do it. While the plug is out it is kept for later.
    void apply(const LineSettings& settings, FlowControl flow);
    void close();
    bool isOpen() const { return open_; }
    bool isPluggedIn() const { return device_->isOpen(); }
    /// While the plug is out: the error that keeps the device from being opened although it is back; 0 while it is
    /// away.
    int whyNotBack() const { return whyNotBack_; }

    QByteArray readAll() { return device_->readAll(); }
    int bytesToWrite() const { return device_->isOpen() ? device_->bytesToWrite() : 0; }
    void discardOutput();

private:
    void plugIn();
    void await();
    void plugPulled();
    void tryAgain();

    PortFinder ports_;
    std::unique_ptr<SerialDevice> device_;
    bool open_ = false;
    int number_ = 0;
    LineSettings settings_;
    FlowControl flow_ = FlowControl::none;
    QString path_;         ///< of the device that was opened last
    QSet<int> known_;      ///< numbers that have been open
    QSet<QString> others_; ///< nodes that were there when the plug was pulled, and still are
    QTimer retry_{this};
    int whyNotBack_ = 0;
    int session_ = 0; ///< one for each opening of a device: what was queued for an earlier one is void
};

} // namespace scale
