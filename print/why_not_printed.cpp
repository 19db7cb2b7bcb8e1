#include "print/why_not_printed.h"

using namespace Qt::StringLiterals;

namespace print {

namespace {

/// Printers and systems answer in words of their own, behind the name of the error; without the full stop.
QString wordsOfThePrinter(const base::RuntimeError& error)
{
    QString own = error.text().section(u": "_s, 1);
    if (own.endsWith(u'.')) own.chop(1);
    return own;
}

} // namespace

QString whyNotPrinted(const base::RuntimeError& error)
{
    const QString own = wordsOfThePrinter(error);
    switch (error.number()) {
    case base::errors::printer:
        return u"%1. Nedenini giderip yeniden yazdırın."_s.arg(own.isEmpty() ? u"yazıcı işi almadı"_s : own);
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

QString perhapsPrinted(const base::RuntimeError& error)
{
    const QString own = wordsOfThePrinter(error);
    return u"basıldı mı bilinmiyor%1. Yazıcıya ve kuyruğuna bakın, çıkmadıysa yeniden yazdırın."_s.arg(
        own.isEmpty() ? QString() : u" (%1)"_s.arg(own));
}

} // namespace print
