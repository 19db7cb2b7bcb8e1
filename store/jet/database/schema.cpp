#include "store/jet/database/database.h"

#include "store/jet/database/database_state.h"
#include "store/jet/database/definition_plan.h"
#include "store/jet/database/new_maps.h"
#include "store/jet/format/accounts.h"
#include "store/jet/format/index_layout.h"
#include "store/jet/format/limits.h"
#include "store/jet/pages/damage.h"
#include "store/jet/pages/row_page.h"
#include "store/jet/table/table_state.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <set>

namespace jet {
namespace {

/// Throws unless such a table can be made. Nothing has been written before.
class PlanCheck {
public:
    PlanCheck(std::u16string_view table, const std::vector<NewColumn>& columns, const std::vector<NewIndex>& indexes)
        : table_(table), columns_(columns), indexes_(indexes)
    {
    }

    void run() const
    {
        if (const char* fault = nameFault(table_)) refuse(fault);
        if (columns_.empty() || columns_.size() > limits::columns) refuse("tablonun 1 ile 255 arasında sütunu olmalı");
        if (indexes_.size() > limits::indexes) refuse("tablonun en çok 32 dizini olabilir");
        std::size_t autoNumbers = 0;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const NewColumn& column = columns_[i];
            checkColumn(column);
            if (column.autoNumber && column.type == ColumnType::longInteger && ++autoNumbers > 1)
                refuse("tabloda tek bir otomatik sayı olabilir");
            for (std::size_t k = 0; k < i; ++k) {
                if (sameName(columns_[k].name, column.name))
                    refuse(quotedName(column.name) + " sütunu iki kez geçiyor");
            }
        }
        for (std::size_t i = 0; i < indexes_.size(); ++i) {
            checkIndex(indexes_[i]);
            for (std::size_t k = 0; k < i; ++k) {
                if (sameName(indexes_[k].name, indexes_[i].name)) {
                    refuse(quotedName(indexes_[i].name) + " dizini iki kez geçiyor");
                }
                if (indexes_[k].primaryKey && indexes_[i].primaryKey)
                    refuse("tabloda tek bir birincil anahtar olabilir");
            }
        }
    }

private:
    [[noreturn]] void refuse(const std::string& why) const
    {
        throw Error(Fault::unsupported, quotedName(table_) + " tablosu oluşturulamaz: " + why + ".");
    }

    void checkColumn(const NewColumn& column) const
    {
        if (const char* fault = nameFault(column.name)) refuse(quotedName(column.name) + " sütunu: " + fault);
        if (column.type == ColumnType::text && (column.size < 1 || column.size > limits::text)) {
            refuse(quotedName(column.name) + " sütunu 1 ile 255 karakter arasında olmalı");
        }
        if (column.type == ColumnType::binary && (column.size < 1 || column.size > limits::binary)) {
            refuse(quotedName(column.name) + " sütunu 1 ile 510 bayt arasında olmalı");
        }
        if (column.type == ColumnType::numeric &&
            (column.precision < 1 || column.precision > limits::digits || column.scale > column.precision)) {
            refuse(quotedName(column.name) + " sütunu en çok 28 basamaklı olabilir");
        }
        if (column.type == ColumnType::blob) refuse(quotedName(column.name) + " sütununun türü desteklenmiyor");
        if (column.autoNumber && column.type != ColumnType::longInteger && column.type != ColumnType::guid) {
            refuse(quotedName(column.name) + " sütunu otomatik sayı olamaz; türü uzun tamsayı ya da GUID olmalı");
        }
    }

    void checkIndex(const NewIndex& index) const
    {
        if (const char* fault = nameFault(index.name)) refuse(quotedName(index.name) + " dizini: " + fault);
        if (index.columns.empty() || index.columns.size() > limits::indexColumns) {
            refuse(quotedName(index.name) + " dizininin 1 ile 10 arasında sütunu olmalı");
        }
        std::set<std::u16string> used;
        for (const auto& [name, ascending] : index.columns) {
            const auto column = std::find_if(columns_.begin(), columns_.end(),
                                             [&name = name](const NewColumn& each) { return each.name == name; });
            if (column == columns_.end()) refuse(quotedName(index.name) + " dizininin bir sütunu tabloda yok");
            if (!used.insert(name).second) refuse(quotedName(index.name) + " dizininde bir sütun iki kez geçiyor");
            if (column->type == ColumnType::ole) refuse(quotedName(name) + " sütununa göre dizin tutulamaz");
        }
    }

    std::u16string_view table_;
    const std::vector<NewColumn>& columns_;
    const std::vector<NewIndex>& indexes_;
};

/// Gives the new table its pages and writes its definition.
void writeNewTable(Pager& pager, TableDefinition& table, Collation collation)
{
    table.page = allocatePage(pager);
    NewMaps(pager).give(table);
    const Bytes bytes = buildTableDefinition(table, collation);
    table.chain = {table.page};
    while (table.chain.size() < definitionPages(bytes.size())) table.chain.push_back(allocatePage(pager));
    writeDefinitionBytes(pager, table.chain, bytes);
}

struct Right {
    Bytes account;
    std::uint32_t mask = 0;
};

Bytes bytesField(const RowView& row, std::size_t column)
{
    const Value value = row.value(column);
    const Bytes* bytes = std::get_if<Bytes>(&value);
    return bytes != nullptr ? *bytes : Bytes{};
}

std::uint32_t bitsField(const RowView& row, std::size_t column)
{
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(row.number(column).value_or(0)));
}

/// The owner of a catalogue object, as the file masks account numbers.
Bytes ownerOf(const Table& systemObjects, std::uint32_t object)
{
    const std::size_t id = systemColumn(systemObjects, object_columns::id, ColumnType::longInteger);
    const std::size_t owner = systemColumn(systemObjects, object_columns::owner, ColumnType::binary);
    Bytes account;
    systemObjects.forEachRow([&](RowId, const RowView& row) {
        if (bitsField(row, id) != object) return true;
        account = bytesField(row, owner);
        return false;
    });
    if (account.empty()) {
        throw Error(Fault::damaged, "Dosyanın sistem tablosu \"MSysObjects\" bozuk: nesnelerin sahibi okunamıyor. "
                                    "Dosyanın yedeğini kullanın.");
    }
    return account;
}

/// Pages of a dropped index that are its own beyond doubt; anything else is left behind rather than freed by mistake.
std::vector<PageNo> ownIndexPages(const Table::State& table, const Index& index)
{
    Pager& pager = table.pager;
    std::vector<std::string> faults;
    std::vector<std::string> warnings;
    std::vector<PageNo> reached;
    std::set<PageNo> taken;
    const auto mapOf = [&](const Index& each) {
        try {
            return mapPages(pager, each.ownedPages);
        } catch (const Error& error) {
            if (error.fault() != Fault::damaged) throw;
            return std::vector<PageNo>{};
        }
    };
    for (const Index& other : table.definition.indexes) {
        if (other.number == index.number) continue;
        taken.insert(other.root);
        for (const PageNo page : mapOf(other)) taken.insert(page);
    }
    table.tree(index).check(faults, warnings, reached);
    const std::set<PageNo> tree(reached.begin(), reached.end());
    std::vector<PageNo> pages;
    for (const PageNo page : mapOf(index)) {
        const PageView view = pager.read(page);
        const bool indexPage = isPageOf(view, PageType::indexNode) || isPageOf(view, PageType::indexLeaf);
        const bool own = tree.contains(page) && !taken.contains(page) && !mapHas(pager, freeMap, page);
        if (indexPage && own && index_layout::owner.get(view) == table.definition.page) pages.push_back(page);
    }
    return pages;
}

/// Tables, queries and links share one room for names.
void checkNameIsFree(const Table& systemObjects, std::u16string_view name, Collation collation)
{
    const std::size_t parent = systemColumn(systemObjects, object_columns::parent, ColumnType::longInteger);
    const std::size_t column = systemColumn(systemObjects, object_columns::name, ColumnType::text);
    const std::vector<std::uint8_t> key = textKey(name, collation)->bytes;
    std::u16string other;
    systemObjects.forEachRow([&](RowId, const RowView& row) {
        if (bitsField(row, parent) != tablesContainer || !row.text(column, other)) return true;
        if (sameName(other, name) || textKey(other, collation)->bytes == key) {
            throw Error(Fault::exists,
                        quotedName(other) + " adlı bir tablo ya da sorgu zaten var; başka bir ad seçin.");
        }
        return true;
    });
}

} // namespace

Bytes Database::State::administrator() { return ownerOf(*systemObjects, msysDb); }

Table& Database::State::rightsTable()
{
    const CatalogueEntry* entry = find(msysAces);
    if (entry == nullptr) {
        throw Error(Fault::damaged, files::quotedPath(pager->path()) +
                                        " dosyasında \"MSysACEs\" sistem tablosu yok. Dosyanın "
                                        "yedeğini kullanın.");
    }
    return open(*entry);
}

void Database::State::addRights(PageNo definition)
{
    Table& rights = rightsTable();
    const std::size_t object = systemColumn(rights, right_columns::object, ColumnType::longInteger);
    const std::size_t account = systemColumn(rights, right_columns::account, ColumnType::binary);
    const std::size_t mask = systemColumn(rights, right_columns::mask, ColumnType::longInteger);
    const std::size_t inheritable = systemColumn(rights, right_columns::inheritable, ColumnType::boolean);

    const Bytes admin = administrator();
    Bytes creator = ownerOf(*systemObjects, firstSystemTable.number());
    creator.back() ^= engineToCreator;

    std::vector<Right> inherited{{admin, 0}};
    rights.forEachRow([&](RowId, const RowView& row) {
        if (bitsField(row, object) != tablesContainer || row.number(inheritable) == 0.0) return true;
        Right right{bytesField(row, account), bitsField(row, mask)};
        // What its creator may do with a table, its owner may.
        if (right.account == creator || right.account == admin) {
            inherited.front().mask |= right.mask;
        } else {
            inherited.push_back(std::move(right));
        }
        return true;
    });
    for (const Right& right : inherited) addRight(definition.number(), right.account, right.mask, false);
}

Table& Database::createTable(const std::u16string& name, const std::vector<NewColumn>& columns,
                             const std::vector<NewIndex>& indexes, DateTime now)
{
    State& state = *state_;
    const Collation order = collation();
    PlanCheck(name, columns, indexes).run();
    if (!hasWeights(order)) {
        throw Error(Fault::unsupported, files::quotedPath(state.pager->path()) +
                                            " dosyasının sıralama düzeni tanınmıyor; dosyaya tablo eklenemez.");
    }
    const auto key = textKey(name, order);
    if (key->certainty != Certainty::certain) {
        throw Error(Fault::unsupported, quotedName(name) + " tablosu oluşturulamaz: adında sıralamadaki yeri kesin "
                                                           "bilinmeyen bir karakter var.");
    }
    checkNameIsFree(*state.systemObjects, name, order);

    std::vector<Column> planned;
    planned.reserve(columns.size());
    for (const NewColumn& column : columns) planned.push_back(plannedColumn(column, order));
    TableDefinition table = planDefinition(std::move(planned), indexes, false, order);
    if (shortestRowOf(table) > limits::row) {
        throw Error(Fault::unsupported, quotedName(name) + " tablosu oluşturulamaz: sütunları bir satıra sığmıyor.");
    }
    // Both tables are verified before anything is written: a refusal then leaves an open transaction as it was.
    state.stateOf(*state.systemObjects).checkWritable();
    state.stateOf(state.rightsTable()).checkWritable();
    const Bytes owner = state.administrator();

    Transaction change(*state.pager);
    writeNewTable(*state.pager, table, order);
    state.addObject({table.page.number(), tablesContainer, name, localTable}, owner, 0, now);
    state.addRights(table.page);
    state.catalogueChanged();
    Table& made = this->table(name);
    change.commit();
    return made;
}

void Database::dropIndex(std::u16string_view tableName, std::u16string_view indexName)
{
    State& state = *state_;
    Pager& pager = *state.pager;
    Table::State& table = state.stateOf(this->table(tableName));
    table.rereadIfTakenBack();
    const auto logical = findNamed(table.definition.logicalIndexes, indexName,
                                   [](const LogicalIndex& each) -> const std::u16string& { return each.name; });
    if (!logical) {
        throw Error(Fault::noSuchTable,
                    quotedName(table.name) + " tablosunda " + quotedName(indexName) + " adlı bir dizin yok.");
    }
    const Index index = table.definition.indexes[table.definition.logicalIndexes[*logical].physical];
    if (index.relationship || table.definition.system) {
        throw Error(Fault::unsupported, quotedName(table.name) + " tablosunun " + quotedName(indexName) +
                                            " dizini kaldırılamaz: bir ilişkiye ya da sisteme ait. İlişkiyi Access ile "
                                            "kaldırın.");
    }

    Transaction change(pager);
    for (const PageNo page : ownIndexPages(table, index)) freePage(pager, page);
    const PageView holder = pager.read(index.ownedPages.page);
    if (!index.ownedPages.none() && isRowPage(holder, 0) && slotsInOrder(holder)) {
        killSlot(pager.write(index.ownedPages.page), index.ownedPages.slot);
    }
    const Bytes bytes = definitionWithoutIndex(pager, table.definition, index.number);
    std::vector<PageNo> chain = table.definition.chain;
    while (chain.size() > definitionPages(bytes.size())) {
        freePage(pager, chain.back());
        chain.pop_back();
    }
    writeDefinitionBytes(pager, chain, bytes);
    table.definitionChanged();
    change.commit();
}

} // namespace jet
