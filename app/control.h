#pragma once

#include "app/twips.h"
#include <QWidget>
#include <array>
#include <functional>
#include <utility>

namespace app {

/// What follows when the operator touches a control: the handler, and the line that gave it to the control. An
/// exception that nobody expected does not say where it came from; its report names this line.
class Action {
public:
    Action() = default;
    template <class Handler>
    Action(Handler handler, const char* file = __builtin_FILE(), int line = __builtin_LINE())
        : handler_(std::move(handler)), file_(file), line_(line)
    {
    }

    explicit operator bool() const { return static_cast<bool>(handler_); }
    void operator()() const { handler_(); }
    const char* file() const { return file_; }
    int line() const { return line_; }

private:
    std::function<void()> handler_;
    const char* file_ = "";
    int line_ = 0;
};

/// Where the operator's actions begin and end. The screen is one; tests may be another.
class ActionHost {
public:
    virtual ~ActionHost() = default;
    /// Runs one whole action. Nothing it throws comes out again. `place` is the control that began it.
    virtual void run(const Action& action, const QString& place = {}) = 0;
    /// Whether something lies over the control, which then gets no input: neither by touch nor by keyboard.
    virtual bool covers(const QWidget& /*control*/) const { return false; }
};

/// Runs `action` in the nearest host above `where`, or plainly when there is none. Controls call it for what the
/// operator's hand did; what code does to a control runs its rule directly, so that an error travels to the
/// statement that caused it. Does nothing for an empty action. The action is known by the name of `where`, or by
/// `place`.
void beginAction(QWidget* where, const Action& action, const QString& place = {});

/// True while a frame above the control is disabled, or the screen covers it. Such a control keeps its own Enabled
/// value and its looks; it only gets no input.
bool inputBlocked(const QWidget* control);

/// True for the mouse, touch, wheel and key events that a blocked control must not see.
bool isInput(const QEvent* event);

/// Has what every control of the screen has: its own Visible and Enabled values, which do not depend on the frames
/// around it, and its place in its container in twips.
template <class Widget> class Control : public Widget {
public:
    using Widget::Widget;

    /// The control's own value: still true when a frame around it, or the window, is not shown.
    bool visible() const { return !this->isHidden(); }
    /// The control's own value: still true when a frame around it is disabled.
    bool enabled() const { return !this->testAttribute(Qt::WA_ForceDisabled); }

    int Left() const { return twips::fromPixels(this->x()); }
    int Top() const { return twips::fromPixels(this->y()); }
    int Width() const { return twips::fromPixels(this->width()); }
    int Height() const { return twips::fromPixels(this->height()); }
    void setLeft(double twipsLeft) { this->move(twips::toPixels(twipsLeft), this->y()); }
    void setTop(double twipsTop) { this->move(this->x(), twips::toPixels(twipsTop)); }
};

/// Raises error 340, "Control array element 'index' doesn't exist".
[[noreturn]] void throwNoControl(int index);

/// The controls that share one name. They belong to the screen; the array only finds them.
/// An index without a control is error 340, not a crash: station 999 means that none is current.
template <class T, int count> class ControlArray {
public:
    T*& operator[](int index)
    {
        if (index < 0 || index >= count) throwNoControl(index);
        return controls_[static_cast<std::size_t>(index)];
    }
    T* operator[](int index) const
    {
        if (index < 0 || index >= count) throwNoControl(index);
        return controls_[static_cast<std::size_t>(index)];
    }
    static constexpr int size() { return count; }
    auto begin() const { return controls_.begin(); }
    auto end() const { return controls_.end(); }

private:
    std::array<T*, static_cast<std::size_t>(count)> controls_{};
};

} // namespace app
