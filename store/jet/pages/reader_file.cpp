#include "store/jet/pages/reader_file.h"

#include "store/jet/pages/pager_failing.h"
#include "store/jet/pages/session.h"

#include <chrono>
#include <thread>
#include <utility>
#include <vector>

namespace jet {

namespace {

constexpr std::size_t copiedAtOnce = std::size_t{1} << 20;
/// Jet itself brings a change to the file half a second after its last step at the latest.
constexpr auto quietEnough = std::chrono::milliseconds(600);
constexpr auto longestWait = std::chrono::seconds(2);

} // namespace

ReaderFile::ReaderFile(Disk& disk, std::unique_ptr<File> file, const std::filesystem::path& path)
    : disk_(disk), file_(std::move(file)), path_(path)
{
}

std::unique_ptr<File> ReaderFile::copy()
{
    auto target = disk_.scratch();
    std::vector<std::uint8_t> buffer(copiedAtOnce);
    for (std::uint64_t done = 0;;) {
        const std::size_t got = file_->read(done, buffer);
        if (got == 0) return target;
        target->write(done, std::span(buffer).first(got));
        done += got;
    }
}

void ReaderFile::use(std::unique_ptr<File> copy, const FileStamp& of)
{
    file_->lock(Lock::none);
    file_ = std::move(copy);
    copied_ = of;
    isCopy_ = true;
}

std::size_t ReaderFile::read(std::uint64_t offset, std::span<std::uint8_t> into)
{
    if (!isCopy_ && file_->writerElsewhere()) {
        const FileStamp before = file_->stamp();
        auto copied = copy();
        if (file_->stamp() != before) throw changedElsewhere(path_);
        use(std::move(copied), before);
    }
    return file_->read(offset, into);
}

void ReaderFile::copyInAQuietMoment()
{
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    do {
        const FileStamp before = file_->stamp();
        std::this_thread::sleep_for(quietEnough);
        if (file_->stamp() != before) continue;
        auto copied = copy();
        if (file_->stamp() == before) return use(std::move(copied), before);
    } while (std::chrono::steady_clock::now() < deadline);
    throw inUse(path_, personAtWork(disk_, path_).value_or(files::Person{}));
}

} // namespace jet
