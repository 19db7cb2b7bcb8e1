#include "scale/formats/confirmation.h"

#include "scale/formats/line_reader.h"
#include "tests/formats/played_lines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace scale;
using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

namespace {

Reading weight(std::int64_t kilograms) { return {{kilograms, 0}, Rest::stable, Load::unknown, {}}; }

/// What counts at once of these weights, one after the other without a pause.
Texts heard(Confirmation& confirmation, const std::vector<std::int64_t>& weights, bool checked = false)
{
    Texts all;
    for (const std::int64_t kilograms : weights)
        if (confirmation.hear(weight(kilograms), checked)) all.push_back(std::to_string(kilograms));
    return all;
}

/// What a silence of this length says of the weight before it: "1240", "1240?" for one that does not count.
std::string silence(Confirmation& confirmation, std::chrono::milliseconds length)
{
    const std::optional<Confirmation::Print> print = confirmation.fallSilent(length);
    return print ? toText(print->reading.kilograms) + (print->counts ? "" : "?") : "";
}

/// A weight printed on a key, long after anything else.
std::string printed(Confirmation& confirmation, std::int64_t kilograms, bool noise = false)
{
    confirmation.hear(weight(kilograms), false);
    if (noise) confirmation.hearNoise();
    std::string told = silence(confirmation, 1000ms);
    EXPECT_EQ(silence(confirmation, 5000ms), "");
    return told;
}

} // namespace

struct HeardWeight : testing::Test {
    Confirmation confirmation;
};

TEST_F(HeardWeight, waitsForTheThirdLineThatSaysTheSame)
{
    EXPECT_EQ(heard(confirmation, {1234, 1234, 1234, 1234}), (Texts{"1234", "1234"}));
    EXPECT_EQ(heard(confirmation, {1734, 1240, 1240, 1240}), Texts{"1240"}); // one digit was changed once
}

TEST_F(HeardWeight, takesACheckedLineAtOnceBehindSixteenWholeOnes)
{
    EXPECT_EQ(heard(confirmation, {1234, 1240}, true), Texts());
    EXPECT_EQ(heard(confirmation, {1240}, true), Texts{"1240"}); // twice is enough before that
    for (int i = 0; i < 13; ++i) confirmation.hearOther();
    EXPECT_EQ(heard(confirmation, {1300, 1310}, true), (Texts{"1300", "1310"}));
}

TEST_F(HeardWeight, takesAPrintWhenNothingFollows)
{
    EXPECT_EQ(heard(confirmation, {1240}), Texts());
    EXPECT_EQ(silence(confirmation, 300ms), "");
    EXPECT_EQ(silence(confirmation, 1000ms), "1240");
    EXPECT_EQ(silence(confirmation, 5000ms), "");
    EXPECT_EQ(printed(confirmation, 980), "980");
}

TEST_F(HeardWeight, takesTheLastWeightOfAPrint)
{
    heard(confirmation, {1300, 1240}); // gross and net
    EXPECT_EQ(silence(confirmation, 1000ms), "1240");
}

TEST(Confirmation, doubtsTheLastLineOfABurstThatSaysAnotherWeightMoreOften)
{
    for (const std::vector<std::int64_t>& before : {std::vector<std::int64_t>{1234, 1234}, {1234, 1234, 1234}}) {
        Confirmation confirmation;
        EXPECT_EQ(silence(confirmation, 5000ms), "");
        heard(confirmation, before);
        heard(confirmation, {1274});
        EXPECT_EQ(silence(confirmation, 1000ms), "") << before.size();
    }
}

TEST_F(HeardWeight, tellsALoadOfItsOwnFromASlowStream)
{
    const auto ofItsOwn = [&](std::int64_t kilograms) {
        confirmation.hear(weight(kilograms), false);
        const auto print = confirmation.fallSilent(1300ms);
        return print && print->counts && print->ofItsOwn;
    };
    EXPECT_TRUE(ofItsOwn(1234)); // behind the rest before all
    EXPECT_TRUE(ofItsOwn(1234)); // the same key again
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(ofItsOwn(900)) << i;
    EXPECT_EQ(silence(confirmation, 5000ms), "");
    EXPECT_TRUE(ofItsOwn(700));
}

TEST_F(HeardWeight, takesTheLinesOfASlowStreamForNoPrints)
{
    for (const std::int64_t kilograms : {1234, 1240, 1234, 1240, 1250, 1250}) {
        EXPECT_EQ(heard(confirmation, {kilograms}), Texts()) << kilograms;
        EXPECT_EQ(silence(confirmation, 900ms), "");
    }
    EXPECT_EQ(heard(confirmation, {1250}), Texts{"1250"});
    EXPECT_EQ(silence(confirmation, 1000ms), "");
}

TEST_F(HeardWeight, doubtsPrintsThatComeTooOften)
{
    heard(confirmation, {1234});
    EXPECT_EQ(silence(confirmation, 1000ms), "1234");
    heard(confirmation, {1240});
    EXPECT_EQ(silence(confirmation, 1000ms), "1240?"); // 3 s later
    heard(confirmation, {1240});
    EXPECT_EQ(silence(confirmation, 1000ms), "1240"); // the key was pressed again
    EXPECT_EQ(printed(confirmation, 1250), "1250?");
    EXPECT_EQ(printed(confirmation, 1260), "1260"); // a long silence later
}

TEST(ConfirmationAfterNoise, wantsAWeightFourTimesAmongSixteen)
{
    Confirmation confirmation;
    confirmation.hearNoise();
    EXPECT_TRUE(confirmation.isDisturbed());
    EXPECT_EQ(heard(confirmation, {1234, 1234, 1234}), Texts());
    EXPECT_EQ(heard(confirmation, {1240, 1234}), Texts{"1234"});
    EXPECT_EQ(heard(confirmation, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}), Texts());
    EXPECT_EQ(heard(confirmation, {1240, 1240, 1240, 1240}), Texts{"1240"});
}

TEST(ConfirmationAfterNoise, wantsAWeightSixTimesAmongSixtyFour)
{
    Confirmation confirmation;
    confirmation.hearNoise();
    for (int round = 1; round < 6; ++round) EXPECT_EQ(heard(confirmation, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), Texts());
    EXPECT_EQ(heard(confirmation, {7}), Texts{"7"});
}

TEST(ConfirmationAfterNoise, wantsACheckedWeightTwice)
{
    Confirmation confirmation;
    confirmation.hearNoise();
    EXPECT_EQ(heard(confirmation, {1234, 1240, 1234}, true), Texts{"1234"});
}

TEST(ConfirmationAfterNoise, endsWithTwoHundredWholeLines)
{
    Confirmation confirmation;
    confirmation.hearNoise();
    for (int i = 0; i < 199; ++i) confirmation.hearOther();
    EXPECT_TRUE(confirmation.isDisturbed());
    confirmation.hearOther();
    EXPECT_FALSE(confirmation.isDisturbed());
}

TEST(ConfirmationAfterNoise, believesThreePrintsThatSayTheSame)
{
    Confirmation confirmation;
    EXPECT_EQ(printed(confirmation, 1234, true), ""); // what was printed is not known
    EXPECT_EQ(printed(confirmation, 1240), "1240?");
    EXPECT_EQ(printed(confirmation, 1240), "1240?");
    EXPECT_EQ(printed(confirmation, 1240), "1240");
    EXPECT_EQ(printed(confirmation, 1250), "1250?");
    EXPECT_EQ(printed(confirmation, 1250), "1250?");
    EXPECT_EQ(printed(confirmation, 1250, true), "");
    EXPECT_EQ(printed(confirmation, 1260), "1260?");
}

TEST(LineReader, tellsEveryWeightThatAFrameSays)
{
    LineReader reader(*lineFormatNamed("cas10"));
    Texts told;
    for (const char* const line :
         {"00001300\r\n", "00001300\r\n", "00001260\r\n", "00001300\r\n", "00001300\r\n", "00001300\r\n"})
        for (const Heard& one : reader.read(line))
            told.push_back(one.reading ? toText(one.reading->kilograms) : toText(one.unconfirmed->kilograms) + "?");
    EXPECT_EQ(told, (Texts{"1300?", "1300?", "1260?", "1300?", "1300", "1300"})); // four of the last 16 are enough
}

TEST(LineReader, tellsThatAPrintOfADisturbedLineWaits)
{
    LineReader reader(*lineFormatNamed("st-gs"));
    reader.read("ST,GS,+0001200kg\r\nST,GX,+0001234kg\r\n");
    reader.silence(Confirmation::betweenPrints);
    reader.read("ST,GS,+0001234kg\r\n");
    const std::vector<Heard> print = reader.silence(Confirmation::afterAPrint);
    ASSERT_EQ(print.size(), 1u);
    EXPECT_FALSE(print[0].reading.has_value());
    EXPECT_EQ(print[0].refusal, Refusal::unconfirmedPrint);
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
    const std::vector<Heard> wrong = toledo.silence(300ms);
    ASSERT_EQ(wrong.size(), 1u);
    EXPECT_EQ(wrong[0].refusal, Refusal::wrongChecksum);
    LineReader unit(*lineFormatNamed("st-gs"));
    unit.read("ST,GS,+0001234oz\r\n");
    const std::vector<Heard> unknown = unit.silence(300ms);
    ASSERT_EQ(unknown.size(), 1u);
    EXPECT_EQ(unknown[0].refusal, Refusal::unknownUnit);
}

TEST(LineReader, givesUpHalfALineInASilence)
{
    LineReader reader(*lineFormatNamed("st-gs"));
    EXPECT_TRUE(reader.read("ST,GS,+00012").empty());
    const std::vector<Heard> half = reader.silence(Confirmation::afterAPrint);
    ASSERT_EQ(half.size(), 1u);
    EXPECT_EQ(half[0].refusal, Refusal::halfLine);
    EXPECT_TRUE(reader.read("34kg\r\n").empty());
}

TEST(LineReader, keepsTheBytesAndWhatTheyAreTheWeightOf)
{
    LineReader reader(*lineFormatNamed("st-gs"));
    reader.read("ST,NT,+0001234kg\r\n");
    const std::vector<Heard> heard = reader.silence(Confirmation::afterAPrint);
    ASSERT_EQ(heard.size(), 1u);
    ASSERT_TRUE(heard[0].reading.has_value());
    EXPECT_EQ(heard[0].reading->bytes, "ST,NT,+0001234kg\r\n");
    EXPECT_EQ(heard[0].reading->load, Load::net);
}
