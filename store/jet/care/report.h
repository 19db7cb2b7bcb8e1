#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// What work on whole files tells people on the way.
namespace jet {

/// Sentences about what is wrong with a file. In a badly damaged one every row has its own: past `most` they are only
/// counted.
class Sentences {
public:
    explicit Sentences(std::size_t most) : most_(most) {}
    void add(std::string sentence)
    {
        if (list_.size() < most_)
            list_.push_back(std::move(sentence));
        else
            ++leftOut_;
    }
    const std::vector<std::string>& list() const { return list_; }
    std::uint64_t leftOut() const { return leftOut_; }

private:
    std::size_t most_;
    std::vector<std::string> list_;
    std::uint64_t leftOut_ = 0;
};

/// Tells how much of so many steps is done, in percent, no figure twice: up to 99 by the steps, 100 at the end.
class Progress {
public:
    Progress(const std::function<void(int)>& tell, std::uint64_t steps)
        : tell_(tell), steps_(std::max<std::uint64_t>(steps, 1))
    {
    }
    void step(std::uint64_t count = 1)
    {
        done_ += count;
        reach(static_cast<int>(std::min<std::uint64_t>(99, done_ * 100 / steps_)));
    }
    void finish() { reach(100); }

private:
    void reach(int percent)
    {
        if (percent > percent_ && tell_) tell_(percent);
        percent_ = std::max(percent, percent_);
    }

    const std::function<void(int)>& tell_;
    std::uint64_t steps_;
    std::uint64_t done_ = 0;
    int percent_ = -1;
};

} // namespace jet
