#pragma once

#include <QString>

namespace app {

/// Title of the program and of its message boxes, name of its print jobs, application name of all settings but one.
inline const QString programTitle = QStringLiteral("Mendrik Presva");
/// Section of those settings.
inline const QString propertiesSection = QStringLiteral("Properties");
/// Section of the keypad's setting, under the executable's own name.
inline const QString keypadSection = QStringLiteral("SizeKlv");

} // namespace app
