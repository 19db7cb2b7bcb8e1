#include "scale/terazi_comm.h"

#include "base/code_page.h"
#include "base/patterns.h"
#include "platform/serial_ports.h"
#include "scale/formats/confirmation.h"
#include "scale/formats/recogniser.h"
#include "scale/weight_line.h"
#include <QScopeGuard>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace scale {

namespace {

constexpr auto pauseAfterLine = 5ms;
constexpr auto latestAfterLine = 50ms;
constexpr auto longestPauseInALine = 250ms;
constexpr auto adapterDelay = 50ms; ///< what a USB adapter and the system may hold bytes back for
constexpr auto unreadLife = 2s;

/// Nobody may be reading (no customer chosen yet): what waits is kept up to here, and the newest is dropped.
constexpr qsizetype receiveCapacity = 4096;

} // namespace

TeraziComm::TeraziComm(PortFinder ports, std::unique_ptr<SerialDevice> device, QObject* parent)
    : QObject(parent), line_(std::move(ports), std::move(device))
{
    for (QTimer* timer : {&quiet_, &lastCall_, &deadline_}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&quiet_, &QTimer::timeout, this, &TeraziComm::quietEnded);
    connect(&lastCall_, &QTimer::timeout, this, &TeraziComm::silenceEnded);
    connect(&deadline_, &QTimer::timeout, this, &TeraziComm::announceLines);
    line_.arrived = [this] { gather(); };
    line_.pulled = [this] { plugPulled(); };
    line_.back = [this] { plugBack(); };
    line_.refused = [this] { emit stateChanged(); };
    line_.opened = [this](int number, const QString& path) { emit deviceOpened(number, path); };
    line_.failed = [this] {
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
    line_.arrived = nullptr;
    line_.failed = nullptr;
    line_.close();
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
    if (portOpen()) line_.apply(*parsed, flow_);
    settings_ = *parsed;
}

void TeraziComm::setHandshaking(int mode)
{
    if (mode < static_cast<int>(FlowControl::none) || mode > static_cast<int>(FlowControl::both))
        throw commError(base::errors::invalidProperty);
    const auto flow = static_cast<FlowControl>(mode);
    if (portOpen()) line_.apply(settings_, flow);
    flow_ = flow;
}

void TeraziComm::setPortOpen(bool wanted)
{
    if (wanted && portOpen()) throw commError(errors::alreadyOpen);
    touched_ = true;
    const auto told = qScopeGuard([this] { emit stateChanged(); });
    trouble_ = 0;
    if (wanted)
        open();
    else
        close();
}

void TeraziComm::open()
{
    ++session_;
    failing_ = false;
    wholeLines_ = false;
    if (raising_ == 0) readErrorRaised_ = false;
    try {
        line_.open(commPort_, settings_, flow_);
    } catch (const base::RuntimeError& error) {
        close();
        trouble_ = error.number();
        throw;
    }
    if (isPluggedIn()) listenAfresh();
}

void TeraziComm::close()
{
    ++session_;
    line_.close();
    dropPending();
    forgetUnderstanding();
    received_.clear();
}

/// What comes now may be the tail of a line that is under way.
void TeraziComm::listenAfresh()
{
    lineFeedMayFollow_ = false;
    wholeLines_ = false;
    forgetUnderstanding();
    if (const LineFormat* const format = formatOf(choice_)) {
        if (!resting_.line || resting_.port != commPort_ || resting_.choice != choice_)
            resting_ = {commPort_, choice_,
                        std::make_unique<FormattedLine>(*format, choice_.stillOnly, regional_->decimal)};
        formatted_ = std::move(resting_.line);
        formatted_->beginAnew();
    }
    sinceBytes_.start();
    quiet_.start(silence());
}

void TeraziComm::forgetUnderstanding()
{
    if (formatted_) resting_.line = std::move(formatted_);
    overheard_.clear();
    sinceLook_.start();
    const QString told = std::exchange(hint_, {}) + std::exchange(toldWhy_, {});
    if (!told.isEmpty()) emit understandingChanged();
}

void TeraziComm::dropPending()
{
    quiet_.stop();
    lastCall_.stop();
    deadline_.stop();
    pending_.clear();
}

void TeraziComm::plugPulled()
{
    ++session_; // an error that was told on the way out is none
    failing_ = false;
    wholeLines_ = false;
    dropPending();
    forgetUnderstanding();
    emit stateChanged();
}

void TeraziComm::plugBack()
{
    listenAfresh();
    emit stateChanged();
}

std::chrono::milliseconds TeraziComm::silence() const
{
    const int bits = 1 + settings_.dataBits + (settings_.parity == 'n' ? 0 : 1) + 2;
    const std::chrono::milliseconds character((1000 * bits + settings_.speed - 1) / settings_.speed);
    return longestPauseInALine + 2 * character + adapterDelay;
}

void TeraziComm::readAs(const ReadingChoice& choice, const base::Regional& regional)
{
    choice_ = choice;
    regional_ = regional;
}

QString TeraziComm::input()
{
    if (!portOpen()) throw commError(errors::onlyWhileOpen);
    forgetOldBursts();
    const std::deque<Burst> bursts = std::exchange(received_, {});
    QByteArray bytes;
    for (const Burst& burst : bursts) bytes += burst.bytes;
    const qsizetype end = bytes.indexOf('\r');
    lastLineIsWhole_ = end >= 0;
    lastLine_ = end < 0 ? bytes : bytes.first(end + 1);
    if (!bursts.empty() && !bursts.front().frame.isEmpty()) lastLine_ = bursts.front().frame;
    return base::fromCodePage(bytes);
}

int TeraziComm::inBufferCount() const
{
    qsizetype count = 0;
    for (const Burst& burst : received_)
        if (!burst.forgotten.hasExpired()) count += burst.bytes.size();
    return static_cast<int>(count);
}

int TeraziComm::outBufferCount() const { return line_.bytesToWrite(); }

void TeraziComm::setInBufferCount(int count)
{
    if (count != 0) throw commError(base::errors::invalidProperty);
    received_.clear();
}

void TeraziComm::setOutBufferCount(int count)
{
    if (count != 0) throw commError(base::errors::invalidProperty);
    line_.discardOutput();
}

void TeraziComm::gather()
{
    QByteArray bytes = line_.readAll();
    if (bytes.isEmpty()) return;
    readErrorRaised_ = false;
    lastCall_.stop();
    if (formatted_) return gatherFrames(bytes);
    lookForAFormat(bytes);
    if (!wholeLines_) passTail(bytes);
    if (bytes.isEmpty()) return;
    if (std::exchange(lineFeedMayFollow_, false) && pending_.isEmpty() && bytes.startsWith('\n')) bytes.remove(0, 1);
    if (bytes.isEmpty()) return;
    pending_ += bytes;

    if (pending_.contains('\r')) {
        quiet_.start(pauseAfterLine);
        if (!deadline_.isActive()) deadline_.start(latestAfterLine);
    } else if (pending_.size() >= receiveCapacity) {
        announceAll();
    } else {
        quiet_.start(silence());
    }
}

void TeraziComm::gatherFrames(const QByteArray& bytes)
{
    wholeLines_ = true;
    sinceBytes_.start();
    holdWeight(formatted_->read(bytes));
    quiet_.start(silence());
}

/// Not announced from here: the library is in the middle of reading.
void TeraziComm::holdWeight(const QByteArray& line)
{
    if (!line.isEmpty()) {
        pending_ = line; // the one before was not even announced, and is an old weight by now
        deadline_.start(0ms);
    }
    tellUnderstanding();
}

void TeraziComm::announceWeight()
{
    const QByteArray line = std::exchange(pending_, {});
    if (line.isEmpty()) return;
    handOut(line, formatted_->frame());
    // Whoever listens may have closed the port.
    if (formatted_ && !received_.empty()) formatted_->notTaken();
}

void TeraziComm::lookForAFormat(const QByteArray& bytes)
{
    constexpr qsizetype enough = 1024; // five frames of the longest format, several times over
    constexpr qint64 betweenLooks = 2000;
    if (!regional_) return;
    overheard_ = (overheard_ + bytes).right(enough);
    if (sinceLook_.elapsed() < betweenLooks) return;
    sinceLook_.start();
    const auto shown = [this](std::string_view burst) {
        const QByteArray part(burst.data(), static_cast<qsizetype>(burst.size()));
        return base::formatNumber(weightField(base::fromCodePage(part)), u"#,##0", *regional_).toStdString();
    };
    const LineFormat* const format = shownWronglyAsItIs(
        {overheard_.constData(), static_cast<std::size_t>(overheard_.size())}, regional_->decimal.toLatin1(), shown);
    const QString hint = format ? titleOf(*format) : QString();
    if (std::exchange(hint_, hint) != hint) emit understandingChanged();
}

void TeraziComm::tellUnderstanding()
{
    if (std::exchange(toldWhy_, why()) != why()) emit understandingChanged();
}

/// Takes out of `bytes` what may belong to a line that was under way when the port was opened.
void TeraziComm::passTail(QByteArray& bytes)
{
    const qsizetype end = bytes.indexOf('\r');
    if (end < 0) {
        quiet_.start(silence());
        return bytes.clear();
    }
    quiet_.stop();
    wholeLines_ = true;
    lineFeedMayFollow_ = true;
    bytes.remove(0, end + 1);
}

void TeraziComm::quietEnded()
{
    if (!formatted_ && pending_.contains('\r'))
        announceLines();
    else
        lastCall_.start(0ms);
}

void TeraziComm::silenceEnded()
{
    wholeLines_ = true;
    if (formatted_) return formatSilenceEnded();
    if (!pending_.isEmpty()) announceAll();
}

/// A line in a format falls silent in three steps: half a line is given up, a print is over, and long silence.
void TeraziComm::formatSilenceEnded()
{
    const std::chrono::milliseconds length(sinceBytes_.elapsed());
    holdWeight(formatted_->silence(length));
    for (const std::chrono::milliseconds next : {Confirmation::afterAPrint, Confirmation::betweenPrints})
        if (length < next) return quiet_.start(next - length);
}

void TeraziComm::forgetOldBursts()
{
    while (!received_.empty() && received_.front().forgotten.hasExpired()) received_.pop_front();
}

void TeraziComm::announceLines()
{
    if (formatted_) return announceWeight();
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
    const QByteArray bytes = pending_.first(count);
    pending_.remove(0, count);
    if (!pending_.isEmpty()) quiet_.start(silence());
    handOut(bytes, {});
}

void TeraziComm::handOut(const QByteArray& bytes, const QByteArray& frame)
{
    forgetOldBursts();
    // Of weights in a format the newest counts: the load that nobody read is no longer on the scale.
    if (formatted_) received_.clear();
    // A half line that nobody read is not the beginning of this one.
    if (!received_.empty() && !received_.back().bytes.contains('\r')) received_.pop_back();
    // A burst that does not fit is dropped whole: cut short, it would be a wrong weight.
    if (inBufferCount() + bytes.size() <= receiveCapacity)
        received_.push_back({bytes, frame, QDeadlineTimer(unreadLife)});
    raise(events::received);
}

void TeraziComm::lineFailed()
{
    close();
    trouble_ = errors::readFailed;
    emit stateChanged();
    if (std::exchange(readErrorRaised_, true)) return;
    touched_ = false;
    raise(events::readError);
    if (!touched_) openAgainUnseen();
}

void TeraziComm::openAgainUnseen()
{
    ++raising_; // still this read error: the next one, before a byte, is the last
    try {
        open();
        trouble_ = 0;
    } catch (const base::RuntimeError&) {
        // The adapter is still gone; trouble() says so.
    }
    --raising_;
    emit stateChanged();
}

void TeraziComm::raise(int event)
{
    commEvent_ = event;
    ++raising_;
    emit OnComm();
    --raising_;
}

} // namespace scale
