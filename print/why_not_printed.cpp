#include "print/why_not_printed.h"

using namespace Qt::StringLiterals;

namespace print {

QString whyNotPrinted(const base::RuntimeError& error)
{
    switch (error.number()) {
    case base::errors::printer: {
        // Printers and systems answer in words of their own, behind the name of the error.
        QString own = error.text().section(u": "_s, 1);
        if (own.isEmpty()) own = u"yazıcı işi almadı"_s;
        return own + (own.endsWith(u'.') ? u" "_s : u". "_s) + u"Nedenini giderip yeniden yazdırın."_s;
    }
    case base::errors::typeMismatch:
    case base::errors::overflow:
    case base::errors::invalidCall:
    case base::errors::subscript:
    case base::errors::invalidNull:
        return u"sayı olması gereken bir alanda sayı yok (%1). Alanları denetleyip yeniden yazdırın."_s.arg(
            error.text());
    default:
        return error.text();
    }
}

} // namespace print
