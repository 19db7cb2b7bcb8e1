#include "scale/formats/still_weight.h"

#include <gtest/gtest.h>

using namespace scale;
using namespace std::chrono_literals;

namespace {

Reading standing(std::int64_t kilograms) { return {{kilograms, 0}, Rest::stable, Load::unknown, {}}; }
Reading moving(std::int64_t kilograms) { return {{kilograms, 0}, Rest::moving, Load::unknown, {}}; }
Reading silentOfIt(std::int64_t kilograms) { return {{kilograms, 0}, Rest::unknown, Load::unknown, {}}; }

} // namespace

TEST(StillWeight, isTakenOnceByItsFlag)
{
    StillWeight still;
    EXPECT_FALSE(still.takes(moving(800), 0ms));
    EXPECT_TRUE(still.takes(standing(1234), 100ms));
    for (int i = 2; i < 36'000; ++i) ASSERT_FALSE(still.takes(standing(1234), i * 100ms)) << i; // an hour
}

TEST(StillWeight, isTakenAfterHalfASecondOfEqualReadingsWhereThereIsNoFlag)
{
    StillWeight still;
    EXPECT_FALSE(still.takes(silentOfIt(1240), 0ms));
    EXPECT_FALSE(still.takes(silentOfIt(1234), 300ms));
    EXPECT_FALSE(still.takes(silentOfIt(1234), 600ms));
    EXPECT_FALSE(still.takes(silentOfIt(1234), 799ms));
    EXPECT_TRUE(still.takes(silentOfIt(1234), 800ms));
    EXPECT_FALSE(still.takes(silentOfIt(1234), 900ms));
}

TEST(StillWeight, neverStandsWhileItsFrameSaysItMoves)
{
    StillWeight still;
    for (int i = 0; i < 30; ++i) EXPECT_FALSE(still.takes(moving(1234), i * 100ms));
    EXPECT_TRUE(still.takes(standing(1234), 3000ms));
}

TEST(StillWeight, isAboveZero)
{
    StillWeight still;
    EXPECT_FALSE(still.takes(standing(0), 0ms));
    EXPECT_FALSE(still.takes(standing(-50), 100ms));
    EXPECT_FALSE(still.takes(standing(-50), 900ms));
}

TEST(StillWeight, isTakenAgainWhenMoreWasPutOn)
{
    StillWeight still;
    EXPECT_TRUE(still.takes(standing(500), 0ms));
    EXPECT_TRUE(still.takes(standing(1000), 100ms));
    EXPECT_TRUE(still.takes(standing(500), 200ms));
}

TEST(StillWeight, isTakenAgainForAnEqualLoadAfterTheScaleWasEmpty)
{
    StillWeight still;
    EXPECT_TRUE(still.takes(standing(500), 0ms));
    EXPECT_FALSE(still.takes(moving(200), 100ms));
    EXPECT_FALSE(still.takes(standing(0), 200ms));
    EXPECT_FALSE(still.takes(moving(200), 300ms));
    EXPECT_TRUE(still.takes(standing(500), 400ms));
}

TEST(StillWeight, isTakenAgainWhenZeroWasDriftedBelow)
{
    StillWeight still;
    EXPECT_TRUE(still.takes(standing(500), 0ms));
    EXPECT_FALSE(still.takes(standing(-1), 100ms));
    EXPECT_TRUE(still.takes(standing(500), 200ms));
}

TEST(StillWeight, isNotTakenAgainAfterAKnock)
{
    StillWeight still;
    EXPECT_TRUE(still.takes(standing(500), 0ms));
    EXPECT_FALSE(still.takes(moving(0), 100ms));
    EXPECT_FALSE(still.takes(moving(700), 200ms));
    EXPECT_FALSE(still.takes(standing(500), 300ms));
    StillWeight withoutFlag;
    EXPECT_FALSE(withoutFlag.takes(silentOfIt(500), 0ms));
    EXPECT_TRUE(withoutFlag.takes(silentOfIt(500), 500ms));
    EXPECT_FALSE(withoutFlag.takes(silentOfIt(0), 600ms));
    EXPECT_FALSE(withoutFlag.takes(silentOfIt(500), 700ms));
    EXPECT_FALSE(withoutFlag.takes(silentOfIt(500), 1300ms));
}

TEST(StillWeight, isForgottenWhenThePortIsOpenedAnew)
{
    StillWeight still;
    EXPECT_TRUE(still.takes(standing(500), 0ms));
    still.reset();
    EXPECT_TRUE(still.takes(standing(500), 100ms));
}
