#pragma once

#include <QByteArrayView>
#include <QString>

namespace base {

// Texts outside the program (the header file, the serial line) are bytes of the Turkish code page 1254, one byte one
// character. The table is ours, so every machine reads the same text whatever its own locale or libraries.

/// Never fails: the seven undefined bytes (81 8D 8E 8F 90 9D 9E) stand for themselves.
QString fromCodePage(QByteArrayView bytes);

/// The text of a file that people edit: a byte-order mark decides (UTF-8, UTF-16 of either order); without one, a file
/// that is valid UTF-8 and holds a multi-byte sequence is UTF-8; everything else is code page 1254. The mark is
/// dropped.
QString decodeEditedText(QByteArrayView bytes);

} // namespace base
