#include "scale/weight_line.h"
#include "base/numbers.h"
#include "tests/doors/fake_comm_control.h"
#include "tests/support/columns.h"
#include <QTest>

using namespace scale;
using namespace Qt::StringLiterals;

namespace {

/// A station whose weight label runs its rule at each change, as the screen does: an empty weight becomes 0 and a text
/// that is not a number is an error.
class PaperStation : public ScaleStation {
public:
    explicit PaperStation(QString weight, base::Regional settings = base::Regional::turkish())
        : regional(std::move(settings)), caption(std::move(weight))
    {
    }

    QString customer() const override { return name; }
    QString weight() const override { return caption; }
    bool isEnabled() const override { return enabled; }
    void setWeight(const QString& text) override
    {
        if (text == caption) return;
        caption = text;
        ++changes;
        if (caption.isEmpty()) setWeight(u"0"_s);
        base::toDouble(caption, regional);
    }

    base::Regional regional;
    QString name = u"Ali"_s;
    QString caption;
    bool enabled = true;
    int changes = 0;
};

/// What emptying both buffers does to a control.
const QStringList emptied = {u"in=0"_s, u"out=0"_s};

/// An open port that raises this event.
struct RaisingControl : FakeCommControl {
    explicit RaisingControl(const QString& bytes, int number = events::received)
    {
        burst = bytes;
        event = number;
        open = true;
    }
    EventOutcome raise(PaperStation& station)
    {
        return onScaleEvent(*this, station, station.regional, [this] { steps += u"events"_s; });
    }
};

/// Bytes come for the station. What was done to the control then.
QStringList hear(PaperStation& station, const QString& burst)
{
    RaisingControl control(burst);
    control.raise(station);
    return control.steps;
}

} // namespace

/// From the bytes of the scale to the weight on the screen.
class WeightLine : public QObject {
    Q_OBJECT

private slots:
    void fieldIsTheEndOfTheFirstLine_data()
    {
        addColumns<QString, QString>("burst", "field");
        QTest::newRow("padded") << u"  1234kg\r"_s << u"  1234\r"_s;
        QTest::newRow("blank before the unit") << u"  1234 kg\r\n"_s << u"  1234 \r"_s;
        QTest::newRow("line feed of the line before") << u"\n  1234kg\r"_s << u"\n  1234\r"_s;
        QTest::newRow("second line dropped") << u"   500kg\r   510kg\r"_s << u"   500\r"_s;
        QTest::newRow("no line yet") << u"12"_s << QString();
        QTest::newRow("rest of a line") << u"34kg\r"_s << u"34\r"_s;
        QTest::newRow("nothing") << QString() << QString();
        QTest::newRow("status before the weight") << u"ST,GS,+  1234kg\r"_s << u"+  1234\r"_s;
        QTest::newRow("wider than the field") << u"00123456789kg\r"_s << u"3456789\r"_s;
        QTest::newRow("capitals stay") << u"1234KG\r"_s << u"1234KG\r"_s;
        QTest::newRow("only the unit") << u"kg\r"_s << u"\r"_s;
        QTest::newRow("only an end") << u"\r"_s << u"\r"_s;
        QTest::newRow("words before the weight") << u"Net 1234kg\r"_s << u"et 1234\r"_s;
        QTest::newRow("unit twice") << u"1kgkg2\r"_s << u"12\r"_s;
        QTest::newRow("unit before the weight") << u"kg  1234\r"_s << u"  1234\r"_s;
        QTest::newRow("unit around the unit") << u"1kkgg2\r"_s << u"1kg2\r"_s;
        QTest::newRow("control character") << u"\x02 1234kg\r"_s << u"\x02 1234\r"_s;
    }

    void fieldIsTheEndOfTheFirstLine()
    {
        QFETCH(QString, burst);
        QTEST(weightField(burst), "field");
    }

    void weightReachesTheStation_data()
    {
        addColumns<bool, QString, QString, QString>("turkish", "burst", "before", "after");
        QTest::newRow("padded") << true << u"  1234kg\r"_s << u"0"_s << u"1.234"_s;
        QTest::newRow("padded, English") << false << u"  1234kg\r"_s << u"0"_s << u"1,234"_s;
        QTest::newRow("blank before the unit") << true << u"  1234 kg\r\n"_s << u"0"_s << u"1.234"_s;
        QTest::newRow("line feed first") << true << u"\n  1234kg\r"_s << u"0"_s << u"1.234"_s;
        QTest::newRow("two lines") << true << u"   500kg\r   510kg\r"_s << u"1.000"_s << u"500"_s;
        QTest::newRow("half a line") << true << u"12"_s << u"1.000"_s << u"0"_s;
        QTest::newRow("other half") << true << u"34kg\r"_s << u"0"_s << u"34"_s;
        QTest::newRow("no data") << true << QString() << u"1.000"_s << u"0"_s;
        QTest::newRow("status before the weight") << true << u"ST,GS,+  1234kg\r"_s << u"0"_s << u"1.234"_s;
        QTest::newRow("wider than the field") << true << u"00123456789kg\r"_s << u"0"_s << u"3.456.789"_s;
        QTest::newRow("full stop groups") << true << u"  12.5kg\r"_s << u"0"_s << u"125"_s;
        QTest::newRow("full stop divides, English") << false << u"  12.5kg\r"_s << u"0"_s << u"13"_s;
        QTest::newRow("comma divides") << true << u"  12,5kg\r"_s << u"0"_s << u"13"_s;
        QTest::newRow("full stop and thousands") << true << u"1234.5kg\r"_s << u"0"_s << u"12.345"_s;
        QTest::newRow("below zero") << true << u"   -20kg\r"_s << u"1.000"_s << u"-20"_s;
        QTest::newRow("zero") << true << u"  0kg\r"_s << u"1.000"_s << u"0"_s;
        QTest::newRow("rounds to zero") << true << u"0,4kg\r"_s << u"5"_s << u"0"_s;
        QTest::newRow("unit twice") << true << u"1kgkg2\r"_s << u"0"_s << u"12"_s;
    }

    void weightReachesTheStation()
    {
        QFETCH(bool, turkish);
        QFETCH(QString, burst);
        QFETCH(QString, before);
        PaperStation station(before, turkish ? base::Regional::turkish() : base::Regional::english());
        QCOMPARE(hear(station, burst), emptied);
        QTEST(station.caption, "after");
    }

    void sameWeightAgainFiresNoChange()
    {
        PaperStation station(u"1.234"_s);
        hear(station, u"  1234kg\r"_s);
        QCOMPARE(station.caption, u"1.234"_s);
        QCOMPARE(station.changes, 0);
    }

    void repeatedRawFieldIsNotFormattedAgain()
    {
        PaperStation station(u"1234KG\r"_s);
        hear(station, u"1234KG\r"_s); // would throw if the caption were set anew
        QCOMPARE(station.changes, 0);
    }

    void unreadableLineIsShownAndEmptiesTheBuffers_data()
    {
        addColumns<QString, QString>("burst", "shown");
        QTest::newRow("capitals") << u"1234KG\r"_s << u"1234KG\r"_s;
        QTest::newRow("only the unit") << u"kg\r"_s << u"\r"_s;
        QTest::newRow("only an end") << u"\r"_s << u"\r"_s;
        QTest::newRow("words") << u"Net 1234kg\r"_s << u"et 1234\r"_s;
        QTest::newRow("control character") << u"\x02 1234kg\r"_s << u"\x02 1234\r"_s;
    }

    void unreadableLineIsShownAndEmptiesTheBuffers()
    {
        QFETCH(QString, burst);
        PaperStation station(u"1.000"_s);
        RaisingControl control(burst);
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, control.raise(station));
        QTEST(station.caption, "shown");
        QCOMPARE(control.steps, emptied);

        control.burst = u"  1234kg\r"_s; // the next good line repairs the caption
        control.raise(station);
        QCOMPARE(station.caption, u"1.234"_s);
    }

    void disabledStationKeepsItsWeight()
    {
        PaperStation station(u"1.000"_s);
        station.enabled = false;
        QCOMPARE(hear(station, u"  1234kg\r"_s), emptied);
        QCOMPARE(station.caption, u"1.000"_s);
    }

    void withoutAnyNameNothingIsTouched()
    {
        PaperStation station(u"1.000"_s);
        station.name.clear();
        for (const int event : {events::received, events::readError, 1009}) {
            RaisingControl control(u"  1234kg\r"_s, event);
            control.raise(station);
            QCOMPARE(control.steps, QStringList());
            QCOMPARE(control.burst, u"  1234kg\r"_s);
            QCOMPARE(station.caption, u"1.000"_s);
        }
    }

    void designCaptionStillTakesWeights()
    {
        PaperStation station({});
        station.name = u"Müşteri Seçin"_s;
        hear(station, u"   500kg\r"_s);
        QCOMPARE(station.caption, u"500"_s);
    }

    void otherEventsOnlyEmptyTheBuffers()
    {
        PaperStation station(u"1.000"_s);
        for (const int event : {0, 1, 3, 7, 1001, 1004, 1009, 1011}) {
            RaisingControl control(u"  1234kg\r"_s, event);
            control.raise(station);
            QCOMPARE(station.caption, u"1.000"_s);
            QCOMPARE(control.steps, emptied);
        }
    }

    void readErrorReopensThePort()
    {
        PaperStation station(u"1.000"_s);
        RaisingControl control(u"  1234kg\r"_s, events::readError);
        control.raise(station);
        QCOMPARE(control.steps, (QStringList{u"close"_s, u"events"_s, u"open"_s} + emptied));
        QCOMPARE(station.caption, u"1.000"_s);
    }

    void failedReopeningIsSilent()
    {
        PaperStation station(u"1.000"_s);
        RaisingControl control({}, events::readError);
        control.failures[u"open"_s] = errors::invalidPortNumber;
        control.raise(station);
        QVERIFY(!control.open);
        QCOMPARE(control.steps, (QStringList{u"close"_s, u"events"_s, u"open"_s} + emptied));
    }

    void eventTellsWhatItBrought_data()
    {
        addColumns<int, QString, QString, EventOutcome>("event", "name", "burst", "heard");
        QTest::newRow("a line") << events::received << u"Ali"_s << u"   500kg\r"_s << EventOutcome::line;
        QTest::newRow("a text that is shown already")
            << events::received << u"Ali"_s << u"Net\r"_s << EventOutcome::line;
        QTest::newRow("no carriage return") << events::received << u"Ali"_s << u"   500kg"_s << EventOutcome::halfLine;
        QTest::newRow("no name") << events::received << QString() << u"   500kg\r"_s << EventOutcome::nothing;
        QTest::newRow("read error") << events::readError << u"Ali"_s << QString() << EventOutcome::nothing;
        QTest::newRow("another event") << 1009 << u"Ali"_s << u"   500kg\r"_s << EventOutcome::nothing;
    }

    void eventTellsWhatItBrought()
    {
        QFETCH(int, event);
        QFETCH(QString, name);
        QFETCH(QString, burst);
        PaperStation station(u"Net\r"_s);
        station.name = name;
        QTEST(RaisingControl(burst, event).raise(station), "heard");
    }
};

QTEST_APPLESS_MAIN(WeightLine)
#include "weight_line.moc"
