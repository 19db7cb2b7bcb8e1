#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace jet {

/// What a table's property block says about its rows. Texts are as they stand there; empty where there is none.
struct ColumnProperties {
    std::u16string column;
    bool required = false;
    bool emptyTextAllowed = true;
    std::u16string defaultValue;
    std::u16string rule;
    std::u16string ruleText; ///< what people are told when the rule is broken
};
struct TableProperties {
    std::vector<ColumnProperties> columns;
    std::u16string rule; ///< of the whole row
    std::u16string ruleText;
};

/// Reads the catalogue's LvProp of a table. Bytes that do not read as a property block end the reading: a block that
/// other programs may have written and that decides nothing about where data stand is no reason to refuse a table.
TableProperties tableProperties(std::span<const std::uint8_t> block);

} // namespace jet
