#pragma once

#include "store/jet/database/database.h"
#include "store/jet/database/header.h"
#include "store/jet/database/verification_ahead.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/table/catalogue.h"

#include <initializer_list>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace jet {

/// An object as the catalogue lists it, without its owner and its dates.
struct ObjectRow {
    std::uint32_t id;
    std::uint32_t parent;
    std::u16string_view name;
    std::int16_t type;
};

struct Database::State {
    /// The entries of the catalogue, read again when a transaction that changed it has ended.
    const std::vector<CatalogueEntry>& catalogue();
    /// Nothing when there is no such table; a user table wins over a system table of a similar name.
    const CatalogueEntry* find(std::u16string_view name);
    /// The table of an entry, opened on first use. Throws damaged, cutShort.
    Table& open(const CatalogueEntry& entry);
    Table::State& stateOf(Table& table) const { return *table.state_; }
    /// To be called after rows of MSysObjects were changed.
    void catalogueChanged();

    /// A row of the catalogue. In a transaction.
    void addObject(const ObjectRow& object, const Bytes& owner, std::uint32_t flags, DateTime now);
    /// A row of the rights. In a transaction.
    void addRight(std::uint32_t object, const Bytes& account, std::uint32_t mask, bool inheritable);
    /// What a database without tables says about itself. In a transaction.
    void addSystemRows(const AccountSet& accounts, DateTime now);
    /// MSysACEs. Throws damaged when there is none.
    Table& rightsTable();
    /// The rights that the tables of this file have, for a new one. In a transaction.
    void addRights(PageNo definition);
    /// The account that owns this file's objects. Throws damaged.
    Bytes administrator();

    std::unique_ptr<Pager> pager;
    Header header;
    std::unique_ptr<Table> systemObjects;
    std::unique_ptr<VerificationAhead> ahead; ///< from its beginning until somebody wants to know what it has found
    bool wasAhead = false;                    ///< it has begun, or there was nothing to begin

private:
    /// A row of a system table, by the names of its columns.
    void addRow(Table& table, std::initializer_list<std::pair<std::u16string_view, Value>> fields);

    std::optional<std::vector<CatalogueEntry>> entries_;
    std::optional<std::uint64_t> changedAt_; ///< change count of the transaction that changed the catalogue
    std::uint64_t foreignChanges_ = 0;       ///< of the pager, when the catalogue was read
    std::vector<std::unique_ptr<Table>> tables_;
    /// Tables that a rollback or another program took out of the catalogue: references to them are still out.
    std::vector<std::unique_ptr<Table>> retired_;
};

} // namespace jet
