#include "query/statement.h"

#include "exchange/field_text.h"
#include "exchange/linked_tables.h"
#include "files/error.h"
#include "files/language.h"
#include "query/access_sql.h"
#include "query/expression.h"
#include "query/functions.h"
#include "query/moments.h"
#include "query/numbers.h"
#include "query/saved_queries.h"
#include "query/sql_words.h"
#include "query/virtual_tables.h"

#include <sqlite3.h>

#include <memory>
#include <set>
#include <utility>

namespace query {

namespace {

using jet::ColumnType;

Type typeOf(ColumnType type)
{
    switch (type) {
    case ColumnType::boolean:
        return Type::yesNo;
    case ColumnType::text:
    case ColumnType::memo:
    case ColumnType::guid:
        return Type::text;
    case ColumnType::dateTime:
        return Type::date;
    case ColumnType::binary:
    case ColumnType::ole:
    case ColumnType::blob:
        return Type::bytes;
    default:
        return Type::number;
    }
}

struct Closer {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, Closer>;
using Prepared = std::unique_ptr<sqlite3_stmt, Closer>;

Connection connectionInMemory()
{
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(":memory:", &opened);
    Connection connection(opened);
    must(result);
    // A name that is not known must not become a text.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    return connection;
}

/// One statement from its text to its rows.
class Run : private Catalogue {
public:
    Run(jet::Database& database, bool english, bool writing, const Parameters& parameters)
        : database_(database), parameters_(parameters), setting_{database.collation(), english},
          connection_(connectionInMemory()), tables_(connection_.get(), setting_.order, writing)
    {
        addFunctions(connection_.get(), setting_);
    }

    void prepare(std::string_view sql)
    {
        translation_ = translate(sql, *this);
        for (const auto& [name, text] : parameters_)
            if (!asked_.contains(name))
                throw files::Error(files::Fault::badValue,
                                   files::said("Sorgu '", "The query asks for no parameter '") + name +
                                       files::said("' adlı bir değer sormuyor; adı denetleyin.", "'; check the name."));
        sqlite3_stmt* made = nullptr;
        const int result = sqlite3_prepare_v2(connection_.get(), translation_.sql.c_str(),
                                              static_cast<int>(translation_.sql.size()), &made, nullptr);
        prepared_.reset(made);
        if (result != SQLITE_OK) failPreparing();
    }
    const Translation& translation() const { return translation_; }

    /// False behind the last row.
    bool next()
    {
        const int result = sqlite3_step(prepared_.get());
        if (result != SQLITE_ROW && result != SQLITE_DONE) fail();
        return result == SQLITE_ROW;
    }
    jet::Value value(std::size_t column) const;
    /// Of a statement that writes.
    void toItsEnd()
    {
        if (translation_.kind == Translation::Kind::insert) {
            std::set<std::u16string> fields;
            for (const NamedType& column : translation_.columns) fields.insert(jet::fromUtf8(column.name));
            tables_.naming(std::move(fields));
        }
        while (next()) {
        }
        tables_.finish();
    }
    std::uint64_t changedRows() const { return tables_.changedRows(); }

private:
    std::optional<Shape> table(const std::string& name) override
    {
        jet::Table* found = nullptr;
        try {
            found = &database_.table(jet::fromUtf8(name));
        } catch (const files::Error& error) {
            if (error.fault() != files::Fault::noSuchTable) throw;
            return std::nullopt;
        }
        tables_.add(*found);
        Shape shape{jet::toUtf8(found->name()), {}};
        for (const jet::Column& column : found->columns())
            shape.columns.push_back({jet::toUtf8(column.name), typeOf(column.type), isExact(column.type)});
        return shape;
    }
    std::optional<std::string> savedQuery(const std::string& name) override
    {
        return savedQueryText(database_, jet::fromUtf8(name));
    }
    std::optional<std::string> parameter(const std::string& name) override
    {
        for (const auto& [each, text] : parameters_) {
            if (!same(each, name)) continue;
            asked_.insert(each);
            return text;
        }
        return std::nullopt;
    }
    void refuseOther(const std::string& name) override { exchange::refuseLinkedTable(database_, name); }
    [[noreturn]] void fail() const
    {
        if (tables_.failure()) std::rethrow_exception(tables_.failure());
        const int result = sqlite3_errcode(connection_.get());
        if (result == SQLITE_FULL || result == SQLITE_IOERR)
            throw files::Error(files::Fault::disk,
                               files::said("Sorgu geçici dosyalarını yazamadı; diskte yer açın.",
                                           "The query could not write its temporary files; make room on the disk."));
        std::string why = sqlite3_errmsg(connection_.get());
        while (why.ends_with('.')) why.pop_back();
        throw files::Error(files::Fault::badValue,
                           files::said("Sorgu çalıştırılamadı: ", "The query could not be run: ") + why + ".");
    }
    /// What SQLite does not prepare although the text was understood is too large for it.
    [[noreturn]] void failPreparing() const
    {
        if (tables_.failure()) std::rethrow_exception(tables_.failure());
        throw files::Error(
            files::Fault::unsupported,
            files::said("Sorgu bir kerede çalıştırılamayacak kadar büyük (en çok 2000 sütun, Union ile birleşen 500 "
                        "Select, 64 tablo, iç içe 20 kadar işlev); parçalara bölün (",
                        "The query is too large to be run at once (at most 2000 columns, 500 Selects in a Union, 64 "
                        "tables, some 20 functions in one another); divide it (") +
                std::string(sqlite3_errmsg(connection_.get())) + ").");
    }

    jet::Database& database_;
    const Parameters& parameters_;
    std::set<std::string> asked_; ///< of the parameters
    const FunctionSetting setting_;
    Connection connection_;
    VirtualTables tables_;
    Translation translation_;
    Prepared prepared_;
};

jet::Value Run::value(std::size_t column) const
{
    sqlite3_stmt* const row = prepared_.get();
    const int at = static_cast<int>(column);
    const Type type = translation_.columns[column].type;
    const auto size = [&] { return static_cast<std::size_t>(sqlite3_column_bytes(row, at)); };
    switch (sqlite3_column_type(row, at)) {
    case SQLITE_INTEGER: {
        const sqlite3_int64 number = sqlite3_column_int64(row, at);
        if (type == Type::yesNo) return number != 0;
        if (number >= INT32_MIN && number <= INT32_MAX) return static_cast<std::int32_t>(number);
        return static_cast<double>(number);
    }
    case SQLITE_FLOAT:
        return sqlite3_column_double(row, at);
    case SQLITE_TEXT: {
        const auto* const bytes = reinterpret_cast<const char*>(sqlite3_column_text(row, at));
        const std::string_view text(bytes, size());
        if (type == Type::date)
            if (const auto moment = momentOf(text)) return *moment;
        if (type == Type::number)
            if (const auto exact = exchange::decimalIn(text)) return *exact;
        return jet::fromUtf8(text);
    }
    case SQLITE_BLOB: {
        const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(row, at));
        return jet::Bytes(bytes, bytes + size());
    }
    default:
        return {};
    }
}

jet::Column columnFor(const NamedType& named)
{
    constexpr std::uint16_t usualText = 100; // bytes
    jet::Column column;
    column.name = jet::fromUtf8(named.name);
    column.length = usualText;
    switch (named.type) {
    case Type::number:
        column.type = ColumnType::doubleFloat;
        break;
    case Type::date:
        column.type = ColumnType::dateTime;
        break;
    case Type::yesNo:
        column.type = ColumnType::boolean;
        break;
    case Type::bytes:
        column.type = ColumnType::ole;
        break;
    default:
        column.type = ColumnType::text;
    }
    return column;
}

} // namespace

bool available() { return true; }

bool writes(std::string_view sql)
{
    const std::vector<Word> words = wordsOf(sql);
    return words.front().is("delete") || words.front().is("insert") || words.front().is("update");
}

void select(jet::Database& database, std::string_view sql, bool english, exchange::RowWriter& rows,
            const Parameters& parameters)
{
    Run run(database, english, false, parameters);
    run.prepare(sql);
    std::vector<jet::Column> columns;
    for (const NamedType& column : run.translation().columns) columns.push_back(columnFor(column));
    rows.begin(u"Sorgu", columns);
    std::vector<jet::Value> values(columns.size());
    while (run.next()) {
        for (std::size_t i = 0; i < values.size(); ++i) values[i] = run.value(i);
        rows.values(values);
    }
    rows.end();
}

std::uint64_t execute(jet::Database& database, std::string_view sql, bool english, const Parameters& parameters)
{
    return jet::onWhatIsThere(database.pager(), [&] {
        jet::Transaction change(database.pager());
        Run run(database, english, true, parameters);
        run.prepare(sql);
        run.toItsEnd();
        change.commit();
        return run.changedRows();
    });
}

} // namespace query
