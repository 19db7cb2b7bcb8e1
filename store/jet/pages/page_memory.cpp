#include "store/jet/pages/page_memory.h"

#include "store/jet/pages/pager_failing.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <string>

namespace jet {

namespace {

constexpr PageNo imagesPerChunk = 32;
constexpr std::size_t chunksKept = 16;

} // namespace

PageMemory::PageMemory(File& file, PageNo pages, const std::filesystem::path& path)
    : file_(file), path_(path), extents_(extentsFor(pages)), count_(pages), countBefore_(pages), isTouched_(pages)
{
}

PageMemory::~PageMemory() = default;

void PageMemory::throwNoSuchPage(PageNo page) const
{
    throw Error(Fault::damaged, inQuotes(path_) + " hasarlı: olmayan " + std::to_string(page) +
                                    ". sayfaya başvuruluyor (" + std::to_string(count_) +
                                    " sayfa var); yedeğini geri yükleyin.");
}

void PageMemory::load(PageNo page)
{
    Extent& extent = extents_[page / pagesPerExtent];
    if (!extent.bytes) extent.bytes = std::make_unique_for_overwrite<std::uint8_t[]>(extentSize);
    const PageNo end = readAhead(page);
    readFile(page, end, extent.bytes.get() + std::size_t{page % pagesPerExtent} * pageSize);
    for (PageNo each = page; each < end; ++each) extent.loaded |= std::uint64_t{1} << each % pagesPerExtent;
}

/// How far to read when that page is missing: as many pages as stand in memory right before it, once more. Never over a
/// page that is there, which may have been written.
PageNo PageMemory::readAhead(PageNo page) const
{
    const Extent& extent = extents_[page / pagesPerExtent];
    const PageNo place = page % pagesPerExtent;
    PageNo wanted = 1;
    if (place > 0)
        wanted += static_cast<PageNo>(std::countl_one(extent.loaded << (pagesPerExtent - place)));
    else if (page > 0 && ~extents_[page / pagesPerExtent - 1].loaded == 0)
        wanted = pagesPerExtent;
    const PageNo last = page - place + pagesPerExtent;
    const PageNo limit = std::max(page + 1, std::min({page + wanted, last, countBefore_}));
    PageNo end = page + 1;
    while (end < limit && !extent.has(end)) ++end;
    return end;
}

/// What the file holds of these pages; the transaction's new ones are the caller's to fill.
void PageMemory::readFile(PageNo first, PageNo end, std::uint8_t* into)
{
    const PageNo pages = first < countBefore_ ? std::min(end, countBefore_) - first : 0;
    const std::span part(into, pages * pageSize);
    if (pages != 0 && file_.read(std::uint64_t{first} * pageSize, part) != part.size())
        throw Error(Fault::cutShort, inQuotes(path_) + " açıkken kısalmış, " + std::to_string(first) +
                                         ". sayfadan sonrası okunamadı; programı kapatıp dosyayı denetleyin.");
}

PageView PageMemory::look(PageNo page, PassingBuffer& buffer)
{
    if (page >= count_) throwNoSuchPage(page);
    const PageNo number = page / pagesPerExtent;
    if (extents_[number].has(page)) return PageView(bytes(page), pageSize);
    if (buffer.extent != number) {
        buffer.extent.reset();
        buffer.bytes.resize(extentSize);
        readFile(number * pagesPerExtent, (number + 1) * pagesPerExtent, buffer.bytes.data());
        buffer.extent = number;
    }
    return PageView(&buffer.bytes[std::size_t{page % pagesPerExtent} * pageSize], pageSize);
}

std::span<const std::uint8_t> PageMemory::loaded(PageNo page, PageNo end) const
{
    assert(page < end && end <= count_ && page / pagesPerExtent == (end - 1) / pagesPerExtent);
    const Extent& extent = extents_[page / pagesPerExtent];
    for (PageNo each = page; each < end; ++each)
        if (!extent.has(each)) return {};
    return {extent.bytes.get() + std::size_t{page % pagesPerExtent} * pageSize, (end - page) * pageSize};
}

PageBytes PageMemory::write(PageNo page)
{
    if (page >= count_) throwNoSuchPage(page);
    if (!isTouched_[page]) touch(page);
    return PageBytes(bytes(page), pageSize);
}

void PageMemory::touch(PageNo page)
{
    const std::uint8_t* const current = bytes(page);
    std::uint8_t* image = nullptr;
    if (page < countBefore_) {
        const std::size_t chunk = imagesUsed_ / imagesPerChunk;
        if (chunk == imageChunks_.size())
            imageChunks_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(imagesPerChunk * pageSize));
        image = imageChunks_[chunk].get() + (imagesUsed_ % imagesPerChunk) * pageSize;
        std::memcpy(image, current, pageSize);
    }
    touched_.push_back({page, image});
    if (image != nullptr) ++imagesUsed_;
    isTouched_[page] = true;
}

void PageMemory::extendTo(PageNo count)
{
    extents_.resize(extentsFor(count));
    isTouched_.resize(count);
    while (count_ < count) {
        std::memset(bytes(count_), 0, pageSize);
        touch(count_);
        ++count_;
    }
}

void PageMemory::replace(PageNo page, PageView content) { std::memcpy(bytes(page), content.data(), pageSize); }

void PageMemory::accept() noexcept
{
    countBefore_ = count_;
    forgetTouched();
}

void PageMemory::takeBack() noexcept
{
    for (const TouchedPage& one : touched_)
        if (one.image != nullptr) std::memcpy(bytes(one.page), one.image, pageSize); // loaded when it was touched
    count_ = countBefore_;
    extents_.resize(extentsFor(count_));
    forgetTouched();
}

void PageMemory::forgetTouched() noexcept
{
    for (const TouchedPage& one : touched_) isTouched_[one.page] = false;
    touched_.clear();
    imagesUsed_ = 0;
    if (imageChunks_.size() > chunksKept) imageChunks_.resize(chunksKept);
    isTouched_.resize(count_);
}

void PageMemory::assertState([[maybe_unused]] bool thorough) const
{
#ifndef NDEBUG
    assert(countBefore_ <= count_ && count_ <= maxPages);
    assert(extents_.size() == extentsFor(count_) && isTouched_.size() == count_);
    assert(touched_.size() == imagesUsed_ + (count_ - countBefore_));
    if (!thorough) return;
    std::size_t images = 0;
    for (const TouchedPage& one : touched_) {
        assert(one.page < count_ && isTouched_[one.page] && extents_[one.page / pagesPerExtent].has(one.page));
        assert((one.image != nullptr) == (one.page < countBefore_));
        if (one.image != nullptr) ++images;
    }
    assert(images == imagesUsed_);
    // As many marks as pages in the list: none of them stands there twice.
    assert(static_cast<std::size_t>(std::ranges::count(isTouched_, true)) == touched_.size());
#endif
}

} // namespace jet
