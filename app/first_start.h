#pragma once

#include "app/prompt.h"

#include <QString>
#include <optional>

namespace app {

/// Where the system keeps a user's data, whether there are any or not. Nothing where the program's launcher sees to
/// them.
std::optional<QString> usersDataFolder();

/// What a start makes of the command line.
struct DataPlace {
    QString folder;            ///< of Yag.mdb; absolute
    bool isOurs = false;       ///< no launcher sees to it: a Yag.mdb that is missing is asked about
    QString slipsWithoutQueue; ///< where slips go on a computer without a printer; empty: nowhere
};

/// `usersFolder` is usersDataFolder(), `named` the folder of --dir and `printElse` that of --print-else, empty where
/// they are not given. A named folder takes the place of the usual one; nothing else changes with it.
DataPlace dataPlace(const std::optional<QString>& usersFolder, const QString& named, const QString& printElse);

/// Sees to it that the folder has its Yag.mdb: a copy of the file that is named, or where none is, what the operator
/// decides. False when the program is not to start; a fault was told then.
bool ensureDatabase(Prompt& prompt, const QString& folder, const QString& copyFrom);

} // namespace app
