#include "store/jet/values/sort_key.h"

#include "store/jet/format/key_layout.h"
#include "store/jet/values/sort_weights.h"

#include <algorithm>
#include <array>
#include <span>

namespace jet {
namespace {

using weights::Kind;
using weights::Run;

namespace at = key_layout::text;
using at::noDiacritic;
constexpr std::uint8_t noKanaMark = 3; // the flag that is dropped from the end

/// The weight of one code unit.
struct Weight {
    std::uint32_t primary = 0;
    std::uint8_t primaryBytes = 0;
    std::uint8_t weights = 0;
    std::uint8_t diacritic = noDiacritic;
    std::uint8_t second = noDiacritic;
    std::uint8_t kana = 0;
    Kind kind = Kind::ignored;
    bool certain = false;
};

std::uint8_t bytesOf(std::uint32_t primary)
{
    if (primary > 0xFFFFFF) return 4;
    if (primary > 0xFFFF) return 3;
    return primary > 0xFF ? 2 : 1;
}

/// The two-byte weight `places` after `primary`.
std::uint32_t weightAfter(std::uint32_t primary, std::uint32_t places)
{
    constexpr std::uint32_t perLead = 254;
    const std::uint32_t place = (primary >> 8) * perLead + (primary & 0xFF) - 2 + places;
    return (place / perLead) << 8 | (place % perLead + 2);
}

Weight weightIn(const Run& run, char16_t unit)
{
    const auto places = static_cast<std::uint32_t>(unit - run.first) * run.step;
    const std::uint32_t primary = places == 0 ? run.primary : weightAfter(run.primary, places);
    return {primary, bytesOf(primary), run.weights, run.diacritic, run.second, run.kana, run.kind, run.certain};
}

/// The run that holds the unit, or null.
const Run* runOf(const std::vector<Run>& runs, char16_t unit)
{
    auto after = std::ranges::upper_bound(runs, unit, {}, &Run::first);
    if (after == runs.begin()) return nullptr;
    const Run& run = *std::prev(after);
    return unit - run.first < run.count ? &run : nullptr;
}

/// Weights of one collating order. The letters of everyday lie in a flat table, the rest is searched for.
class Weights {
public:
    explicit Weights(bool isTurkish) : turkish_(isTurkish)
    {
        for (std::size_t unit = 0; unit < near_.size(); ++unit) near_[unit] = find(static_cast<char16_t>(unit));
    }
    Weight operator[](char16_t unit) const { return unit < near_.size() ? near_[unit] : find(unit); }

private:
    Weight find(char16_t unit) const
    {
        const weights::Table& table = weights::table();
        const Run* run = turkish_ ? runOf(table.turkishChanges, unit) : nullptr;
        if (run == nullptr) run = runOf(table.general, unit);
        Weight weight = run != nullptr ? weightIn(*run, unit) : Weight{};
        if (turkish_) weight.certain = runOf(table.turkishCertain, unit) != nullptr;
        return weight;
    }

    bool turkish_;
    std::array<Weight, 0x180> near_;
};

const Weights* weightsOf(Collation collation)
{
    if (collation == general) {
        static const Weights table(false);
        return &table;
    }
    if (collation == turkish) {
        static const Weights table(true);
        return &table;
    }
    return nullptr;
}

/// What of a text is indexed: its first units, then without the spaces at the end.
std::u16string_view indexedPart(std::u16string_view text)
{
    text = text.substr(0, textKeyUnits);
    while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
    return text;
}

void appendKana(std::vector<std::uint8_t>& key, std::span<const std::uint8_t> flags)
{
    while (!flags.empty() && flags.back() == noKanaMark) flags = flags.first(flags.size() - 1);
    for (std::size_t i = 0; i < flags.size(); i += at::kanaPerByte) {
        unsigned packed = at::kanaByte;
        for (std::size_t k = 0; k < at::kanaPerByte && i + k < flags.size(); ++k)
            packed |= unsigned{flags[i + k]} << at::kanaBits * (at::kanaPerByte - 1 - k);
        key.push_back(static_cast<std::uint8_t>(packed));
    }
    key.insert(key.end(), at::kanaEnd.begin(), at::kanaEnd.end());
}

} // namespace

bool hasWeights(Collation collation) { return collation == general || collation == turkish; }

std::optional<Certainty> appendTextKey(std::vector<std::uint8_t>& key, std::u16string_view text, Collation collation)
{
    const Weights* table = weightsOf(collation);
    if (table == nullptr) return std::nullopt;

    // Room for the worst text: four bytes and three weights for a unit, and a combining mark ahead of all letters.
    std::array<std::uint8_t, textKeyUnits * 4> letters;
    std::array<std::uint8_t, textKeyUnits * 3 + 1> diacritics;
    std::array<std::uint8_t, textKeyUnits * at::signBytes> records;
    std::array<std::uint8_t, textKeyUnits> kana;
    std::size_t letterBytes = 0, diacriticCount = 0, recordBytes = 0, kanaCount = 0;
    unsigned position = 0;
    bool certain = true;

    for (const char16_t unit : indexedPart(text)) {
        const Weight weight = (*table)[unit];
        certain = certain && weight.certain;
        switch (weight.kind) {
        case Kind::ignored:
            break;
        case Kind::letter:
            for (unsigned shift = weight.primaryBytes * 8U; shift != 0;) {
                shift -= 8;
                letters[letterBytes++] = static_cast<std::uint8_t>(weight.primary >> shift);
            }
            diacritics[diacriticCount++] = weight.diacritic;
            if (weight.weights > 1) diacritics[diacriticCount++] = weight.second;
            if (weight.weights > 2) diacritics[diacriticCount++] = noDiacritic;
            position += weight.weights;
            if (weight.kana != 0) kana[kanaCount++] = weight.kana;
            break;
        case Kind::unprintable: {
            const unsigned place = at::signPlace | (at::signPlaceStep * position + at::signPlaceStart);
            records[recordBytes++] = static_cast<std::uint8_t>(place >> 8);
            records[recordBytes++] = static_cast<std::uint8_t>(place);
            records[recordBytes++] = at::signMark;
            records[recordBytes++] = static_cast<std::uint8_t>(weight.primary);
            break;
        }
        case Kind::combining:
            if (diacriticCount == 0) {
                // Counts as no position: only weights do.
                diacritics[diacriticCount++] = static_cast<std::uint8_t>(weight.primary);
            } else {
                std::uint8_t& last = diacritics[diacriticCount - 1];
                // Nobody has seen what becomes of a sum over 255.
                certain = certain && last + weight.primary <= 0xFF;
                last = static_cast<std::uint8_t>(last + weight.primary);
            }
            break;
        }
    }

    key.insert(key.end(), letters.begin(), letters.begin() + static_cast<std::ptrdiff_t>(letterBytes));
    key.push_back(at::partEnd);
    while (diacriticCount > 0 && diacritics[diacriticCount - 1] <= noDiacritic) --diacriticCount;
    key.insert(key.end(), diacritics.begin(), diacritics.begin() + static_cast<std::ptrdiff_t>(diacriticCount));
    if (kanaCount > 0 || recordBytes > 0) key.insert(key.end(), {at::partEnd, at::partEnd});
    if (kanaCount > 0) {
        appendKana(key, std::span(kana).first(kanaCount));
        if (recordBytes > 0) key.push_back(at::betweenKanaAndSigns);
    }
    if (recordBytes > 0) {
        key.push_back(at::partEnd);
        key.insert(key.end(), records.begin(), records.begin() + static_cast<std::ptrdiff_t>(recordBytes));
    }
    key.push_back(at::end);
    return certain ? Certainty::certain : Certainty::uncertain;
}

std::optional<TextKey> textKey(std::u16string_view text, Collation collation)
{
    TextKey key;
    const auto certainty = appendTextKey(key.bytes, text, collation);
    if (!certainty) return std::nullopt;
    key.certainty = *certainty;
    return key;
}

std::optional<char16_t> firstUncertain(std::u16string_view text, Collation collation)
{
    const Weights* table = weightsOf(collation);
    if (table == nullptr) return std::nullopt;
    unsigned diacritic = 0;
    for (const char16_t unit : indexedPart(text)) {
        const Weight weight = (*table)[unit];
        if (weight.kind == Kind::letter) diacritic = weight.weights > 1 ? weight.second : weight.diacritic;
        if (weight.kind == Kind::combining) diacritic += weight.primary;
        if (!weight.certain || diacritic > 0xFF) return unit;
    }
    return std::nullopt;
}

} // namespace jet
