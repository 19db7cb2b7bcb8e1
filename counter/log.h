#pragma once

#include <QDateTime>
#include <QString>
#include <functional>

namespace counter {

/// presva.log in the program's directory: what the program did without being asked, and its own faults. One line each,
/// with its moment. A log that cannot be written keeps nobody from working.
class Log {
public:
    Log(const QString& directory, std::function<QDateTime()> now);

    void write(const QString& line);

private:
    QString path_;
    std::function<QDateTime()> now_;
};

} // namespace counter
