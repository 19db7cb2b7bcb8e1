#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <deque>
#include <functional>

namespace app {

/// What the first letter, slip and dialog of a day would otherwise wait for, done in parts while nobody waits. Parts
/// run one by one, in the order in which they were added, from the event loop: what the operator does comes between
/// any two of them.
class Preparation {
public:
    /// Does a part of the work; true when it was the last one. Reports and passes over its errors itself.
    using Work = std::function<bool()>;

    /// `mayRun` says whether no action is under way.
    explicit Preparation(std::function<bool()> mayRun);

    /// Work in parts of a few milliseconds: nobody notices them.
    void add(Work work) { works_.push_back({std::move(work), false}); }
    /// Work that would be noticed. It waits until nothing has been touched for a while.
    void addForLater(Work work) { works_.push_back({std::move(work), true}); }

    /// Does the first part at once and the others from the event loop.
    void begin();
    /// The operator has done something.
    void touched() { sinceTouch_.start(); }
    /// Nothing has been touched for a while.
    bool isStill() const;
    /// What the operator did has come to its end.
    void goOn();
    bool isDone() const { return works_.empty(); }

private:
    struct Entry {
        Work work;
        bool later = false;
    };
    void step();

    std::function<bool()> mayRun_;
    std::deque<Entry> works_;
    bool running_ = false;
    QElapsedTimer sinceTouch_;
    QTimer timer_;
};

} // namespace app
