#include "platform/system_disk.h"

#include "files/error.h"
#include "store/jet/pages/pager.h"
#include "tests/platform/disk_folder.h"
#include "tests/support/fault.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace jet;
using platform::systemDisk;

namespace {

using testing::StartsWith;

/// Another program: a child process that does something, says so, and ends when the object does.
class OtherProgram {
public:
    explicit OtherProgram(const std::function<void()>& doing)
    {
        int said[2];
        int told[2];
        if (::pipe(said) != 0 || ::pipe(told) != 0) throw std::runtime_error("no pipe");
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

TEST_F(SystemDisk, readsAndWritesWhereTold)
{
    const auto opened = systemDisk().open(path("a"), Disk::Access::createNew);
    opened->write(5, std::vector<std::uint8_t>{1, 2, 3});
    ASSERT_EQ(opened->size(), 8U);
    std::vector<std::uint8_t> bytes(4);
    ASSERT_EQ(opened->read(3, bytes), 4U);
    ASSERT_EQ(bytes, (std::vector<std::uint8_t>{0, 0, 1, 2}));
    opened->truncate(6);
    ASSERT_EQ(opened->size(), 6U);
    opened->sync();
    systemDisk().syncFolder(path("a").parent_path());
}

TEST_F(SystemDisk, readEndsWithTheFile)
{
    const auto opened = systemDisk().open(blank("a"), Disk::Access::readOnly);
    std::vector<std::uint8_t> bytes(100);
    ASSERT_EQ(opened->read(16 * pageSize - 30, bytes), 30U);
    ASSERT_EQ(opened->read(16 * pageSize + 30, bytes), 0U);
}

TEST_F(SystemDisk, newFileMustBeNew)
{
    blank("a");
    ASSERT_EQ(faultOf([&] { systemDisk().open(path("a"), Disk::Access::createNew); }), Fault::exists);
    ASSERT_TRUE(systemDisk().exists(path("a")));
    systemDisk().remove(path("a"));
    ASSERT_FALSE(systemDisk().exists(path("a")));
    systemDisk().open(path("a"), Disk::Access::createNew);
    ASSERT_TRUE(systemDisk().exists(path("a")));
}

TEST_F(SystemDisk, refusalsCarryTheirFaultAndThePath)
{
    const auto check = [&](Fault fault, const std::filesystem::path& file, auto&& action) {
        const auto refusal = refusalOf([&] { action(); });
        ASSERT_EQ(refusal.fault, fault);
        ASSERT_THAT(refusal.sentence, StartsWith("'" + file.string() + "'"));
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

TEST_F(SystemDisk, protectedFilesAreNamed)
{
    blank("file");
    ::chmod(path("file").c_str(), 0444);
    ::chmod(path("").c_str(), 0555);
    ASSERT_TRUE(asOrdinaryAccount([&] {
        return faultOf([&] { systemDisk().open(path("file"), Disk::Access::readWrite); }) == Fault::noPermission &&
               faultOf([&] { systemDisk().open(path("new"), Disk::Access::createNew); }) == Fault::noPermission &&
               faultOf([&] { systemDisk().remove(path("file")); }) == Fault::noPermission &&
               !faultOf([&] { systemDisk().open(path("file"), Disk::Access::readOnly); });
    }));
    ::chmod(path("file").c_str(), 0);
    ASSERT_TRUE(asOrdinaryAccount([&] {
        return faultOf([&] { systemDisk().open(path("file"), Disk::Access::readOnly); }) == Fault::noPermission;
    }));
    ::chmod(path("").c_str(), 0755);
}

TEST_F(SystemDisk, pipeInTheFilesPlaceIsRefused)
{
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0644), 0);
    ASSERT_EQ(faultOf([&] { systemDisk().open(path("pipe"), Disk::Access::readOnly); }), Fault::disk);
}

TEST_F(SystemDisk, renameReplaces)
{
    blank("a");
    systemDisk().open(path("b"), Disk::Access::createNew);
    systemDisk().rename(path("a"), path("b"));
    ASSERT_FALSE(systemDisk().exists(path("a")));
    ASSERT_EQ(systemDisk().open(path("b"), Disk::Access::readOnly)->size(), 16 * pageSize);
}

TEST_F(SystemDisk, realPathFollowsLinks)
{
    const auto file = std::filesystem::canonical(blank("a"));
    std::filesystem::create_symlink("a", path("b"));
    std::filesystem::create_symlink("b", path("c"));
    ASSERT_EQ(systemDisk().realPath(path("c")), file);
    ASSERT_EQ(systemDisk().realPath(path("a")), file);
    ASSERT_EQ(systemDisk().realPath(path("none")), path("none"));
}

TEST_F(SystemDisk, journalStandsBesideTheRealFile)
{
    std::filesystem::create_directory(path("data"));
    std::filesystem::rename(blank("a"), path("data/a"));
    std::filesystem::create_symlink("data/a", path("link"));
    Pager pager(systemDisk(), path("link"), Pager::Mode::readWrite);
    Transaction change(pager);
    pager.write(3)[0] = 1;
    change.commit();
    ASSERT_TRUE(systemDisk().exists(path("data/a-journal")));
    ASSERT_FALSE(systemDisk().exists(path("link-journal")));
}

TEST_F(SystemDisk, anotherProgramsWriterIsNoticed)
{
    const auto file = blank("a");
    const OtherProgram other([&] { new Pager(systemDisk(), file, Pager::Mode::readWrite); });
    ASSERT_TRUE(other.done());
    ASSERT_EQ(faultOf([&] { Pager(systemDisk(), file, Pager::Mode::readWrite); }), Fault::inUse);
    Pager reader(systemDisk(), file, Pager::Mode::readOnly);
    ASSERT_EQ(reader.pageCount(), 16U);
}

TEST_F(SystemDisk, lockEndsWithTheProgram)
{
    const auto file = blank("a");
    {
        const OtherProgram other([&] { new Pager(systemDisk(), file, Pager::Mode::readWrite); });
        ASSERT_TRUE(other.done());
    }
    Pager pager(systemDisk(), file, Pager::Mode::readWrite);
    ASSERT_TRUE(pager.writable());
}

TEST_F(SystemDisk, readersShareAndCommitExcludes)
{
    const auto file = blank("a");
    const auto writer = systemDisk().open(file, Disk::Access::readWrite);
    ASSERT_TRUE(writer->lock(File::Lock::writer));
    {
        const auto lockedReader = [&] {
            static std::unique_ptr<File> kept = systemDisk().open(file, Disk::Access::readOnly);
            if (!kept->lock(File::Lock::reader)) throw Error(Fault::inUse, "");
        };
        const OtherProgram one(lockedReader);
        const OtherProgram two(lockedReader);
        ASSERT_TRUE(one.done() && two.done());
        ASSERT_FALSE(writer->lock(File::Lock::commit));
    }
    // While the commit lock is held an open would wait for its end.
    const auto reader = systemDisk().open(file, Disk::Access::readOnly);
    ASSERT_TRUE(writer->lock(File::Lock::commit));
    ASSERT_FALSE(reader->lock(File::Lock::reader));
    ASSERT_TRUE(writer->lock(File::Lock::writer));
    ASSERT_TRUE(reader->lock(File::Lock::reader));
    const auto second = systemDisk().open(file, Disk::Access::readWrite);
    ASSERT_FALSE(second->lock(File::Lock::writer));
    ASSERT_TRUE(writer->lock(File::Lock::none));
    ASSERT_TRUE(second->lock(File::Lock::writer));
}

TEST_F(SystemDisk, refusedLockLeavesTheHeldOne)
{
    const auto file = blank("a");
    const auto writer = systemDisk().open(file, Disk::Access::readWrite);
    const auto reader = systemDisk().open(file, Disk::Access::readWrite);
    const auto third = systemDisk().open(file, Disk::Access::readWrite);
    ASSERT_TRUE(reader->lock(File::Lock::reader));
    ASSERT_TRUE(writer->lock(File::Lock::writer));
    ASSERT_FALSE(writer->lock(File::Lock::commit));
    ASSERT_FALSE(third->lock(File::Lock::writer));
    ASSERT_TRUE(writer->lock(File::Lock::none));
    // A refused commit from nothing holds nothing.
    ASSERT_FALSE(third->lock(File::Lock::commit));
    ASSERT_TRUE(writer->lock(File::Lock::writer));
}

TEST_F(SystemDisk, openSessionOfAccessIsNoticed)
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
        ASSERT_TRUE(access.done());
        ASSERT_EQ(faultOf([&] { Pager(systemDisk(), file, Pager::Mode::readWrite); }), Fault::inUse);
        ASSERT_EQ(Pager(systemDisk(), file, Pager::Mode::readOnly).pageCount(), 16U);
    }
    ASSERT_TRUE(Pager(systemDisk(), file, Pager::Mode::readWrite).writable());
}

TEST_F(SystemDisk, leftoverLockFileOfAccessIsRemoved)
{
    const auto file = blank("Yag.mdb");
    std::ofstream(path("Yag.ldb")) << std::string(64, 'x');
    ASSERT_TRUE(Pager(systemDisk(), file, Pager::Mode::readWrite).writable());
    ASSERT_FALSE(systemDisk().exists(path("Yag.ldb")));
}

TEST_F(SystemDisk, aProgramThatKnowsNoLockWaitsForTheEndOfACommit)
{
    const auto file = blank("a");
    const auto writer = systemDisk().open(file, Disk::Access::readWrite);
    ASSERT_TRUE(writer->lock(File::Lock::commit));
    const OtherProgram other([&] {
        if (::open(file.c_str(), O_RDWR | O_NONBLOCK) >= 0) throw Error(Fault::disk, "");
    });
    ASSERT_TRUE(other.done());
    ASSERT_TRUE(writer->lock(File::Lock::writer));
    const OtherProgram later([&] {
        if (::open(file.c_str(), O_RDWR | O_NONBLOCK) < 0) throw Error(Fault::disk, "");
    });
    ASSERT_TRUE(later.done());
    ASSERT_FALSE(writer->lock(File::Lock::commit));
}

TEST_F(SystemDisk, aProgramThatOnlyReadsStandsInNobodysWay)
{
    const auto file = blank("a");
    const OtherProgram other([&] {
        if (::open(file.c_str(), O_RDONLY) < 0) throw Error(Fault::disk, "");
    });
    ASSERT_TRUE(other.done());
    const auto writer = systemDisk().open(file, Disk::Access::readWrite);
    ASSERT_TRUE(writer->lock(File::Lock::commit));
}

TEST_F(SystemDisk, aStampShowsWritesAndAnotherFileInItsPlace)
{
    const auto file = blank("a");
    const auto one = systemDisk().open(file, Disk::Access::readWrite);
    const auto before = one->stamp();
    ASSERT_TRUE(before.underItsName);
    ASSERT_EQ(one->stamp(), before);
    ::usleep(20000); // longer than the coarsest clock of a file system here
    systemDisk().open(file, Disk::Access::readWrite)->write(100, std::vector<std::uint8_t>{1});
    ASSERT_NE(one->stamp(), before);
    std::filesystem::rename(blank("b"), file);
    ASSERT_FALSE(one->stamp().underItsName);
}

TEST_F(SystemDisk, protectedFileOpensForReading)
{
    const auto file = blank("a");
    ::chmod(file.c_str(), 0444);
    ::chmod(path("").c_str(), 0755);
    ASSERT_TRUE(asOrdinaryAccount([&] {
        Pager pager(systemDisk(), file, Pager::Mode::readWrite);
        return !pager.writable() && pager.pageCount() == 16;
    }));
}

TEST_F(SystemDisk, fileThatMayNotGrowKeepsItsState)
{
    const auto file = blank("a");
    ::chmod(path("").c_str(), 0777);
    ::chmod(file.c_str(), 0666);
    ASSERT_TRUE(asOrdinaryAccount([&] {
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

} // namespace
