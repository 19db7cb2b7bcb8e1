#include "platform/serial_ports.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace platform;
using namespace Qt::StringLiterals;

/// Which device answers to which port number, over folders that stand for the program's directory and the system.
class SerialPorts : public QObject {
    Q_OBJECT

private slots:
    void numbersFindTheirDevice_data();
    void numbersFindTheirDevice();
    void linkToAnUnpluggedAdapterKeepsItsNumber();
    void linksAreFollowedToTheRealDevice();
};

namespace {

void touch(const QString& path, const QByteArray& content = {})
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

SerialPortPlaces placesIn(const QTemporaryDir& root)
{
    SerialPortPlaces places;
    places.programDirectory = root.filePath(u"program"_s).toStdString();
    places.devices = root.filePath(u"dev"_s).toStdString();
    places.classes = root.filePath(u"class"_s).toStdString();
    return places;
}

} // namespace

void SerialPorts::numbersFindTheirDevice_data()
{
    QTest::addColumn<QStringList>("fitted");   // mainboard ports that exist
    QTest::addColumn<QStringList>("unfitted"); // nodes without a port behind them
    QTest::addColumn<QStringList>("adapters");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("device");
    const QStringList none;
    const QStringList four = {u"ttyS0"_s, u"ttyS1"_s, u"ttyS2"_s, u"ttyS3"_s};
    const QStringList usb = {u"ttyACM0"_s, u"ttyUSB10"_s, u"ttyUSB2"_s, u"ttyUSB0"_s};
    QTest::newRow("first mainboard port") << four << none << none << 1 << u"ttyS0"_s;
    QTest::newRow("fourth mainboard port") << four << none << none << 4 << u"ttyS3"_s;
    QTest::newRow("node without a port") << none << four << none << 1 << QString();
    QTest::newRow("first adapter") << four << none << usb << 5 << u"ttyUSB0"_s;
    QTest::newRow("adapters in the order of their numbers") << four << none << usb << 7 << u"ttyUSB10"_s;
    QTest::newRow("modems after adapters") << four << none << usb << 8 << u"ttyACM0"_s;
    QTest::newRow("adapter renamed when it was plugged in again")
        << none << four << QStringList{u"ttyUSB1"_s} << 5 << u"ttyUSB1"_s;
    QTest::newRow("no such adapter") << none << none << usb << 9 << QString();
    QTest::newRow("a fitted fifth port goes before adapters")
        << QStringList{u"ttyS4"_s} << none << usb << 5 << u"ttyS4"_s;
    QTest::newRow("number 0") << four << none << usb << 0 << QString();
    QTest::newRow("number 17") << QStringList{u"ttyS16"_s} << none << usb << 17 << QString();
}

void SerialPorts::numbersFindTheirDevice()
{
    QFETCH(QStringList, fitted);
    QFETCH(QStringList, unfitted);
    QFETCH(QStringList, adapters);
    QFETCH(int, number);
    QFETCH(QString, device);
    const QTemporaryDir root;
    QVERIFY(QDir(root.path()).mkpath(u"dev"_s));
    for (const QString& name : fitted + unfitted + adapters) touch(root.filePath("dev/"_L1 + name));
    for (const QString& name : fitted) touch(root.filePath("class/"_L1 + name + "/type"_L1), "4\n");
    for (const QString& name : unfitted) touch(root.filePath("class/"_L1 + name + "/type"_L1), "0\n");

    const auto found = serialPort(number, placesIn(root));
    QCOMPARE(found ? QString::fromStdString(found->filename().string()) : QString(), device);
}

void SerialPorts::linkToAnUnpluggedAdapterKeepsItsNumber()
{
    const QTemporaryDir root;
    touch(root.filePath(u"dev/ttyUSB0"_s));
    QVERIFY(QDir(root.path()).mkpath(u"program"_s));
    const QString link = root.filePath(u"program/com5"_s);
    QVERIFY(QFile::link(root.filePath(u"dev/serial/by-id/usb-scale"_s), link));
    QCOMPARE(QString::fromStdString(serialPort(5, placesIn(root)).value().string()), link);
    QVERIFY(!serialPort(6, placesIn(root)).has_value());
}

void SerialPorts::linksAreFollowedToTheRealDevice()
{
    const QTemporaryDir root;
    touch(root.filePath(u"dev/ttyUSB3"_s));
    QVERIFY(QDir(root.path()).mkpath(u"program"_s));
    QVERIFY(QFile::link(root.filePath(u"dev/ttyUSB3"_s), root.filePath(u"program/com3"_s)));
    const auto found = serialPort(3, placesIn(root)).value();
    QCOMPARE(QString::fromStdString(realDevice(found).string()),
             QFileInfo(root.filePath(u"dev/ttyUSB3"_s)).canonicalFilePath());
}

QTEST_APPLESS_MAIN(SerialPorts)
#include "serial_ports.moc"
