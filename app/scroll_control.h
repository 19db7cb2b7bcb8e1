#pragma once

#include "app/control.h"

namespace app {

/// A control that scrolls: input comes to the area and to the view in it, and a blocked control gets neither.
template <class Area> class ScrollControl : public Control<Area> {
public:
    using Control<Area>::Control;

protected:
    bool event(QEvent* event) override { return isBlocked(event) || Control<Area>::event(event); }
    bool viewportEvent(QEvent* event) override { return isBlocked(event) || Control<Area>::viewportEvent(event); }

private:
    bool isBlocked(const QEvent* event) const { return isInput(event) && inputBlocked(this); }
};

} // namespace app
