#pragma once

#include "app/prompt.h"

#include <QString>
#include <optional>

namespace app {

/// Where the system keeps a user's data, whether there are any or not. Nothing where the program's launcher sees to
/// them.
std::optional<QString> usersDataFolder();

/// Sees to it that the folder has its Yag.mdb: a copy of the file that is named, or where none is, what the operator
/// decides. False when the program is not to start; a fault was told then.
bool ensureDatabase(Prompt& prompt, const QString& folder, const QString& copyFrom);

} // namespace app
