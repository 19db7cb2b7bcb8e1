#include "scale/formats/still_weight.h"

#include <gtest/gtest.h>

using namespace scale;
using namespace std::chrono_literals;
using Verdict = StillWeight::Verdict;

namespace {

Reading standing(std::int64_t kilograms) { return {{kilograms, 0}, Rest::stable, Load::unknown, {}}; }
Reading moving(std::int64_t kilograms) { return {{kilograms, 0}, Rest::moving, Load::unknown, {}}; }
Reading silentOfIt(std::int64_t kilograms) { return {{kilograms, 0}, Rest::unknown, Load::unknown, {}}; }

/// Of a line on which every weight counts.
bool takes(StillWeight& still, const Reading& reading, StillWeight::Time now)
{
    still.hear(reading, now);
    return still.judge(reading, false) == Verdict::taken;
}

/// Printed on a key.
Verdict printed(StillWeight& still, const Reading& reading, StillWeight::Time now)
{
    still.hear(reading, now);
    return still.judge(reading, true);
}

} // namespace

struct LoadOnTheScale : testing::Test {
    StillWeight still;
};

TEST_F(LoadOnTheScale, isTakenOnceByItsFlag)
{
    EXPECT_FALSE(takes(still, moving(800), 0ms));
    EXPECT_TRUE(takes(still, standing(1234), 100ms));
    for (int i = 2; i < 36'000; ++i) ASSERT_FALSE(takes(still, standing(1234), i * 100ms)) << i; // an hour
}

TEST_F(LoadOnTheScale, isTakenAfterHalfASecondOfEqualReadingsWhereThereIsNoFlag)
{
    EXPECT_FALSE(takes(still, silentOfIt(1240), 0ms));
    EXPECT_FALSE(takes(still, silentOfIt(1234), 300ms));
    EXPECT_FALSE(takes(still, silentOfIt(1234), 600ms));
    EXPECT_FALSE(takes(still, silentOfIt(1234), 799ms));
    EXPECT_TRUE(takes(still, silentOfIt(1234), 800ms));
    EXPECT_FALSE(takes(still, silentOfIt(1234), 900ms));
}

TEST_F(LoadOnTheScale, doesNotStandWhereASwingingLoadSaysOthersInBetween)
{
    // Three in a row count; what lies between them does not, and still tells that the load swings.
    for (int round = 0; round < 20; ++round) {
        const StillWeight::Time begin = round * 1000ms;
        for (int i = 0; i < 4; ++i) EXPECT_FALSE(takes(still, silentOfIt(1300), begin + i * 100ms)) << round;
        for (int i = 4; i < 10; ++i) still.hear(silentOfIt(1300 - 40 * (i - 3)), begin + i * 100ms);
    }
}

TEST_F(LoadOnTheScale, neverStandsWhileItsFrameSaysItMoves)
{
    for (int i = 0; i < 30; ++i) EXPECT_FALSE(takes(still, moving(1234), i * 100ms));
    EXPECT_TRUE(takes(still, standing(1234), 3000ms));
}

TEST_F(LoadOnTheScale, isAboveZero)
{
    EXPECT_FALSE(takes(still, standing(0), 0ms));
    EXPECT_FALSE(takes(still, standing(-50), 100ms));
    EXPECT_FALSE(takes(still, standing(-50), 900ms));
}

TEST(StillWeight, isNotTakenAgainWhileTheLoadLiesThere)
{
    const struct {
        const char* what;
        std::int64_t kilograms;
    } readings[] = {{"the display drifts up", 1235},
                    {"and down", 1233},
                    {"a step of a coarse scale", 1240},
                    {"sacks are carried away", 600},
                    {"and more", 40}};
    StillWeight still;
    EXPECT_TRUE(takes(still, standing(1234), 0ms));
    for (const auto& [what, kilograms] : readings) {
        still.hear(standing(kilograms), 1000ms);
        EXPECT_EQ(still.judge(standing(kilograms), false), Verdict::loadStays) << what;
    }
    EXPECT_FALSE(takes(still, standing(1234), 2000ms));
    EXPECT_FALSE(takes(still, standing(0), 3000ms));
    EXPECT_TRUE(takes(still, standing(40), 4000ms));
}

TEST_F(LoadOnTheScale, growsWhileSacksArePutOn)
{
    EXPECT_TRUE(takes(still, standing(300), 0ms));
    EXPECT_TRUE(takes(still, standing(620), 40s));
    EXPECT_TRUE(takes(still, standing(900), 90s));
    EXPECT_FALSE(takes(still, standing(980), 151s)); // somebody leans on the platform
}

TEST_F(LoadOnTheScale, isTakenAgainForAnEqualLoadAfterTheScaleWasEmpty)
{
    EXPECT_TRUE(takes(still, standing(500), 0ms));
    EXPECT_FALSE(takes(still, moving(200), 100ms));
    EXPECT_FALSE(takes(still, standing(0), 200ms));
    EXPECT_FALSE(takes(still, moving(200), 300ms));
    EXPECT_TRUE(takes(still, standing(500), 400ms));
}

TEST_F(LoadOnTheScale, isTakenAgainWhenZeroWasDriftedBelow)
{
    EXPECT_TRUE(takes(still, standing(500), 0ms));
    EXPECT_FALSE(takes(still, standing(-1), 100ms));
    EXPECT_TRUE(takes(still, standing(500), 200ms));
}

TEST_F(LoadOnTheScale, isNotTakenWhereZeroDrifts)
{
    EXPECT_TRUE(takes(still, standing(1234), 0ms));
    for (const std::int64_t drift : {0, 1, 0, -1, 2, 20}) EXPECT_FALSE(takes(still, standing(drift), 1000ms)) << drift;
    EXPECT_TRUE(takes(still, standing(800), 2000ms));
}

TEST_F(LoadOnTheScale, isTakenAlthoughTheEmptyScaleWasTakenForALoad)
{
    EXPECT_TRUE(takes(still, standing(1), 0ms)); // a leaf, when the program began
    EXPECT_TRUE(takes(still, standing(500), 3600s));
    EXPECT_FALSE(takes(still, standing(700), 7200s));
    EXPECT_FALSE(takes(still, standing(1), 7300s));
    EXPECT_TRUE(takes(still, standing(700), 7400s));
}

TEST_F(LoadOnTheScale, isTakenAgainWhenAFewLeavesWereLeftLying)
{
    EXPECT_TRUE(takes(still, standing(1000), 0ms));
    EXPECT_FALSE(takes(still, standing(12), 1000ms));
    EXPECT_FALSE(takes(still, standing(20), 2000ms)); // still no load
    EXPECT_TRUE(takes(still, standing(1000), 3000ms));
}

TEST_F(LoadOnTheScale, isNotTakenAgainAfterAKnock)
{
    EXPECT_TRUE(takes(still, standing(500), 0ms));
    EXPECT_FALSE(takes(still, moving(0), 100ms));
    EXPECT_FALSE(takes(still, moving(700), 200ms));
    EXPECT_FALSE(takes(still, standing(500), 300ms));
    StillWeight withoutFlag;
    EXPECT_FALSE(takes(withoutFlag, silentOfIt(500), 0ms));
    EXPECT_TRUE(takes(withoutFlag, silentOfIt(500), 500ms));
    EXPECT_FALSE(takes(withoutFlag, silentOfIt(0), 600ms));
    EXPECT_FALSE(takes(withoutFlag, silentOfIt(500), 700ms));
    EXPECT_FALSE(takes(withoutFlag, silentOfIt(500), 1300ms));
}

TEST_F(LoadOnTheScale, isRememberedWhileTheLineIsAway)
{
    EXPECT_TRUE(takes(still, standing(500), 0ms));
    still.interrupt();
    EXPECT_FALSE(takes(still, standing(500), 100ms));
    EXPECT_FALSE(takes(still, standing(380), 200ms));
    StillWeight withoutFlag;
    EXPECT_FALSE(takes(withoutFlag, silentOfIt(500), 0ms));
    withoutFlag.interrupt();
    EXPECT_FALSE(takes(withoutFlag, silentOfIt(500), 600ms)); // nobody knows what was in between
    EXPECT_TRUE(takes(withoutFlag, silentOfIt(500), 1100ms));
}

TEST_F(LoadOnTheScale, thatNobodyCouldUseIsOfferedAgain)
{
    EXPECT_TRUE(takes(still, standing(500), 0ms));
    still.notTaken();
    EXPECT_TRUE(takes(still, standing(500), 100ms));
    EXPECT_TRUE(takes(still, standing(900), 200ms));
    still.notTaken();
    EXPECT_FALSE(takes(still, standing(500), 300ms));
}

TEST(PrintedWeight, isALoadOfItsOwn)
{
    StillWeight still;
    EXPECT_EQ(printed(still, standing(1234), 0s), Verdict::taken);
    EXPECT_EQ(printed(still, standing(1234), 60s), Verdict::sameLoad);
    EXPECT_EQ(printed(still, standing(980), 120s), Verdict::taken); // an empty scale is printed by nobody
    EXPECT_EQ(printed(still, moving(700), 180s), Verdict::notStanding);
}

TEST(PrintedWeight, isPrintedTwiceWhereTheFormatHasNoWordForRest)
{
    StillWeight still;
    EXPECT_EQ(printed(still, silentOfIt(1234), 0s), Verdict::notStanding);
    EXPECT_EQ(printed(still, silentOfIt(1234), 8s), Verdict::taken);
    EXPECT_EQ(printed(still, silentOfIt(980), 120s), Verdict::notStanding);
}
