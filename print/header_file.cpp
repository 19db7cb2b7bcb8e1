#include "print/header_file.h"

#include "base/code_page.h"
#include "base/error.h"
#include "base/sequential.h"
#include <QFile>

namespace print {

QStringList headerItems(const QString& programDirectory)
{
    const auto path = base::findFile(programDirectory, u"\\Presva.Txt");
    if (!path) return {};
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly)) throw base::runtimeError(base::errors::fileNotFound);
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) throw base::runtimeError(base::errors::fileNotFound);

    QStringList items;
    for (base::SeqReader reader(base::decodeEditedText(bytes)); !reader.atEnd();) {
        const QString item = reader.next();
        if (!item.isEmpty()) items.append(item);
    }
    return items;
}

} // namespace print
