#pragma once

#include "base/regional.h"
#include "counter/log.h"
#include "counter/weight_record.h"
#include "print/print_target.h"
#include "print/slip.h"
#include "store/backups.h"
#include "store/data_source.h"
#include "store/slip_note.h"

#include <QDateTime>
#include <functional>
#include <optional>

namespace counter {

/// What the road of a slip leads past. All of it outlives the road.
struct SlipPlaces {
    store::DataSource& customers; ///< `DataCari`
    store::DataSource& journal;   ///< `DataHar`
    store::Databases& databases;
    store::SlipNotes& notes;
    WeightRecord& weights;
    print::PrintTarget& printer;
    store::Backups* backups; ///< the copies of the database; none: it is not copied
    base::Regional regional;
    QString directory; ///< where the mill's own header lines lie
    std::function<QDateTime()> now;
    /// The operator must come to see that: a slip was set aside, and somebody has to enter its pressing.
    std::function<void(const QString&)> tellSetAside = [](const QString&) {};
};

/// What became of a slip.
struct SlipOutcome {
    bool printed = false;
    bool stored = false;
    /// What the operator is told beside the printer's state: why it was not printed or not stored. Empty when there is
    /// nothing to say.
    QString notice;
};

/// The road of a slip: composed, tried against the tables, given a job's number, noted beside the database, sent,
/// booked, its line written into the book of weights, its note struck out, and the day's copy begun.
///
/// What holds, wherever the program or the power stops: as many pressings are booked as slips were taken over by the
/// printer, once recover() has run. The note is on the disk before a page leaves, and leaves the disk only after the
/// pressing and its line are stored or the slip is known not to be printed. One that no table takes is never printed;
/// where one was nevertheless (the tables have changed since), its note is set aside: kept as a file of its own, and
/// told. So is a note that cannot be read, and that of a job that the printer knows nothing of any more and that is not
/// in the journal: it may be on the paper.
class SlipRoad {
public:
    explicit SlipRoad(SlipPlaces places) : at_(std::move(places)), log_(at_.directory, at_.now) {}

    /// Prints the slip and books its pressing, of which the day's copy may begin; its moment and header lines are
    /// filled in here. What could not be stored is not printed, and what is not printed is not booked. A printed
    /// pressing that the disk refuses keeps its note, and no further slip is printed until that one is booked. Throws
    /// error 3027 for a journal that takes no rows, before anything is printed.
    SlipOutcome printAndBook(print::Slip slip, const mill::Provenance& from = {});

    /// Takes up the note that a stop in the middle of a slip has left: a slip that the printer took over is booked,
    /// once; a job that it has not taken over is cancelled and nothing is booked; every other note is set aside. Each
    /// way one line is logged, and the note is out of the way. Throws when the printer or the disk does not answer for
    /// the moment: the note stays.
    void recover();

    /// Before pressings are deleted: a printed slip that waits for its row or its line gets them. Why nothing may be
    /// deleted, where that is not possible now: its row would come back later. Nothing when all is settled.
    std::optional<QString> settle();

    /// The pressings of that customer are about to be deleted, or all: the book of weights is told. Error 3000 where it
    /// cannot be.
    void announceDeletion(const std::optional<QString>& customer);

    /// Which notes lie beside the database since they were set aside, at whatever time.
    void tellFilesSetAside();

private:
    /// What is to be booked; nothing when the slip could not be printed.
    std::optional<store::SlipNote> print(print::Slip slip, const mill::Provenance& from, QString& notice);
    bool arrives(const store::SlipNote& note, const print::Document& document, QString& notice);
    store::SlipNote noteOf(const mill::Pressing& pressing, const mill::Provenance& from);
    /// `what` says what is known of the slip, and what to do.
    void setAside(const QString& what);
    void setAsideUnstorable(const store::SlipNote& slip, const QString& why);
    void setAsideUnknown(const store::SlipNote& slip);

    SlipPlaces at_;
    Log log_;
};

} // namespace counter
