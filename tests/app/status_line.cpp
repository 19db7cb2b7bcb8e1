#include "app/status_line.h"
#include <QtTest>

using namespace app;

class StatusLineTest : public QObject {
    Q_OBJECT

private slots:
    void closedPortIsSaidSo();
    void openPortWaitsForItsFirstWeight();
    void whatIsNoWeightIsSaidUntilAWeightComes();
    void ageOfTheLastWeightGrows();
    void factsStandSideBySide();
    void noticeStandsFirst();
    void idleLineHasNoTimer();
};

void StatusLineTest::closedPortIsSaidSo()
{
    StatusLine line(nullptr);
    QCOMPARE(line.text(), QStringLiteral("Terazi: bağlı değil"));
    line.portOpened(3);
    line.portClosed();
    QCOMPARE(line.text(), QStringLiteral("Terazi: bağlı değil"));
    line.portClosed(QStringLiteral("Com3 açılamadı, aygıt takılı değil"));
    QCOMPARE(line.text(), QStringLiteral("Terazi: Com3 açılamadı, aygıt takılı değil"));
}

void StatusLineTest::openPortWaitsForItsFirstWeight()
{
    StatusLine line(nullptr);
    line.portOpened(3);
    QCOMPARE(line.text(), QStringLiteral("Com3: tartım bekleniyor"));
    line.weightArrived();
    QCOMPARE(line.text(), QStringLiteral("Com3: tartım geliyor"));
}

void StatusLineTest::whatIsNoWeightIsSaidUntilAWeightComes()
{
    StatusLine line(nullptr);
    line.portOpened(3);
    line.lineNotUnderstood();
    QCOMPARE(line.text(), QStringLiteral("Com3: gelen satır ağırlık değil"));
    line.weightArrived();
    QCOMPARE(line.text(), QStringLiteral("Com3: tartım geliyor"));
    line.lineNotUnderstood();
    line.portClosed();
    line.portOpened(3);
    QCOMPARE(line.text(), QStringLiteral("Com3: tartım bekleniyor"));
}

void StatusLineTest::ageOfTheLastWeightGrows()
{
    StatusLine line(nullptr);
    line.show();
    line.portOpened(1);
    line.weightArrived();
    QTRY_COMPARE_WITH_TIMEOUT(line.accessibleName(), QStringLiteral("Com1: son tartım 1 sn önce"), 3000);
    line.weightArrived();
    QCOMPARE(line.accessibleName(), QStringLiteral("Com1: tartım geliyor"));
}

void StatusLineTest::factsStandSideBySide()
{
    StatusLine line(nullptr);
    line.setPrinter(QStringLiteral("Yazıcı: hazır (Fis80)"));
    line.setDataFile(QStringLiteral("Yag.mdb: 6.201 kayıt"));
    QVERIFY(line.text().contains(QStringLiteral("Yazıcı: hazır (Fis80)")));
    QVERIFY(line.text().endsWith(QStringLiteral("Yag.mdb: 6.201 kayıt")));
}

void StatusLineTest::noticeStandsFirst()
{
    StatusLine line(nullptr);
    line.setPrinter(QStringLiteral("Yazıcı: hazır (Fis80)"));
    const QString facts = line.text();
    line.setNotice(QStringLiteral("Fiş yazılmadı."));
    QCOMPARE(line.accessibleName(), QStringLiteral("Fiş yazılmadı.   ·   ") + facts);
    line.setNotice({});
    QCOMPARE(line.accessibleName(), facts);
}

void StatusLineTest::idleLineHasNoTimer()
{
    StatusLine line(nullptr);
    line.show();
    const auto* timer = line.findChild<QTimer*>();
    const auto ageing = [&] { return timer && timer->isActive(); };
    QVERIFY(!ageing());
    line.portOpened(1);
    QVERIFY(!ageing());
    line.weightArrived();
    QVERIFY(ageing());
    line.hide();
    QVERIFY(!ageing());
    line.show();
    QVERIFY(ageing());
    line.portClosed();
    QVERIFY(!ageing());
}

QTEST_MAIN(StatusLineTest)
#include "status_line.moc"
