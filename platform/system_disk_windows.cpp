#include "platform/system_disk.h"

#include "files/error.h"
#include "files/quoted_path.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX // the compiler's own library may have said so already
#define NOMINMAX
#endif
#include <windows.h>

namespace platform {

namespace {

using files::Error;
using files::Fault;
using files::inQuotes;

// Locked bytes cannot be read or written by others here: they lie past the largest database.
constexpr std::uint64_t writerByte = 0x80000001;
constexpr std::uint64_t readersByte = 0x80000002;
// What watches a disk, a virus scanner or an indexer, has a file open for a moment just when it is new.
constexpr int attempts = 40;
constexpr DWORD pause = 50; // milliseconds: two seconds in all
constexpr std::size_t largestTransfer = std::size_t{1} << 30;

/// The system's refusal as a fault and a sentence; `done` says what could not be done ("okunamadı").
[[noreturn]] void fail(const std::filesystem::path& path, const char* done, DWORD code = GetLastError())
{
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
        throw Error(Fault::notFound, inQuotes(path) + " bulunamadı; dosyanın yerini ve adını denetleyin.");
    case ERROR_ACCESS_DENIED:
    case ERROR_PRIVILEGE_NOT_HELD:
        throw Error(Fault::noPermission,
                    inQuotes(path) + ' ' + done + ": erişim izni yok; dosyanın ve klasörün izinlerini denetleyin.");
    case ERROR_WRITE_PROTECT:
        throw Error(Fault::noPermission, inQuotes(path) + ' ' + done +
                                             ": salt okunur bir ortamda duruyor; yazılabilir bir diske kopyalayın.");
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
        throw Error(Fault::inUse,
                    inQuotes(path) + " başka bir program tarafından kullanılıyor; onu kapatıp yeniden deneyin.");
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        throw Error(Fault::exists, inQuotes(path) + " zaten var; başka bir ad seçin veya var olanı kaldırın.");
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        throw Error(Fault::disk, inQuotes(path) + ' ' + done + ": diskte yer kalmadı; yer açıp yeniden deneyin.");
    default:
        throw Error(Fault::disk, inQuotes(path) + ' ' + done + ": disk hatası (Windows " + std::to_string(code) +
                                     "); diski denetleyip yeniden deneyin.");
    }
}

/// A system handle that is closed with its scope.
class Handle {
public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle()
    {
        if (valid()) CloseHandle(handle_);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle(Handle&& other) noexcept : handle_(other.handle_) { other.handle_ = INVALID_HANDLE_VALUE; }
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }
    void close() { Handle(std::move(*this)); }

private:
    HANDLE handle_;
};

OVERLAPPED placeAt(std::uint64_t offset)
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

class SystemFile final : public files::File {
public:
    SystemFile(Handle handle, std::filesystem::path path, bool writable)
        : handle_(std::move(handle)), path_(std::move(path)), writable_(writable)
    {
    }

    std::uint64_t size() override
    {
        LARGE_INTEGER size = {};
        if (!GetFileSizeEx(handle_.get(), &size)) fail(path_, "okunamadı");
        return static_cast<std::uint64_t>(size.QuadPart);
    }

    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override
    {
        std::size_t done = 0;
        while (done < into.size()) {
            OVERLAPPED place = placeAt(offset + done);
            DWORD got = 0;
            const auto wanted = static_cast<DWORD>(std::min(into.size() - done, largestTransfer));
            if (!ReadFile(handle_.get(), into.data() + done, wanted, &got, &place)) {
                if (GetLastError() == ERROR_HANDLE_EOF) break;
                fail(path_, "okunamadı");
            }
            if (got == 0) break;
            done += got;
        }
        return done;
    }

    void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override
    {
        std::size_t done = 0;
        while (done < bytes.size()) {
            OVERLAPPED place = placeAt(offset + done);
            DWORD put = 0;
            const auto wanted = static_cast<DWORD>(std::min(bytes.size() - done, largestTransfer));
            if (!WriteFile(handle_.get(), bytes.data() + done, wanted, &put, &place)) fail(path_, "yazılamadı");
            done += put;
        }
    }

    void truncate(std::uint64_t size) override
    {
        LARGE_INTEGER end = {};
        end.QuadPart = static_cast<LONGLONG>(size);
        if (!SetFilePointerEx(handle_.get(), end, nullptr, FILE_BEGIN) || !SetEndOfFile(handle_.get()))
            fail(path_, "kısaltılamadı");
    }

    void sync() override
    {
        if (!FlushFileBuffers(handle_.get())) fail(path_, "diske yazılamadı");
    }

    bool lock(Lock wanted) override
    {
        const bool writer = wanted == Lock::writer || wanted == Lock::commit;
        const Held readers = wanted == Lock::commit ? Held::alone : wanted == Lock::reader ? Held::shared : Held::none;
        // Take before giving up: a refused change leaves the lock that was held.
        const Held writerBefore = writer_;
        if (writer && !hold(writer_, writerByte, Held::alone)) return false;
        const Held readersBefore = readers_;
        if (!hold(readers_, readersByte, readers)) {
            // A shared lock cannot grow in place and was given up for the attempt. Should another program have taken
            // the byte in between, the loss shows in readers_, and the next attempt asks anew.
            hold(readers_, readersByte, readersBefore);
            hold(writer_, writerByte, writerBefore);
            return false;
        }
        if (!writer) hold(writer_, writerByte, Held::none);
        holdName(writer);
        return true;
    }

    bool writerElsewhere() override { return writer_ == Held::none && !freeNow(writerByte); }

    files::FileStamp stamp() override
    {
        // Nobody else writes to what is open here for writing; and the system puts off noting the times of our own
        // writes.
        if (writable_) return {size(), 0, 0, underItsName()};
        FILE_BASIC_INFO times = {};
        if (!GetFileInformationByHandleEx(handle_.get(), FileBasicInfo, &times, sizeof times)) fail(path_, "okunamadı");
        return {size(), times.LastWriteTime.QuadPart, times.ChangeTime.QuadPart, underItsName()};
    }

    bool holdBytes(std::uint64_t first, std::uint64_t count) override
    {
        OVERLAPPED place = placeAt(first);
        if (LockFileEx(handle_.get(), LOCKFILE_FAIL_IMMEDIATELY | LOCKFILE_EXCLUSIVE_LOCK, 0, static_cast<DWORD>(count),
                       static_cast<DWORD>(count >> 32), &place))
            return true;
        if (GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING) return false;
        fail(path_, "kilitlenemedi");
    }

    std::optional<std::uint64_t> byteHeldElsewhere(std::uint64_t first, std::uint64_t count) override
    {
        // The system does not tell whose a byte is: each is tried.
        for (std::uint64_t byte = first; byte < first + count; ++byte)
            if (!freeNow(byte)) return byte;
        return {};
    }

private:
    enum class Held { none, shared, alone };

    /// While we are the writer nobody shall take the file's name: what shares no deletion has a rename refused. Not so
    /// by every server of a shared folder, nor with a program that was faster; stamp() sees those.
    void holdName(bool wanted)
    {
        if (!wanted) return name_.close();
        if (name_.valid()) return;
        name_ = Handle(CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!sameFile(name_)) name_.close();
    }

    bool underItsName() const
    {
        FILE_STANDARD_INFO state = {};
        if (GetFileInformationByHandleEx(handle_.get(), FileStandardInfo, &state, sizeof state) && state.DeletePending)
            return false;
        // Without a right but to look, so that no sharing stands in the way.
        const Handle named(CreateFileW(path_.c_str(), FILE_READ_ATTRIBUTES,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        return named.valid() && sameFile(named);
    }

    bool sameFile(const Handle& other) const
    {
        BY_HANDLE_FILE_INFORMATION one = {};
        BY_HANDLE_FILE_INFORMATION two = {};
        return other.valid() && GetFileInformationByHandle(handle_.get(), &one) &&
               GetFileInformationByHandle(other.get(), &two) && one.dwVolumeSerialNumber == two.dwVolumeSerialNumber &&
               one.nFileIndexHigh == two.nFileIndexHigh && one.nFileIndexLow == two.nFileIndexLow;
    }

    bool freeNow(std::uint64_t byte)
    {
        OVERLAPPED place = placeAt(byte);
        if (!LockFileEx(handle_.get(), LOCKFILE_FAIL_IMMEDIATELY | LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place)) {
            if (GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING) return false;
            fail(path_, "denetlenemedi");
        }
        place = placeAt(byte);
        UnlockFileEx(handle_.get(), 0, 1, 0, &place);
        return true;
    }

    bool hold(Held& now, std::uint64_t byte, Held wanted)
    {
        if (now == wanted) return true;
        OVERLAPPED place = placeAt(byte);
        if (now != Held::none) {
            if (!UnlockFileEx(handle_.get(), 0, 1, 0, &place)) fail(path_, "kilidi açılamadı");
            now = Held::none;
            if (wanted == Held::none) return true;
        }
        place = placeAt(byte);
        const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (wanted == Held::alone ? LOCKFILE_EXCLUSIVE_LOCK : 0);
        if (!LockFileEx(handle_.get(), flags, 0, 1, 0, &place)) {
            if (GetLastError() == ERROR_LOCK_VIOLATION || GetLastError() == ERROR_IO_PENDING) return false;
            fail(path_, "kilitlenemedi");
        }
        now = wanted;
        return true;
    }

    Handle handle_;
    Handle name_ = Handle(INVALID_HANDLE_VALUE); ///< the file once more, so that its name stays; the writer's
    std::filesystem::path path_;
    bool writable_;
    Held writer_ = Held::none;
    Held readers_ = Held::none;
};

/// Calls until the system does not refuse because of another program any more; false after two seconds.
template <class Call> bool patiently(const Call& call, bool openTarget = false)
{
    for (int attempt = 1; !call(); ++attempt) {
        const DWORD code = GetLastError();
        // The name of a file that is open is refused as if it were a right that is missing.
        const bool held = code == ERROR_SHARING_VIOLATION || (openTarget && code == ERROR_ACCESS_DENIED);
        if (!held || attempt == attempts) {
            SetLastError(code);
            return false;
        }
        Sleep(pause);
    }
    return true;
}

Handle openedAlone(const std::filesystem::path& path)
{
    return Handle(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void moveOver(const std::filesystem::path& from, const std::filesystem::path& to)
{
    constexpr DWORD how = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
    if (patiently([&] { return MoveFileExW(from.c_str(), to.c_str(), how) != FALSE; }, true)) return;
    const DWORD code = GetLastError();
    if (code == ERROR_ACCESS_DENIED && !openedAlone(to).valid() && GetLastError() == ERROR_SHARING_VIOLATION)
        fail(to, "değiştirilemedi", ERROR_SHARING_VIOLATION);
    fail(from, "yeniden adlandırılamadı", code);
}

class SystemLoneFile final : public files::LoneFile {
public:
    SystemLoneFile(Handle handle, const std::filesystem::path& path)
        : file_(std::in_place, std::move(handle), path, false), path_(path)
    {
    }

    files::File& file() override { return *file_; }

    void replaceBy(const std::filesystem::path& from) override
    {
        // The system replaces nothing that is open. Whoever gets hold of the file in between keeps it.
        file_.reset();
        moveOver(from, path_);
    }

private:
    std::optional<SystemFile> file_;
    std::filesystem::path path_;
};

class SystemDisk final : public files::Disk {
public:
    std::unique_ptr<files::File> open(const std::filesystem::path& path, Access access) override
    {
        const char* const done = access == Access::createNew ? "oluşturulamadı" : "açılamadı";
        const DWORD attributes = GetFileAttributesW(path.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            throw Error(Fault::isFolder, inQuotes(path) + " bir klasör; bir dosya seçin.");
        const DWORD rights = access == Access::readOnly ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
        // Whoever knows nothing of our locks, such as Access, is kept out by the sharing alone: nobody else may open
        // for writing what we have open for writing. Readers must let a writer be there, or the two of ours could
        // not meet.
        const DWORD sharing = access == Access::readOnly ? FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE
                                                         : FILE_SHARE_READ | FILE_SHARE_DELETE;
        Handle handle(CreateFileW(path.c_str(), rights, sharing, nullptr,
                                  access == Access::createNew ? CREATE_NEW : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                  nullptr));
        if (!handle.valid()) fail(path, done);
        return std::make_unique<SystemFile>(std::move(handle), path, access != Access::readOnly);
    }

    bool exists(const std::filesystem::path& path) override
    {
        // A file that is being deleted, or that a virus scanner moves just now, is refused for a moment.
        constexpr int looks = 40;
        constexpr DWORD between = 50; // milliseconds: two seconds in all
        for (int look = 1;; ++look) {
            if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return true;
            const DWORD code = GetLastError();
            if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND || code == ERROR_INVALID_NAME)
                return false;
            // What cannot be seen may well be there: a journal that counts, the note of a slip that was printed.
            const bool held = code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION;
            if (!held || look == looks) fail(path, "denetlenemedi", code);
            Sleep(between);
        }
    }

    void remove(const std::filesystem::path& path) override
    {
        if (!patiently([&] { return DeleteFileW(path.c_str()) != FALSE; })) fail(path, "silinemedi");
    }

    void rename(const std::filesystem::path& from, const std::filesystem::path& to) override { moveOver(from, to); }

    bool replacesOpenFiles() const override { return false; }

    std::unique_ptr<files::LoneFile> openAlone(const std::filesystem::path& path) override
    {
        Handle handle(INVALID_HANDLE_VALUE);
        const auto opened = [&] {
            handle = openedAlone(path);
            return handle.valid();
        };
        if (!patiently(opened)) fail(path, "açılamadı");
        return std::make_unique<SystemLoneFile>(std::move(handle), path);
    }

    /// The file system here keeps names in its own journal and offers nothing to flush; renames are written through.
    void syncFolder(const std::filesystem::path& /*folder*/) override {}

    void makeFolder(const std::filesystem::path& folder) override
    {
        if (CreateDirectoryW(folder.c_str(), nullptr)) return;
        const DWORD code = GetLastError();
        const DWORD attributes = GetFileAttributesW(folder.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            fail(folder, "oluşturulamadı", code);
    }

    std::vector<std::filesystem::path> names(const std::filesystem::path& folder) override
    {
        std::vector<std::filesystem::path> found;
        std::error_code failed;
        for (std::filesystem::directory_iterator each(folder, failed), end; !failed && each != end;
             each.increment(failed))
            found.push_back(each->path().filename());
        if (failed && failed != std::errc::no_such_file_or_directory)
            fail(folder, "okunamadı", static_cast<DWORD>(failed.value()));
        return found;
    }

    std::filesystem::path realPath(const std::filesystem::path& path) override
    {
        std::error_code none;
        auto real = std::filesystem::canonical(path, none);
        return none ? path : real;
    }

    std::unique_ptr<files::File> scratch() override
    {
        std::wstring folder(MAX_PATH + 1, L'\0');
        std::wstring name(MAX_PATH + 1, L'\0');
        folder.resize(GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
        if (folder.empty() || GetTempFileNameW(folder.c_str(), L"prs", 0, name.data()) == 0)
            fail(folder, "içine geçici dosya konamadı");
        Handle handle(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        if (!handle.valid()) fail(name, "oluşturulamadı");
        return std::make_unique<SystemFile>(std::move(handle), name, true);
    }

    bool isForSeveralThreads() const override { return true; }

    files::Person person() override
    {
        const auto text = [](BOOL(WINAPI * ask)(LPWSTR, LPDWORD)) {
            std::wstring wide(256, L'\0');
            auto length = static_cast<DWORD>(wide.size());
            if (!ask(wide.data(), &length)) return std::string();
            const auto utf8 = std::filesystem::path(wide.c_str()).u8string();
            return std::string(utf8.begin(), utf8.end());
        };
        return {text(GetComputerNameW), text(GetUserNameW)};
    }
};

} // namespace

files::Disk& systemDisk()
{
    static SystemDisk disk;
    return disk;
}

} // namespace platform
