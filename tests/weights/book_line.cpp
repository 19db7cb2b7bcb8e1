#include "tests/support/table.h"
#include "tests/weights/season.h"
#include "weights/weight_line.h"

#include <gtest/gtest.h>

using namespace weights;

namespace {

const std::string before = std::string(60, '0') + "cafe";

Pressing weighed()
{
    Pressing made = season::pressing(season::day(2025, 11, 20, 14, 5), "Işıl \"O'Hara\" \\ \t", 1234.5, 7);
    made.olivesFrom = {mill::WeightSource::scale, std::string("ST,GS,  1234.5kg\r\n\0\xff", 20),
                       season::day(2025, 11, 20, 14, 4)};
    made.before = 12;
    return made;
}

RowTable<Fact> facts()
{
    Pressing odd = season::pressing(45981.1, "", -0.1, 1);
    odd.fee = 1e21;
    odd.percentage = 0.30000000000000004;
    return {
        {"weighed", weighed()},
        {"typed", season::pressing(season::day(2024, 2, 29), "Ali", 1000, 3)},
        {"odd figures", odd},
        {"deletion of all", Deletion{season::day(2025, 11, 20), {}, 12, 3}},
        {"deletion of one", Deletion{season::day(2025, 11, 20), "Müşteri", 2, 0}},
        {"copy put back", Restore{season::day(2025, 11, 20), "Yag-2025-11-19.mdb", 17, 4}},
    };
}

TABLE_SUITE(Lines, Fact, facts());

TEST_P(Lines, comeBackAsTheyWere)
{
    const std::string text = written(42, row(), before);
    const auto line = read(text);
    ASSERT_TRUE(line) << text;
    EXPECT_EQ(line->number, 42U);
    EXPECT_EQ(line->previous, before);
    EXPECT_EQ(written(line->number, line->fact, line->previous), text);
    EXPECT_EQ(text.find('\n'), std::string::npos);
}

TEST_P(Lines, doNotHoldWithOneByteChanged)
{
    const std::string text = written(42, row(), before);
    for (std::size_t i = 0; i < text.size(); ++i)
        for (const int bit : {1, 2, 4, 8, 16, 32, 64, 128}) {
            std::string changed = text;
            changed[i] = static_cast<char>(changed[i] ^ bit);
            ASSERT_FALSE(read(changed)) << changed;
        }
    for (std::size_t size = 0; size < text.size(); ++size) {
        ASSERT_FALSE(read(std::string_view(text).substr(0, size)));
        ASSERT_FALSE(read(std::string_view(text).substr(text.size() - size)));
    }
}

TEST(Line, isOneJsonObject)
{
    Pressing made = weighed();
    made.olivesFrom.bytes = "  1234kg\r";
    // The seal is what `sha256sum` says of the text before it.
    EXPECT_EQ(written(1, made, noSeal),
              "{\"line\":1,\"kind\":\"pressing\",\"when\":\"2025-11-20T14:05:00\",\"station\":2,\"customer\":\"Işıl "
              "\\\"O'Hara\\\" \\\\ \\u0009\",\"olives\":1234.5,\"olivesBy\":\"scale\",\"olivesBytes\":"
              "\"2020313233346b670d\",\"olivesWhen\":\"2025-11-20T14:04:00\",\"oil\":1111.05,\"oilBy\":\"typed\","
              "\"percentage\":12.75,\"entitlement\":108,\"fee\":0,\"job\":7,\"before\":12,\"previous\":"
              "\"0000000000000000000000000000000000000000000000000000000000000000\",\"seal\":"
              "\"e180c17079ec0565adfbfe7f14aa71276135d4c18dffc021e65182798f1f9c0b\"}");
}

TEST(Line, ofAnotherWritingIsNotOurs)
{
    // Sealed well enough, but with its numbers written otherwise: only what written() makes is a line.
    const std::string text = written(1, Deletion{season::day(2025, 11, 20), {}, 0, 0}, noSeal);
    std::string other = text;
    other.replace(other.find("\"line\":1"), 8, "\"line\":1.0");
    EXPECT_FALSE(read(other));
    EXPECT_FALSE(read(text + " "));
    EXPECT_FALSE(read(text + "\r"));
}

TEST(Line, tellsItsMomentToTheSecond)
{
    EXPECT_EQ(isoMoment(season::day(1899, 12, 30)), "1899-12-30T12:00:00");
    EXPECT_EQ(isoMoment(season::day(2025, 11, 20, 23, 59)), "2025-11-20T23:59:00");
    EXPECT_EQ(isoMoment(season::day(2025, 11, 20, 23, 59) + 59.9999 / 86400), "2025-11-21T00:00:00");
}

} // namespace
