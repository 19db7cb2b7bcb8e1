#include "platform/system_disk.h"

#include "files/error.h"
#include "store/jet/pages/pager.h"
#include "tests/platform/disk_folder.h"
#include "tests/support/fault.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <windows.h>

using namespace jet;
using platform::systemDisk;

namespace {

using testing::HasSubstr;

struct CloseObject {
    using pointer = HANDLE;
    void operator()(HANDLE object) const { ::CloseHandle(object); }
};
using Object = std::unique_ptr<void, CloseObject>;

/// The file as another program opens it, which knows nothing of our locks. Not open where the system says no.
Object openElsewhere(const std::filesystem::path& file, DWORD rights, DWORD sharing)
{
    const HANDLE opened = ::CreateFileW(file.c_str(), rights, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
    return Object(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
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
    ASSERT_EQ(opened->read(6, bytes), 0U);
}

TEST_F(SystemDisk, refusalsCarryTheirFault)
{
    auto& disk = systemDisk();
    blank("file");
    ASSERT_EQ(faultOf([&] { disk.open(path("none"), Disk::Access::readOnly); }), Fault::notFound);
    ASSERT_EQ(faultOf([&] { disk.open(path("file"), Disk::Access::createNew); }), Fault::exists);
    ASSERT_EQ(faultOf([&] { disk.open(path("file").parent_path(), Disk::Access::readOnly); }), Fault::isFolder);
    ASSERT_EQ(faultOf([&] { disk.remove(path("none")); }), Fault::notFound);
    ASSERT_EQ(faultOf([&] { disk.rename(path("none"), path("b")); }), Fault::notFound);
}

TEST_F(SystemDisk, absentIsWhatHasNoNameThere)
{
    auto& disk = systemDisk();
    blank("file");
    ASSERT_TRUE(disk.exists(path("file")));
    ASSERT_TRUE(disk.exists(path("file").parent_path()));
    ASSERT_FALSE(disk.exists(path("none")));
    ASSERT_FALSE(disk.exists(path("none") / "below"));
    ASSERT_FALSE(disk.exists(path("file") / "below"));
    ASSERT_FALSE(disk.exists(path("what?")));
}

TEST_F(SystemDisk, oneWriterAtATimeAndReadersBesideIt)
{
    const auto file = blank("Yag.mdb");
    const Pager writer(systemDisk(), file, Pager::Mode::readWrite);
    ASSERT_EQ(faultOf([&] { Pager(systemDisk(), file, Pager::Mode::readWrite); }), Fault::inUse);
    ASSERT_EQ(Pager(systemDisk(), file, Pager::Mode::readOnly).pageCount(), 16U);
}

TEST_F(SystemDisk, aProgramThatKnowsNoLockReadsWhatWeHoldAndDoesNotWriteIt)
{
    const auto file = blank("Yag.mdb");
    const Pager writer(systemDisk(), file, Pager::Mode::readWrite);
    constexpr DWORD everybody = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    ASSERT_TRUE(openElsewhere(file, GENERIC_READ, everybody));
    ASSERT_FALSE(openElsewhere(file, GENERIC_READ | GENERIC_WRITE, everybody));
}

TEST_F(SystemDisk, aFileThatAnotherProgramHasForItselfIsInUse)
{
    const auto file = blank("Yag.mdb");
    const Object other = openElsewhere(file, GENERIC_READ | GENERIC_WRITE, 0);
    ASSERT_TRUE(other);
    try {
        systemDisk().open(file, Disk::Access::readWrite);
        FAIL() << "it opened";
    } catch (const Error& error) {
        ASSERT_EQ(error.fault(), Fault::inUse);
        ASSERT_THAT(error.what(), HasSubstr("başka bir program tarafından kullanılıyor"));
    }
}

TEST_F(SystemDisk, renameReplaces)
{
    blank("a");
    systemDisk().open(path("b"), Disk::Access::createNew);
    systemDisk().rename(path("a"), path("b"));
    ASSERT_FALSE(systemDisk().exists(path("a")));
    ASSERT_EQ(systemDisk().open(path("b"), Disk::Access::readOnly)->size(), 16 * pageSize);
}

TEST_F(SystemDisk, renameWaitsForAProgramThatHoldsTheFileForAMoment)
{
    blank("a");
    blank("b");
    Object scanner = openElsewhere(path("b"), GENERIC_READ, 0);
    ASSERT_TRUE(scanner);
    std::thread letsGo([&] {
        ::Sleep(300);
        scanner.reset();
    });
    const auto fault = faultOf([&] { systemDisk().rename(path("a"), path("b")); });
    letsGo.join();
    ASSERT_EQ(fault, std::nullopt);
    ASSERT_FALSE(systemDisk().exists(path("a")));
}

TEST_F(SystemDisk, renameGivesUpOnAProgramThatKeepsTheFile)
{
    blank("a");
    const Object keeper = openElsewhere(blank("b"), GENERIC_READ, 0);
    ASSERT_TRUE(keeper);
    ASSERT_EQ(faultOf([&] { systemDisk().rename(path("a"), path("b")); }), Fault::inUse);
    ASSERT_TRUE(systemDisk().exists(path("a")) && systemDisk().exists(path("b")));
}

TEST_F(SystemDisk, nobodyTakesTheNameOfWhatWeWrite)
{
    const auto file = blank("Yag.mdb");
    {
        const Pager writer(systemDisk(), file, Pager::Mode::readWrite);
        ASSERT_FALSE(::MoveFileW(file.c_str(), path("b").c_str()));
        ASSERT_EQ(::GetLastError(), DWORD{ERROR_SHARING_VIOLATION});
        ASSERT_FALSE(::DeleteFileW(file.c_str()));
    }
    ASSERT_TRUE(::MoveFileW(file.c_str(), path("b").c_str()));
}

TEST_F(SystemDisk, aStampShowsAnotherFileInItsPlaceAndNone)
{
    const auto file = blank("a");
    for (const auto access : {Disk::Access::readOnly, Disk::Access::readWrite}) {
        const auto one = systemDisk().open(file, access);
        ASSERT_TRUE(one->stamp().underItsName);
        ASSERT_TRUE(::MoveFileW(file.c_str(), path("elsewhere").c_str()));
        ASSERT_FALSE(one->stamp().underItsName);
        blank("a");
        ASSERT_FALSE(one->stamp().underItsName);
        ::DeleteFileW(path("elsewhere").c_str());
    }
}

/// Gives the open file another name, as a program may that opened it for that before we did.
bool renameOpen(HANDLE file, const std::filesystem::path& to)
{
    const std::wstring name = to.wstring();
    std::vector<std::uint8_t> bytes(sizeof(FILE_RENAME_INFO) + name.size() * sizeof(wchar_t));
    auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(bytes.data());
    info->FileNameLength = static_cast<DWORD>(name.size() * sizeof(wchar_t));
    std::copy_n(name.c_str(), name.size() + 1, info->FileName);
    return ::SetFileInformationByHandle(file, FileRenameInfo, info, static_cast<DWORD>(bytes.size())) != FALSE;
}

TEST_F(SystemDisk, theWriterSeesThatItsFileWentAllTheSame)
{
    const auto file = blank("Yag.mdb");
    const Object faster = openElsewhere(file, DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    Pager writer(systemDisk(), file, Pager::Mode::readWrite);
    ASSERT_FALSE(writer.lookAround());
    ASSERT_TRUE(renameOpen(faster.get(), path("gone.mdb")));
    ASSERT_EQ(faultOf([&] { writer.lookAround(); }), Fault::changedElsewhere);
}

TEST_F(SystemDisk, aFileForOurselvesAloneIsOpenedByNobodyAndReplaced)
{
    const auto file = blank("b");
    systemDisk().open(path("a"), Disk::Access::createNew);
    const auto lone = systemDisk().openAlone(file);
    ASSERT_EQ(lone->file().size(), 16 * pageSize);
    ASSERT_EQ(faultOf([&] { systemDisk().open(file, Disk::Access::readOnly); }), Fault::inUse);
    lone->replaceBy(path("a"));
    ASSERT_EQ(systemDisk().open(file, Disk::Access::readOnly)->size(), 0U);
}

TEST_F(SystemDisk, othersHaveTwoSecondsToLetGoOfAFileThatWeWantAlone)
{
    const auto file = blank("a");
    Object scanner = openElsewhere(file, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    std::thread letsGo([&] {
        ::Sleep(300);
        scanner.reset();
    });
    const auto fault = faultOf([&] { systemDisk().openAlone(file); });
    letsGo.join();
    ASSERT_EQ(fault, std::nullopt);
    const Object keeper = openElsewhere(file, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_EQ(faultOf([&] { systemDisk().openAlone(file); }), Fault::inUse);
}

} // namespace
