#include "tools/pdf_text.h"

#include "tools/scenario_host.h"

namespace scenario {

std::optional<QString> textOfPdf(const QByteArray& pdf)
{
    const auto text = askHost("pdf pdftotext,-layout,FILE,- " + pdf.toHex());
    if (!text) return std::nullopt;
    return QString::fromUtf8(QByteArray::fromHex(*text)).simplified();
}

} // namespace scenario
