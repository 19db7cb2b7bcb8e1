#include "pressing/weight_origins.h"
#include "paper_screen.h"
#include "pressing/kept_displays.h"
#include "tests/support/columns.h"

#include <QtTest>
#include <optional>

using namespace pressing;
using mill::WeightSource;

namespace {

/// A screen beside which the origins are kept, as the window keeps them.
class KeptScreen : public PaperScreen {
public:
    KeptScreen() : PaperScreen(base::Regional::turkish()) {}

    void setCaption(Field field, int station, const QString& text) override
    {
        if (text == caption(field, station)) return;
        if (field == Field::Label2)
            return origins.olivesChanged(station, [&] { PaperScreen::setCaption(field, station, text); });
        if (field == Field::Label3) origins.oilChanged(station);
        PaperScreen::setCaption(field, station, text);
    }
    void weigh(const QString& text, int station = 0)
    {
        setCaption(Field::Label2, station, text);
        origins.weighed(station, text.toStdString() + "kg\r", 45981.5);
    }
    void type(Field field, const QString& digits, int station = 0)
    {
        for (const QChar digit : digits) setCaption(field, station, caption(field, station) + digit);
    }
    QString mark(int station = 0) const { return typedMark(*this, origins, station); }

    WeightOrigins& origins = kept;
};

} // namespace

/// Where a weight comes from: the scale, a rule, a hand.
class TestWeightOrigins : public QObject {
    Q_OBJECT

    std::optional<KeptScreen> screen;

private slots:
    void init() { screen.emplace(); }

    void theScaleSaysWhatItSent()
    {
        screen->weigh("1234");
        const mill::Provenance from = screen->origins.of(0);
        QCOMPARE(from.station, 1);
        QVERIFY((from.olives == mill::Weighing{WeightSource::scale, "1234kg\r", 45981.5}));
        QVERIFY(from.oil.source == WeightSource::computed);
        QCOMPARE(screen->mark(), QString());
    }

    void aHandInTheWeightMakesItTyped()
    {
        screen->weigh("1234");
        screen->type(Field::Label2, "5");
        QVERIFY((screen->origins.of(0).olives == mill::Weighing{}));
        QVERIFY(screen->origins.of(0).oil.source == WeightSource::computed);
        QCOMPARE(screen->mark(), "✎ elle: zeytin");
        screen->weigh("1000");
        QVERIFY(screen->origins.of(0).olives.source == WeightSource::scale);
        QCOMPARE(screen->mark(), QString());
    }

    void aFigureThatIsTakenBackComesFromWhereItCame_data()
    {
        addCases<Field>("typedInto",
                        {{"olives", Field::Label2}, {"oil", Field::Label3}, {"percentage", Field::Haklbl}});
    }
    void aFigureThatIsTakenBackComesFromWhereItCame()
    {
        QFETCH(Field, typedInto);
        screen->weigh("1234");
        screen->type(Field::Label3, "5");
        const mill::Provenance before = screen->origins.of(0);
        QVERIFY(before.olives.source == WeightSource::scale && before.oil.source == WeightSource::typed);
        screen->putEntitlement(true);
        screen->put(Field::Haklbl, "99");
        screen->putActive(typedInto);
        const QString tooMuch = typedInto == Field::Haklbl ? "1e308" : "9e307";
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError,
                                 allOrNothing(*screen, [&] { screen->setCaption(typedInto, 0, tooMuch); }));
        QVERIFY(screen->origins.of(0).olives == before.olives);
        QVERIFY(screen->origins.of(0).oil == before.oil);
        QCOMPARE(screen->mark(), "✎ elle: yağ");
    }

    void theSameFigureTypedIsNotTheScales()
    {
        screen->weigh("1234");
        screen->setCaption(Field::Label2, 0, "123");
        screen->type(Field::Label2, "4");
        QCOMPARE(screen->caption(Field::Label2, 0), "1.234");
        QVERIFY(screen->origins.of(0).olives.source == WeightSource::typed);
    }

    void theScaleTakesAFigureOverThatWasTyped()
    {
        screen->type(Field::Label2, "1234");
        screen->weigh("1.234");
        QVERIFY(screen->origins.of(0).olives.source == WeightSource::scale);
    }

    void theOilIsComputedUntilItIsTyped()
    {
        screen->weigh("1000");
        screen->setCaption(Field::Label3, 0, "");
        screen->type(Field::Label3, "850");
        QVERIFY(screen->origins.of(0).olives.source == WeightSource::scale);
        QVERIFY(screen->origins.of(0).oil.source == WeightSource::typed);
        QCOMPARE(screen->mark(), "✎ elle: yağ");
        screen->type(Field::Label2, "0");
        QCOMPARE(screen->mark(), "✎ elle: zeytin");
        QVERIFY(screen->origins.of(0).oil.source == WeightSource::computed);
    }

    void aRuleThatFailsLeavesTheNextOilTyped()
    {
        screen->put(Field::Label3, "0");
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, screen->setCaption(Field::Label2, 0, "1234KG"));
        QCOMPARE(screen->mark(), QString()); // no weight
        screen->type(Field::Label3, "7");
        QVERIFY(screen->origins.of(0).oil.source == WeightSource::typed);
    }

    void stationsKeepTheirOwn()
    {
        screen->weigh("1000", 0);
        screen->type(Field::Label2, "500", 1);
        QCOMPARE(screen->mark(0), QString());
        QCOMPARE(screen->mark(1), "✎ elle: zeytin");
        QCOMPARE(screen->origins.of(1).station, 2);
    }

    void anEmptyStationIsNotMarked()
    {
        QCOMPARE(screen->mark(), QString());
        screen->weigh("1000");
        screen->setCaption(Field::Label2, 0, "");
        screen->setCaption(Field::Label3, 0, "");
        QCOMPARE(screen->caption(Field::Label2, 0), "0");
        QCOMPARE(screen->mark(), QString());
    }
};

QTEST_GUILESS_MAIN(TestWeightOrigins)
#include "weight_origins.moc"
