#include "store/jet/sql/equal_rows.h"

#include <algorithm>

namespace jet {

bool EqualRows::knows(const Table& table, std::u16string_view text) const
{
    const auto at = std::ranges::find(known_, text, &Known::text);
    return at != known_.end() && table.changes().since(at->seen).has_value();
}

std::vector<RowId> EqualRows::rows(const Table& table, std::u16string_view text)
{
    const auto at = std::ranges::find(known_, text, &Known::text);
    Known known{std::u16string(text), {}, 0};
    if (at != known_.end()) {
        known = *at;
        follow(table, known);
    } else {
        read(table, known);
    }
    // What an open transaction has changed may be taken back: good for this answer, not for remembering.
    if (table.hasUncommittedChanges()) return known.rows;

    if (at != known_.end())
        known_.erase(at);
    else if (known_.size() == most)
        known_.erase(known_.begin());
    known_.push_back(std::move(known));
    return known_.back().rows;
}

void EqualRows::follow(const Table& table, Known& known) const
{
    const auto touched = table.changes().since(known.seen);
    if (!touched) return read(table, known);
    for (const RowId id : *touched) {
        const std::optional<RowView> view = table.row(id);
        const bool belongs = view && view->textIs(column_, known.text);
        const auto at = std::ranges::lower_bound(known.rows, id);
        const bool stands = at != known.rows.end() && *at == id;
        if (belongs && !stands) known.rows.insert(at, id);
        if (!belongs && stands) known.rows.erase(at);
    }
    known.seen = table.changes().now();
}

void EqualRows::read(const Table& table, Known& known) const
{
    known.rows.clear();
    table.passRows(table.dataPages(), [&](RowId id, const RowView& view) {
        if (view.textIs(column_, known.text)) known.rows.push_back(id);
        return true;
    });
    std::ranges::sort(known.rows);
    known.seen = table.changes().now();
}

} // namespace jet
