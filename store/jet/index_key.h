#pragma once

#include "store/jet/index_tree.h"
#include "store/jet/table.h"

namespace jet {

/// Appends the key bytes of one index column (flag byte included) for a value of that column's type.
/// Throws indexNotWritable when the key cannot be built with certainty: no weights for the collation, a character
/// of unsure weight, a column type that has no key.
void appendKey(Key& key, const Column& column, const Value& value, bool ascending);

/// The whole key of a row in an index, from a value for each index column in index order.
/// Throws as appendKey, and indexNotWritable for a key over 508 bytes. Nothing when the row has no entry
/// (ignore-nulls index, all columns Null).
std::optional<Key> indexKey(const Index& index, const std::vector<Column>& columns, std::span<const Value> values);

} // namespace jet
