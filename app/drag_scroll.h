#pragma once

class QAbstractScrollArea;

namespace app {

/// Lets a finger drag the contents: they follow it, glide on when it is quick, and stop at their ends. A touch on
/// gliding contents only stops them.
void dragToScroll(QAbstractScrollArea& area);

} // namespace app
