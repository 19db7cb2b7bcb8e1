#pragma once

#include "scale/comm_control.h"
#include "scale/serial_device.h"

#include <QStringList>
#include <utility>

/// A line without hardware: bytes arrive when a test says so, and it breaks or refuses on command.
class FakePort : public scale::SerialDevice {
public:
    void open(const QString& path, const scale::LineSettings& settings, scale::FlowControl flow) override
    {
        ++tries;
        if (isOut) throw scale::commError(scale::errors::invalidPortNumber);
        apply(settings, flow);
        opened += path;
        open_ = true;
        if (breaksAtOnce) failed();
    }
    void apply(const scale::LineSettings& settings, scale::FlowControl flow) override
    {
        if (refusal != 0) throw scale::commError(refusal);
        used = settings;
        usedFlow = flow;
    }
    void close() override { open_ = false; }
    bool isOpen() const override { return open_; }
    QByteArray readAll() override { return std::exchange(waiting_, {}); }
    int bytesToWrite() const override { return toWrite; }
    void discardOutput() override { toWrite = 0; }

    void pullPlug()
    {
        isOut = true;
        gone();
    }
    void deliver(const QByteArray& bytes)
    {
        waiting_ += bytes;
        arrived();
    }

    int refusal = 0;           ///< the error that opening and applying raise; 0: none
    bool breaksAtOnce = false; ///< as soon as it is open
    bool isOut = false;        ///< the plug
    int toWrite = 0;           ///< bytes

    QStringList opened; ///< the paths
    int tries = 0;      ///< to open it
    scale::LineSettings used;
    scale::FlowControl usedFlow = scale::FlowControl::none;

private:
    QByteArray waiting_;
    bool open_ = false;
};
