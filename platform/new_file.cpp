#include "platform/new_file.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace platform {

namespace {

[[noreturn]] void fail(int error, const std::filesystem::path& path)
{
    throw std::system_error(error, std::generic_category(), path.string());
}

void syncFolder(const std::filesystem::path& folder)
{
    const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (handle < 0) fail(errno, folder);
    const int error = ::fsync(handle) == 0 ? 0 : errno;
    ::close(handle);
    if (error != 0) fail(error, folder);
}

} // namespace

std::filesystem::path NewFile::hiddenPath(const std::filesystem::path& path)
{
    return path.parent_path() / ("." + path.filename().string() + ".part");
}

NewFile::NewFile(const std::filesystem::path& path) : path_(path)
{
    std::filesystem::path hidden = hiddenPath(path);
    file_ = ::open(hidden.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file_ < 0) fail(errno, hidden);
    hidden_ = std::move(hidden);
    // Asked after the name is reserved: before it, another process could publish between question and reservation.
    if (::access(path.c_str(), F_OK) == 0) {
        discard();
        fail(EEXIST, path);
    }
}

NewFile::~NewFile() { discard(); }

void NewFile::discard() noexcept
{
    if (file_ >= 0) ::close(std::exchange(file_, -1));
    if (!hidden_.empty()) ::unlink(hidden_.c_str());
    hidden_.clear();
}

void NewFile::write(std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) fail(written < 0 ? errno : EIO, hidden_);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

void NewFile::publish()
{
    if (::fsync(file_) != 0) fail(errno, hidden_);
    // A link, not a rename: it refuses to take the place of another file.
    if (::link(hidden_.c_str(), path_.c_str()) != 0) fail(errno, path_);
    discard();
    try {
        syncFolder(path_.parent_path());
    } catch (const std::system_error&) {
        // Whoever hears of a failure must not find the file afterwards.
        ::unlink(path_.c_str());
        throw;
    }
}

} // namespace platform
