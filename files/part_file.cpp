#include "files/part_file.h"

#include "files/error.h"
#include "files/journal_name.h"
#include "files/quoted_path.h"

#include <utility>

namespace files {

namespace {

std::filesystem::path partOf(std::filesystem::path to) { return to += ".part"; }

std::string utf8(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace

PartFile::PartFile(Disk& disk, const std::filesystem::path& to) : PartFile(disk, to, partOf(to)) {}

PartFile::PartFile(Disk& disk, std::filesystem::path to, std::filesystem::path part)
    : PartFile(disk, std::move(to), std::move(part), Target::absent)
{
}

PartFile PartFile::replacing(Disk& disk, const std::filesystem::path& to)
{
    return PartFile(disk, to, partOf(to), Target::any);
}

PartFile::PartFile(Disk& disk, std::filesystem::path to, std::filesystem::path part, Target target)
    : disk_(disk), to_(std::move(to)), part_(std::move(part)), target_(target)
{
    refuseToReplace();
    removePart();
}

PartFile::~PartFile()
{
    if (published_) return;
    try {
        removePart();
    } catch (const Error&) {
        // The failure that brought us here is the one to be told; the next attempt removes the file.
    }
}

void PartFile::write(std::string_view content) const
{
    const auto file = disk_.open(part_, Disk::Access::createNew);
    file->write(0, {reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
    file->sync();
}

void PartFile::publish()
{
    refuseToReplace();
    disk_.rename(part_, to_);
    published_ = true;
    disk_.syncFolder(to_.parent_path());
}

std::string PartFile::withItsName(std::string sentence) const
{
    const std::string part = utf8(part_), to = utf8(to_);
    for (std::size_t at = 0; (at = sentence.find(part, at)) != std::string::npos; at += to.size())
        sentence.replace(at, part.size(), to);
    return sentence;
}

void PartFile::publish(LoneFile& over)
{
    over.replaceBy(part_);
    published_ = true;
    disk_.syncFolder(to_.parent_path());
}

void PartFile::removePart()
{
    for (const auto& path : {part_, journalOf(part_)})
        if (disk_.exists(path)) disk_.remove(path);
}

void PartFile::refuseToReplace()
{
    if (target_ == Target::absent && disk_.exists(to_))
        throw Error(Fault::exists, quotedPath(to_) + " zaten var. Başka bir ad seçin ya da o dosyayı kaldırın.");
}

} // namespace files
