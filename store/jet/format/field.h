#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

/// The words in which this folder describes the file: where each field of a page or a record stands, said once, with
/// the way to read and to write it. Numbers stand with their least significant byte first unless a field says
/// otherwise.
namespace jet {

inline std::uint16_t getU16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
inline std::uint32_t getU24(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16;
}
inline std::uint32_t getU32(const std::uint8_t* p) { return getU24(p) | static_cast<std::uint32_t>(p[3]) << 24; }
inline std::uint64_t getU64(const std::uint8_t* p)
{
    return getU32(p) | static_cast<std::uint64_t>(getU32(p + 4)) << 32;
}
/// The most significant byte first, as in index entries.
inline std::uint32_t getU32BigEndian(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
           static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}
inline void putU16(std::uint8_t* p, std::uint32_t v)
{
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void putU24(std::uint8_t* p, std::uint32_t v)
{
    putU16(p, v);
    p[2] = static_cast<std::uint8_t>(v >> 16);
}
inline void putU32(std::uint8_t* p, std::uint32_t v)
{
    putU24(p, v);
    p[3] = static_cast<std::uint8_t>(v >> 24);
}
inline void putU64(std::uint8_t* p, std::uint64_t v)
{
    putU32(p, static_cast<std::uint32_t>(v));
    putU32(p + 4, static_cast<std::uint32_t>(v >> 32));
}

/// `Size` bytes from `Begin` of a page or record on.
template <std::size_t Begin, std::size_t Size> struct Area {
    static constexpr std::size_t begin = Begin;
    static constexpr std::size_t size = Size;
    static constexpr std::size_t end = Begin + Size;

    template <class Byte, std::size_t Extent> static std::span<Byte, Size> of(std::span<Byte, Extent> record)
    {
        return record.template subspan<Begin, Size>();
    }
};

/// A number without a sign in `Size` bytes: 1, 2, 3, 4 or 8.
template <std::size_t Begin, std::size_t Size> struct Number : Area<Begin, Size> {
    static_assert(Size == 1 || Size == 2 || Size == 3 || Size == 4 || Size == 8);
    using Value = std::conditional_t<
        Size == 1, std::uint8_t,
        std::conditional_t<Size == 2, std::uint16_t, std::conditional_t<Size == 8, std::uint64_t, std::uint32_t>>>;
    /// Wide enough for sums of the value: what does not fit the field is cut off.
    using Wide = std::conditional_t<Size == 8, std::uint64_t, std::uint32_t>;

    static Value get(const std::uint8_t* record)
    {
        const std::uint8_t* p = record + Begin;
        if constexpr (Size == 1) return *p;
        if constexpr (Size == 2) return getU16(p);
        if constexpr (Size == 3) return getU24(p);
        if constexpr (Size == 4) return getU32(p);
        if constexpr (Size == 8) return getU64(p);
    }
    static void put(std::uint8_t* record, Wide value)
    {
        std::uint8_t* p = record + Begin;
        if constexpr (Size == 1) *p = static_cast<std::uint8_t>(value);
        if constexpr (Size == 2) putU16(p, value);
        if constexpr (Size == 3) putU24(p, value);
        if constexpr (Size == 4) putU32(p, value);
        if constexpr (Size == 8) putU64(p, value);
    }
    static Value get(std::span<const std::uint8_t> record) { return get(record.data()); }
    static void put(std::span<std::uint8_t> record, Wide value) { put(record.data(), value); }
};

/// True when the fields, in this order, fill the bytes from `Begin` to `End` and leave none between them: a drawing of
/// the bytes is checked by naming its fields.
template <std::size_t Begin, std::size_t End, class... Fields> consteval bool fill(const Fields&...)
{
    std::size_t at = Begin;
    bool whole = true;
    ((whole = whole && Fields::begin == at, at = Fields::end), ...);
    return whole && at == End;
}

} // namespace jet
