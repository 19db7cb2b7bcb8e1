#include "scale/weight_line.h"

#include "base/patterns.h"
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace scale {

namespace {

constexpr int fieldWidth = 8;

void showWeight(const QString& burst, ScaleStation& station, const base::Regional& regional)
{
    const QString field = weightField(burst);
    if (field == station.weight() || !station.isEnabled()) return;
    station.setWeight(base::formatNumber(field, u"#,##0", regional));
}

void reopen(CommControl& control, const std::function<void()>& processEvents)
{
    control.setPortOpen(false);
    processEvents();
    try {
        control.setPortOpen(true);
    } catch (const base::RuntimeError&) {
        // The adapter is still gone. The port stays closed and the weight simply stops changing.
    }
}

} // namespace

QString weightField(QStringView burst)
{
    const qsizetype end = burst.indexOf(u'\r');
    return burst.first(end + 1).toString().remove(u"kg"_s).right(fieldWidth);
}

EventOutcome onScaleEvent(CommControl& control, ScaleStation& station, const base::Regional& regional,
                          const std::function<void()>& processEvents)
{
    if (station.customer().isEmpty()) return EventOutcome::nothing;
    // Both buffers are emptied on every way out, by return or by throw: what is left of this burst is old by the next
    // one.
    const auto emptied = qScopeGuard([&control] {
        control.setInBufferCount(0);
        control.setOutBufferCount(0);
    });
    const int event = control.commEvent();
    if (event == events::readError) reopen(control, processEvents);
    if (event != events::received) return EventOutcome::nothing;
    const QString burst = control.input();
    showWeight(burst, station, regional);
    return burst.contains(u'\r') ? EventOutcome::line : EventOutcome::halfLine;
}

} // namespace scale
