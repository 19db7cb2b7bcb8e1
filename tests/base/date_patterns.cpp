#include "base/patterns.h"
#include "tests/support/columns.h"
#include <QTest>

using namespace base;
using namespace Qt::StringLiterals;

/// Dates written through date patterns, as plain text and as literals of a query.
class DatePatterns : public QObject {
    Q_OBJECT

private slots:
    void datesAreWrittenByTheirPattern_data()
    {
        addColumns<QString, QString, QString>("value", "pattern", "expected");
        const QString slip = u"dd mmmm yyyy dddd hh:mm"_s;
        const QString day = u"dd mmmm yyyy dddd"_s;
        QTest::newRow("afternoon") << u"2024-11-05T14:07"_s << slip << u"05 Kasım 2024 Salı 14:07"_s;
        QTest::newRow("new year") << u"2024-01-01T00:00"_s << slip << u"01 Ocak 2024 Pazartesi 00:00"_s;
        QTest::newRow("morning") << u"2025-08-30T09:05"_s << slip << u"30 Ağustos 2025 Cumartesi 09:05"_s;
        QTest::newRow("leap day") << u"2024-02-29T23:59"_s << slip << u"29 Şubat 2024 Perşembe 23:59"_s;
        QTest::newRow("Sunday") << u"2023-04-23T17:45"_s << slip << u"23 Nisan 2023 Pazar 17:45"_s;
        QTest::newRow("month and minutes") << u"2025-09-07T07:07"_s << slip << u"07 Eylül 2025 Pazar 07:07"_s;
        QTest::newRow("Friday") << u"1999-12-31T12:00"_s << slip << u"31 Aralık 1999 Cuma 12:00"_s;
        QTest::newRow("May") << u"2026-05-19T00:00"_s << day << u"19 Mayıs 2026 Salı"_s;
        QTest::newRow("October") << u"2024-10-29T00:00"_s << day << u"29 Ekim 2024 Salı"_s;
        QTest::newRow("July") << u"2024-07-15T00:00"_s << day << u"15 Temmuz 2024 Pazartesi"_s;
        QTest::newRow("March") << u"2024-03-18T00:00"_s << day << u"18 Mart 2024 Pazartesi"_s;
        QTest::newRow("June") << u"2025-06-26T00:00"_s << day << u"26 Haziran 2025 Perşembe"_s;
        QTest::newRow("month alone") << u"2024-11-05T14:07"_s << u"mm"_s << u"11"_s;
        QTest::newRow("day alone") << u"2024-11-05T14:07"_s << u"dd"_s << u"05"_s;
        QTest::newRow("literal midnight") << u"2024-11-05T14:07"_s << u"yyyy 00:00:00"_s << u"2024 00:00:00"_s;
        QTest::newRow("literal end of day") << u"2024-11-05T14:07"_s << u"yyyy 23:59:59"_s << u"2024 23:59:59"_s;
        QTest::newRow("seconds") << u"2024-11-05T14:07:33"_s << u"hh:mm:ss"_s << u"14:07:33"_s;
        QTest::newRow("short tokens") << u"2024-03-05T04:07:03"_s << u"d.m.yy h:m:s"_s << u"5.3.24 4:7:3"_s;
    }

    void datesAreWrittenByTheirPattern()
    {
        QFETCH(QString, value);
        QFETCH(QString, pattern);
        QTEST(formatDate(QDateTime::fromString(value, Qt::ISODate), pattern, Regional::turkish()), "expected");
    }

    void everyMonthAndDayHasItsTurkishName()
    {
        QStringList months;
        for (int month = 1; month <= 12; ++month)
            months += formatDate(QDate(2024, month, 1).startOfDay(), u"mmmm", Regional::turkish());
        QCOMPARE(months.join(u' '), u"Ocak Şubat Mart Nisan Mayıs Haziran Temmuz Ağustos Eylül Ekim Kasım Aralık"_s);
        QStringList days;
        for (int day = 1; day <= 7; ++day) // 1 January 2024 was a Monday
            days += formatDate(QDate(2024, 1, day).startOfDay(), u"dddd", Regional::turkish());
        QCOMPARE(days.join(u' '), u"Pazartesi Salı Çarşamba Perşembe Cuma Cumartesi Pazar"_s);
    }

    void englishSettingsGiveEnglishNames()
    {
        const QDateTime value(QDate(2024, 11, 5), QTime(14, 7));
        QCOMPARE(formatDate(value, u"dd mmmm yyyy dddd hh:mm", Regional::english()),
                 u"05 November 2024 Tuesday 14:07"_s);
        QCOMPARE(dateToText(value, Regional::english()), u"11/5/2024 14:07:00"_s);
    }

    void separatorsFollowTheSettings()
    {
        Regional regional = Regional::turkish();
        regional.timeSeparator = u'.';
        regional.dateSeparator = u'-';
        const QDateTime value(QDate(2024, 11, 5), QTime(14, 7));
        QCOMPARE(formatDate(value, u"dd/mm/yyyy hh:mm", regional), u"05-11-2024 14.07"_s);
    }

    void plainTextLeavesMidnightOut()
    {
        const Regional regional = Regional::turkish();
        QCOMPARE(dateToText(QDateTime(QDate(2024, 11, 5), QTime(14, 7, 33)), regional), u"05.11.2024 14:07:33"_s);
        QCOMPARE(dateToText(QDateTime(QDate(2024, 11, 5), QTime(0, 0)), regional), u"05.11.2024"_s);
    }

    void literalsCoverWholeDaysMonthFirst()
    {
        const auto period = [](QDate first, QDate last) {
            return "Tarih>="_L1 + dateLiteral(first, u"00:00:00") + " And Tarih<="_L1 + dateLiteral(last, u"23:59:59");
        };
        QCOMPARE(period(QDate(2024, 11, 5), QDate(2024, 11, 6)),
                 u"Tarih>=#11/05/2024 00:00:00# And Tarih<=#11/06/2024 23:59:59#"_s);
        QCOMPARE(period(QDate(2025, 2, 3), QDate(2025, 2, 3)),
                 u"Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59#"_s);
    }
};

QTEST_APPLESS_MAIN(DatePatterns)
#include "date_patterns.moc"
