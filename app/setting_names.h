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

/// The program's own settings; those of the scale's port are scale/setting_keys.h.
namespace setting_keys {
inline const QString capitals = u"Caps"_s; ///< in the keypad's section, all others in the program's own
inline const QString connected = u"Baglan"_s;
inline const QString countsContainers = u"Sayac"_s;
inline const QString font = u"Font"_s;
inline const QString fontSize = u"Size"_s;
inline const QString bold = u"Bold"_s;
inline const QString italic = u"Ital"_s;
} // namespace setting_keys

} // namespace app
