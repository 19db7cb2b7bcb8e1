#include "platform/caps_lock.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>

namespace platform {

namespace {

struct CloseDisplay {
    void operator()(Display* display) const { XCloseDisplay(display); }
};
/// A connection for the length of one call: Caps Lock changes a few times a day, and an open connection would only
/// gather events that nobody reads.
using Connection = std::unique_ptr<Display, CloseDisplay>;
Connection connect() { return Connection(XOpenDisplay(nullptr)); }

std::optional<bool> capsLock(Display* display)
{
    XkbStateRec state;
    if (display == nullptr || XkbGetState(display, XkbUseCoreKbd, &state) != Success) return std::nullopt;
    return (state.locked_mods & LockMask) != 0;
}

class X11Keyboard final : public Keyboard {
public:
    std::optional<bool> toggled(std::uint32_t key) override
    {
        if (key != capsLockKey) return std::nullopt;
        return capsLock(connect().get());
    }

    void send(std::uint32_t key, std::uint32_t flags) override
    {
        if (key != capsLockKey || (flags & keyUp) != 0) return;
        const Connection connection = connect();
        const auto on = capsLock(connection.get());
        if (!on) return;
        XkbLockModifiers(connection.get(), XkbUseCoreKbd, LockMask, *on ? 0 : LockMask);
        XSync(connection.get(), False);
    }
};

} // namespace

std::unique_ptr<Keyboard> systemKeyboard() { return std::make_unique<X11Keyboard>(); }

} // namespace platform
