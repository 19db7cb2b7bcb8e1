#include "tests/joint/shared_mill.h"

#include <QtTest>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

bool write(const char* file, const std::string& text)
{
    const int descriptor = ::open(file, O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool done = ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(descriptor);
    return done;
}

/// Mounts of this process and its children alone; as somebody without privileges in a namespace of users, too.
bool mayMount()
{
    const uid_t user = ::getuid();
    const gid_t group = ::getgid();
    if (user == 0) {
        if (::unshare(CLONE_NEWNS) != 0) return false;
    } else {
        const auto itself = [](auto id) { return std::to_string(id) + " " + std::to_string(id) + " 1"; };
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !write("/proc/self/setgroups", "deny") ||
            !write("/proc/self/uid_map", itself(user)) || !write("/proc/self/gid_map", itself(group)))
            return false;
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace

/// The disk of the server is full: nothing is lost, and everything goes on by itself when there is room again.
class FullDisk : public QObject {
    Q_OBJECT

    bool mounts_ = false;

private slots:
    void initTestCase()
    {
        mounts_ = mayMount(); // before the server is started, so that it sees the same
        if (!mounts_) QSKIP("nobody may mount a file system here");
    }

    void changesWaitUntilThereIsRoomAgain()
    {
        // A small file system holds the register's tables; what the server needs for itself is elsewhere.
        const std::filesystem::path small = SharedMill::server().folder() / "dar";
        std::filesystem::create_directory(small);
        QCOMPARE(::mount("none", small.c_str(), "tmpfs", 0, "size=24m,mode=777"), 0);
        const std::filesystem::path place = small / "tablolar";
        std::filesystem::create_directory(place);
        const auto unmount = qScopeGuard([&] { ::umount2(small.c_str(), MNT_DETACH); });
        SharedMill mill(place);
        std::optional<SharedCounter> one(std::in_place, mill.folder(1)), two(std::in_place, mill.folder(2));

        mill.sql("create table dolgu (bayt text)");
        const std::string database = mill.sql("select current_database()").trimmed().toStdString();
        for (const int size : {1000000, 8000, 100})
            while (SharedMill::server()
                       .psql("insert into dolgu select string_agg(md5(random()::text), '') from generate_series(1, " +
                                 std::to_string(size / 32) + ")",
                             database)
                       .code == 0)
                continue;

        int pressed = 0;
        const auto isFull = [&] { return one->why.find("Sunucunun diski dolu") != std::string::npos; };
        while (!isFull() && pressed < 20000) {
            ++pressed;
            QVERIFY(one->press(u"Müşteri %1"_s.arg(pressed % 50), pressed));
            one->take();
        }
        QVERIFY2(one->until(isFull), one->why.c_str());
        QVERIFY(one->connected);
        for (int i = 0; i < 20; ++i) QVERIFY(two->press(u"Veli"_s, 50000 + i));
        QVERIFY(one->shared().waitingPressings() > 0);
        const QString fullAt = mill.sql("select count(*) from presva.hareket").trimmed();

        mill.sql("drop table dolgu");
        for (int round = 0; round < 2; ++round)
            for (SharedCounter* each : {&*one, &*two})
                QVERIFY(each->until([&] { return each->shared().waiting().empty(); }));
        for (SharedCounter* each : {&*one, &*two}) QVERIFY(each->settled(mill.historyEnd()));
        qInfo("full at %s pressings of %d", qPrintable(fullAt), pressed + 20);
        QCOMPARE(mill.sql("select count(*), count(distinct zeytin) from presva.hareket"),
                 u"%1|%1\n"_s.arg(pressed + 20));
        QCOMPARE(rowsIn(one->engine(), mill::journalTable), rowsIn(two->engine(), mill::journalTable));
        QCOMPARE(rowsIn(one->engine(), mill::journalTable).size(), pressed + 20);
        QCOMPARE(rowsIn(one->engine(), mill::customerTable), rowsIn(two->engine(), mill::customerTable));
    }
};

QTEST_GUILESS_MAIN(FullDisk)
#include "full_disk.moc"
