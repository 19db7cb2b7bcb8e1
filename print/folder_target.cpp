#include "print/folder_target.h"

#include "base/error.h"
#include "platform/new_file.h"
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <algorithm>
#include <cstdio>
#include <span>
#include <system_error>
#include <utility>

using namespace Qt::StringLiterals;

namespace print {

namespace {

base::RuntimeError printerError(const std::exception& reason)
{
    return {base::errors::printer, u"Printer error: "_s + QString::fromLocal8Bit(reason.what())};
}

} // namespace

FolderTarget::FolderTarget(const QString& folder, const Paper& paper, Make make)
    : folder_(QFile::encodeName(QDir(folder).absolutePath()).toStdString()), paper_(paper), make_(make)
{
}

FolderTarget::~FolderTarget() = default;

Paper FolderTarget::paper()
{
    std::error_code error;
    if (make_ == Make::yes) std::filesystem::create_directories(folder_, error);
    if (!std::filesystem::is_directory(folder_, error))
        throw base::RuntimeError(base::errors::printer,
                                 u"Printer error: no folder "_s + QString::fromStdString(folder_.string()));
    return paper_;
}

std::filesystem::path FolderTarget::pathOf(int job) const
{
    char name[16];
    std::snprintf(name, sizeof name, "%04d.pdf", job);
    return folder_ / name;
}

QString FolderTarget::fileOf(int job) const { return QFile::decodeName(pathOf(job).string().c_str()); }

int FolderTarget::lastNumber() const
{
    static const QRegularExpression numbered(u"^([0-9]{4,8})\\.pdf$"_s);
    int last = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
        const auto match = numbered.match(QFile::decodeName(entry.path().filename().string().c_str()));
        if (match.hasMatch()) last = std::max(last, match.captured(1).toInt());
    }
    return last;
}

int FolderTarget::createJob(const Document&)
{
    try {
        for (int job = lastNumber() + 1;; ++job) {
            try {
                auto file = std::make_unique<platform::NewFile>(pathOf(job));
                open_[job] = std::move(file);
                failed_.erase(job); // a number that was never used is given again
                return job;
            } catch (const std::system_error& error) {
                // Taken by another process, or left over from a power cut: the next number is as good.
                if (error.code() != std::errc::file_exists) throw;
            }
        }
    } catch (const std::system_error& error) {
        throw printerError(error);
    }
}

void FolderTarget::sendAndFinish(int job, const Document& document)
{
    // Taken out first: however this ends, the job is over.
    auto node = open_.extract(job);
    if (node.empty()) throw base::runtimeError(base::errors::printer);
    try {
        platform::NewFile& file = *node.mapped();
        file.write(std::as_bytes(std::span(document.pdf.constData(), static_cast<std::size_t>(document.pdf.size()))));
        file.publish();
    } catch (const std::system_error& error) {
        failed_.insert(job);
        throw printerError(error);
    }
}

void FolderTarget::cancel(int job) noexcept { open_.erase(job); }

Taken FolderTarget::taken(int job)
{
    std::error_code error;
    const auto isThere = [&error](const std::filesystem::path& path) {
        const auto status = std::filesystem::status(path, error);
        // A disk that cannot be read says neither.
        if (status.type() == std::filesystem::file_type::none) throw printerError(std::system_error(error));
        return std::filesystem::is_regular_file(status);
    };
    if (failed_.contains(job)) return Taken::no; // a file of that number is somebody else's
    if (isThere(pathOf(job))) return Taken::yes;
    return isThere(platform::NewFile::hiddenPath(pathOf(job))) ? Taken::no : Taken::unknown;
}

QString FolderTarget::stateText() noexcept
{
    // Its last part: where the data lie is the mill's own business, and the line is short.
    const QString folder = QFile::decodeName(folder_.filename().string().c_str());
    std::error_code error;
    return make_ == Make::yes || std::filesystem::is_directory(folder_, error)
               ? u"Yazıcı: %1 klasörü"_s.arg(folder)
               : u"Yazıcı: %1 klasörü yok"_s.arg(folder);
}

} // namespace print
