#include "scale/formats/confirmation.h"

#include "scale/formats/line_reader.h"
#include "tests/formats/played_lines.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using namespace scale;
using Keep = Confirmation::Keep;
using Texts = std::vector<std::string>;

namespace {

Reading weight(std::int64_t kilograms) { return {{kilograms, 0}, Rest::stable, Load::unknown, {}}; }

Texts taken(Confirmation& confirmation)
{
    Texts texts;
    for (const Reading& reading : confirmation.take()) texts.push_back(toText(reading.kilograms));
    return texts;
}

/// What counts at once of these weights, one after the other without a pause.
Texts heard(Confirmation& confirmation, const std::vector<std::int64_t>& weights, bool checked = false)
{
    Texts all;
    for (const std::int64_t kilograms : weights) {
        confirmation.hear(weight(kilograms), checked);
        for (const std::string& text : taken(confirmation)) all.push_back(text);
    }
    return all;
}

} // namespace

TEST(ConfirmationOnAScreen, waitsForTheThirdLineThatSaysTheSame)
{
    Confirmation confirmation(Keep::newest);
    EXPECT_EQ(heard(confirmation, {1234, 1234, 1234, 1234}), (Texts{"1234", "1234"}));
    EXPECT_EQ(heard(confirmation, {1734, 1234, 1234, 1234}), Texts{"1234"}); // one digit was changed once
}

TEST(ConfirmationOnAScreen, takesACheckedLineAtOnce)
{
    Confirmation confirmation(Keep::newest);
    EXPECT_EQ(heard(confirmation, {1234, 1240}, true), (Texts{"1234", "1240"}));
}

TEST(ConfirmationOnAScreen, takesTheLastLineBeforeASilence)
{
    Confirmation confirmation(Keep::newest);
    EXPECT_EQ(heard(confirmation, {1234, 1240}), Texts());
    confirmation.fallSilent();
    EXPECT_EQ(taken(confirmation), Texts{"1240"});
    EXPECT_EQ(taken(confirmation), Texts());
}

TEST(ConfirmationOnAScreen, neverTellsAnOldWeightAfterANewOne)
{
    Confirmation confirmation(Keep::newest);
    EXPECT_EQ(heard(confirmation, {500, 900, 1234, 1234, 1234}), Texts{"1234"});
    confirmation.fallSilent();
    EXPECT_EQ(taken(confirmation), Texts());
}

TEST(ConfirmationInAList, losesNoneOfAnUndisturbedStream)
{
    Confirmation confirmation(Keep::every);
    Texts all = heard(confirmation, {500, 900, 1234, 1234, 1234, 1300});
    EXPECT_EQ(all, Texts());
    confirmation.fallSilent();
    EXPECT_EQ(taken(confirmation), (Texts{"500", "900", "1234", "1234", "1234", "1300"}));
}

TEST(ConfirmationInAList, needsNoSilenceBehindTwoHundredWholeLines)
{
    Confirmation confirmation(Keep::every);
    std::vector<std::int64_t> weights;
    for (std::int64_t kilograms = 1; kilograms <= 250; ++kilograms) weights.push_back(kilograms);
    EXPECT_EQ(heard(confirmation, weights).size(), 248u); // two more lines would show whether one stands alone
}

TEST(ConfirmationInAList, leavesOutWhatStandsAloneAmongOthers)
{
    Confirmation confirmation(Keep::every);
    EXPECT_EQ(heard(confirmation, {1234, 1234, 1734, 1234, 1234, 1234}),
              (Texts{"1234", "1234", "1234", "1234", "1234"}));
}

TEST(ConfirmationAfterNoise, wantsAWeightFourTimesAmongSixteen)
{
    Confirmation confirmation(Keep::newest);
    confirmation.hearNoise();
    EXPECT_TRUE(confirmation.isDisturbed());
    EXPECT_EQ(heard(confirmation, {1234, 1234, 1234}), Texts());
    EXPECT_EQ(heard(confirmation, {1240, 1234}), Texts{"1234"});
    EXPECT_EQ(heard(confirmation, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}), Texts());
    EXPECT_EQ(heard(confirmation, {1234, 1234, 1234, 1234}), Texts{"1234"});
}

TEST(ConfirmationAfterNoise, wantsACheckedWeightTwice)
{
    Confirmation confirmation(Keep::newest);
    confirmation.hearNoise();
    EXPECT_EQ(heard(confirmation, {1234, 1240, 1234}, true), Texts{"1234"});
}

TEST(ConfirmationAfterNoise, endsWithTwoHundredWholeLines)
{
    Confirmation confirmation(Keep::newest);
    confirmation.hearNoise();
    for (int i = 0; i < 199; ++i) confirmation.hearOther();
    EXPECT_TRUE(confirmation.isDisturbed());
    confirmation.hearOther();
    EXPECT_FALSE(confirmation.isDisturbed());
}

TEST(ConfirmationAfterNoise, believesTwoPrintedLinesThatSayTheSame)
{
    Confirmation confirmation(Keep::newest);
    heard(confirmation, {1234});
    confirmation.hearNoise();
    confirmation.fallSilent();
    EXPECT_EQ(taken(confirmation), Texts());
    EXPECT_EQ(heard(confirmation, {1240}), Texts());
    confirmation.fallSilent();
    EXPECT_EQ(taken(confirmation), Texts());
    EXPECT_EQ(heard(confirmation, {1240}), Texts());
    confirmation.fallSilent();
    EXPECT_EQ(taken(confirmation), Texts{"1240"});
    EXPECT_FALSE(confirmation.isDisturbed());
}

TEST(LineReader, tellsThatADisturbedLineWaits)
{
    LineReader reader(*lineFormatNamed("st-gs"));
    reader.read("ST,GS,+0001234kg\r\nST,GS,+0001234kg\r\n");
    const std::vector<Heard> noise = reader.read("ST,GX,+0001234kg\r\nST,GS,+0001240kg\r\n");
    ASSERT_EQ(noise.size(), 2u);
    EXPECT_EQ(noise[0].refusal, Refusal::unknownBytes);
    EXPECT_EQ(noise[1].refusal, Refusal::unconfirmed);
    EXPECT_TRUE(reader.isDisturbed());
}

TEST(LineReader, takesALineThatBrokeOffForNoNoise)
{
    for (const char* const broken : {"ST,GS,+00012", "ST,GS,+00012ST,GS,+0001240kg\r\n", "S"}) {
        LineReader reader(*lineFormatNamed("st-gs"));
        reader.read("ST,GS,+0001234kg\r\n");
        reader.read(broken);
        reader.read("ST,GS,+0001240kg\r\n");
        EXPECT_FALSE(reader.isDisturbed()) << broken;
    }
}

TEST(LineReader, tellsAWrongChecksumAndAnUnknownUnit)
{
    LineReader toledo(*lineFormatNamed("toledo-cont"));
    toledo.read("\x02*0   1234     0\r\x1E");
    const std::vector<Heard> wrong = toledo.silence();
    ASSERT_EQ(wrong.size(), 1u);
    EXPECT_EQ(wrong[0].refusal, Refusal::wrongChecksum);
    LineReader unit(*lineFormatNamed("st-gs"));
    unit.read("ST,GS,+0001234oz\r\n");
    const std::vector<Heard> unknown = unit.silence();
    ASSERT_EQ(unknown.size(), 1u);
    EXPECT_EQ(unknown[0].refusal, Refusal::unknownUnit);
}

TEST(LineReader, givesUpHalfALineInASilence)
{
    LineReader reader(*lineFormatNamed("st-gs"));
    EXPECT_TRUE(reader.read("ST,GS,+00012").empty());
    const std::vector<Heard> half = reader.silence();
    ASSERT_EQ(half.size(), 1u);
    EXPECT_EQ(half[0].refusal, Refusal::halfLine);
    EXPECT_TRUE(reader.read("34kg\r\n").empty());
}

TEST(LineReader, keepsTheBytesAndWhatTheyAreTheWeightOf)
{
    LineReader reader(*lineFormatNamed("st-gs"));
    reader.read("ST,NT,+0001234kg\r\n");
    const std::vector<Heard> heard = reader.silence();
    ASSERT_EQ(heard.size(), 1u);
    ASSERT_TRUE(heard[0].reading.has_value());
    EXPECT_EQ(heard[0].reading->bytes, "ST,NT,+0001234kg\r\n");
    EXPECT_EQ(heard[0].reading->load, Load::net);
}
