#include "print/folder_target.h"

#include "base/error.h"
#include "base/path_text.h"
#include "files/error.h"
#include "files/quoted_path.h"
#include "platform/system_disk.h"
#include <QDir>
#include <QRegularExpression>
#include <algorithm>
#include <system_error>
#include <utility>

using namespace Qt::StringLiterals;

namespace print {

namespace {

base::RuntimeError printerError(const std::string& reason)
{
    return {base::errors::printer, u"Printer error: "_s + QString::fromStdString(reason)};
}

/// Where the content of such a file is until it is published.
std::filesystem::path hiddenPathOf(const std::filesystem::path& path)
{
    std::filesystem::path name = ".";
    name += path.filename();
    name += ".part";
    return path.parent_path() / name;
}

} // namespace

/// The hidden file of a job that is not finished. It keeps its number from being taken by anybody else, and goes with
/// the job; a kill or a power cut leaves it behind.
struct FolderTarget::Reserved {
    explicit Reserved(const std::filesystem::path& hidden)
        : path(hidden), file(platform::systemDisk().open(hidden, files::Disk::Access::createNew))
    {
    }
    Reserved(const Reserved&) = delete;
    Reserved& operator=(const Reserved&) = delete;
    ~Reserved() { removeFile(); }
    void removeFile()
    {
        file.reset();
        std::error_code none;
        if (!path.empty()) std::filesystem::remove(path, none);
        path.clear(); // another process may have that name by now
    }

    std::filesystem::path path; ///< empty when it is gone
    std::unique_ptr<files::File> file;
};

FolderTarget::FolderTarget(const QString& folder, const Paper& paper, Make make)
    : folder_(base::pathOf(QDir(folder).absolutePath())), paper_(paper), make_(make)
{
}

FolderTarget::~FolderTarget() = default;

Paper FolderTarget::paper()
{
    std::error_code error;
    if (make_ == Make::yes) std::filesystem::create_directories(folder_, error);
    if (!std::filesystem::is_directory(folder_, error))
        throw base::RuntimeError(base::errors::printer, u"Printer error: “%1” klasörü yok."_s.arg(
                                                            QDir::toNativeSeparators(base::textOf(folder_))));
    return paper_;
}

std::filesystem::path FolderTarget::pathOf(int job) const
{
    return folder_ / (QString::number(job).rightJustified(4, u'0') + u".pdf"_s).toStdString();
}

QString FolderTarget::fileOf(int job) const { return base::textOf(pathOf(job)); }

int FolderTarget::lastNumber() const
{
    static const QRegularExpression numbered(u"^([0-9]{4,8})\\.pdf$"_s);
    int last = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
        const auto match = numbered.match(base::textOf(entry.path().filename()));
        if (match.hasMatch()) last = std::max(last, match.captured(1).toInt());
    }
    return last;
}

int FolderTarget::createJob(const Document&)
{
    try {
        for (int job = lastNumber() + 1;; ++job) {
            try {
                auto reserved = std::make_unique<Reserved>(hiddenPathOf(pathOf(job)));
                // Asked after the number is reserved: before it, another process could finish one in between.
                if (platform::systemDisk().exists(pathOf(job))) continue;
                open_[job] = std::move(reserved);
                failed_.erase(job); // a number that was never used is given again
                return job;
            } catch (const files::Error& error) {
                // Taken by another process, or left over from a power cut: the next number is as good.
                if (error.fault() != files::Fault::exists) throw;
            }
        }
    } catch (const std::runtime_error& error) {
        throw printerError(error.what());
    }
}

void FolderTarget::sendAndFinish(int job, const Document& document)
{
    // Taken out first: however this ends, the job is over.
    const auto node = open_.extract(job);
    if (node.empty()) throw base::runtimeError(base::errors::printer);
    try {
        publish(*node.mapped(), pathOf(job), document.pdf);
    } catch (const files::Error& error) {
        failed_.insert(job);
        throw printerError(error.what());
    }
}

void FolderTarget::publish(Reserved& job, const std::filesystem::path& to, const QByteArray& pdf)
{
    files::Disk& disk = platform::systemDisk();
    job.file->write(0, {reinterpret_cast<const std::uint8_t*>(pdf.constData()), static_cast<std::size_t>(pdf.size())});
    job.file->sync();
    // A second name, not a new one: where a file has come meanwhile, it stays and this fails.
    std::error_code failed;
    std::filesystem::create_hard_link(job.path, to, failed);
    // A share may have done it and lost the answer; asked again it says that the name is taken.
    std::error_code none;
    if (failed && std::filesystem::equivalent(job.path, to, none)) failed.clear();
    if (failed && failed != std::errc::file_exists && !disk.exists(to)) {
        // A stick or a share gives a file one name only. The number is reserved: nobody of ours comes between.
        job.file.reset();
        disk.rename(job.path, to);
        job.path.clear();
        failed.clear();
    }
    if (failed)
        throw files::Error(files::Fault::exists,
                           files::quotedPath(to) + " zaten var; o dosyayı başka bir klasöre taşıyıp yeniden yazdırın.");
    job.removeFile();
    try {
        disk.syncFolder(folder_);
    } catch (const files::Error&) {
        // Whoever hears of a failure must not find the file afterwards.
        std::filesystem::remove(to, none);
        throw;
    }
}

void FolderTarget::cancel(int job) noexcept { open_.erase(job); }

Taken FolderTarget::taken(int job)
{
    std::error_code error;
    const auto isThere = [&error](const std::filesystem::path& path) {
        const auto status = std::filesystem::status(path, error);
        // A disk that cannot be read says neither.
        if (status.type() == std::filesystem::file_type::none) throw printerError(error.message());
        return std::filesystem::is_regular_file(status);
    };
    if (failed_.contains(job)) return Taken::no; // a file of that number is somebody else's
    if (isThere(pathOf(job))) return Taken::yes;
    return isThere(hiddenPathOf(pathOf(job))) ? Taken::no : Taken::unknown;
}

QString FolderTarget::stateText() noexcept
{
    // Its last part: where the data lie is the mill's own business, and the line is short.
    const QString folder = base::textOf(folder_.filename());
    std::error_code error;
    return make_ == Make::yes || std::filesystem::is_directory(folder_, error)
               ? u"Yazıcı: %1 klasörü"_s.arg(folder)
               : u"Yazıcı: %1 klasörü yok"_s.arg(folder);
}

} // namespace print
