#pragma once

class QApplication;

namespace app {

/// One look on every desktop: the Fusion style in fixed light colours, a font with Turkish letters, Qt's own texts in
/// Turkish. To be called once, before the first window.
void applyTheme(QApplication& application);

} // namespace app
