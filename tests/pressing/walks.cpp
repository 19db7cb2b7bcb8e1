#include "paper_screen.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include <QtTest>
#include <functional>

namespace {

using pressing::Field;

struct Row {
    QString name, action, after, events, end;
};

QList<Row> walkRows()
{
    QFile file(QString::fromUtf8(WALKS_FILE));
    if (!file.open(QIODevice::ReadOnly)) return {};
    QList<Row> rows;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        if (line.isEmpty() || line.startsWith(u'#')) continue;
        QStringList c = line.split(u'\t');
        while (c.size() < 5) c << QString();
        rows << Row{c[0], c[1], c[2], c[3], c[4]};
    }
    return rows;
}

Field fieldNamed(const QString& name)
{
    for (Field field : pressing::allFields)
        if (pressing::nameOf(field) == name) return field;
    qFatal("no display of that name");
}

int keyOf(const QString& text)
{
    if (text == u"Boşluk") return pressing::keys::space;
    for (int k = 0; k < pressing::keyCount; ++k)
        if (QString::compare(pressing::keyCaptions()[k], text, Qt::CaseInsensitive) == 0) return k;
    qFatal("no key of that caption");
}

bool isEnglish(const QString& name)
{
    return name.startsWith("WI"_L1) || (name.size() == 4 && (name.startsWith("WM1"_L1) || name.startsWith("WN1"_L1)));
}

/// A Turkish figure as English settings write it, and the other way round.
QString mirrored(QString text)
{
    for (QChar& c : text) c = c == u'.' ? u',' : c == u',' ? u'.' : c;
    return text;
}

/// Walks that are the same under English settings but for their marks: no comma key is pressed in them.
bool isMirrored(const QString& walk)
{
    static const QStringList withComma = {"WA", "WB", "WC", "WD", "WE", "WI", "WN"};
    return !withComma.contains(walk.left(2));
}

/// The state that the steps of a walk start from.
void start(PaperScreen& screen, const QString& name)
{
    const QString walk = name.left(2);
    const bool english = isEnglish(name);
    const bool on = walk == "WJ" || walk == "WL" || walk == "WR" ||
                    QStringList{"WA", "WB", "WC", "WD", "WE", "WF", "WG", "WH", "WI"}.contains(walk);
    screen.put(Field::TxtLbl, "Ali");
    screen.put(Field::Label2, english ? "1,000" : "1.000");
    screen.put(Field::Label3, "900");
    screen.put(Field::Haklbl, "0");
    screen.put(Field::HakTut, "0");
    screen.put(Field::Verilen, "900");
    screen.put(Field::NakitLbl, "0");
    screen.putEntitlement(on);
    if (walk <= "WI") {
        screen.put(Field::Label3, "850");
        screen.put(Field::Verilen, "850");
        screen.putActive(Field::Haklbl);
    }
    if (walk == "WG") {
        screen.put(Field::Haklbl, "12,7");
        screen.put(Field::HakTut, "108");
        screen.put(Field::Verilen, "742");
    }
    if (walk == "WJ" || walk == "WL") {
        screen.put(Field::Haklbl, "12");
        screen.put(Field::HakTut, "108");
        screen.put(Field::Verilen, "792");
        screen.putActive(Field::Label3);
    }
    if (walk == "WK") screen.putActive(Field::Label3);
    if (walk == "WM" || walk == "WN" || walk == "WO" || walk == "WP") screen.putActive(Field::NakitLbl);
    if (walk == "WO") screen.put(Field::NakitLbl, "12,5");
    if (walk == "WP") screen.put(Field::NakitLbl, "1.250");
    if (walk == "WQ" || walk == "WR") {
        for (Field field : {Field::Label2, Field::Label3, Field::HakTut, Field::Verilen}) screen.put(field, "0");
        screen.putActive(Field::Label2);
        if (walk == "WR") screen.put(Field::Haklbl, "12");
    }
}

} // namespace

/// Keys and program-set captions, one after another, with every change event and its nesting.
class Walks : public QObject {
    Q_OBJECT

private slots:
    void everyKeyLeavesTheseCaptionsAndEvents_data()
    {
        addColumns<QString, bool>("walk", "otherMarks");
        QStringList seen;
        for (const Row& row : walkRows()) {
            QString walk = row.name.left(2);
            if (walk == "WS" || walk == "WT" || walk == "WU") walk = row.name; // each stands alone
            if (isEnglish(row.name)) walk += " en";
            if (!seen.contains(walk)) {
                seen << walk;
                QTest::newRow(qPrintable(walk)) << walk << false;
                if (!isEnglish(row.name) && isMirrored(walk))
                    QTest::newRow(qPrintable(walk + " with English marks")) << walk << true;
            }
        }
        QVERIFY(seen.size() > 30);
    }

    void everyKeyLeavesTheseCaptionsAndEvents()
    {
        QFETCH(QString, walk);
        QFETCH(bool, otherMarks);
        const auto written = [&](const QString& text) { return otherMarks ? mirrored(text) : text; };
        const bool english = walk.endsWith(" en"_L1);
        const QString name = walk.section(u' ', 0, 0);
        PaperScreen screen(english || otherMarks ? base::Regional::english() : base::Regional::turkish());
        start(screen, english ? name + "11" : name);
        for (Field field : pressing::allFields) screen.put(field, written(screen.caption(field, 0)));
        screen.toggleCapitals(); // small letters; the title-case step changes nothing in numbers

        int steps = 0;
        for (const Row& row : walkRows()) {
            const bool alone = name.size() > 2;
            if (alone ? row.name != name : row.name.left(2) != name || isEnglish(row.name) != english) continue;
            ++steps;
            const int error = errorOf([&] { act(screen, row, written); });
            QVERIFY2(error == (row.end == "E13" ? base::errors::typeMismatch : 0), qPrintable(row.name));
            const QString events = screen.takeEvents().join(u';');
            QVERIFY2(events == written(row.events),
                     qPrintable(row.name + "\n found    " + events + "\n expected " + written(row.events)));
            for (const QString& after : row.after.split(u';')) {
                const QString label = after.section('=', 0, 0), text = written(after.section('=', 1));
                const QString found = screen.caption(fieldNamed(label), 0);
                QVERIFY2(found == text, qPrintable(row.name + ": " + label + " is " + found + ", not " + text));
            }
        }
        QVERIFY(steps > 0);
        QVERIFY(screen.deepest <= 8);
    }

private:
    static void act(PaperScreen& screen, const Row& row, const std::function<QString(const QString&)>& written)
    {
        if (row.action.startsWith("key ")) return pressing::keyPressed(screen, screen, keyOf(row.action.mid(4)));

        static const QRegularExpression oil("^set (.*) (on|off)$");
        if (const auto m = oil.match(row.action); m.hasMatch()) {
            const bool on = m.captured(2) == "on";
            screen.putEntitlement(on);
            screen.put(Field::Haklbl, on ? "12" : "0");
            screen.put(Field::HakTut, on ? "108" : "0");
            screen.put(Field::Verilen, on ? "792" : "900");
            return screen.setCaption(Field::Label3, 0, written(m.captured(1)));
        }

        static const QRegularExpression fee("^(press fee=|fee )(.*) active (\\w+)=(.*)$");
        const auto m = fee.match(row.action);
        QVERIFY2(m.hasMatch(), qPrintable(row.action));
        const bool press = m.captured(1).startsWith("press");
        const Field active = fieldNamed(m.captured(3));
        screen.put(Field::Haklbl, "12");
        screen.put(active, written(m.captured(4)));
        screen.putActive(active);
        if (active == Field::Label2 && m.captured(4) == "1.234,50") {
            screen.put(Field::Label3, written("1.111"));
            screen.put(Field::Verilen, written("1.111"));
        }
        if (active == Field::Label3 && m.captured(4) == "850,5") screen.put(Field::Verilen, "851");
        if (row.name == "WT8") { // nothing to share, and a hand-over left from before
            screen.put(Field::Haklbl, "0");
            screen.put(Field::Verilen, "792");
        }
        if (press) {
            screen.put(Field::NakitLbl, written(m.captured(2)));
            pressing::entitlementSwitched(screen, 0);
        } else {
            if (row.name == "WU10") screen.put(Field::NakitLbl, "7");
            screen.setCaption(Field::NakitLbl, 0, written(m.captured(2)));
        }
    }
};

QTEST_GUILESS_MAIN(Walks)
#include "walks.moc"
