#pragma once

#include "exchange/output.h"
#include "store/jet/database/database.h"

namespace exchange {

enum class Dialect {
    both, ///< what SQLite and PostgreSQL both take
    sqlite,
    postgres,
};

/// The tables of a file as SQL: columns with their types, required ones, primary keys, indexes, and the relationships
/// that the file enforces. A table stands behind those that it refers to, as far as they do not go round; a
/// relationship that the dialect cannot take, or that the file itself does not enforce, stands as a comment. Throws
/// damaged.
void writeSchema(jet::Database& database, Dialect dialect, Output& out);

} // namespace exchange
