#include "scale/formats/transcript.h"

#include "tests/formats/played_lines.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using namespace scale;
using Texts = std::vector<std::string>;

namespace {

std::string line(int kilograms)
{
    std::string digits = std::to_string(kilograms);
    return std::string(8 - digits.size(), '0') + digits + "\r\n";
}

std::string lines(const std::vector<int>& weights)
{
    std::string stream;
    for (const int kilograms : weights) stream += line(kilograms);
    return stream;
}

constexpr std::string_view noise = "0000x234\r\n";

Texts read(std::string_view stream)
{
    Texts weights;
    for (const std::string& weight : weightsOf(*lineFormatNamed("cas10"), stream))
        weights.push_back(weight.substr(0, weight.find(' ')));
    return weights;
}

} // namespace

TEST(Transcript, losesNothingOfAnUndisturbedStream)
{
    EXPECT_EQ(read(lines({500, 900, 1234, 1234, 1234, 1300})), (Texts{"500", "900", "1234", "1234", "1234", "1300"}));
    EXPECT_EQ(read(line(1234)), Texts{"1234"});
    std::vector<int> all;
    for (int kilograms = 1; kilograms <= 1000; ++kilograms) all.push_back(kilograms);
    EXPECT_EQ(read(lines(all)).size(), 1000u);
}

TEST(Transcript, leavesOutWhatStandsAloneBetweenEqualLines)
{
    EXPECT_EQ(read(lines({1234, 1234, 1734, 1234, 1234})), (Texts{"1234", "1234", "1234", "1234"}));
}

TEST(Transcript, believesNoSingleLineOfAStreamWithNoiseAnywhere)
{
    EXPECT_EQ(read(lines({500, 900, 1300}) + std::string(noise) + lines({700, 800})), Texts());
    EXPECT_EQ(read(line(500) + std::string(noise) + lines({1234, 1234, 1234, 900, 1234})),
              (Texts{"1234", "1234", "1234", "1234"}));
}

TEST(Transcript, believesThreeInARowBeforeTheFirstNoise)
{
    EXPECT_EQ(read(lines({500, 1234, 1234, 1234, 900}) + std::string(noise)), (Texts{"1234", "1234", "1234"}));
}

TEST(Transcript, givesWhatIsCertainBehindAHundredThousandWholeLines)
{
    Transcript transcript(*lineFormatNamed("cas10"));
    std::size_t given = 0;
    for (int i = 0; i < 120'000; ++i) given += transcript.read(line(i)).size();
    EXPECT_EQ(given, 20'000u);
    EXPECT_EQ(transcript.end().size(), 100'000u);
}

TEST(Transcript, trustsAStreamAgainBehindAHundredThousandWholeLines)
{
    Transcript transcript(*lineFormatNamed("cas10"));
    EXPECT_TRUE(transcript.read(line(500) + std::string(noise)).empty());
    for (int i = 0; i < 100'010; ++i) EXPECT_TRUE(transcript.read(line(i)).empty());
    EXPECT_GT(transcript.end().size(), 10u);
}
