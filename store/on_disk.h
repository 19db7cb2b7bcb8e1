#pragma once

#include "base/error.h"
#include "files/error.h"

#include <QString>
#include <utility>

namespace store {

/// Does work on files; what the disk refuses is a run-time error here, 3000, as it is for the database.
template <class Work> auto onDisk(Work&& work)
{
    try {
        return std::forward<Work>(work)();
    } catch (const files::Error& error) {
        throw base::RuntimeError(base::errors::databaseFault, QString::fromUtf8(error.what()));
    }
}

} // namespace store
