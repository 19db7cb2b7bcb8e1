#pragma once

#include "store/jet/format/format.h"

#include <cstring>
#include <vector>

/// The first pages of a database as far as Pager and usage maps look at them: signature, version, and page 1 with its
/// two maps (`pages` pages in use, all further ones free).
inline std::vector<std::uint8_t> blankFile(jet::PageCount pages = 16)
{
    std::vector<std::uint8_t> file(pages * jet::pageSize);
    file[1] = 1;
    std::memcpy(&file[4], "Standard Jet DB", 16);
    file[20] = 1;
    std::uint8_t* const maps = &file[jet::pageSize];
    maps[0] = maps[1] = 1;
    jet::putU16(maps + 2, 0x0F64);
    jet::putU32(maps + 4, 1);
    jet::putU16(maps + 12, 2);
    jet::putU16(maps + 14, 0x0FBB);
    jet::putU16(maps + 16, 0x0F76);
    for (unsigned page = pages; page < 512; ++page)
        maps[0x0FBB + 5 + page / 8] = static_cast<std::uint8_t>(maps[0x0FBB + 5 + page / 8] | 1U << page % 8);
    return file;
}
