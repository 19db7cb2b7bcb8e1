#pragma once

#include <QString>

/// The names of the port's settings, in the program's own section.
namespace scale::setting_keys {

using namespace Qt::StringLiterals;

inline const QString lineSettings = u"Settings"_s; ///< "9600,n,8,1"
inline const QString portNumber = u"CommPort"_s;
inline const QString flowControl = u"Handshaking"_s;
inline const QString echo = u"Echo"_s;
inline const QString format = u"Bicim"_s;
inline const QString stillOnly = u"Duran"_s;
inline const QString adapter = u"Adaptor"_s; ///< which device a port number was

} // namespace scale::setting_keys
