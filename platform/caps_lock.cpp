#include "platform/caps_lock.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>

namespace platform {

namespace {

/// A connection for the length of one call: Caps Lock changes a few times a day, and an open connection would only
/// gather events that nobody reads.
class Connection {
public:
    Connection() : display_(XOpenDisplay(nullptr)) {}
    ~Connection()
    {
        if (display_ != nullptr) XCloseDisplay(display_);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::optional<bool> capsLock() const
    {
        XkbStateRec state;
        if (display_ == nullptr || XkbGetState(display_, XkbUseCoreKbd, &state) != Success) return std::nullopt;
        return (state.locked_mods & LockMask) != 0;
    }

    void setCapsLock(bool on) const
    {
        XkbLockModifiers(display_, XkbUseCoreKbd, LockMask, on ? LockMask : 0);
        XSync(display_, False);
    }

private:
    Display* display_;
};

class X11Keyboard final : public Keyboard {
public:
    std::optional<bool> toggled(std::uint32_t key) override
    {
        if (key != capsLockKey) return std::nullopt;
        return Connection().capsLock();
    }

    void send(std::uint32_t key, std::uint32_t flags) override
    {
        if (key != capsLockKey || (flags & keyUp) != 0) return;
        const Connection connection;
        if (const auto on = connection.capsLock()) connection.setCapsLock(!*on);
    }
};

} // namespace

std::unique_ptr<Keyboard> systemKeyboard() { return std::make_unique<X11Keyboard>(); }

} // namespace platform
