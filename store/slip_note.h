#pragma once

#include "mill/pressing.h"
#include "mill/weighing.h"

#include <QStringList>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace files {
class Disk;
}

namespace store {

class Engine;

/// A pressing whose slip is on its way: what is booked once the printer has taken the slip, and the number of its job.
struct SlipNote {
    int job = 0;
    double moment = 0; ///< days since 1899-12-30: `Tarih` of the pressing
    mill::Pressing pressing;
    int sameBefore = 0;          ///< pressings of that customer at that moment before this one; nearly always 0
    mill::Provenance from = {};  ///< of its weights
    std::uint64_t bookPlace = 0; ///< where its line in the book of weights will begin
    /// Pressings in the journal when the book of weights begins with this one.
    std::optional<std::uint64_t> before = {};
    std::string bookSeal = {}; ///< seal of the line behind which its line will stand; empty: not known
    QString jobMark = {};      ///< what tells the job from others of its number; empty where nothing has to
    QString identity = {};     ///< of the pressing, for ever and everywhere; empty in a note of long ago

    bool operator==(const SlipNote&) const = default;
};

/// The one open note, kept beside the database while a slip is being sent: mill::slipNoteFile.
///
/// What holds: write() returns when the note would survive a power cut; strike() when its absence would. A note that
/// cannot be read whole is no open one. A power cut while it was written leaves one, before its slip is sent, and so
/// does a disk that forgets, after it.
class SlipNotes {
public:
    SlipNotes(files::Disk& disk, std::filesystem::path database);

    void write(const SlipNote& note); ///< error 3000 when the disk refuses; then it leaves no half of it, if it can
    std::optional<SlipNote> open() const;
    bool unreadable() const; ///< there is a note, and it cannot be read whole
    void strike();
    /// The note leaves its place, which the next one needs, and stays as a file of its own, with "-1", "-2" ... behind
    /// its name. The file's name. Error 3000 when the disk refuses.
    QString setAside();
    /// The names of such files that lie beside the database, those of earlier days too.
    QStringList filesSetAside() const;

private:
    void writeWhole(const SlipNote& note);

    files::Disk& disk_;
    std::filesystem::path path_;
};

/// Pressings of that customer at that moment.
int pressingsAt(Engine& engine, const QString& customer, double moment);

/// A pressing of the journal, as far as one is told from the other.
struct PressingKey {
    double moment = 0; ///< days since 1899-12-30
    QString customer;
};
/// All pressings of the journal, without the sums of a report.
std::vector<PressingKey> allPressings(Engine& engine);
/// How many those are. Reads none of them once the engine knows the journal.
std::size_t pressingCount(Engine& engine);

} // namespace store
