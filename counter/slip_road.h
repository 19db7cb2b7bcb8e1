#pragma once

#include "base/regional.h"
#include "counter/log.h"
#include "print/print_target.h"
#include "print/slip.h"
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
    print::PrintTarget& printer;
    Log& log;
    base::Regional regional;
    QString directory; ///< where the mill's own header lines lie
    std::function<QDateTime()> now;
};

/// The road of a slip: composed, given a job's number, noted beside the database, sent, booked, and its note struck
/// out.
///
/// What holds, wherever the program or the power stops: as many pressings are booked as slips were taken over by the
/// printer, once recover() has run. The note is on the disk before a page leaves, and leaves the disk only after the
/// pressing is in the journal or the slip is known not to be printed.
class SlipRoad {
public:
    explicit SlipRoad(SlipPlaces places) : at_(std::move(places)) {}

    /// Prints the slip and books its pressing; its moment and header lines are filled in here. False when it could not
    /// be printed, for whatever reason: then nothing is booked. A printed pressing that the disk refuses keeps its
    /// note. Throws error 3027 for a journal that takes no rows, before anything is printed.
    bool printAndBook(print::Slip slip);

    /// Takes up the note that a stop in the middle of a slip has left: a slip that the printer took over is booked,
    /// once; any other job is cancelled and nothing is booked. Either way one line is logged, and the note is gone.
    void recover();

private:
    /// What is to be booked; nothing when the slip could not be printed.
    std::optional<store::SlipNote> print(print::Slip slip);
    store::SlipNote noteOf(const mill::Pressing& pressing);

    SlipPlaces at_;
};

/// Writes what a printed slip leaves behind: the customer's terms into the register and the pressing into the journal,
/// in one change. A field that does not take its text is passed over; the others are written. False when the pressing
/// is not in the journal afterwards.
bool book(store::DataSource& customers, store::DataSource& journal, const store::SlipNote& slip,
          const base::Regional& regional);

} // namespace counter
