#include "scale/drain_socket.h"
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

using namespace scale;

/// Data that arrive over the network are read and thrown away.
class DrainSocketTest : public QObject {
    Q_OBJECT

private slots:
    void streamDataAreDiscarded()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        auto owned = std::make_unique<QTcpSocket>();
        QTcpSocket& socket = *owned;
        const QSignalSpy arrived(&socket, &QAbstractSocket::readyRead);
        const DrainSocket drain(std::move(owned));
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), server.serverPort());
        QTRY_VERIFY(server.hasPendingConnections());
        QTcpSocket* const sender = server.nextPendingConnection();
        for (int i = 0; i < 100; ++i) {
            sender->write(QByteArray(10000, 'x'));
            QCoreApplication::processEvents();
        }
        sender->disconnectFromHost(); // which the other side hears only after the last byte
        QTRY_COMPARE(socket.state(), QAbstractSocket::UnconnectedState);
        QVERIFY(!arrived.isEmpty());
        QCOMPARE(socket.bytesAvailable(), 0);
    }

    void datagramsAreDiscarded()
    {
        auto owned = std::make_unique<QUdpSocket>();
        QUdpSocket& socket = *owned;
        const QSignalSpy arrived(&socket, &QAbstractSocket::readyRead);
        const DrainSocket drain(std::move(owned));
        QVERIFY(socket.bind(QHostAddress::LocalHost));
        QUdpSocket sender;
        for (int i = 0; i < 50; ++i) {
            QCOMPARE(sender.writeDatagram("weight", QHostAddress::LocalHost, socket.localPort()), 6);
            QTRY_COMPARE(arrived.size(), i + 1);
            QVERIFY(!socket.hasPendingDatagrams());
        }
    }

    void unconnectedSocketDoesNothing()
    {
        auto owned = std::make_unique<QTcpSocket>();
        const QTcpSocket& socket = *owned;
        const QSignalSpy arrived(&socket, &QAbstractSocket::readyRead);
        const DrainSocket drain(std::move(owned));
        QTest::qWait(20);
        QCOMPARE(socket.state(), QAbstractSocket::UnconnectedState);
        QVERIFY(arrived.isEmpty());
    }
};

QTEST_GUILESS_MAIN(DrainSocketTest)
#include "drain_socket.moc"
