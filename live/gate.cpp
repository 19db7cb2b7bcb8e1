#include "live/gate.h"

#include <algorithm>

namespace live {

Gate::Gate(Limits limits, Now now) : limits_(limits), now_(std::move(now)) {}

void Gate::settle(Visitor& visitor, Time now) const
{
    const double seconds = std::chrono::duration<double>(now - visitor.since).count();
    visitor.left = std::min(limits_.atOnce, visitor.left + seconds * limits_.perSecond);
    visitor.since = now;
}

bool Gate::isStranger(const Visitor& visitor, Time now)
{
    return !visitor.known || now - *visitor.known > std::chrono::hours(24);
}

/// Forgets strangers who could begin anew with what they have now. False when there are none.
bool Gate::makeRoom(Time now)
{
    const std::size_t before = visitors_.size();
    for (auto each = visitors_.begin(); each != visitors_.end();) {
        Visitor& visitor = each->second;
        settle(visitor, now);
        const bool anew = visitor.connections == 0 && visitor.left >= limits_.atOnce && isStranger(visitor, now);
        each = anew ? visitors_.erase(each) : std::next(each);
    }
    return visitors_.size() < before;
}

std::unique_ptr<Gate::Visit> Gate::enter(const std::string& address)
{
    const std::scoped_lock lock(mutex_);
    const Time now = now_();
    auto found = visitors_.find(address);
    if (found == visitors_.end()) {
        if (visitors_.size() >= limits_.addresses && !makeRoom(now)) return {};
        found = visitors_.emplace(address, Visitor{0, limits_.atOnce, now, {}}).first;
    }
    Visitor& visitor = found->second;
    settle(visitor, now);
    const bool stranger = isStranger(visitor, now);
    if (stranger && strangers_ >= limits_.strangers) return {};
    if (visitor.connections >= limits_.connections || visitor.left < 1) return {};
    visitor.left -= 1;
    ++visitor.connections;
    strangers_ += stranger ? 1 : 0;
    return std::make_unique<Visit>(*this, address, stranger);
}

void Gate::wrong(const std::string& address)
{
    const std::scoped_lock lock(mutex_);
    const auto found = visitors_.find(address);
    if (found == visitors_.end()) return;
    // Not without end: who has tried an old code a few times is let in again within half a minute.
    found->second.left = std::max(found->second.left - limits_.wrongKey, -limits_.atOnce);
}

void Gate::known(const std::string& address)
{
    const std::scoped_lock lock(mutex_);
    const auto found = visitors_.find(address);
    if (found != visitors_.end()) found->second.known = now_();
}

void Gate::leave(const std::string& address, bool stranger)
{
    const std::scoped_lock lock(mutex_);
    --visitors_.at(address).connections;
    strangers_ -= stranger ? 1 : 0;
}

Gate::Visit::~Visit() { gate_.leave(address_, stranger_); }

} // namespace live
