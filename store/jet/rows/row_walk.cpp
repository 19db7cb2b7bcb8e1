#include "store/jet/rows/row_walk.h"

#include "store/jet/pages/damage.h"

#include <string>

namespace jet {

std::optional<RowReader::Row> RowReader::find(RowId head) const
{
    if (head.page == 0 || !pager_->has(head.page)) return std::nullopt;
    return find(head, pager_->read(head.page), nullptr);
}

std::optional<RowReader::Row> RowReader::find(RowId head, PageView page, PageBuffer* passing) const
{
    if (!holdsRows(head.page, page)) return std::nullopt;
    const std::optional<unsigned> count = slotCount(page);
    if (!count || head.slot >= SlotNo(*count)) return std::nullopt;
    const std::optional<Slot> slot = slotAt(page, head.slot, *count);
    if (!slot) return Row{head, {}, slotDamage};
    if (!slot->live()) return std::nullopt;
    return read(head, page, *slot, passing);
}

void RowReader::followPointer(Row& row, PageView page, Slot slot, PageBuffer* passing) const
{
    const std::optional<RowId> place = pointerOf(page, slot);
    if (!place || place->page == 0 || !pager_->has(place->page)) {
        row.damage = "satırın taşındığı yer geçersiz";
        return;
    }
    const PageView bodyPage = passing != nullptr ? pager_->look(place->page, *passing) : pager_->read(place->page);
    const std::optional<Slot> body = slotAt(bodyPage, place->slot);
    if (!holdsRows(place->page, bodyPage) || !body || !body->body()) {
        row.damage = "satırın taşındığı yerde satır yok";
        return;
    }
    row.body = *place;
    row.bytes = slotBytes(bodyPage, *body);
}

void ThrowAtDamage::damagedPage(PageNo page, const char* what) const { throwDamaged(pager_, page, what); }

void ThrowAtDamage::damagedRow(RowId head, const char* what) const
{
    throwDamaged(pager_, head.page, std::to_string(head.slot.number()) + ". satır, " + what);
}

} // namespace jet
