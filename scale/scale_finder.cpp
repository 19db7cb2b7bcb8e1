#include "scale/scale_finder.h"

#include "base/code_page.h"
#include "base/numbers.h"
#include "base/path_text.h"
#include "platform/serial_ports.h"
#include "scale/comm_control.h"
#include "scale/formats/recogniser.h"
#include "scale/weight_line.h"
#include <QSet>
#include <algorithm>
#include <array>
#include <bit>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace scale {

namespace {

/// Those that indicators leave the factory with come first.
constexpr std::array usualSpeeds = {9600, 4800, 2400, 19200, 1200, 38400, 57600, 115200};
constexpr qsizetype enough = 1024; ///< bytes of a stream that is no scale's: more would not change that
constexpr auto betweenLooks = 200ms;
constexpr qsizetype fewestLines = 3; ///< of the counter's own shape, to be sure of them

std::string_view view(const QByteArray& bytes) { return {bytes.constData(), static_cast<std::size_t>(bytes.size())}; }

bool isOdd(char byte) { return std::popcount(static_cast<unsigned char>(byte)) % 2 != 0; }
bool hasEighthBit(char byte) { return (static_cast<unsigned char>(byte) & 0x80) != 0; }

QByteArray sevenBits(QByteArray bytes)
{
    for (char& byte : bytes) byte = static_cast<char>(byte & 0x7F);
    return bytes;
}

/// The frame of 7 bits that bytes with an eighth bit were sent in; nothing where that bit follows no rule.
std::optional<LineSettings> frameOfSevenBits(const QByteArray& bytes)
{
    LineSettings settings{9600, 'n', 7, StopBits::one};
    if (std::ranges::none_of(bytes, hasEighthBit)) return std::nullopt;
    if (std::ranges::none_of(bytes, isOdd))
        settings.parity = 'e';
    else if (std::ranges::all_of(bytes, isOdd))
        settings.parity = 'o';
    else if (std::ranges::all_of(bytes, hasEighthBit))
        settings.stopBits = StopBits::two; // the first of them stands where the eighth bit would
    else
        return std::nullopt;
    return settings;
}

/// At least `fewestLines` lines of the counter's own shape, each a number: the last of them. Nothing if one has a group
/// mark: the counter would read 12.5 as 125.
std::optional<QString> plainWeight(const QByteArray& bytes, const base::Regional& regional)
{
    QList<QByteArray> lines = bytes.split('\r');
    lines.removeLast();                        // not ended yet
    if (!lines.isEmpty()) lines.removeFirst(); // perhaps the tail of one
    if (lines.size() < fewestLines) return std::nullopt;
    QString number;
    for (const QByteArray& line : lines) {
        number = weightField(base::fromCodePage(line + '\r'));
        if (!base::isNumeric(number, regional) || number.contains(regional.group)) return std::nullopt;
    }
    return number.trimmed();
}

} // namespace

ScaleFinder::ScaleFinder(PortFinder ports, DeviceMaker devices, base::Regional regional, FinderPatience patience)
    : ports_(std::move(ports)), devices_(std::move(devices)), regional_(std::move(regional)), patience_(patience)
{
    patienceEnds_.setSingleShot(true);
    look_.setSingleShot(true);
    look_.setInterval(betweenLooks);
    connect(&patienceEnds_, &QTimer::timeout, this, &ScaleFinder::timeIsUp);
    connect(&look_, &QTimer::timeout, this, [this] { recogniseBytes(false); });
}

ScaleFinder::~ScaleFinder() { leave(); }

void ScaleFinder::start()
{
    stop();
    left_ = portsThatAreThere();
    portCount_ = std::max(1, static_cast<int>(left_.size()));
    const auto last = std::ranges::find(left_, lastFound_, &Port::number);
    if (last != left_.end()) std::rotate(left_.begin(), last + 1, left_.end());
    searching_ = true;
    anyBytes_ = false;
    anyPort_ = false;
    nextPort();
}

/// Adapters first: a scale hangs on one as a rule, and most ports of a mainboard on nothing.
std::vector<ScaleFinder::Port> ScaleFinder::portsThatAreThere() const
{
    std::vector<Port> ports;
    QSet<QString> devices;
    for (int number = platform::firstSerialPort; number <= platform::lastSerialPort; ++number) {
        const auto found = ports_(number);
        if (!found || !platform::isThere(base::pathOf(found->path))) continue;
        const QString device = shownDevice(found->path); // one device may have two numbers
        if (devices.contains(device)) continue;
        devices.insert(device);
        ports.push_back({number, platform::isOnMainboard(base::pathOf(found->path))});
    }
    std::ranges::stable_partition(ports, [](const Port& port) { return !port.onMainboard; });
    return ports;
}

void ScaleFinder::stop()
{
    leave();
    searching_ = false;
    left_.clear();
    attempts_.clear();
    hurried_.clear();
}

void ScaleFinder::nextPort()
{
    if (left_.empty()) {
        searching_ = false;
        emit notFound(!anyPort_    ? u"Açılabilen bir port yok: çeviriciyi takın, başka programı kapatın."_s
                      : !anyBytes_ ? u"Hiçbir porttan bayt gelmedi: kabloyu, terazinin sürekli göndermeye ayarlı "
                                     "olduğunu denetleyin."_s
                                   : u"Bayt geldi, ama tanınan bir terazi değil."_s);
        return;
    }
    port_ = left_.front().number;
    left_.erase(left_.begin());
    bytesOnThisPort_ = false;
    hurried_.clear();
    attempts_.clear();
    for (const int speed : usualSpeeds) attempts_.push_back({speed, 'n'});
    nextAttempt();
}

void ScaleFinder::nextAttempt()
{
    leave();
    if (attempts_.empty()) return nextPort();
    attempt_ = attempts_.front();
    attempts_.erase(attempts_.begin());
    listen();
}

void ScaleFinder::listen()
{
    const LineSettings settings{attempt_.speed, attempt_.parity, 8, StopBits::one};
    emit progress(u"Com%1, %2 dinleniyor…"_s.arg(port_).arg(settings.text()));
    device_ = devices_();
    device_->arrived = [this] { hear(); };
    device_->failed = [this] { patienceEnds_.start(0ms); };
    device_->gone = device_->failed;
    try {
        const auto found = ports_(port_);
        if (!found) throw commError(errors::invalidPortNumber);
        device_->open(found->path, settings, FlowControl::none);
        anyPort_ = true;
    } catch (const base::RuntimeError& error) {
        // A line that refuses a speed or a frame may take the next; one that does not open will not.
        if (error.number() != errors::parametersRefused) attempts_.clear();
        patienceEnds_.start(0ms);
        return;
    }
    patienceEnds_.start(patienceWithSilence());
}

std::chrono::milliseconds ScaleFinder::patienceWithSilence() const
{
    if (!bytesOnThisPort_) return std::max(patience_.shortest, patience_.silent / portCount_);
    // With parity it is known that bytes come.
    return attempt_.parity == 'n' ? patience_.silent : patience_.silent / 2;
}

void ScaleFinder::hear()
{
    bytes_ += device_->readAll();
    if (bytes_.isEmpty()) return;
    anyBytes_ = true;
    if (!std::exchange(bytesOnThisPort_, true)) {
        patienceEnds_.start(patienceWithSilence());
        attempts_.insert(attempts_.end(), hurried_.begin(), hurried_.end());
    }
    if (!look_.isActive()) look_.start();
}

void ScaleFinder::timeIsUp()
{
    if (recogniseBytes(true)) return;
    if (!bytesOnThisPort_) hurried_.push_back(attempt_);
    // Where bytes come that nobody understands, the frame may be another.
    if (!bytes_.isEmpty() && attempt_.parity == 'n')
        for (const char parity : {'e', 'o'}) attempts_.push_back({attempt_.speed, parity});
    nextAttempt();
}

/// True when a scale was recognised, and given.
bool ScaleFinder::recogniseBytes(bool atEnd)
{
    if (bytes_.isEmpty()) return false;
    FoundScale scale;
    scale.settings = {attempt_.speed, attempt_.parity, 8, StopBits::one};
    Recognised heard = recognise(view(bytes_));
    if (heard.candidates.empty())
        if (const auto seven = frameOfSevenBits(bytes_)) {
            const QByteArray bytes = sevenBits(bytes_);
            heard = recognise(view(bytes));
            scale.settings = *seven;
            scale.settings.speed = attempt_.speed;
        }
    const auto plain = heard.candidates.empty() ? plainWeight(bytes_, regional_) : std::nullopt;
    if (heard.isSure || plain || (atEnd && !heard.candidates.empty())) {
        scale.format = heard.format;
        if (!heard.format) scale.candidates = heard.candidates;
        scale.sure = heard.isSure || plain;
        scale.weight = plain.value_or(QString());
        if (!heard.readings.empty()) scale.weight = shownKilograms(heard.readings.back().kilograms, regional_);
        give(scale);
        return true;
    }
    if (atEnd) return false;
    if (!heard.candidates.empty()) {
        if (!std::exchange(promising_, true)) patienceEnds_.start(patience_.promising);
    } else if (bytes_.size() >= enough) {
        patienceEnds_.start(0ms);
    }
    return false;
}

void ScaleFinder::give(FoundScale scale)
{
    scale.port = port_;
    lastFound_ = port_;
    stop();
    emit found(scale);
}

void ScaleFinder::leave()
{
    patienceEnds_.stop();
    look_.stop();
    if (device_) {
        device_->arrived = nullptr;
        device_->failed = nullptr;
        device_->gone = nullptr;
        device_.reset();
    }
    bytes_.clear();
    promising_ = false;
}

} // namespace scale
