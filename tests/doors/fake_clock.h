#pragma once

#include <QDateTime>
#include <functional>

/// A clock that stands still until a test moves it; it begins on a day of the season.
class FakeClock {
public:
    QDateTime now{QDate(2025, 11, 20), QTime(14, 5)};

    void pass(qint64 seconds) { now = now.addSecs(seconds); }
    /// What the program is given to ask; the clock must outlive it.
    std::function<QDateTime()> hands() const
    {
        return [this] { return now; };
    }
};
