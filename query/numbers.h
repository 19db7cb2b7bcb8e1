#pragma once

#include "store/jet/values/value.h"

#include <string>

/// Fields as numbers of SQLite, which are doubles, and the digits that a double does not hold.
namespace query {

/// As people read it: 0.1 and not 0.10000000149011612.
double shortestOf(float number);

double numberOf(jet::Currency money);

/// The value as exchange/field_text.h writes it.
std::string fieldText(const jet::Value& value);

/// A column whose values may have more digits than a double.
bool isExact(jet::ColumnType type);
/// Money or a decimal of more than 15 digits.
bool hasManyDigits(const jet::Value& value);

} // namespace query
