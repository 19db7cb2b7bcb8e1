#include "scale/formats/format_table.h"
#include "scale/formats/frame_writer.h"
#include "scale/formats/line_reader.h"
#include "tests/formats/played_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

using namespace scale;

/// Every format of the table, over its own samples.
class EachFormat : public testing::TestWithParam<const LineFormat*> {
protected:
    static const LineFormat& format() { return *GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(, EachFormat, testing::ValuesIn(allFormats()),
                         [](const auto& info) { return asTestName(info.param->name); });

TEST_P(EachFormat, saysWhatItIsAndWhereItsFactsAreFrom)
{
    EXPECT_FALSE(format().title.empty());
    EXPECT_FALSE(format().source.empty());
    EXPECT_GE(format().samples.size(), 3u);
}

TEST_P(EachFormat, readsItsSamples)
{
    for (const FormatSample& sample : format().samples) {
        std::vector<std::string> expected;
        if (sample.kilograms != "none") expected.push_back(sample.kilograms + restName(sample.rest));
        EXPECT_EQ(weightsOf(format(), sample.bytes), expected) << visible(sample.bytes);
    }
}

TEST_P(EachFormat, readsASampleThatIsPrintedOnAKey)
{
    for (const FormatSample& sample : format().samples) {
        LineReader reader(format());
        reader.read(sample.bytes);
        reader.silence(std::chrono::milliseconds(300));
        std::vector<std::string> counted;
        for (const Heard& one : reader.silence(Confirmation::afterAPrint))
            if (one.reading) counted.push_back(textOf(*one.reading));
        std::vector<std::string> expected;
        if (sample.kilograms != "none") expected.push_back(sample.kilograms + restName(sample.rest));
        EXPECT_EQ(counted, expected) << visible(sample.bytes);
    }
}

TEST_P(EachFormat, tellsWhyASampleGivesNoWeight)
{
    for (const FormatSample& sample : format().samples) {
        if (sample.kilograms != "none") continue;
        LineReader reader(format());
        std::vector<Heard> heard = reader.read(sample.bytes);
        for (Heard& last : reader.silence(Confirmation::afterAPrint)) heard.push_back(std::move(last));
        ASSERT_EQ(heard.size(), 1u) << visible(sample.bytes);
        ASSERT_TRUE(heard.front().refusal.has_value());
        EXPECT_NE(*heard.front().refusal, Refusal::unknownBytes) << visible(sample.bytes);
        EXPECT_FALSE(sentenceOf(*heard.front().refusal).empty());
    }
}

TEST_P(EachFormat, readsTheSameInBurstsOfEverySize)
{
    std::string stream;
    for (const FormatSample& sample : format().samples) stream += sample.bytes;
    const std::vector<std::string> whole = weightsOf(format(), stream);
    EXPECT_EQ(whole, undamagedWeights(format()));
    for (std::size_t size = 1; size < stream.size(); ++size)
        EXPECT_EQ(weightsOf(format(), stream, size), whole) << "in pieces of " << size;
}

TEST_P(EachFormat, makesNoWeightOfAHeadOfALine)
{
    for (const FormatSample& sample : format().samples)
        for (std::size_t cut = 0; cut < sample.bytes.size(); ++cut)
            for (const std::string& weight : weightsOf(format(), sample.bytes.substr(0, cut)))
                EXPECT_EQ(weight, sample.kilograms + restName(sample.rest)) << "cut at " << cut;
}

TEST_P(EachFormat, makesNoOtherWeightOfATailOfALine)
{
    for (const FormatSample& sample : format().samples)
        for (std::size_t cut = 1; cut < sample.bytes.size(); ++cut)
            for (const std::string& weight : weightsOf(format(), sample.bytes.substr(cut)))
                EXPECT_EQ(weight, sample.kilograms + restName(sample.rest)) << "cut at " << cut;
}

TEST_P(EachFormat, findsTheNextLinesBehindHalfALine)
{
    const std::vector<std::string> undamaged = undamagedWeights(format());
    for (const FormatSample& broken : format().samples)
        for (const FormatSample& next : format().samples)
            for (std::size_t cut = 1; cut < broken.bytes.size() && next.kilograms != "none"; ++cut) {
                const std::string stream = broken.bytes.substr(0, cut) + next.bytes + next.bytes;
                const std::vector<std::string> got = weightsOf(format(), stream);
                ASSERT_FALSE(got.empty()) << visible(stream);
                EXPECT_EQ(got.back(), next.kilograms + restName(next.rest)) << visible(stream);
                for (const std::string& weight : got)
                    EXPECT_THAT(undamaged, testing::Contains(weight)) << visible(stream);
            }
}

TEST_P(EachFormat, canBePlayedStandingAndMoving)
{
    for (const Rest rest : {Rest::stable, Rest::moving}) {
        const std::optional<std::string> tens = frameFor(format(), {12'340, 1}, rest);
        const std::optional<std::string> grams = frameFor(format(), {1234, 3}, rest);
        ASSERT_TRUE(tens || grams);
        const std::vector<std::string> read = weightsOf(format(), tens ? *tens : *grams);
        if (read.empty()) {
            EXPECT_EQ(rest, Rest::moving); // the frame says no weight, or no unit, then
            continue;
        }
        const std::string kilograms = tens ? "1234" : "1.234";
        EXPECT_THAT(read, testing::AnyOf(testing::ElementsAre(kilograms + restName(rest)),
                                         testing::ElementsAre(kilograms + " unknown")));
    }
}

TEST(FormatTable, holdsAtLeastTwentyFiveFormatsWithNamesOfTheirOwn)
{
    std::set<std::string> names;
    for (const LineFormat& format : lineFormats()) names.insert(format.name);
    EXPECT_EQ(names.size(), lineFormats().size());
    EXPECT_GE(names.size(), 25u);
    EXPECT_EQ(lineFormatNamed("st-gs"), &*std::ranges::find(lineFormats(), "st-gs", &LineFormat::name));
    EXPECT_EQ(lineFormatNamed("no such format"), nullptr);
}

TEST(FormatTable, isNotReadWithAWordThatItDoesNotKnow)
{
    EXPECT_NO_THROW(parseLineFormats("format x\nframe 02 weight:5 03\n"));
    for (const char* const text :
         {"title before any format\n", "format x\nframe 02 wait:5\n", "format x\nframe mark{A=asleep}\n",
          "format x\nframe mark{A=ok BC=ok}\n", "format x\nframe check{md5 1-2}\n", "format x\nunit stone\n",
          "format x\ncolour red\n", "format x\nframe \n"})
        EXPECT_THROW(parseLineFormats(text), std::runtime_error) << text;
}
