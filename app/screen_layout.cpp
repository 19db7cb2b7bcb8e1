#include "app/screen_layout.h"

#include "base/flag_text.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace app {

namespace {

const QString section = u"ActiveResize"_s;

std::optional<int> number(const SettingsStore& settings, const QString& application, const char* key)
{
    bool valid = false;
    const int value = settings.get(application, section, QString::fromLatin1(key), {}).toInt(&valid);
    return valid ? std::optional(value) : std::nullopt;
}

QScreen* screenAt(const QRect& place)
{
    QScreen* best = QGuiApplication::primaryScreen();
    qint64 bestArea = 0;
    for (QScreen* screen : QGuiApplication::screens()) {
        const QRect shared = screen->availableGeometry() & place;
        const qint64 area = qint64(shared.width()) * shared.height();
        if (area > bestArea) {
            best = screen;
            bestArea = area;
        }
    }
    return best;
}

/// What the system has drawn around it; nothing before it is shown.
QMargins frameOf(const QWidget& form)
{
    const QRect inner = form.geometry();
    const QRect outer = form.frameGeometry();
    return {inner.left() - outer.left(), inner.top() - outer.top(), outer.right() - inner.right(),
            outer.bottom() - inner.bottom()};
}

QRect fitted(QRect place, const QRect& room)
{
    place.setSize(place.size().boundedTo(room.size()));
    place.moveLeft(std::clamp(place.left(), room.left(), room.right() - place.width() + 1));
    place.moveTop(std::clamp(place.top(), room.top(), room.bottom() - place.height() + 1));
    return place;
}

} // namespace

void ScreenLayout::restore(const QString& application, bool size, QWidget& form)
{
    if (restored_) return;
    restored_ = true;
    const auto left = number(settings_, application, "Left");
    const auto top = number(settings_, application, "Top");
    const auto width = number(settings_, application, "Width");
    const auto height = number(settings_, application, "Height");
    const bool stored = left && top && width && height;

    QRect place = stored ? QRect(*left, *top, *width, *height) : QGuiApplication::primaryScreen()->availableGeometry();
    if (!size) place.setSize(form.size());
    // A title bar above the screen's edge cannot be grabbed, nor its close box tapped.
    const QRect room = screenAt(place)->availableGeometry().marginsRemoved(frameOf(form));
    // A small screen overrules the smallest size that the form would like.
    form.setMinimumSize(form.minimumSize().boundedTo(room.size()));
    place.setSize(place.size().expandedTo(form.minimumSize()));
    form.setGeometry(fitted(place, room));
    const bool wide = !stored || settings_.get(application, section, u"Maximized"_s, {}) == base::flagText(true);
    if (wide && size) form.setWindowState(form.windowState() | Qt::WindowMaximized);
}

void ScreenLayout::save(const QString& application, bool size, const QWidget& form)
{
    const bool wide = form.isMaximized() || form.isFullScreen();
    // The place to come back to when the window is no longer maximised.
    const QRect place = wide && form.normalGeometry().isValid() ? form.normalGeometry() : form.geometry();
    const auto keep = [&](const char* key, const QString& text) {
        settings_.save(application, section, QString::fromLatin1(key), text);
    };
    keep("Left", QString::number(place.left()));
    keep("Top", QString::number(place.top()));
    if (!size) return;
    keep("Width", QString::number(place.width()));
    keep("Height", QString::number(place.height()));
    keep("Maximized", base::flagText(wide));
}

} // namespace app
