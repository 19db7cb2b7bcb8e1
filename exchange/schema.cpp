#include "exchange/schema.h"

#include "exchange/ascii.h"
#include "exchange/linked_tables.h"
#include "exchange/relationships.h"
#include "files/language.h"
#include "store/jet/values/names.h"
#include "store/jet/values/sort_key.h"

#include <algorithm>
#include <set>
#include <string>

namespace exchange {

namespace {

using jet::ColumnType;

std::string quotedName(std::u16string_view name) { return inMarks(jet::toUtf8(name), '"'); }

/// A comment ends with its line.
std::string inOneLine(std::string text)
{
    std::ranges::replace(text, '\n', ' ');
    std::ranges::replace(text, '\r', ' ');
    return text;
}

std::string listed(const std::vector<std::u16string>& names)
{
    std::string text;
    for (const std::u16string& name : names) text += (text.empty() ? "" : ", ") + quotedName(name);
    return text;
}

std::string typeIn(Dialect dialect, const jet::Column& column)
{
    switch (column.type) {
    case ColumnType::boolean:
        return "boolean";
    case ColumnType::byte:
    case ColumnType::integer:
        return "smallint";
    case ColumnType::longInteger:
        return "integer";
    case ColumnType::currency:
        return "numeric(19,4)";
    case ColumnType::singleFloat:
        return "real";
    case ColumnType::doubleFloat:
        return "double precision";
    case ColumnType::dateTime:
        return "timestamp";
    case ColumnType::numeric:
        return "numeric(" + std::to_string(column.precision) + "," + std::to_string(column.scale) + ")";
    case ColumnType::text:
        return "varchar(" + std::to_string(column.length / 2) + ")";
    case ColumnType::memo:
        return "text";
    case ColumnType::guid:
        return dialect == Dialect::sqlite ? "text" : "uuid";
    default:
        return dialect == Dialect::sqlite ? "blob" : "bytea";
    }
}

/// A name within the 63 bytes that PostgreSQL keeps, that no other has.
std::u16string freeName(std::u16string wanted, std::set<std::u16string>& taken)
{
    constexpr std::size_t longest = 60; // and a number
    while (jet::toUtf8(wanted).size() > longest) wanted.pop_back();
    std::u16string name = wanted;
    for (int number = 2; !taken.insert(jet::foldTurkish(name)).second; ++number)
        name = wanted + jet::fromUtf8("_" + std::to_string(number));
    return name;
}

class Schema {
public:
    Schema(jet::Database& database, Dialect dialect, Output& out)
        : database_(database), dialect_(dialect), out_(out), relationships_(relationshipsOf(database))
    {
        // Access's own tables have relationships, too.
        std::erase_if(relationships_, [&](const Relationship& each) {
            return !database.hasTable(each.table) && !database.hasTable(each.referencedTable);
        });
        for (const std::u16string& name : database.tableNames()) taken_.insert(jet::foldTurkish(name));
    }

    void write()
    {
        for (const std::u16string& name : inOrder()) writeTable(database_.table(name));
        if (dialect_ == Dialect::postgres)
            for (const Relationship& each : relationships_)
                if (whyNot(each).empty())
                    out_.put("ALTER TABLE " + quotedName(each.table) + " ADD " + reference(each) + ";\n");
        for (const Relationship& each : relationships_)
            if (const std::string why = whyNot(each); !why.empty())
                out_.put("-- " + described(each) + ": " + why + "\n");
        for (const jet::LinkedTable& each : database_.linkedTables())
            out_.put(inOneLine("-- " + quotedName(each.name) +
                               files::said(": bağlı tablo, satırları başka yerde: ",
                                           ": a linked table, its rows are elsewhere: ") +
                               placeOf(each)) +
                     "\n");
        out_.flush();
    }

private:
    std::vector<std::u16string> inOrder() const;
    std::string whyNot(const Relationship& relationship) const;
    static std::string described(const Relationship& each)
    {
        return inOneLine(quotedName(each.table) + " (" + listed(each.columns) + ") -> " +
                         quotedName(each.referencedTable) + " (" + listed(each.referenced) + ")");
    }
    static std::string reference(const Relationship& each)
    {
        return "FOREIGN KEY (" + listed(each.columns) + ") REFERENCES " + quotedName(each.referencedTable) + " (" +
               listed(each.referenced) + ")" + (each.cascadeUpdates ? " ON UPDATE CASCADE" : "") +
               (each.cascadeDeletes ? " ON DELETE CASCADE" : "");
    }
    /// Written into its table: the other one is there already, or nobody asks.
    bool isInline(const Relationship& each) const
    {
        if (dialect_ == Dialect::postgres || !whyNot(each).empty()) return false;
        return dialect_ == Dialect::sqlite || comesEarlier(each);
    }
    bool comesEarlier(const Relationship& each) const
    {
        const std::vector<std::u16string> order = inOrder();
        const auto place = [&](const std::u16string& name) {
            return std::ranges::find_if(order, [&](const std::u16string& other) { return jet::sameName(other, name); });
        };
        return place(each.referencedTable) <= place(each.table);
    }
    void writeTable(const jet::Table& table);
    void writeIndexes(const jet::Table& table);

    jet::Database& database_;
    Dialect dialect_;
    Output& out_;
    std::vector<Relationship> relationships_;
    std::set<std::u16string> taken_; ///< names of tables and indexes, which share one space
};

/// Tables behind those that they refer to; where they go round, in the order of the file.
std::vector<std::u16string> Schema::inOrder() const
{
    std::vector<std::u16string> waiting = database_.tableNames();
    std::vector<std::u16string> order;
    while (!waiting.empty()) {
        const auto ready = std::ranges::find_if(waiting, [&](const std::u16string& name) {
            return std::ranges::none_of(relationships_, [&](const Relationship& each) {
                return jet::sameName(each.table, name) && !jet::sameName(each.referencedTable, name) &&
                       std::ranges::any_of(waiting, [&](const std::u16string& other) {
                           return jet::sameName(other, each.referencedTable);
                       });
            });
        });
        const auto next = ready == waiting.end() ? waiting.begin() : ready;
        order.push_back(*next);
        waiting.erase(next);
    }
    return order;
}

/// Why a relationship cannot stand as a constraint; empty when it can.
std::string Schema::whyNot(const Relationship& each) const
{
    if (!each.enforced) return files::said("dosya bu ilişkiyi zorlamıyor", "the file does not enforce it");
    if (!database_.hasTable(each.table) || !database_.hasTable(each.referencedTable))
        return files::said("tablosu bu dosyada yok", "its table is not in this file");
    const jet::Table& other = database_.table(each.referencedTable);
    const bool unique = std::ranges::any_of(other.indexes(), [&](const jet::Index& index) {
        if (!index.unique || index.columns.size() != each.referenced.size()) return false;
        return std::ranges::all_of(index.columns, [&](const jet::IndexColumn& column) {
            return std::ranges::any_of(each.referenced, [&](const std::u16string& name) {
                return jet::sameName(name, other.columns()[column.column].name);
            });
        });
    });
    if (!unique) return files::said("gösterilen sütunlar benzersiz değil", "the columns referred to are not unique");
    if (dialect_ == Dialect::both && !comesEarlier(each))
        return files::said("tablolar birbirini gösteriyor; --dialect ile yazılır",
                           "the tables refer to each other; written with --dialect");
    return {};
}

void Schema::writeTable(const jet::Table& table)
{
    const jet::Index* key = nullptr;
    for (const jet::Index& index : table.indexes())
        if (index.primaryKey) key = &index;
    const auto inKey = [&](std::size_t column) {
        return key != nullptr &&
               std::ranges::any_of(key->columns, [&](const jet::IndexColumn& each) { return each.column == column; });
    };
    std::string body;
    bool keyWritten = key == nullptr;
    for (std::size_t i = 0; i < table.columns().size(); ++i) {
        const jet::Column& column = table.columns()[i];
        body += (body.empty() ? "    " : ",\n    ") + quotedName(column.name) + " " + typeIn(dialect_, column);
        const bool alone = inKey(i) && key->columns.size() == 1;
        if (column.autoNumber && dialect_ == Dialect::sqlite && alone) {
            body += " PRIMARY KEY AUTOINCREMENT";
            keyWritten = true;
            continue;
        }
        if (column.required || inKey(i)) body += " NOT NULL";
        if (column.autoNumber && column.type == ColumnType::longInteger && dialect_ == Dialect::postgres)
            body += " GENERATED BY DEFAULT AS IDENTITY";
    }
    if (!keyWritten) {
        std::vector<std::u16string> names;
        for (const jet::IndexColumn& column : key->columns) names.push_back(table.columns()[column.column].name);
        body += ",\n    PRIMARY KEY (" + listed(names) + ")";
    }
    for (const Relationship& each : relationships_)
        if (jet::sameName(each.table, table.name()) && isInline(each)) body += ",\n    " + reference(each);
    out_.put("CREATE TABLE " + quotedName(table.name()) + " (\n" + body + "\n);\n");
    writeIndexes(table);
}

void Schema::writeIndexes(const jet::Table& table)
{
    for (const jet::Index& index : table.indexes()) {
        if (index.primaryKey) continue;
        std::string columns;
        for (const jet::IndexColumn& column : index.columns)
            columns += (columns.empty() ? "" : ", ") + quotedName(table.columns()[column.column].name) +
                       (column.ascending ? "" : " DESC");
        const std::u16string own = index.names.empty() ? std::u16string(u"index") : index.names.front();
        out_.put(index.unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ");
        out_.put(quotedName(freeName(table.name() + u"_" + own, taken_)));
        out_.put(" ON " + quotedName(table.name()) + " (");
        out_.put(columns);
        out_.put(");\n");
    }
    out_.put('\n');
}

} // namespace

void writeSchema(jet::Database& database, Dialect dialect, Output& out) { Schema(database, dialect, out).write(); }

} // namespace exchange
