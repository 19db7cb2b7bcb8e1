#pragma once

#include "store/jet/index/index_tree.h"
#include "store/jet/rows/column.h"
#include "store/jet/rows/index.h"

#include <optional>
#include <span>

/// From the values of a row to the bytes of its index entry (format/key_layout.h has the table of payloads).
namespace jet {

class KnownTexts;

/// What a key is wanted for.
enum class KeyUse {
    write,   ///< to go into a file: only keys that Access would make, byte for byte
    compare, ///< to find or to check entries that are there: unsure and overlong keys too
};

/// Appends the key bytes of one index column, flag byte included, for a value of that column's type. A Null Boolean
/// is False. A Numeric must have the column's scale.
/// Throws indexNotWritable when there is no key: no weights for the column's collating order, a column type that has
/// none, and for writing a character of unsure weight. Throws badValue for a value of another type than the column's.
void appendKey(Key& key, const Column& column, const Value& value, bool ascending, KeyUse use = KeyUse::write);
/// The same for comparing, from the field's bytes as they are stored (nothing: Null), for types whose values are one
/// number. False for the other types; then nothing was appended.
bool appendStoredKey(Key& key, const Column& column, const std::optional<std::span<const std::uint8_t>>& stored,
                     bool ascending);

/// The whole key of a row in an index, from a value for each index column in index order.
/// Nothing when the row has no entry (ignore-nulls index, all columns Null).
/// `known`: keys of texts of an order without weights, where an index has one such column.
/// Throws as appendKey, and indexNotWritable for writing a key over key_layout::longest.
std::optional<Key> indexKey(const Index& index, const std::vector<Column>& columns, std::span<const Value> values,
                            KeyUse use = KeyUse::write, const KnownTexts* known = nullptr);

/// The same into `key` (replaced), whose room is used again; for keys by the hundred thousand. False: no entry.
bool indexKey(Key& key, const Index& index, const std::vector<Column>& columns, std::span<const Value> values,
              KeyUse use = KeyUse::write, const KnownTexts* known = nullptr);

/// A column whose texts have keys that cannot be computed.
bool hasUnknownOrder(const Column& column);

} // namespace jet
