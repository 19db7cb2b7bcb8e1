#pragma once

#include "tests/doors/delaying_proxy.h"
#include "tests/doors/private_postgres.h"

#include <QProcess>
#include <QString>
#include <memory>

/// A register on a server of its own, which two counters share: the measured one, whose line takes two milliseconds
/// more each way, and another one.
class RegisterMill {
public:
    /// Fills the register from the Yag.mdb of `measured`, and writes one for `other` from it.
    RegisterMill(QString measured, QString other);
    ~RegisterMill();
    RegisterMill(const RegisterMill&) = delete;
    RegisterMill& operator=(const RegisterMill&) = delete;

    /// The other counter books from now on, a pressing every so many milliseconds, until the object goes.
    bool startOther(int pause);
    /// How many pressings of that customer the register has.
    int pressingsOf(const QString& customer) const;
    /// How many lines its history has.
    int lines() const;

private:
    void writeIni(const QString& folder, int counter, int port) const;

    QString measured_, other_;
    PrivatePostgres server_;
    std::string database_ = server_.database();
    std::unique_ptr<DelayingProxy> line_;
    QProcess process_;
};
