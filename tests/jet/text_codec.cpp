#include "store/jet/values/text_codec.h"
#include "tests/support/bytes.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

namespace {

struct TextCodecStoredRow {
    std::u16string text;
    bool compressible;
    std::string stored;
};

const RowTable<TextCodecStoredRow> textCodecStored = {
    {"empty", {u"", true, ""}},
    {"two letters stay plain", {u"Al", true, "41006C00"}},
    {"Latin letters", {u"Kitap", true, "FFFE4B69746170"}},
    {"one wide letter among others, a tie", {u"Di\u011Fer", true, "FFFE 4469 00 1F01 00 6572"}},
    {"begins with a wide letter", {u"\u0130n\u015Faatlar", true, "FFFE 00 3001 00 6E 00 5F01 00 6161746C6172"}},
    {"ends in a wide letter", {u"Kuru\u015F", true, "FFFE 4B757275 00 5F01"}},
    {"the column does not allow it", {u"Kitap", false, "4B0069007400610070 00"}},
    {"longer than plain", {u"\u015F\u0131\u011F", true, "5F0131011F01"}},
    {"a unit that ends in 00", {u"abcd\u0100", true, "61006200630064000001"}},
    {"a mark that looks compressed", {u"\uFEFFab", false, "FFFE 00 FFFE 00 6162"}},
};

TABLE_SUITE(TextCodecStored, TextCodecStoredRow, textCodecStored);

TEST_P(TextCodecStored, textIsStoredAsThePlatformStoresIt)
{
    const auto& [text, compressible, stored] = row();
    const auto encoded = jet::encodeText(text, compressible);
    ASSERT_TRUE(encoded.has_value());
    ASSERT_EQ(hexOf(*encoded), plainHex(stored));
    std::u16string back;
    jet::decodeText(*encoded, back);
    ASSERT_EQ(back, text);
}

struct TextCodecReadRow {
    std::string stored;
    std::u16string text;
};

const RowTable<TextCodecReadRow> textCodecRead = {
    {"nothing", {"", u""}},
    {"half a unit is left out", {"4100 42", u"A"}},
    {"compressed, nothing behind the mark", {"FFFE", u""}},
    {"compressed, ends inside a pair", {"FFFE 41 00 5F", u"A"}},
    {"two changes of mode in a row", {"FFFE 41 00 00 42", u"AB"}},
    {"lone surrogate", {"00D8", std::u16string(1, char16_t(0xD800))}},
};

TABLE_SUITE(TextCodecRead, TextCodecReadRow, textCodecRead);

TEST_P(TextCodecRead, everyStoredFormIsRead)
{
    const auto& [stored, text] = row();
    std::u16string back = u"before";
    jet::decodeText(bytesOf(stored), back);
    ASSERT_EQ(back, text);
}

TEST(TextCodec, aTextWithoutAnyFormIsRefused) { ASSERT_FALSE(jet::encodeText(u"\uFEFFa\u0100", true)); }

const RowTable<bool> textCodecUnits = {
    {"compressed where possible", true},
    {"plain", false},
};

TABLE_SUITE(TextCodecUnits, bool, textCodecUnits);

TEST_P(TextCodecUnits, everyUnitComesBack)
{
    const bool compressible = row();
    std::u16string back;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const std::u16string text{u'a', char16_t(unit), u'b', u'c'};
        jet::decodeText(jet::encodeText(text, compressible).value(), back);
        ASSERT_EQ(back, text) << std::hex << unit;
    }
}

} // namespace
