#include "store/jet/database/database.h"

#include "store/jet/database/database_state.h"
#include "store/jet/pages/damage.h"
#include "store/jet/rules/table_properties.h"
#include "store/jet/table/table_state.h"
#include "store/jet/values/names.h"

#include <algorithm>

namespace jet {
namespace {

Value numberOf(std::uint32_t bits) { return static_cast<std::int32_t>(bits); }

} // namespace

const std::vector<CatalogueEntry>& Database::State::catalogue()
{
    const bool another = foreignChanges_ != pager->foreignChanges();
    if (another || (changedAt_ && *changedAt_ != pager->changeCount())) {
        changedAt_.reset();
        entries_.reset();
        foreignChanges_ = pager->foreignChanges();
    }
    if (!entries_) {
        entries_ = readCatalogue(*systemObjects);
        const auto gone = [this](const std::unique_ptr<Table>& table) {
            return std::none_of(entries_->begin(), entries_->end(), [&](const CatalogueEntry& entry) {
                return entry.definition == table->definitionPage() && entry.name == table->name();
            });
        };
        const auto first = std::stable_partition(tables_.begin(), tables_.end(),
                                                 [&](const std::unique_ptr<Table>& table) { return !gone(table); });
        std::move(first, tables_.end(), std::back_inserter(retired_));
        tables_.erase(first, tables_.end());
    }
    return *entries_;
}

void Database::State::catalogueChanged()
{
    entries_.reset();
    changedAt_ = pager->changeCount();
}

const CatalogueEntry* Database::State::find(std::u16string_view name)
{
    const CatalogueEntry* best = nullptr;
    int rank = 0;
    for (const CatalogueEntry& entry : catalogue()) {
        const int each = entry.name == name ? 3 : !sameName(entry.name, name) ? 0 : entry.user ? 2 : 1;
        if (each > rank) {
            best = &entry;
            rank = each;
        }
    }
    return best;
}

Table& Database::State::open(const CatalogueEntry& entry)
{
    if (entry.definition == systemObjects->definitionPage()) return *systemObjects;
    for (const std::unique_ptr<Table>& table : tables_) {
        if (table->definitionPage() == entry.definition) return *table;
    }
    auto state = std::make_unique<Table::State>(*pager, entry.name, entry.definition, propertiesOf(entry));
    state->systemObjects = systemObjects.get();
    state->tableAt = [this](PageNo definition) -> Table::State* {
        const auto& entries = catalogue();
        const auto found = std::ranges::find(entries, definition, &CatalogueEntry::definition);
        return found == entries.end() ? nullptr : &stateOf(open(*found));
    };
    state->readProperties = [this, definition = entry.definition] {
        const auto& entries = catalogue();
        const auto found = std::ranges::find(entries, definition, &CatalogueEntry::definition);
        return found == entries.end() ? TableProperties() : propertiesOf(*found);
    };
    state->verifiedAhead = [this] {
        if (const auto done = std::exchange(ahead, nullptr)) done->giveVerdicts();
    };
    tables_.push_back(std::unique_ptr<Table>(new Table(std::move(state))));
    return *tables_.back();
}

void Database::State::addRow(Table& table, std::initializer_list<std::pair<std::u16string_view, Value>> fields)
{
    std::vector<Assignment> values;
    for (const auto& [name, value] : fields) {
        const auto column = table.columnNamed(name);
        if (!column) {
            throw Error(Fault::damaged, files::quotedPath(pager->path()) + " dosyasının sistem tablosu " +
                                            quotedName(table.name()) + " bozuk: " + quotedName(name) +
                                            " sütunu yok. Dosyanın yedeğini kullanın.");
        }
        values.push_back({*column, value});
    }
    stateOf(table).insert(values);
}

void Database::State::addObject(const ObjectRow& object, const Bytes& owner, std::uint32_t flags, DateTime now)
{
    addRow(*systemObjects, {{object_columns::id, numberOf(object.id)},
                            {object_columns::parent, numberOf(object.parent)},
                            {object_columns::name, std::u16string(object.name)},
                            {object_columns::type, object.type},
                            {object_columns::created, now},
                            {object_columns::updated, now},
                            {object_columns::owner, owner},
                            {object_columns::flags, numberOf(flags)}});
}

void Database::State::addRight(std::uint32_t object, const Bytes& account, std::uint32_t mask, bool inheritable)
{
    addRow(rightsTable(), {{right_columns::object, numberOf(object)},
                           {right_columns::account, account},
                           {right_columns::mask, numberOf(mask)},
                           {right_columns::inheritable, inheritable}});
}

Database::Database() : state_(std::make_unique<State>()) {}
Database::~Database() = default;

std::unique_ptr<Database> Database::open(Disk& disk, const std::filesystem::path& path, Pager::Mode mode)
{
    return open(std::make_unique<Pager>(disk, path, mode));
}

std::unique_ptr<Database> Database::open(std::unique_ptr<Pager> pager)
{
    std::unique_ptr<Database> database(new Database);
    State& state = *database->state_;
    state.pager = std::move(pager);
    state.header = readHeader(*state.pager);
    auto systemState =
        std::make_unique<Table::State>(*state.pager, msysObjects, state.header.catalogue, TableProperties{});
    state.systemObjects.reset(new Table(std::move(systemState)));
    state.stateOf(*state.systemObjects).systemObjects = state.systemObjects.get();

    for (const CatalogueEntry& entry : state.catalogue()) {
        if (!entry.user) continue;
        try {
            const Table::State& table = state.stateOf(state.open(entry));
            // Writing to a file whose end is missing would put new pages where the lost ones were.
            if (!mapLeadsPastTheEnd(*state.pager, table.definition.owned)) continue;
        } catch (const Error& error) {
            // A damaged table does not keep the others from being read; whoever asks for it gets the fault.
            if (error.fault() == Fault::damaged) continue;
            throw;
        }
        throw Error(Fault::cutShort,
                    files::quotedPath(state.pager->path()) + " dosyası eksik: " + quotedName(entry.name) +
                        " tablosunun bazı sayfaları dosyada yok. Dosyanın tam bir kopyasını kullanın.");
    }
    return database;
}

Pager& Database::pager() { return *state_->pager; }
Collation Database::collation() const { return state_->header.collation; }
std::uint16_t Database::codePage() const { return state_->header.codePage; }

std::vector<std::u16string> Database::tableNames() const
{
    std::vector<std::u16string> names;
    for (const CatalogueEntry& entry : state_->catalogue()) {
        if (entry.user) names.push_back(entry.name);
    }
    return names;
}

bool Database::hasTable(std::u16string_view name) const
{
    const CatalogueEntry* entry = state_->find(name);
    return entry != nullptr && entry->user;
}

std::vector<LinkedTable> Database::linkedTables() const { return readLinks(*state_->systemObjects); }

Table& Database::table(std::u16string_view name)
{
    const CatalogueEntry* entry = state_->find(name);
    if (entry == nullptr) {
        for (const LinkedTable& link : linkedTables()) {
            if (!sameName(link.name, name)) continue;
            const std::string where =
                link.file.empty() ? "başka türden bir veritabanında"
                                  : "'" + toUtf8(link.file) + "' dosyasının " + quotedName(link.table) + " tablosunda";
            throw Error(Fault::noSuchTable, files::quotedPath(state_->pager->path()) + " veritabanındaki " +
                                                quotedName(link.name) + " bağlı bir tablo: kayıtları " + where +
                                                " duruyor. Kayıtlar için onu açın.");
        }
        throw Error(Fault::noSuchTable, files::quotedPath(state_->pager->path()) + " veritabanında " +
                                            quotedName(name) + " adlı bir tablo yok.");
    }
    return state_->open(*entry);
}

bool Database::verifyAhead(const std::vector<std::u16string>& tables)
{
    const bool isKnown = std::ranges::all_of(tables, [&](const std::u16string& table) {
        const CatalogueEntry* const entry = state_->find(table);
        return entry == nullptr || state_->stateOf(state_->open(*entry)).verdict;
    });
    if (!state_->wasAhead) {
        state_->wasAhead = true;
        if (!isKnown) state_->ahead = VerificationAhead::begin(*state_, tables);
    }
    if (state_->ahead && !state_->ahead->isDone()) return false;
    // Nobody asks any more, and a second opening of the file makes every commit look for who has it open.
    if (isKnown) state_->ahead.reset();
    return true;
}

std::vector<std::pair<std::u16string, PageNo>> Database::allTables() const
{
    std::vector<std::pair<std::u16string, PageNo>> tables;
    for (const CatalogueEntry& entry : state_->catalogue()) tables.emplace_back(entry.name, entry.definition);
    return tables;
}

} // namespace jet
