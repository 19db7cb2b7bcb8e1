#include "counter/weight_record.h"

#include "base/error.h"
#include "base/numbers.h"
#include "base/pass_over.h"
#include "store/moment.h"
#include "store/on_disk.h"
#include "weights/book_history.h"

using namespace Qt::StringLiterals;

namespace counter {
namespace {

using base::passOver;
using store::daysOf, store::onDisk;

/// The number that the journal keeps of a display: an empty one counts as 0, and so does one that no field took.
double numberOf(const QString& display, const base::Regional& regional)
{
    double number = 0;
    if (!display.isEmpty()) passOver([&] { number = base::toDouble(display, regional); });
    return number;
}

/// Bytes as a text of one line, whatever they are.
QString readable(const std::string& bytes)
{
    return QString::fromLatin1(QByteArray::fromStdString(bytes).toPercentEncoding(" {}\":,;()+"));
}

weights::Pressing factOf(const store::SlipNote& slip, const base::Regional& regional)
{
    const mill::Pressing& shown = slip.pressing;
    weights::Pressing fact;
    fact.moment = slip.moment;
    fact.station = slip.from.station;
    fact.customer = shown.customer.toStdString();
    fact.olives = numberOf(shown.olives, regional);
    fact.olivesFrom = slip.from.olives;
    fact.oil = numberOf(shown.oil, regional);
    fact.oilFrom = slip.from.oil;
    fact.percentage = numberOf(shown.percentage, regional);
    fact.entitlement = numberOf(shown.entitlement, regional);
    fact.fee = numberOf(shown.fee, regional);
    fact.job = slip.job;
    fact.before = slip.before;
    return fact;
}

} // namespace

WeightRecord::WeightRecord(weights::WeightBook& book, Log log, std::function<QDateTime()> now)
    : book_(book), log_(std::move(log)), now_(std::move(now))
{
}

weights::NextLine WeightRecord::place(double moment)
{
    tellEndOfTheDay();
    return onDisk([&] {
        weights::NextLine next = book_.place(moment);
        compareWithWhatWasSeen(next.head);
        if (!next.cutOff.empty())
            log_.write(u"tartım defterinin yarım kalmış son satırı çıkarıldı: "_s + readable(next.cutOff));
        return next;
    });
}

void WeightRecord::write(const store::SlipNote& slip, const base::Regional& regional)
{
    const weights::WrittenLine written = onDisk([&] {
        return writeLine(factOf(slip, regional), {slip.bookPlace, slip.bookSeal});
    });
    const std::uint64_t number = written.head.number;
    if (number == 1 || number % weights::linesToALoggedHead == 0)
        passOver([&] {
            // The first is what a book taken away altogether is found by.
            onDisk([&] {
                tell(written.head, number == 1 ? weights::Keeping::synced : weights::Keeping::untilThePowerGoes);
            });
        });
}

weights::WrittenLine WeightRecord::writeLine(const weights::Fact& fact, const weights::Place& place)
{
    weights::WrittenLine written = book_.write(fact, place);
    if (written.isAnotherBook) another(known_.value_or(weights::Head{0, place.seal, 0}));
    if (!written.replaced.empty())
        log_.write(u"tartım defterinin sonunda satır olmayan bir şey vardı, çıkarıldı: "_s +
                   readable(written.replaced));
    known_ = written.head;
    return written;
}

void WeightRecord::announceDeletion(const std::optional<QString>& customer,
                                    const std::function<std::vector<store::PressingKey>()>& journal)
{
    onDisk([&] {
        if (book_.head().number == 0) return;
        weights::Deletion deletion;
        deletion.moment = daysOf(now_());
        if (customer) deletion.customer = customer->toStdString();
        std::vector<weights::JournalKey> left;
        for (const store::PressingKey& each : journal())
            if (weights::concerns(deletion, each.customer.toStdString()))
                ++deletion.pressings;
            else
                left.push_back(weights::keyOf(each.moment, each.customer.toStdString()));
        const weights::NextLine next = place(deletion.moment);
        deletion.before = weights::olderThanTheBook(weights::allLines(book_.disk(), book_.folder()), left);
        tell(writeLine(deletion, next.place).head, weights::Keeping::synced);
    });
}

void WeightRecord::tell(const weights::Head& head, weights::Keeping keeping)
{
    weights::tellLog(book_.disk(), book_.folder(), daysOf(now_()), weights::logLine(head.number, head.seal), keeping);
    toldOf_ = head.seal;
}

void WeightRecord::tellEndOfTheDay()
{
    const QDate today = now_().date();
    if (toldOn_ == today) return;
    toldOn_ = today;
    tellEnd();
}

void WeightRecord::tellEnd()
{
    passOver([&] {
        onDisk([&] {
            const weights::Head head = book_.head();
            compareWithWhatWasSeen(head);
            if (head.number == 0 || head.seal == toldOf_) return;
            tell(head, weights::Keeping::untilThePowerGoes);
        });
    });
}

void WeightRecord::compareWithWhatWasSeen(const weights::Head& now)
{
    weights::Head seen;
    if (known_) {
        seen = *known_;
    } else {
        // A log that cannot be read keeps nobody from working.
        passOver([&] {
            onDisk([&] {
                const auto logged = weights::loggedHeads(book_.disk(), weights::logIn(book_.folder()));
                if (!logged.empty()) seen = {logged.back().number, logged.back().seal, 0};
            });
        });
    }
    // A line behind it may be a restored copy's.
    if (seen.number > 0 && seen.seal != now.seal && !book_.holds(seen.seal)) another(seen);
    known_ = now;
}

void WeightRecord::another(const weights::Head& seen)
{
    notice_ = u"Tartım defteri programın bıraktığı gibi değil; presva-mdb weights --verify denetler"_s;
    log_.write(u"tartım defteri programın bıraktığı gibi değil"_s);
    // So that a verification knows the line too, which the log may not have seen yet.
    if (seen.number > 0) passOver([&] { onDisk([&] { tell(seen, weights::Keeping::untilThePowerGoes); }); });
}

} // namespace counter
