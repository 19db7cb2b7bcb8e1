#include "scale/formats/still_weight.h"

namespace scale {

namespace {

constexpr StillWeight::Time standsAfter{500};
constexpr StillWeight::Time growsFor{60'000};
constexpr double leastGrowth = 1.01;
constexpr double mostLeft = 0.02;
constexpr double mostThatIsNoLoad = 0.005;

} // namespace

void StillWeight::hear(const Reading& reading, Time now)
{
    if (reading.rest == Rest::moving) {
        equalWeight_.reset();
    } else if (equalWeight_ != reading.kilograms) {
        equalWeight_ = reading.kilograms;
        equalSince_ = now;
    }
    heard_ = now;
}

StillWeight::Verdict StillWeight::judge(const Reading& reading, bool alone)
{
    const bool equalForLong = equalWeight_ == reading.kilograms && heard_ - equalSince_ >= standsAfter;
    if (reading.rest == Rest::moving || (reading.rest != Rest::stable && !equalForLong)) return Verdict::notStanding;
    const double weight = approximately(reading.kilograms);
    const double taken = last_.weight ? approximately(*last_.weight) : 0;
    if (weight <= 0) {
        last_ = before_ = {std::nullopt, last_.weight ? taken * mostLeft : last_.left, {}};
        return Verdict::empty;
    }
    if (!last_.weight && weight <= last_.left && !alone) return Verdict::empty;
    if (last_.weight == reading.kilograms) return Verdict::sameLoad;
    if (last_.weight && !alone && taken > weight * mostThatIsNoLoad) {
        if (weight <= taken * mostLeft) {
            last_ = before_ = {std::nullopt, taken * mostLeft, {}};
            return Verdict::empty;
        }
        if (weight < taken * leastGrowth || heard_ - last_.at > growsFor) return Verdict::loadStays;
    }
    before_ = last_;
    last_ = {reading.kilograms, 0, heard_};
    return Verdict::taken;
}

} // namespace scale
