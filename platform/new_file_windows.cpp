#include "platform/new_file.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <utility>
#include <windows.h>

namespace platform {

namespace {

[[noreturn]] void fail(int error, const std::filesystem::path& path)
{
    throw std::system_error(error, std::generic_category(), path.string());
}

} // namespace

std::filesystem::path NewFile::hiddenPath(const std::filesystem::path& path)
{
    return path.parent_path() / (L"." + path.filename().wstring() + L".part");
}

NewFile::NewFile(const std::filesystem::path& path) : path_(path)
{
    std::filesystem::path hidden = hiddenPath(path);
    file_ = ::_wopen(hidden.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    if (file_ < 0) fail(errno, hidden);
    hidden_ = std::move(hidden);
    // Asked after the name is reserved: before it, another process could publish between question and reservation.
    if (std::filesystem::exists(path)) {
        discard();
        fail(EEXIST, path);
    }
}

NewFile::~NewFile() { discard(); }

void NewFile::discard() noexcept
{
    if (file_ >= 0) ::_close(std::exchange(file_, -1));
    if (!hidden_.empty()) ::_wunlink(hidden_.c_str());
    hidden_.clear();
}

void NewFile::write(std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const int written = ::_write(file_, bytes.data(), static_cast<unsigned>(bytes.size()));
        if (written <= 0) fail(written < 0 ? errno : EIO, hidden_);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

void NewFile::publish()
{
    if (::_commit(file_) != 0) fail(errno, hidden_);
    // An open file cannot be moved here.
    ::_close(std::exchange(file_, -1));
    // Without the flag that allows replacing, a file that is there is left alone.
    if (!::MoveFileExW(hidden_.c_str(), path_.c_str(), MOVEFILE_WRITE_THROUGH))
        fail(::GetLastError() == ERROR_ALREADY_EXISTS ? EEXIST : EIO, path_);
    hidden_.clear();
}

} // namespace platform
