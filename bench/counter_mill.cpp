#include "bench/counter_mill.h"

#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"

#include <QDir>
#include <QFile>
#include <cstdio>

namespace counter_mill {
namespace {

void fill(jet::Database& database, std::size_t pressings)
{
    jet::Transaction change(database.pager());
    const std::vector<long_mill::Customer> customers = long_mill::customers();
    jet::Table& registerTable = database.table(u"Cari");
    for (const long_mill::Customer& customer : customers)
        registerTable.insert({{0, customer.name},
                              {1, static_cast<double>(customer.share)},
                              {2, customer.container},
                              {3, static_cast<double>(customer.fee) / 10000}});
    jet::Table& journal = database.table(u"Hareket");
    std::size_t earlier = long_mill::pressingCount - pressings;
    long_mill::pressings([&](const long_mill::Pressing& pressing) {
        if (earlier > 0) {
            --earlier;
            return;
        }
        journal.insert({{0, jet::DateTime{pressing.moment}},
                        {1, pressing.olives},
                        {2, pressing.oil},
                        {3, static_cast<double>(pressing.share)},
                        {4, pressing.entitlement},
                        {5, static_cast<double>(pressing.fee) / 10000},
                        {6, customers[pressing.customer].name}});
    });
    change.commit();
}

} // namespace

bool prepare(const QString& folder, std::size_t pressings)
{
    QDir().mkpath(folder);
    const QString path = QDir(folder).filePath("Yag.mdb");
    if (QFile::exists(path)) return true;
    try {
        const QString unfinished = path + ".new";
        QFile::remove(unfinished);
        const std::filesystem::path file = unfinished.toStdU16String();
        mill::createDatabase(platform::systemDisk(), file, jet::turkish, jet::DateTime{45000});
        fill(*jet::Database::open(platform::systemDisk(), file), pressings);
        return QFile::rename(unfinished, path);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return false;
    }
}

} // namespace counter_mill
