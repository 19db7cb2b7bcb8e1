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
};

/// What became of a slip.
struct SlipOutcome {
    bool printed = false;
    bool stored = false;
    /// What the operator is told beside the printer's state: why it was not printed or not stored, or what became of an
    /// earlier one. Empty when there is nothing to say; a slip that fails while it is composed or printed says nothing.
    QString notice;
};

/// The road of a slip: composed, tried against the tables, given a job's number, noted beside the database, sent,
/// booked, its line written into the book of weights, its note struck out, and the day's copy begun.
///
/// What holds, wherever the program or the power stops: as many pressings are booked as slips were taken over by the
/// printer, once recover() has run. The note is on the disk before a page leaves, and leaves the disk only after the
/// pressing and its line are stored or the slip is known not to be printed. One that no table takes is never printed;
/// where one was nevertheless (the tables have changed since), its note is kept as a file of its own, and so is a note
/// that cannot be read.
class SlipRoad {
public:
    explicit SlipRoad(SlipPlaces places) : at_(std::move(places)), log_(at_.directory, at_.now) {}

    /// Prints the slip and books its pressing, of which the day's copy may begin; its moment and header lines are
    /// filled in here. What could not be stored is not printed, and what is not printed is not booked. A printed
    /// pressing that the disk refuses keeps its note, and no further slip is printed until that one is booked. Throws
    /// error 3027 for a journal that takes no rows, before anything is printed.
    SlipOutcome printAndBook(print::Slip slip, const mill::Provenance& from = {});

    /// Takes up the note that a stop in the middle of a slip has left: a slip that the printer took over is booked,
    /// once; any other job is cancelled and nothing is booked. One that no table takes, or that cannot be read, is set
    /// aside. Each way one line is logged, and the note is out of the way. What the operator should know of it, if
    /// anything. Throws when the printer or the disk does not answer for the moment: the note stays.
    QString recover();

    /// The pressings of that customer are about to be deleted, or all: a printed slip that waits for its row or its
    /// line gets them first, where that is possible now, and the book of weights is told. What the operator should know
    /// of that slip, if anything. Error 3000 where the book cannot be told.
    QString beforeDeletion(const std::optional<QString>& customer);

private:
    /// What is to be booked; nothing when the slip could not be printed.
    std::optional<store::SlipNote> print(print::Slip slip, const mill::Provenance& from, QString& notice);
    bool arrives(const store::SlipNote& note, const print::Document& document, QString& notice);
    store::SlipNote noteOf(const mill::Pressing& pressing, const mill::Provenance& from);
    QString setAside(const store::SlipNote& slip, const QString& why);
    QString setAsideUnread();

    SlipPlaces at_;
    Log log_;
};

} // namespace counter
