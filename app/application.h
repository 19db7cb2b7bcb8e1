#pragma once

#include <QApplication>
#include <exception>
#include <functional>

namespace app {

/// Lets no exception reach the event loop, where it would end the program. What the operator begins is caught by
/// Form1::run; what comes here was thrown by a timer, by bytes of a line or in a dialog, where nobody expected it.
class Application : public QApplication {
public:
    using QApplication::QApplication;

    /// Hears what was thrown, and of which class the receiver of the event is. Where nobody hears it, the program ends
    /// as it would without us.
    std::function<void(const std::exception&, const QString& receiver)> onUnexpected;

    bool notify(QObject* receiver, QEvent* event) override;
};

} // namespace app
