#pragma once

#include <QString>
#include <QStringList>

namespace print {

/// The mill's own lines for the top of every slip and statement: the items of "\Presva.Txt" in the program's directory,
/// in their order, empty ones left out. An item ends at a comma or a line end, unless it stands between quotes. The
/// mill edits the file with any editor: code page 1254 or UTF-8, the name in any letter case.
/// No such file: no lines. A file that is there and cannot be read is error 53.
QStringList headerItems(const QString& programDirectory);

} // namespace print
