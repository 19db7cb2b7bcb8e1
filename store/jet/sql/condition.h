#pragma once

#include "store/jet/sql/sql_parser.h"
#include "store/jet/table/table.h"
#include "store/jet/values/like_pattern.h"

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace jet::sql {

/// A condition made ready for the rows of one table: fields are positions, values are converted, and the tests stand
/// in one flat list with the cheap ones first. Testing a row takes no memory. Rules:
///
/// - A comparison with Null is neither true nor false, and such a row does not belong to the result. Not is carried
///   inwards to the comparisons when the condition is made ready, so that every test is simply met or not met.
/// - Texts: = and <> are exact, case and blanks as typed; < and > go by the Turkish order.
/// - Dates are compared to the millisecond. True is -1.
/// - Fields of binary kinds can only be asked whether they are empty.
///
/// Keeps a pointer to the table's columns: lives no longer than the table.
class Condition {
public:
    /// Throws noSuchTable for a field that is not there, badValue for kinds that cannot be compared, syntax for a bad
    /// pattern.
    Condition(const Table& table, const Expression& expression);

    bool operator()(const RowView& row) const { return holds(0, row); }

    /// No row can meet it.
    bool never() const;

    // ---- What every row of the result has in common, for finding it without reading the whole table ------------

    /// The text that the column must equal.
    std::optional<std::u16string_view> requiredText(std::size_t column) const;
    /// The milliseconds between which a date column must lie, both included.
    struct Period {
        std::int64_t from = std::numeric_limits<std::int64_t>::min();
        std::int64_t to = std::numeric_limits<std::int64_t>::max();
    };
    std::optional<Period> requiredPeriod(std::size_t column) const;
    /// The numbers between which a column of numbers must lie, both included.
    struct Span {
        double from = -std::numeric_limits<double>::infinity();
        double to = std::numeric_limits<double>::infinity();
    };
    std::optional<Span> requiredNumbers(std::size_t column) const;
    /// The pattern that the column must match.
    const LikePattern* requiredPattern(std::size_t column) const;
    /// The condition is nothing but one such pattern.
    bool isOnlyAPattern() const;

private:
    enum class Test : std::uint8_t {
        all,      ///< the tests up to `end` are all met
        any,      ///< one of them is met
        constant, ///< `met`
        null,     ///< the field is empty
        notNull,
        number,    ///< the field as a number, against `number`
        moment,    ///< the field as milliseconds, against `whole`; `number` is the same in days
        sameText,  ///< the field is exactly `text`
        otherText, ///< it is another text
        textOrder, ///< the field's sort key, against `text`, which is one
        like,      ///< the field matches `pattern`
        notLike,
        fields, ///< one field against `other`
    };
    /// Answered from a field at a fixed place of the row.
    static bool isQuick(Test test) { return test >= Test::constant && test <= Test::moment; }
    struct Node {
        Test test = Test::constant;
        Comparison comparison{};
        bool met = false;
        std::size_t column = 0;
        std::size_t other = 0;
        std::size_t end = 0; ///< the place behind this node and everything below it
        double number = 0;
        std::int64_t whole = 0;
        std::size_t text = 0;    ///< place in texts_, or in keys_ for textOrder
        std::size_t pattern = 0; ///< place in patterns_
    };

    std::size_t column(const std::u16string& name) const;
    std::vector<Node> ready(const Expression& expression, bool negated);
    std::vector<Node> readyGroup(const Expression& expression, bool negated);
    Node readyComparison(const Expression& expression, bool negated);
    Node readyFieldAndValue(std::size_t column, Comparison comparison, const Value& value);
    Node readyFields(std::size_t left, Comparison comparison, std::size_t right);
    Node readyLike(const Expression& expression, bool negated);
    Node readyIsNull(const Expression& expression, bool negated);

    bool holds(std::size_t at, const RowView& row) const;
    bool holdsNumber(const Node& node, const RowView& row) const;
    bool holdsMoment(const Node& node, const RowView& row) const;
    bool holdsText(const Node& node, const RowView& row) const;
    bool holdsTextOrder(const Node& node, const RowView& row) const;
    bool holdsLike(const Node& node, const RowView& row) const;
    bool holdsFields(const Node& node, const RowView& row) const;
    template <class Visit> void eachRequired(Visit visit) const;

    const Table* table_;
    std::vector<Node> nodes_;
    std::vector<std::u16string> texts_;
    std::vector<std::vector<std::uint8_t>> keys_;
    std::vector<LikePattern> patterns_;
    mutable std::u16string text_, otherText_; ///< room for decoding, kept between rows
};

} // namespace jet::sql
