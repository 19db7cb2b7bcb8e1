#include "scale/formats/confirmation.h"

#include <algorithm>
#include <utility>

namespace scale {

namespace {

constexpr std::size_t soundAfter = 200;
constexpr std::ptrdiff_t inARow = 3;
constexpr std::size_t remembered = 16;
constexpr std::ptrdiff_t oftenEnough = 4;
constexpr std::ptrdiff_t oftenEnoughChecked = 2;

std::string saidBy(const Reading& reading)
{
    constexpr std::string_view rests = "?sm";
    return toText(reading.kilograms) + rests[static_cast<std::size_t>(reading.rest)];
}

} // namespace

void Confirmation::countFrame()
{
    ++framesInBurst_;
    if (++framesInARow_ >= soundAfter) trust_ = keep_ == Keep::every ? Trust::sound : Trust::usual;
}

bool Confirmation::cameOften(const std::string& said, bool checked) const
{
    switch (trust_) {
    case Trust::sound:
    case Trust::usual:
        return checked ||
               (std::ssize(recent_) >= inARow && std::all_of(recent_.end() - inARow, recent_.end(),
                                                             [&](const std::string& one) { return one == said; }));
    case Trust::disturbed:
        break;
    }
    return std::ranges::count(recent_, said) >= (checked ? oftenEnoughChecked : oftenEnough);
}

/// Of the last five weights the one in the middle is another than the rest.
bool Confirmation::standsAlone() const
{
    if (recent_.size() < 5) return false;
    const auto last = recent_.rbegin();
    return last[0] == last[1] && last[0] == last[3] && last[0] == last[4] && last[0] != last[2];
}

void Confirmation::hear(Reading reading, bool checked)
{
    std::string said = saidBy(reading);
    recent_.push_back(said);
    if (recent_.size() > remembered) recent_.pop_front();
    countFrame();
    waiting_.push_back({std::move(reading), said, ++heard_, false});
    if (standsAlone())
        std::erase_if(waiting_, [&](const Waiting& one) { return one.place + 2 == heard_ && !one.counts; });
    if (trust_ == Trust::sound) {
        for (Waiting& one : waiting_) one.counts = one.counts || checked || one.place + 2 <= heard_;
    } else if (cameOften(said, checked)) {
        for (Waiting& one : waiting_) one.counts = one.counts || one.said == said;
    }
    // A weight that has gone out of memory can come often enough no more.
    if (trust_ == Trust::disturbed)
        while (waiting_.size() > remembered && !waiting_.front().counts) waiting_.pop_front();
}

void Confirmation::hearOther() { countFrame(); }

void Confirmation::hearNoise()
{
    framesInARow_ = 0;
    noiseInBurst_ = true;
    if (trust_ == Trust::disturbed) return;
    trust_ = Trust::disturbed;
    const std::size_t kept = std::min(waiting_.size(), remembered);
    const auto old = waiting_.end() - static_cast<std::ptrdiff_t>(kept);
    waiting_.erase(std::remove_if(waiting_.begin(), old, [](const Waiting& one) { return !one.counts; }), old);
}

void Confirmation::fallSilent()
{
    const bool alone = framesInBurst_ == 1 && !noiseInBurst_ && !recent_.empty();
    if (trust_ == Trust::disturbed && alone && recent_.back() == lastAlone_) {
        trust_ = Trust::usual;
        framesInARow_ = 0;
        waiting_.erase(waiting_.begin(), waiting_.end() - std::min<std::ptrdiff_t>(1, std::ssize(waiting_)));
    }
    lastAlone_ = alone ? recent_.back() : std::string();
    framesInBurst_ = 0;
    noiseInBurst_ = false;
    if (trust_ == Trust::disturbed) {
        std::erase_if(waiting_, [](const Waiting& one) { return !one.counts; });
    } else {
        for (Waiting& one : waiting_) one.counts = true;
    }
}

std::vector<Reading> Confirmation::take()
{
    std::vector<Reading> taken;
    if (keep_ == Keep::newest) {
        const auto newest = std::ranges::find_if(waiting_.rbegin(), waiting_.rend(), &Waiting::counts);
        if (newest == waiting_.rend()) return taken;
        taken.push_back(std::move(newest->reading));
        waiting_.erase(waiting_.begin(), newest.base());
        return taken;
    }
    while (!waiting_.empty() && waiting_.front().counts) {
        taken.push_back(std::move(waiting_.front().reading));
        waiting_.pop_front();
    }
    return taken;
}

} // namespace scale
