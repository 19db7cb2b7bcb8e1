#include "store/jet/values/sort_key.h"
#include "store/jet/values/value.h"
#include "tests/support/bytes.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

using jet::Certainty;
using jet::Collation;

namespace {

std::string keyOf(const std::u16string& text, Collation collation)
{
    const auto key = jet::textKey(text, collation);
    return key ? hexOf(key->bytes) : "none";
}

bool certain(const std::u16string& text, Collation collation)
{
    return jet::textKey(text, collation)->certainty == Certainty::certain;
}

struct SortKeyBytesRow {
    std::u16string text;
    jet::Collation collation;
    std::string key;
};

const RowTable<SortKeyBytesRow> sortKeyBytes = {
    {"empty", {u"", jet::general, "01 00"}},
    {"letters and a digit", {u"AA3AA", jet::general, "4A 4A 3C 4A 4A 01 00"}},
    {"diacritic", {u"AAËAA", jet::general, "4A 4A 51 4A 4A 01 02 02 13 00"}},
    {"many diacritics", {u"ääkkösiä", jet::general, "4A 4A 5C 5C 64 6B 59 4A 01 13 13 02 02 13 02 02 13 00"}},
    {"hyphen", {u"A-", jet::general, "4A 01 01 01 01 800B 06 82 00"}},
    {"hyphens and two-byte weights",
     {u"-\u00A0Á--Á\u00A0-", jet::general,
      "0802 4A 4A 0802 01 02 0E 0E 01 01 01 8007 06 82 800F 06 82 800F 06 82 8017 06 82 00"}},
    {"sharp s takes two positions",
     {u"NuNuCa Nuß-Nougat-Creme", jet::general,
      "62 6F 62 6F 4D 4A 07 62 6F 6B6B 62 64 6F 55 4A 6D 4D 69 51 60 51 01 01 01 01 8033 06 82 804B 06 82 00"}},
    {"ideographs and kana",
     {u"漢字仮名交じり文", jet::general,
      "C0B6 ACAC A00D A547 9FBE 7F13 7F43 B6F6 01 02 02 02 02 02 03 01 01 FF 02 80 FF 80 00"}},
    {"control character in front", {u"\u0003DirData", jet::general, "4F5969 4F4A6D4A 01 01 01 01 8007 06 05 00"}},
    {"umlaut in front", {u"ümlaut", jet::general, "6F 60 5E 4A 6F 6D 01 13 00"}},
    {"Tables", {u"Tables", jet::general, "6D4A4C5E516B 01 00"}},
    {"Tables in Turkish", {u"Tables", jet::turkish, "6D4A4C5E516B 01 00"}},
    {"AĞRI", {u"AĞRI", jet::turkish, "4A 5602 69 5806 01 00"}},
    {"BİNGÖL", {u"BİNGÖL", jet::turkish, "4C 59 62 55 6502 5E 01 00"}},
    {"GÜMÜŞHANE", {u"GÜMÜŞHANE", jet::turkish, "55 7003 60 7003 6C07 57 4A 62 51 01 00"}},
    {"İÇEL", {u"İÇEL", jet::turkish, "59 4E03 51 5E 01 00"}},
    {"Türkçe", {u"Türkçe", jet::turkish, "6D 7003 69 5C 4E03 51 01 00"}},
    {"Beden Eğitimi", {u"Beden Eğitimi", jet::turkish, "4C 51 4F 51 62 07 51 5602 59 6D 59 60 59 01 00"}},
    {"siraögrenciler", {u"siraögrenciler", jet::turkish, "6B 59 69 4A 6502 55 69 51 62 4D 59 5E 51 69 01 00"}},
    {"işçilik", {u"işçilik", jet::turkish, "59 6C07 4E03 59 5E 59 5C 01 00"}},
    {"circumflex and apostrophe",
     {u"Kâğıt'ı", jet::turkish, "5C 4A 5602 5806 6D 5806 01 02 12 01 01 01 801B 06 80 00"}},
};

TABLE_SUITE(SortKeyBytes, SortKeyBytesRow, sortKeyBytes);

TEST_P(SortKeyBytes, keyIsTheOneAccessWrites)
{
    const auto& [text, collation, key] = row();
    ASSERT_EQ(keyOf(text, collation), plainHex(key));
    ASSERT_TRUE(certain(text, collation));
}

struct SortKeyWeightsRow {
    bool inTurkish;
    std::uint64_t digest;
};

const RowTable<SortKeyWeightsRow> sortKeyWeights = {
    // Digests of the keys of "A?B" for every code unit, made by another program from the tables of weights.
    {"General", {false, 0x505d442bb150cd47}},
    {"Turkish", {true, 0x121043d4a1569a08}},
};

TABLE_SUITE(SortKeyWeights, SortKeyWeightsRow, sortKeyWeights);

TEST_P(SortKeyWeights, everyCodeUnitHasItsWeight)
{
    const auto& [inTurkish, digest] = row();
    std::uint64_t fnv = 0xcbf29ce484222325;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const std::u16string text{u'A', char16_t(unit), u'B'};
        std::vector<std::uint8_t> key;
        jet::appendTextKey(key, text, inTurkish ? jet::turkish : jet::general);
        for (const std::uint8_t byte : key) fnv = (fnv ^ byte) * 0x100000001b3;
    }
    ASSERT_EQ(fnv, digest);
}

TEST(SortKey, trailingSpacesAndTheRestAfter255UnitsDoNotCount)
{
    ASSERT_EQ(keyOf(u"Ali  ", jet::turkish), keyOf(u"Ali", jet::turkish));
    ASSERT_NE(keyOf(u" Ali", jet::turkish), keyOf(u"Ali", jet::turkish));
    ASSERT_NE(keyOf(u"A li", jet::turkish), keyOf(u"Ali", jet::turkish));
    ASSERT_EQ(keyOf(u"   ", jet::turkish), keyOf(u"", jet::turkish));
    const std::u16string longText(255, u'x');
    ASSERT_EQ(keyOf(longText + u"yz", jet::general), keyOf(longText, jet::general));
    // The cut comes first: a letter behind the 255th unit does not keep the spaces before it.
    ASSERT_EQ(keyOf(u"a" + std::u16string(254, u' ') + u"b", jet::general), keyOf(u"a", jet::general));
}

TEST(SortKey, caseAndIgnoredCharactersDoNotCount)
{
    ASSERT_EQ(keyOf(u"zeytin", jet::general), keyOf(u"ZEYTIN", jet::general));
    ASSERT_EQ(keyOf(u"SINIR", jet::turkish), keyOf(u"sınır", jet::turkish));
    ASSERT_EQ(keyOf(u"SİNİR", jet::turkish), keyOf(u"sinir", jet::turkish));
    ASSERT_NE(keyOf(u"SINIR", jet::turkish), keyOf(u"SİNİR", jet::turkish));
    ASSERT_EQ(keyOf(std::u16string(u"a\0b", 3), jet::turkish), keyOf(u"ab", jet::turkish));
}

TEST(SortKey, turkishOrderIsTheAlphabet)
{
    const std::u16string alphabet = u"abcçdefgğhıijklmnoöprsştuüvyz";
    for (std::size_t i = 0; i + 1 < alphabet.size(); ++i) {
        const auto lower = jet::textKey(alphabet.substr(i, 1) + u"z", jet::turkish)->bytes;
        const auto higher = jet::textKey(alphabet.substr(i + 1, 1) + u"a", jet::turkish)->bytes;
        ASSERT_LT(lower, higher) << jet::toUtf8(alphabet.substr(i, 2));
    }
}

TEST(SortKey, appendingLeavesWhatIsThere)
{
    std::vector<std::uint8_t> key{0x12, 0x7F};
    ASSERT_EQ(jet::appendTextKey(key, u"A", jet::general), Certainty::certain);
    ASSERT_EQ(key, (std::vector<std::uint8_t>{0x12, 0x7F, 0x4A, 0x01, 0x00}));
    ASSERT_FALSE(jet::appendTextKey(key, u"A", Collation{0x0407, 0}));
    ASSERT_EQ(key.size(), 5U);
}

TEST(SortKey, otherOrdersHaveNoWeights)
{
    ASSERT_TRUE(jet::hasWeights(jet::general));
    ASSERT_TRUE(jet::hasWeights(jet::turkish));
    ASSERT_FALSE(jet::hasWeights(Collation{0x0407, 0}));
    ASSERT_FALSE(jet::hasWeights(Collation{0x0409, 1}));
    ASSERT_FALSE(jet::textKey(u"A", Collation{0x0409, 1}));
}

struct SortKeyCertaintyRow {
    std::u16string text;
    bool inGeneral;
    bool inTurkish;
};

const RowTable<SortKeyCertaintyRow> sortKeyCertainty = {
    {"Turkish name", {u"Çiğdem Öğüt-Işık", true, true}},
    {"all of code page 1254", {u"é â î û € … ™ ß Æ", true, true}},
    {"Greek", {u"Ωμέγα", true, false}},
    {"Polish", {u"Łódź", true, false}},
    {"combining mark", {u"g\u0306", true, false}},
    {"surrogates", {u"\U0001F600", false, false}},
    {"never listed", {u"\u0378", false, false}},
    {"measured as ignored", {u"\u1F76", true, false}},
    {"diacritic bytes that overflow", {u"\u00E4" + std::u16string(40, u'\u0306'), false, false}},
    {"unsure unit behind the 255th", {std::u16string(255, u'a') + u"\U0001F600", true, true}},
};

TABLE_SUITE(SortKeyCertainty, SortKeyCertaintyRow, sortKeyCertainty);

TEST_P(SortKeyCertainty, onlyKnownWeightsAreCertain)
{
    const auto& [text, inGeneral, inTurkish] = row();
    ASSERT_EQ(certain(text, jet::general), inGeneral);
    ASSERT_EQ(certain(text, jet::turkish), inTurkish);
    ASSERT_EQ(!jet::firstUncertain(text, jet::general), inGeneral);
    ASSERT_EQ(!jet::firstUncertain(text, jet::turkish), inTurkish);
}

TEST(SortKey, longestTextsFit)
{
    // U+FB03 has three weights, U+05F0 four primary bytes; a combining mark leads.
    const auto ligatures = jet::textKey(u"\u0306" + std::u16string(254, u'\uFB03'), jet::general);
    ASSERT_EQ(ligatures->bytes.size(), 254u * 3 + 1 + 1 + 1);
    const auto hebrew = jet::textKey(std::u16string(255, u'\u05F0'), jet::general);
    ASSERT_EQ(hebrew->bytes.size(), 255u * 4 + 2);
    const auto records = jet::textKey(std::u16string(300, u'-'), jet::general);
    ASSERT_EQ(records->bytes.size(), 1u + 2 + 1 + 255 * 4 + 1);
}

struct SortKeyFoldingRow {
    std::u16string text;
    std::u16string folded;
};

const RowTable<SortKeyFoldingRow> sortKeyFolding = {
    {"i with and without dot", {u"IıİiIŞIK", u"ııiiışık"}},
    {"alphabet", {u"ABCÇDEFGĞHIİJKLMNOÖPRSŞTUÜVYZ", u"abcçdefgğhıijklmnoöprsştuüvyz"}},
    {"foreign letters", {u"QWXÂÎÛÉÑØŁŸ ΩΆ ДЁЖ", u"qwxâîûéñøłÿ ωά дёж"}},
    {"no letters", {u"12-'_%[]\u00D7\u00F7 漢", u"12-'_%[]\u00D7\u00F7 漢"}},
    {"empty", {u"", u""}},
};

TABLE_SUITE(SortKeyFolding, SortKeyFoldingRow, sortKeyFolding);

TEST_P(SortKeyFolding, foldingPairsTurkishLetters)
{
    const auto& [text, folded] = row();
    ASSERT_EQ(jet::foldTurkish(text), folded);
}

} // namespace
