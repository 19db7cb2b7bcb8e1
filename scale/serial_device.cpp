#include "scale/serial_device.h"

#include "base/path_text.h"
#include "platform/serial_ports.h"
#include "scale/comm_control.h"
#include "scale/port_numbers.h"
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QObject>
#include <QSerialPort>

#include <utility>

namespace scale {

namespace {

QSerialPort::Parity parityOf(char letter)
{
    static constexpr std::pair<char, QSerialPort::Parity> parities[] = {{'e', QSerialPort::EvenParity},
                                                                        {'o', QSerialPort::OddParity},
                                                                        {'m', QSerialPort::MarkParity},
                                                                        {'s', QSerialPort::SpaceParity}};
    for (const auto& [known, parity] : parities)
        if (known == letter) return parity;
    return QSerialPort::NoParity;
}

QSerialPort::StopBits stopBitsOf(StopBits stopBits)
{
    if (stopBits == StopBits::one) return QSerialPort::OneStop;
    if (stopBits == StopBits::two) return QSerialPort::TwoStop;
    // The library's own word is accepted everywhere, and ignored where the system has none for it.
    return platform::twoStopBitsLastOneAndAHalf() ? QSerialPort::TwoStop : QSerialPort::OneAndHalfStop;
}

QSerialPort::FlowControl flowOf(FlowControl flow)
{
    if (flow == FlowControl::none) return QSerialPort::NoFlowControl;
    // Of both the library has no combination; the wires decide.
    return flow == FlowControl::software ? QSerialPort::SoftwareControl : QSerialPort::HardwareControl;
}

class QtSerialDevice final : public SerialDevice {
public:
    QtSerialDevice()
    {
        QObject::connect(&port_, &QSerialPort::readyRead, &port_, [this] { tell(arrived); });
        QObject::connect(&port_, &QSerialPort::errorOccurred, &port_, [this](QSerialPort::SerialPortError error) {
            if (!configured_ || error == QSerialPort::NoError) return;
            tell(isGone() ? gone : failed);
        });
        // An unplugged adapter shows as a read that returns nothing, which not every version of the library reports.
        QObject::connect(&node_, &QFileSystemWatcher::fileChanged, &port_, [this](const QString& path) {
            if (configured_ && !isThere(path)) tell(gone);
        });
    }

    void open(const QString& path, const LineSettings& settings, FlowControl flow) override
    {
        const QString node = shownDevice(path);
        if (!isThere(node)) throw commError(errors::invalidPortNumber);
        port_.setPortName(node);
        port_.clearError();
        set(settings, flow);
        if (!port_.open(QIODevice::ReadWrite)) throw commError(numberOf(port_.error(), node));
        // Opening answers yes as soon as any one parameter took; asked again one by one, the line tells which did not.
        if (!set(settings, flow)) {
            port_.close();
            throw commError(errors::parametersRefused);
        }
        port_.clear();
        node_.addPath(node);
        settings_ = settings;
        flow_ = flow;
        configured_ = true;
    }

    void apply(const LineSettings& settings, FlowControl flow) override
    {
        configured_ = false; // a refused parameter is an error of this call, not of the line
        const bool accepted = set(settings, flow);
        if (!accepted) set(settings_, flow_);
        port_.clearError();
        configured_ = true;
        if (!accepted) throw commError(errors::parametersRefused);
        settings_ = settings;
        flow_ = flow;
    }

    void close() override
    {
        configured_ = false;
        if (!node_.files().isEmpty()) node_.removePaths(node_.files());
        if (port_.isOpen()) port_.close();
    }

    bool isOpen() const override { return port_.isOpen(); }
    QByteArray readAll() override { return port_.readAll(); }
    int bytesToWrite() const override { return static_cast<int>(port_.bytesToWrite()); }
    void discardOutput() override { port_.clear(QSerialPort::Output); }

private:
    static void tell(const std::function<void()>& callback)
    {
        if (callback) callback();
    }

    static bool isThere(const QString& node) { return platform::isThere(base::pathOf(node)); }
    bool isGone() const { return platform::isHungUp(port_.handle()) || !isThere(node_.files().value(0)); }

    bool set(const LineSettings& settings, FlowControl flow)
    {
        const bool speed = port_.setBaudRate(settings.speed);
        const bool parity = port_.setParity(parityOf(settings.parity));
        const bool dataBits = port_.setDataBits(static_cast<QSerialPort::DataBits>(settings.dataBits));
        const bool stopBits = port_.setStopBits(stopBitsOf(settings.stopBits));
        const bool flowControl = port_.setFlowControl(flowOf(flow));
        return speed && parity && dataBits && stopBits && flowControl;
    }

    static int numberOf(QSerialPort::SerialPortError error, const QString& path)
    {
        switch (error) {
        case QSerialPort::DeviceNotFoundError:
            return errors::invalidPortNumber;
        case QSerialPort::PermissionError: {
            const QFileInfo node(path);
            return node.isReadable() && node.isWritable() ? errors::inUse : base::errors::permissionDenied;
        }
        case QSerialPort::OpenError:
        case QSerialPort::ResourceError:
        case QSerialPort::NotOpenError:
            return base::errors::deviceUnavailable;
        default:
            return errors::parametersRefused;
        }
    }

    QSerialPort port_;
    QFileSystemWatcher node_;
    LineSettings settings_; ///< of the open device, to go back to
    FlowControl flow_ = FlowControl::none;
    bool configured_ = false; ///< open and set up: what the library reports from now on is the line's own trouble
};

} // namespace

std::unique_ptr<SerialDevice> systemSerialDevice() { return std::make_unique<QtSerialDevice>(); }

} // namespace scale
