#include "store/jet/pages/page_memory.h"

#include "store/jet/pages/pager_failing.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <string>
#include <utility>

namespace jet {

namespace {

constexpr std::size_t imagesPerChunk = 32;
constexpr std::size_t chunksKept = 16;

} // namespace

PageMemory::PageMemory(File& file, PageCount pages, const FileStamp& stamp, const std::filesystem::path& path)
    : file_(file), stamp_(stamp), path_(path), extents_(extentsFor(pages)), count_(pages), countBefore_(pages),
      isTouched_(pages)
{
}

PageMemory::~PageMemory() = default;

void PageMemory::throwNoSuchPage(PageNo page) const
{
    throw Error(Fault::damaged, inQuotes(path_) + " hasarlı: olmayan " + std::to_string(page.number()) +
                                    ". sayfaya başvuruluyor (" + std::to_string(count_) +
                                    " sayfa var); yedeğini geri yükleyin.");
}

void PageMemory::load(PageNo page)
{
    Extent& extent = extents_[extentOf(page)];
    if (!extent.bytes) extent.bytes = std::make_unique_for_overwrite<std::uint8_t[]>(extentSize);
    const PageNo end = readAhead(page);
    readFile(page, end, extent.bytes.get() + placeOf(page) * pageSize);
    for (PageNo each = page; each < end; ++each) extent.loaded |= std::uint64_t{1} << placeOf(each);
}

/// How far to read when that page is missing: as many pages as stand in memory right before it, once more. Never over a
/// page that is there, which may have been written.
PageNo PageMemory::readAhead(PageNo page) const
{
    const Extent& extent = extents_[extentOf(page)];
    const unsigned place = placeOf(page);
    PageCount wanted = 1;
    if (place > 0)
        wanted += static_cast<PageCount>(std::countl_one(extent.loaded << (pagesPerExtent - place)));
    else if (page > 0 && ~extents_[extentOf(page) - 1].loaded == 0)
        wanted = pagesPerExtent;
    const PageNo limit =
        std::max(page + 1, std::min({page + wanted, page + (pagesPerExtent - place), PageNo(countBefore_)}));
    PageNo end = page + 1;
    while (end < limit && !extent.has(end)) ++end;
    return end;
}

/// What the file holds of these pages; the transaction's new ones are the caller's to fill.
void PageMemory::readFile(PageNo first, PageNo end, std::uint8_t* into)
{
    const PageCount pages = wasThere(first) ? std::min(end, PageNo(countBefore_)) - first : 0;
    const std::span part(into, pages * pageSize);
    if (pages != 0 && file_.read(positionOf(first), part) != part.size())
        throw Error(Fault::cutShort, inQuotes(path_) + " açıkken kısalmış, " + std::to_string(first.number()) +
                                         ". sayfadan sonrası okunamadı; programı kapatıp dosyayı denetleyin.");
    if (pages != 0 && file_.stamp() != stamp_) throw changedElsewhere(path_);
}

PageView PageMemory::look(PageNo page, PassingBuffer& buffer)
{
    if (!has(page)) throwNoSuchPage(page);
    const std::size_t number = extentOf(page);
    if (extents_[number].has(page)) return PageView(bytes(page), pageSize);
    if (buffer.extent != number) {
        buffer.extent.reset();
        buffer.bytes.resize(extentSize);
        const PageNo first(number * pagesPerExtent);
        readFile(first, first + pagesPerExtent, buffer.bytes.data());
        buffer.extent = number;
    }
    return PageView(&buffer.bytes[placeOf(page) * pageSize], pageSize);
}

PageView PageMemory::look(PageNo page, PageBuffer& buffer)
{
    if (!has(page)) throwNoSuchPage(page);
    if (extents_[extentOf(page)].has(page)) return PageView(bytes(page), pageSize);
    buffer.bytes.resize(pageSize);
    readFile(page, page + 1, buffer.bytes.data());
    return PageView(buffer.bytes.data(), pageSize);
}

std::span<const std::uint8_t> PageMemory::loaded(PageNo page, PageNo end) const
{
    assert(page < end && end <= PageNo(count_) && placeOf(page) + (end - page) <= pagesPerExtent);
    const Extent& extent = extents_[extentOf(page)];
    for (PageNo each = page; each < end; ++each)
        if (!extent.has(each)) return {};
    return {extent.bytes.get() + placeOf(page) * pageSize, (end - page) * pageSize};
}

PageBytes PageMemory::write(PageNo page)
{
    if (!has(page)) throwNoSuchPage(page);
    if (!isTouched_[page.number()]) touch(page);
    return PageBytes(bytes(page), pageSize);
}

void PageMemory::touch(PageNo page)
{
    const std::uint8_t* const current = bytes(page);
    std::uint8_t* image = nullptr;
    if (wasThere(page)) {
        const std::size_t chunk = imagesUsed_ / imagesPerChunk;
        if (chunk == imageChunks_.size())
            imageChunks_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(imagesPerChunk * pageSize));
        image = imageChunks_[chunk].get() + (imagesUsed_ % imagesPerChunk) * pageSize;
        std::memcpy(image, current, pageSize);
    }
    touched_.push_back({page, image});
    if (image != nullptr) ++imagesUsed_;
    isTouched_[page.number()] = true;
}

void PageMemory::extendTo(PageCount count)
{
    extents_.resize(extentsFor(count));
    isTouched_.resize(count);
    while (count_ < count) {
        const PageNo page(count_++);
        std::memset(bytes(page), 0, pageSize);
        touch(page);
    }
}

void PageMemory::replace(PageNo page, PageView content) { std::memcpy(bytes(page), content.data(), pageSize); }

void PageMemory::accept() noexcept
{
    countBefore_ = count_;
    forgetTouched();
}

void PageMemory::forget(PageCount pages, const FileStamp& stamp)
{
    assert(touched_.empty());
    std::vector<Extent> none(extentsFor(pages));
    isTouched_.assign(pages, false);
    extents_ = std::move(none);
    count_ = countBefore_ = pages;
    stamp_ = stamp;
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
    for (const TouchedPage& one : touched_) isTouched_[one.page.number()] = false;
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
        assert(has(one.page) && isTouched_[one.page.number()] && extents_[extentOf(one.page)].has(one.page));
        assert((one.image != nullptr) == wasThere(one.page));
        if (one.image != nullptr) ++images;
    }
    assert(images == imagesUsed_);
    // As many marks as pages in the list: none of them stands there twice.
    assert(static_cast<std::size_t>(std::ranges::count(isTouched_, true)) == touched_.size());
#endif
}

} // namespace jet
