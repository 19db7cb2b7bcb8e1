#include "base/letters.h"
#include "paper_screen.h"
#include "tests/support/columns.h"

#include <QtTest>

using pressing::Field;
namespace keys = pressing::keys;

/// The on-screen keypad edits the active label.
class Keypad : public QObject {
    Q_OBJECT

    PaperScreen screen{base::Regional::turkish()};
    void press(int key) { pressing::keyPressed(screen, screen, key); }
    QString active() const { return screen.activeCaption(); }

private slots:
    void init() { screen = PaperScreen(base::Regional::turkish()); }

    void captionsFollowTheCase()
    {
        QString capitals, small;
        for (int k = 0; k < pressing::letterKeyCount; ++k) {
            capitals += pressing::letterCaption(k, pressing::keyCaptions()[k], true);
            small += pressing::letterCaption(k, pressing::keyCaptions()[k], false);
        }
        QCOMPARE(capitals, "ABCÇDEFGĞHIİJKLMNOÖPRSŞTUÜVYZWQX");
        QCOMPARE(small, "abcçdefgğhıijklmnoöprsştuüvyzwqx");
        QCOMPARE(pressing::caseKeyCaption(true), "AB");
        QCOMPARE(pressing::caseKeyCaption(false), "ab");
    }

    void everyKeyDoesWhatItsIndexSays_data()
    {
        // after the key, on "Ab"
        addColumns<int, QString>("key", "after");
        const QString letters = "ABCÇDEFGĞHIİJKLMNOÖPRSŞTUÜVYZWQX,";
        for (int k = 0; k < letters.size(); ++k) QTest::addRow("%d", k) << k << "Ab" + letters.mid(k, 1);
        QTest::newRow("backspace") << 33 << "A";
        QTest::newRow("blank") << 34 << "Ab ";
        QTest::newRow("double zero") << 35 << "Ab00";
        const QString digits = "0987654321";
        for (int k = 0; k < digits.size(); ++k) QTest::addRow("%d", 36 + k) << 36 + k << "Ab" + digits.mid(k, 1);
        QTest::newRow("clear") << 46 << "";
        QTest::newRow("case") << 47 << "Ab";
        QTest::newRow("star") << 48 << "Ab*";
    }
    void everyKeyDoesWhatItsIndexSays()
    {
        QFETCH(int, key);
        screen.put(Field::TxtLbl, "Ab");
        press(key);
        QTEST(active(), "after");
    }

    void theTwoTurkishIsGoThereAndBack()
    {
        press(keys::letterCase);
        QCOMPARE(screen.keyCaption(keys::dotlessI), "ı");
        QCOMPARE(screen.keyCaption(keys::dottedI), "i");
        press(keys::letterCase);
        QCOMPARE(screen.keyCaption(keys::dotlessI), "I");
        QCOMPARE(screen.keyCaption(keys::dottedI), "İ");
    }

    void thePromptDisappearsAtTheFirstKey()
    {
        press(0);
        QCOMPARE(active(), "A");
    }

    void thePromptStaysAPromptWhileTheReportIsShown()
    {
        screen.reportShown = true;
        press(0);
        QCOMPARE(active(), "Müşteri SeçinA");
    }

    void backspaceOnThePromptJustClearsIt()
    {
        press(keys::backspace);
        QCOMPARE(active(), "");
        press(keys::backspace);
        QCOMPARE(active(), "");
    }

    void backspaceOnOneDigitLeavesAZero()
    {
        screen.put(Field::Label3, "8");
        screen.putActive(Field::Label3);
        press(keys::backspace);
        QCOMPARE(active(), "0");
    }

    void aStationThatIsNotWorkedOnTakesNoKeys()
    {
        screen.frameEnabled = false;
        press(0);
        QCOMPARE(active(), mill::customerPrompt);
        screen.reportShown = true;
        screen.put(Field::TxtLbl, "");
        press(0);
        QCOMPARE(active(), "A");
    }

    void weightsTakeDigitsOnly_data()
    {
        addColumns<int, QString>("key", "oil");
        QTest::newRow("digit") << 44 << "8.502";
        QTest::newRow("double zero") << keys::doubleZero << "85.000";
        QTest::newRow("backspace") << keys::backspace << "85";
        QTest::newRow("clear") << keys::clear << "0";
        QTest::newRow("comma refused") << 32 << "850";
        QTest::newRow("star refused") << 48 << "850";
        QTest::newRow("blank refused") << keys::space << "850";
        QTest::newRow("E refused") << 5 << "850";
        QTest::newRow("D refused") << 4 << "850";
    }
    void weightsTakeDigitsOnly()
    {
        QFETCH(int, key);
        screen.put(Field::Label3, "850");
        screen.putActive(Field::Label3);
        press(key);
        QTEST(active(), "oil");
    }

    void theCaseKeyIsRefusedInAWeightAndDoesNotSwitch()
    {
        screen.putActive(Field::Label2);
        press(keys::letterCase);
        QVERIFY(screen.capitals());
        QCOMPARE(screen.takeEvents(), QStringList());
    }

    void aBlankKeyAppendsOneBlank()
    {
        screen.put(Field::TxtLbl, "Ali");
        press(keys::space);
        QCOMPARE(active(), "Ali ");
    }

    void smallLettersArePutIntoTitleCaseAfterEveryKey()
    {
        screen.titleCase = [](const QString& text) { return base::properCase(text); };
        screen.put(Field::TxtLbl, "");
        press(keys::letterCase);
        for (int key : {0, 14}) press(key);
        QCOMPARE(active(), "Al");
        screen.takeEvents();
        press(0);
        QCOMPARE(active(), "Ala");
        QCOMPARE(screen.takeEvents(), QStringList{"1 TxtLbl Al>Ala"});
    }

    void capitalsStayAsTyped()
    {
        screen.titleCase = [](const QString& text) { return base::properCase(text); };
        screen.put(Field::TxtLbl, "");
        for (int key : {0, 14}) press(key);
        QCOMPARE(active(), "AL");
    }
};

QTEST_GUILESS_MAIN(Keypad)
#include "keypad.moc"
