#include "scale/drain_socket.h"
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

using namespace scale;

/// Data that arrive over the network are read and thrown away.
class DrainSocketTest : public QObject {
    Q_OBJECT

private slots:
    void streamDataAreDiscarded();
    void datagramsAreDiscarded();
    void unconnectedSocketDoesNothing();
};

void DrainSocketTest::streamDataAreDiscarded()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    DrainSocket drain(QAbstractSocket::TcpSocket);
    drain.socket().connectToHost(QHostAddress(QHostAddress::LocalHost), server.serverPort());
    QTRY_VERIFY(server.hasPendingConnections());
    QTcpSocket* const sender = server.nextPendingConnection();
    for (int i = 0; i < 100; ++i) {
        sender->write(QByteArray(10000, 'x'));
        QCoreApplication::processEvents();
    }
    QTRY_COMPARE(drain.discarded(), 1000000);
    QCOMPARE(drain.socket().bytesAvailable(), 0);
}

void DrainSocketTest::datagramsAreDiscarded()
{
    DrainSocket drain(QAbstractSocket::UdpSocket);
    QVERIFY(drain.socket().bind(QHostAddress::LocalHost));
    QUdpSocket sender;
    for (int i = 0; i < 50; ++i) {
        QCOMPARE(sender.writeDatagram("weight", QHostAddress::LocalHost, drain.socket().localPort()), 6);
        QTRY_COMPARE(drain.discarded(), 6 * (i + 1));
    }
}

void DrainSocketTest::unconnectedSocketDoesNothing()
{
    DrainSocket drain(QAbstractSocket::TcpSocket);
    QTest::qWait(20);
    QCOMPARE(drain.socket().state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(drain.discarded(), 0);
}

QTEST_GUILESS_MAIN(DrainSocketTest)
#include "drain_socket.moc"
