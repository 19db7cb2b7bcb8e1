#include "store/jet/pages/journal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace jet {

namespace {

constexpr std::array<std::uint8_t, 8> magic = {'P', 'r', 's', 'v', 'J', 'r', 'n', '1'};
constexpr std::size_t headerBlock = 512;
constexpr std::size_t headerSum = 32; ///< place of the header's own checksum, and the length that it covers
constexpr std::size_t recordHead = 16;
constexpr std::size_t recordSize = recordHead + pageSize;
constexpr std::size_t recordsPerRead = 64;

std::uint64_t mix(std::uint64_t value)
{
    value ^= value >> 32;
    value *= 0x9E3779B97F4A7C15U;
    value ^= value >> 29;
    return value;
}

std::uint64_t headerChecksum(const std::uint8_t* bytes)
{
    std::uint64_t sum = 0x5052455356414A52U;
    for (std::size_t i = 0; i < headerSum; i += 8) sum = mix(sum + getU64(bytes + i));
    return sum;
}

std::uint64_t recordSeed(std::uint64_t salt, PageNo page) { return mix(salt + page); }

PageView imageOf(const std::uint8_t* record) { return PageView(record + recordHead, pageSize); }

std::array<std::uint8_t, headerBlock> headerBytes(const JournalHeader& header)
{
    std::array<std::uint8_t, headerBlock> bytes{};
    std::copy(magic.begin(), magic.end(), bytes.begin());
    putU64(&bytes[8], header.salt);
    putU32(&bytes[16], header.pagesBefore);
    putU32(&bytes[20], header.records);
    putU64(&bytes[24], header.othersDigest);
    putU64(&bytes[headerSum], headerChecksum(bytes.data()));
    return bytes;
}

} // namespace

std::uint64_t pageHash(std::uint64_t seed, PageView page)
{
    constexpr std::uint64_t factor = 0x9FB21C651E98DF25U;
    // Four independent lanes: one multiplication chain would wait for itself.
    std::array<std::uint64_t, 4> lane = {seed + 1, seed ^ factor, ~seed, seed + factor};
    for (std::size_t i = 0; i < pageSize; i += 32)
        for (std::size_t k = 0; k < 4; ++k) lane[k] = std::rotl((lane[k] ^ getU64(&page[i + 8 * k])) * factor, 29);
    return mix(mix(mix(lane[0] + lane[1]) ^ lane[2]) + lane[3]);
}

void writeJournal(File& journal, JournalHeader header, std::span<const OldPage> pages)
{
    header.records = static_cast<std::uint32_t>(pages.size());
    const auto head = headerBytes(header);
    std::vector<std::uint8_t> buffer(head.begin(), head.end());
    buffer.reserve(headerBlock + std::min(pages.size(), recordsPerRead) * recordSize);
    std::uint64_t offset = 0;
    for (const OldPage& old : pages) {
        if (buffer.size() + recordSize > headerBlock + recordsPerRead * recordSize) {
            journal.write(offset, buffer);
            offset += buffer.size();
            buffer.clear();
        }
        const std::size_t at = buffer.size();
        buffer.resize(at + recordSize);
        std::memcpy(&buffer[at + recordHead], old.image, pageSize);
        putU32(&buffer[at], old.page);
        putU64(&buffer[at + 8], pageHash(recordSeed(header.salt, old.page), imageOf(&buffer[at])));
    }
    journal.write(offset, buffer);
}

void writeJournalHeader(File& journal, const JournalHeader& header) { journal.write(0, headerBytes(header)); }

std::optional<JournalHeader> readJournal(File& journal)
{
    std::array<std::uint8_t, headerBlock> bytes{};
    if (journal.read(0, bytes) != headerBlock) return {};
    if (!std::equal(magic.begin(), magic.end(), bytes.begin())) return {};
    if (getU64(&bytes[headerSum]) != headerChecksum(bytes.data())) return {};
    JournalHeader header;
    header.salt = getU64(&bytes[8]);
    header.pagesBefore = getU32(&bytes[16]);
    header.records = getU32(&bytes[20]);
    header.othersDigest = getU64(&bytes[24]);
    if (header.pagesBefore > maxPages || header.records > header.pagesBefore) return {};
    if (journal.size() < headerBlock + std::uint64_t{header.records} * recordSize) return {};

    std::vector<std::uint8_t> buffer(std::min<std::size_t>(header.records, recordsPerRead) * recordSize);
    for (std::uint32_t first = 0; first < header.records; first += recordsPerRead) {
        const std::size_t count = std::min<std::size_t>(recordsPerRead, header.records - first);
        const std::span part(buffer.data(), count * recordSize);
        if (journal.read(headerBlock + std::uint64_t{first} * recordSize, part) != part.size()) return {};
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t* record = &part[i * recordSize];
            const PageNo page = getU32(record);
            if (page >= header.pagesBefore) return {};
            if (getU64(record + 8) != pageHash(recordSeed(header.salt, page), imageOf(record))) return {};
        }
    }
    return header;
}

void forEachOldPage(File& journal, const JournalHeader& header, const std::function<void(PageNo, PageView)>& visit)
{
    std::vector<std::uint8_t> record(recordSize);
    for (std::uint32_t i = 0; i < header.records; ++i) {
        journal.read(headerBlock + std::uint64_t{i} * recordSize, record);
        visit(getU32(record.data()), imageOf(record.data()));
    }
}

void strikeOutJournal(File& journal)
{
    static constexpr std::array<std::uint8_t, headerBlock> zeros{};
    journal.write(0, zeros);
}

} // namespace jet
