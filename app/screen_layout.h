#pragma once

#include "app/settings_store.h"
#include <QString>

class QWidget;

namespace app {

/// Keeps a window's size and place from one start of the program to the next, under an application name.
///
/// A window is never restored off the screen or larger than it: what does not fit is moved, then shrunk. Without a
/// stored layout the window takes the whole available screen.
class ScreenLayout {
public:
    explicit ScreenLayout(SettingsStore& settings) : settings_(settings) {}

    /// The first call puts the window where it was left. Later ones keep the place that the operator has given it
    /// since. With `size` false only the position is used.
    void restore(const QString& application, bool size, QWidget& form);
    void save(const QString& application, bool size, const QWidget& form);

private:
    SettingsStore& settings_;
    bool restored_ = false;
};

} // namespace app
