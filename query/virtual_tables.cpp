#include "query/virtual_tables.h"

#include "exchange/field_text.h"
#include "files/error.h"
#include "files/language.h"
#include "query/expression.h"
#include "query/functions.h"
#include "query/moments.h"
#include "query/numbers.h"
#include "query/rows_by_key.h"
#include "store/jet/format/limits.h"
#include "store/jet/sql/number_bounds.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/names.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <optional>
#include <span>
#include <utility>

namespace query {

using jet::ColumnType;

namespace {

/// Which way an inner loop finds its rows; on the wire to SQLite together with the column, or with the index.
enum class Way : int {
    walk = 0,
    index = 1,  ///< by one value of an index
    range = 2,  ///< between two values of an index
    memory = 3, ///< by one value, from memory
};
constexpr int ways = 4;

const char* declaredType(ColumnType type)
{
    if (type == ColumnType::boolean || jet::isNumber(type)) return " NUMERIC";
    if (type == ColumnType::binary || type == ColumnType::ole || type == ColumnType::blob) return " BLOB";
    return " TEXT COLLATE ACCESS";
}

sqlite3_int64 numberOf(jet::RowId id) { return id.packed(); }

jet::RowId rowOf(sqlite3_int64 number) { return jet::RowId::unpacked(static_cast<std::uint32_t>(number)); }

std::string_view textOf(sqlite3_value* value)
{
    const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return {text == nullptr ? "" : text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

void giveText(sqlite3_context* context, std::string_view text)
{
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void giveMoment(sqlite3_context* context, jet::DateTime moment)
{
    if (const auto text = momentText(moment))
        giveText(context, *text);
    else
        sqlite3_result_double(context, moment.days);
}

void giveValue(sqlite3_context* context, const jet::Value& value)
{
    struct Giver {
        sqlite3_context* context;
        const jet::Value& whole;
        void operator()(jet::Null) const { sqlite3_result_null(context); }
        void operator()(bool b) const { sqlite3_result_int(context, b ? -1 : 0); }
        void operator()(std::uint8_t n) const { sqlite3_result_int(context, n); }
        void operator()(std::int16_t n) const { sqlite3_result_int(context, n); }
        void operator()(std::int32_t n) const { sqlite3_result_int(context, n); }
        void operator()(jet::Currency money) const { sqlite3_result_double(context, query::numberOf(money)); }
        void operator()(float n) const { sqlite3_result_double(context, shortestOf(n)); }
        void operator()(double n) const { sqlite3_result_double(context, n); }
        void operator()(jet::DateTime moment) const { giveMoment(context, moment); }
        void operator()(const std::u16string& text) const { giveText(context, jet::toUtf8(text)); }
        void operator()(const jet::Bytes& bytes) const
        {
            sqlite3_result_blob64(context, bytes.empty() ? "" : static_cast<const void*>(bytes.data()), bytes.size(),
                                  SQLITE_TRANSIENT);
        }
        void operator()(const jet::Guid&) const { giveText(context, fieldText(whole)); }
        void operator()(const jet::Numeric&) const { sqlite3_result_double(context, std::stod(fieldText(whole))); }
    };
    std::visit(Giver{context, value}, value);
}

/// What a text of digits is in a column of numbers; nothing for another text, and for other columns.
std::optional<jet::Value> numberFor(std::string_view text, ColumnType type)
{
    if (!jet::isNumber(type)) return std::nullopt;
    const auto number = exchange::decimalIn(text);
    if (!number) return std::nullopt;
    if (type == ColumnType::currency || type == ColumnType::numeric) return *number;
    return std::stod(std::string(text)); // rounded by the engine, as every number is
}

/// What SQLite gives for a column, as the engine takes it. Throws files::Error (badValue).
jet::Value valueFor(sqlite3_value* given, const jet::Column& column)
{
    const int type = sqlite3_value_type(given);
    if (type == SQLITE_NULL) return {};
    if (type == SQLITE_BLOB) {
        const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_value_blob(given));
        return jet::Bytes(bytes, bytes + sqlite3_value_bytes(given));
    }
    const bool number = type == SQLITE_INTEGER || type == SQLITE_FLOAT;
    if (column.type == ColumnType::text || column.type == ColumnType::memo)
        return jet::fromUtf8(type == SQLITE_FLOAT ? exchange::numberText(sqlite3_value_double(given))
                                                  : std::string(textOf(given)));
    if (column.type == ColumnType::dateTime && !number)
        if (const auto moment = momentOf(textOf(given))) return *moment;
    if (number && column.type == ColumnType::boolean) return sqlite3_value_double(given) != 0;
    if (number && column.type == ColumnType::dateTime) return jet::DateTime{sqlite3_value_double(given)};
    if (number) {
        const sqlite3_int64 whole = sqlite3_value_int64(given);
        if (type == SQLITE_INTEGER && whole >= INT32_MIN && whole <= INT32_MAX) return static_cast<std::int32_t>(whole);
        return sqlite3_value_double(given);
    }
    if (auto exact = numberFor(textOf(given), column.type)) return *std::move(exact);
    return exchange::parseField({std::string(textOf(given)), true}, column);
}

/// The bytes of a number that rows are remembered by: those of equal ones are equal.
std::uint64_t bitsOf(const jet::Column& column, double number)
{
    // Zero has two forms; moments are told apart to the millisecond.
    const double plain = number == 0 ? 0.0 : number;
    return column.type == ColumnType::dateTime ? static_cast<std::uint64_t>(jet::milliseconds({plain}))
                                               : std::bit_cast<std::uint64_t>(plain);
}

template <class Values> std::uint64_t hashOf(const Values& values)
{
    const auto bytes = std::as_bytes(std::span(values));
    return RowsByKey::hashOf({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

/// Texts only where the column's own letters are those of the query: equal means the same to both then.
bool isRemembered(const jet::Column& column, jet::Collation order)
{
    return (jet::isNumber(column.type) && column.type != ColumnType::numeric) || column.type == ColumnType::dateTime ||
           (column.type == ColumnType::text && column.collation == order && jet::hasWeights(order));
}

} // namespace

struct VirtualTables::Shared {
    Shared(VirtualTables& tables, jet::Table& itsTable) : owner(tables), table(itsTable)
    {
        for (std::size_t i = 0; i < table.columns().size(); ++i)
            if (isExact(table.columns()[i].type)) exact.push_back(i);
    }

    struct Remembered {
        int asked = 0;
        std::optional<RowsByKey> rows;
    };

    /// Rows among which are all of that value; nothing before the column is worth remembering, and for a value that
    /// rows are not remembered by.
    std::optional<std::span<const jet::RowId>> rowsBy(std::size_t column, sqlite3_value* value);
    void remember(std::size_t column, RowsByKey& into);
    std::optional<std::uint64_t> hashFor(const jet::Column& column, sqlite3_value* value);
    std::optional<std::uint64_t> hashFor(const jet::Column& column, std::u16string_view text);
    std::optional<std::vector<jet::RowId>> rowsOfIndex(std::size_t index, sqlite3_value* low,
                                                       sqlite3_value* high) const;

    VirtualTables& owner;
    jet::Table& table;
    std::vector<std::size_t> exact; ///< columns that stand a second time behind the others, with all their digits
    std::map<std::size_t, Remembered> remembered;
    std::vector<jet::RowId> doomed; ///< rows of a Delete that is under way
    std::u16string lastText;
    std::vector<std::uint8_t> lastKey; ///< of that
};

void VirtualTables::Shared::remember(std::size_t column, RowsByKey& into)
{
    const jet::Column& wanted = table.columns()[column];
    for (jet::RowCursor cursor(table, table.dataPages(), jet::PageUse::pass);;) {
        if (!cursor.next()) {
            cursor.requireEveryPage();
            break;
        }
        const jet::RowView& row = cursor.row();
        if (row.isNull(column)) continue;
        if (wanted.type == ColumnType::text) {
            row.text(column, lastText);
            if (const auto hash = hashFor(wanted, lastText)) into.add(*hash, cursor.id());
        } else if (auto number = row.number(column)) {
            if (wanted.type == ColumnType::singleFloat) number = shortestOf(static_cast<float>(*number));
            into.add(hashOf(std::array{bitsOf(wanted, *number)}), cursor.id());
        }
    }
    into.close();
}

std::optional<std::span<const jet::RowId>> VirtualTables::Shared::rowsBy(std::size_t column, sqlite3_value* value)
{
    const auto hash = hashFor(table.columns()[column], value);
    if (!hash) return std::nullopt;
    Remembered& known = remembered[column];
    // One search does not pay for it.
    if (known.asked++ == 0) return std::nullopt;
    if (!known.rows) remember(column, known.rows.emplace());
    return known.rows->rowsOf(*hash);
}

std::optional<std::uint64_t> VirtualTables::Shared::hashFor(const jet::Column& column, std::u16string_view units)
{
    lastKey.clear();
    if (!jet::appendTextKey(lastKey, units, column.collation)) return std::nullopt;
    return hashOf(lastKey);
}

std::optional<std::uint64_t> VirtualTables::Shared::hashFor(const jet::Column& column, sqlite3_value* value)
{
    const int type = sqlite3_value_type(value);
    if (column.type == ColumnType::text) {
        if (type != SQLITE_TEXT) return std::nullopt;
        lastText = jet::fromUtf8(textOf(value));
        return hashFor(column, lastText);
    }
    std::optional<double> number;
    if (column.type == ColumnType::dateTime) {
        if (type == SQLITE_TEXT)
            if (const auto moment = momentOf(textOf(value))) number = moment->days;
    } else if (type == SQLITE_INTEGER || type == SQLITE_FLOAT) {
        number = sqlite3_value_double(value);
    }
    if (!number) return std::nullopt;
    return hashOf(std::array{bitsOf(column, *number)});
}

/// Nothing where the index cannot answer: then the table is walked.
std::optional<std::vector<jet::RowId>> VirtualTables::Shared::rowsOfIndex(std::size_t index, sqlite3_value* low,
                                                                          sqlite3_value* high) const
{
    const jet::Index& used = table.indexes()[index];
    const jet::Column& column = table.columns()[used.columns.front().column];
    if (column.type == ColumnType::text) {
        if (sqlite3_value_type(low) != SQLITE_TEXT) return std::nullopt;
        const jet::Value text = jet::fromUtf8(textOf(low));
        if (std::get<std::u16string>(text).size() > jet::limits::text) return std::nullopt;
        return table.range(used, text, text);
    }
    if (column.type == ColumnType::dateTime) {
        const auto bound = [](sqlite3_value* value, double slack) -> std::optional<jet::Value> {
            const auto moment = sqlite3_value_type(value) == SQLITE_TEXT ? momentOf(textOf(value)) : std::nullopt;
            if (!moment) return std::nullopt;
            return jet::DateTime{moment->days + slack};
        };
        constexpr double millisecond = 1.0 / 86'400'000; // fractions are worked out differently by other programs
        const auto from = bound(low, -millisecond), to = bound(high, millisecond);
        if (!from || !to) return std::nullopt;
        return table.range(used, from, to);
    }
    const auto isNumber = [](sqlite3_value* value) {
        const int type = sqlite3_value_type(value);
        return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
    };
    if (!isNumber(low) || !isNumber(high)) return std::nullopt;
    const auto bounds = jet::sql::numberBounds(column.type, {sqlite3_value_double(low), sqlite3_value_double(high)});
    if (!bounds) return std::nullopt;
    return table.range(used, bounds->low, bounds->high);
}

/// What SQLite calls. Nothing may be thrown through it: what is thrown is kept, and SQLite hears of an error.
struct VirtualTables::Hooks {
    struct Table : sqlite3_vtab {
        Shared* shared = nullptr;
    };
    struct Cursor : sqlite3_vtab_cursor {
        std::optional<jet::RowCursor> walk;
        std::vector<jet::RowId> found;
        std::optional<std::span<const jet::RowId>> rows; ///< nothing: the walk
        std::size_t at = 0;
        std::optional<jet::RowView> view;
        jet::RowId id{};
        bool ended = true;
        std::u16string text;
        const std::vector<jet::Column>* columns = nullptr; ///< asked for once a search, not for every field
        std::size_t soughtColumn = 0;
        std::vector<std::uint8_t> sought; ///< key of the text that a walk stops at; empty: at every row
        std::vector<std::uint8_t> key;

        /// False for a row that SQLite would only pass by, which costs it five times as much.
        bool mayBeSought(const jet::RowView& row)
        {
            if (sought.empty()) return true;
            key.clear();
            return row.text(soughtColumn, text) && jet::appendTextKey(key, text, (*columns)[soughtColumn].collation) &&
                   key == sought;
        }
    };

    static Shared& sharedOf(sqlite3_vtab* table) { return *static_cast<Table*>(table)->shared; }
    static Shared& sharedOf(sqlite3_vtab_cursor* cursor) { return sharedOf(cursor->pVtab); }

    template <class Action> static int guarded(VirtualTables& owner, Action&& action)
    {
        try {
            action();
            return SQLITE_OK;
        } catch (...) {
            owner.failure_ = std::current_exception();
            return SQLITE_ERROR;
        }
    }

    static int connect(sqlite3* connection, void* object, int count, const char* const* words, sqlite3_vtab** made,
                       char**)
    {
        auto& owner = *static_cast<VirtualTables*>(object);
        if (count < 4) return SQLITE_ERROR;
        Shared* const shared = owner.tables_[static_cast<std::size_t>(std::atoi(words[3]))].get();
        std::string sql;
        for (const jet::Column& column : shared->table.columns())
            sql += (sql.empty() ? "CREATE TABLE t(" : ", ") + sqlName(jet::toUtf8(column.name)) +
                   declaredType(column.type);
        for (const std::size_t i : shared->exact)
            sql += ", " + sqlName(exactName(jet::toUtf8(shared->table.columns()[i].name))) + " HIDDEN";
        const int result = sqlite3_declare_vtab(connection, (sql + ")").c_str());
        if (result != SQLITE_OK) return result;
        auto table = std::make_unique<Table>();
        table->shared = shared;
        *made = table.release();
        return SQLITE_OK;
    }
    static int disconnect(sqlite3_vtab* table)
    {
        delete static_cast<Table*>(table);
        return SQLITE_OK;
    }

    static int bestIndex(sqlite3_vtab* vtab, sqlite3_index_info* info)
    {
        const Shared& shared = sharedOf(vtab);
        const jet::Table& table = shared.table;
        const auto rows = std::max<double>(table.rowCount(), 1);
        info->estimatedCost = rows;
        info->estimatedRows = static_cast<sqlite3_int64>(rows);
        const auto usable = [&](int i, std::size_t column) {
            const auto& constraint = info->aConstraint[i];
            if (!constraint.usable || constraint.iColumn != static_cast<int>(column)) return false;
            return table.columns()[column].type != ColumnType::text ||
                   std::string_view(sqlite3_vtab_collation(info, i)) == "ACCESS";
        };
        const auto take = [&](Way way, std::size_t number, std::initializer_list<int> constraints, double cost) {
            if (cost >= info->estimatedCost) return;
            for (int i = 0; i < info->nConstraint; ++i) info->aConstraintUsage[i].argvIndex = 0;
            int argument = 0;
            for (const int i : constraints) info->aConstraintUsage[i].argvIndex = ++argument;
            info->idxNum = static_cast<int>(number) * ways + static_cast<int>(way);
            info->estimatedCost = cost;
            info->estimatedRows = std::max<sqlite3_int64>(1, static_cast<sqlite3_int64>(cost));
        };
        for (std::size_t index = 0; index < table.indexes().size(); ++index) {
            const jet::Index& each = table.indexes()[index];
            const std::size_t column = each.columns.front().column;
            const jet::Column& leading = table.columns()[column];
            if (!isRemembered(leading, shared.owner.order_)) continue; // the same kinds have a sure order in an index
            std::optional<int> low, high;
            for (int i = 0; i < info->nConstraint; ++i) {
                if (!usable(i, column)) continue;
                const int op = info->aConstraint[i].op;
                if (op == SQLITE_INDEX_CONSTRAINT_EQ)
                    take(Way::index, index, {i}, each.unique && each.columns.size() == 1 ? 2 : 4 + std::sqrt(rows));
                if (op == SQLITE_INDEX_CONSTRAINT_GT || op == SQLITE_INDEX_CONSTRAINT_GE) low = i;
                if (op == SQLITE_INDEX_CONSTRAINT_LT || op == SQLITE_INDEX_CONSTRAINT_LE) high = i;
            }
            if (low && high && leading.type != ColumnType::text) take(Way::range, index, {*low, *high}, 4 + rows / 4);
        }
        // Of two tables the smaller one is to be remembered, and the larger one walked.
        const double memoryCost = 8 + rows * std::log2(rows + 1) / 64;
        for (int i = 0; !shared.owner.writing_ && i < info->nConstraint; ++i) {
            const int column = info->aConstraint[i].iColumn;
            if (column < 0 || info->aConstraint[i].op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
            const auto place = static_cast<std::size_t>(column);
            if (place >= table.columns().size()) continue;
            if (usable(i, place) && isRemembered(table.columns()[place], shared.owner.order_))
                take(Way::memory, place, {i}, memoryCost);
        }
        return SQLITE_OK;
    }

    static int open(sqlite3_vtab*, sqlite3_vtab_cursor** made)
    {
        *made = std::make_unique<Cursor>().release();
        return SQLITE_OK;
    }
    static int close(sqlite3_vtab_cursor* cursor)
    {
        delete static_cast<Cursor*>(cursor);
        return SQLITE_OK;
    }

    static int filter(sqlite3_vtab_cursor* base, int number, const char*, int count, sqlite3_value** values)
    {
        Shared& shared = sharedOf(base);
        return guarded(shared.owner, [&] {
            auto& cursor = static_cast<Cursor&>(*base);
            cursor.rows.reset();
            cursor.walk.reset();
            cursor.sought.clear();
            cursor.at = 0;
            cursor.columns = &shared.table.columns();
            const auto way = static_cast<Way>(number % ways);
            const auto place = static_cast<std::size_t>(number / ways);
            bool empty = false; // nothing equals Null
            for (int i = 0; i < count; ++i) empty = empty || sqlite3_value_type(values[i]) == SQLITE_NULL;
            if (empty) {
                cursor.found.clear();
                cursor.rows = cursor.found;
            } else if (way == Way::index || way == Way::range) {
                if (auto found = shared.rowsOfIndex(place, values[0], values[count - 1])) {
                    cursor.found = std::move(*found);
                    cursor.rows = cursor.found;
                }
            } else if (way == Way::memory) {
                cursor.rows = shared.rowsBy(place, values[0]);
                cursor.soughtColumn = place;
                if (!cursor.rows && (*cursor.columns)[place].type == ColumnType::text &&
                    sqlite3_value_type(values[0]) == SQLITE_TEXT)
                    cursor.sought = shared.lastKey;
            }
            if (!cursor.rows && shared.owner.writing_) {
                // Rows must be found before any of them is changed.
                cursor.found.clear();
                shared.table.forEachRow([&](jet::RowId id, const jet::RowView&) {
                    cursor.found.push_back(id);
                    return true;
                });
                cursor.rows = cursor.found;
            }
            if (!cursor.rows) cursor.walk.emplace(shared.table, shared.table.dataPages(), jet::PageUse::pass);
            step(shared, cursor);
        });
    }
    static void step(const Shared& shared, Cursor& cursor)
    {
        cursor.ended = true;
        if (cursor.walk) {
            do {
                if (!cursor.walk->next()) return cursor.walk->requireEveryPage();
            } while (!cursor.mayBeSought(cursor.walk->row()));
            cursor.id = cursor.walk->id();
            cursor.ended = false;
            return;
        }
        while (cursor.at < cursor.rows->size()) {
            cursor.id = (*cursor.rows)[cursor.at++];
            cursor.view = shared.table.row(cursor.id);
            if (!cursor.view) continue;
            cursor.ended = false;
            return;
        }
    }
    static int next(sqlite3_vtab_cursor* base)
    {
        Shared& shared = sharedOf(base);
        return guarded(shared.owner, [&] { step(shared, static_cast<Cursor&>(*base)); });
    }
    static int eof(sqlite3_vtab_cursor* base) { return static_cast<Cursor*>(base)->ended ? 1 : 0; }
    static int rowid(sqlite3_vtab_cursor* base, sqlite3_int64* into)
    {
        *into = numberOf(static_cast<Cursor*>(base)->id);
        return SQLITE_OK;
    }
    static int column(sqlite3_vtab_cursor* base, sqlite3_context* context, int number)
    {
        // A field that an Update leaves alone is not read, and not written.
        if (sqlite3_vtab_nochange(context)) return SQLITE_OK;
        Shared& shared = sharedOf(base);
        return guarded(shared.owner, [&] {
            auto& cursor = static_cast<Cursor&>(*base);
            const jet::RowView& row = cursor.walk ? cursor.walk->row() : *cursor.view;
            const auto place = static_cast<std::size_t>(number);
            if (place >= cursor.columns->size()) {
                const jet::Value value = row.value(shared.exact[place - cursor.columns->size()]);
                return hasManyDigits(value) ? giveText(context, fieldText(value)) : giveValue(context, value);
            }
            switch ((*cursor.columns)[place].type) {
            case ColumnType::text:
                if (row.text(place, cursor.text)) giveText(context, jet::toUtf8(cursor.text));
                break;
            case ColumnType::byte:
            case ColumnType::integer:
            case ColumnType::longInteger:
                if (const auto n = row.number(place)) sqlite3_result_int64(context, static_cast<sqlite3_int64>(*n));
                break;
            case ColumnType::doubleFloat:
                if (const auto n = row.number(place)) sqlite3_result_double(context, *n);
                break;
            case ColumnType::dateTime:
                if (const auto n = row.number(place)) giveMoment(context, {*n});
                break;
            default:
                giveValue(context, row.value(place));
            }
        });
    }

    static int update(sqlite3_vtab* vtab, int count, sqlite3_value** values, sqlite3_int64* added)
    {
        Shared& shared = sharedOf(vtab);
        return guarded(shared.owner, [&] {
            jet::Table& table = shared.table;
            ++shared.owner.changed_;
            if (count == 1) return shared.doomed.push_back(rowOf(sqlite3_value_int64(values[0])));
            const bool isNew = sqlite3_value_type(values[0]) == SQLITE_NULL;
            std::vector<jet::Assignment> fields;
            for (std::size_t i = 0; i < table.columns().size(); ++i) {
                sqlite3_value* const given = values[i + 2];
                const jet::Column& wanted = table.columns()[i];
                // SQLite has Null for a field that the statement does not name; that one takes its default.
                if (isNew ? !shared.owner.assigns(wanted, given) : sqlite3_value_nochange(given) != 0) continue;
                try {
                    fields.push_back({i, valueFor(given, wanted)});
                } catch (const files::Error& error) {
                    throw files::Error(error.fault(), jet::quotedName(wanted.name) +
                                                          files::said(" alanı: ", " field: ") + error.what() + ".");
                }
            }
            if (isNew)
                *added = numberOf(table.insert(fields));
            else
                table.update(rowOf(sqlite3_value_int64(values[0])), fields);
        });
    }

    static const sqlite3_module& module()
    {
        static const sqlite3_module hooks = [] {
            sqlite3_module made{};
            made.iVersion = 1;
            made.xCreate = connect;
            made.xConnect = connect;
            made.xBestIndex = bestIndex;
            made.xDisconnect = disconnect;
            made.xDestroy = disconnect;
            made.xOpen = open;
            made.xClose = close;
            made.xFilter = filter;
            made.xNext = next;
            made.xEof = eof;
            made.xColumn = column;
            made.xRowid = rowid;
            made.xUpdate = update;
            return made;
        }();
        return hooks;
    }
};

VirtualTables::VirtualTables(sqlite3* connection, jet::Collation order, bool writing)
    : connection_(connection), order_(order), writing_(writing)
{
    must(sqlite3_create_module_v2(connection, "access", &Hooks::module(), this, nullptr));
}

VirtualTables::~VirtualTables() = default;

bool VirtualTables::assigns(const jet::Column& column, sqlite3_value* given) const
{
    return sqlite3_value_type(given) != SQLITE_NULL || named_.contains(column.name);
}

void VirtualTables::finish()
{
    for (const auto& each : tables_)
        if (!each->doomed.empty()) each->table.erase(std::exchange(each->doomed, {}));
}

void VirtualTables::add(jet::Table& table)
{
    for (const auto& known : tables_)
        if (&known->table == &table) return;
    tables_.push_back(std::make_unique<Shared>(*this, table));
    const std::string sql = "CREATE VIRTUAL TABLE " + sqlName(jet::toUtf8(table.name())) + " USING access(" +
                            std::to_string(tables_.size() - 1) + ")";
    if (sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        throw files::Error(files::Fault::unsupported,
                           jet::quotedName(table.name()) +
                               files::said(" tablosu sorgulanamıyor (", " cannot be asked (") +
                               sqlite3_errmsg(connection_) + ").");
}

} // namespace query
