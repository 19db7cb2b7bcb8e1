#pragma once

#include <QString>

/// A text as the name of a row: control characters spelled out.
inline QByteArray rowName(QString text)
{
    if (text.isEmpty()) return "(empty)";
    text.replace(QLatin1Char('\r'), QLatin1String("<CR>")).replace(QLatin1Char('\n'), QLatin1String("<LF>"));
    text.replace(QLatin1Char('\t'), QLatin1String("<TAB>")).replace(QLatin1Char(' '), QLatin1String("_"));
    return text.toUtf8();
}
