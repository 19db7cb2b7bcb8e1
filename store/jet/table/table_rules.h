#pragma once

#include "store/jet/rows/column.h"
#include "store/jet/rules/rule.h"
#include "store/jet/rules/table_properties.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace jet {

/// Why it is not certain that the rules of a table are all known, as a Turkish clause; nothing when it is.
std::optional<std::string> unknownRules(const TableProperties& properties, const std::vector<Column>& columns);

/// What a table's properties demand of its rows, ready to be asked. Private to Table.
class TableRules {
public:
    TableRules() = default;
    /// Marks in `columns` what they say of them (Column::required, emptyTextAllowed, autoGuid and randomNumber) and
    /// keeps the rest. A rule that is not understood is kept with its reason: it refuses the writes that it would
    /// decide.
    TableRules(const TableProperties& properties, std::vector<Column>& columns, const std::u16string& table);

    /// There is nothing to fill in or to check.
    bool empty() const { return columns_.empty() && !ofRow_; }
    /// Puts a default into each field that is not given. Throws unsupported for one that is not understood, badValue.
    void fillIn(std::vector<Value>& row, const std::vector<bool>& given, const std::vector<Column>& columns,
                const std::u16string& table) const;
    /// The fields of a row by their positions.
    using Fields = std::function<const Value&(std::size_t)>;
    /// Holds a row to the rules of the fields that are `changed` and to that of the row. Throws ruleBroken,
    /// unsupported.
    void check(const Fields& row, const std::function<bool(std::size_t)>& changed, const std::vector<Column>& columns,
               const std::u16string& table) const;

private:
    /// A rule, or why it is none.
    struct Read {
        std::variant<Rule, std::string> rule;
        std::u16string text;
        std::u16string message;
    };
    static std::optional<Read> read(const std::u16string& text, const std::u16string& message, Rule::Kind kind,
                                    const RuleHome& home);

    struct OfColumn {
        std::size_t column = 0;
        std::optional<Read> rule;
        std::optional<Read> defaultValue;
    };
    std::vector<OfColumn> columns_;
    std::optional<Read> ofRow_;
};

} // namespace jet
