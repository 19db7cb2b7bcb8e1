#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/index/index_key.h"
#include "store/jet/index/index_tree.h"
#include "store/jet/index/known_texts.h"
#include "store/jet/pages/pager.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/rows/row_walk.h"
#include "store/jet/rows/table_definition.h"
#include "store/jet/table/change_log.h"
#include "store/jet/table/table.h"
#include "store/jet/table/table_rules.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace jet {

class UpdateRun;
struct ChildRows;

/// Why a table is not written.
struct Refusal {
    Fault fault = Fault::readOnly;
    std::string sentence;
};

/// What a Table knows beside its pages. Everything that a transaction can change is either read from the pages each
/// time or carries the pager's change count under which it was learnt: a rollback makes it void.
struct Table::State {
    /// Reads the definition at that page.
    State(Pager& filePages, std::u16string tableName, PageNo page, TableProperties tableProperties);
    ~State();

    /// Reads the definition again, which was changed on its pages just now.
    void definitionChanged();
    /// Called first by everything that others call: the transaction that changed the definition may be over, and
    /// taken back, or the file may be another than it was.
    void rereadIfTakenBack()
    {
        if (foreignChanges != pager.foreignChanges()) return forgetAll();
        if (definitionChangedAt && *definitionChangedAt != pager.changeCount()) readDefinition();
    }

    // ---- reading ----
    /// Data pages in ascending order, by the owned map; by a search through the file where that is damaged.
    std::shared_ptr<const std::vector<PageNo>> dataPages();
    /// A page that was given to the table in the open transaction.
    void dataPageAdded(PageNo page);
    /// Pages that it gave back there.
    void dataPagesRemoved();
    RowReader reader() { return {pager, definition.page, layout}; }
    RowWalk walk() { return {reader(), dataPages()}; }
    /// The sound row at that place; nothing when it is not there. Throws damaged.
    std::optional<RowReader::Row> find(RowId head);
    std::optional<std::span<const std::uint8_t>> field(std::size_t column, std::span<const std::uint8_t> row) const
    {
        return fieldBytes(layout, column, row);
    }
    Value value(std::size_t column, std::span<const std::uint8_t> row, PassingBuffer* passing = nullptr)
    {
        return fieldValue(pager, layout, column, row, passing);
    }
    /// Counts them on the pages. Throws damaged.
    std::uint32_t liveRows();

    // ---- indexes ----
    IndexTree tree(const Index& index) const
    {
        const bool verified = verdict && !*verdict;
        return {pager, index.root, definition.page, index.ownedPages,
                verified ? IndexTree::Trust::verified : IndexTree::Trust::none};
    }
    /// The fields of a row that make up an index's key.
    void keyValues(const Index& index, std::span<const std::uint8_t> row, std::vector<Value>& into,
                   PassingBuffer* passing = nullptr);

    const KnownTexts* known(const Index& index) const
    {
        const auto found = knownTexts.find(index.number);
        return found == knownTexts.end() ? nullptr : &found->second;
    }

    // ---- writing (the rules are those of Table; the tables of the system may be written too) ----
    /// Throws unless the table may be written.
    void checkWritable();
    /// Why it may not; nothing when it may. Verifies the table on the first call.
    const std::optional<Refusal>& refusal();
    /// Throws unless its rows and its indexes are what they seem to be, whoever may write them.
    void checkSound();
    /// Verifies the table for one that stands for it in the Database of another thread, where it may be written.
    void verifyAhead();
    /// Takes over what another's verifyAhead() has found on the same pages, if it came to its end.
    void takeVerdict(State& from);
    RowId insert(std::span<const Assignment> values);
    void update(RowId id, std::span<const Assignment> values);
    void erase(std::span<const RowId> rows);
    void erase(RowId id) { erase(std::span(&id, 1)); }
    void eraseAll();

    // ---- what it knows ----
    Pager& pager;
    const Table* systemObjects = nullptr; ///< where all tables are listed
    /// The table whose definition begins there, null where none does. Without it no relationship can be held.
    std::function<Table::State*(PageNo)> tableAt;
    std::u16string name;
    TableProperties properties;
    /// Reads them again, which another program may have changed; null for the tables that have none.
    std::function<TableProperties()> readProperties;
    /// Called before a verification: somebody may have done it ahead (takeVerdict). Null where nobody does.
    std::function<void()> verifiedAhead;
    TableDefinition definition;
    RowLayout layout;
    TableRules rules;

    std::optional<std::optional<Refusal>> verdict;        ///< of the one verification; empty before it
    std::optional<std::optional<Refusal>> unknownDemands; ///< empty before they were looked for
    std::map<std::size_t, KnownTexts> knownTexts; ///< of indexes with a text of an unknown order, at the verification
    std::int32_t highestAutoNumber = 0;           ///< at the verification; the definition may lag behind it
    bool countIsStale = false;                    ///< the definition's row count was wrong at the verification
    std::optional<std::uint64_t> countRightAt;    ///< change count of the transaction that put it right

    std::shared_ptr<std::vector<PageNo>> pages;
    std::optional<std::uint64_t> pagesChangedAt; ///< change count of the transaction that added or removed one
    std::vector<PageNo> emptyPages;              ///< with dead slots only at the verification
    std::optional<std::uint64_t> emptyPagesAt;   ///< change count of the transaction that gave some of them back
    std::map<PageNo, unsigned> slotsUsed;        ///< of pages given back since the file was opened
    PageNo lastPage = 0;                         ///< where the last row went, 0 when unknown
    std::uint64_t lastPageAt = 0;
    std::uint64_t foreignChanges = 0;                 ///< of the pager, when the definition was read
    std::optional<std::uint64_t> definitionChangedAt; ///< change count of the transaction that changed the definition

    ChangeLog changes; ///< every row that Table writes goes in here
    std::unique_ptr<TableCompanion> companion;

private:
    const std::optional<Refusal>& unsoundness();
    void readDefinition();
    void forgetAll();
    void forgetPagesOfEndedTransaction();
    void giveBackEmptyPages();
    void update(RowId id, std::span<const Assignment> values, UpdateRun& run);
    void updateChildren(const std::vector<ChildRows>& all, UpdateRun& run);
    void eraseRow(RowId id);
};

/// How people find an index of a table again: by the first of its names.
std::string indexTitle(const Index& index);

/// Rules or relationships that cannot be held, because it is not known what they are.
std::optional<Refusal> demandsNobodyKnows(Table::State& table);

/// Compares every entry of every index with its row, and the pages of the table with those of all others. Whether the
/// file may be written at all is not asked.
std::optional<Refusal> verifyContents(Table::State& table);
/// The same in a file that may be written; why not, in another.
std::optional<Refusal> verifyForWriting(Table::State& table);

} // namespace jet
