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
class TextCodecStored : public TableTest<TextCodecStoredRow> {};

RowTable<TextCodecStoredRow> textCodecStored()
{
    RowTable<TextCodecStoredRow> table;
    const auto row = [&table](const char* name, const std::u16string& text, bool compressible, const char* hex) {
        table.push_back({name, {text, compressible, plainHex(hex)}});
    };
    row("empty", u"", true, "");
    row("two letters stay plain", u"Al", true, "41006C00");
    row("Latin letters", u"Kitap", true, "FFFE4B69746170");
    row("one wide letter among others, a tie", u"Di\u011Fer", true, "FFFE 4469 00 1F01 00 6572");
    row("begins with a wide letter", u"\u0130n\u015Faatlar", true, "FFFE 00 3001 00 6E 00 5F01 00 6161746C6172");
    row("ends in a wide letter", u"Kuru\u015F", true, "FFFE 4B757275 00 5F01");
    row("the column does not allow it", u"Kitap", false, "4B0069007400610070 00");
    row("longer than plain", u"\u015F\u0131\u011F", true, "5F0131011F01");
    row("a unit that ends in 00", u"abcd\u0100", true, "61006200630064000001");
    row("a mark that looks compressed", u"\uFEFFab", false, "FFFE 00 FFFE 00 6162");
    return table;
}

INSTANTIATE_TEST_SUITE_P(, TextCodecStored, testing::ValuesIn(textCodecStored()), RowName());

TEST_P(TextCodecStored, textIsStoredAsThePlatformStoresIt)
{
    const auto& [text, compressible, stored] = row();
    const auto encoded = jet::encodeText(text, compressible);
    ASSERT_TRUE(encoded.has_value());
    ASSERT_EQ(hexOf(*encoded), stored);
    std::u16string back;
    jet::decodeText(*encoded, back);
    ASSERT_EQ(back, text);
}

struct TextCodecReadRow {
    std::string stored;
    std::u16string text;
};
class TextCodecRead : public TableTest<TextCodecReadRow> {};

const RowTable<TextCodecReadRow> textCodecRead = {
    {"nothing", {"", u""}},
    {"half a unit is left out", {"4100 42", u"A"}},
    {"compressed, nothing behind the mark", {"FFFE", u""}},
    {"compressed, ends inside a pair", {"FFFE 41 00 5F", u"A"}},
    {"two changes of mode in a row", {"FFFE 41 00 00 42", u"AB"}},
    {"lone surrogate", {"00D8", std::u16string(1, char16_t(0xD800))}},
};

INSTANTIATE_TEST_SUITE_P(, TextCodecRead, testing::ValuesIn(textCodecRead), RowName());

TEST_P(TextCodecRead, everyStoredFormIsRead)
{
    const auto& [stored, text] = row();
    std::u16string back = u"before";
    jet::decodeText(bytesOf(stored), back);
    ASSERT_EQ(back, text);
}

TEST(TextCodec, aTextWithoutAnyFormIsRefused) { ASSERT_FALSE(jet::encodeText(u"\uFEFFa\u0100", true)); }

class TextCodecUnits : public TableTest<bool> {};

const RowTable<bool> textCodecUnits = {
    {"compressed where possible", true},
    {"plain", false},
};

INSTANTIATE_TEST_SUITE_P(, TextCodecUnits, testing::ValuesIn(textCodecUnits), RowName());

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
