#pragma once

#include <QString>

using namespace Qt::StringLiterals;

/// A text as the name of a row: control characters spelled out.
inline QByteArray rowName(QString text)
{
    if (text.isEmpty()) return "(empty)";
    text.replace(u'\r', "<CR>"_L1).replace(u'\n', "<LF>"_L1);
    text.replace(u'\t', "<TAB>"_L1).replace(u' ', "_"_L1);
    return text.toUtf8();
}
