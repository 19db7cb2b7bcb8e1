#include "query/saved_queries.h"

#include "files/error.h"
#include "files/language.h"
#include "store/jet/format/system_objects.h"
#include "store/jet/table/catalogue.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <utility>

namespace query {

namespace {

/// What a row of MSysQueries says, by its Attribute.
enum Attribute : int {
    begins = 0,
    kind = 1, ///< Flag: which kind of query
    parameter = 2,
    options = 3, ///< Flag: the bits below; Name1: the number behind Top
    database = 4,
    table = 5,  ///< Name1, and its alias Name2; in a union Expression is one of the selects
    output = 6, ///< Expression, and its alias Name1
    join = 7,   ///< Expression, between Name1 and Name2; Flag: which kind of join
    condition = 8,
    group = 9,
    having = 10,
    order = 11, ///< Expression; Name1 "D": descending
    ends = 255,
};

constexpr int selectKind = 1, unionKind = 9;
/// Of options; those of a union mean something else.
constexpr int allColumns = 1, distinct = 2, distinctRow = 8, top = 16, topPercent = 32;
constexpr int unionWithoutDoubles = 2;

const char* kindName(int number)
{
    switch (number) {
    case 2:
        return files::said("tablo oluşturma sorgusu", "query that makes a table");
    case 3:
        return files::said("ekleme sorgusu", "query that adds rows");
    case 4:
        return files::said("güncelleştirme sorgusu", "query that changes rows");
    case 5:
        return files::said("silme sorgusu", "query that deletes rows");
    case 6:
        return files::said("çapraz sorgu", "crosstab");
    case 7:
        return files::said("tanımlama sorgusu", "query that defines");
    case 8:
        return files::said("dış veritabanı sorgusu", "query for another database");
    default:
        return files::said("bilinmeyen türde bir sorgu", "query of an unknown kind");
    }
}

struct Part {
    int attribute = 0;
    int flag = 0;
    std::string expression, name1, name2;
    jet::Bytes place; ///< among those of its attribute
};

std::string bracketed(const std::string& name) { return "[" + name + "]"; }

class Parts {
public:
    Parts(std::string queryName, std::vector<Part> parts) : name_(std::move(queryName)), parts_(std::move(parts)) {}

    std::string text() const;

private:
    [[noreturn]] void refuse(const std::string& why) const
    {
        throw files::Error(files::Fault::unsupported, files::said("Kayıtlı sorgu '", "Saved query '") + name_ +
                                                          files::said("' çalıştırılamaz: ", "' cannot be run: ") + why +
                                                          ".");
    }
    const Part* first(Attribute attribute) const
    {
        const auto found = std::ranges::find(parts_, static_cast<int>(attribute), &Part::attribute);
        return found == parts_.end() ? nullptr : &*found;
    }
    template <class Write> std::string list(Attribute attribute, const char* separator, Write&& write) const
    {
        std::string text;
        for (const Part& part : parts_)
            if (part.attribute == attribute) text += (text.empty() ? "" : separator) + write(part);
        return text;
    }
    std::string unionText(int flags) const;
    std::string sources() const;
    std::string orderText() const;

    std::string name_;
    std::vector<Part> parts_; ///< in the order of their places
};

std::string Parts::orderText() const
{
    const std::string items =
        list(order, ", ", [](const Part& part) { return part.expression + (part.name1 == "D" ? " Desc" : ""); });
    return items.empty() ? "" : " Order By " + items;
}

std::string Parts::unionText(int flags) const
{
    const char* const separator = (flags & unionWithoutDoubles) != 0 ? " Union " : " Union All ";
    return list(table, separator, [](const Part& part) { return part.expression; }) + orderText();
}

/// The tables with their joins, which are stored as pairs: each pair brings a table to those that stand there, or ties
/// two groups of them together.
std::string Parts::sources() const
{
    struct Group {
        std::vector<std::string> names;
        std::string text;
    };
    std::vector<Group> groups;
    for (const Part& part : parts_) {
        if (part.attribute != table) continue;
        if (!part.expression.empty())
            refuse(files::said("tablo yerine bir deyim içeriyor", "it has an expression in place of a table"));
        const std::string& alias = part.name2.empty() ? part.name1 : part.name2;
        groups.push_back({{alias}, bracketed(part.name1) + (part.name2.empty() ? "" : " As " + bracketed(part.name2))});
    }
    const auto groupOf = [&](const std::string& name) {
        const auto found = std::ranges::find_if(groups, [&](const Group& group) {
            return std::ranges::any_of(group.names, [&](const std::string& each) {
                return jet::sameName(jet::fromUtf8(each), jet::fromUtf8(name));
            });
        });
        if (found == groups.end())
            refuse(files::said("bağladığı '", "it joins '") + name +
                   files::said("' tabloları arasında yok", "', which is none of its tables"));
        return static_cast<std::size_t>(found - groups.begin());
    };
    std::vector<const Part*> joins;
    for (const Part& part : parts_)
        if (part.attribute == join) joins.push_back(&part);
    while (!joins.empty()) {
        const Part& first = *joins.front();
        const std::size_t left = groupOf(first.name1), right = groupOf(first.name2);
        // All conditions between the two tables at once.
        std::string on;
        for (const Part* each : joins) {
            if (each->name1 != first.name1 || each->name2 != first.name2) continue;
            if (each->flag != first.flag)
                refuse(files::said("aynı iki tablo arasında ayrı türden bağları var",
                                   "it joins two tables in different ways at once"));
            on += (on.empty() ? "(" : " And (") + each->expression + ")";
        }
        std::erase_if(joins, [&](const Part* each) {
            return each != &first && each->name1 == first.name1 && each->name2 == first.name2;
        });
        if (left == right) refuse(files::said("tabloları bir çember halinde bağlı", "its tables are joined in a ring"));
        const char* const kinds[] = {" Inner Join ", " Left Join ", " Right Join "};
        if (first.flag < 1 || first.flag > 3)
            refuse(files::said("bilinmeyen türden bir bağ içeriyor", "it has a join of an unknown kind"));
        Group joined{groups[left].names,
                     "(" + groups[left].text + kinds[first.flag - 1] + groups[right].text + " On " + on + ")"};
        joined.names.insert(joined.names.end(), groups[right].names.begin(), groups[right].names.end());
        groups[left] = std::move(joined);
        groups.erase(groups.begin() + static_cast<std::ptrdiff_t>(right));
        joins.erase(joins.begin());
    }
    std::string text;
    for (const Group& group : groups) text += (text.empty() ? "" : ", ") + group.text;
    return text;
}

std::string Parts::text() const
{
    const Part* const type = first(kind);
    const int number = type == nullptr ? selectKind : type->flag;
    if (number != selectKind && number != unionKind)
        refuse(std::string(files::said("bir ", "it is a ")) + kindName(number));
    if (const Part* const other = first(database); other != nullptr && !other->name1.empty())
        refuse("'" + other->name1 + files::said("' dosyasından okuyor", "' is the file that it reads"));
    for (const Part& part : parts_)
        if (part.attribute > order && part.attribute != ends)
            refuse(files::said("bilinmeyen bir parçası var", "it has a part that is not known"));
    const Part* const said = first(options);
    const int flags = said == nullptr ? 0 : said->flag;
    if (number == unionKind) return unionText(flags);

    std::string text = "Select ";
    if ((flags & distinct) != 0)
        text += "Distinct ";
    else if ((flags & distinctRow) != 0)
        text += "DistinctRow ";
    if ((flags & topPercent) != 0) refuse(files::said("Top ... Percent içeriyor", "it has Top ... Percent"));
    if ((flags & top) != 0) text += "Top " + said->name1 + " ";
    std::string outputs = list(output, ", ", [](const Part& part) {
        return part.expression + (part.name1.empty() ? "" : " As " + bracketed(part.name1));
    });
    if ((flags & allColumns) != 0) outputs += outputs.empty() ? "*" : ", *";
    text += outputs;
    if (const std::string from = sources(); !from.empty()) text += " From " + from;
    if (const Part* const where = first(condition)) text += " Where " + where->expression;
    if (const std::string by = list(group, ", ", [](const Part& part) { return part.expression; }); !by.empty())
        text += " Group By " + by;
    if (const Part* const met = first(having)) text += " Having " + met->expression;
    return text + orderText();
}

/// Calls `visit` with name and Id of every saved query.
template <class Visit> void eachQuery(jet::Database& database, Visit&& visit)
{
    const jet::Table& objects = database.table(jet::msysObjects);
    const std::size_t id = jet::systemColumn(objects, jet::object_columns::id, jet::ColumnType::longInteger);
    const std::size_t name = jet::systemColumn(objects, jet::object_columns::name, jet::ColumnType::text);
    const std::size_t type = jet::systemColumn(objects, jet::object_columns::type, jet::ColumnType::integer);
    objects.forEachRow([&](jet::RowId, const jet::RowView& row) {
        std::u16string text;
        if (row.number(type) == jet::queryObject && row.text(name, text)) visit(text, row.number(id).value_or(0));
        return true;
    });
}

std::vector<Part> partsOf(jet::Database& database, double query)
{
    const jet::Table& table = database.table(jet::msysQueries);
    using jet::ColumnType;
    namespace at = jet::query_columns;
    const std::size_t object = jet::systemColumn(table, at::object, ColumnType::longInteger);
    const std::size_t attribute = jet::systemColumn(table, at::attribute, ColumnType::byte);
    const std::size_t flag = jet::systemColumn(table, at::flag, ColumnType::integer);
    const std::size_t expression = jet::systemColumn(table, at::expression, ColumnType::memo);
    const std::size_t name1 = jet::systemColumn(table, at::name1, ColumnType::text);
    const std::size_t name2 = jet::systemColumn(table, at::name2, ColumnType::text);
    const std::size_t place = jet::systemColumn(table, at::order, ColumnType::binary);
    std::vector<Part> parts;
    table.forEachRow([&](jet::RowId, const jet::RowView& row) {
        if (row.number(object) != query) return true;
        const auto text = [&](std::size_t column) {
            std::u16string units;
            return row.text(column, units) ? jet::toUtf8(units) : std::string();
        };
        Part part{.attribute = static_cast<int>(row.number(attribute).value_or(0)),
                  .flag = static_cast<int>(row.number(flag).value_or(0)),
                  .expression = text(expression),
                  .name1 = text(name1),
                  .name2 = text(name2),
                  .place = {}};
        const jet::Value stored = row.value(place);
        if (const auto* bytes = std::get_if<jet::Bytes>(&stored)) part.place = *bytes;
        parts.push_back(std::move(part));
        return true;
    });
    std::ranges::stable_sort(parts, {}, &Part::place);
    return parts;
}

} // namespace

std::vector<std::u16string> savedQueries(jet::Database& database)
{
    std::vector<std::u16string> names;
    eachQuery(database, [&](const std::u16string& name, double) {
        if (!name.starts_with(u'~')) names.push_back(name);
    });
    return names;
}

std::optional<std::string> savedQueryText(jet::Database& database, const std::u16string& name)
{
    std::optional<std::pair<std::u16string, double>> found;
    eachQuery(database, [&](const std::u16string& each, double id) {
        if (!found && jet::sameName(each, name)) found = {each, id};
    });
    if (!found) return std::nullopt;
    return Parts(jet::toUtf8(found->first), partsOf(database, found->second)).text();
}

} // namespace query
