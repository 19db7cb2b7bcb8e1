#pragma once

#include "files/disk.h"
#include "files/error.h"
#include "files/memory_disk.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <vector>

/// A disk in memory that forgets like a real one.
///
/// What is written stands in the cache until the file is synced, and a name until its folder is. afterPowerCut() is the
/// medium as it may look after the lights went out: each write since the last sync got there whole, in part (sectors of
/// 512 bytes, some perhaps with junk in them) or not at all, whatever came before or after it; names in order up to
/// some point. Different seeds, different luck. A failed sync loses the cache for good, as on Linux.
///
/// The lock files beside databases hold nothing that must outlive a stop, and a failure to write one is passed over:
/// they are no changes of the medium here, and fail by themselves (failingLockFiles), not with others.
class PowerCutDisk final : public files::Disk {
public:
    using Path = std::filesystem::path;
    using Image = std::vector<std::uint8_t>;
    static constexpr std::size_t sector = 512;

    // ---- what tests arrange and ask ----

    void put(const Path& path, Image bytes)
    {
        auto stored = std::make_shared<Stored>();
        stored->live = stored->durable = std::move(bytes);
        names_[path] = durableNames_[path] = stored;
    }
    bool has(const Path& path) const { return names_.contains(path); }
    const Image& content(const Path& path) const { return names_.at(path)->live; }

    /// Called before every change of the medium: what if the power went now?
    std::function<void()> beforeEachChange;
    /// Changes so far: writes, truncations, syncs, names.
    int changes() const { return changes_; }
    int syncs() const { return syncs_; }

    std::set<int> failing;               ///< numbers of the changes that fail, from 1
    std::optional<int> failingFrom;      ///< this one and all after it fail
    std::optional<std::size_t> capacity; ///< bytes; a write past it fails with a full disk
    bool readOnly = false;               ///< as a write-protected medium
    bool keepsOpenFiles = false;         ///< no file that is open is replaced, as on Windows
    bool clockStands = false;            ///< no write shows in the stamp of a file
    files::Person self;                  ///< who works here
    bool noLockFiles = false;            ///< none can be made
    std::set<int> failingLockFiles;      ///< numbers of the changes of lock files that fail, from 1

    PowerCutDisk() = default;
    /// With one file.
    PowerCutDisk(const Path& path, Image bytes) { put(path, std::move(bytes)); }
    std::unique_ptr<PowerCutDisk> afterPowerCut(std::uint32_t seed) const
    {
        std::mt19937 luck(seed);
        auto after = std::make_unique<PowerCutDisk>();
        auto names = durableNames_;
        std::size_t arrived = pendingNames_.empty() ? 0 : luck() % (pendingNames_.size() + 1);
        for (const NameChange& change : pendingNames_) {
            if (arrived-- == 0) break;
            change(names);
        }
        for (const auto& [path, stored] : names) {
            Image bytes = stored->durable;
            for (const Write& write : stored->pending) landOrLose(bytes, write, luck);
            after->put(path, std::move(bytes));
        }
        return after;
    }

    // ---- the door ----

    std::unique_ptr<files::File> open(const Path& path, Access access) override
    {
        const auto found = names_.find(path);
        if (access == Access::createNew) {
            if (found != names_.end()) throw files::Error(files::Fault::exists, "zaten var");
            if (noLockFiles && isLockFile(path)) throw files::Error(files::Fault::noPermission, "izin yok");
            change(path);
            auto stored = std::make_shared<Stored>();
            names_[path] = stored;
            pendingNames_.push_back([path, stored](Names& names) { names[path] = stored; });
            return std::make_unique<OpenFile>(*this, stored, path, true);
        }
        if (found == names_.end()) throw files::Error(files::Fault::notFound, path.string() + " yok");
        if (found->second->alone) throw files::Error(files::Fault::inUse, path.string() + " kullanılıyor");
        if (access == Access::readWrite && readOnly) throw files::Error(files::Fault::noPermission, "salt okunur");
        return std::make_unique<OpenFile>(*this, found->second, path, access == Access::readWrite);
    }
    bool exists(const Path& path) override { return has(path); }
    void remove(const Path& path) override
    {
        change(path);
        if (names_.erase(path) == 0) throw files::Error(files::Fault::notFound, path.string() + " yok");
        pendingNames_.push_back([path](Names& names) { names.erase(path); });
    }
    void rename(const Path& from, const Path& to) override
    {
        change();
        const auto found = names_.find(from);
        if (found == names_.end()) throw files::Error(files::Fault::notFound, from.string() + " yok");
        const auto stored = found->second;
        for (const Path& path : {from, to})
            if (keepsOpenFiles && has(path) && names_.at(path)->open > 0)
                throw files::Error(files::Fault::inUse, path.string() + " kullanılıyor");
        names_.erase(found);
        names_[to] = stored;
        pendingNames_.push_back([from, to, stored](Names& names) {
            names.erase(from);
            names[to] = stored;
        });
    }
    bool replacesOpenFiles() const override { return !keepsOpenFiles; }
    std::unique_ptr<files::LoneFile> openAlone(const Path& path) override
    {
        if (!keepsOpenFiles) return {};
        if (names_.at(path)->open > 0) throw files::Error(files::Fault::inUse, path.string() + " kullanılıyor");
        return std::make_unique<Lone>(*this, names_.at(path), path);
    }
    void makeFolder(const Path&) override {} // folders are part of the names here
    std::vector<Path> names(const Path& folder) override
    {
        std::vector<Path> found;
        for (const auto& [path, stored] : names_)
            if (path.parent_path() == folder) found.push_back(path.filename());
        return found;
    }
    void syncFolder(const Path&) override
    {
        change();
        ++syncs_;
        for (const NameChange& pending : pendingNames_) pending(durableNames_);
        pendingNames_.clear();
    }

    /// Nothing of such a file outlives its program, and so it costs no changes of the medium.
    std::unique_ptr<files::File> scratch() override { return scratches_.scratch(); }
    files::Person person() override { return self; }

private:
    struct Write {
        std::uint64_t offset = 0;
        Image bytes;
        std::optional<std::uint64_t> truncatedTo;
    };
    struct Stored {
        Image live;                 ///< what programs see
        Image durable;              ///< what a power cut leaves for certain
        std::vector<Write> pending; ///< between the two, in order
        std::int64_t writes = 0;
        int open = 0;
        bool alone = false;
        const void* writer = nullptr;
        const void* committer = nullptr;
        std::set<const void*> readers;
        std::map<std::uint64_t, const void*> heldBytes;
    };
    using Names = std::map<Path, std::shared_ptr<Stored>>;
    using NameChange = std::function<void(Names&)>;

    static void apply(Image& bytes, const Write& write)
    {
        if (write.truncatedTo) {
            bytes.resize(*write.truncatedTo);
            return;
        }
        bytes.resize(std::max<std::size_t>(bytes.size(), write.offset + write.bytes.size()));
        std::copy(write.bytes.begin(), write.bytes.end(), bytes.begin() + static_cast<std::ptrdiff_t>(write.offset));
    }

    static void landOrLose(Image& bytes, const Write& write, std::mt19937& luck)
    {
        const auto fate = luck() % 8;
        if (fate < 3) {
            apply(bytes, write);
        } else if (fate < 6 && !write.truncatedTo) {
            for (std::size_t at = 0; at < write.bytes.size(); at += sector) {
                const auto chance = luck() % 16;
                if (chance < 8) continue;
                const std::size_t end = std::min(write.bytes.size(), at + sector);
                Write part{write.offset + at,
                           Image(write.bytes.begin() + static_cast<std::ptrdiff_t>(at),
                                 write.bytes.begin() + static_cast<std::ptrdiff_t>(end)),
                           {}};
                if (chance == 15)
                    for (auto& byte : part.bytes) byte = static_cast<std::uint8_t>(luck());
                apply(bytes, part);
            }
        } else if (fate == 6 && !write.truncatedTo) {
            // The file became longer, its new content did not arrive.
            bytes.resize(std::max<std::size_t>(bytes.size(), write.offset + write.bytes.size()));
        }
    }

    static bool isLockFile(const Path& path) { return path.extension() == ".ldb"; }

    void change(const Path& path = {})
    {
        if (isLockFile(path)) {
            if (failingLockFiles.contains(++lockFileChanges_)) throw files::Error(files::Fault::disk, "disk hatası");
            return;
        }
        if (beforeEachChange) beforeEachChange();
        ++changes_;
        if (readOnly) throw files::Error(files::Fault::noPermission, "salt okunur");
        if (failing.contains(changes_) || (failingFrom && changes_ >= *failingFrom))
            throw files::Error(files::Fault::disk, "disk hatası");
    }

    std::size_t bytesUsed() const
    {
        std::size_t sum = 0;
        for (const auto& [path, stored] : names_)
            if (!isLockFile(path)) sum += stored->live.size();
        return sum;
    }

    class OpenFile final : public files::File {
    public:
        OpenFile(PowerCutDisk& disk, std::shared_ptr<Stored> stored, Path path, bool writable)
            : disk_(disk), stored_(std::move(stored)), path_(std::move(path)), writable_(writable)
        {
            ++stored_->open;
        }
        ~OpenFile() override
        {
            --stored_->open;
            release();
        }
        OpenFile(const OpenFile&) = delete;
        OpenFile& operator=(const OpenFile&) = delete;

        std::uint64_t size() override { return stored_->live.size(); }
        std::size_t read(std::uint64_t offset, std::span<std::uint8_t> into) override
        {
            if (offset >= stored_->live.size() || into.empty()) return 0;
            const std::size_t count = std::min<std::size_t>(into.size(), stored_->live.size() - offset);
            std::memcpy(into.data(), stored_->live.data() + offset, count);
            return count;
        }
        void write(std::uint64_t offset, std::span<const std::uint8_t> bytes) override
        {
            mustBeWritable();
            disk_.change(path_);
            Write write{offset, Image(bytes.begin(), bytes.end()), {}};
            const std::size_t end = offset + bytes.size();
            const std::size_t growth = end > stored_->live.size() ? end - stored_->live.size() : 0;
            if (disk_.capacity && !isLockFile(path_) && disk_.bytesUsed() + growth > *disk_.capacity) {
                // Like the system: what still fits is written.
                const std::size_t room = *disk_.capacity - std::min(*disk_.capacity, disk_.bytesUsed());
                const std::size_t fits = write.bytes.size() - std::min(write.bytes.size(), growth - room);
                write.bytes.resize(fits);
                if (fits > 0) perform(std::move(write));
                throw files::Error(files::Fault::disk, "diskte yer kalmadı");
            }
            perform(std::move(write));
        }
        void truncate(std::uint64_t size) override
        {
            mustBeWritable();
            disk_.change(path_);
            perform({0, {}, size});
        }
        void sync() override
        {
            try {
                disk_.change();
            } catch (...) {
                // The system forgets what it could not write, and will report success the next time.
                std::mt19937 luck(static_cast<std::uint32_t>(disk_.changes_));
                for (const Write& write : stored_->pending) landOrLose(stored_->durable, write, luck);
                stored_->pending.clear();
                throw;
            }
            ++disk_.syncs_;
            for (const Write& write : stored_->pending) apply(stored_->durable, write);
            stored_->pending.clear();
        }
        bool lock(Lock wanted) override
        {
            Stored& s = *stored_;
            const bool writes = wanted == Lock::writer || wanted == Lock::commit;
            if (writes && s.writer && s.writer != this) return false;
            if (wanted == Lock::reader && s.committer && s.committer != this) return false;
            if (wanted == Lock::commit &&
                (s.readers.size() > 1 || (s.readers.size() == 1 && !s.readers.contains(this))))
                return false;
            release();
            if (writes) s.writer = this;
            if (wanted == Lock::commit) s.committer = this;
            if (wanted == Lock::reader) s.readers.insert(this);
            return true;
        }
        bool writerElsewhere() override { return stored_->writer != nullptr && stored_->writer != this; }
        files::FileStamp stamp() override
        {
            const auto named = disk_.names_.find(path_);
            return {size(), stored_->writes, 0, named != disk_.names_.end() && named->second == stored_};
        }
        bool holdBytes(std::uint64_t first, std::uint64_t count) override
        {
            if (byteHeldElsewhere(first, count)) return false;
            for (std::uint64_t byte = first; byte < first + count; ++byte) stored_->heldBytes[byte] = this;
            return true;
        }
        std::optional<std::uint64_t> byteHeldElsewhere(std::uint64_t first, std::uint64_t count) override
        {
            for (auto held = stored_->heldBytes.lower_bound(first);
                 held != stored_->heldBytes.end() && held->first < first + count; ++held)
                if (held->second != this) return held->first;
            return {};
        }

    private:
        void mustBeWritable() const
        {
            if (!writable_) throw files::Error(files::Fault::noPermission, "salt okunur açıldı");
        }
        void perform(Write write)
        {
            if (!disk_.clockStands) ++stored_->writes;
            apply(stored_->live, write);
            stored_->pending.push_back(std::move(write));
        }
        void release()
        {
            if (stored_->writer == this) stored_->writer = nullptr;
            if (stored_->committer == this) stored_->committer = nullptr;
            stored_->readers.erase(this);
            std::erase_if(stored_->heldBytes, [this](const auto& held) { return held.second == this; });
        }

        PowerCutDisk& disk_;
        std::shared_ptr<Stored> stored_;
        Path path_;
        bool writable_;
    };

    class Lone final : public files::LoneFile {
    public:
        Lone(PowerCutDisk& disk, std::shared_ptr<Stored> stored, Path path)
            : disk_(disk), stored_(stored), path_(std::move(path)), file_(std::in_place, disk, stored, path_, false)
        {
            stored_->alone = true;
        }
        ~Lone() override { stored_->alone = false; }
        Lone(const Lone&) = delete;
        Lone& operator=(const Lone&) = delete;

        files::File& file() override { return *file_; }
        void replaceBy(const Path& from) override
        {
            file_.reset();
            stored_->alone = false;
            disk_.rename(from, path_);
        }

    private:
        PowerCutDisk& disk_;
        std::shared_ptr<Stored> stored_;
        Path path_;
        std::optional<OpenFile> file_;
    };

    files::MemoryDisk scratches_;
    Names names_;
    Names durableNames_;
    std::vector<NameChange> pendingNames_;
    int changes_ = 0;
    int lockFileChanges_ = 0;
    int syncs_ = 0;
};
