#include "scale/formats/transcript.h"

#include <algorithm>
#include <utility>

namespace scale {

namespace {

constexpr std::size_t soundAfter = 100'000;

bool differByOneByte(std::string_view one, std::string_view other)
{
    if (one.size() != other.size()) return false;
    std::size_t different = 0;
    for (std::size_t i = 0; i < one.size(); ++i) different += one[i] == other[i] ? 0 : 1;
    return different == 1;
}

} // namespace

std::vector<Reading> Transcript::read(std::string_view bytes)
{
    hear(framer_.read(bytes));
    return take(false);
}

std::vector<Reading> Transcript::end()
{
    hear(framer_.silence());
    return take(true);
}

void Transcript::hear(std::vector<Framed> framed)
{
    for (Framed& one : framed) {
        if (one.isNoise) {
            noise_ = true;
            framesInARow_ = 0;
        }
        if (!one.isFrame) continue;
        if (++framesInARow_ >= soundAfter) noise_ = false;
        if (one.reading) hearWeight(std::move(*one.reading), one.checked);
    }
}

void Transcript::hearWeight(Reading reading, bool checked)
{
    repetition_.hear(reading);
    std::string said = saidBy(reading);
    waiting_.push_back({std::move(reading), said, ++heard_, false});
    if (repetition_.oneStandsAlone())
        std::erase_if(waiting_, [&](const Waiting& one) { return one.place + 2 == heard_ && !one.counts; });
    if (!repetition_.cameOften(checked) && (noise_ || !repetition_.cameInARow())) return;
    for (auto one = waiting_.rbegin(); one != waiting_.rend() && one->place + Repetition::remembered > heard_; ++one)
        one->counts = one->counts || one->said == said;
}

/// Its neighbours came often, and so did a frame that one changed byte makes this one.
bool Transcript::standsAlone(const Waiting& oldest) const
{
    if (before_.empty() || waiting_.size() < 2 || !before_.back().counts || !waiting_[1].counts) return false;
    const auto couldHaveBeen = [&](const Waiting& one) {
        return one.counts && differByOneByte(one.reading.bytes, oldest.reading.bytes);
    };
    const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(std::min(waiting_.size(), Repetition::remembered));
    return std::ranges::any_of(before_, couldHaveBeen) || std::any_of(waiting_.begin(), end, couldHaveBeen);
}

std::vector<Reading> Transcript::take(bool atEnd)
{
    std::vector<Reading> taken;
    while (!waiting_.empty()) {
        Waiting& oldest = waiting_.front();
        // Out of memory it can come often enough no more.
        const bool lost = noise_ && (atEnd || oldest.place + Repetition::remembered <= heard_);
        const bool certain = !noise_ && (atEnd || oldest.place + soundAfter <= heard_);
        if (!oldest.counts && !lost && !certain) break;
        if (oldest.counts || (certain && !standsAlone(oldest))) taken.push_back(oldest.reading);
        before_.push_back(std::move(oldest));
        if (before_.size() > Repetition::remembered) before_.pop_front();
        waiting_.pop_front();
    }
    return taken;
}

} // namespace scale
