#include "store/jet/values/like_pattern.h"
#include "store/jet/format/doors.h"
#include "store/jet/values/sort_key.h"
#include "store/jet/values/value.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

using jet::LikePattern;

namespace {

using testing::HasSubstr;

struct LikePatternMatchRow {
    std::u16string pattern;
    std::u16string name;
    bool matches;
};

const RowTable<LikePatternMatchRow> likePatternMatch = {
    {"first letter", {u"A*", u"Ali", true}},
    {"letter case does not count", {u"A*", u"ali", true}},
    {"another letter", {u"A*", u"Çağla", false}},
    {"a letter with a circumflex is another letter", {u"A*", u"Âdem", false}},
    {"the star may stand for nothing", {u"Ali*", u"Ali", true}},
    {"a longer name of two words", {u"Ali*", u"Ali Veli", true}},
    {"a longer name of one word", {u"Ali*", u"Alican", true}},
    {"not in the middle", {u"Ali*", u"Veli Ali", false}},
    {"not a shorter name", {u"Ali*", u"Al", false}},
    {"capital dotted i is i", {u"Ali*", u"ALİ", true}},
    {"capital dotless i is not i", {u"Ali*", u"ALI", false}},
    {"dotless small", {u"Işık*", u"ışık", true}},
    {"dotless capital", {u"Işık*", u"IŞIK", true}},
    {"dotted finds small i", {u"İs*", u"is", true}},
    {"dotted does not find dotless", {u"İs*", u"Isparta", false}},
    {"a typed star doubles", {u"A**", u"Ali", true}},
    {"a typed star is a wildcard", {u"A*l*", u"Ahmet Veli", true}},
    {"a comma is a comma", {u"5,*", u"5,", true}},
    {"percent is percent", {u"%*", u"%5", true}},
    {"percent is no wildcard", {u"%*", u"Ali", false}},
    {"underscore is underscore", {u"A_*", u"A_1", true}},
    {"underscore is no wildcard", {u"A_*", u"Ali", false}},
    {"number sign is a digit", {u"A#*", u"A1", true}},
    {"number sign is no letter", {u"A#*", u"Ab", false}},
    {"set, first", {u"[AB]l*", u"Ali", true}},
    {"set, second", {u"[AB]l*", u"Bl", true}},
    {"set, neither", {u"[AB]l*", u"Cl", false}},
    {"a typed blank is needed", {u"Ali *", u"Ali", false}},
    {"a typed blank is found", {u"Ali *", u"Ali Veli", true}},

    {"question mark is one character", {u"A?i", u"Ali", true}},
    {"question mark is not nothing", {u"Al?i", u"Ali", false}},
    {"question mark is not two", {u"A?", u"Ali", false}},
    {"range", {u"[a-c]*", u"Bekir", true}},
    {"range goes by the alphabet", {u"[a-d]*", u"Çetin", true}},
    {"range ends there", {u"[a-c]*", u"Çetin", false}},
    {"range of digits", {u"[2-4]", u"3", true}},
    {"range of digits, outside", {u"[2-4]", u"5", false}},
    {"negated set", {u"[!AB]*", u"Cemal", true}},
    {"negated set, in it", {u"[!AB]*", u"bekir", false}},
    {"negated set needs a character", {u"[!AB]", u"", false}},
    {"lone exclamation mark", {u"[!]", u"!", true}},
    {"hyphen at an end", {u"[a-]x", u"-x", true}},
    {"hyphen in front", {u"[-a]x", u"-x", true}},
    {"wildcards in brackets are themselves", {u"[*]*", u"*5", true}},
    {"wildcards in brackets, other", {u"[*]*", u"Ali", false}},
    {"an opening bracket in brackets", {u"[[]a", u"[a", true}},
    {"empty brackets are nothing", {u"A[]l*", u"Ali", true}},
    {"a closing bracket alone", {u"a]b", u"A]B", true}},
    {"no pattern, no text", {u"", u"", true}},
    {"no pattern, some text", {u"", u"A", false}},
    {"star alone, no text", {u"*", u"", true}},
    {"end is anchored", {u"*li", u"Veli Ali", true}},
    {"end is anchored, not there", {u"*li", u"Alican", false}},
    {"the last star gives way", {u"*ab*ab", u"abxabyab", true}},
};

TABLE_SUITE(LikePatternMatch, LikePatternMatchRow, likePatternMatch);

TEST_P(LikePatternMatch, matchesWhatThePatternSays)
{
    const auto& [pattern, name, matches] = row();
    const LikePattern like(pattern);
    ASSERT_EQ(like.matches(name), matches);
    ASSERT_EQ(like.matchesFolded(jet::foldTurkish(name)), matches);
}

struct LikePatternOrderRow {
    jet::Collation order;
    std::u16string pattern;
    std::u16string text;
    bool matches;
};

constexpr jet::Collation french{0x040C, 0}; // no weights are known

const RowTable<LikePatternOrderRow> likePatternOrder = {
    {"Turkish, capital dotless i is not i", {jet::turkish, u"i*", u"ISTANBUL", false}},
    {"Turkish, capital dotted i is i", {jet::turkish, u"i*", u"İstanbul", true}},
    {"Turkish, dotless i in both cases", {jet::turkish, u"I*", u"ısı", true}},
    {"Turkish, ç stands outside a-c", {jet::turkish, u"[a-c]", u"Ç", false}},
    {"Turkish, ö stands between o and p", {jet::turkish, u"[!o-p]", u"Ö", false}},
    {"general, I is i", {jet::general, u"i*", u"ISTANBUL", true}},
    {"general, i is I", {jet::general, u"MIN#", u"min1", true}},
    {"general, capital dotted i is not i", {jet::general, u"i*", u"İstanbul", false}},
    {"general, dotless i is not I", {jet::general, u"I*", u"ısı", false}},
    {"general, I in a set", {jet::general, u"[xi]", u"I", true}},
    {"general, I in a range", {jet::general, u"[h-j]", u"I", true}},
    {"general, ç stands between c and d", {jet::general, u"[c-d]", u"Ç", true}},
    {"general, other letters fold alike", {jet::general, u"ŞÜKRÜ", u"şükrü", true}},
    {"unknown, I is i", {french, u"i*", u"ISTANBUL", true}},
    {"unknown, ranges as in the general order", {french, u"[c-d]", u"Ç", true}},
};

TABLE_SUITE(LikePatternOrder, LikePatternOrderRow, likePatternOrder);

TEST_P(LikePatternOrder, lettersAreThoseOfTheOrder)
{
    const auto& [order, pattern, text, matches] = row();
    const LikePattern like(pattern, order);
    ASSERT_EQ(like.matches(text), matches);
    ASSERT_EQ(like.matchesFolded(jet::foldCase(text, order)), matches);
}

TEST(LikePattern, theGeneralOrderFoldsJustWhatItsKeysHoldEqual)
{
    // The letters of Europe's alphabets, and those of Turkish among them.
    for (char16_t unit = 0x20; unit < 0x180; ++unit) {
        const auto key = [](char16_t letter) { return jet::textKey({&letter, 1}, jet::general)->bytes; };
        const char16_t folded = jet::foldCase(unit, jet::general);
        ASSERT_EQ(jet::foldCase(folded, jet::general), folded);
        ASSERT_EQ(key(unit), key(folded)) << int(unit);
    }
    ASSERT_FALSE(LikePattern(u"i", jet::general).matches(u"ı"));
}

const RowTable<std::u16string> likePatternRefusal = {
    {"set not closed", u"[A*"},
    {"second set not closed", u"[A]l["},
    {"range backwards", u"[c-a]*"},
    {"range backwards by the alphabet", u"[d-ç]*"},
};

TABLE_SUITE(LikePatternRefusal, std::u16string, likePatternRefusal);

TEST_P(LikePatternRefusal, refusesPatternsThatCannotBeRead)
{
    const std::u16string& pattern = row();
    const auto refusal = refusalOf([&] { LikePattern like(pattern); });
    ASSERT_EQ(refusal.fault, jet::Fault::syntax);
    ASSERT_THAT(refusal.sentence, HasSubstr(jet::toUtf8(pattern)));
}

struct LikePatternPrefixRow {
    std::u16string pattern;
    std::u16string prefix;
    bool anyEnd; ///< whatever begins so matches
};

const RowTable<LikePatternPrefixRow> likePatternPrefix = {
    {"a typed name", {u"Ali*", u"ali", true}}, {"dotless i", {u"Işık*", u"ışık", true}},
    {"a star inside", {u"A*l*", u"a", false}}, {"two stars are one", {u"A**", u"a", true}},
    {"a set", {u"A[bc]*", u"a", false}},       {"no star", {u"Ali", u"ali", false}},
    {"star alone", {u"*", u"", true}},
};

TABLE_SUITE(LikePatternPrefix, LikePatternPrefixRow, likePatternPrefix);

TEST_P(LikePatternPrefix, knowsWhatEveryMatchBeginsWith)
{
    const auto& [pattern, prefix, anyEnd] = row();
    const LikePattern like(pattern);
    ASSERT_EQ(like.prefix(), prefix);
    ASSERT_EQ(like.matches(prefix + u"zq"), anyEnd);
}

TEST(LikePattern, manyStarsCostNoMoreThanPatternTimesText)
{
    std::u16string pattern;
    for (int i = 0; i < 60; ++i) pattern += u"*a";
    pattern += u"*b";
    const std::u16string name(255, u'a');
    // Trying every way to divide the text among the stars would not end in a lifetime.
    ASSERT_FALSE(LikePattern(pattern).matches(name));
}

} // namespace
