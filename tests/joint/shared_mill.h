#pragma once

#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/postgres/join.h"
#include "store/postgres/server_settings.h"
#include "tests/doors/private_postgres.h"
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
    SharedMill() : database_(server().database()) {}

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

/// A table of a file as lines of text, in order; a journal without the sums of a report.
inline QStringList rowsIn(store::Engine& engine, const QString& table)
{
    const store::Listing all = engine.open(table);
    QStringList rows;
    for (const store::RowKey row : all.rows) {
        QStringList fields;
        for (int field = 0; field < static_cast<int>(all.fields.size()); ++field) {
            const store::FieldValue value = engine.field(all, row, field);
            if (const auto* const date = std::get_if<store::DateDays>(&value.raw()))
                fields << QString::number(date->days, 'g', 17);
            else if (value.isText())
                fields << value.text();
            else
                fields << (value.isNull() ? u"-"_s : QString::number(value.number().value_or(0), 'g', 17));
        }
        if (table != mill::journalTable || fields.last() != mill::totalsName) rows << fields.join(u'|');
    }
    rows.sort();
    return rows;
}
