#include "store/jet/pages/journal.h"

#include "store/jet/format/journal_layout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace jet {

namespace {

namespace at = journal_layout;

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
    for (std::size_t i = 0; i < at::checksum.begin; i += sizeof sum) sum = mix(sum + getU64(bytes + i));
    return sum;
}

std::uint64_t recordSeed(std::uint64_t salt, PageNo page) { return mix(salt + page.number()); }

PageView imageOf(const std::uint8_t* record) { return at::record::image.of(std::span(record, at::record::bytes)); }

std::array<std::uint8_t, at::head> headerBytes(const JournalHeader& header)
{
    std::array<std::uint8_t, at::head> bytes{};
    std::ranges::copy(at::magicText, at::magic.of(std::span(bytes)).begin());
    at::salt.put(bytes, header.salt);
    at::pagesBefore.put(bytes, header.pagesBefore);
    at::records.put(bytes, header.records);
    at::othersDigest.put(bytes, header.othersDigest);
    at::checksum.put(bytes, headerChecksum(bytes.data()));
    return bytes;
}

} // namespace

std::uint64_t pageHash(std::uint64_t seed, PageView page)
{
    constexpr std::uint64_t factor = 0x9FB21C651E98DF25U;
    // Four independent lanes: one multiplication chain would wait for itself.
    std::array<std::uint64_t, 4> lane = {seed + 1, seed ^ factor, ~seed, seed + factor};
    for (std::size_t i = 0; i < pageSize; i += 32)
        for (std::size_t k = 0; k < 4; ++k)
            lane[k] = std::rotl((lane[k] ^ getU64(&page[i + sizeof seed * k])) * factor, 29);
    return mix(mix(mix(lane[0] + lane[1]) ^ lane[2]) + lane[3]);
}

void writeJournal(File& journal, JournalHeader header, std::span<const OldPage> pages)
{
    header.records = static_cast<std::uint32_t>(pages.size());
    const auto head = headerBytes(header);
    std::vector<std::uint8_t> buffer(head.begin(), head.end());
    buffer.reserve(at::head + std::min(pages.size(), recordsPerRead) * at::record::bytes);
    std::uint64_t offset = 0;
    for (const OldPage& old : pages) {
        if (buffer.size() + at::record::bytes > at::head + recordsPerRead * at::record::bytes) {
            journal.write(offset, buffer);
            offset += buffer.size();
            buffer.clear();
        }
        const std::size_t start = buffer.size();
        buffer.resize(start + at::record::bytes);
        const std::span record = std::span(buffer).subspan(start);
        std::memcpy(at::record::image.of(record).data(), old.image, pageSize);
        at::record::page.put(record, old.page);
        at::record::checksum.put(record, pageHash(recordSeed(header.salt, old.page), imageOf(record.data())));
    }
    journal.write(offset, buffer);
}

void writeJournalHeader(File& journal, const JournalHeader& header) { journal.write(0, headerBytes(header)); }

std::optional<JournalHeader> readJournal(File& journal)
{
    std::array<std::uint8_t, at::head> bytes{};
    if (journal.read(0, bytes) != at::head) return {};
    if (!std::ranges::equal(at::magicText, at::magic.of(std::span(bytes)))) return {};
    if (at::checksum.get(bytes) != headerChecksum(bytes.data())) return {};
    JournalHeader header;
    header.salt = at::salt.get(bytes);
    header.pagesBefore = at::pagesBefore.get(bytes);
    header.records = at::records.get(bytes);
    header.othersDigest = at::othersDigest.get(bytes);
    if (header.pagesBefore > maxPages || header.records > header.pagesBefore) return {};
    if (journal.size() < at::recordAt(header.records)) return {};

    std::vector<std::uint8_t> buffer(std::min<std::size_t>(header.records, recordsPerRead) * at::record::bytes);
    for (std::uint32_t first = 0; first < header.records; first += recordsPerRead) {
        const std::size_t count = std::min<std::size_t>(recordsPerRead, header.records - first);
        const std::span part(buffer.data(), count * at::record::bytes);
        if (journal.read(at::recordAt(first), part) != part.size()) return {};
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint8_t* record = &part[i * at::record::bytes];
            const PageNo page = at::record::page.get(record);
            if (page >= PageNo(header.pagesBefore)) return {};
            if (at::record::checksum.get(record) != pageHash(recordSeed(header.salt, page), imageOf(record))) return {};
        }
    }
    return header;
}

void forEachOldPage(File& journal, const JournalHeader& header, const std::function<void(PageNo, PageView)>& visit)
{
    std::vector<std::uint8_t> record(at::record::bytes);
    for (std::uint32_t i = 0; i < header.records; ++i) {
        journal.read(at::recordAt(i), record);
        visit(at::record::page.get(record), imageOf(record.data()));
    }
}

void strikeOutJournal(File& journal)
{
    static constexpr std::array<std::uint8_t, at::head> zeros{};
    journal.write(0, zeros);
}

} // namespace jet
