#pragma once

#include <QChar>
#include <QString>
#include <array>

namespace base {

using namespace Qt::StringLiterals;

/// How one user writes numbers and dates: the marks, the currency and the names of months and days.
/// A plain value, always passed on explicitly: no conversion looks at the machine by itself, so a test runs
/// Turkish and English settings on any computer. Marks and patterns are Turkish unless said otherwise.
struct Regional {
    QChar group = u'.';   ///< mark between groups of three digits; skipped wherever it stands when reading; may be null
    QChar decimal = u','; ///< mark before the decimals
    QString currency;     ///< accepted once around a number when reading, never written
    QChar timeSeparator = u':';
    QChar dateSeparator = u'.';
    std::array<QString, 12> months;      ///< full names, January first
    std::array<QString, 7> days;         ///< full names, Monday first
    QString shortDate = u"dd.mm.yyyy"_s; ///< pattern of formatDate()
    QString longTime = u"hh:nn:ss"_s;    ///< pattern of formatDate()

    /// The regional settings of this user, overrides of single categories (number marks, date names) included.
    static Regional system();
    /// 1.234,50 and 05.11.2024, Turkish names, currency TL.
    static Regional turkish();
    /// 1,234.50 and 11/5/2024, English names, currency $.
    static Regional english(); // for tests: the other marks and names that every conversion is tried with
};

} // namespace base
