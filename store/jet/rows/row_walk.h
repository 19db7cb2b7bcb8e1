#pragma once

#include "store/jet/pages/pager.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/rows/row_codec.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_set>
#include <utility>
#include <vector>

/// The one way from a table's pages to its rows, for all who read them: cursors, the check, the verification before the
/// first write, compacting and rescuing. So they all have the same verdict about every row of a damaged file:
///
/// - A page holds rows of the table when it says so itself, and its slots can be counted.
/// - A row begins at its head, a live slot. The head of a moved row is a pointer to its body: one step, never more, to
///   a slot marked as a body on a page of the same table.
/// - A body belongs to one head. Of several the first of the walk has it, the others are damaged.
/// - The row's bytes agree with the table's layout (rowDamage).
///
/// What is damaged the walk tells its receiver, and goes on behind it.
namespace jet {

/// Judges single rows of one table.
class RowReader {
public:
    /// `trusted`, by page number: pages that hold rows of the table although they say something else. Only a rescue has
    /// such pages. All that is passed in lives as long as the reader.
    RowReader(Pager& pager, PageNo definition, const RowLayout& layout, const std::vector<bool>* trusted = nullptr)
        : pager_(&pager), layout_(&layout), trusted_(trusted), definition_(definition)
    {
    }

    static constexpr const char* slotDamage = "satırın yeri sayfaya uymuyor";

    struct Row {
        RowId body; ///< where the bytes stand: the head itself unless the row was moved
        std::span<const std::uint8_t> bytes;
        const char* damage = nullptr; ///< a Turkish clause; null for a sound row
    };
    /// The row of a head, a live slot of a page of the table. A moved one is looked at through `passing` where given.
    Row read(RowId head, PageView page, Slot slot, PageBuffer* passing = nullptr) const
    {
        Row row;
        readInto(row, head, page, slot, passing);
        return row;
    }
    /// The same into a row that is there, for walks: a copy of it would cost as much as the look.
    void readInto(Row& row, RowId head, PageView page, Slot slot, PageBuffer* passing) const
    {
        row.body = head;
        row.bytes = slotBytes(page, slot);
        row.damage = nullptr;
        if (slot.pointer) followPointer(row, page, slot, passing);
        if (row.damage == nullptr) row.damage = rowDamage(*layout_, row.bytes);
    }
    /// The row whose head stands there; nothing when there is none. Looking at one row alone cannot tell that another
    /// head leads to its body.
    std::optional<Row> find(RowId head) const;
    /// The same on a page that is at hand; a moved row is looked at through `passing` where given.
    std::optional<Row> find(RowId head, PageView page, PageBuffer* passing) const;
    bool holdsRows(PageNo number, PageView page) const
    {
        return isRowPage(page, definition_) || (trusted_ != nullptr && (*trusted_)[number.number()]);
    }
    Pager& pager() const { return *pager_; }

private:
    void followPointer(Row& row, PageView page, Slot slot, PageBuffer* passing) const;

    Pager* pager_;
    const RowLayout* layout_;
    const std::vector<bool>* trusted_;
    PageNo definition_;
};

/// What a walk tells beside the sound rows. Receivers are types known when the walk is compiled, so that silence costs
/// nothing: derive, hide what is of interest, and bring damagedPage and damagedRow.
struct RowReceiver {
    /// A page of the table, before its rows.
    void page(PageNo, PageView) {}
    /// A page of the list that says it is another table's, or nobody's. Nothing of it is read.
    void foreignPage(PageNo) {}
    /// The bytes of a moved row, whether or not a head leads to them.
    void body(RowId) {}
    // void damagedPage(PageNo page, const char* what): none of its rows can be read. `what` is a Turkish clause.
    // void damagedRow(RowId head, const char* what)
};

/// A foreign page in a sentence.
inline constexpr const char* foreignPageClause = "tablonun haritasında, ama tablonun veri sayfası değil";

/// The receiver of those who do not go on. A foreign page it passes over: there may be no row missing.
class ThrowAtDamage : public RowReceiver {
public:
    explicit ThrowAtDamage(const Pager& pager) : pager_(pager) {}
    [[noreturn]] void damagedPage(PageNo page, const char* what) const;
    [[noreturn]] void damagedRow(RowId head, const char* what) const;

private:
    const Pager& pager_;
};

/// What becomes of the pages that a walk reads.
enum class PageUse {
    keep, ///< they stay in memory, and the bytes of a row as long as any view of a page
    pass, ///< they are looked at in passing: the bytes of a row are good until the next step
};

/// Walks the rows of some pages in the order of the pages and their slots. The pages must not be changed meanwhile.
class RowWalk {
public:
    RowWalk(RowReader reader, std::shared_ptr<const std::vector<PageNo>> pages, PageUse use = PageUse::keep)
        : reader_(reader), pages_(std::move(pages)), use_(use)
    {
    }

    /// Steps to the next sound row; false behind the last one. What lies between goes to `receiver`; where that throws,
    /// the next call goes on behind the damage.
    template <class Receiver> bool next(Receiver&& receiver)
    {
        for (;;) {
            while (slot_ < slotEnd_) {
                const PageView page(page_, pageSize);
                // A head_ of which only the slot was stored could not be read whole before the store is done: 10 ns a
                // row.
                const RowId head{head_.page, slot_};
                head_ = head;
                const std::optional<Slot> slot = slotAt(page, slot_, slotEnd_.number());
                ++slot_;
                if (!slot) {
                    receiver.damagedRow(head, RowReader::slotDamage);
                } else if (slot->live()) {
                    reader_.readInto(row_, head, page, *slot, use_ == PageUse::pass ? &movedRow_ : nullptr);
                    if (slot->pointer && row_.body != head && !reached_.insert(row_.body.packed()).second)
                        row_.damage = "satırın taşındığı yere iki yerden geliniyor";
                    if (row_.damage == nullptr) return true;
                    receiver.damagedRow(head, row_.damage);
                } else if (slot->body()) {
                    receiver.body(head);
                }
            }
            if (nextPage_ == pages_->size()) return false;
            openPage(receiver);
        }
    }

    const RowReader& reader() const { return reader_; }
    RowId head() const { return head_; } ///< of a damaged row too; the first slot of a damaged page
    RowId body() const { return row_.body; }
    std::span<const std::uint8_t> bytes() const { return row_.bytes; }
    /// A head that the walk has passed leads there.
    bool reached(RowId body) const { return reached_.contains(body.packed()); }

private:
    template <class Receiver> void openPage(Receiver& receiver)
    {
        const PageNo number = (*pages_)[nextPage_++];
        Pager& pager = reader_.pager();
        const PageView page = use_ == PageUse::keep ? pager.read(number) : pager.look(number, passing_);
        head_ = {number, 0};
        if (!reader_.holdsRows(number, page)) {
            receiver.foreignPage(number);
            return;
        }
        const std::optional<unsigned> count = slotCount(page);
        if (!count) {
            receiver.damagedPage(number, "satır sayısı sayfaya uymuyor");
            return;
        }
        receiver.page(number, page);
        page_ = page.data();
        slot_ = 0;
        slotEnd_ = SlotNo(*count);
    }

    RowReader reader_;
    std::shared_ptr<const std::vector<PageNo>> pages_;
    PageUse use_;
    PassingBuffer passing_;
    PageBuffer movedRow_;
    std::size_t nextPage_ = 0;
    const std::uint8_t* page_ = nullptr;
    SlotNo slot_ = 0;
    SlotNo slotEnd_ = 0;
    RowId head_;
    RowReader::Row row_;
    std::unordered_set<std::uint32_t> reached_; ///< bodies
};

} // namespace jet
