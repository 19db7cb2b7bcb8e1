#include "mill/quantities.h"
#include "paper_screen.h"
#include "pressing/kept_displays.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include <QtTest>
#include <functional>
#include <type_traits>

using mill::Kilogram, mill::Litre, mill::Percent, mill::Lira;
using pressing::Field;

namespace {

template <class A, class B> constexpr bool haveDifference = std::is_invocable_v<std::minus<>, A, B>;
template <class A, class B> constexpr bool haveProduct = std::is_invocable_v<std::multiplies<>, A, B>;

// Only what means something can be written.
static_assert(std::is_same_v<decltype(Kilogram{} - Kilogram{}), Kilogram>);
static_assert(std::is_same_v<decltype(Kilogram{} * Percent{}), Kilogram>);
static_assert(!haveDifference<Kilogram, Litre> && !haveDifference<Kilogram, Percent> && !haveDifference<Litre, Lira>);
static_assert(!haveProduct<Kilogram, Kilogram> && !haveProduct<Litre, Percent> && !haveProduct<Lira, Percent>);
static_assert(!std::is_convertible_v<Kilogram, Litre> && !std::is_convertible_v<double, Kilogram>);

} // namespace

/// What follows from one display of a station having changed.
class Rules : public QObject {
    Q_OBJECT

    PaperScreen screen{base::Regional::turkish()};
    QString shown(Field field, int station = 0) const { return screen.caption(field, station); }

private slots:
    void init() { screen = PaperScreen(base::Regional::turkish()); }

    void aDayAtTheCounterIsWorkedOutAsOnPaper_data()
    {
        addColumns<bool, QString>("english", "tonne");
        QTest::newRow("Turkish") << false << "1.000";
        QTest::newRow("English") << true << "1,000";
    }
    void aDayAtTheCounterIsWorkedOutAsOnPaper()
    {
        QFETCH(bool, english);
        if (english) screen = PaperScreen(base::Regional::english());
        screen.setCaption(Field::Label2, 0, "1000");
        QTEST(shown(Field::Label2), "tonne");
        QCOMPARE(shown(Field::Label3), "900");
        screen.put(Field::Haklbl, "12");
        pressing::entitlementSwitched(screen, 0);
        QCOMPARE(shown(Field::HakTut), "108");
        QCOMPARE(shown(Field::Verilen), "792");
        screen.setCaption(Field::Label3, 0, "850");
        QCOMPARE(shown(Field::HakTut), "102");
        QCOMPARE(shown(Field::Verilen), "748");
    }

    void oilIsPresetToNineTenthsOfTheOlives_data()
    {
        addColumns<QString, QString, QString>("typed", "olives", "oil");
        // clang-format off
        QTest::newRow("round") << "1000" << "1.000" << "900";
        QTest::newRow("fraction") << "1.234,5" << "1.234,50" << "1.111";
        QTest::newRow("up") << "1235" << "1.235" << "1.112";
        QTest::newRow("one") << "1" << "1" << "1";
        QTest::newRow("half goes up") << "5" << "5" << "5";
        QTest::newRow("thirteen and a half") << "15" << "15" << "14";
        QTest::newRow("forty five") << "45" << "45" << "41";
        QTest::newRow("thousand and five") << "1005" << "1.005" << "905";
        QTest::newRow("under a half") << "0,55" << "0,55" << "0";
        QTest::newRow("over a half") << "0,60" << "0,60" << "1";
        QTest::newRow("two and a half") << "2,78" << "2,78" << "3";
        // clang-format on
    }
    void oilIsPresetToNineTenthsOfTheOlives()
    {
        QFETCH(QString, typed);
        screen.setCaption(Field::Label2, 0, typed);
        QTEST(shown(Field::Label2), "olives");
        QTEST(shown(Field::Label3), "oil");
        QVERIFY(screen.printing[0]);
    }

    void noOlivesKeepTheOilAndDisablePrinting_data()
    {
        addColumns<QString, bool>("olives", "printing");
        QTest::newRow("zero") << "0" << false;
        QTest::newRow("emptied") << "" << false;
        QTest::newRow("negative can be printed") << "-20" << true;
    }
    void noOlivesKeepTheOilAndDisablePrinting()
    {
        QFETCH(QString, olives);
        screen.setCaption(Field::Label2, 0, "1000");
        screen.setCaption(Field::Label3, 0, "850");
        screen.setCaption(Field::Label2, 0, olives);
        QCOMPARE(shown(Field::Label3), "850");
        QTEST(screen.printing[0], "printing");
    }

    void fractionalOilKeepsTheEntitlementAndWholeOilClearsIt()
    {
        screen.put(Field::HakTut, "102");
        screen.setCaption(Field::Label3, 0, "850,5");
        QCOMPARE(shown(Field::Label3), "850,5");
        QCOMPARE(shown(Field::HakTut), "102");
        screen.setCaption(Field::Label3, 0, "850");
        QCOMPARE(shown(Field::HakTut), "0");
    }

    void oilWithoutOlivesGivesNoEntitlement()
    {
        screen.put(Field::Haklbl, "12");
        screen.put(Field::HakTut, "50");
        screen.putEntitlement(true);
        screen.setCaption(Field::Label3, 0, "850,5");
        QCOMPARE(shown(Field::HakTut), "0");
    }

    void percentageSetAtOnceIsCut_data()
    {
        addColumns<QString, QString>("text", "percentage");
        // clang-format off
        QTest::newRow("three digits") << "123" << "12";
        QTest::newRow("five characters stay") << "12,345" << "12,34";
        QTest::newRow("two decimals") << "12,75" << "12,75";
        QTest::newRow("mark that waits for its digit") << "12," << "12,";
        QTest::newRow("zero that waits for its digit") << "12,0" << "12,0";
        QTest::newRow("zero decimals") << "12,00" << "12";
        QTest::newRow("mark behind too many digits") << "123," << "12";
        QTest::newRow("cut to a whole") << "12,004" << "12";
        QTest::newRow("emptied") << "" << "0";
        // clang-format on
    }
    void percentageSetAtOnceIsCut()
    {
        QFETCH(QString, text);
        screen.put(Field::Haklbl, "1");
        screen.putActive(Field::Haklbl);
        screen.setCaption(Field::Haklbl, 0, text);
        QTEST(shown(Field::Haklbl), "percentage");
    }

    void oilHandedOverFollowsOilAndEntitlementAlike()
    {
        screen.setCaption(Field::Label3, 0, "850");
        QCOMPARE(shown(Field::Verilen), "850"); // nothing is taken, and nothing of it has changed
        screen.setCaption(Field::HakTut, 0, "102");
        QCOMPARE(shown(Field::Verilen), "748");
        screen.setCaption(Field::Label3, 0, "900,5");
        QCOMPARE(shown(Field::Verilen), "799");
        screen.setCaption(Field::Label3, 1, "10");
        QCOMPARE(shown(Field::Verilen, 1), "10");
        QCOMPARE(shown(Field::Verilen), "799");
    }

    void noFeeStandsBesideAnEntitlement_data()
    {
        // typed or recalled
        addTexts("fee", {"5", "12,5", "", "5a", "1.250,"});
    }
    void noFeeStandsBesideAnEntitlement()
    {
        QFETCH(QString, fee);
        screen.put(Field::NakitLbl, "0");
        screen.putEntitlement(true);
        screen.putActive(Field::NakitLbl);
        screen.setCaption(Field::NakitLbl, 0, fee);
        QCOMPARE(shown(Field::NakitLbl), "0");
    }

    void nothingTypedGivesAnEntitlementThatIsNotTaken()
    {
        screen.put(Field::Label2, "1.000");
        screen.put(Field::Label3, "900");
        screen.put(Field::HakTut, "0");
        screen.putActive(Field::Haklbl);
        screen.setCaption(Field::Haklbl, 0, "12");
        QCOMPARE(shown(Field::HakTut), "0");
        // The other station takes one and is the current one; this one does not.
        screen.putEntitlement(true, 1);
        screen.put(Field::Label2, "500", 1);
        screen.put(Field::Label3, "450", 1);
        screen.put(Field::Haklbl, "10", 1);
        screen.current = 1;
        screen.setCaption(Field::Label3, 0, "800");
        QCOMPARE(shown(Field::HakTut), "0");
    }

    void switchingOffWhileThePercentageIsEditedEditsTheFee()
    {
        screen.put(Field::Label3, "900");
        screen.putEntitlement(true);
        screen.putActive(Field::Haklbl);
        pressing::entitlementSwitched(screen, 0);
        QCOMPARE(screen.activeField, Field::NakitLbl);
        QCOMPARE(screen.activeStation, 0);
        pressing::entitlementSwitched(screen, 0);
        screen.putActive(Field::Label3);
        pressing::entitlementSwitched(screen, 0);
        QCOMPARE(screen.activeField, Field::Label3);
    }

    void aProductTooLargeForANumberChangesNothing_data()
    {
        addCases<int>("what",
                      {{"oil typed", 0}, {"percentage typed", 1}, {"switch pressed", 2}, {"digits without end", 3}});
    }
    void aProductTooLargeForANumberChangesNothing()
    {
        QFETCH(int, what);
        const QString huge = "1" + QString(306, '0'); // times 99 it is no number any more
        screen.put(Field::Label2, "1.000");
        screen.put(Field::Haklbl, what == 1 ? "9" : "99");
        screen.put(Field::HakTut, "0");
        screen.put(Field::NakitLbl, what == 2 ? "250" : "0");
        screen.putEntitlement(what != 2);
        screen.put(Field::Label3, what == 0 ? huge : what == 3 ? "1" + QString(308, '0') : huge + "0");
        screen.put(Field::Verilen, "7");
        screen.printing[0] = true;
        screen.putActive(what == 1 ? Field::Haklbl : Field::Label3);
        QStringList before;
        for (const Field field : pressing::allFields) before << shown(field);
        const auto act = [&] {
            if (what == 2)
                pressing::entitlementSwitched(screen, 0);
            else
                pressing::keyPressed(screen, screen, what == 1 ? 37 : 36); // 9, 0
        };
        QCOMPARE(errorOf(act), base::errors::overflow);
        QStringList after;
        for (const Field field : pressing::allFields) after << shown(field);
        QCOMPARE(after, before);
        QCOMPARE(screen.frame3[0], what != 2);
        QCOMPARE(screen.taken[0], what != 2);
        QCOMPARE(screen.switchCaption[0], what != 2 ? pressing::entitlementOn : pressing::entitlementOff);
        QVERIFY(screen.printing[0]);
    }

    void termsThatASearchElsewhereRecalledAreTakenBack()
    {
        screen.put(Field::Label3, "900");
        screen.put(Field::Haklbl, "10");
        screen.put(Field::HakTut, "90");
        screen.put(Field::Verilen, "810");
        screen.put(Field::NakitLbl, "0");
        screen.putEntitlement(true);
        screen.put(Field::NakitLbl, "250", 1);
        screen.kind = {2, 3};
        const pressing::KeptTerms kept(screen);
        for (int station = 0; station < 2; ++station) {
            screen.setCaption(Field::Haklbl, station, "33");
            screen.put(Field::NakitLbl, "77", station);
            screen.kind[station] = 0;
        }
        kept.putBack(screen);
        QCOMPARE(shown(Field::Haklbl), "10");
        QCOMPARE(shown(Field::HakTut), "90");
        QCOMPARE(shown(Field::NakitLbl), "0");
        QCOMPARE(shown(Field::NakitLbl, 1), "250");
        QCOMPARE(screen.kind, (std::array{2, 3}));

        // A weight has come and gone: the share that the other terms made of it goes as well.
        screen.put(Field::Label2, "1.000");
        screen.setCaption(Field::Haklbl, 0, "33");
        screen.setCaption(Field::Label3, 0, "901");
        screen.setCaption(Field::Label3, 0, "900");
        QCOMPARE(shown(Field::HakTut), "297");
        kept.putBack(screen);
        QCOMPARE(shown(Field::Haklbl), "10");
        QCOMPARE(shown(Field::HakTut), "90");
        QCOMPARE(shown(Field::Verilen), "810");

        // Another weight stands there now: the share of it is this customer's.
        screen.put(Field::Label2, "2.000");
        screen.setCaption(Field::Haklbl, 0, "33");
        screen.setCaption(Field::Label3, 0, "1800");
        QCOMPARE(shown(Field::HakTut), "594");
        kept.putBack(screen);
        QCOMPARE(shown(Field::HakTut), "180");
        QCOMPARE(shown(Field::Verilen), "1.620");
    }

    void percentageRecalledWhileAnotherFieldIsEditedChangesNothingElse()
    {
        screen.put(Field::Label3, "900");
        screen.putActive(Field::TxtLbl);
        screen.setCaption(Field::Haklbl, 0, "12,345");
        QCOMPARE(shown(Field::Haklbl), "12,345");
        QCOMPARE(shown(Field::HakTut), "");
    }

    void aRecalledFeeLeavesTheNameThatIsEdited_data() { addTexts("name", {"1000", "5", "05321112233", "1e3", "Ali"}); }
    void aRecalledFeeLeavesTheNameThatIsEdited()
    {
        QFETCH(QString, name);
        for (const char* fee : {"250", "12,5"}) {
            screen.put(Field::TxtLbl, name);
            screen.putActive(Field::TxtLbl);
            screen.put(Field::NakitLbl, fee);
            pressing::feeRecalled(screen, 0);
            QCOMPARE(screen.caption(Field::TxtLbl, 0), name);
            QCOMPARE(screen.caption(Field::NakitLbl, 0), fee);
        }
    }

    void anEntitlementThatIsNotThatOfItsPercentageIsMarked_data()
    {
        addColumns<bool, QString, QString, QString, QString, bool>("taken", "olives", "oil", "percentage",
                                                                   "entitlement", "marked");
        const auto row = [](const char* name, bool taken, const QStringList& shown, bool marked) {
            QTest::newRow(name) << taken << shown[0] << shown[1] << shown[2] << shown[3] << marked;
        };
        row("as worked out", true, {"1.000", "900", "12", "108"}, false);
        row("another percentage came", true, {"1.000", "900", "8", "108"}, true);
        row("none came", true, {"1.000", "900", "0", "108"}, true);
        row("one came where none was", true, {"1.000", "900", "12", "0"}, true);
        row("nothing and nothing", true, {"1.000", "900", "", ""}, false);
        row("a fraction waits for its digit", true, {"1.000", "900", "12,", "108"}, false);
        row("no olives", true, {"0", "900", "12", "0"}, false);
        row("no oil", true, {"1.000", "0", "12", "0"}, false);
        row("no number", true, {"1.000", "900", "1e", "108"}, false);
        row("paid in money", false, {"1.000", "900", "12", "0"}, false);
    }
    void anEntitlementThatIsNotThatOfItsPercentageIsMarked()
    {
        QFETCH(bool, taken);
        QFETCH(QString, olives);
        QFETCH(QString, oil);
        QFETCH(QString, percentage);
        QFETCH(QString, entitlement);
        screen.putEntitlement(taken);
        screen.put(Field::Label2, olives);
        screen.put(Field::Label3, oil);
        screen.put(Field::Haklbl, percentage);
        screen.put(Field::HakTut, entitlement);
        const QString mark = pressing::shareMark(screen, 0);
        QFETCH(bool, marked);
        QCOMPARE(mark, marked ? "hak ediş yüzdeye uymuyor" : "");
    }

    void productsJustBelowAHalfRoundUp_data()
    {
        addColumns<QString, QString, QString>("percentage", "oil", "entitlement");
        // clang-format off
        QTest::newRow("2,28") << "2,28" << "1.250" << "29";
        QTest::newRow("2,3") << "2,3" << "1.500" << "35";
        QTest::newRow("4,1") << "4,1" << "1.500" << "62";
        QTest::newRow("4,6") << "4,6" << "750" << "35";
        QTest::newRow("5,1") << "5,1" << "1.500" << "77";
        QTest::newRow("8,12") << "8,12" << "1.250" << "102";
        // clang-format on
    }
    void productsJustBelowAHalfRoundUp()
    {
        QFETCH(QString, percentage);
        QFETCH(QString, oil);
        screen.put(Field::Label3, oil);
        screen.put(Field::Haklbl, percentage);
        pressing::entitlementSwitched(screen, 0);
        QTEST(shown(Field::HakTut), "entitlement");
    }

    void entitlementAboveTheOilGivesANegativeHandOver()
    {
        screen.put(Field::Label3, "100");
        screen.setCaption(Field::HakTut, 0, "120");
        QCOMPARE(shown(Field::Verilen), "-20");
    }

    void switchingOnTakesTheFeeAndSwitchingOffDoesNotBringItBack()
    {
        screen.put(Field::Label3, "900");
        screen.put(Field::Haklbl, "12");
        screen.put(Field::NakitLbl, "250");
        pressing::entitlementSwitched(screen, 0);
        QCOMPARE(shown(Field::NakitLbl), "0");
        QVERIFY(screen.frame3[0]);
        QCOMPARE(screen.switchCaption[0], "Hak Ediş Var");
        QVERIFY(pressing::entitlementOfCurrent(screen));
        pressing::entitlementSwitched(screen, 0);
        QCOMPARE(shown(Field::NakitLbl), "0");
        QCOMPARE(shown(Field::HakTut), "0");
        QVERIFY(!screen.frame3[0]);
        QCOMPARE(screen.switchCaption[0], "Hak Ediş Yok");
        QVERIFY(!pressing::entitlementOfCurrent(screen));
    }

    void switchingOnBeforeAnyPercentageGivesZero()
    {
        screen.put(Field::Label3, "900");
        pressing::entitlementSwitched(screen, 0);
        QCOMPARE(shown(Field::HakTut), "0");
    }

    void entitlementBelongsToTheCurrentStation()
    {
        screen.put(Field::Label3, "900", 1);
        screen.put(Field::Haklbl, "10", 1);
        screen.current = 1;
        pressing::entitlementSwitched(screen, 1);
        QVERIFY(pressing::entitlementOfCurrent(screen));
        screen.current = 0;
        QVERIFY(!pressing::entitlementOfCurrent(screen));
        screen.setCaption(Field::Label3, 0, "500");
        QCOMPARE(shown(Field::HakTut), "0");
        screen.current = 1;
        QVERIFY(pressing::entitlementOfCurrent(screen));
        screen.current = 999;
        QVERIFY(!pressing::entitlementOfCurrent(screen));
    }

    void anErrorInsideTheSwitchStillLeavesTheModeEqualToTheFrame()
    {
        screen.put(Field::Label3, "900");
        screen.put(Field::Haklbl, "1e");
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, pressing::entitlementSwitched(screen, 0));
        QVERIFY(screen.frame3[0]);
        QVERIFY(pressing::entitlementOfCurrent(screen));
    }

    void clearingTheCustomerResetsTheStation()
    {
        screen.setCaption(Field::Label2, 0, "1000");
        screen.put(Field::Haklbl, "12");
        pressing::entitlementSwitched(screen, 0);
        screen.put(Field::NakitLbl, "50");
        screen.setContainers(0, 7);
        screen.panel[0] = true;
        screen.setCaption(Field::Label4, 0, "7 Kap");
        screen.put(Field::TxtLbl, "");
        pressing::customerCleared(screen, 0);
        QCOMPARE(shown(Field::Label2), "0");
        QCOMPARE(shown(Field::Label3), "900");
        QCOMPARE(shown(Field::HakTut), "0");
        QCOMPARE(shown(Field::NakitLbl), "0");
        QCOMPARE(shown(Field::Haklbl), "12");
        QCOMPARE(shown(Field::Label4), "0 Kap");
        QCOMPARE(screen.switchCaption[0], "Hak Ediş Yok");
        QVERIFY(!screen.frame3[0] && !screen.printing[0] && !screen.panel[0]);
        QVERIFY(!pressing::entitlementOfCurrent(screen));
        QCOMPARE(screen.count[0], 0.0f);
    }

    void aSlipCountsTheWholeContainersThatTheOilFills_data()
    {
        addColumns<QString, int, QString>("oil", "litres", "shown");
        QTest::newRow("half a container left over") << "23,5" << 10 << "2 Kap";
        QTest::newRow("half of the last one") << "25" << 10 << "2 Kap";
        QTest::newRow("fives") << "53" << 5 << "10 Kap";
        QTest::newRow("fifteens") << "850" << 15 << "56 Kap";
        QTest::newRow("twenties") << "850" << 20 << "42 Kap";
        QTest::newRow("less than one") << "4" << 5 << "0 Kap";
        QTest::newRow("fraction of a litre") << "52,5" << 5 << "10 Kap";
        QTest::newRow("count without grouping") << "12.345" << 10 << "1234 Kap";
        QTest::newRow("negative oil is cut towards zero") << "-12" << 5 << "-2 Kap";
        QTest::newRow("no oil yet") << "" << 20 << "0 Kap";
    }
    void aSlipCountsTheWholeContainersThatTheOilFills()
    {
        QFETCH(QString, oil);
        QFETCH(int, litres);
        screen.put(Field::Label3, oil, 1);
        screen.put(Field::Label4, "something", 1);
        screen.kind[1] = litres / 5 - 1;
        QCOMPARE(pressing::countContainers(screen, 1).value, double(litres));
        QTEST(shown(Field::Label4, 1), "shown");
    }

    void withoutAContainerKindOrANumberThereIsNoCount_data()
    {
        addColumns<int, QString>("kind", "oil");
        QTest::newRow("none chosen") << -1 << "850";
        QTest::newRow("behind the list") << 4 << "850";
        QTest::newRow("oil is no number") << 1 << "abc";
    }
    void withoutAContainerKindOrANumberThereIsNoCount()
    {
        QFETCH(int, kind);
        QFETCH(QString, oil);
        screen.put(Field::Label3, oil);
        screen.kind[0] = kind;
        QCOMPARE(errorOf([&] { pressing::countContainers(screen, 0); }), base::errors::typeMismatch);
        QCOMPARE(screen.takeEvents(), QStringList());
    }

    void aPressingIsWhatStandsAtItsStation()
    {
        for (const Field field : pressing::allFields) screen.put(field, pressing::nameOf(field), 1);
        screen.kind[1] = 0;
        QCOMPARE(pressing::pressingAt(screen, 1),
                 (mill::Pressing{"TxtLbl", "Label2", "Label3", "Haklbl", "HakTut", "NakitLbl", " 5 Litrelik Kap"}));
        screen.kind[1] = -1;
        QCOMPARE(pressing::pressingAt(screen, 1).container, "");
    }

    void containersCountDownToAHiddenPanel()
    {
        screen.setContainers(0, 2);
        screen.panel[0] = true;
        screen.setCaption(Field::Label4, 0, "2 Kap");
        QVERIFY(screen.panel[0]);
        pressing::containerFilled(screen, 0);
        QCOMPARE(shown(Field::Label4), "1 Kap");
        QVERIFY(screen.panel[0]);
        pressing::containerFilled(screen, 0);
        QCOMPARE(shown(Field::Label4), "0 Kap");
        QVERIFY(!screen.panel[0]);
        screen.takeEvents();
        pressing::containerFilled(screen, 0);
        QCOMPARE(screen.takeEvents(), QStringList());
        QCOMPARE(screen.count[0], 0.0f);
    }

    void droppingTheContainersHidesThePanelAndKeepsTheCaption()
    {
        screen.setContainers(1, 5);
        screen.panel[1] = true;
        screen.setCaption(Field::Label4, 1, "5 Kap");
        pressing::containersDropped(screen, 1);
        QCOMPARE(screen.count[1], 0.0f);
        QVERIFY(!screen.panel[1]);
        QCOMPARE(shown(Field::Label4, 1), "5 Kap");
    }

    void aContainerCaptionIsTheCountUngrouped()
    {
        const base::Regional turkish = base::Regional::turkish();
        QCOMPARE(pressing::containerCaption(0, turkish), "0 Kap");
        QCOMPARE(pressing::containerCaption(1234, turkish), "1234 Kap");
        QCOMPARE(pressing::containerCaption(9'999'999, turkish), "9999999 Kap");
        QCOMPARE(pressing::containerCaption(63'180'000, turkish), "6,318E+07 Kap");
        QCOMPARE(pressing::containerCaption(63'180'000, base::Regional::english()), "6.318E+07 Kap");
        screen.setContainers(0, 3);
        screen.setCaption(Field::Label4, 0, "something");
        QCOMPARE(shown(Field::Label4), "3 Kap");
        QVERIFY(screen.centred[0] > 0);
    }

    void aStationBeyondTheSecondIsAnError()
    {
        QCOMPARE(errorOf([&] { screen.setCaption(Field::Label2, 999, "5"); }), base::errors::noControl);
    }
};

QTEST_GUILESS_MAIN(Rules)
#include "rules.moc"
