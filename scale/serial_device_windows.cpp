#include "scale/serial_device.h"

#include "base/error.h"
#include "platform/overlapped_port.h"
#include "platform/serial_ports.h"
#include "scale/comm_control.h"
#include <QTimer>
#include <QWinEventNotifier>
#include <memory>
#include <utility>

namespace scale {

namespace {

platform::PortSettings settingsOf(const LineSettings& settings, FlowControl flow)
{
    using Stop = platform::PortSettings::Stop;
    return {.speed = settings.speed,
            .parity = settings.parity,
            .dataBits = settings.dataBits,
            .stop = settings.stopBits == StopBits::one   ? Stop::one
                    : settings.stopBits == StopBits::two ? Stop::two
                                                         : Stop::oneAndHalf,
            .software = flow == FlowControl::software || flow == FlowControl::both,
            .hardware = flow == FlowControl::hardware || flow == FlowControl::both};
}

int numberOf(platform::PortFault fault)
{
    switch (fault) {
    case platform::PortFault::absent:
        return errors::invalidPortNumber;
    case platform::PortFault::held:
        return errors::inUse;
    case platform::PortFault::refused:
        return errors::parametersRefused;
    case platform::PortFault::unavailable:
        break;
    }
    return base::errors::deviceUnavailable;
}

class OverlappedDevice final : public SerialDevice {
public:
    OverlappedDevice()
    {
        QObject::connect(&watch_, &QTimer::timeout, &watch_, [this] {
            if (platform::isHungUp(port_.line())) end(gone);
        });
    }

    void open(const QString& path, const LineSettings& settings, FlowControl flow) override
    {
        const std::string name = path.toStdString();
        if (!platform::isThere(name)) throw commError(errors::invalidPortNumber);
        if (const auto fault = port_.open(name, settingsOf(settings, flow))) throw commError(numberOf(*fault));
        name_ = name;
        settings_ = settings;
        flow_ = flow;
        notifier_ = std::make_unique<QWinEventNotifier>(port_.arrived());
        QObject::connect(notifier_.get(), &QWinEventNotifier::activated, notifier_.get(), [this] { hear(); });
        watch_.start(1000); // milliseconds
    }

    void apply(const LineSettings& settings, FlowControl flow) override
    {
        if (!port_.apply(settingsOf(settings, flow))) {
            port_.apply(settingsOf(settings_, flow_));
            throw commError(errors::parametersRefused);
        }
        settings_ = settings;
        flow_ = flow;
    }

    void close() override
    {
        watch_.stop();
        // It may be its own call that leads here.
        if (notifier_) {
            notifier_->setEnabled(false);
            notifier_->disconnect();
            notifier_.release()->deleteLater();
        }
        port_.close();
        waiting_.clear();
    }

    bool isOpen() const override { return port_.isOpen(); }
    QByteArray readAll() override { return std::exchange(waiting_, {}); }
    int bytesToWrite() const override { return port_.bytesToWrite(); }
    void discardOutput() override { port_.discardOutput(); }

private:
    void hear()
    {
        const QWinEventNotifier* const heardBy = notifier_.get();
        std::string bytes;
        const bool goesOn = port_.take(bytes);
        waiting_.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
        if (!bytes.empty() && arrived) arrived();
        if (goesOn || notifier_.get() != heardBy) return; // or closed by whoever read
        const bool isGone = platform::isHungUp(port_.line()) || !platform::isThere(name_);
        end(isGone ? gone : failed);
    }

    void end(const std::function<void()>& tell)
    {
        notifier_->setEnabled(false); // what it tells will not change any more
        watch_.stop();
        if (tell) tell();
    }

    platform::OverlappedPort port_;
    std::unique_ptr<QWinEventNotifier> notifier_;
    QTimer watch_; ///< whose plug is pulled, many a driver never ends the read that is under way
    std::string name_;
    LineSettings settings_; ///< of the open device, to go back to
    FlowControl flow_ = FlowControl::none;
    QByteArray waiting_; ///< heard and not read yet
};

} // namespace

std::unique_ptr<SerialDevice> systemSerialDevice() { return std::make_unique<OverlappedDevice>(); }

} // namespace scale
