#include "scale/formats/confirmation.h"

#include <algorithm>

namespace scale {

namespace {

constexpr std::size_t soundAfter = 200;
constexpr std::size_t provenAfter = 16;
constexpr std::size_t mostOfAPrint = 4; ///< frames: some scales print gross, tare and net
constexpr int enoughPrints = 3;

} // namespace

void Confirmation::countFrame()
{
    ++framesInBurst_;
    if (++framesInARow_ >= soundAfter) disturbed_ = false;
}

bool Confirmation::hear(const Reading& reading, bool checked)
{
    countFrame();
    repetition_.hear(reading);
    const bool usual = checked ? framesInARow_ > provenAfter : repetition_.cameInARow();
    const bool counts = (!disturbed_ && usual) || repetition_.cameOften(checked);
    waiting_ = counts ? std::nullopt : std::optional(reading);
    countedInBurst_ = countedInBurst_ || counts;
    if (framesInBurst_ <= mostOfAPrint) burst_.push_back(reading.kilograms);
    return counts;
}

void Confirmation::hearOther() { countFrame(); }

void Confirmation::hearNoise()
{
    framesInARow_ = 0;
    noiseInBurst_ = true;
    disturbed_ = true;
}

/// Another weight of this burst has counted, or came more than once: a digit of the last one may have been changed.
bool Confirmation::othersSayMore() const
{
    return countedInBurst_ || std::ranges::any_of(burst_, [this](const Decimal& weight) {
               return weight != waiting_->kilograms && std::ranges::count(burst_, weight) > 1;
           });
}

std::optional<Confirmation::Print> Confirmation::fallSilent(std::chrono::milliseconds length)
{
    if (length < afterAPrint) return std::nullopt;
    std::optional<Print> print;
    if (framesInBurst_ > 0 || noiseInBurst_) {
        const bool alone = framesInBurst_ <= mostOfAPrint && !noiseInBurst_ && waiting_ && !othersSayMore();
        const std::string said = alone ? saidBy(*waiting_) : std::string();
        equalPrints_ = !alone ? 0 : said == lastPrint_ ? equalPrints_ + 1 : 1;
        if (equalPrints_ <= 1) runIsOfItsOwn_ = rested_;
        lastPrint_ = said;
        const bool usual = rested_ || equalPrints_ > 1;
        if (alone) print = {*waiting_, equalPrints_ >= enoughPrints || (!disturbed_ && usual), runIsOfItsOwn_};
        framesInBurst_ = 0;
        noiseInBurst_ = false;
        rested_ = false;
        countedInBurst_ = false;
        burst_.clear();
        waiting_.reset();
    }
    if (length >= betweenPrints) rested_ = true;
    return print;
}

} // namespace scale
