#pragma once

#include <QAbstractSocket>
#include <QObject>
#include <memory>

namespace scale {

/// A network socket that reads what arrives and throws it away. Nobody connects it, listens on it or sends over it; if
/// anything ever arrives all the same, it must not pile up.
class DrainSocket : public QObject {
    Q_OBJECT

public:
    explicit DrainSocket(QAbstractSocket::SocketType type, QObject* parent = nullptr);

    QAbstractSocket& socket() { return *socket_; }
    qint64 discarded() const { return discarded_; } ///< bytes so far

private:
    void drain();

    std::unique_ptr<QAbstractSocket> socket_;
    qint64 discarded_ = 0;
};

} // namespace scale
