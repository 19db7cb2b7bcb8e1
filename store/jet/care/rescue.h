#pragma once

#include "store/jet/database/database.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// Saving what can be saved of a damaged database.
namespace jet {

struct RescueResult {
    struct Table {
        std::u16string name;
        bool nameInvented = false;  ///< the catalogue does not tell it any more
        std::uint64_t rows = 0;     ///< saved
        std::uint64_t promised = 0; ///< by the table's definition, which damage may have changed
    };
    std::vector<Table> tables;
    std::vector<std::string> losses; ///< one sentence for each thing that could not be read: page, row, field, why
    std::uint64_t lossesLeftOut = 0;
    bool whole() const { return losses.empty(); }
};

/// A name for a table that the catalogue does not name, by its columns; empty when there is none.
using TableNames = std::function<std::u16string(const std::vector<Column>&)>;

/// Writes every readable row of `from` into the new database `to`: tables, columns and indexes as far as they are
/// known, a field that cannot be read as Null. The new file is checked before it gets its name. `from` is never
/// changed. An index that the saved rows contradict (a value twice where it may be there once) loses that rule; a table
/// whose indexes cannot take the saved values has none.
/// Throws exists, disk, inUse, and what says that `from` is no damaged file but another kind (Salvage).
RescueResult rescue(Disk& disk, const std::filesystem::path& from, const std::filesystem::path& to, DateTime now,
                    const TableNames& nameOf = {}, const std::function<void(int)>& progress = {});

/// What rescue() would save and what not. Writes nothing.
RescueResult survey(Disk& disk, const std::filesystem::path& from, const TableNames& nameOf = {});

} // namespace jet
