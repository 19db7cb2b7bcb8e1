#pragma once

#include "bench/mill.h"

#include <QString>

/// The database of a mill with a long life, as the program itself would have made it.
namespace counter_mill {

/// Makes FOLDER/Yag.mdb with 100,000 customers and the last so many of 1,000,000 pressings unless it is there. False,
/// with a sentence on standard error, when that fails.
bool prepare(const QString& folder, std::size_t pressings = long_mill::pressingCount);

} // namespace counter_mill
