#pragma once

#include "query/access_sql.h"

#include <cstddef>
#include <string_view>

/// The functions of Access that a text may call.
namespace query {

struct Function {
    enum class Kind { plain, aggregate, special };
    std::string_view name;
    std::string_view sqlName; ///< in SQLite
    Kind kind = Kind::plain;
    Type type = Type::unknown; ///< of its value; of an aggregate unknown: that of its argument
    std::size_t fewest = 1;    ///< arguments
    std::size_t most = 1;
    bool numbers = false;        ///< an aggregate of numbers alone
    bool texts = false;          ///< its values are texts or numbers, and no date
    std::string_view exact = {}; ///< in SQLite, where the value may have too many digits for a number
};

/// By its name in any letter case; null when there is none.
const Function* functionNamed(std::string_view name);

} // namespace query
