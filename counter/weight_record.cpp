#include "counter/weight_record.h"

#include "base/error.h"
#include "base/numbers.h"
#include "base/pass_over.h"
#include "files/error.h"
#include "store/field_value.h"
#include "weights/verification.h"

using namespace Qt::StringLiterals;

namespace counter {
namespace {

using base::passOver;

/// What the disk refuses is a run-time error here, as it is for the database.
template <class Step> auto onDisk(Step&& step)
{
    try {
        return std::forward<Step>(step)();
    } catch (const files::Error& error) {
        throw base::RuntimeError(base::errors::databaseFault, QString::fromUtf8(error.what()));
    }
}

/// The number that the journal keeps of a display: an empty one counts as 0, and so does one that no field took.
double numberOf(const QString& display, const base::Regional& regional)
{
    double number = 0;
    if (!display.isEmpty()) passOver([&] { number = base::toDouble(display, regional); });
    return number;
}

double daysOf(const QDateTime& moment) { return std::get<store::DateDays>(store::FieldValue::date(moment).raw()).days; }

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

bool WeightRecord::isEmpty()
{
    return onDisk([&] { return book_.head().number == 0; });
}

std::uint64_t WeightRecord::place(double moment)
{
    tellEndOfTheDay();
    return onDisk([&] {
        std::string cutOff;
        const std::uint64_t place = book_.place(moment, cutOff);
        if (!cutOff.empty())
            log_.write(u"tartım defterinin yarım kalmış son satırı çıkarıldı: "_s + QString::fromUtf8(cutOff));
        return place;
    });
}

void WeightRecord::write(const store::SlipNote& slip, const base::Regional& regional)
{
    onDisk([&] { book_.write(factOf(slip, regional), slip.bookPlace); });
}

void WeightRecord::announceDeletion(const std::optional<QString>& customer)
{
    if (isEmpty()) return;
    weights::Deletion deletion;
    deletion.moment = daysOf(now_());
    if (customer) deletion.customer = customer->toStdString();
    const std::uint64_t at = place(deletion.moment);
    onDisk([&] { book_.write(deletion, at); });
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
            if (head.number == 0 || head.seal == toldOf_) return;
            toldOf_ = head.seal;
            log_.write(QString::fromStdString(weights::logLine(head.number, head.seal)));
        });
    });
}

} // namespace counter
