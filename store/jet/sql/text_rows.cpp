#include "store/jet/sql/text_rows.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <memory>
#include <span>

namespace jet {
namespace {

constexpr std::size_t pagesAtOnce = 300; // two milliseconds or three
constexpr std::size_t fewestChains = 1024;

} // namespace

bool TextRows::knows(const Table& table) const { return learned_ && table.changes().since(seen_).has_value(); }

bool TextRows::learn(const Table& table)
{
    if (table.hasUncommittedChanges()) return knows(table);
    if (knows(table)) {
        follow(table); // before the log has been left behind
        return true;
    }
    if (!pages_ || !table.changes().since(seen_)) begin(table);
    const auto from = pages_->begin() + static_cast<std::ptrdiff_t>(read_);
    const std::size_t count = std::min(pagesAtOnce, pages_->size() - read_);
    const auto part = std::make_shared<const std::vector<PageNo>>(from, from + static_cast<std::ptrdiff_t>(count));
    table.passRows(part, [this](RowId id, const RowView& view) {
        if (view.text(column_, buffer_)) add(id, buffer_);
        return true;
    });
    read_ += count;
    if (read_ < pages_->size()) return false;
    pages_.reset();
    learned_ = true;
    return true;
}

/// What is written from now on is followed when all is learned.
void TextRows::begin(const Table& table)
{
    learned_ = false;
    seen_ = table.changes().now();
    pages_ = table.dataPages();
    read_ = 0;
    links_.clear();
    const std::size_t most = pages_->size() * (limits::slotsOnPage + std::size_t{1});
    chains_.assign(std::bit_ceil(std::max(std::min<std::size_t>(table.rowCount(), most), fewestChains)), none);
}

std::uint32_t& TextRows::chain(std::u16string_view text)
{
    return chains_[std::hash<std::u16string_view>{}(text) & (chains_.size() - 1)];
}

void TextRows::add(RowId row, std::u16string_view text)
{
    std::uint32_t& first = chain(text);
    links_.push_back({row, first});
    first = static_cast<std::uint32_t>(links_.size());
}

/// Rows that are gone or hold another text stay where they were, and one that was changed stands there twice: whoever
/// asks looks at each row.
void TextRows::follow(const Table& table)
{
    const std::span<const RowId> log = table.changes().since(seen_).value();
    std::vector<RowId> touched(log.begin(), log.end());
    std::ranges::sort(touched);
    touched.erase(std::unique(touched.begin(), touched.end()), touched.end());
    for (const RowId row : touched) {
        const std::optional<RowView> view = table.row(row);
        if (view && view->text(column_, buffer_)) add(row, buffer_);
    }
    seen_ = table.changes().now();
}

std::vector<RowId> TextRows::rows(const Table& table, std::u16string_view text)
{
    // What an open transaction has written may be taken back: good for this answer, not for remembering.
    if (!table.hasUncommittedChanges()) follow(table);
    const std::span<const RowId> log = table.changes().since(seen_).value();
    std::vector<RowId> found(log.begin(), log.end());
    for (std::uint32_t at = chain(text); at != none; at = links_[at - 1].next) found.push_back(links_[at - 1].row);
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    // Chains that have grown long with what is gone are learned anew.
    constexpr std::size_t longest = 4;
    if (links_.size() > longest * chains_.size()) learned_ = false;
    return found;
}

} // namespace jet
