#include "store/jet/care/rescue.h"

#include "files/part_file.h"
#include "store/jet/care/check.h"
#include "store/jet/care/salvage.h"
#include "store/jet/format/doors.h"
#include "store/jet/format/limits.h"
#include "store/jet/pages/damage.h"
#include "store/jet/rows/field_codec.h"
#include "store/jet/rows/long_value.h"
#include "store/jet/values/names.h"

#include <algorithm>

namespace jet {
namespace {

std::u16string number(std::size_t value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

/// The columns of a damaged table as a new table can have them, and where each stood.
struct Columns {
    std::vector<NewColumn> fresh;
    std::vector<std::size_t> from; ///< position in the definition
};

Columns columnsOf(const FoundTable& table, const std::string& title, Sentences& losses)
{
    Columns columns;
    bool hasCounter = false;
    for (std::size_t i = 0; i < table.definition.columns.size(); ++i) {
        const Column& column = table.definition.columns[i];
        if (!isKnown(column.type)) {
            losses.add(title + ", " + quotedName(column.name) + " alanı: türü bilinmiyor, alan aktarılmadı.");
            continue;
        }
        NewColumn fresh;
        fresh.name = column.name;
        const auto taken = [&] {
            return nameFault(fresh.name) || std::ranges::any_of(columns.fresh, [&](const NewColumn& other) {
                       return sameName(other.name, fresh.name);
                   });
        };
        for (std::size_t n = i; taken(); ++n) fresh.name = u"Alan_" + number(n);
        if (fresh.name != column.name)
            losses.add(title + ": adı okunamayan bir alanın adı " + quotedName(fresh.name) + " oldu.");
        fresh.type = column.type;
        if (column.type == ColumnType::text)
            fresh.size = column.length / 2 == 0 || column.length / 2 > limits::text
                             ? limits::text
                             : static_cast<std::uint16_t>(column.length / 2);
        else if (column.type == ColumnType::binary)
            fresh.size = column.length == 0 ? limits::binary : std::min(column.length, limits::binary);
        fresh.precision = column.precision == 0 ? limits::digits : std::min(column.precision, limits::digits);
        fresh.scale = std::min(column.scale, fresh.precision);
        fresh.autoNumber =
            column.autoGuid || (column.autoNumber && !std::exchange(hasCounter, hasCounter || column.autoNumber));
        columns.fresh.push_back(std::move(fresh));
        columns.from.push_back(i);
    }
    return columns;
}

/// What of a table's indexes is taken over.
enum class Rules { kept, dropped, noIndexes };

std::vector<NewIndex> indexesOf(const FoundTable& table, const Columns& columns, Rules rules)
{
    std::vector<NewIndex> indexes;
    if (rules == Rules::noIndexes) return indexes;
    bool hasPrimaryKey = false;
    for (const Index& index : table.definition.indexes) {
        NewIndex fresh;
        for (const IndexColumn& part : index.columns) {
            const auto place = std::ranges::find(columns.from, part.column);
            if (place == columns.from.end()) break;
            fresh.columns.emplace_back(columns.fresh[static_cast<std::size_t>(place - columns.from.begin())].name,
                                       part.ascending);
        }
        if (fresh.columns.size() != index.columns.size() || index.names.empty() || nameFault(index.names.front()) ||
            std::ranges::any_of(indexes,
                                [&](const NewIndex& other) { return sameName(other.name, index.names.front()); }))
            continue;
        fresh.name = index.names.front();
        fresh.ignoreNulls = index.ignoreNulls && !index.primaryKey;
        if (rules == Rules::kept) {
            fresh.unique = index.unique;
            fresh.required = index.required;
            fresh.primaryKey = index.primaryKey && !std::exchange(hasPrimaryKey, hasPrimaryKey || index.primaryKey);
        }
        indexes.push_back(std::move(fresh));
    }
    return indexes;
}

class Rescue {
public:
    Rescue(Disk& disk, const std::filesystem::path& from, const TableNames& nameOf)
        : nameOf_(nameOf), salvage_(disk, from, losses_)
    {
        for (const FoundTable& table : salvage_.tables()) {
            result_.tables.push_back({{}, false, 0, table.rowsPromised});
            if (table.name.empty() || taken(table.name))
                inventName(result_.tables.size() - 1);
            else
                result_.tables.back().name = table.name;
        }
    }

    const Salvage& salvage() const { return salvage_; }

    void countRows()
    {
        for (std::size_t i = 0; i < result_.tables.size(); ++i)
            salvage_.forEachRow(found(i), title(i), [&](RowId row, const RowLayout& layout, auto bytes) {
                for (std::size_t column = 0; column < layout.fields.size(); ++column)
                    if (isKnown(layout.fields[column].type)) fieldOf(i, row, layout, column, bytes);
                ++result_.tables[i].rows;
            });
        sayWhatIsMissing();
        sayWhichRulesGo();
    }

    void saveInto(Database& database, DateTime now, const std::function<void(int)>& progress)
    {
        for (std::size_t i = 0; i < result_.tables.size(); ++i) {
            if (progress) progress(static_cast<int>(i * 100 / result_.tables.size()));
            saveTable(database, i, now);
        }
        sayWhatIsMissing();
        sayWhichRulesGo();
    }

    RescueResult finish()
    {
        result_.losses = losses_.list();
        result_.lossesLeftOut = losses_.leftOut();
        return std::move(result_);
    }

private:
    const FoundTable& found(std::size_t i) const { return salvage_.tables()[i]; }
    std::string title(std::size_t i) const { return quotedName(result_.tables[i].name) + " tablosu"; }
    bool taken(const std::u16string& name) const
    {
        return nameFault(name) != nullptr || std::ranges::any_of(result_.tables, [&](const RescueResult::Table& other) {
                   return sameName(other.name, name);
               });
    }

    void inventName(std::size_t i)
    {
        const TableDefinition& definition = found(i).definition;
        std::u16string name = nameOf_ ? nameOf_(definition.columns) : std::u16string();
        if (name.empty() || taken(name)) name = u"Tablo_" + number(definition.page.number());
        result_.tables[i].name = std::move(name);
        result_.tables[i].nameInvented = true;
        losses_.add("Adı okunamayan bir tablonun (" + std::to_string(definition.page.number()) + ". sayfa) adı " +
                    quotedName(result_.tables[i].name) + " oldu.");
    }

    Value fieldOf(std::size_t i, RowId row, const RowLayout& layout, std::size_t column,
                  std::span<const std::uint8_t> bytes)
    {
        try {
            return fieldValue(salvage_.pager(), layout, column, bytes);
        } catch (const Error& error) {
            if (error.fault() == Fault::disk) throw;
            loseField(i, row, column, error.what());
            return {};
        }
    }
    void loseField(std::size_t i, RowId row, std::size_t column, const std::string& why)
    {
        losses_.add(title(i) + ", " + std::to_string(row.page.number()) + ". sayfa, " +
                    std::to_string(row.slot.number()) + ". satır, " +
                    quotedName(found(i).definition.columns[column].name) + " alanı: " + why);
    }

    void saveTable(Database& database, std::size_t i, DateTime now)
    {
        const Sentences before = losses_;
        const Columns columns = columnsOf(found(i), title(i), losses_);
        if (columns.fresh.empty()) return;
        for (Rules rules = Rules::kept;;) {
            try {
                Transaction change(database.pager());
                Table& target = database.createTable(result_.tables[i].name, columns.fresh,
                                                     indexesOf(found(i), columns, rules), now);
                result_.tables[i].rows = 0;
                salvage_.forEachRow(found(i), title(i), [&](RowId row, const RowLayout& layout, auto bytes) {
                    saveRow(target, i, columns, row, layout, bytes);
                });
                change.commit();
                return;
            } catch (const Error& error) {
                if (error.fault() == Fault::unsupported && !result_.tables[i].nameInvented) {
                    // A name that the catalogue of the new file cannot sort is damaged itself.
                    losses_ = before;
                    inventName(i);
                    columnsOf(found(i), title(i), losses_);
                    continue;
                }
                const bool ruleBroken = error.fault() == Fault::duplicate || error.fault() == Fault::required;
                if (rules == Rules::noIndexes || error.fault() == Fault::disk) throw;
                rules = ruleBroken && rules == Rules::kept ? Rules::dropped : Rules::noIndexes;
                losses_ = before;
                columnsOf(found(i), title(i), losses_);
                losses_.add(title(i) +
                            (rules == Rules::dropped
                                 ? ": dizinlerinin benzersizlik ve zorunluluk kuralları aktarılmadı. "
                                 : ": dizinleri aktarılmadı. ") +
                            error.what());
            }
        }
    }

    void saveRow(Table& target, std::size_t i, const Columns& columns, RowId row, const RowLayout& layout,
                 std::span<const std::uint8_t> bytes)
    {
        std::vector<Assignment> values;
        for (std::size_t k = 0; k < columns.from.size(); ++k) {
            Value value = fieldOf(i, row, layout, columns.from[k], bytes);
            if (!isNull(value)) values.push_back({k, std::move(value)});
        }
        for (;;) {
            try {
                target.insert(values);
                ++result_.tables[i].rows;
                return;
            } catch (const Error& error) {
                if (error.fault() != Fault::badValue) throw;
                // A value that its own column would not take is itself damaged: find it and leave it out.
                const auto bad =
                    std::ranges::find_if(values, [&](const Assignment& each) { return !fits(target, each); });
                if (bad == values.end()) {
                    losses_.add(title(i) + ", " + std::to_string(row.page.number()) + ". sayfa, " +
                                std::to_string(row.slot.number()) + ". satır: " + error.what());
                    return;
                }
                loseField(i, row, columns.from[bad->column], error.what());
                values.erase(bad);
            }
        }
    }

    /// Tries the value alone; nothing stays of it.
    static bool fits(Table& target, const Assignment& value);

    void sayWhatIsMissing()
    {
        for (std::size_t i = 0; i < result_.tables.size(); ++i) {
            const RescueResult::Table& table = result_.tables[i];
            if (table.rows < table.promised)
                losses_.add(title(i) + ": tanımına göre " + std::to_string(table.promised) + " satırı olmalıydı, " +
                            std::to_string(table.rows) + " satır okunabildi.");
            salvage_.tellDoubts(found(i), title(i), table.rows);
        }
    }

    /// What a table demands of its rows beside its indexes is not taken over.
    void sayWhichRulesGo()
    {
        for (std::size_t i = 0; i < result_.tables.size(); ++i) {
            const TableProperties& properties = found(i).properties;
            std::vector<std::string> gone;
            const auto lose = [&](bool isThere, const char* what) {
                if (isThere) gone.emplace_back(what);
            };
            const auto anyColumn = [&](auto demands) { return std::ranges::any_of(properties.columns, demands); };
            lose(properties.unreadable, "okunamayan özellikleri");
            lose(anyColumn([](const ColumnProperties& each) { return each.required; }), "zorunlu alanları");
            lose(anyColumn([](const ColumnProperties& each) { return !each.emptyTextAllowed; }), "boş metin yasakları");
            lose(anyColumn([](const ColumnProperties& each) { return !each.defaultValue.empty(); }),
                 "varsayılan değerleri");
            lose(!properties.rule.empty() || anyColumn([](const ColumnProperties& each) { return !each.rule.empty(); }),
                 "geçerlilik kuralları");
            lose(std::ranges::any_of(
                     found(i).definition.logicalIndexes,
                     [](const LogicalIndex& each) { return each.relationship.role != RelationshipEnd::Role::none; }),
                 "ilişkileri");
            if (gone.empty()) continue;
            std::string list = gone.front();
            for (std::size_t k = 1; k < gone.size(); ++k) list += (k + 1 == gone.size() ? " ve " : ", ") + gone[k];
            losses_.add(title(i) + "nun " + list + " aktarılmadı.");
        }
    }

    const TableNames& nameOf_;
    Sentences losses_{1000};
    Salvage salvage_;
    RescueResult result_;
};

bool Rescue::fits(Table& target, const Assignment& value)
{
    try {
        convertValue(value.value, target.columns()[value.column], target.name());
        return true;
    } catch (const Error&) {
        return false;
    }
}

} // namespace

RescueResult rescue(Disk& disk, const std::filesystem::path& from, const std::filesystem::path& to, DateTime now,
                    const TableNames& nameOf, const std::function<void(int)>& progress)
{
    files::PartFile part(disk, to);
    Rescue work(disk, from, nameOf);
    part.make([&] {
        Database::create(disk, part.path(), work.salvage().collation(), now);
        {
            const auto fresh = Database::open(disk, part.path());
            work.saveInto(*fresh, now, progress);
        }
        {
            const auto fresh = Database::open(disk, part.path(), Pager::Mode::readOnly);
            const CheckResult result = checkDatabase(*fresh);
            if (!result.ok())
                throw Error(Fault::damaged, files::quotedPath(to) + " sağlam çıkmadı: " + result.faults.front());
        }
        part.publish();
    });
    return work.finish();
}

RescueResult survey(Disk& disk, const std::filesystem::path& from, const TableNames& nameOf)
{
    Rescue work(disk, from, nameOf);
    work.countRows();
    return work.finish();
}

} // namespace jet
