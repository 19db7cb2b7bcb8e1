#include "store/jet/table/table_rules.h"

#include "store/jet/format/doors.h"
#include "store/jet/rows/field_codec.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/names.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace jet {
namespace {

/// The moment by the clock on the wall, to the second.
DateTime wallClock()
{
    const std::time_t moment = std::time(nullptr);
    const std::tm* const local = std::localtime(&moment); // NOLINT(concurrency-mt-unsafe) one thread writes tables
    if (local == nullptr) return {};
    return dateTime(local->tm_year + 1900, local->tm_mon + 1, local->tm_mday, local->tm_hour, local->tm_min,
                    std::min(local->tm_sec, 59))
        .value_or(DateTime{});
}

std::string inQuotes(const std::u16string& text) { return "“" + toUtf8(text) + "”"; }

std::optional<std::size_t> placeOf(const std::vector<Column>& columns, std::u16string_view name)
{
    return findNamed(
        columns, name, [](const Column& c) -> const auto& { return c.name; });
}

/// The order of all texts of a table; one that nobody knows where they have several, or there is none.
Collation orderOf(const std::vector<Column>& columns)
{
    std::optional<Collation> order;
    for (const Column& column : columns) {
        if (column.type != ColumnType::text && column.type != ColumnType::memo) continue;
        if (order && *order != column.collation) return {};
        order = column.collation;
    }
    return order.value_or(Collation());
}

bool isDemanding(const ColumnProperties& column)
{
    return column.required || !column.emptyTextAllowed || !column.rule.empty() || !column.defaultValue.empty();
}

} // namespace

std::optional<std::string> unknownRules(const TableProperties& properties, const std::vector<Column>& columns)
{
    if (properties.unreadable) return "kuralları (özellikleri) okunamıyor";
    for (const ColumnProperties& each : properties.columns)
        if (isDemanding(each) && !placeOf(columns, each.column))
            return "olmayan bir alanı için kuralı var: " + quotedName(each.column);
    return std::nullopt;
}

std::optional<TableRules::Read> TableRules::read(const std::u16string& text, const std::u16string& message,
                                                 Rule::Kind kind, const RuleHome& home)
{
    if (text.find_first_not_of(u" \t\r\n") == std::u16string::npos) return std::nullopt;
    try {
        return Read{Rule(text, kind, home), text, message};
    } catch (const Error& error) {
        return Read{std::string(error.what()), text, message};
    }
}

TableRules::TableRules(const TableProperties& properties, std::vector<Column>& columns, const std::u16string& table)
{
    const RuleHome home{table, orderOf(columns)};
    ofRow_ = read(properties.rule, properties.ruleText, Rule::Kind::condition, home);
    for (const ColumnProperties& each : properties.columns) {
        const auto place = placeOf(columns, each.column);
        if (!place) continue; // unknownRules
        Column& column = columns[*place];
        column.required = column.required || each.required;
        column.emptyTextAllowed = each.emptyTextAllowed;
        if (column.type == ColumnType::guid && sameName(each.defaultValue, u"GenGUID()")) column.autoGuid = true;
        if (column.autoNumber && sameName(each.defaultValue, u"GenUniqueID()")) column.randomNumber = true;
        OfColumn rules{*place, read(each.rule, each.ruleText, Rule::Kind::condition, home), std::nullopt};
        // An automatic number has none, whatever stands there.
        if (!column.autoNumber && !column.autoGuid)
            rules.defaultValue = read(each.defaultValue, {}, Rule::Kind::value, home);
        if (rules.rule || rules.defaultValue) columns_.push_back(std::move(rules));
    }
}

void TableRules::fillIn(std::vector<Value>& row, const std::vector<bool>& given, const std::vector<Column>& columns,
                        const std::u16string& table) const
{
    for (const OfColumn& each : columns_) {
        if (!each.defaultValue || given[each.column]) continue;
        const Column& column = columns[each.column];
        const auto itsDefault = [&] {
            return quotedName(table) + " tablosunun " + quotedName(column.name) + " alanının varsayılan değeri " +
                   inQuotes(each.defaultValue->text);
        };
        const auto fail = [&](const std::string& why) {
            throw Error(Fault::unsupported, itsDefault() + " anlaşılamadı (" + why + "); alanın değerini verin.");
        };
        if (const auto* why = std::get_if<std::string>(&each.defaultValue->rule)) fail(*why);
        Value value;
        try {
            const Rule& rule = std::get<Rule>(each.defaultValue->rule);
            const RuleSubject nobody{nullptr, {}, wallClock()};
            const bool isText = column.type == ColumnType::text || column.type == ColumnType::memo;
            value = isText ? rule.text(nobody) : isNumber(column.type) ? rule.number(nobody) : rule.value(nobody);
        } catch (const Error& error) {
            fail(error.what());
        }
        try {
            row[each.column] = convertValue(value, column, table);
        } catch (const Error& error) {
            throw Error(error.fault(), itsDefault() + " yazılamıyor; alanın değerini verin. " + error.what());
        }
    }
}

void TableRules::check(const Fields& row, const std::function<bool(std::size_t)>& changed,
                       const std::vector<Column>& columns, const std::u16string& table) const
{
    const auto concerned = [&](const OfColumn& each) { return each.rule && changed(each.column); };
    if (!ofRow_ && std::ranges::none_of(columns_, concerned)) return;
    RuleSubject subject;
    subject.now = wallClock();
    subject.field = [&](std::u16string_view name) -> const Value* {
        const auto place = placeOf(columns, name);
        return place ? &row(*place) : nullptr;
    };
    const auto hold = [&](const Read& read, const std::string& whose) {
        const auto notUnderstood = [&](const std::string& why) {
            throw Error(Fault::unsupported, whose + " geçerlilik kuralı " + inQuotes(read.text) + " anlaşılamadı (" +
                                                why + "); kayıt yazılmadı. Kuralı Access ile değiştirin.");
        };
        if (const auto* why = std::get_if<std::string>(&read.rule)) notUnderstood(*why);
        bool allowed = false;
        try {
            allowed = std::get<Rule>(read.rule).allows(subject);
        } catch (const Error& error) {
            notUnderstood(error.what());
        }
        if (allowed) return;
        const std::string rule = whose + " geçerlilik kuralına (" + toUtf8(read.text) + ") uymuyor";
        throw Error(Fault::ruleBroken, read.message.empty() ? rule + "." : rule + ": " + toUtf8(read.message));
    };
    for (const OfColumn& each : columns_) {
        if (!concerned(each)) continue;
        subject.own = &row(each.column);
        hold(*each.rule, quotedName(table) + " tablosunun " + quotedName(columns[each.column].name) + " alanının");
    }
    subject.own = nullptr;
    if (ofRow_) hold(*ofRow_, quotedName(table) + " tablosunun");
}

} // namespace jet
