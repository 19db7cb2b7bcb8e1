#pragma once

#include <cstdint>
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
    bool unreadable = false; ///< the block was not read to its end: there may be rules that do not stand here
};

/// Reads the catalogue's LvProp of a table; an empty one says nothing. Bytes that do not read as a property block end
/// the reading and leave their mark: the table can be read, and must not be written by rules that nobody knows.
TableProperties tableProperties(std::span<const std::uint8_t> block);

} // namespace jet
