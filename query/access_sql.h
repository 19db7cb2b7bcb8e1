#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// SQL as Access writes it, turned into the SQL of SQLite.
namespace query {

/// What kind of value an expression has, as far as the text tells.
enum class Type { unknown, number, text, date, yesNo, bytes };

struct NamedType {
    std::string name; ///< UTF-8
    Type type = Type::unknown;
    bool exact = false; ///< may have more digits than a number of SQLite: exactName() names a column that has them
};

/// The name under which SQLite finds the column of a table with all its digits: as a text where they are too many. No
/// column of a file has such a name.
inline std::string exactName(const std::string& column) { return column + '\x1f'; }

/// The tables and saved queries that a text may name, in any letter case.
class Catalogue {
public:
    struct Shape {
        std::string name; ///< as the table is called
        std::vector<NamedType> columns;
    };
    virtual ~Catalogue() = default;
    virtual std::optional<Shape> table(const std::string& name) = 0;
    /// The text of a saved query. Throws files::Error (unsupported) for one that cannot be turned into a text.
    virtual std::optional<std::string> savedQuery(const std::string& name) = 0;
    /// The expression that was given for a name that is no field.
    virtual std::optional<std::string> parameter(const std::string& name) = 0;
    /// Throws files::Error (unsupported), which says what it is, for a name that is something else; asked last.
    virtual void refuseOther(const std::string& name) = 0;
};

struct Translation {
    enum class Kind { select, insert, update, erase };
    Kind kind = Kind::select;
    std::string sql = {};           ///< for SQLite
    std::vector<NamedType> columns; ///< of a select; of an insert, those that it gives
};

/// What is understood stands in the help of presva-mdb sql. The text relies on what functions.h and session.h give to
/// SQLite: the functions acc_*, like, and the collation ACCESS. Throws files::Error (syntax, noSuchTable, unsupported)
/// with a sentence that shows where.
Translation translate(std::string_view sql, Catalogue& catalogue);

} // namespace query
