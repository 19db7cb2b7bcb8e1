#include "scale/line_listener.h"

#include "base/pass_over.h"
#include "scale/formats/recogniser.h"
#include "scale/weight_line.h"
#include <QStringList>
#include <array>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace scale {

namespace {

constexpr qsizetype keptBytes = 1024; // five frames of the longest format, several times over
constexpr auto betweenTellings = 100ms;

/// A device that lets somebody else see what arrives.
class TappedDevice : public SerialDevice {
public:
    TappedDevice(std::unique_ptr<SerialDevice> device, std::function<void(const QByteArray&)> tap)
        : device_(std::move(device)), tap_(std::move(tap))
    {
        const auto pass = [](const std::function<void()>& to) {
            if (to) to();
        };
        device_->arrived = [this, pass] { pass(arrived); };
        device_->failed = [this, pass] { pass(failed); };
        device_->gone = [this, pass] { pass(gone); };
    }

    void open(const QString& path, const LineSettings& settings, FlowControl flow) override
    {
        device_->open(path, settings, flow);
    }
    void apply(const LineSettings& settings, FlowControl flow) override { device_->apply(settings, flow); }
    void close() override { device_->close(); }
    bool isOpen() const override { return device_->isOpen(); }
    QByteArray readAll() override
    {
        QByteArray bytes = device_->readAll();
        tap_(bytes);
        return bytes;
    }
    int bytesToWrite() const override { return device_->bytesToWrite(); }
    void discardOutput() override { device_->discardOutput(); }

private:
    std::unique_ptr<SerialDevice> device_;
    std::function<void(const QByteArray&)> tap_;
};

/// Shows whatever it is given.
class Nobody : public ScaleStation {
public:
    explicit Nobody(QString& shown) : shown_(shown) {}
    QString customer() const override { return u"-"_s; }
    QString weight() const override { return shown_; }
    void setWeight(const QString& caption) override { shown_ = caption; }
    bool isEnabled() const override { return true; }

private:
    QString& shown_;
};

} // namespace

QString titlesOf(const std::vector<const LineFormat*>& formats)
{
    QStringList titles;
    for (const LineFormat* format : formats) titles += titleOf(*format);
    return titles.join(u" / "_s);
}

QString shownKilograms(const Decimal& weight, const base::Regional& regional)
{
    return QString::fromStdString(toText(weight)).replace(u'.', regional.decimal);
}

LineListener::LineListener(PortFinder ports, DeviceMaker devices, base::Regional regional)
    : ports_(std::move(ports)), devices_(std::move(devices)), regional_(std::move(regional))
{
    telling_.setSingleShot(true);
    telling_.setInterval(betweenTellings);
    connect(&telling_, &QTimer::timeout, this, [this] {
        recogniseNow();
        emit changed();
    });
}

LineListener::~LineListener() = default;

void LineListener::listen(const LineTrial& trial)
{
    stop();
    port_ = trial.port;
    control_ = std::make_unique<TeraziComm>(
        ports_, std::make_unique<TappedDevice>(devices_(), [this](const QByteArray& bytes) { hear(bytes); }));
    connect(control_.get(), &TeraziComm::OnComm, this, &LineListener::readEvent);
    connect(control_.get(), &TeraziComm::stateChanged, this, &LineListener::tellSoon);
    connect(control_.get(), &TeraziComm::understandingChanged, this, &LineListener::tellSoon);
    base::passOver([&] {
        control_->setCommPort(trial.port);
        control_->setSettings(trial.settings.text());
        control_->setHandshaking(static_cast<int>(trial.flow));
        control_->readAs(trial.reading, regional_);
        control_->setPortOpen(true);
    });
    tellSoon();
}

void LineListener::stop()
{
    telling_.stop();
    control_.reset();
    bytes_.clear();
    shown_.clear();
    recognised_.clear();
}

QString LineListener::trouble() const
{
    if (!control_) return {};
    if (!control_->portOpen()) return whyClosed(port_, control_->trouble());
    if (!control_->isPluggedIn()) return whySilent(port_, control_->whyNotBack());
    return control_->why();
}

void LineListener::hear(const QByteArray& bytes)
{
    bytes_ = (bytes_ + bytes).right(keptBytes);
    looked_ = false;
    tellSoon();
}

void LineListener::readEvent()
{
    Nobody nobody(shown_);
    base::passOver([&] { onScaleEvent(*control_, nobody, regional_, [] {}); });
    tellSoon();
}

void LineListener::tellSoon()
{
    if (!telling_.isActive()) telling_.start();
}

void LineListener::recogniseNow()
{
    if (std::exchange(looked_, true) || bytes_.isEmpty()) return;
    const Recognised found = recognise({bytes_.constData(), static_cast<std::size_t>(bytes_.size())});
    if (found.candidates.empty()) {
        recognised_ = u"tanınan bir biçim değil"_s;
        return;
    }
    recognised_ = found.format ? titleOf(*found.format) : u"birden çok biçime uyuyor: "_s + titlesOf(found.candidates);
    if (!found.readings.empty())
        recognised_ += u": %1 kg"_s.arg(shownKilograms(found.readings.back().kilograms, regional_));
}

QString readable(const QByteArray& bytes)
{
    static constexpr std::array names = {"NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS",  "TAB", "LF",
                                         "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
                                         "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    QString text;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < names.size())
            text += u"<%1>"_s.arg(QLatin1StringView(names[code]));
        else if (code < 0x7F)
            text += QLatin1Char(byte);
        else
            text += u"<%1>"_s.arg(int(code), 2, 16, QChar(u'0')).toUpper();
    }
    return text;
}

} // namespace scale
