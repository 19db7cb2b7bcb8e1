#pragma once

#include <array>
#include <cstdint>

/// Who owns the objects of a file, and what they may do with them (MSysACEs).
namespace jet {

using Account = std::array<std::uint8_t, 2>;

/// Account numbers that own the objects of a file. They fit only the creation time in the file's own header, so the
/// two are always taken together from one of the sets that real files carry.
struct AccountSet {
    std::array<std::uint8_t, 8> creationTime{};
    std::array<std::uint8_t, 4> passwordMask{};
    std::uint32_t build = 0;
    Account engine{};
    Account admin{};
    Account users{};
    Account creator{};
};
/// The accounts of a file are masked alike, so their differences are the same in every file.
inline constexpr std::uint8_t engineToCreator = 0x07;

inline constexpr AccountSet generalAccounts{{0x81, 0xAF, 0xD4, 0x6B, 0x4F, 0xEC, 0xE4, 0x40},
                                            {0x62, 0xA7, 0x00, 0x00},
                                            0x11A6,
                                            {0x06, 0xEA},
                                            {0x07, 0xE8},
                                            {0x06, 0xE8},
                                            {0x06, 0xED}};
inline constexpr AccountSet turkishAccounts{{0x06, 0xA2, 0xB1, 0xB2, 0x9F, 0x1D, 0xE6, 0x40},
                                            {0xEC, 0xB0, 0x00, 0x00},
                                            0x11A6,
                                            {0xF5, 0x89},
                                            {0xF4, 0x8B},
                                            {0xF5, 0x8B},
                                            {0xF5, 0x8E}};
static_assert((generalAccounts.engine.back() ^ generalAccounts.creator.back()) == engineToCreator &&
              (turkishAccounts.engine.back() ^ turkishAccounts.creator.back()) == engineToCreator);

/// The bits of a right. The upper ones are the same for every object, the lower ones are its kind's.
namespace rights {
inline constexpr std::uint32_t seeAndChangeRights = 0x00060000;
inline constexpr std::uint32_t changeOwner = 0x00080000;
inline constexpr std::uint32_t ofEveryObject = 0x000F0000; ///< to delete it, and the three above
inline constexpr std::uint32_t everything = 0x000FFFFF;
/// Of a container.
inline constexpr std::uint32_t makeObjects = 0x01;
/// Of the database.
inline constexpr std::uint32_t openAndAdminister = 0x0E;
/// Of a table.
inline constexpr std::uint32_t readDesignAndRows = 0x14;
inline constexpr std::uint32_t designAndRows = 0xFE;
inline constexpr std::uint32_t unusedBit = 0x100;
} // namespace rights

} // namespace jet
