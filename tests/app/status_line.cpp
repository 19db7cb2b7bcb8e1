#include "app/status_line.h"
#include <QtTest>
#include <optional>

using namespace Qt::StringLiterals;

using namespace app;

class StatusLineTest : public QObject {
    Q_OBJECT

    std::optional<StatusLine> line;

private slots:
    void init() { line.emplace(nullptr); }
    void cleanup() { line.reset(); }

    void closedPortIsSaidSo()
    {
        QCOMPARE(line->text(), u"Terazi: bağlı değil"_s);
        line->portOpened(3);
        line->portClosed();
        QCOMPARE(line->text(), u"Terazi: bağlı değil"_s);
        line->portClosed(u"Com3 açılamadı, aygıt takılı değil"_s);
        QCOMPARE(line->text(), u"Terazi: Com3 açılamadı, aygıt takılı değil"_s);
    }

    void openPortWaitsForItsFirstWeight()
    {
        line->portOpened(3);
        QCOMPARE(line->text(), u"Com3: bağlı, tartım bekleniyor"_s);
        line->weightArrived();
        QCOMPARE(line->text(), u"Com3: tartım geliyor"_s);
    }

    void whatIsNoWeightIsSaidUntilAWeightComes()
    {
        line->portOpened(3);
        line->lineNotUnderstood();
        QCOMPARE(line->text(), u"Com3: tanınmayan satır"_s);
        line->weightArrived();
        QCOMPARE(line->text(), u"Com3: tartım geliyor"_s);
        line->lineNotUnderstood();
        line->portClosed();
        line->portOpened(3);
        QCOMPARE(line->text(), u"Com3: bağlı, tartım bekleniyor"_s);
    }

    void ageOfTheLastWeightGrows()
    {
        line->show();
        line->portOpened(1);
        line->weightArrived();
        QTRY_COMPARE_WITH_TIMEOUT(line->accessibleName(), u"Com1: son tartım 1 sn önce"_s, 3000);
        line->weightArrived();
        QCOMPARE(line->accessibleName(), u"Com1: tartım geliyor"_s);
    }

    void factsStandSideBySide()
    {
        line->setPrinter(u"Yazıcı: hazır (Fis80)"_s);
        line->setDataFile(u"Yag.mdb: 6.201 kayıt"_s);
        QVERIFY(line->text().contains(u"Yazıcı: hazır (Fis80)"_s));
        QVERIFY(line->text().endsWith(u"Yag.mdb: 6.201 kayıt"_s));
    }

    void noticeStandsFirst()
    {
        line->setPrinter(u"Yazıcı: hazır (Fis80)"_s);
        const QString facts = line->text();
        line->setNotice(u"Fiş yazılmadı."_s);
        QCOMPARE(line->accessibleName(), u"Fiş yazılmadı.   ·   "_s + facts);
        line->setNotice({});
        QCOMPARE(line->accessibleName(), facts);
    }

    void whatMustBeSeenStaysUntilItIsTaken()
    {
        int taps = 0;
        line->onClick([&] { ++taps; });
        line->keepUntilSeen(u"Yag.mdb-slip-1: bir"_s);
        line->setNotice(u"Fiş basılmadı."_s);
        line->keepUntilSeen(u"Yag.mdb-slip-2: iki"_s);
        line->keepUntilSeen(u"Yag.mdb-slip-1: bir"_s); // said twice, kept once
        line->setNotice({});
        line->setNotice(u"Döküm yazılmadı."_s);
        QVERIFY2(line->accessibleName().startsWith(u"⚠ Okumak için dokunun: Yag.mdb-slip-1: bir · Yag.mdb-slip-2: "
                                                   "iki   ·   Döküm yazılmadı.   ·   "_s),
                 qPrintable(line->accessibleName()));
        QTest::mouseClick(&*line, Qt::LeftButton);
        QCOMPARE(taps, 1);
        QCOMPARE(line->takeUnseen(), (QStringList{u"Yag.mdb-slip-1: bir"_s, u"Yag.mdb-slip-2: iki"_s}));
        QVERIFY(line->accessibleName().startsWith(u"Döküm yazılmadı."_s));
        QCOMPARE(line->takeUnseen(), QStringList());
    }

    void twoLongSentencesShareTheRoomAndLeaveTheFactsWhole()
    {
        line->resize(1366, 28);
        line->setDataFile(u"Yag.mdb: 6.201 kayıt"_s);
        const QString facts = line->text();
        line->keepUntilSeen(u"Yag.mdb-slip-1: "_s + QString(300, u'x'));
        line->setNotice(u"Fiş basılmadı: "_s + QString(300, u'y'));
        const QImage both = line->grab().toImage();
        line->setNotice(u"Fiş basılmadı: "_s + QString(299, u'y') + u'z');
        QVERIFY(both != line->grab().toImage()); // its end is seen
        line->setNotice(u"Fiş basılmadı: "_s + QString(300, u'y'));
        line->setDataFile(u"Yag.mdb: 6.202 kayıt"_s);
        QVERIFY(both != line->grab().toImage()); // and so are the facts
    }

    void aLongNoticeLeavesTheFactsWhole_data()
    {
        QTest::addColumn<int>("width");
        for (const int width : {800, 1024, 1366}) QTest::addRow("%d pixels", width) << width;
    }

    void aLongNoticeLeavesTheFactsWhole()
    {
        QFETCH(int, width);
        constexpr int margins = 24;
        line->resize(width, 28);
        line->portClosed(u"Com3 açılamadı, kullanma izni yok"_s);
        line->setPrinter(u"Yazıcı: hazır (Fis80)"_s);
        line->setDataFile(u"Yag.mdb: 6.201 kayıt"_s);
        const QFontMetrics letters = line->fontMetrics();
        const QString facts = u"   ·   "_s + line->text();
        const QString file = u"Yag.mdb-slip-1: "_s;
        const QString notice =
            file + u"fiş 5 (Toplamlar, 123.456 kg) basılmış, kaydedilemiyor (“Toplamlar” raporun toplam satırının "
                   "adıdır; başka bir ad yazın, bu satır her raporda yeniden yapılır ve eskisi silinir); sıkımı elle "
                   "girin"_s;
        QVERIFY(letters.horizontalAdvance(notice + facts) > width - margins);
        line->setNotice(notice);
        const QImage painted = line->grab().toImage();

        // The same as a notice that is short enough: nothing but the notice has given way, and the file is still there.
        const QString fitting =
            letters.elidedText(notice, Qt::ElideMiddle, width - margins - letters.horizontalAdvance(facts));
        QVERIFY(letters.horizontalAdvance(fitting + facts) <= width - margins);
        if (width >= 1024) QVERIFY2(fitting.startsWith(file) && fitting.endsWith(u"elle girin"), qPrintable(fitting));
        line->setNotice(fitting);
        QCOMPARE(painted, line->grab().toImage());
        line->setNotice(u"Fiş yazılmadı."_s);
        QVERIFY(painted != line->grab().toImage());
    }

    void aLineThatIsCutIsToldWholeAndOneThatFitsIsNot()
    {
        line->resize(1366, 28);
        line->setNotice(u"Fiş yazılmadı."_s);
        line->setDataFile(u"Yag.mdb: 6.201 kayıt"_s);
        QCOMPARE(line->cutShort(), QStringList());
        const QString refused = u"Sunucu: 3 sıkım bekliyor. "_s + QString(300, u'x');
        line->setServer(refused);
        QCOMPARE(line->cutShort(),
                 (QStringList{u"Fiş yazılmadı."_s, u"Terazi: bağlı değil"_s, u"Yag.mdb: 6.201 kayıt"_s, refused}));
        line->setNotice({});
        QCOMPARE(line->cutShort().size(), 3);
        line->resize(30000, 28);
        QCOMPARE(line->cutShort(), QStringList());
    }

    void idleLineHasNoTimer()
    {
        line->show();
        const auto* timer = line->findChild<QTimer*>();
        const auto ageing = [&] { return timer && timer->isActive(); };
        QVERIFY(!ageing());
        line->portOpened(1);
        QVERIFY(!ageing());
        line->weightArrived();
        QVERIFY(ageing());
        line->hide();
        QVERIFY(!ageing());
        line->show();
        QVERIFY(ageing());
        line->portClosed();
        QVERIFY(!ageing());
    }
};

QTEST_MAIN(StatusLineTest)
#include "status_line.moc"
