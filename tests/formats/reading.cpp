#include "scale/formats/reading.h"

#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace scale;

struct KilogramsRow {
    Decimal weight;
    Unit unit;
    std::string kilograms;
};

const RowTable<KilogramsRow> kilograms = {
    {"kilograms", {{12345, 1}, Unit::kilogram, "1234.5"}},
    {"zeros behind the mark", {{1234500, 3}, Unit::kilogram, "1234.5"}},
    {"grams", {{1234, 0}, Unit::gram, "1.234"}},
    {"a fraction of a gram", {{71230, 4}, Unit::gram, "0.007123"}},
    {"tonnes", {{1234, 2}, Unit::tonne, "12340"}},
    {"whole tonnes", {{12, 0}, Unit::tonne, "12000"}},
    {"a pound", {{1, 0}, Unit::pound, "0.45359237"}},
    {"pounds", {{27215, 1}, Unit::pound, "1234.451634955"}},
    {"below zero", {{-505, 1}, Unit::kilogram, "-50.5"}},
    {"zero has no sign", {{0, 3}, Unit::kilogram, "0"}},
    {"less than one", {{-5, 2}, Unit::kilogram, "-0.05"}},
    {"most digits", {{999'999'999'999'999, 0}, Unit::tonne, "999999999999999000"}},
};
TABLE_SUITE(Kilograms, KilogramsRow, kilograms);

TEST_P(Kilograms, areExact) { EXPECT_EQ(toText(inKilograms(row().weight, row().unit)), row().kilograms); }

struct CounterLineRow {
    Decimal weight;
    std::optional<std::string> line;
};

const RowTable<CounterLineRow> counterLines = {
    {"whole", {{1234, 0}, "1234kg\r"}},
    {"with the user's mark", {{12345, 1}, "1234,5kg\r"}},
    {"below zero", {{-505, 1}, "-50,5kg\r"}},
    {"cut and not rounded", {{12'344'999, 4}, "1234,49kg\r"}},
    {"no mark at its end", {{123'456'789, 2}, "1234567kg\r"}},
    {"the largest", {{9'999'999, 0}, "9999999kg\r"}},
    {"too large", {{10'000'000, 0}, std::nullopt}},
    {"too far below zero", {{-1'000'000, 0}, std::nullopt}},
    {"grams", {{1234, 3}, "1,234kg\r"}},
};
TABLE_SUITE(CounterLine, CounterLineRow, counterLines);

TEST_P(CounterLine, fitsIntoWhatTheCounterKeeps)
{
    const Reading reading{row().weight, Rest::stable, Load::gross, {}};
    EXPECT_EQ(counterLine(reading, ','), row().line);
}
