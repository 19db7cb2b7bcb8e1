#include "mill/queries.h"
#include "tests/store/mill_file.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include <QTest>

using namespace Qt::StringLiterals;
using store::FieldValue;
namespace errors = base::errors;

/// The texts that the database is asked with. What a name may do to one that it is spliced into: be the name, or make
/// the statement fail.
class TestQueries : public QObject {
    Q_OBJECT

private slots:

    void spellsTheStatements()
    {
        QCOMPARE(mill::customerSearch("Al"), "Select * From Cari where Unvan Like 'Al*' Order By Unvan Asc");
        QCOMPARE(mill::customerCriteria("Ali Veli"), "Unvan='Ali Veli'");
        QCOMPARE(mill::deletePressingsOf("Ali"), "DELETE FROM Hareket Where CariHar='Ali'");
        QCOMPARE(mill::wholeJournal, "Select * From Hareket Order By Tarih Asc;");
        QCOMPARE(mill::deleteTotals, "DELETE FROM Hareket WHERE CariHar='Toplamlar'");
        QCOMPARE(mill::pressingsWhere("Tarih>=#11/05/2024 00:00:00#"),
                 "Select * From Hareket where Tarih>=#11/05/2024 00:00:00# Order By Tarih Asc");
        QCOMPARE(mill::sumsWhere("Tarih>=#11/05/2024 00:00:00#"),
                 "Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where CariHar<>'Toplamlar' And "
                 "Tarih>=#11/05/2024 00:00:00#");
    }

    void aSlipsNameIsAskedForWithItsApostrophesDoubled()
    {
        QCOMPARE(mill::customerNamed("O'Hara"), "Select * From Cari Where Unvan='O''Hara'");
    }

    void periodCoversBothDaysWhole_data()
    {
        addColumns<QDate, QDate, QString>("first", "last", "condition");
        QTest::newRow("two days") << QDate(2024, 11, 5) << QDate(2024, 11, 6)
                                  << u"Tarih>=#11/05/2024 00:00:00# And Tarih<=#11/06/2024 23:59:59#"_s;
        QTest::newRow("one day, month before day")
            << QDate(2025, 2, 3) << QDate(2025, 2, 3)
            << u"Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59#"_s;
        QTest::newRow("across the year") << QDate(2023, 12, 31) << QDate(2024, 1, 1)
                                         << u"Tarih>=#12/31/2023 00:00:00# And Tarih<=#01/01/2024 23:59:59#"_s;
        QTest::newRow("leap day") << QDate(2024, 2, 29) << QDate(2024, 2, 29)
                                  << u"Tarih>=#02/29/2024 00:00:00# And Tarih<=#02/29/2024 23:59:59#"_s;
    }

    void periodCoversBothDaysWhole()
    {
        QFETCH(QDate, first);
        QFETCH(QDate, last);
        QTEST(mill::periodCondition(first, last), "condition");
    }

    void aNameWithAnApostropheFailsAndChangesNothing_data()
    {
        addTexts("name", {"O'Neil", "'", "''", "Ali'", "x' Or '1'='1", "x' Or CariHar<>'", "' Or ''='",
                          "x' Or CariHar Like '*", "Ali' And '1'='1", "x' Or Not CariHar='x"});
    }

    void aNameWithAnApostropheFailsAndChangesNothing()
    {
        QFETCH(QString, name);
        QCOMPARE(errorOf([&] { mill::andOfCustomer(name); }), errors::querySyntax);
        QCOMPARE(errorOf([&] { mill::customerSearch(name); }), errors::querySyntax);
        QCOMPARE(errorOf([&] { mill::customerCriteria(name); }), errors::querySyntax);
        QCOMPARE(errorOf([&] { mill::deletePressingsOf(name); }), errors::querySyntax);
    }

    void aNameReachesNoOtherCustomer_data()
    {
        addTexts("name", {"*",
                          "?li",
                          "A*",
                          "[A]li",
                          "#",
                          "%",
                          "_",
                          "\" Or \"1\"=\"1",
                          "Ali; DELETE FROM Cari",
                          "ALİ",
                          "ali",
                          "Ali ",
                          " Ali",
                          "--",
                          "/*",
                          "|",
                          "\\",
                          "Ali\r\n",
                          "",
                          "Toplam",
                          "’ Or ’1’=’1"});
    }

    void aNameReachesNoOtherCustomer()
    {
        QFETCH(QString, name);
        MillFile file;
        const QStringList others{"Ali", "Ali Veli", "Veli", "Toplamlar"};
        for (const QString& other : others) {
            addRow(file, "Hareket",
                   {FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), other});
            addRow(file, "Cari", {FieldValue(other)});
        }
        QCOMPARE(file.engine()->execute(mill::deletePressingsOf(name)), 0u);
        OpenSource cari(file, "Cari"), journal(file, "Hareket");
        cari.recordSet().findFirst(mill::customerCriteria(name));
        QVERIFY(cari.recordSet().noMatch());
        QCOMPARE(texts(journal.recordSet(), 6), others);

        // The customer of that very name is reached, and nobody else.
        addRow(file, "Hareket",
               {FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), name});
        QCOMPARE(file.engine()->execute(mill::deletePressingsOf(name)), 1u);
        journal.refresh();
        QCOMPARE(texts(journal.recordSet(), 6), others);
    }
};

QTEST_APPLESS_MAIN(TestQueries)
#include "queries.moc"
