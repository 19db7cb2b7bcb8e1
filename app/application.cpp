#include "app/application.h"

#include <QMetaObject>

namespace app {

bool Application::notify(QObject* receiver, QEvent* event)
{
    // Asked before: the receiver may not live on.
    const QMetaObject* kind = receiver->metaObject();
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception& error) {
        if (!onUnexpected) throw;
        onUnexpected(error, QString::fromLatin1(kind->className()));
        return true;
    }
}

} // namespace app
