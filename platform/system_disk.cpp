#include "platform/system_disk.h"

#include "files/error.h"
#include "files/quoted_path.h"
#include "platform/other_openers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace platform {

namespace {

using files::Error;
using files::Fault;
using files::inQuotes;

constexpr off_t writerByte = 0x80000001;
constexpr off_t readersByte = 0x80000002;
/// How long an open waits for a commit of another program to let go of the file.
constexpr auto longestCommit = std::chrono::seconds(5);
constexpr auto lookAgain = std::chrono::seconds(1);

/// The system's refusal as a fault and a sentence; `done` says what could not be done ("okunamadı").
[[noreturn]] void fail(const std::filesystem::path& path, const char* done, int code = errno)
{
    switch (code) {
    case ENOENT:
    case ENOTDIR:
        throw Error(Fault::notFound, inQuotes(path) + " bulunamadı; dosyanın yerini ve adını denetleyin.");
    case EISDIR:
        throw Error(Fault::isFolder, inQuotes(path) + " bir klasör; bir dosya seçin.");
    case EACCES:
    case EPERM:
        throw Error(Fault::noPermission,
                    inQuotes(path) + ' ' + done + ": erişim izni yok; dosyanın ve klasörün izinlerini denetleyin.");
    case EROFS:
        throw Error(Fault::noPermission, inQuotes(path) + ' ' + done +
                                             ": salt okunur bir ortamda duruyor; yazılabilir bir diske kopyalayın.");
    case EEXIST:
        throw Error(Fault::exists, inQuotes(path) + " zaten var; başka bir ad seçin veya var olanı kaldırın.");
    case ENOSPC:
    case EDQUOT:
        throw Error(Fault::disk, inQuotes(path) + ' ' + done + ": diskte yer kalmadı; yer açıp yeniden deneyin.");
    case EFBIG:
        throw Error(Fault::disk,
                    inQuotes(path) + ' ' + done + ": bu disk bu kadar büyük dosya tutamıyor; başka bir diske taşıyın.");
    case EWOULDBLOCK:
        throw Error(Fault::inUse,
                    inQuotes(path) + " başka bir program tarafından kullanılıyor; onu kapatıp yeniden deneyin.");
    default:
        throw Error(Fault::disk, inQuotes(path) + ' ' + done + ": disk hatası (" +
                                     std::generic_category().message(code) + "); diski denetleyip yeniden deneyin.");
    }
}

/// A file descriptor that is closed with its scope.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor()
    {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : number_(other.number_) { other.number_ = -1; }
    Descriptor& operator=(Descriptor&&) = delete;
    int number() const { return number_; }

private:
    int number_;
};

struct flock byteRange(short kind, off_t start, off_t length)
{
    struct flock range = {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = length;
    return range;
}

std::int64_t nanoseconds(const struct timespec& moment)
{
    return std::int64_t{moment.tv_sec} * 1'000'000'000 + moment.tv_nsec;
}

class SystemFile final : public files::File {
public:
    /// `opened` is what the system says of it now.
    SystemFile(Descriptor descriptor, std::filesystem::path path, const struct stat& opened)
        : descriptor_(std::move(descriptor)), path_(std::move(path)), opened_(opened)
    {
    }

    std::uint64_t size() override
    {
        struct stat status = {};
        if (::fstat(descriptor_.number(), &status) != 0) fail(path_, "okunamadı");
        return static_cast<std::uint64_t>(status.st_size);
    }

    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override
    {
        std::size_t done = 0;
        while (done < into.size()) {
            const ssize_t got = ::pread(descriptor_.number(), into.data() + done, into.size() - done,
                                        static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR) continue;
            if (got < 0) fail(path_, "okunamadı");
            if (got == 0) break;
            done += static_cast<std::size_t>(got);
        }
        return done;
    }

    void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override
    {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t put = ::pwrite(descriptor_.number(), bytes.data() + done, bytes.size() - done,
                                         static_cast<off_t>(offset + done));
            if (put < 0 && errno == EINTR) continue;
            if (put < 0) fail(path_, "yazılamadı");
            done += static_cast<std::size_t>(put);
        }
    }

    void truncate(std::uint64_t size) override
    {
        while (::ftruncate(descriptor_.number(), static_cast<off_t>(size)) != 0)
            if (errno != EINTR) fail(path_, "kısaltılamadı");
    }

    void sync() override
    {
        while (::fdatasync(descriptor_.number()) != 0)
            if (errno != EINTR) fail(path_, "diske yazılamadı");
    }

    bool lock(Lock wanted) override
    {
        const bool writer = mayWrite(wanted), wasWriter = mayWrite(held_);
        // Take before giving up: a refused change leaves the lock that was held.
        if (writer && !hold(writers_, F_WRLCK)) return false;
        if (!hold(readers_, towardsReaders(wanted)) || (writer && held_ != Lock::commit && !shutOutOthers(wanted))) {
            hold(readers_, towardsReaders(held_));
            if (!wasWriter) hold(writers_, F_UNLCK);
            return false;
        }
        if (wanted != Lock::commit) letOthersIn();
        if (!writer) hold(writers_, F_UNLCK);
        held_ = wanted;
        return true;
    }

    bool writerElsewhere() override { return heldElsewhere(F_WRLCK, writerByte, 1).has_value(); }

    files::FileStamp stamp() override
    {
        // What has our file's name is our file as a rule, and then the system need not be asked twice.
        struct stat now = {};
        const bool same =
            ::stat(path_.c_str(), &now) == 0 && now.st_dev == opened_.st_dev && now.st_ino == opened_.st_ino;
        if (!same && ::fstat(descriptor_.number(), &now) != 0) fail(path_, "okunamadı");
        return {static_cast<std::uint64_t>(now.st_size), nanoseconds(now.st_mtim), nanoseconds(now.st_ctim), same};
    }

    bool holdBytes(std::uint64_t first, std::uint64_t count) override
    {
        return set(F_WRLCK, static_cast<off_t>(first), static_cast<off_t>(count));
    }

    std::optional<std::uint64_t> byteHeldElsewhere(std::uint64_t first, std::uint64_t count) override
    {
        return heldElsewhere(F_WRLCK, static_cast<off_t>(first), static_cast<off_t>(count));
    }

private:
    /// A byte that stands for a lock, and how this file holds it.
    struct LockByte {
        off_t place;
        short held = F_UNLCK;
    };
    static bool mayWrite(Lock lock) { return lock == Lock::writer || lock == Lock::commit; }
    static short towardsReaders(Lock lock)
    {
        return static_cast<short>(lock == Lock::commit ? F_WRLCK : lock == Lock::reader ? F_RDLCK : F_UNLCK);
    }
    /// The system is asked only for what is not held already: a commit is made of such calls.
    bool hold(LockByte& byte, short kind)
    {
        if (byte.held == kind) return true;
        if (!set(kind, byte.place)) return false;
        byte.held = kind;
        return true;
    }

    /// False when a program that knows nothing of our locks has the file open for writing.
    bool shutOutOthers(Lock wanted)
    {
        leased_ = takeLease(descriptor_.number());
        if (leased_) return true;
        // Looking at all programs takes milliseconds: not twice for one action.
        const auto now = std::chrono::steady_clock::now();
        if (wanted == Lock::writer && aloneAt_ && now - *aloneAt_ < lookAgain) return true;
        if (openForWritingElsewhere(descriptor_.number())) return false;
        aloneAt_ = now;
        return true;
    }
    void letOthersIn()
    {
        if (leased_) giveLeaseBack(descriptor_.number());
        leased_ = false;
    }

    std::optional<std::uint64_t> heldElsewhere(short kind, off_t first, off_t count)
    {
        struct flock range = byteRange(kind, first, count);
        if (::fcntl(descriptor_.number(), F_OFD_GETLK, &range) != 0) fail(path_, "denetlenemedi");
        if (range.l_type == F_UNLCK) return {};
        return static_cast<std::uint64_t>(std::max(range.l_start, first));
    }

    bool set(short kind, off_t first, off_t count = 1)
    {
        struct flock range = byteRange(kind, first, count);
        while (::fcntl(descriptor_.number(), F_OFD_SETLK, &range) != 0) {
            if (errno == EAGAIN || errno == EACCES) return false;
            if (errno != EINTR) fail(path_, "kilitlenemedi");
        }
        return true;
    }

    Descriptor descriptor_;
    std::filesystem::path path_;
    struct stat opened_;
    LockByte writers_{writerByte}, readers_{readersByte};
    Lock held_ = Lock::none;
    bool leased_ = false;
    std::optional<std::chrono::steady_clock::time_point> aloneAt_; ///< the last look found no other writer
};

class SystemDisk final : public files::Disk {
public:
    std::unique_ptr<files::File> open(const std::filesystem::path& path, Access access) override
    {
        const int mode = access == Access::readOnly    ? O_RDONLY
                         : access == Access::readWrite ? O_RDWR
                                                       : O_RDWR | O_CREAT | O_EXCL;
        const char* const done = access == Access::createNew ? "oluşturulamadı" : "açılamadı";
        // Without O_NONBLOCK a named pipe in the file's place would stop the program for ever.
        const auto deadline = std::chrono::steady_clock::now() + longestCommit;
        int opened = -1;
        while ((opened = ::open(path.c_str(), mode | O_CLOEXEC | O_NONBLOCK, 0666)) < 0 && errno == EWOULDBLOCK &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        Descriptor descriptor(opened);
        if (descriptor.number() < 0) fail(path, done);
        struct stat status = {};
        if (::fstat(descriptor.number(), &status) != 0) fail(path, done);
        if (S_ISDIR(status.st_mode)) fail(path, done, EISDIR);
        if (!S_ISREG(status.st_mode))
            throw Error(Fault::disk, inQuotes(path) + " sıradan bir dosya değil; doğru dosyayı seçin.");
        return std::make_unique<SystemFile>(std::move(descriptor), path, status);
    }

    bool exists(const std::filesystem::path& path) override
    {
        struct stat status = {};
        if (::lstat(path.c_str(), &status) == 0) return true;
        if (errno != ENOENT && errno != ENOTDIR) fail(path, "denetlenemedi");
        return false;
    }

    void remove(const std::filesystem::path& path) override
    {
        if (::unlink(path.c_str()) != 0) fail(path, "silinemedi");
    }

    void rename(const std::filesystem::path& from, const std::filesystem::path& to) override
    {
        if (::rename(from.c_str(), to.c_str()) != 0) fail(from, "yeniden adlandırılamadı");
    }

    void syncFolder(const std::filesystem::path& folder) override
    {
        const std::filesystem::path path = folder.empty() ? std::filesystem::path(".") : folder;
        const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (descriptor.number() < 0) fail(path, "açılamadı");
        // Some network file systems cannot sync a folder; their names are safe once the call that made them returned.
        if (::fsync(descriptor.number()) != 0 && errno != EINVAL && errno != ENOTSUP) fail(path, "diske yazılamadı");
    }

    void makeFolder(const std::filesystem::path& folder) override
    {
        struct stat status = {};
        if (::mkdir(folder.c_str(), 0777) == 0) return syncFolder(folder.parent_path());
        if (errno == EEXIST && ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return;
        fail(folder, "oluşturulamadı");
    }

    std::vector<std::filesystem::path> names(const std::filesystem::path& folder) override
    {
        std::vector<std::filesystem::path> found;
        std::error_code failed;
        for (std::filesystem::directory_iterator each(folder, failed), end; !failed && each != end;
             each.increment(failed))
            found.push_back(each->path().filename());
        if (failed && failed != std::errc::no_such_file_or_directory) fail(folder, "okunamadı", failed.value());
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
        std::error_code none;
        std::filesystem::path folder = std::filesystem::temp_directory_path(none);
        if (none) folder = "/tmp";
        std::string name = (folder / "presva-XXXXXX").string();
        Descriptor descriptor(::mkostemp(name.data(), O_CLOEXEC));
        if (descriptor.number() < 0) fail(folder, "içine geçici dosya konamadı");
        ::unlink(name.c_str());
        struct stat status = {};
        if (::fstat(descriptor.number(), &status) != 0) fail(folder, "içine geçici dosya konamadı");
        return std::make_unique<SystemFile>(std::move(descriptor), name, status);
    }

    bool isForSeveralThreads() const override { return true; }

    files::Person person() override
    {
        std::array<char, 256> host = {};
        ::gethostname(host.data(), host.size() - 1);
        const struct passwd* const account = ::getpwuid(::geteuid());
        return {host.data(), account != nullptr ? account->pw_name : ""};
    }
};

} // namespace

files::Disk& systemDisk()
{
    static SystemDisk disk;
    return disk;
}

} // namespace platform
