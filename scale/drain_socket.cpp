#include "scale/drain_socket.h"

#include <QNetworkDatagram>
#include <QUdpSocket>

namespace scale {

DrainSocket::DrainSocket(std::unique_ptr<QAbstractSocket> socket, QObject* parent)
    : QObject(parent), socket_(std::move(socket))
{
    connect(socket_.get(), &QAbstractSocket::readyRead, this, &DrainSocket::drain);
}

void DrainSocket::drain()
{
    if (auto* const datagrams = qobject_cast<QUdpSocket*>(socket_.get())) {
        while (datagrams->hasPendingDatagrams()) datagrams->receiveDatagram();
    } else {
        socket_->readAll();
    }
}

} // namespace scale
