#include "scale/formats/recogniser.h"

#include "scale/formats/frame_writer.h"
#include "tests/formats/played_lines.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace scale;
using testing::Contains;
using testing::IsEmpty;

namespace {

std::string times(std::string_view text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

std::vector<std::string> names(const Recognised& found)
{
    std::vector<std::string> names;
    for (const LineFormat* format : found.candidates) names.push_back(format->name);
    return names;
}

/// A load that is put on and swings, as the format can say it.
std::string somebodyWeighs(const LineFormat& format)
{
    std::string stream;
    const auto say = [&](std::int64_t digits, Rest rest) {
        for (const Decimal weight : {Decimal{digits, 1}, Decimal{digits / 10, 0}, Decimal{digits, 3}})
            if (const std::optional<std::string> line = frameFor(format, weight, rest)) return void(stream += *line);
    };
    say(0, Rest::stable);
    for (const std::int64_t digits : {3127, 6213, 9359, 12'487, 12'456, 12'473}) say(digits, Rest::moving);
    for (int i = 0; i < 6; ++i) say(12'465, Rest::stable);
    return stream;
}

} // namespace

class RecognisedFormat : public testing::TestWithParam<const LineFormat*> {
protected:
    static const LineFormat& format() { return *GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(, RecognisedFormat, testing::ValuesIn(allFormats()),
                         [](const auto& info) { return asTestName(info.param->name); });

TEST_P(RecognisedFormat, isAmongThoseThatReadItsSamples)
{
    std::string stream;
    for (const FormatSample& sample : format().samples) stream += sample.bytes;
    EXPECT_THAT(names(recognise(stream)), Contains(format().name));
}

TEST_P(RecognisedFormat, isFoundForSureWhenALoadIsPutOn)
{
    const Recognised found = recognise(somebodyWeighs(format()));
    ASSERT_EQ(found.format, &format()) << testing::PrintToString(names(found));
    EXPECT_TRUE(found.isSure);
    std::vector<std::string> weights;
    for (const Reading& reading : found.readings) weights.push_back(toText(reading.kilograms) + restName(reading.rest));
    EXPECT_EQ(weights, weightsOf(format(), somebodyWeighs(format())));
}

TEST_P(RecognisedFormat, isFoundFromAnywhereInALine)
{
    const std::string stream = somebodyWeighs(format());
    for (std::size_t begin = 0; begin < stream.size() / 10; ++begin)
        EXPECT_THAT(names(recognise(std::string_view(stream).substr(begin))), Contains(format().name)) << begin;
}

TEST_P(RecognisedFormat, makesNoOtherWeightOfALineThatIsCut)
{
    for (const FormatSample& sample : format().samples)
        for (std::size_t cut = 0; cut < sample.bytes.size(); ++cut)
            for (const std::string& part : {sample.bytes.substr(0, cut), sample.bytes.substr(cut)})
                for (const Reading& reading : recognise(part).readings)
                    EXPECT_EQ(toText(reading.kilograms), sample.kilograms) << visible(part);
}

TEST_P(RecognisedFormat, isNoOtherOneOnALineWithNoise)
{
    std::mt19937 random(3);
    std::uniform_int_distribution<int> chance(0, 99);
    std::uniform_int_distribution<int> other(0, 255);
    for (int round = 0; round < 5; ++round) {
        std::string stream = times(somebodyWeighs(format()), 4);
        for (char& byte : stream)
            if (chance(random) == 0) byte = static_cast<char>(other(random));
        const Recognised found = recognise(stream);
        if (found.format) {
            EXPECT_THAT(names(found), Contains(format().name)) << visible(stream);
        }
    }
}

/// Streams that more than one format reads, or none.
struct DoubtfulRow {
    std::string stream;
    std::vector<std::string> candidates;
};

const RowTable<DoubtfulRow> doubtfulStreams = {
    {"forwards or backwards", {times("=012.5000", 6), {"yh-eq-reversed", "yh-eq-forward"}}},
    {"the end of a till's line", {"00000004\r\n", {}}},
    {"the rest of a number", {"34.5\r\n", {}}},
    {"nothing", {"", {}}},
    {"words", {times("TARTIM FISI\r\n", 6), {}}},
    {"the counter's own line", {times("  1234kg\r", 6), {}}},
    {"a wrong checksum", {times("\x02*0   1234     0\r\x1E", 6), {}}},
};
TABLE_SUITE(DoubtfulStream, DoubtfulRow, doubtfulStreams);

TEST_P(DoubtfulStream, isNotGuessedAt)
{
    const Recognised found = recognise(row().stream);
    EXPECT_EQ(found.format, nullptr);
    EXPECT_FALSE(found.isSure);
    EXPECT_THAT(found.readings, IsEmpty());
    EXPECT_EQ(names(found), row().candidates);
}

TEST(Recogniser, isNotSureOfAnEmptyScale)
{
    const Recognised found = recognise(times("ST,GS,+0000000kg\r\n", 20));
    EXPECT_THAT(names(found), Contains("st-gs"));
    EXPECT_FALSE(found.isSure);
}

TEST(Recogniser, isNotSureOfWhatReadsTheSameBackwards)
{
    const Recognised found = recognise(times("=0012.210=0013.310", 4));
    EXPECT_EQ(found.format, nullptr);
    EXPECT_FALSE(found.isSure);
    EXPECT_EQ(found.readings.size(), 8u); // right whichever it is
}

TEST(Recogniser, decidesBetweenTheDirectionsByADigitWhereTheSignWouldBe)
{
    EXPECT_EQ(recognise(times("=0001.234=0001.236", 4)).format, lineFormatNamed("yh-eq-forward"));
    EXPECT_EQ(recognise(times("=432.1000=632.1000", 4)).format, lineFormatNamed("yh-eq-reversed"));
}

TEST(Recogniser, takesTheFormatWhoseChecksumFits)
{
    const Recognised found = recognise(somebodyWeighs(*lineFormatNamed("toledo-cont")));
    EXPECT_EQ(names(found), std::vector<std::string>{"toledo-cont"});
}

/// A burst that reaches the control as it is: everything up to the carriage return, "kg" taken out, the last eight
/// characters; under Turkish settings a point groups digits.
std::string turkishScreen(std::string_view burst)
{
    std::string line(burst.substr(0, burst.find('\r') + 1));
    for (std::size_t at = line.find("kg"); at != std::string::npos; at = line.find("kg")) line.erase(at, 2);
    if (line.size() > 8) line.erase(0, line.size() - 8);
    std::erase_if(line, [](char c) { return c == '.' || c == ' ' || c == '\r'; });
    line.erase(0, std::min(line.find_first_not_of('0'), line.size()));
    return line;
}

TEST(LineAsItIs, isToldWhenTheScreenWouldShowAnotherWeight)
{
    const auto told = [](std::string_view stream) { return shownWronglyAsItIs(stream, ',', turkishScreen); };
    EXPECT_EQ(told(times("ST,GS,+01234.5kg\r\n", 6)), lineFormatNamed("st-gs")); // 12345
    EXPECT_EQ(told(times("ST,GS,-0000050kg\r\n", 6)), lineFormatNamed("st-gs")); // 50
    EXPECT_EQ(told(times("\x02  1234.5KG \r\n", 6)), lineFormatNamed("rlws"));   // a text
    EXPECT_EQ(told(times("ST,GS,+0001234kg\r\n", 6)), nullptr);                  // 1234
    EXPECT_EQ(told(times("  1234kg\r", 6)), nullptr);
    EXPECT_EQ(told("ST,GS,-0000050kg\r\n"), nullptr); // one line is no proof
}
