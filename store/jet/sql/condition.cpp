#include "store/jet/sql/condition.h"

#include "store/jet/format/doors.h"
#include "store/jet/values/calendar.h"
#include "store/jet/values/order_key.h"

#include <algorithm>
#include <cmath>

namespace jet::sql {
namespace {

/// What kinds of values can be compared with each other.
enum class Class { text, number, moment, boolean, opaque };

Class classOf(ColumnType type)
{
    if (isNumber(type)) return Class::number;
    switch (type) {
    case ColumnType::text:
    case ColumnType::memo:
        return Class::text;
    case ColumnType::dateTime:
        return Class::moment;
    case ColumnType::boolean:
        return Class::boolean;
    default:
        return Class::opaque;
    }
}

template <class T> bool compares(const T& left, Comparison comparison, const T& right)
{
    switch (comparison) {
    case Comparison::equal:
        return left == right;
    case Comparison::unequal:
        return left != right;
    case Comparison::less:
        return left < right;
    case Comparison::lessOrEqual:
        return left <= right;
    case Comparison::greater:
        return left > right;
    case Comparison::greaterOrEqual:
        return left >= right;
    }
    return false;
}

Comparison opposite(Comparison comparison) { return static_cast<Comparison>(7U ^ static_cast<unsigned>(comparison)); }

/// The comparison that says the same with its sides exchanged.
Comparison mirrored(Comparison comparison)
{
    const auto outcomes = static_cast<unsigned>(comparison);
    return static_cast<Comparison>((outcomes & 1U) << 2 | (outcomes & 2U) | outcomes >> 2);
}

bool isEquality(Comparison comparison) { return comparison == Comparison::equal || comparison == Comparison::unequal; }

bool isText(const Value& value) { return std::holds_alternative<std::u16string>(value); }

/// A value of the SQL text that is not a text and not Null, as a number.
double numberOf(const Value& value)
{
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? -1 : 0;
    if (const auto* moment = std::get_if<DateTime>(&value)) return moment->days;
    return std::get<double>(value);
}

std::int64_t momentOf(const Value& value)
{
    if (const auto* moment = std::get_if<DateTime>(&value)) return milliseconds(*moment);
    return milliseconds(DateTime{numberOf(value)});
}

std::vector<std::uint8_t> keyOf(std::u16string_view text)
{
    std::vector<std::uint8_t> key;
    appendOrderKey(key, text);
    return key;
}

[[noreturn]] void failKinds(const std::u16string& what)
{
    throw Error(Fault::badValue, "Sorgudaki karşılaştırma yapılamaz: " + toUtf8(what) +
                                     " ile değer aynı türden değil. Sorgu çalıştırılmadı, hiçbir kayıt değişmedi.");
}

} // namespace

// ---- Making ready ---------------------------------------------------------------------------------------------

Condition::Condition(const Table& table, const Expression& expression) : table_(&table)
{
    nodes_ = ready(expression, false);
}

std::size_t Condition::column(const std::u16string& name) const
{
    const std::optional<std::size_t> at = table_->columnNamed(name);
    if (!at)
        throw Error(Fault::noSuchTable, "“" + toUtf8(table_->name()) + "” tablosunda “" + toUtf8(name) +
                                            "” adlı alan yok. Sorgu çalıştırılmadı, hiçbir kayıt değişmedi.");
    return *at;
}

std::vector<Condition::Node> Condition::ready(const Expression& expression, bool negated)
{
    std::vector<Node> nodes;
    switch (expression.kind) {
    case Expression::Kind::negation:
        return ready(expression.parts.front(), !negated);
    case Expression::Kind::all:
    case Expression::Kind::any:
        return readyGroup(expression, negated);
    case Expression::Kind::compare:
        nodes.push_back(readyComparison(expression, negated));
        break;
    case Expression::Kind::like:
        nodes.push_back(readyLike(expression, negated));
        break;
    case Expression::Kind::isNull:
        nodes.push_back(readyIsNull(expression, negated));
        break;
    }
    nodes.front().end = 1;
    return nodes;
}

/// The parts side by side under one node, single tests of fixed fields first: they decide fastest. A group within a
/// group of the same kind dissolves in it, so that And chains stay one loop.
std::vector<Condition::Node> Condition::readyGroup(const Expression& expression, bool negated)
{
    const Test kind = (expression.kind == Expression::Kind::all) != negated ? Test::all : Test::any;
    std::vector<std::vector<Node>> parts;
    for (const Expression& part : expression.parts) {
        std::vector<Node> one = ready(part, negated);
        if (one.front().test != kind) {
            parts.push_back(std::move(one));
            continue;
        }
        for (std::size_t at = 1; at < one.size(); at = one[at].end) {
            std::vector<Node> inner(one.begin() + static_cast<std::ptrdiff_t>(at),
                                    one.begin() + static_cast<std::ptrdiff_t>(one[at].end));
            for (Node& node : inner) node.end -= at;
            parts.push_back(std::move(inner));
        }
    }
    std::stable_partition(parts.begin(), parts.end(),
                          [](const std::vector<Node>& part) { return isQuick(part.front().test); });

    std::vector<Node> nodes(1);
    nodes.front().test = kind;
    for (const std::vector<Node>& part : parts) {
        const std::size_t shift = nodes.size();
        for (Node node : part) {
            node.end += shift;
            nodes.push_back(node);
        }
    }
    nodes.front().end = nodes.size();
    return nodes;
}

Condition::Node Condition::readyComparison(const Expression& expression, bool negated)
{
    const Comparison comparison = negated ? opposite(expression.comparison) : expression.comparison;
    const Operand& left = expression.left;
    const Operand& right = expression.right;
    if (left.isField() && right.isField()) return readyFields(column(left.field), comparison, column(right.field));
    if (left.isField()) return readyFieldAndValue(column(left.field), comparison, right.value);
    if (right.isField()) return readyFieldAndValue(column(right.field), mirrored(comparison), left.value);

    Node node;
    if (isNull(left.value) || isNull(right.value)) return node;
    if (isText(left.value) != isText(right.value)) failKinds(u"değer");
    if (!isText(left.value)) {
        node.met = compares(numberOf(left.value), comparison, numberOf(right.value));
    } else {
        const auto& one = std::get<std::u16string>(left.value);
        const auto& other = std::get<std::u16string>(right.value);
        node.met =
            isEquality(comparison) ? compares(one, comparison, other) : compares(keyOf(one), comparison, keyOf(other));
    }
    return node;
}

Condition::Node Condition::readyFieldAndValue(std::size_t column, Comparison comparison, const Value& value)
{
    Node node;
    node.column = column;
    node.comparison = comparison;
    if (isNull(value)) return node; // nothing compares with Null: no row at all

    const Column& field = table_->columns()[column];
    const Class kind = classOf(field.type);
    if (kind == Class::opaque || (kind == Class::text) != isText(value)) failKinds(u"“" + field.name + u"” alanı");
    if (kind == Class::text) {
        const auto& text = std::get<std::u16string>(value);
        if (isEquality(comparison)) {
            node.test = comparison == Comparison::equal ? Test::sameText : Test::otherText;
            node.text = texts_.size();
            texts_.push_back(text);
        } else {
            node.test = Test::textOrder;
            node.text = keys_.size();
            keys_.push_back(keyOf(text));
        }
    } else if (kind == Class::moment) {
        node.test = Test::moment;
        node.whole = momentOf(value);
        node.number = numberOf(value);
    } else {
        node.test = Test::number;
        node.number = numberOf(value);
    }
    return node;
}

Condition::Node Condition::readyFields(std::size_t left, Comparison comparison, std::size_t right)
{
    const Column& field = table_->columns()[left];
    const Class kind = classOf(field.type);
    const Class otherKind = classOf(table_->columns()[right].type);
    if (kind == Class::opaque || otherKind == Class::opaque || (kind == Class::text) != (otherKind == Class::text))
        failKinds(u"“" + field.name + u"” alanı");
    Node node;
    node.test = Test::fields;
    node.column = left;
    node.other = right;
    node.comparison = comparison;
    return node;
}

Condition::Node Condition::readyLike(const Expression& expression, bool negated)
{
    LikePattern pattern(expression.pattern);
    Node node;
    if (!expression.left.isField()) {
        if (isNull(expression.left.value)) return node;
        if (!isText(expression.left.value)) failKinds(u"değer");
        node.met = pattern.matches(std::get<std::u16string>(expression.left.value)) != negated;
        return node;
    }
    node.column = column(expression.left.field);
    const Column& field = table_->columns()[node.column];
    if (classOf(field.type) != Class::text) failKinds(u"“" + field.name + u"” alanı");
    node.test = negated ? Test::notLike : Test::like;
    node.pattern = patterns_.size();
    patterns_.push_back(std::move(pattern));
    return node;
}

Condition::Node Condition::readyIsNull(const Expression& expression, bool negated)
{
    Node node;
    if (!expression.left.isField()) {
        node.met = isNull(expression.left.value) != negated;
        return node;
    }
    node.column = column(expression.left.field);
    node.test = negated ? Test::notNull : Test::null;
    return node;
}

// ---- Testing rows ---------------------------------------------------------------------------------------------

bool Condition::holds(std::size_t at, const RowView& row) const
{
    const Node& node = nodes_[at];
    switch (node.test) {
    case Test::all:
        for (std::size_t part = at + 1; part < node.end; part = nodes_[part].end)
            if (!holds(part, row)) return false;
        return true;
    case Test::any:
        for (std::size_t part = at + 1; part < node.end; part = nodes_[part].end)
            if (holds(part, row)) return true;
        return false;
    case Test::constant:
        return node.met;
    case Test::null:
        return row.isNull(node.column);
    case Test::notNull:
        return !row.isNull(node.column);
    case Test::number:
        return holdsNumber(node, row);
    case Test::moment:
        return holdsMoment(node, row);
    case Test::sameText:
    case Test::otherText:
        return holdsText(node, row);
    case Test::textOrder:
        return holdsTextOrder(node, row);
    case Test::like:
    case Test::notLike:
        return holdsLike(node, row);
    case Test::fields:
        return holdsFields(node, row);
    }
    return false;
}

bool Condition::holdsNumber(const Node& node, const RowView& row) const
{
    const std::optional<double> value = row.number(node.column);
    return value && compares(*value, node.comparison, node.number);
}

bool Condition::holdsMoment(const Node& node, const RowView& row) const
{
    const std::optional<double> value = row.number(node.column);
    if (!value) return false;
    // Most moments lie far from the one of the query: there the plain numbers decide. Not so around day zero, where
    // they run backwards within a day.
    constexpr double near = 2.0 / 86'400'000;
    const double difference = *value - node.number;
    if (node.number >= 2 && std::abs(difference) > near) return compares(difference, node.comparison, 0.0);
    return compares(milliseconds(DateTime{*value}), node.comparison, node.whole);
}

bool Condition::holdsText(const Node& node, const RowView& row) const
{
    if (row.isNull(node.column)) return false;
    return row.textIs(node.column, texts_[node.text]) == (node.test == Test::sameText);
}

bool Condition::holdsTextOrder(const Node& node, const RowView& row) const
{
    return row.text(node.column, text_) && compares(keyOf(text_), node.comparison, keys_[node.text]);
}

bool Condition::holdsLike(const Node& node, const RowView& row) const
{
    return row.text(node.column, text_) && patterns_[node.pattern].matches(text_) == (node.test == Test::like);
}

bool Condition::holdsFields(const Node& node, const RowView& row) const
{
    const Class kind = classOf(table_->columns()[node.column].type);
    if (kind == Class::text) {
        if (!row.text(node.column, text_) || !row.text(node.other, otherText_)) return false;
        return isEquality(node.comparison) ? compares(text_, node.comparison, otherText_)
                                           : compares(keyOf(text_), node.comparison, keyOf(otherText_));
    }
    const std::optional<double> left = row.number(node.column);
    const std::optional<double> right = row.number(node.other);
    if (!left || !right) return false;
    if (kind == Class::moment && classOf(table_->columns()[node.other].type) == Class::moment)
        return compares(milliseconds(DateTime{*left}), node.comparison, milliseconds(DateTime{*right}));
    return compares(*left, node.comparison, *right);
}

// ---- What all rows of the result have in common ---------------------------------------------------------------

bool Condition::never() const
{
    bool one = false;
    eachRequired([&one](const Node& node) { one = one || (node.test == Test::constant && !node.met); });
    return one;
}

/// The tests that every row of the result meets: the only one, or those joined by And.
template <class Visit> void Condition::eachRequired(Visit visit) const
{
    if (nodes_.front().test != Test::all) return visit(nodes_.front());
    for (std::size_t part = 1; part < nodes_.size(); part = nodes_[part].end) visit(nodes_[part]);
}

std::optional<std::u16string_view> Condition::requiredText(std::size_t column) const
{
    std::optional<std::u16string_view> text;
    eachRequired([&](const Node& node) {
        if (node.test == Test::sameText && node.column == column) text = texts_[node.text];
    });
    return text;
}

std::optional<Condition::Period> Condition::requiredPeriod(std::size_t column) const
{
    std::optional<Period> period;
    eachRequired([&](const Node& node) {
        if (node.test != Test::moment || node.column != column || node.comparison == Comparison::unequal) return;
        if (!period) period.emplace();
        const Comparison comparison = node.comparison;
        if (comparison != Comparison::less && comparison != Comparison::lessOrEqual)
            period->from = std::max(period->from, node.whole);
        if (comparison != Comparison::greater && comparison != Comparison::greaterOrEqual)
            period->to = std::min(period->to, node.whole);
    });
    return period;
}

std::optional<Condition::Span> Condition::requiredNumbers(std::size_t column) const
{
    std::optional<Span> span;
    eachRequired([&](const Node& node) {
        if (node.test != Test::number || node.column != column || node.comparison == Comparison::unequal) return;
        if (!span) span.emplace();
        const Comparison comparison = node.comparison;
        if (comparison != Comparison::less && comparison != Comparison::lessOrEqual)
            span->from = std::max(span->from, node.number);
        if (comparison != Comparison::greater && comparison != Comparison::greaterOrEqual)
            span->to = std::min(span->to, node.number);
    });
    return span;
}

const LikePattern* Condition::requiredPattern(std::size_t column) const
{
    const LikePattern* pattern = nullptr;
    eachRequired([&](const Node& node) {
        if (node.test == Test::like && node.column == column) pattern = &patterns_[node.pattern];
    });
    return pattern;
}

bool Condition::isOnlyAPattern() const { return nodes_.front().test == Test::like; }

} // namespace jet::sql
