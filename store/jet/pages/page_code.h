#pragma once

#include "store/jet/format/doors.h"
#include "store/jet/format/format.h"
#include "store/jet/pages/protection.h"

#include <cstdint>
#include <memory>
#include <span>

/// How a file hides its pages (format/header_layout.h names the fields): the header always and with one key for all
/// files, the other pages where the header holds a key for them.
namespace jet {

/// RC4 in place: covers what is plain and uncovers what is covered.
void applyRc4(std::span<const std::uint8_t> key, std::span<std::uint8_t> bytes);

/// Covers or uncovers the obscured bytes of page 0.
void maskHeader(PageBytes page);

/// The key of a file's other pages, 0 where they are plain; `header` is page 0 as it is stored.
std::uint32_t pageKeyOf(PageView header);
/// The file asks for a password. That covers nothing: its pages are as plain as without one.
bool hasPassword(PageView header);

/// How a file keeps those out who should not read it. Nothing for files of other formats.
Protection protectionOf(File& file);

/// Takes the password out of a header that is not masked.
void clearPassword(PageBytes header);

/// Covers or uncovers a page but the first of a file with that key.
void applyPageKey(std::uint32_t key, PageNo number, std::span<std::uint8_t> page);
/// Uncovers all pages of a file in memory whose header holds a key, unless they are plain already, and takes the key
/// out of the header.
void uncoverFile(std::span<std::uint8_t> file);

/// A file with covered pages for one who reads it. Private to the Pager.
class UncoveredFile final : public File {
public:
    explicit UncoveredFile(std::unique_ptr<File> file);

    std::uint64_t size() override { return file_->size(); }
    /// From a page's beginning; a page that ends behind `into`, or behind the file, stays covered.
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override;
    FileStamp stamp() override { return file_->stamp(); }

    // What is written would be plain among covered pages: nobody writes such a file.
    void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override { file_->write(offset, bytes); }
    void truncate(std::uint64_t size) override { file_->truncate(size); }
    void sync() override { file_->sync(); }
    bool lock(Lock wanted) override { return file_->lock(wanted); }

private:
    std::unique_ptr<File> file_;
    std::uint32_t key_ = 0;
};

} // namespace jet
