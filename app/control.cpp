#include "app/control.h"
#include "app/control_frame.h"
#include "base/error.h"
#include <QEvent>

using namespace Qt::StringLiterals;

namespace app {

void beginAction(QWidget* where, const Action& action, const QString& place)
{
    if (!action) return;
    for (QWidget* above = where; above; above = above->parentWidget()) {
        if (auto* host = dynamic_cast<ActionHost*>(above)) {
            // The copy keeps the action alive even if it replaces the callback it came from.
            const Action kept = action; // NOLINT(performance-unnecessary-copy-initialization) see above
            host->run(kept, place.isEmpty() ? where->objectName() : place);
            return;
        }
    }
    action();
}

bool inputBlocked(const QWidget* control)
{
    for (const QWidget* above = control->parentWidget(); above; above = above->parentWidget()) {
        const auto* frame = qobject_cast<const ControlFrame*>(above);
        if (frame && !frame->enabled()) return true;
        const auto* host = dynamic_cast<const ActionHost*>(above);
        if (host && host->covers(*control)) return true;
    }
    return false;
}

bool isInput(const QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
        return true;
    default:
        return false;
    }
}

void throwNoControl(int index)
{
    throw base::RuntimeError(base::errors::noControl, u"Control array element '%1' doesn't exist"_s.arg(index));
}

} // namespace app
