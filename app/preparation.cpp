#include "app/preparation.h"

#include <algorithm>
#include <utility>

namespace app {

namespace {

// Between two parts there is room for whatever else waits, on a slow machine too.
constexpr int pause = 2; // milliseconds
// Fingers that type are quicker than that.
constexpr int stillness = 300; // milliseconds

} // namespace

Preparation::Preparation(std::function<bool()> mayRun) : mayRun_(std::move(mayRun))
{
    timer_.setSingleShot(true);
    timer_.callOnTimeout([this] { step(); });
    sinceTouch_.start();
}

void Preparation::begin()
{
    if (!timer_.isActive()) step();
}

void Preparation::goOn()
{
    if (!isDone() && !timer_.isActive()) timer_.start(pause);
}

bool Preparation::isStill() const { return sinceTouch_.elapsed() >= stillness; }

void Preparation::step()
{
    // A part may show a message: the ones behind it wait until that is closed. An action that is under way calls
    // goOn() when it has ended.
    if (running_ || isDone() || !mayRun_()) return;
    const qint64 wait = works_.front().later ? stillness - sinceTouch_.elapsed() : 0;
    if (wait <= 0) {
        running_ = true;
        try {
            if (works_.front().work()) works_.pop_front();
        } catch (...) { // for whoever guards the event loop; its work ends there, the others go on
            works_.pop_front();
            running_ = false;
            goOn();
            throw;
        }
        running_ = false;
    }
    if (!isDone()) timer_.start(static_cast<int>(std::max<qint64>(wait, pause)));
}

} // namespace app
