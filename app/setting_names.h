#pragma once

#include <QString>

namespace app {

using namespace Qt::StringLiterals;

/// Title of the program and of its message boxes, name of its print jobs, application name of all settings but one.
inline const QString programTitle = u"Mendrik Presva"_s;
/// Section of those settings.
inline const QString propertiesSection = u"Properties"_s;
/// Section of the keypad's setting, under the executable's own name.
inline const QString keypadSection = u"SizeKlv"_s;

} // namespace app
