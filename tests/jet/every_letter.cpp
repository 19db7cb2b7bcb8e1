// What the engine makes of every single letter, as digests that hold on every system it is built for: no library of a
// system and no locale has a word in it.
#include "platform/sha256.h"
#include "store/jet/values/order_key.h"
#include "store/jet/values/sort_key.h"

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

/// Of what `bytesOf` says about each of the 65,536 code units, one after the other, each behind its length.
std::string digestOfAll(const std::function<std::string(char16_t)>& bytesOf)
{
    std::string all;
    for (unsigned unit = 0; unit <= std::numeric_limits<char16_t>::max(); ++unit) {
        const std::string bytes = bytesOf(static_cast<char16_t>(unit));
        all += static_cast<char>(bytes.size());
        all += bytes;
    }
    std::string digits;
    for (const std::uint8_t byte : platform::sha256(all)) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", byte);
        digits += two;
    }
    return digits;
}

std::string bytesOf(char16_t unit) { return {static_cast<char>(unit % 256), static_cast<char>(unit / 256)}; }

TEST(EveryLetter, isFoldedAlikeOnEverySystem)
{
    ASSERT_EQ(digestOfAll([](char16_t unit) { return bytesOf(jet::foldTurkish(unit)); }),
              "ecee128c5c0e6291e8d61236c7b6d7ad321be6dfe2d0207c36ff77c649698e40");
}

TEST(EveryLetter, hasItsPlaceInTheOrderOfNamesOnEverySystem)
{
    ASSERT_EQ(digestOfAll([](char16_t unit) {
                  std::vector<std::uint8_t> key;
                  jet::appendOrderKey(key, std::u16string_view(&unit, 1));
                  return std::string(key.begin(), key.end());
              }),
              "cca5a62be3cf9ea70baf516cce5f2e8e5d79de929a43d47481d90cedcec1a2e3");
}

TEST(EveryLetter, hasItsPlaceInAnIndexOnEverySystem)
{
    for (const auto& [collation, digest] :
         {std::pair(jet::turkish, "8d04932ff6f70d8fb3bfd6b287830614d45c2f8170d1cbf4d81068ad09067d88"),
          std::pair(jet::general, "195a3951a168c96c579f205379db1b8b9cf5534f83189bb54c7f64d3271b6f44")})
        EXPECT_EQ(digestOfAll([collation = collation](char16_t unit) {
                      const auto key = jet::textKey(std::u16string(1, unit), collation);
                      return key ? std::string(key->bytes.begin(), key->bytes.end()) : "none";
                  }),
                  digest);
}

} // namespace
