#pragma once

#include "base/regional.h"

#include <QDateTime>
#include <QString>
#include <cstdint>
#include <optional>
#include <variant>

namespace store {

/// An exact amount of money in ten-thousandths.
struct Money {
    std::int64_t tenThousandths = 0;
    bool operator==(const Money&) const = default;
};

/// Days since 1899-12-30, the fraction being the time of day; kept as stored, so that an unchanged value stays exact.
struct DateDays {
    double days = 0;
    bool operator==(const DateDays&) const = default;
};

/// What a field of a record holds, in the kinds that the screen tells apart.
class FieldValue {
public:
    FieldValue() = default; ///< Null
    FieldValue(bool value) : value_(value) {}
    FieldValue(double value) : value_(value) {}
    FieldValue(Money value) : value_(value) {}
    FieldValue(DateDays value) : value_(value) {}
    FieldValue(QString value) : value_(std::move(value)) {}
    static FieldValue date(const QDateTime& moment); ///< whole seconds

    bool isNull() const { return std::holds_alternative<std::monostate>(value_); }
    bool isText() const { return std::holds_alternative<QString>(value_); }
    bool isDate() const { return std::holds_alternative<DateDays>(value_); }
    QString text() const;                 ///< a text field's text; empty for everything else
    std::optional<double> number() const; ///< numbers, money and Booleans; nothing for the rest
    QDateTime moment() const;             ///< of a date, to the second; invalid for everything else

    /// As a caption shows it, ungrouped, by the regional settings. Error 94 for Null.
    QString toCaption(const base::Regional& regional) const;
    /// The same with the empty text for Null: a cell of a list.
    QString toCell(const base::Regional& regional) const;

    const auto& raw() const { return value_; }
    bool operator==(const FieldValue&) const = default;

private:
    std::variant<std::monostate, bool, double, Money, DateDays, QString> value_;
};

} // namespace store
