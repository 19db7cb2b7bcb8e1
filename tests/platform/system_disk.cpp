#include "platform/system_disk.h"

#include "files/error.h"
#include "store/jet/pages/pager.h"
#include "tests/jet/blank_file.h"

#include <QtTest>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace jet;
using platform::systemDisk;

namespace {

template <class Action> std::optional<Fault> faultOf(Action&& action)
{
    try {
        action();
    } catch (const Error& error) {
        return error.fault();
    }
    return {};
}

/// Another program: a child process that does something, says so, and ends when the object does.
class OtherProgram {
public:
    explicit OtherProgram(const std::function<void()>& doing)
    {
        int said[2];
        int told[2];
        if (::pipe(said) != 0 || ::pipe(told) != 0) qFatal("no pipe");
        child_ = ::fork();
        if (child_ == 0) {
            ::close(said[0]);
            ::close(told[1]);
            char byte = 'd';
            try {
                doing();
            } catch (const Error&) {
                byte = 'f';
            }
            if (::write(said[1], &byte, 1) != 1) ::_exit(1);
            // Until the parent closes its end.
            [[maybe_unused]] const auto end = ::read(told[0], &byte, 1);
            ::_exit(0);
        }
        ::close(said[1]);
        ::close(told[0]);
        tell_ = told[1];
        char byte = 0;
        done_ = ::read(said[0], &byte, 1) == 1 && byte == 'd';
        ::close(said[0]);
    }
    ~OtherProgram()
    {
        ::close(tell_);
        ::waitpid(child_, nullptr, 0);
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;
    bool done() const { return done_; }

private:
    pid_t child_ = -1;
    int tell_ = -1;
    bool done_ = false;
};

/// Runs the action as an ordinary account; the superuser is refused nothing.
bool asOrdinaryAccount(const std::function<bool()>& action)
{
    const pid_t child = ::fork();
    if (child == 0) {
        if (::geteuid() == 0 && ::setuid(65534) != 0) ::_exit(2);
        ::_exit(action() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

class SystemDiskTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void readsAndWritesWhereTold();
    void readEndsWithTheFile();
    void newFileMustBeNew();
    void refusalsCarryTheirFaultAndThePath();
    void protectedFilesAreNamed();
    void pipeInTheFilesPlaceIsRefused();
    void renameReplaces();
    void realPathFollowsLinks();
    void journalStandsBesideTheRealFile();

    void anotherProgramsWriterIsNoticed();
    void lockEndsWithTheProgram();
    void readersShareAndCommitExcludes();
    void refusedLockLeavesTheHeldOne();
    void openSessionOfAccessIsNoticed();
    void leftoverLockFileOfAccessIsHarmless();
    void protectedFileOpensForReading();
    void fileThatMayNotGrowKeepsItsState();

private:
    std::filesystem::path path(const char* name) const
    {
        return std::filesystem::path(folder_->path().toStdString()) / name;
    }
    std::filesystem::path blank(const char* name) const
    {
        const auto content = blankFile();
        std::ofstream(path(name), std::ios::binary)
            .write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
        return path(name);
    }
    std::unique_ptr<QTemporaryDir> folder_;
};

void SystemDiskTest::init() { folder_ = std::make_unique<QTemporaryDir>(); }
void SystemDiskTest::cleanup() { folder_.reset(); }

void SystemDiskTest::readsAndWritesWhereTold()
{
    const auto opened = systemDisk().open(path("a"), Disk::Access::createNew);
    opened->write(5, std::vector<std::uint8_t>{1, 2, 3});
    QCOMPARE(opened->size(), 8U);
    std::vector<std::uint8_t> bytes(4);
    QCOMPARE(opened->read(3, bytes), 4U);
    QCOMPARE(bytes, (std::vector<std::uint8_t>{0, 0, 1, 2}));
    opened->truncate(6);
    QCOMPARE(opened->size(), 6U);
    opened->sync();
    systemDisk().syncFolder(path("a").parent_path());
}

void SystemDiskTest::readEndsWithTheFile()
{
    const auto opened = systemDisk().open(blank("a"), Disk::Access::readOnly);
    std::vector<std::uint8_t> bytes(100);
    QCOMPARE(opened->read(16 * pageSize - 30, bytes), 30U);
    QCOMPARE(opened->read(16 * pageSize + 30, bytes), 0U);
}

void SystemDiskTest::newFileMustBeNew()
{
    blank("a");
    QCOMPARE(faultOf([&] { systemDisk().open(path("a"), Disk::Access::createNew); }), Fault::exists);
    QVERIFY(systemDisk().exists(path("a")));
    systemDisk().remove(path("a"));
    QVERIFY(!systemDisk().exists(path("a")));
    systemDisk().open(path("a"), Disk::Access::createNew);
    QVERIFY(systemDisk().exists(path("a")));
}

void SystemDiskTest::refusalsCarryTheirFaultAndThePath()
{
    const auto check = [&](Fault fault, const std::filesystem::path& file, auto&& action) {
        try {
            action();
            QFAIL("nothing was refused");
        } catch (const Error& error) {
            QCOMPARE(error.fault(), fault);
            QVERIFY2(std::string(error.what()).find("'" + file.string() + "'") == 0, error.what());
        }
    };
    auto& disk = systemDisk();
    blank("file");
    for (const auto access : {Disk::Access::readOnly, Disk::Access::readWrite}) {
        check(Fault::notFound, path("none"), [&] { disk.open(path("none"), access); });
        check(Fault::notFound, path("file") / "x", [&] { disk.open(path("file") / "x", access); });
        check(Fault::isFolder, path(""), [&] { disk.open(path(""), access); });
    }
    check(Fault::notFound, path("none"), [&] { disk.remove(path("none")); });
    check(Fault::notFound, path("none"), [&] { disk.rename(path("none"), path("b")); });
    check(Fault::disk, path(std::string(300, 'a').c_str()),
          [&] { disk.open(path(std::string(300, 'a').c_str()), Disk::Access::readOnly); });
}

void SystemDiskTest::protectedFilesAreNamed()
{
    blank("file");
    ::chmod(path("file").c_str(), 0444);
    ::chmod(path("").c_str(), 0555);
    QVERIFY(asOrdinaryAccount([&] {
        return faultOf([&] { systemDisk().open(path("file"), Disk::Access::readWrite); }) == Fault::noPermission &&
               faultOf([&] { systemDisk().open(path("new"), Disk::Access::createNew); }) == Fault::noPermission &&
               faultOf([&] { systemDisk().remove(path("file")); }) == Fault::noPermission &&
               !faultOf([&] { systemDisk().open(path("file"), Disk::Access::readOnly); });
    }));
    ::chmod(path("file").c_str(), 0);
    QVERIFY(asOrdinaryAccount([&] {
        return faultOf([&] { systemDisk().open(path("file"), Disk::Access::readOnly); }) == Fault::noPermission;
    }));
    ::chmod(path("").c_str(), 0755);
}

void SystemDiskTest::pipeInTheFilesPlaceIsRefused()
{
    QCOMPARE(::mkfifo(path("pipe").c_str(), 0644), 0);
    QCOMPARE(faultOf([&] { systemDisk().open(path("pipe"), Disk::Access::readOnly); }), Fault::disk);
}

void SystemDiskTest::renameReplaces()
{
    blank("a");
    systemDisk().open(path("b"), Disk::Access::createNew);
    systemDisk().rename(path("a"), path("b"));
    QVERIFY(!systemDisk().exists(path("a")));
    QCOMPARE(systemDisk().open(path("b"), Disk::Access::readOnly)->size(), 16 * pageSize);
}

void SystemDiskTest::realPathFollowsLinks()
{
    const auto file = std::filesystem::canonical(blank("a"));
    std::filesystem::create_symlink("a", path("b"));
    std::filesystem::create_symlink("b", path("c"));
    QCOMPARE(systemDisk().realPath(path("c")), file);
    QCOMPARE(systemDisk().realPath(path("a")), file);
    QCOMPARE(systemDisk().realPath(path("none")), path("none"));
}

void SystemDiskTest::journalStandsBesideTheRealFile()
{
    std::filesystem::create_directory(path("data"));
    std::filesystem::rename(blank("a"), path("data/a"));
    std::filesystem::create_symlink("data/a", path("link"));
    Pager pager(systemDisk(), path("link"), Pager::Mode::readWrite);
    Transaction change(pager);
    pager.write(3)[0] = 1;
    change.commit();
    QVERIFY(systemDisk().exists(path("data/a-journal")));
    QVERIFY(!systemDisk().exists(path("link-journal")));
}

void SystemDiskTest::anotherProgramsWriterIsNoticed()
{
    const auto file = blank("a");
    const OtherProgram other([&] { new Pager(systemDisk(), file, Pager::Mode::readWrite); });
    QVERIFY(other.done());
    QCOMPARE(faultOf([&] { Pager(systemDisk(), file, Pager::Mode::readWrite); }), Fault::inUse);
    Pager reader(systemDisk(), file, Pager::Mode::readOnly);
    QCOMPARE(reader.pageCount(), 16U);
}

void SystemDiskTest::lockEndsWithTheProgram()
{
    const auto file = blank("a");
    {
        const OtherProgram other([&] { new Pager(systemDisk(), file, Pager::Mode::readWrite); });
        QVERIFY(other.done());
    }
    Pager pager(systemDisk(), file, Pager::Mode::readWrite);
    QVERIFY(pager.writable());
}

void SystemDiskTest::readersShareAndCommitExcludes()
{
    const auto file = blank("a");
    const auto writer = systemDisk().open(file, Disk::Access::readWrite);
    QVERIFY(writer->lock(File::Lock::writer));
    {
        const auto lockedReader = [&] {
            static std::unique_ptr<File> kept = systemDisk().open(file, Disk::Access::readOnly);
            if (!kept->lock(File::Lock::reader)) throw Error(Fault::inUse, "");
        };
        const OtherProgram one(lockedReader);
        const OtherProgram two(lockedReader);
        QVERIFY(one.done() && two.done());
        QVERIFY(!writer->lock(File::Lock::commit));
    }
    QVERIFY(writer->lock(File::Lock::commit));
    const auto reader = systemDisk().open(file, Disk::Access::readOnly);
    QVERIFY(!reader->lock(File::Lock::reader));
    QVERIFY(writer->lock(File::Lock::writer));
    QVERIFY(reader->lock(File::Lock::reader));
    const auto second = systemDisk().open(file, Disk::Access::readWrite);
    QVERIFY(!second->lock(File::Lock::writer));
    QVERIFY(writer->lock(File::Lock::none));
    QVERIFY(second->lock(File::Lock::writer));
}

void SystemDiskTest::refusedLockLeavesTheHeldOne()
{
    const auto file = blank("a");
    const auto writer = systemDisk().open(file, Disk::Access::readWrite);
    const auto reader = systemDisk().open(file, Disk::Access::readWrite);
    const auto third = systemDisk().open(file, Disk::Access::readWrite);
    QVERIFY(reader->lock(File::Lock::reader));
    QVERIFY(writer->lock(File::Lock::writer));
    QVERIFY(!writer->lock(File::Lock::commit));
    QVERIFY(!third->lock(File::Lock::writer));
    QVERIFY(writer->lock(File::Lock::none));
    // A refused commit from nothing holds nothing.
    QVERIFY(!third->lock(File::Lock::commit));
    QVERIFY(writer->lock(File::Lock::writer));
}

void SystemDiskTest::openSessionOfAccessIsNoticed()
{
    const auto file = blank("Yag.mdb");
    std::ofstream(path("Yag.ldb")) << std::string(64, '\0');
    // The fifth user of the session: one byte far behind the names.
    const auto lockUserByte = [&] {
        const int opened = ::open(path("Yag.ldb").c_str(), O_RDWR);
        struct flock range = {};
        range.l_type = F_WRLCK;
        range.l_whence = SEEK_SET;
        range.l_start = 0x10000005;
        range.l_len = 1;
        if (::fcntl(opened, F_SETLK, &range) != 0) throw Error(Fault::disk, "");
    };
    {
        const OtherProgram access(lockUserByte);
        QVERIFY(access.done());
        QCOMPARE(faultOf([&] { Pager(systemDisk(), file, Pager::Mode::readWrite); }), Fault::inUse);
        QCOMPARE(faultOf([&] { Pager(systemDisk(), file, Pager::Mode::readOnly); }), Fault::inUse);
    }
    QVERIFY(Pager(systemDisk(), file, Pager::Mode::readWrite).writable());
}

void SystemDiskTest::leftoverLockFileOfAccessIsHarmless()
{
    const auto file = blank("Yag.mdb");
    std::ofstream(path("Yag.ldb")) << std::string(64, 'x');
    QVERIFY(Pager(systemDisk(), file, Pager::Mode::readWrite).writable());
    QVERIFY(systemDisk().exists(path("Yag.ldb")));
}

void SystemDiskTest::protectedFileOpensForReading()
{
    const auto file = blank("a");
    ::chmod(file.c_str(), 0444);
    ::chmod(path("").c_str(), 0755);
    QVERIFY(asOrdinaryAccount([&] {
        Pager pager(systemDisk(), file, Pager::Mode::readWrite);
        return !pager.writable() && pager.pageCount() == 16;
    }));
}

void SystemDiskTest::fileThatMayNotGrowKeepsItsState()
{
    const auto file = blank("a");
    ::chmod(path("").c_str(), 0777);
    ::chmod(file.c_str(), 0666);
    QVERIFY(asOrdinaryAccount([&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const auto limitTo = [](rlim_t bytes) {
            const struct rlimit limit = {bytes, RLIM_INFINITY};
            return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
        };
        Pager pager(systemDisk(), file, Pager::Mode::readWrite);
        const auto grow = [&] {
            Transaction change(pager);
            pager.write(3)[0] = 9;
            pager.extendTo(40);
            pager.write(39)[0] = 9;
            change.commit();
        };
        if (!limitTo(20 * pageSize) || faultOf(grow) != Fault::disk) return false;
        if (pager.pageCount() != 16 || pager.read(3)[0] != 0) return false;
        if (std::filesystem::file_size(file) != 16 * pageSize) return false;
        if (!limitTo(RLIM_INFINITY)) return false;
        grow();
        return std::filesystem::file_size(file) == 40 * pageSize;
    }));
}

QTEST_APPLESS_MAIN(SystemDiskTest)
#include "system_disk.moc"
