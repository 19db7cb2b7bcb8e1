#pragma once

#include "store/jet/format/header_layout.h"
#include "store/jet/pages/page_code.h"

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

/// Files as Access protects them, made of open ones byte by byte.
namespace protection {

using Content = std::vector<std::uint8_t>;

template <class Change> void inHeader(Content& file, Change&& change)
{
    const jet::PageBytes page(file.data(), jet::pageSize);
    jet::maskHeader(page);
    change(page);
    jet::maskHeader(page);
}

inline void setPassword(Content& file)
{
    inHeader(file, [](jet::PageBytes page) { jet::header_layout::password.of(page)[0] ^= 'x'; });
}

/// Covers the pages: each by RC4 under the four bytes of the key, crossed with its number.
inline void cover(Content& file, std::uint32_t key)
{
    inHeader(file, [key](jet::PageBytes page) { jet::header_layout::encodingKey.put(page, key); });
    for (std::uint32_t number = 1; number < file.size() / jet::pageSize; ++number) {
        std::array<std::uint8_t, 256> state{};
        std::array<std::uint8_t, 4> bytes{};
        jet::putU32(bytes.data(), key ^ number);
        for (std::size_t i = 0; i < 256; ++i) state[i] = static_cast<std::uint8_t>(i);
        for (std::size_t i = 0, j = 0; i < 256; ++i) {
            j = (j + state[i] + bytes[i % 4]) & 255;
            std::swap(state[i], state[j]);
        }
        std::uint8_t* const page = file.data() + jet::positionOf(jet::PageNo(number));
        for (std::size_t at = 0, i = 0, j = 0; at < jet::pageSize; ++at) {
            i = (i + 1) & 255;
            j = (j + state[i]) & 255;
            std::swap(state[i], state[j]);
            page[at] ^= state[(state[i] + state[j]) & 255];
        }
    }
}

} // namespace protection
