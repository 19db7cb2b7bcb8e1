#include "platform/sha256.h"
#include "tests/support/bytes.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

namespace {

struct Digest {
    std::string bytes;
    std::string hex;
};

RowTable<Digest> digests()
{
    // FIPS 180-4, and the examples that NIST gives beside it.
    return {
        {"nothing", {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"}},
        {"one block", {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"}},
        {"two blocks",
         {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
          "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"}},
        {"a million", {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}},
        {"every byte",
         {[] {
              std::string all;
              for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
              return all;
          }(),
          "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880"}},
    };
}

TABLE_SUITE(Sha256, Digest, digests());

TEST_P(Sha256, isTheStandards)
{
    const auto& [bytes, hex] = row();
    EXPECT_EQ(hexOf(platform::sha256(bytes)), hex);
}

} // namespace
