#include "paper_screen.h"
#include "tests/support/columns.h"

#include <QtTest>

using pressing::Field;

/// Percentages and fees with decimals, typed key by key.
class Fraction : public QObject {
    Q_OBJECT

    PaperScreen screen{base::Regional::turkish()};
    void type(const QString& keys)
    {
        for (const QChar key : keys)
            for (int k = 0; k < pressing::keyCount; ++k)
                if (pressing::keyCaptions()[k] == key) pressing::keyPressed(screen, screen, k);
    }

private slots:
    void init() { screen = PaperScreen(base::Regional::turkish()); }

    void typedKeysBecomeANumberOrWaitForIt_data()
    {
        // percentage: otherwise the fee; left: shown when another field has been chosen
        addColumns<bool, bool, QString, QString, QString>("english", "percentage", "keys", "shown", "left");
        // clang-format off
        QTest::newRow("two digits and a half") << false << true << "12,5" << "12,5" << "12,5";
        QTest::newRow("two decimals") << false << true << "12,75" << "12,75" << "12,75";
        QTest::newRow("a sixth character is not taken") << false << true << "12,345" << "12,34" << "12,34";
        QTest::newRow("a third digit is not taken") << false << true << "123" << "12" << "12";
        QTest::newRow("mark without a digit") << false << true << "12," << "12," << "12";
        QTest::newRow("mark first") << false << true << ",5" << "0,5" << "0,5";
        QTest::newRow("zero before the digit") << false << true << "12,05" << "12,05" << "12,05";
        QTest::newRow("zero and no digit") << false << true << "12,0" << "12,0" << "12";
        QTest::newRow("two zeros are a whole number") << false << true << "12,00" << "12" << "12";
        QTest::newRow("English") << true << true << "12,75" << "12.75" << "12.75";
        QTest::newRow("English mark") << true << true << "12," << "12." << "12";
        QTest::newRow("fee with decimals") << false << false << "1250,50" << "1.250,5" << "1.250,5";
        QTest::newRow("fee with kuruş below ten") << false << false << "1250,05" << "1.250,05" << "1.250,05";
        QTest::newRow("fee, three decimals") << false << false << "12,005" << "12,005" << "12,005";
        QTest::newRow("fee, mark without a digit") << false << false << "1250," << "1.250," << "1.250";
        QTest::newRow("fee, zeros") << false << false << "1250,00" << "1.250,00" << "1.250";
        QTest::newRow("fee, English") << true << false << "1250,50" << "1,250.5" << "1,250.5";
        QTest::newRow("fee, English mark") << true << false << "1250," << "1,250." << "1,250";
        // clang-format on
    }
    void typedKeysBecomeANumberOrWaitForIt()
    {
        QFETCH(bool, english);
        QFETCH(bool, percentage);
        QFETCH(QString, keys);
        screen = PaperScreen(english ? base::Regional::english() : base::Regional::turkish());
        const Field field = percentage ? Field::Haklbl : Field::NakitLbl;
        screen.putEntitlement(percentage);
        screen.putActive(field);
        type(keys);
        QTEST(screen.caption(field, 0), "shown");
        screen.edit(Field::Label2, 0);
        QTEST(screen.caption(field, 0), "left");
    }

    void anUnfinishedPercentageCountsAsTheWholeNumber()
    {
        screen.put(Field::Label2, "1.000");
        screen.put(Field::Label3, "900");
        screen.putEntitlement(true);
        screen.putActive(Field::Haklbl);
        type("12,");
        QCOMPARE(screen.caption(Field::HakTut, 0), "108");
        type("0");
        QCOMPARE(screen.caption(Field::HakTut, 0), "108");
        type("5");
        QCOMPARE(screen.caption(Field::HakTut, 0), "108");
        pressing::keyPressed(screen, screen, pressing::keys::clear);
        type("12,5");
        QCOMPARE(screen.caption(Field::HakTut, 0), "113");
    }

    void aGroupMarkIsNeverTakenForTheDecimalOne()
    {
        screen.put(Field::NakitLbl, "1.000");
        screen.putActive(Field::NakitLbl);
        pressing::keyPressed(screen, screen, pressing::keys::backspace);
        QCOMPARE(screen.caption(Field::NakitLbl, 0), "100");
    }

    void aWeightTakesNoMark()
    {
        screen.put(Field::Label3, "850");
        screen.putActive(Field::Label3);
        type(",");
        QCOMPARE(screen.caption(Field::Label3, 0), "850");
    }

    void aNameThatEndsInACommaStaysAsItIs()
    {
        screen.put(Field::TxtLbl, "5,");
        screen.putActive(Field::TxtLbl);
        screen.edit(Field::Label2, 0);
        QCOMPARE(screen.caption(Field::TxtLbl, 0), "5,");
    }
};

QTEST_GUILESS_MAIN(Fraction)
#include "fraction.moc"
