#include "counter/own_bugs.h"

#include "files/own_bug.h"

namespace counter {

std::optional<QString> OwnBugs::heard(const std::exception& error, const QString& action, const char* file, int line)
{
    QString sentence = QString::fromStdString(files::ownBug(action.toStdString(), error, file, line));
    if (told_.contains(sentence)) return std::nullopt;
    told_ << sentence;
    log_.write(sentence);
    return sentence;
}

} // namespace counter
