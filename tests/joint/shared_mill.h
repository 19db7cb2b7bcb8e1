#pragma once

#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/postgres/join.h"
#include "store/postgres/server_settings.h"
#include "tests/doors/private_postgres.h"
#include "tests/joint/rows_in.h"
#include "tests/joint/shared_counter.h"
#include "tests/support/files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <memory>
#include <string>

/// A mill with a register on the test program's own server, and the folders of its counters.
class SharedMill {
public:
    /// The tables lie in `place`, an empty folder, or with the server's own data.
    explicit SharedMill(const std::filesystem::path& place = {}) : database_(server().database(place)) {}

    static PrivatePostgres& server()
    {
        static PrivatePostgres one;
        return one;
    }

    /// The folder of a counter whose file is in the register.
    QString folder(int counter, const QString& port = u"5432"_s)
    {
        QString path = emptyFolder(counter, port);
        join(path);
        return path;
    }
    QString emptyFolder(int counter, const QString& port = u"5432"_s)
    {
        QString path = folder_.filePath(u"hat%1"_s.arg(counter));
        QDir().mkpath(path);
        writeIni(path, counter, port);
        mill::createDatabase(platform::systemDisk(), file(path), jet::turkish, jet::DateTime{45000});
        return path;
    }
    void writeIni(const QString& path, int counter, const QString& port) const
    {
        writeFile((path + u"/Sunucu.ini"_s).toStdString(),
                  "[Sunucu]\nAdres=" + server().folder().string() + "\nPort=" + port.toStdString() + "\nVeritabani=" +
                      database_ + "\nKullanici=hat1\nSayac=Hat " + std::to_string(counter) + "\nDefter=Değirmen\n");
    }
    static std::filesystem::path file(const QString& folder) { return (folder + u"/Yag.mdb"_s).toStdString(); }
    static postgres::Carried join(const QString& folder, bool merge = false)
    {
        qputenv("PGPASSWORD", "sahip");
        const auto carried = postgres::joinRegister(
            platform::systemDisk(), postgres::readServerSettings(platform::systemDisk(), folder.toStdString()),
            file(folder), {"sahip", merge}, jet::DateTime{45000}, {});
        qputenv("PGPASSWORD", "hat1");
        return carried;
    }
    QString sql(const std::string& statements) const
    {
        return QString::fromStdString(server().sql(statements, database_));
    }
    std::int64_t historyEnd() const
    {
        return sql("select coalesce(max(sira), 0) from presva.gecmis").trimmed().toLongLong();
    }

private:
    QTemporaryDir folder_;
    std::string database_;
};
