#include "files/memory_disk.h"

#include "files/error.h"
#include "files/quoted_path.h"

#include <algorithm>
#include <utility>

namespace files {
namespace {

class MemoryFile : public File {
public:
    explicit MemoryFile(std::shared_ptr<MemoryDisk::Content> content) : content_(std::move(content)) {}

    std::uint64_t size() override { return content_->size(); }
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override
    {
        if (offset >= content_->size()) return 0;
        const auto from = static_cast<std::size_t>(offset);
        const std::size_t count = std::min(into.size(), content_->size() - from);
        std::copy_n(content_->begin() + static_cast<std::ptrdiff_t>(from), count, into.begin());
        return count;
    }
    void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override
    {
        const auto from = static_cast<std::size_t>(offset);
        if (content_->size() < from + bytes.size()) content_->resize(from + bytes.size());
        std::copy(bytes.begin(), bytes.end(), content_->begin() + static_cast<std::ptrdiff_t>(from));
    }
    void truncate(std::uint64_t size) override { content_->resize(static_cast<std::size_t>(size)); }
    void sync() override {}
    bool lock(Lock /*wanted*/) override { return true; }

private:
    std::shared_ptr<MemoryDisk::Content> content_;
};

} // namespace

std::unique_ptr<File> MemoryDisk::open(const std::filesystem::path& path, Access access)
{
    const bool there = exists(path);
    if (access == Access::createNew && there) throw Error(Fault::exists, quotedPath(path) + " dosyası zaten var.");
    if (access != Access::createNew && !there) throw Error(Fault::notFound, quotedPath(path) + " dosyası yok.");
    content(path);
    return std::make_unique<MemoryFile>(files_.at(path));
}

void MemoryDisk::rename(const std::filesystem::path& from, const std::filesystem::path& to)
{
    const auto file = files_.find(from);
    if (file == files_.end()) throw Error(Fault::notFound, quotedPath(from) + " dosyası yok.");
    files_[to] = std::exchange(file->second, nullptr);
    files_.erase(from);
}

std::vector<std::filesystem::path> MemoryDisk::names(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> found;
    for (const auto& [path, content] : files_)
        if (path.parent_path() == folder) found.push_back(path.filename());
    return found;
}

std::unique_ptr<File> MemoryDisk::scratch() { return std::make_unique<MemoryFile>(std::make_shared<Content>()); }

MemoryDisk::Content& MemoryDisk::content(const std::filesystem::path& path)
{
    std::shared_ptr<Content>& file = files_[path];
    if (!file) file = std::make_shared<Content>();
    return *file;
}

} // namespace files
