#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace files {

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
    /// Changes the lock; false when another program stands in the way (never waits).
    virtual bool lock(Lock wanted) = 0;
};

/// The door to the file system: the real one in platform/, a power-cut simulator in tests.
/// The real one may be used by several threads at once, each with files of its own.
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
    /// Returns when names created, renamed or removed in the folder would survive a power cut.
    virtual void syncFolder(const std::filesystem::path& folder) = 0;
    /// Makes a folder where there is none; the one above it must be there.
    virtual void makeFolder(const std::filesystem::path& folder) = 0;
    /// The names in a folder, in no particular order; none where there is no such folder.
    virtual std::vector<std::filesystem::path> names(const std::filesystem::path& folder) = 0;
    /// The path with every symbolic link followed, so that all who open one file find the same neighbours beside it.
    virtual std::filesystem::path realPath(const std::filesystem::path& path) { return path; }
    /// True when another program holds a lock on any byte of that file, or has it open without sharing.
    virtual bool heldElsewhere(const std::filesystem::path& /*path*/) { return false; }
};

} // namespace files
