#pragma once

#include "base/regional.h"
#include "store/data_source.h"
#include "store/slip_note.h"

#include <optional>

namespace counter {

/// Makes the customer of exactly that name the current one of the source, without recalling the terms: the row that is
/// current already, or the one that is looked up. False when there is none. An apostrophe in the name is a letter.
bool makeNamedCurrent(store::DataSource& customers, const QString& name);

/// Writes what a printed slip leaves behind: the customer's terms into the one row of that name and the pressing into
/// the journal, in one change. A field that does not take its text is passed over; the others are written. An empty
/// quantity is a 0. False when the pressing is not in the journal afterwards.
bool book(store::DataSource& customers, store::DataSource& journal, const store::SlipNote& slip,
          const base::Regional& regional);

/// Tries the whole booking against the tables and takes it back: types, sizes, required fields, indexes, and whether a
/// customer can have that name. Which field would not be stored and why, in a sentence for people; nothing when all of
/// it would be. What no pressing can be blamed for (a disk, a file that is gone) comes out as an error.
std::optional<QString> whyNotBooked(store::Databases& databases, const QString& database, const store::SlipNote& slip,
                                    const base::Regional& regional);

} // namespace counter
