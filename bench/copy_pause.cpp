// How long the counter is held up while its database is copied in the background: a journal of a million pressings, a
// pressing stored every few milliseconds, and a timer that should fire every millisecond. Prints the longest gap
// between two firings and the longest time that storing took, with and without a copy being made. usage: copy_pause
// [FOLDER]   (default: a temporary one)

#include "bench/mill.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/backups.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include "store/slip_note.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

double ms(qint64 nanoseconds) { return double(nanoseconds) / 1e6; }

void makeJournal(const std::filesystem::path& file)
{
    mill::createDatabase(platform::systemDisk(), file, jet::turkish, jet::DateTime{45000});
    const auto database = jet::Database::open(platform::systemDisk(), file);
    jet::Transaction change(database->pager());
    jet::Table& journal = database->table(u"Hareket");
    const auto customers = long_mill::customers();
    long_mill::pressings([&](const long_mill::Pressing& p) {
        journal.insert({{0, jet::DateTime{p.moment}}, {1, p.olives}, {2, p.oil}, {6, customers[p.customer].name}});
    });
    change.commit();
}

struct Gaps {
    double longestGap = 0;   ///< of the event loop
    double longestStore = 0; ///< milliseconds for one pressing
    int stored = 0;
};

/// Lets events run and stores pressings until `over`.
Gaps work(store::Engine& engine, const store::Listing& journal, const std::function<bool()>& over)
{
    Gaps gaps;
    QElapsedTimer clock;
    clock.start();
    qint64 last = clock.nsecsElapsed();
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        gaps.longestGap = std::max(gaps.longestGap, ms(now - last));
        last = now;
    });
    tick.start(1);
    QTimer store;
    QObject::connect(&store, &QTimer::timeout, [&] {
        const qint64 from = clock.nsecsElapsed();
        engine.insert(journal, {{1, store::FieldValue(1000.0)}, {6, store::FieldValue(u"Ali"_s)}});
        gaps.longestStore = std::max(gaps.longestStore, ms(clock.nsecsElapsed() - from));
        ++gaps.stored;
    });
    store.start(50);
    while (!over()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return gaps;
}

void print(const char* what, const Gaps& gaps)
{
    std::printf("%-28s longest gap of the event loop %6.1f ms, longest storing %6.1f ms, %d pressings\n", what,
                gaps.longestGap, gaps.longestStore, gaps.stored);
}

void measureNote(const QString& folder)
{
    store::SlipNotes notes(platform::systemDisk(), (folder + "/Yag.mdb").toStdU16String());
    store::SlipNote note;
    note.pressing.customer = u"Ayşe Öztürk"_s;
    constexpr int times = 200;
    std::vector<double> taken;
    for (int i = 0; i < times; ++i) {
        QElapsedTimer clock;
        clock.start();
        note.job = i + 1;
        notes.write(note);
        notes.strike();
        taken.push_back(ms(clock.nsecsElapsed()));
    }
    std::ranges::sort(taken);
    std::printf("the note of a slip adds %.1f ms (median), %.1f ms at most, of %d\n", taken[times / 2], taken.back(),
                times);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QTemporaryDir temporary;
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : temporary.path();
    QDir().mkpath(folder);
    const QString file = folder + "/Yag.mdb";
    if (!QFileInfo::exists(file)) makeJournal(file.toStdU16String());
    QDir(folder + "/Yedek").removeRecursively();
    std::printf("journal: %.0f MB\n", double(QFileInfo(file).size()) / 1e6);

    store::JetDatabases databases(platform::systemDisk());
    const auto engine = databases.open(file);
    const store::Listing journal = engine->open(u"Hareket"_s);
    engine->insert(journal, {{6, store::FieldValue(u"Ali"_s)}}); // the first one verifies the table

    QElapsedTimer clock;
    clock.start();
    print("no copy:", work(*engine, journal, [&] { return clock.elapsed() > 5000; }));

    store::Backups backups(platform::systemDisk(), folder.toStdU16String());
    backups.onFailure([](const QString& sentence) { std::printf("%s\n", qPrintable(sentence)); });
    const QDateTime now = QDateTime::currentDateTime();
    const QString copy = folder + now.date().toString(u"'/Yedek/Yag-'yyyy-MM-dd'.mdb'"_s);
    clock.start();
    backups.pressingStored(*engine, now);
    std::printf("beginning the copy took %.2f ms\n", ms(clock.nsecsElapsed()));
    print("while a copy is made:",
          work(*engine, journal, [&] { return QFileInfo::exists(copy) || clock.elapsed() > 300000; }));
    std::printf("the copy took %.1f s\n", double(clock.elapsed()) / 1000);
    backups.wait();

    clock.start();
    backups.beforeDeletion(*engine, now);
    std::printf("a copy before a deletion holds the counter up for %.1f s\n", double(clock.elapsed()) / 1000);
    measureNote(folder);
    return 0;
}
