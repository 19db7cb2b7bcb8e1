#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "tests/jet/mixed_work.h"
#include "tests/support/files.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <windows.h>

namespace {

/// PRESVA_KILLS sets how often.
int kills()
{
    const int wanted = numberFromEnvironment("PRESVA_KILLS", 20);
    return wanted > 0 ? wanted : 20;
}

/// A program that works until it is killed, and what it has acknowledged by then.
class Worker {
public:
    Worker(const std::filesystem::path& file, int seed)
    {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        HANDLE writing = nullptr;
        EXPECT_TRUE(::CreatePipe(&reading_, &writing, &inherited, 0));
        ::SetHandleInformation(reading_, HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdOutput = writing;
        start.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
        const std::wstring worker = std::filesystem::path(PRESVA_WORKER).wstring();
        std::wstring line = L'"' + worker + L"\" \"" + file.wstring() + L"\" " + std::to_wstring(seed);
        EXPECT_TRUE(
            ::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &info_));
        ::CloseHandle(writing);
    }
    ~Worker()
    {
        ::CloseHandle(reading_);
        ::CloseHandle(info_.hThread);
        ::CloseHandle(info_.hProcess);
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void awaitFirst() { read(1); }
    /// True if it was still at work.
    bool kill()
    {
        ::TerminateProcess(info_.hProcess, 77);
        ::WaitForSingleObject(info_.hProcess, INFINITE);
        while (read(256)) {
        }
        DWORD code = 0;
        return ::GetExitCodeProcess(info_.hProcess, &code) && code == 77;
    }
    std::size_t acknowledged() const { return acknowledged_; }

private:
    bool read(DWORD most)
    {
        std::array<char, 256> bytes{};
        DWORD count = 0;
        if (!::ReadFile(reading_, bytes.data(), most, &count, nullptr) || count == 0) return false;
        acknowledged_ += count;
        return true;
    }

    HANDLE reading_ = nullptr;
    PROCESS_INFORMATION info_{};
    std::size_t acknowledged_ = 0;
};

TEST(KilledWriter, killedProcessLosesNothingThatItAcknowledged)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "Yag.mdb";
    MixedWork::create(platform::systemDisk(), file);
    std::mt19937 random(11);
    std::size_t acknowledged = 0;
    int interrupted = 0;
    for (int round = 1; round <= kills(); ++round) {
        files::MemoryDisk twin;
        twin.content("Yag.mdb") = bytesOfFile(file);
        Worker worker(file, round);
        worker.awaitFirst();
        ::Sleep(random() % 60);
        ASSERT_TRUE(worker.kill()) << "round " << round;
        acknowledged += worker.acknowledged();
        if (std::filesystem::exists(std::filesystem::path(file) += "-journal")) ++interrupted;

        // The same work again, undisturbed, up to what was acknowledged and one further.
        const auto expected = jet::Database::open(twin, "Yag.mdb");
        MixedWork work(static_cast<unsigned>(round));
        MixedWork::Rows rows = MixedWork::read(*expected);
        work.forgetPlaces(*expected);
        for (std::size_t i = 0; i < worker.acknowledged(); ++i) work.change(*expected, rows);
        MixedWork::Rows next = rows;
        work.change(*expected, next);

        const auto database = jet::Database::open(platform::systemDisk(), file);
        const MixedWork::Rows found = MixedWork::read(*database);
        ASSERT_TRUE(found == rows || found == next) << "round " << round;
        const jet::CheckResult result = jet::checkDatabase(*database);
        ASSERT_TRUE(result.ok()) << testing::PrintToString(result.faults);
    }
    std::printf("%d kills, %zu changes acknowledged, %d times a journal was left\n", kills(), acknowledged,
                interrupted);
    ASSERT_GE(acknowledged, static_cast<std::size_t>(kills()));
    ASSERT_GT(interrupted, 0);
}

} // namespace
