#include "counter/log.h"

#include "weights/book_log.h"

#include <QFile>

namespace counter {

Log::Log(const QString& directory, std::function<QDateTime()> now)
    : path_(QString::fromStdU16String(weights::logIn(directory.toStdU16String()).u16string())), now_(std::move(now))
{
}

void Log::write(const QString& line)
{
    QFile file(path_);
    if (file.open(QIODevice::Append)) file.write((now_().toString(Qt::ISODate) + u' ' + line + u'\n').toUtf8());
}

} // namespace counter
