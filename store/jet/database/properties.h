#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace jet {

/// The names of the columns that a table's property block (the catalogue's LvProp) marks as Required.
/// Bytes that do not read as a property block end the reading: a block that other programs may have written and that
/// decides nothing about where data stand is no reason to refuse a table.
std::vector<std::u16string> requiredColumns(std::span<const std::uint8_t> properties);

} // namespace jet
