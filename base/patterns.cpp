#include "base/patterns.h"

#include "base/decimal.h"
#include "base/numbers.h"
#include <cmath>
#include <string>

using namespace Qt::StringLiterals;

namespace base {

namespace {

/// What a number pattern asks for.
struct NumberPattern {
    QString head;          ///< literal before the digits
    QString tail;          ///< literal after the digits
    std::size_t whole = 0; ///< digits before the mark that are always shown
    std::size_t shown = 0; ///< decimals that are always shown
    int places = 0;        ///< decimals at most
    bool grouped = false;
    bool mark = false; ///< the decimal mark is written
};

NumberPattern readPattern(QStringView pattern)
{
    NumberPattern result;
    qsizetype i = 0;
    const auto isPlaceholder = [](QChar c) { return c == u'#' || c == u'0'; };
    while (i < pattern.size() && !isPlaceholder(pattern[i]) && pattern[i] != u'.') result.head += pattern[i++];
    for (; i < pattern.size() && (isPlaceholder(pattern[i]) || pattern[i] == u','); ++i) {
        result.grouped = result.grouped || pattern[i] == u',';
        // A "#" after a "0" shows its digit too, as zeros inside a number must be shown.
        if (pattern[i] == u'0' || (pattern[i] == u'#' && result.whole > 0)) ++result.whole;
    }
    if (i < pattern.size() && pattern[i] == u'.') {
        result.mark = true;
        for (++i; i < pattern.size() && isPlaceholder(pattern[i]); ++i) {
            ++result.places;
            if (pattern[i] == u'0') result.shown = static_cast<std::size_t>(result.places);
        }
    }
    result.tail = pattern.sliced(i).toString();
    return result;
}

QString grouped(const std::string& digits, QChar mark)
{
    QString text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0 && !mark.isNull()) text += mark;
        text += QLatin1Char(digits[i]);
    }
    return text;
}

QString twoDigits(int value) { return QString::number(value).rightJustified(2, u'0'); }

QString numberToken(int value, qsizetype length) { return length >= 2 ? twoDigits(value) : QString::number(value); }

} // namespace

QString formatNumber(double value, QStringView pattern, const Regional& regional)
{
    if (pattern.isEmpty() || !std::isfinite(value)) return numberToText(value, regional);
    const NumberPattern wanted = readPattern(pattern == "Standard"_L1 ? QStringView(u"#,##0.00") : pattern);
    const Decimal number = rounded(decimalOf(value, 15), wanted.places);

    std::string whole = wholeDigits(number);
    if (whole.size() < wanted.whole) whole.insert(0, wanted.whole - whole.size(), '0');
    std::string fraction = fractionDigits(number);
    if (fraction.size() < wanted.shown) fraction.resize(wanted.shown, '0');

    QString text;
    if (value < 0) text += u'-';
    text += wanted.head;
    text += wanted.grouped ? grouped(whole, regional.group) : QString::fromStdString(whole);
    if (wanted.mark) text += regional.decimal + QString::fromStdString(fraction);
    return text + wanted.tail;
}

QString formatNumber(QStringView text, QStringView pattern, const Regional& regional)
{
    if (pattern.isEmpty() || !isNumeric(text, regional)) return text.toString();
    return formatNumber(toDouble(text, regional), pattern, regional);
}

QString formatQuantity(QStringView text, QStringView pattern, const Regional& regional)
{
    return formatNumber(displayValue(text, regional), pattern, regional);
}

QString formatDate(const QDateTime& value, QStringView pattern, const Regional& regional)
{
    const QDate date = value.date();
    const QTime time = value.time();
    QString text;
    bool afterHour = false;
    for (qsizetype i = 0; i < pattern.size();) {
        const QChar token = pattern[i];
        qsizetype length = 1;
        while (i + length < pattern.size() && pattern[i + length] == token) ++length;
        const bool isMinute = token == u'm' && length <= 2 && afterHour;

        switch (token.unicode()) {
        case u'd':
            text += length >= 4 ? regional.days[static_cast<std::size_t>(date.dayOfWeek() - 1)]
                                : numberToken(date.day(), length);
            break;
        case u'm':
            if (isMinute)
                text += numberToken(time.minute(), length);
            else
                text += length >= 4 ? regional.months[static_cast<std::size_t>(date.month() - 1)]
                                    : numberToken(date.month(), length);
            break;
        case u'y':
            text += length > 2 ? QString::number(date.year()).rightJustified(4, u'0') : twoDigits(date.year() % 100);
            break;
        case u'h':
            text += numberToken(time.hour(), length);
            break;
        case u'n':
            text += numberToken(time.minute(), length);
            break;
        case u's':
            text += numberToken(time.second(), length);
            break;
        case u':':
            text += QString(length, regional.timeSeparator);
            break;
        case u'/':
            text += QString(length, regional.dateSeparator);
            break;
        default:
            text += pattern.sliced(i, length);
            break;
        }

        if (token == u'h')
            afterHour = true;
        else if (token == u'd' || token == u'm' || token == u'y' || token == u'n' || token == u's')
            afterHour = false;
        i += length;
    }
    return text;
}

QString dateToText(const QDateTime& value, const Regional& regional)
{
    QString date = formatDate(value, regional.shortDate, regional);
    if (value.time() == QTime(0, 0)) return date;
    return date + u' ' + formatDate(value, regional.longTime, regional);
}

QString dateLiteral(QDate day, QStringView timeOfDay)
{
    return u'#' + twoDigits(day.month()) + u'/' + twoDigits(day.day()) + u'/' +
           QString::number(day.year()).rightJustified(4, u'0') + u' ' + timeOfDay.toString() + u'#';
}

} // namespace base
