#include "tests/package/window_of.h"

#include <X11/Xlib.h> // after Qt: Xlib's macros break its headers
#include <X11/Xutil.h>
#include <vector>

namespace {

/// A window may vanish between two questions; that is no reason to end the test.
int overlook(Display*, XErrorEvent*) { return 0; }

std::vector<Window> childrenOf(Display* display, Window window)
{
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    if (XQueryTree(display, window, &root, &parent, &children, &count) == 0) return {};
    std::vector<Window> result(children, children + count);
    if (children != nullptr) XFree(children);
    return result;
}

qint64 processOf(Display* display, Window window)
{
    Atom type = 0;
    int format = 0;
    unsigned long items = 0;
    unsigned long rest = 0;
    unsigned char* value = nullptr;
    XGetWindowProperty(display, window, XInternAtom(display, "_NET_WM_PID", False), 0, 1, False, AnyPropertyType, &type,
                       &format, &items, &rest, &value);
    if (value == nullptr) return 0;
    const auto process = items == 1 ? static_cast<qint64>(*reinterpret_cast<unsigned long*>(value)) : 0;
    XFree(value);
    return process;
}

} // namespace

WindowOf::WindowOf(const QString& display, qint64 process)
    : display_(XOpenDisplay(qPrintable(display))), process_(process)
{
    XSetErrorHandler(overlook);
}

WindowOf::~WindowOf()
{
    if (display_ != nullptr) XCloseDisplay(display_);
}

unsigned long WindowOf::find() const
{
    if (display_ == nullptr) return 0;
    for (const Window window : childrenOf(display_, DefaultRootWindow(display_))) {
        XWindowAttributes attributes = {};
        if (processOf(display_, window) == process_ && XGetWindowAttributes(display_, window, &attributes) != 0 &&
            attributes.map_state == IsViewable && attributes.width > 600 && attributes.height > 400)
            return window;
    }
    return 0;
}

bool WindowOf::isShown() const { return find() != 0; }

QImage WindowOf::picture() const
{
    const Window window = find();
    XWindowAttributes size = {};
    if (window == 0 || XGetWindowAttributes(display_, window, &size) == 0) return {};
    // Parts beyond the edge of the screen cannot be asked for.
    const int width = qMin(size.width, DisplayWidth(display_, 0) - size.x);
    const int height = qMin(size.height, DisplayHeight(display_, 0) - size.y);
    XImage* const image = XGetImage(display_, window, 0, 0, static_cast<unsigned>(width), static_cast<unsigned>(height),
                                    AllPlanes, ZPixmap);
    if (image == nullptr) return {};
    QImage picture(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) picture.setPixel(x, y, static_cast<uint>(XGetPixel(image, x, y)) | 0xFF000000U);
    XDestroyImage(image);
    return picture;
}

void WindowOf::close() const
{
    const Window window = find();
    if (window == 0) return;
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display_, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display_, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display_, window, False, NoEventMask, &event);
    XFlush(display_);
}

bool holdsKeypad(const QImage& picture)
{
    constexpr QRgb keyColour = 0xFF00FFFF;
    int painted = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) painted += picture.pixel(x, y) == keyColour ? 1 : 0;
    return painted > picture.width() * picture.height() / 10;
}
