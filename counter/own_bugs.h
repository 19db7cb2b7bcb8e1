#pragma once

#include "counter/log.h"

#include <QStringList>
#include <exception>
#include <optional>

namespace counter {

/// Exceptions that nobody expected: bugs of our own. Each is logged and told once, however often it comes.
class OwnBugs {
public:
    explicit OwnBugs(Log log) : log_(std::move(log)) {}

    /// What the operator is told of it: what was being done, what came, and the line that began it. Nothing for one
    /// that has been told since the start.
    std::optional<QString> heard(const std::exception& error, const QString& action, const char* file, int line);

private:
    Log log_;
    QStringList told_;
};

} // namespace counter
