#include "tests/joint/tried_databases.h"

#include "files/error.h"
#include "files/memory_disk.h"
#include "mill/queries.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "store/postgres/carry.h"
#include "store/postgres/join.h"
#include "store/postgres/shared_tables.h"
#include "tests/joint/rows_in.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace {

constexpr jet::DateTime made{45000};

std::filesystem::path fileOf(const QString& path) { return path.toStdU16String(); }

bool isMill(files::Disk& disk, const QString& path)
{
    const auto database = jet::Database::open(disk, fileOf(path), jet::Pager::Mode::readOnly);
    return database->hasTable(mill::Cari::table) && database->hasTable(mill::Hareket::table) &&
           !postgres::placeIn(*database);
}

} // namespace

TriedDatabases::TriedDatabases(files::Disk& disk, Line line) : disk_(disk), line_(line), files_(disk), shared_(files_)
{
}

TriedDatabases::~TriedDatabases()
{
    for (auto& [path, counter] : counters_) {
        QString why;
        try {
            why = lost(path, counter);
        } catch (const std::exception& error) {
            why = QString::fromUtf8(error.what());
        }
        if (!why.isEmpty()) QTest::qFail(qPrintable(u"the register: "_s + why), __FILE__, __LINE__);
    }
}

std::shared_ptr<store::Engine> TriedDatabases::open(const QString& path)
{
    if (!overRegister()) return files_.open(path);
    if (!seen_.contains(path)) {
        Counter counter;
        seen_[path] = join(path, counter);
        if (seen_[path]) counters_[path] = std::move(counter);
    }
    std::shared_ptr<store::Engine> engine = shared_.open(path);
    if (const auto found = counters_.find(path); found != counters_.end() && line_ == Line::toServer)
        giveLine(found->second, shared_.sharedEngine(path));
    return engine;
}

bool TriedDatabases::join(const QString& path, Counter& counter) const
{
    try {
        if (!disk_.exists(fileOf(path)) || !isMill(disk_, path)) return false;
        const std::string name = QUuid::createUuid().toString(QUuid::Id128).toStdString();
        if (line_ == Line::none) {
            const auto database = jet::Database::open(disk_, fileOf(path));
            jet::Transaction change(database->pager());
            postgres::putPlace(*database, {name, name, 0, {}}, made);
            change.commit();
            return false; // nobody to compare with
        }
        counter.settings =
            postgres::readServerSettings(platform::systemDisk(), fileOf(qEnvironmentVariable("PRESVA_REGISTER")));
        counter.settings.book = name;
        postgres::joinRegister(disk_, counter.settings, fileOf(path), {.user = "sahip", .create = true}, made, {});
        return true;
    } catch (const files::Error& error) {
        // One that is away must not pass for a file of another maker.
        if (error.fault() == files::Fault::server) throw;
        qInfo("not in a register: %s", error.what());
        return false;
    }
}

void TriedDatabases::giveLine(Counter& counter, const std::shared_ptr<shared::SharedEngine>& engine) const
{
    if (!engine || counter.engine.lock() == engine) return;
    counter.engine = engine;
    counter.line = std::make_unique<postgres::SharedLine>(counter.settings, engine->place(), engine->waiting(), [] {});
    engine->onWaiting([line = counter.line.get()](const auto& changes) { line->bring(changes); });
}

QString TriedDatabases::lost(const QString& path, Counter& counter)
{
    const std::shared_ptr<store::Engine> held = shared_.open(path);
    const std::shared_ptr<shared::SharedEngine> engine = shared_.sharedEngine(path);
    if (!engine) return u"the file has left it"_s;
    giveLine(counter, engine);
    constexpr int longest = 20000; // milliseconds
    QElapsedTimer time;
    std::string why;
    for (time.start(); !engine->waiting().empty() && time.elapsed() < longest; QThread::msleep(1)) {
        const postgres::News news = counter.line->take();
        why = news.why;
        engine->take(news.lines);
    }
    engine->onWaiting({});
    counter.line.reset();
    if (!engine->waiting().empty())
        return u"%1 changes did not arrive; %2"_s.arg(engine->waiting().size()).arg(QString::fromStdString(why));

    files::MemoryDisk memory;
    const QString back = u"geri.mdb"_s;
    postgres::fromServer(memory, counter.settings, fileOf(back), {}, made, {});
    store::JetDatabases there(memory);
    for (const QString& table : {mill::customerTable, mill::journalTable}) {
        const QStringList here = rowsIn(*engine, table), arrived = rowsIn(*there.open(back), table);
        if (here != arrived)
            return u"%1 has here\n%2\nand there\n%3"_s.arg(table, here.join(u'\n'), arrived.join(u'\n'));
    }
    return {};
}
