#include "reports/period.h"

#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include <QTest>

using namespace reports;
using namespace Qt::StringLiterals;

namespace {

const Period twoDays{QDate(2024, 11, 5), QDate(2024, 11, 6)};
const QString twoDaysCondition = u"Tarih>=#11/05/2024 00:00:00# And Tarih<=#11/06/2024 23:59:59#"_s;

} // namespace

/// Whose pressings a report is of, and the order of its two days.
class ReportTexts : public QObject {
    Q_OBJECT

private slots:
    void onlyThePanelsReportWithoutANameIsOfAllCustomers_data()
    {
        addColumns<bool, bool, QString, bool>("panelShown", "reportSelected", "nameFilter", "ofOneCustomer");
        QTest::newRow("report, no name") << true << true << QString() << false;
        QTest::newRow("report, a name") << true << true << u"Ali"_s << true;
        QTest::newRow("report, a blank is a name") << true << true << u" "_s << true;
        QTest::newRow("customers, no name") << true << false << QString() << true;
        QTest::newRow("customers, a name") << true << false << u"Ali"_s << true;
        QTest::newRow("panel hidden") << false << true << QString() << true;
        QTest::newRow("panel hidden, a name") << false << true << u"Ali"_s << true;
        QTest::newRow("panel hidden, customers") << false << false << QString() << true;
    }

    void onlyThePanelsReportWithoutANameIsOfAllCustomers()
    {
        QFETCH(bool, panelShown);
        QFETCH(bool, reportSelected);
        QFETCH(QString, nameFilter);
        QFETCH(bool, ofOneCustomer);
        const ReportQuestion question{twoDays, panelShown, reportSelected, nameFilter, u"Ali"_s};
        QCOMPARE(reportCondition(question),
                 ofOneCustomer ? twoDaysCondition + u" And CariHar='Ali'"_s : twoDaysCondition);
    }

    void namesAreSplicedAsTyped_data()
    {
        addColumns<QString, QString>("name", "outcome");
        for (const QString& name : {u"Ali Veli"_s, u" ali "_s, u"%1"_s, u"A*[b]#?"_s, u"\"x\""_s, u"İşçi -- Oğlu"_s})
            QTest::newRow(qPrintable(name)) << name << twoDaysCondition + u" And CariHar='"_s + name + u"'"_s;
        QTest::newRow("apostrophe") << u"O'N"_s << u"E3075"_s;
        QTest::newRow("a condition of its own") << u"x' Or '1'='1"_s << u"E3075"_s;
    }

    void namesAreSplicedAsTyped()
    {
        QFETCH(QString, name);
        QTEST(outcomeOf([&] { return reportCondition({twoDays, true, true, u"x"_s, name}); }), "outcome");
    }

    void changedPickerDragsTheOtherOne_data()
    {
        addColumns<Period, bool, Period>("shown", "firstChanged", "expected");
        const QDate early(2024, 11, 5);
        const QDate late(2024, 11, 9);
        QTest::newRow("first behind last") << Period{late, early} << true << Period{late, late};
        QTest::newRow("last before first") << Period{late, early} << false << Period{early, early};
        QTest::newRow("in order, first changed") << Period{early, late} << true << Period{early, late};
        QTest::newRow("in order, last changed") << Period{early, late} << false << Period{early, late};
        QTest::newRow("one day") << Period{early, early} << true << Period{early, early};
    }

    void changedPickerDragsTheOtherOne()
    {
        QFETCH(Period, shown);
        QFETCH(bool, firstChanged);
        QTEST(ordered(shown, firstChanged ? Picker::first : Picker::last), "expected");
    }
};

QTEST_GUILESS_MAIN(ReportTexts)
#include "period.moc"
