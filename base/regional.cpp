#include "base/regional.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace base {

namespace {

QChar firstOf(const QString& text, QChar otherwise) { return text.isEmpty() ? otherwise : text.front(); }

/// The first character of a Qt date or time pattern that is neither a token nor quoted text.
QChar separatorOf(const QString& pattern, QChar otherwise)
{
    bool quoted = false;
    for (const QChar c : pattern) {
        if (c == u'\'') quoted = !quoted;
        if (!quoted && c != u'\'' && !c.isLetter() && !c.isSpace()) return c;
    }
    return otherwise;
}

/// Qt writes months with capitals and may quote literals; ours are lower case and unquoted.
QString withOurTokens(const QString& qtPattern)
{
    QString pattern;
    for (const QChar c : qtPattern)
        if (c != u'\'') pattern += c.toLower();
    return pattern;
}

} // namespace

Regional Regional::system()
{
    const QLocale locale = QLocale::system();
    Regional regional;
    regional.group = firstOf(locale.groupSeparator(), QChar());
    regional.decimal = firstOf(locale.decimalPoint(), u'.');
    if (regional.group == regional.decimal) regional.group = QChar();
    regional.currency = locale.currencySymbol();
    for (int month = 1; month <= 12; ++month)
        regional.months[static_cast<std::size_t>(month - 1)] = locale.monthName(month, QLocale::LongFormat);
    for (int day = 1; day <= 7; ++day)
        regional.days[static_cast<std::size_t>(day - 1)] = locale.dayName(day, QLocale::LongFormat);

    const QString date = locale.dateFormat(QLocale::ShortFormat);
    regional.dateSeparator = separatorOf(date, u'/');
    regional.shortDate = withOurTokens(date);
    // Dates stand below one another in printed columns: where the month has two digits, the day gets them too.
    if (regional.shortDate == "d.mm.yyyy"_L1) regional.shortDate = u"dd.mm.yyyy"_s;
    regional.timeSeparator = separatorOf(locale.timeFormat(QLocale::ShortFormat), u':');
    return regional;
}

Regional Regional::turkish()
{
    Regional regional;
    regional.currency = u"TL"_s;
    regional.months = {u"Ocak"_s,   u"Şubat"_s,   u"Mart"_s,  u"Nisan"_s, u"Mayıs"_s, u"Haziran"_s,
                       u"Temmuz"_s, u"Ağustos"_s, u"Eylül"_s, u"Ekim"_s,  u"Kasım"_s, u"Aralık"_s};
    regional.days = {u"Pazartesi"_s, u"Salı"_s, u"Çarşamba"_s, u"Perşembe"_s, u"Cuma"_s, u"Cumartesi"_s, u"Pazar"_s};
    return regional;
}

Regional Regional::english()
{
    Regional regional;
    regional.group = u',';
    regional.decimal = u'.';
    regional.currency = u"$"_s;
    regional.dateSeparator = u'/';
    regional.months = {u"January"_s, u"February"_s, u"March"_s,     u"April"_s,   u"May"_s,      u"June"_s,
                       u"July"_s,    u"August"_s,   u"September"_s, u"October"_s, u"November"_s, u"December"_s};
    regional.days = {u"Monday"_s, u"Tuesday"_s, u"Wednesday"_s, u"Thursday"_s, u"Friday"_s, u"Saturday"_s, u"Sunday"_s};
    regional.shortDate = u"m/d/yyyy"_s;
    return regional;
}

} // namespace base
