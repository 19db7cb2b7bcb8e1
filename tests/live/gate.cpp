#include "live/gate.h"

#include <gtest/gtest.h>

namespace live {
namespace {

using std::chrono::seconds;

class GateOfVisitors : public testing::Test {
protected:
    Gate opened(Limits limits = {})
    {
        return Gate(limits, [this] { return now_; });
    }
    static int visitsOf(Gate& gate, const std::string& address, int tries)
    {
        int visits = 0;
        for (int i = 0; i < tries; ++i) visits += gate.enter(address) ? 1 : 0;
        return visits;
    }

    Gate::Time now_{};
};

TEST_F(GateOfVisitors, addressThatAsksTooMuchWaitsAndOthersDoNot)
{
    Gate gate = opened();
    EXPECT_EQ(visitsOf(gate, "10.0.0.1", 100), 40);
    EXPECT_EQ(visitsOf(gate, "10.0.0.2", 10), 10);
    now_ += seconds(3);
    EXPECT_EQ(visitsOf(gate, "10.0.0.1", 100), 6);
}

TEST_F(GateOfVisitors, onlySoManyConnectionsAreOpenAtOnce)
{
    Gate gate = opened();
    std::vector<std::unique_ptr<Gate::Visit>> visits;
    for (int i = 0; i < 6; ++i) visits.push_back(gate.enter("10.0.0.1"));
    EXPECT_TRUE(visits.back());
    EXPECT_FALSE(gate.enter("10.0.0.1"));
    EXPECT_TRUE(gate.enter("10.0.0.2"));
    visits.pop_back();
    EXPECT_TRUE(gate.enter("10.0.0.1"));
}

TEST_F(GateOfVisitors, wrongKeysAreDearButNotForEver)
{
    Gate gate = opened();
    for (int i = 0; i < 100; ++i)
        if (gate.enter("10.0.0.1")) gate.wrong("10.0.0.1");
    EXPECT_FALSE(gate.enter("10.0.0.1"));
    now_ += seconds(21);
    EXPECT_TRUE(gate.enter("10.0.0.1"));
    // In an hour nobody tries more than a thousand.
    int tries = 0;
    for (int second = 0; second < 3600; ++second) {
        now_ += seconds(1);
        if (gate.enter("10.0.0.1")) {
            gate.wrong("10.0.0.1");
            ++tries;
        }
    }
    EXPECT_LT(tries, 1000);
    EXPECT_GT(tries, 0);
}

TEST_F(GateOfVisitors, strangersLeaveRoomForWhoIsKnownForADay)
{
    Gate gate = opened({.strangers = 12});
    gate.enter("10.0.0.1");
    gate.known("10.0.0.1");
    std::vector<std::unique_ptr<Gate::Visit>> visits;
    for (int i = 0; i < 12; ++i) visits.push_back(gate.enter("10.0.1." + std::to_string(i)));
    EXPECT_TRUE(visits.back());
    EXPECT_FALSE(gate.enter("10.0.2.1"));
    EXPECT_EQ(visitsOf(gate, "10.0.0.1", 6), 6);
    EXPECT_FALSE(gate.enter("10.0.2.1")); // who is known and leaves makes no room for strangers
    visits.pop_back();
    EXPECT_TRUE(gate.enter("10.0.2.1"));

    visits.push_back(gate.enter("10.0.2.1"));
    now_ += std::chrono::hours(25);
    EXPECT_FALSE(gate.enter("10.0.0.1"));
}

TEST_F(GateOfVisitors, whoIsKnownIsNotForgottenForStrangers)
{
    Gate gate = opened({.addresses = 100});
    gate.enter("10.0.0.1");
    gate.known("10.0.0.1");
    for (int hour = 0; hour < 23; ++hour, now_ += std::chrono::hours(1))
        for (int i = 0; i < 200; ++i) gate.enter("10.1." + std::to_string(hour) + "." + std::to_string(i));
    std::vector<std::unique_ptr<Gate::Visit>> visits;
    for (int i = 0; i < 64; ++i) visits.push_back(gate.enter("10.2.0." + std::to_string(i)));
    EXPECT_TRUE(gate.enter("10.0.0.1"));
}

TEST_F(GateOfVisitors, addressesAreForgottenAndNewOnesRefusedWhereThereIsNoRoom)
{
    Gate gate = opened({.addresses = 100});
    for (int i = 0; i < 100; ++i) EXPECT_TRUE(gate.enter("10.0.0." + std::to_string(i)));
    EXPECT_FALSE(gate.enter("10.0.1.1"));
    now_ += seconds(60);
    EXPECT_TRUE(gate.enter("10.0.1.1"));
}

} // namespace
} // namespace live
