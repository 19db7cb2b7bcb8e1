#pragma once

#include "store/jet/care/report.h"
#include "store/jet/database/database.h"

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace jet {

/// A whole database written anew without the room that deletions left behind. Every table is carried, those of the
/// system too, and with their rows all that Access keeps in them: queries, forms, reports, macros, modules, links,
/// relationships, properties, rights. The fields of a row stay as they are, byte by byte; only what names a place in
/// the file is written anew. The key of an index entry is made from the row where that is certain, and taken over from
/// the old entry where it is not.
class Rewrite {
public:
    /// Looks at everything first. Throws damaged and, where something could not be carried, unsupported.
    explicit Rewrite(Database& from);
    ~Rewrite();

    std::uint64_t rows() const { return rows_; }
    /// The file that into() fills: a header, and free pages.
    std::vector<std::uint8_t> emptyFile();
    /// Fills that file, a piece at a time: only its end makes it whole. Called once.
    void into(Pager& to, Progress& told);
    /// Throws damaged unless every row is there with all its fields.
    void compare(Pager& to, Progress& told);

private:
    struct Carried;
    class Pieces;
    void lookAt(Carried& table);
    PageNo newPage(PageNo old) const;
    void makeTables(Pager& to);
    void copyRows(Pager& to, Carried& table, Pieces& change, Progress& told);

    Pager& from_;
    std::vector<std::unique_ptr<Carried>> tables_;
    std::unordered_map<PageNo, PageNo> newPages_; ///< of definitions, by the old ones
    std::uint64_t rows_ = 0;
};

} // namespace jet
