#pragma once

#include "base/regional.h"
#include "counter/log.h"
#include "store/slip_note.h"
#include "weights/weight_book.h"

#include <QDateTime>
#include <functional>
#include <optional>

namespace counter {

/// The book of weights as the road of a slip writes it. Every call but the two that tell the log may throw
/// error 3000: the disk refused.
///
/// The book's end goes into the log at the first call of each day, and when the program ends: a book that is written
/// anew from some line on no longer fits what the log says.
class WeightRecord {
public:
    /// The book must outlive the record.
    WeightRecord(weights::WeightBook& book, Log log, std::function<QDateTime()> now);

    bool isEmpty();
    /// Where the line of a pressing of that moment will begin, for its note. Throws also where it could not be written.
    std::uint64_t place(double moment);
    /// Writes the line of a stored pressing by its note; once, however often it is called.
    void write(const store::SlipNote& slip, const base::Regional& regional);
    /// The pressings of that customer are about to be deleted by the program, or all. A book that holds no pressing
    /// says nothing of them.
    void announceDeletion(const std::optional<QString>& customer);

    void tellEndOfTheDay();
    void tellEnd();

private:
    weights::WeightBook& book_;
    Log log_;
    std::function<QDateTime()> now_;
    QDate toldOn_;       ///< the end of the book
    std::string toldOf_; ///< its seal
};

} // namespace counter
