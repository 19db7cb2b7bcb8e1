#include "store/jet/pages/page_code.h"

#include "store/jet/format/header_layout.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <numeric>
#include <utility>

namespace jet {

void applyRc4(std::span<const std::uint8_t> key, std::span<std::uint8_t> bytes)
{
    std::array<std::uint8_t, 256> state{};
    std::iota(state.begin(), state.end(), std::uint8_t{0});
    std::uint8_t j = 0;
    for (std::size_t i = 0; i < state.size(); ++i) {
        j = static_cast<std::uint8_t>(j + state[i] + key[i % key.size()]);
        std::swap(state[i], state[j]);
    }
    std::uint8_t i = 0;
    j = 0;
    for (std::uint8_t& byte : bytes) {
        ++i;
        j = static_cast<std::uint8_t>(j + state[i]);
        std::swap(state[i], state[j]);
        byte ^= state[static_cast<std::uint8_t>(state[i] + state[j])];
    }
}

void maskHeader(PageBytes page) { applyRc4(header_layout::obscuringKey, header_layout::obscured.of(page)); }

namespace {

namespace at = header_layout;

std::array<std::uint8_t, pageSize> unmasked(PageView header)
{
    std::array<std::uint8_t, pageSize> page{};
    std::ranges::copy(header, page.begin());
    maskHeader(page);
    return page;
}

bool isJet4(PageView header)
{
    return at::isText(at::signature.of(header), at::jetSignature) && at::version.get(header) == at::jet4;
}

/// The four bytes that hide the password: the whole days of the creation time. Without a readable time the mask is
/// taken from the area itself, where no password means nothing but the mask ten times.
std::array<std::uint8_t, 4> passwordMask(PageView page)
{
    const double days = std::bit_cast<double>(at::creationTimeBits.get(page));
    std::array<std::uint8_t, 4> mask{};
    if (std::isfinite(days) && days >= 0 && days < 4294967296.0) {
        putU32(mask.data(), static_cast<std::uint32_t>(days));
    } else {
        std::copy_n(at::password.of(page).begin(), mask.size(), mask.begin());
    }
    return mask;
}

} // namespace

std::uint32_t pageKeyOf(PageView header) { return isJet4(header) ? at::encodingKey.get(unmasked(header)) : 0; }

bool hasPassword(PageView header)
{
    if (!isJet4(header)) return false;
    const auto page = unmasked(header);
    const std::array<std::uint8_t, 4> mask = passwordMask(page);
    const auto password = at::password.of(PageView(page));
    for (std::size_t i = 0; i < password.size(); ++i)
        if (password[i] != mask[i % mask.size()]) return true;
    return false;
}

void clearPassword(PageBytes header)
{
    const std::array<std::uint8_t, 4> mask = passwordMask(header);
    const auto password = at::password.of(header);
    for (std::size_t i = 0; i < password.size(); ++i) password[i] = mask[i % mask.size()];
}

void applyPageKey(std::uint32_t key, PageNo number, std::span<std::uint8_t> page)
{
    std::array<std::uint8_t, 4> bytes{};
    putU32(bytes.data(), key ^ number.number());
    applyRc4(bytes, page);
}

namespace {

/// How many of the first pages look like pages in use.
std::size_t plainPages(std::span<const std::uint8_t> file)
{
    constexpr std::size_t looked = 16 * pageSize;
    static constexpr PageType kinds[] = {PageType::row, PageType::tableDefinition, PageType::indexNode,
                                         PageType::indexLeaf, PageType::usageBitmap};
    std::size_t count = 0;
    for (std::size_t at = pageSize; at + pageSize <= std::min(file.size(), looked); at += pageSize) {
        const PageView page = file.subspan(at).first<pageSize>();
        const auto isKind = [&](PageType kind) { return isPageOf(page, kind); };
        if (std::ranges::any_of(kinds, isKind) && page_layout::mark.get(page) == page_layout::markInUse) ++count;
    }
    return count;
}

void applyKeyToFile(std::uint32_t key, std::span<std::uint8_t> file)
{
    for (std::size_t at = pageSize; at + pageSize <= file.size(); at += pageSize)
        applyPageKey(key, PageNo(at / pageSize), file.subspan(at, pageSize));
}

} // namespace

void uncoverFile(std::span<std::uint8_t> file)
{
    if (file.size() < pageSize) return;
    const auto header = file.first<pageSize>();
    const std::uint32_t key = pageKeyOf(header);
    if (key == 0) return;
    const std::size_t before = plainPages(file);
    applyKeyToFile(key, file);
    // Damage in the header of an open file looks like a key, too.
    if (plainPages(file) < before) applyKeyToFile(key, file);
    maskHeader(header);
    at::encodingKey.put(header, 0);
    maskHeader(header);
}

Protection protectionOf(File& file)
{
    std::array<std::uint8_t, pageSize> header{};
    file.read(0, header);
    if (pageKeyOf(header) != 0) return Protection::covered;
    return hasPassword(header) ? Protection::password : Protection::none;
}

UncoveredFile::UncoveredFile(std::unique_ptr<File> file) : file_(std::move(file))
{
    std::array<std::uint8_t, pageSize> header{};
    file_->read(0, header);
    key_ = pageKeyOf(header);
}

std::size_t UncoveredFile::read(std::uint64_t offset, std::span<std::uint8_t> into)
{
    assert(offset % pageSize == 0);
    const std::size_t count = file_->read(offset, into);
    for (std::size_t at = 0; at + pageSize <= count; at += pageSize) {
        const PageNo number((offset + at) / pageSize);
        if (number != 0) applyPageKey(key_, number, into.subspan(at, pageSize));
    }
    return count;
}

} // namespace jet
