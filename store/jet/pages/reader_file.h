#pragma once

#include "store/jet/format/doors.h"

#include <filesystem>
#include <memory>

namespace jet {

/// A database file for one who only reads it: one state of it, whatever a writer does, and no writer kept waiting for
/// long. Private to the Pager.
///
/// It reads the file under the reader lock as long as there is no writer. As soon as one is there it copies the file,
/// which the lock still keeps as it is, into a file without a name, lets the lock go and reads the copy.
class ReaderFile final : public File {
public:
    /// `file` holds the reader lock. `path` is for sentences.
    ReaderFile(Disk& disk, std::unique_ptr<File> file, const std::filesystem::path& path);

    /// Where a program that knows nothing of our locks is at work: copies the file at a moment at which that program
    /// has long enough written nothing, so that a change of several pages is whole. Throws inUse when there is no such
    /// moment in two seconds.
    void copyInAQuietMoment();

    std::uint64_t size() override { return file_->size(); }
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override;
    FileStamp stamp() override { return isCopy_ ? copied_ : file_->stamp(); }

    // Nobody writes what is open for reading.
    void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override { file_->write(offset, bytes); }
    void truncate(std::uint64_t size) override { file_->truncate(size); }
    void sync() override { file_->sync(); }
    bool lock(Lock wanted) override { return file_->lock(wanted); }

private:
    std::unique_ptr<File> copy();
    void use(std::unique_ptr<File> copy, const FileStamp& of);

    Disk& disk_;
    std::unique_ptr<File> file_;
    const std::filesystem::path& path_;
    bool isCopy_ = false;
    FileStamp copied_; ///< of the file when the copy was made
};

} // namespace jet
