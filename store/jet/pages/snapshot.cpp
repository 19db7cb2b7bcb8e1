#include "store/jet/pages/snapshot.h"

#include "store/jet/format/doors.h"
#include "store/jet/pages/kept_pages.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace jet {

void KeptPages::keep(PageNo page, const std::uint8_t* image) noexcept
{
    if (page >= PageNo(pages_)) return;
    const std::lock_guard lock(mutex_);
    if (page < read_ || state_ != State::good || images_.contains(page)) return;
    try {
        auto copy = std::make_unique_for_overwrite<std::uint8_t[]>(pageSize);
        std::memcpy(copy.get(), image, pageSize);
        images_.emplace(page, std::move(copy));
    } catch (const std::bad_alloc&) {
        // The counter's change is worth more than the copy.
        images_.clear();
        state_ = State::incomplete;
    }
}

void KeptPages::close() noexcept
{
    const std::lock_guard lock(mutex_);
    state_ = State::closed;
}

KeptPages::State KeptPages::overlay(PageNo first, std::span<std::uint8_t> pages)
{
    const std::lock_guard lock(mutex_);
    if (state_ != State::good) return state_;
    const PageNo end = first + static_cast<PageCount>(pages.size() / pageSize);
    if (!images_.empty()) {
        for (PageNo page = first; page < end; ++page) {
            const auto kept = images_.find(page);
            if (kept == images_.end()) continue;
            std::memcpy(&pages[std::size_t{page - first} * pageSize], kept->second.get(), pageSize);
            images_.erase(kept);
        }
    }
    read_ = end;
    return state_;
}

Snapshot::Snapshot(std::unique_ptr<File> file, std::shared_ptr<KeptPages> kept)
    : file_(std::move(file)), kept_(std::move(kept))
{
}

Snapshot::~Snapshot() = default;

PageCount Snapshot::pageCount() const { return kept_->pageCount(); }

PageCount Snapshot::readNext(std::span<std::uint8_t> into)
{
    const PageCount count = std::min(static_cast<PageCount>(into.size() / pageSize), PageNo(pageCount()) - next_);
    if (count == 0) return 0;
    const auto pages = into.first(count * pageSize);
    // The file first, the kept pages second: the other way round a commit in between would slip through.
    if (file_->read(positionOf(next_), pages) != pages.size())
        throw Error(Fault::cutShort, "Veritabanı dosyası kopyalanırken kısaldı; dosyayı denetleyin.");
    switch (kept_->overlay(next_, pages)) {
    case KeptPages::State::closed:
        throw Error(Fault::disk, "Veritabanı kopyalanırken kapatıldı ya da başka bir programca değiştirildi; kopya "
                                 "yarım kaldı.");
    case KeptPages::State::incomplete:
        throw Error(Fault::disk, "Veritabanı kopyalanırken bellek yetmedi; başka programları kapatıp yeniden deneyin.");
    case KeptPages::State::good:
        break;
    }
    next_ += count;
    return count;
}

} // namespace jet
