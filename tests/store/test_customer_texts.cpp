#include "tests/store/mill_file.h"
#include "tests/support/outcome.h"

#include "store/customer_texts.h"

#include <QTest>

using store::FieldValue;
namespace errors = base::errors;

/// What a name may do to a statement it is spliced into: be the name, or make the statement fail.
class TestCustomerTexts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statementsAreSpelledAsEver();
    void aNameWithAnApostropheFailsAndChangesNothing_data();
    void aNameWithAnApostropheFailsAndChangesNothing();
    void aNameReachesNoOtherCustomer_data();
    void aNameReachesNoOtherCustomer();
};

void TestCustomerTexts::statementsAreSpelledAsEver()
{
    QCOMPARE(store::customerSearch("Al"), "Select * From Cari where Unvan Like 'Al*' Order By Unvan Asc");
    QCOMPARE(store::customerCriteria("Ali Veli"), "Unvan='Ali Veli'");
    QCOMPARE(store::deletePressingsOf("Ali"), "DELETE FROM Hareket Where CariHar='Ali'");
}

void TestCustomerTexts::aNameWithAnApostropheFailsAndChangesNothing_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"O'Neil", "'", "''", "Ali'", "x' Or '1'='1", "x' Or CariHar<>'", "' Or ''='",
                             "x' Or CariHar Like '*", "Ali' And '1'='1", "x' Or Not CariHar='x"})
        QTest::newRow(name) << name;
}

void TestCustomerTexts::aNameWithAnApostropheFailsAndChangesNothing()
{
    QFETCH(QString, name);
    QCOMPARE(errorOf([&] { store::quoted(name); }), errors::querySyntax);
    QCOMPARE(errorOf([&] { store::customerSearch(name); }), errors::querySyntax);
    QCOMPARE(errorOf([&] { store::customerCriteria(name); }), errors::querySyntax);
    QCOMPARE(errorOf([&] { store::deletePressingsOf(name); }), errors::querySyntax);
}

void TestCustomerTexts::aNameReachesNoOtherCustomer_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"*",
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
                             "’ Or ’1’=’1"})
        QTest::newRow(name) << name;
}

void TestCustomerTexts::aNameReachesNoOtherCustomer()
{
    QFETCH(QString, name);
    MillFile file;
    const QStringList others{"Ali", "Ali Veli", "Veli", "Toplamlar"};
    for (const QString& other : others) {
        addRow(file, "Hareket",
               {FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), other});
        addRow(file, "Cari", {FieldValue(other)});
    }
    QCOMPARE(file.engine()->execute(store::deletePressingsOf(name)), 0u);
    OpenSource cari(file, "Cari"), journal(file, "Hareket");
    cari.recordSet().findFirst(store::customerCriteria(name));
    QVERIFY(cari.recordSet().noMatch());
    QCOMPARE(texts(journal.recordSet(), 6), others);

    // The customer of that very name is reached, and nobody else.
    addRow(file, "Hareket", {FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), FieldValue(), name});
    QCOMPARE(file.engine()->execute(store::deletePressingsOf(name)), 1u);
    journal.refresh();
    QCOMPARE(texts(journal.recordSet(), 6), others);
}

QTEST_APPLESS_MAIN(TestCustomerTexts)
#include "test_customer_texts.moc"
