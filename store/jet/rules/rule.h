#pragma once

#include "store/jet/values/sort_key.h"
#include "store/jet/values/value.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace jet {

/// Where a rule stands.
struct RuleHome {
    std::u16string table;      ///< the one name that may stand before a field's
    Collation order = turkish; ///< of its texts
};

/// What a rule speaks of.
struct RuleSubject {
    const Value* own = nullptr; ///< the field that the rule stands at; null for a rule of the whole row
    std::function<const Value*(std::u16string_view name)> field; ///< null for a name that the row does not have
    DateTime now;                                                ///< local time
};

/// An expression of a table's own rules, taken apart once: a validation rule or a default value.
///
///     >=0    Between 1 And 10    In ("a","b")    Like "A*" Or Is Null    Not 0    [Bitiş] >= [Başlangıç]
///
/// Or, And, Not; = <> < <= > >=, Between, In, Like, Is Null; & + - * / \ Mod; numbers, "texts", #month/day/year#, True,
/// False, Yes, No, Null; [field]; Abs, Asc, Date, DateAdd, DateDiff, DatePart, DateSerial, DateValue, Day, Fix, Hour,
/// IIf, InStr, Int, IsNull, LCase, Left, Len, LTrim, Mid, Minute, Month, Now, Right, RTrim, Second, Sgn, Time,
/// TimeSerial, TimeValue, Trim, Weekday, Year. At a field the left side may be left out, and a value alone means "equal
/// to it". Texts compare without letter case. What is compared with Null is unknown.
///
/// What Access would answer is said or nothing is: And, Or and Not tie conditions and never numbers (Access ties these
/// bit by bit), texts are not compared with numbers, True and False standing alone not with what is no Yes/No, numbers
/// and texts not beyond what is certain of them (rule_number.h, rule_texts.h).
class Rule {
public:
    enum class Kind {
        condition, ///< of a row, or of a field
        value,     ///< a default
    };
    /// Throws unsupported with a clause that says what is not understood.
    Rule(std::u16string_view text, Kind kind, const RuleHome& home);
    ~Rule();
    Rule(Rule&&) noexcept;
    Rule& operator=(Rule&&) noexcept;

    /// False when the rule is broken; an unknown outcome breaks no rule. Throws unsupported.
    bool allows(const RuleSubject& subject) const;
    /// Null, bool, double, Numeric, DateTime or text. Throws unsupported.
    Value value(const RuleSubject& subject) const;
    /// The same for a text field: Null or text.
    Value text(const RuleSubject& subject) const;
    /// The same for a field of numbers: no text, but the whole number that one writes.
    Value number(const RuleSubject& subject) const;

    struct Node;

private:
    std::unique_ptr<Node> root_;
    Collation order_;
};

} // namespace jet
