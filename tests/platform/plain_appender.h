#pragma once

#include <array>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

/// Another program that adds rows to a table: it opens the file, writes and closes it, knows of no lock and of no
/// journal, and shares not a line with the engine. The table has two whole numbers of four bytes and no more, no index,
/// and maps that stand in their rows.
class PlainAppender {
public:
    /// `definition` is the page of the table's definition.
    PlainAppender(std::filesystem::path file, std::uint32_t definition)
        : file_(std::move(file)), definition_(definition)
    {
    }

    void append(std::int32_t first, std::int32_t second) const
    {
        const int file = ::open(file_.c_str(), O_RDWR | O_CLOEXEC);
        if (file < 0) throw std::runtime_error("the file does not open");
        Pages pages(file);
        addRow(pages, first, second);
        ::close(file);
    }

private:
    static constexpr std::size_t size = 4096;
    using Page = std::array<std::uint8_t, size>;

    class Pages {
    public:
        explicit Pages(int file) : file_(file) {}
        Page read(std::uint32_t number) const
        {
            Page page{};
            if (::pread(file_, page.data(), size, off_t(number) * off_t(size)) != ssize_t(size))
                throw std::runtime_error("a page is missing");
            return page;
        }
        void write(std::uint32_t number, const Page& page) const
        {
            if (::pwrite(file_, page.data(), size, off_t(number) * off_t(size)) != ssize_t(size))
                throw std::runtime_error("a page cannot be written");
        }
        std::uint32_t count() const
        {
            struct stat status = {};
            ::fstat(file_, &status);
            return static_cast<std::uint32_t>(status.st_size / off_t(size));
        }

    private:
        int file_;
    };

    static std::uint32_t number(const std::uint8_t* at, int bytes)
    {
        std::uint32_t value = 0;
        for (int i = bytes; i-- > 0;) value = value << 8 | at[i];
        return value;
    }
    static void put(std::uint8_t* at, std::uint32_t value, int bytes)
    {
        for (int i = 0; i < bytes; ++i) at[i] = static_cast<std::uint8_t>(value >> 8 * i);
    }

    /// The bits of a map that stands in a row: where they begin, and how many.
    static std::pair<std::uint8_t*, std::uint32_t> bitsOf(Page& page, std::uint32_t slot)
    {
        const std::uint32_t start = number(&page[14 + 2 * slot], 2) & 0x1FFF;
        const std::uint32_t end = slot == 0 ? size : number(&page[14 + 2 * (slot - 1)], 2) & 0x1FFF;
        if (page[start] != 0 || number(&page[start + 1], 4) != 0) throw std::runtime_error("not such a map");
        return {&page[start + 5], (end - start - 5) * 8};
    }

    static bool addTo(Page& page, std::int32_t first, std::int32_t second)
    {
        constexpr std::uint32_t length = 11; // column count, two numbers, null bitmap
        const std::uint32_t free = number(&page[2], 2);
        const std::uint32_t slots = number(&page[12], 2);
        if (free < length + 2 || slots == 255) return false;
        const std::uint32_t lowest = slots == 0 ? size : number(&page[14 + 2 * (slots - 1)], 2) & 0x1FFF;
        std::uint8_t* const row = &page[lowest - length];
        put(row, 2, 2);
        put(row + 2, static_cast<std::uint32_t>(first), 4);
        put(row + 6, static_cast<std::uint32_t>(second), 4);
        row[10] = 3;
        put(&page[14 + 2 * slots], lowest - length, 2);
        put(&page[12], slots + 1, 2);
        put(&page[2], free - length - 2, 2);
        return true;
    }

    void addRow(const Pages& pages, std::int32_t first, std::int32_t second) const
    {
        Page definition = pages.read(definition_);
        const std::uint32_t mapPage = number(&definition[56], 3);
        const std::uint32_t freeSpaceSlot = definition[59];
        const std::uint32_t ownedSlot = definition[55];
        Page maps = pages.read(mapPage);
        const auto [open, count] = bitsOf(maps, freeSpaceSlot);
        bool added = false;
        for (std::uint32_t bit = 0; bit < count && !added; ++bit) {
            if ((open[bit / 8] >> bit % 8 & 1) == 0) continue;
            Page page = pages.read(bit);
            added = addTo(page, first, second);
            if (added) pages.write(bit, page);
        }
        if (!added) {
            Page global = pages.read(1);
            const auto [unused, all] = bitsOf(global, 0);
            std::uint32_t taken = 0;
            while (taken < all && (unused[taken / 8] >> taken % 8 & 1) == 0) ++taken;
            if (taken == all) throw std::runtime_error("the file is full");
            unused[taken / 8] = static_cast<std::uint8_t>(unused[taken / 8] & ~(1U << taken % 8));
            for (std::uint32_t page = pages.count(); page < taken; ++page) pages.write(page, Page{});
            Page page{};
            page[0] = page[1] = 1;
            put(&page[2], size - 14, 2);
            put(&page[4], definition_, 4);
            addTo(page, first, second);
            pages.write(taken, page);
            for (const std::uint32_t slot : {ownedSlot, freeSpaceSlot}) {
                const auto bits = bitsOf(maps, slot).first;
                bits[taken / 8] = static_cast<std::uint8_t>(bits[taken / 8] | 1U << taken % 8);
            }
            pages.write(mapPage, maps);
            pages.write(1, global);
        }
        put(&definition[16], number(&definition[16], 4) + 1, 4);
        pages.write(definition_, definition);
    }

    std::filesystem::path file_;
    std::uint32_t definition_;
};
