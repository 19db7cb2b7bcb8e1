#pragma once

#include "print/print_target.h"
#include <QString>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

namespace print {

/// Prints into a folder: each job becomes a PDF under its number, 0001.pdf, 0002.pdf ... No file is ever replaced, and
/// a file is there only when it is whole and on the disk. Several processes may share the folder.
class FolderTarget : public PrintTarget {
public:
    /// A folder that is not there: an error of every job, or made for the first one.
    enum class Make { no, yes };
    explicit FolderTarget(const QString& folder, const Paper& paper = Paper::slipRoll80(), Make make = Make::no);
    ~FolderTarget() override;

    Paper paper() override;
    int createJob(const Document& document) override;
    void sendAndFinish(int job, const Document& document) override;
    void cancel(int job) noexcept override; ///< only before the job was finished: a printed page cannot be taken back
    /// A file that is neither there nor on its way may have been moved away.
    Taken taken(int job) override;
    QString stateText() noexcept override;

    /// The file of a job, printed or not.
    QString fileOf(int job) const;

private:
    struct Reserved;

    std::filesystem::path pathOf(int job) const;
    int lastNumber() const;
    /// Returns when file and folder are on the disk.
    void publish(Reserved& job, const std::filesystem::path& to, const QByteArray& pdf);

    std::filesystem::path folder_;
    Paper paper_;
    Make make_;
    std::map<int, std::unique_ptr<Reserved>> open_; ///< jobs that are created and not finished
    std::set<int> failed_;                          ///< jobs that could not be finished
};

} // namespace print
