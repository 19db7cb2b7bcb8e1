#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace files {

/// What shows from outside that a file is no longer what it was: two stamps of one file differ then.
struct FileStamp {
    std::uint64_t size = 0;
    std::int64_t written = 0; ///< when its bytes were last written, in the system's own count
    std::int64_t altered = 0; ///< when anything about it was last changed
    bool underItsName = true; ///< false: its name is gone, or another file has it now
    bool operator==(const FileStamp&) const = default;
};

/// Who works at a machine, in UTF-8; empty where the system does not say.
struct Person {
    std::string machine;
    std::string user;
};

/// An open file of a Disk. Every call throws Error (Fault::disk unless said) when the system refuses.
class File {
public:
    virtual ~File() = default;

    virtual std::uint64_t size() = 0;
    /// Reads up to `into.size()` bytes at `offset`; fewer only at the end of the file. Returns the count.
    virtual std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) = 0;
    /// Writes all bytes at `offset`, growing the file as needed.
    virtual void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) = 0;
    virtual void truncate(std::uint64_t size) = 0;
    /// Returns when everything written so far would survive a power cut.
    virtual void sync() = 0;

    /// What other programs may do with the file while we hold it.
    enum class Lock {
        none,
        reader, ///< others may read; nobody's change may reach the file
        writer, ///< the one program that may write; readers may still come
        commit, ///< writer, and no reader present: held while changed pages go to the file
    };
    /// Changes the lock; false when another program stands in the way (never waits). To a writer also a program that
    /// knows nothing of these locks stands in the way, as far as the system tells: one that has the file open for
    /// writing. While a commit lock is held, a program that is about to open the file waits where the system can have
    /// it wait.
    virtual bool lock(Lock wanted) = 0;
    /// True when another program holds the writer or the commit lock.
    virtual bool writerElsewhere() { return false; }

    virtual FileStamp stamp() { return {size()}; }

    /// Takes bytes for this open file alone, wherever its end may be, until it is closed; false when another program
    /// holds one of them. For files in which programs leave marks for each other.
    virtual bool holdBytes(std::uint64_t /*first*/, std::uint64_t /*count*/) { return true; }
    /// The first of these bytes that another program holds.
    virtual std::optional<std::uint64_t> byteHeldElsewhere(std::uint64_t /*first*/, std::uint64_t /*count*/)
    {
        return {};
    }
};

/// A file that nobody else can open, for as long as this is there or until another file has its name.
class LoneFile {
public:
    virtual ~LoneFile() = default;
    virtual File& file() = 0;
    /// Gives `from` this one's name, at once, and closes it. Throws inUse when somebody was faster; then nothing has
    /// changed but that the file is open no more.
    virtual void replaceBy(const std::filesystem::path& from) = 0;
};

/// The door to the file system: the real one in platform/, a power-cut simulator in tests.
class Disk {
public:
    virtual ~Disk() = default;

    enum class Access { readOnly, readWrite, createNew };
    /// Throws notFound, isFolder, noPermission, exists (createNew only) or disk.
    virtual std::unique_ptr<File> open(const std::filesystem::path& path, Access access) = 0;
    virtual bool exists(const std::filesystem::path& path) = 0;
    virtual void remove(const std::filesystem::path& path) = 0;
    /// Atomically gives `from` the name `to`, replacing what is there.
    virtual void rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
    /// False where what anybody has open, we included, can be neither replaced nor renamed: openAlone() is for that.
    virtual bool replacesOpenFiles() const { return true; }
    /// Where open files are not replaced: the file for ourselves alone, for which others have two seconds to let go of
    /// it. Throws inUse after them. Nothing elsewhere.
    virtual std::unique_ptr<LoneFile> openAlone(const std::filesystem::path& /*path*/) { return {}; }
    /// Returns when names created, renamed or removed in the folder would survive a power cut.
    virtual void syncFolder(const std::filesystem::path& folder) = 0;
    /// Makes a folder where there is none; the one above it must be there.
    virtual void makeFolder(const std::filesystem::path& folder) = 0;
    /// The names in a folder, in no particular order; none where there is no such folder.
    virtual std::vector<std::filesystem::path> names(const std::filesystem::path& folder) = 0;
    /// The path with every symbolic link followed, so that all who open one file find the same neighbours beside it.
    virtual std::filesystem::path realPath(const std::filesystem::path& path) { return path; }
    /// An empty file without a name, for reading and writing; it is gone when it is closed, and at the latest when the
    /// program ends. Throws disk.
    virtual std::unique_ptr<File> scratch() = 0;
    /// Several threads may use it at once, each with files of its own. False for those that stand in for a disk.
    virtual bool isForSeveralThreads() const { return false; }
    virtual Person person() { return {}; }
};

} // namespace files
