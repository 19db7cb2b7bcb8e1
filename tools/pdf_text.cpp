#include "tools/pdf_text.h"

#include <QProcess>

using namespace Qt::StringLiterals;

namespace scenario {

std::optional<QString> textOfPdf(const QByteArray& pdf)
{
    QProcess reader;
    reader.start(u"pdftotext"_s, {u"-layout"_s, u"-"_s, u"-"_s});
    if (!reader.waitForStarted()) return std::nullopt;
    reader.write(pdf);
    reader.closeWriteChannel();
    reader.waitForFinished();
    return QString::fromUtf8(reader.readAllStandardOutput()).simplified();
}

} // namespace scenario
