#include "scale/formats/still_weight.h"

namespace scale {

namespace {

constexpr StillWeight::Time standsAfter{500};

}

bool StillWeight::takes(const Reading& reading, Time now)
{
    if (reading.rest == Rest::moving) {
        equalWeight_.reset();
        return false;
    }
    if (equalWeight_ != reading.kilograms) {
        equalWeight_ = reading.kilograms;
        equalSince_ = now;
    }
    const bool equalForLong = now - equalSince_ >= standsAfter;
    if (reading.kilograms.digits <= 0) {
        if (equalForLong || reading.rest == Rest::stable) taken_.reset();
        return false;
    }
    if (reading.rest != Rest::stable && !equalForLong) return false;
    if (taken_ == reading.kilograms) return false;
    taken_ = reading.kilograms;
    return true;
}

void StillWeight::reset() { *this = StillWeight(); }

} // namespace scale
