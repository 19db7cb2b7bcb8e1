#include "scale/drain_socket.h"

#include <QNetworkDatagram>
#include <QTcpSocket>
#include <QUdpSocket>

namespace scale {

DrainSocket::DrainSocket(QAbstractSocket::SocketType type, QObject* parent) : QObject(parent)
{
    if (type == QAbstractSocket::UdpSocket)
        socket_ = std::make_unique<QUdpSocket>();
    else
        socket_ = std::make_unique<QTcpSocket>();
    connect(socket_.get(), &QAbstractSocket::readyRead, this, &DrainSocket::drain);
}

void DrainSocket::drain()
{
    if (auto* const datagrams = qobject_cast<QUdpSocket*>(socket_.get())) {
        while (datagrams->hasPendingDatagrams()) discarded_ += datagrams->receiveDatagram().data().size();
    } else {
        discarded_ += socket_->readAll().size();
    }
}

} // namespace scale
