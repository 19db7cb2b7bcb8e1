#pragma once

#include "store/jet/format/doors.h"

#include <functional>
#include <memory>
#include <utility>

namespace jet {

/// A file that is read for as long as somebody wants to know what is in it. Private to the Pager.
class FileWhile final : public File {
public:
    FileWhile(std::function<bool()> goOn, std::unique_ptr<File> file) : goOn_(std::move(goOn)), file_(std::move(file))
    {
    }

    std::uint64_t size() override { return file_->size(); }
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override
    {
        if (!goOn_()) throw Error(Fault::disk, "Dosyanın okunması yarıda bırakıldı.");
        return file_->read(offset, into);
    }
    FileStamp stamp() override { return file_->stamp(); }

    // Nobody writes what is open for reading.
    void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override { file_->write(offset, bytes); }
    void truncate(std::uint64_t size) override { file_->truncate(size); }
    void sync() override { file_->sync(); }
    bool lock(Lock wanted) override { return file_->lock(wanted); }

private:
    std::function<bool()> goOn_;
    std::unique_ptr<File> file_;
};

} // namespace jet
