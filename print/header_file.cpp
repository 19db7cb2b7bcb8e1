#include "print/header_file.h"

#include "base/code_page.h"
#include "base/error.h"
#include "base/sequential.h"
#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace print {

QStringList headerItems(const QString& programDirectory)
{
    const auto path = base::findFile(programDirectory, u"\\Presva.Txt");
    if (!path) return {};
    QFile file(*path);
    const auto unreadable = [&] {
        return base::RuntimeError(base::errors::fileNotFound,
                                  u"“%1” okunamıyor (%2). İzinlerini denetleyin ya da dosyayı kaldırın."_s.arg(
                                      QDir::toNativeSeparators(*path), file.errorString()));
    };
    if (!file.open(QIODevice::ReadOnly)) throw unreadable();
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) throw unreadable();

    QStringList items;
    for (base::SeqReader reader(base::decodeEditedText(bytes)); !reader.atEnd();) {
        const QString item = reader.next();
        if (!item.isEmpty()) items.append(item);
    }
    return items;
}

} // namespace print
