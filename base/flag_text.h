#pragma once

#include <QString>

namespace base {

using namespace Qt::StringLiterals;

/// "True" and "False", English on every system: how a choice is stored. base::flagOf() reads it.
inline QString flagText(bool value) { return value ? u"True"_s : u"False"_s; }

} // namespace base
