#include "store/jet/care/maintenance.h"

#include "files/part_file.h"
#include "store/jet/care/check.h"
#include "store/jet/care/report.h"
#include "store/jet/pages/damage.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/table/table_state.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace jet {

namespace {

constexpr PageCount pagesPerWrite = 64;
constexpr PageCount pagesPerSync = 16 * pagesPerWrite; ///< 4 MiB
constexpr std::uint64_t rowsPerStep = 1000;
constexpr double localTable = 1;

// ---- what compacting would lose ----

[[noreturn]] void refuseToLose(const Database& database, const std::string& what)
{
    throw Error(Fault::unsupported, files::quotedPath(const_cast<Database&>(database).pager().path()) +
                                        " burada sıkıştırılamaz, çünkü " + what +
                                        " kaybolurdu. Access ile sıkıştırın.");
}

void refuseToLoseObjects(Database& database)
{
    const Table& objects = database.table(u"MSysObjects");
    const std::size_t type = systemColumn(objects, u"Type", ColumnType::integer);
    const std::size_t name = systemColumn(objects, u"Name", ColumnType::text);
    objects.forEachRow([&](RowId, const RowView& row) {
        if (const char* kind = foreignKind(static_cast<int>(row.number(type).value_or(0)))) {
            std::u16string text;
            row.text(name, text);
            refuseToLose(database, quotedName(text) + " adlı " + kind);
        }
        return true;
    });
    for (const std::u16string& each : database.tableNames())
        for (const Index& index : database.table(each).indexes())
            if (index.relationship) refuseToLose(database, quotedName(each) + " tablosunun ilişkisi");
}

// ---- copying tables ----

std::vector<NewColumn> newColumns(const Table& table)
{
    std::vector<NewColumn> columns;
    for (const Column& column : table.columns()) {
        NewColumn fresh;
        fresh.name = column.name;
        fresh.type = column.type;
        fresh.size = static_cast<std::uint16_t>(column.type == ColumnType::text ? column.length / 2 : column.length);
        fresh.precision = column.precision;
        fresh.scale = column.scale;
        fresh.autoNumber = column.autoNumber;
        columns.push_back(std::move(fresh));
    }
    return columns;
}

/// An index that has several names becomes one for each of them.
std::vector<NewIndex> newIndexes(const Table& table)
{
    std::vector<NewIndex> indexes;
    for (const Index& index : table.indexes()) {
        for (const std::u16string& name : index.names) {
            NewIndex fresh;
            fresh.name = name;
            for (const IndexColumn& column : index.columns)
                fresh.columns.emplace_back(table.columns()[column.column].name, column.ascending);
            fresh.unique = index.unique;
            fresh.primaryKey = index.primaryKey && &name == &index.names.front();
            fresh.required = index.required;
            fresh.ignoreNulls = index.ignoreNulls;
            indexes.push_back(std::move(fresh));
        }
    }
    return indexes;
}

const Index* primaryKey(const Table& table)
{
    const auto found = std::ranges::find_if(table.indexes(), [](const Index& index) { return index.primaryKey; });
    return found == table.indexes().end() ? nullptr : &*found;
}

std::vector<RowId> rowsInOrder(const Table& table)
{
    if (const Index* key = primaryKey(table)) return table.range(*key, {}, {});
    std::vector<RowId> rows;
    table.forEachRow([&](RowId id, const RowView&) {
        rows.push_back(id);
        return true;
    });
    return rows;
}

class Hasher {
public:
    void add(std::uint64_t word) { sum_ = (std::rotl(sum_, 23) ^ word) * 0x9E3779B97F4A7C15U + (sum_ >> 31); }
    void operator()(Null) { add(1); }
    void operator()(bool value) { add(value ? 3 : 2); }
    void operator()(Currency value) { add(static_cast<std::uint64_t>(value.tenThousandths)); }
    void operator()(double value) { add(std::bit_cast<std::uint64_t>(value)); }
    void operator()(DateTime value) { (*this)(value.days); }
    void operator()(const Guid& value) { bytes(value.bytes); }
    void operator()(const Bytes& value) { bytes(value); }
    void operator()(const std::u16string& value)
    {
        add(value.size());
        for (const char16_t unit : value) add(unit);
    }
    void operator()(const Numeric& value)
    {
        add(value.negative ? 1 : 0);
        for (const std::uint32_t word : value.magnitude) add(word);
        add(value.scale);
    }
    template <class Number> void operator()(Number value) { (*this)(static_cast<double>(value)); }
    std::uint64_t sum() const { return sum_; }

private:
    template <class Range> void bytes(const Range& value)
    {
        add(value.size());
        for (const std::uint8_t byte : value) add(byte);
    }
    std::uint64_t sum_ = 0;
};

/// What a table holds, whatever the order of its rows.
struct Content {
    std::uint64_t rows = 0;
    std::uint64_t sum = 0;
    bool operator==(const Content&) const = default;
};

Content contentOf(const Table& table, Progress& progress)
{
    Content content;
    table.passRows(table.dataPages(), [&](RowId, const RowView& row) {
        Hasher hasher;
        for (std::size_t column = 0; column < table.columns().size(); ++column) std::visit(hasher, row.value(column));
        content.sum += hasher.sum();
        if (++content.rows % rowsPerStep == 0) progress.step(rowsPerStep);
        return true;
    });
    return content;
}

void copyRows(const Table& from, Table& to, Progress& progress)
{
    std::vector<Assignment> values;
    std::uint64_t copied = 0;
    for (const RowId id : rowsInOrder(from)) {
        const auto row = from.row(id);
        if (!row) continue; // the comparison afterwards says what is missing
        values.clear();
        for (std::size_t column = 0; column < from.columns().size(); ++column) {
            Value value = row->value(column);
            if (!isNull(value)) values.push_back({column, std::move(value)});
        }
        to.insert(values);
        if (++copied % rowsPerStep == 0) progress.step(rowsPerStep);
    }
}

/// Carries over what Access keeps beside a table's definition: required fields, default values, formats.
void copyProperties(Database& from, Database& to, const std::vector<std::u16string>& tables)
{
    const Table& listed = to.table(u"MSysObjects");
    Table::State objects(to.pager(), listed.name(), listed.definitionPage(), {});
    objects.systemObjects = &listed;
    const std::size_t properties = systemColumn(listed, u"LvProp", ColumnType::ole);
    const std::size_t name = systemColumn(listed, u"Name", ColumnType::text);
    const std::size_t type = systemColumn(listed, u"Type", ColumnType::integer);
    for (const CatalogueEntry& entry : readCatalogue(from.table(u"MSysObjects"))) {
        if (entry.properties.empty() || std::ranges::find(tables, entry.name) == tables.end()) continue;
        std::optional<RowId> place;
        std::u16string text;
        listed.forEachRow([&](RowId id, const RowView& row) {
            if (row.number(type) == localTable && row.text(name, text) && text == entry.name) place = id;
            return !place;
        });
        if (place) objects.update(*place, std::vector<Assignment>{{properties, entry.properties}});
    }
}

} // namespace

void backup(Disk& disk, Database& database, const std::filesystem::path& to, const std::function<void(int)>& progress)
{
    Pager& pager = database.pager();
    assert(!pager.inTransaction());
    files::PartFile part(disk, to);
    {
        const auto file = disk.open(part.path(), Disk::Access::createNew);
        Progress told(progress, pager.pageCount());
        std::vector<std::uint8_t> buffer;
        PassingBuffer passing;
        for (PageNo first = 0; pager.has(first); first += pagesPerWrite) {
            const PageNo end = std::min(first + pagesPerWrite, PageNo(pager.pageCount()));
            buffer.clear();
            for (PageNo page = first; page < end; ++page) {
                const PageView view = pager.look(page, passing);
                buffer.insert(buffer.end(), view.begin(), view.end());
            }
            file->write(positionOf(first), buffer);
            told.step(end - first);
        }
        file->sync();
        told.finish();
    }
    {
        const auto copy = Database::open(disk, part.path(), Pager::Mode::readOnly);
        if (copy->pager().pageCount() != pager.pageCount() || copy->tableNames() != database.tableNames())
            throw Error(Fault::disk, files::quotedPath(to) + " kopyası eksik çıktı. Diski denetleyip yeniden deneyin.");
    }
    part.publish();
}

void backup(Disk& disk, Snapshot& snapshot, const std::filesystem::path& to, const std::filesystem::path& part,
            const std::function<void(int)>& progress)
{
    files::PartFile copy(disk, to, part);
    const PageCount pages = snapshot.pageCount();
    Progress told(progress, std::uint64_t{pages} * 2);
    {
        const auto file = disk.open(copy.path(), Disk::Access::createNew);
        std::vector<std::uint8_t> buffer(pagesPerWrite * pageSize);
        PageNo done = 0;
        while (const PageCount count = snapshot.readNext(buffer)) {
            file->write(positionOf(done), std::span(buffer).first(count * pageSize));
            done += count;
            if (done.number() % pagesPerSync == 0) file->sync();
            told.step(count);
        }
        file->sync();
    }
    {
        const auto written = Database::open(disk, copy.path(), Pager::Mode::readOnly);
        const std::function<void(int)> checking = [&](int percent) {
            if (progress) progress(50 + percent / 2);
        };
        const CheckResult result = checkDatabase(*written, checking);
        if (!result.ok() || result.pages != pages)
            throw Error(Fault::damaged, files::quotedPath(to) + " kopyası sağlam çıkmadı" +
                                            (result.ok() ? std::string(".") : ": " + result.faults.front()));
    }
    copy.publish();
}

void compact(Disk& disk, Database& database, const std::filesystem::path& to, DateTime now,
             const std::function<void(int)>& progress)
{
    refuseToLoseObjects(database);
    files::PartFile part(disk, to);
    const auto tables = database.tableNames();
    std::uint64_t rows = 0;
    for (const std::u16string& name : tables) rows += database.table(name).rowCount();
    Progress told(progress, rows * 3);

    Database::create(disk, part.path(), database.collation(), now);
    {
        const auto fresh = Database::open(disk, part.path());
        Transaction change(fresh->pager());
        for (const std::u16string& name : tables) {
            const Table& from = database.table(name);
            from.requireSoundRows();
            Table& target = fresh->createTable(name, newColumns(from), newIndexes(from), now);
            copyRows(from, target, told);
        }
        copyProperties(database, *fresh, tables);
        change.commit();
    }
    {
        const auto fresh = Database::open(disk, part.path(), Pager::Mode::readOnly);
        const CheckResult result = checkDatabase(*fresh);
        if (!result.ok())
            throw Error(Fault::damaged, files::quotedPath(to) + " sağlam çıkmadı: " + result.faults.front());
        for (const std::u16string& name : tables)
            if (contentOf(database.table(name), told) != contentOf(fresh->table(name), told))
                throw Error(Fault::damaged,
                            quotedName(name) +
                                " tablosunun satırları yeni dosyaya eksiksiz geçmedi. Dosyayı denetleyin.");
    }
    told.finish();
    part.publish();
}

} // namespace jet
