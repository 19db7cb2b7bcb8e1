#include "live/own_folder.h"

#include "files/error.h"
#include "files/quoted_path.h"

#include <sys/stat.h>

namespace live {
namespace {

/// Made where it is absent; two programs may try that at once.
std::unique_ptr<files::File> markIn(files::Disk& disk, const std::filesystem::path& path)
{
    using files::Disk;
    for (int attempt = 0;; ++attempt) {
        try {
            return disk.open(path, disk.exists(path) ? Disk::Access::readWrite : Disk::Access::createNew);
        } catch (const files::Error& error) {
            const bool isAnothers = error.fault() == files::Fault::exists || error.fault() == files::Fault::notFound;
            if (!isAnothers || attempt == 3) throw;
        }
    }
}

} // namespace

OwnFolder::OwnFolder(files::Disk& disk, std::filesystem::path path) : disk_(disk), path_(std::move(path)) { take(); }

void OwnFolder::take()
{
    disk_.makeFolder(path_);
    if (::chmod(path_.c_str(), S_IRWXU) != 0)
        throw files::Error(files::Fault::noPermission,
                           files::inQuotes(path_) +
                               " klasörü başkalarına kapatılamadı; programı klasörün sahibi olarak başlatın.");
    auto mark = markIn(disk_, path_ / "kilit");
    if (!mark->holdBytes(0, 1))
        throw files::Error(files::Fault::inUse,
                           "Bu klasör için presva-live zaten çalışıyor; karekod onun penceresinde ve " +
                               files::inQuotes(path_ / "karekod.html") +
                               " sayfasında. Başka bir adres ya da --forget için önce onu Ctrl+C ile durdurun.");
    mark_ = std::move(mark);
}

bool OwnFolder::restore()
{
    if (mark_->stamp().underItsName) return false;
    take();
    return true;
}

} // namespace live
