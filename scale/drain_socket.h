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
    explicit DrainSocket(std::unique_ptr<QAbstractSocket> socket, QObject* parent = nullptr);

private:
    void drain();

    std::unique_ptr<QAbstractSocket> socket_;
};

} // namespace scale
