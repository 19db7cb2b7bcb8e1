#include "scale/terazi_comm.h"

#include "base/code_page.h"
#include "platform/serial_ports.h"
#include <QFile>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace scale {

namespace {

constexpr auto pauseAfterLine = 5ms;
constexpr auto latestAfterLine = 50ms;
constexpr auto silence = 100ms;

/// Nobody may be reading (no customer chosen yet): what waits is kept up to here, and the newest is dropped.
constexpr qsizetype receiveCapacity = 4096;

} // namespace

PortFinder systemPorts(const QString& programDirectory)
{
    platform::SerialPortPlaces places;
    places.programDirectory = QFile::encodeName(programDirectory).toStdString();
    return [places](int number) -> std::optional<QString> {
        const auto path = platform::serialPort(number, places);
        if (!path) return std::nullopt;
        return QFile::decodeName(QByteArray::fromStdString(platform::realDevice(*path).string()));
    };
}

TeraziComm::TeraziComm(PortFinder ports, std::unique_ptr<SerialDevice> device, QObject* parent)
    : QObject(parent), ports_(std::move(ports)), device_(std::move(device))
{
    for (QTimer* timer : {&quiet_, &deadline_}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&quiet_, &QTimer::timeout, this, [this] {
        if (pending_.contains('\r'))
            announceLines();
        else
            announceAll();
    });
    connect(&deadline_, &QTimer::timeout, this, &TeraziComm::announceLines);
    device_->arrived = [this] { gather(); };
    device_->failed = [this] {
        if (failing_) return;
        failing_ = true;
        // Not here: the library is in the middle of reading, and a close would come back as the next error.
        QMetaObject::invokeMethod(
            this,
            [this, session = session_] {
                if (session == session_) lineFailed();
            },
            Qt::QueuedConnection);
    };
}

TeraziComm::~TeraziComm()
{
    device_->arrived = nullptr;
    device_->failed = nullptr;
    device_->close();
}

void TeraziComm::setCommPort(int number)
{
    if (portOpen()) throw commError(errors::notWhileOpen);
    if (number < platform::firstSerialPort || number > platform::lastSerialPort)
        throw commError(errors::invalidPortNumber);
    commPort_ = number;
}

void TeraziComm::setSettings(const QString& text)
{
    const auto parsed = parseLineSettings(text);
    if (!parsed) throw commError(base::errors::invalidProperty);
    if (portOpen()) {
        if (!isFeasible(*parsed)) throw commError(errors::parametersRefused);
        device_->apply(*parsed, flow_);
    }
    settings_ = *parsed;
}

void TeraziComm::setHandshaking(int mode)
{
    if (mode < static_cast<int>(FlowControl::none) || mode > static_cast<int>(FlowControl::both))
        throw commError(base::errors::invalidProperty);
    const auto flow = static_cast<FlowControl>(mode);
    if (portOpen()) device_->apply(settings_, flow);
    flow_ = flow;
}

void TeraziComm::setPortOpen(bool wanted)
{
    if (wanted && portOpen()) throw commError(errors::alreadyOpen);
    trouble_.clear();
    if (wanted)
        open();
    else
        close();
}

void TeraziComm::open()
{
    ++session_;
    failing_ = false;
    lineFeedMayFollow_ = false;
    if (raising_ == 0) readErrorRaised_ = false;
    try {
        const auto path = ports_(commPort_);
        if (!path) throw commError(errors::invalidPortNumber);
        if (!isFeasible(settings_)) throw commError(errors::parametersRefused);
        device_->open(*path, settings_, flow_);
    } catch (const base::RuntimeError& error) {
        close();
        trouble_ = error.text();
        throw;
    }
}

void TeraziComm::close()
{
    ++session_;
    quiet_.stop();
    deadline_.stop();
    device_->close();
    pending_.clear();
    received_.clear();
}

QString TeraziComm::input()
{
    if (!portOpen()) throw commError(errors::onlyWhileOpen);
    return base::fromCodePage(std::exchange(received_, {}));
}

int TeraziComm::outBufferCount() const { return portOpen() ? device_->bytesToWrite() : 0; }

void TeraziComm::setInBufferCount(int count)
{
    if (count != 0) throw commError(base::errors::invalidProperty);
    received_.clear();
}

void TeraziComm::setOutBufferCount(int count)
{
    if (count != 0) throw commError(base::errors::invalidProperty);
    if (portOpen()) device_->discardOutput();
}

void TeraziComm::gather()
{
    QByteArray bytes = device_->readAll();
    if (bytes.isEmpty()) return;
    readErrorRaised_ = false;
    if (std::exchange(lineFeedMayFollow_, false) && pending_.isEmpty() && bytes.startsWith('\n')) bytes.remove(0, 1);
    if (bytes.isEmpty()) return;
    pending_ += bytes;

    if (pending_.contains('\r')) {
        quiet_.start(pauseAfterLine);
        if (!deadline_.isActive()) deadline_.start(latestAfterLine);
    } else if (pending_.size() >= receiveCapacity) {
        announceAll();
    } else {
        quiet_.start(silence);
    }
}

void TeraziComm::announceLines()
{
    qsizetype end = pending_.lastIndexOf('\r') + 1;
    if (end < pending_.size() && pending_[end] == '\n') ++end;
    lineFeedMayFollow_ = end == pending_.size() && pending_.endsWith('\r');
    announce(end);
}

void TeraziComm::announceAll()
{
    lineFeedMayFollow_ = false;
    announce(pending_.size());
}

void TeraziComm::announce(qsizetype count)
{
    quiet_.stop();
    deadline_.stop();
    received_ += pending_.first(count);
    received_.truncate(receiveCapacity);
    pending_.remove(0, count);
    if (!pending_.isEmpty()) quiet_.start(silence);
    raise(events::received);
}

void TeraziComm::lineFailed()
{
    close();
    trouble_ = commError(errors::readFailed).text();
    if (std::exchange(readErrorRaised_, true)) return;
    raise(events::readError);
}

void TeraziComm::raise(int event)
{
    commEvent_ = event;
    ++raising_;
    emit OnComm();
    --raising_;
}

} // namespace scale
