#include "scale/serial_line.h"

#include "base/path_text.h"
#include "scale/comm_control.h"
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace scale {

namespace {

/// Short beside the moment that a hand needs for a plug, long beside the work of looking for the device.
constexpr auto betweenTries = 400ms;

bool isThere(const QString& path) { return platform::isThere(base::pathOf(path)); }

void tell(const std::function<void()>& callback)
{
    if (callback) callback();
}

} // namespace

SerialLine::SerialLine(PortFinder ports, std::unique_ptr<SerialDevice> device)
    : ports_(std::move(ports)), device_(std::move(device))
{
    retry_.setInterval(betweenTries);
    connect(&retry_, &QTimer::timeout, this, &SerialLine::tryAgain);
    device_->arrived = [this] { tell(arrived); };
    device_->failed = [this] { tell(failed); };
    device_->gone = [this] {
        // Not here: the library is in the middle of reading.
        QMetaObject::invokeMethod(
            this,
            [this, session = session_] {
                if (session == session_) plugPulled();
            },
            Qt::QueuedConnection);
    };
}

SerialLine::~SerialLine()
{
    device_->arrived = nullptr;
    device_->failed = nullptr;
    device_->gone = nullptr;
    device_->close();
}

void SerialLine::open(int number, const LineSettings& settings, FlowControl flow)
{
    close();
    number_ = number;
    settings_ = settings;
    flow_ = flow;
    try {
        plugIn();
    } catch (const base::RuntimeError& error) {
        const auto found = ports_(number);
        const bool isAdapter = known_.contains(number) || (found && found->lasting);
        if (error.number() != errors::invalidPortNumber || !isAdapter) throw;
        await();
    }
    open_ = true;
}

void SerialLine::plugIn()
{
    const auto found = ports_(number_);
    const bool isCertain = found && found->lasting && !found->moved;
    if (!found || (!isCertain && others_.contains(shownDevice(found->path))))
        throw commError(errors::invalidPortNumber);
    if (!isFeasible(settings_)) throw commError(errors::parametersRefused);
    ++session_;
    device_->open(found->path, settings_, flow_);
    path_ = found->path;
    known_.insert(number_);
    if (opened) opened(number_, path_);
}

void SerialLine::apply(const LineSettings& settings, FlowControl flow)
{
    if (!isFeasible(settings)) throw commError(errors::parametersRefused);
    if (device_->isOpen()) device_->apply(settings, flow);
    settings_ = settings;
    flow_ = flow;
}

void SerialLine::close()
{
    ++session_;
    retry_.stop();
    others_.clear();
    whyNotBack_ = 0;
    device_->close();
    open_ = false;
}

void SerialLine::discardOutput()
{
    if (device_->isOpen()) device_->discardOutput();
}

void SerialLine::await()
{
    ++session_;
    device_->close();
    retry_.start();
}

void SerialLine::plugPulled()
{
    others_.clear();
    for (int number = platform::firstSerialPort; number <= platform::lastSerialPort; ++number)
        // Also what the number itself leads to by now, if that is an adapter of the same name in another socket.
        if (const auto found = ports_(number); found && (found->path != path_ || found->moved) && isThere(found->path))
            others_.insert(shownDevice(found->path));
    await();
    tell(pulled);
}

void SerialLine::tryAgain()
{
    // A node that has gone is free for ours.
    others_.removeIf([](const QString& node) { return !isThere(node); });
    int why = 0;
    try {
        plugIn();
    } catch (const base::RuntimeError& error) {
        why = error.number() == errors::invalidPortNumber ? 0 : error.number();
    }
    const bool changed = std::exchange(whyNotBack_, why) != why;
    if (!device_->isOpen()) {
        if (changed) tell(refused);
        return;
    }
    retry_.stop();
    others_.clear();
    tell(back);
}

} // namespace scale
