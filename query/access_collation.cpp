#include "query/access_collation.h"

#include "store/jet/values/order_key.h"
#include "store/jet/values/value.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace query {

namespace {

/// Compares texts by their keys, piece by piece: a key tells of so many letters and no more. Letters whose weights are
/// guessed must not make two texts one: such texts stand behind those of the same key, and differ as their letters do.
class Comparison {
public:
    explicit Comparison(jet::Collation collation) : collation_(collation) {}

    int operator()(std::string_view a, std::string_view b)
    {
        if (a == b) return 0;
        std::u16string_view left = units(a, left_), right = units(b, right_);
        bool leftIsCertain = true, rightIsCertain = true;
        do {
            leftIsCertain &= key(left.substr(0, jet::textKeyUnits), leftKey_);
            rightIsCertain &= key(right.substr(0, jet::textKeyUnits), rightKey_);
            if (leftKey_ != rightKey_) return leftKey_ < rightKey_ ? -1 : 1;
            left.remove_prefix(std::min(left.size(), jet::textKeyUnits));
            right.remove_prefix(std::min(right.size(), jet::textKeyUnits));
        } while (!left.empty() || !right.empty());
        if (leftIsCertain != rightIsCertain) return leftIsCertain ? -1 : 1;
        return leftIsCertain ? 0 : jet::foldTurkish(left_).compare(jet::foldTurkish(right_));
    }

private:
    static std::u16string_view units(std::string_view utf8, std::u16string& into)
    {
        into.clear();
        for (const char c : utf8) {
            if (static_cast<unsigned char>(c) >= 0x80) {
                into = jet::fromUtf8(utf8);
                break;
            }
            into += static_cast<char16_t>(c);
        }
        return into;
    }
    /// False for a guess.
    bool key(std::u16string_view text, std::vector<std::uint8_t>& into) const
    {
        into.clear();
        if (const auto certainty = jet::appendTextKey(into, text, collation_))
            return *certainty == jet::Certainty::certain;
        jet::appendOrderKey(into, text);
        return false;
    }

    jet::Collation collation_;
    std::u16string left_, right_;
    std::vector<std::uint8_t> leftKey_, rightKey_;
};

int compareByCollation(void* object, int leftSize, const void* left, int rightSize, const void* right)
{
    return (*static_cast<Comparison*>(object))({static_cast<const char*>(left), static_cast<std::size_t>(leftSize)},
                                               {static_cast<const char*>(right), static_cast<std::size_t>(rightSize)});
}

} // namespace

int compareTexts(std::string_view first, std::string_view second, jet::Collation collation)
{
    return Comparison(collation)(first, second);
}

int addCollation(sqlite3* database, jet::Collation collation)
{
    auto comparison = std::make_unique<Comparison>(collation);
    const auto release = [](void* object) { delete static_cast<Comparison*>(object); };
    const int result =
        sqlite3_create_collation_v2(database, "ACCESS", SQLITE_UTF8, comparison.get(), compareByCollation, release);
    // A collation that SQLite did not take stays ours.
    if (result == SQLITE_OK) static_cast<void>(comparison.release());
    return result;
}

} // namespace query
