#pragma once

#include "base/regional.h"
#include "counter/log.h"
#include "store/slip_note.h"
#include "weights/book_log.h"
#include "weights/weight_book.h"

#include <QDateTime>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace counter {

/// The book of weights as the road of a slip writes it. Every call but the two that tell the log may throw
/// error 3000: the disk refused.
///
/// The book's end goes into the log with its first line and every tenth, with each announced deletion, at the first
/// call of each day, and when the program ends: a book that is written anew from some line on no longer fits what the
/// log says. A book that is not the one that this object, or the log, saw last is told, once, and so is what was there.
class WeightRecord {
public:
    /// The book must outlive the record. presva.log lies in its folder.
    WeightRecord(weights::WeightBook& book, Log log, std::function<QDateTime()> now);

    /// Where the line of a pressing of that moment will begin, for its note. Throws also where it could not be written.
    weights::NextLine place(double moment);
    /// Writes the line of a stored pressing by its note; once, however often it is called.
    void write(const store::SlipNote& slip, const base::Regional& regional);
    /// The pressings of that customer are about to be deleted by the program, or all of the journal's. A book that
    /// holds no pressing says nothing of them. Throws also where the log cannot be told: a deletion that it has not
    /// seen would count for none.
    void announceDeletion(const std::optional<QString>& customer,
                          const std::function<std::vector<store::PressingKey>()>& journal);

    void tellEndOfTheDay();
    void tellEnd();

    /// What the operator should know of the book, once. Empty when there is nothing.
    QString takeNotice() { return std::exchange(notice_, {}); }

private:
    weights::WrittenLine writeLine(const weights::Fact& fact, const weights::Place& place);
    void tell(const weights::Head& head, weights::Keeping keeping);
    void compareWithWhatWasSeen(const weights::Head& now);
    void another(const weights::Head& seen);

    weights::WeightBook& book_;
    Log log_;
    std::function<QDateTime()> now_;
    QDate toldOn_;                       ///< the end of the book
    std::string toldOf_;                 ///< its seal
    std::optional<weights::Head> known_; ///< the end of the book when this object saw it last
    QString notice_;
};

} // namespace counter
