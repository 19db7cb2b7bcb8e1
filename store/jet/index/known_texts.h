#pragma once

#include "store/jet/index/index_tree.h"
#include "store/jet/rows/column.h"

#include <bitset>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

namespace jet {

/// Keys of texts in an order whose weights are not known, as one index column has them. Certain are
///
/// - the key of a text that the index has already;
/// - the key of a text of digits and basic letters of which each, and each pair of neighbours, stands in texts of that
///   kind that the index has, all with the keys that the General order gives them. Neighbours count because some
///   languages sort two letters as one.
///
/// Everything else would be a guess.
class KnownTexts {
public:
    KnownTexts(const Column& column, bool ascending);

    /// The text has that key, flag byte included, in the index. False when another entry says otherwise.
    bool learn(std::u16string_view text, std::span<const std::uint8_t> key);
    /// Appends the key of a text; false, and nothing appended, where it is not certain.
    bool append(Key& key, std::u16string_view text) const;

private:
    Key generalKey(std::u16string_view text) const;

    static constexpr std::size_t basicUnits = 128;
    Column generalColumn_; ///< the column as if it had the General order
    bool ascending_;
    std::unordered_map<std::u16string, Key> keys_;
    std::bitset<basicUnits> units_;
    std::bitset<basicUnits * basicUnits> pairs_;
};

} // namespace jet
