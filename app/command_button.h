#pragma once

#include "app/caption_label.h"
#include <optional>

namespace app {

/// A command button: a caption or a drawn picture on a raised ground.
class CommandButton : public CaptionLabel {
    Q_OBJECT

public:
    enum class Picture { none, exit, cross };

    explicit CommandButton(QWidget* parent, const QString& caption = {}, Picture picture = Picture::none);

    /// The button that ends a piece of work ("Fiş Yaz"): it is drawn to be found first.
    void setMain(bool main);

    /// Hides QWidget's own: what is set while the button is at work holds from the end of the work on.
    void setEnabled(bool enabled);

protected:
    void paintEvent(QPaintEvent* event) override;
    /// The button is drawn as switched on.
    virtual bool isChosen() const { return false; }

private:
    friend class ButtonAtWork;

    Picture picture_;
    bool main_ = false;
    std::optional<bool> enabledAfterWork_; ///< only while it is at work
};

/// The work of a button that prints. Until it ends the button is disabled, and so meets every further tap, those that
/// still wait when it ends included: they are dropped. Whatever happens, the button comes back, unless something has
/// disabled it meanwhile: a tap elsewhere that waited may have cleared the very customer, a line of the scale the
/// weight.
class ButtonAtWork {
public:
    explicit ButtonAtWork(CommandButton& button);
    ~ButtonAtWork();
    ButtonAtWork(const ButtonAtWork&) = delete;
    ButtonAtWork& operator=(const ButtonAtWork&) = delete;

private:
    CommandButton& button_;
};

/// A button that stays down. Whenever the operator changes its value, its click runs once.
class CheckButton : public CommandButton {
    Q_OBJECT

public:
    using CommandButton::CommandButton;

    bool value() const { return value_; }
    /// Brings the button in line with what its rule has decided; no click runs.
    void showValue(bool on);

protected:
    void pressed() override;
    bool isChosen() const override { return value_; }

private:
    bool value_ = false;
};

/// One of several choices: turning one on turns the other option buttons of the same container off.
/// The click runs at every press, also when the button is on: what is chosen is applied again. It never runs when the
/// button goes off.
class OptionButton : public CommandButton {
    Q_OBJECT

public:
    using CommandButton::CommandButton;

    bool value() const { return value_; }
    /// As a press: on, and the click runs, on already or not.
    void choose();
    /// On, and the others off; no click runs.
    void showChosen() { turnOn(); }

protected:
    void pressed() override;
    void paintEvent(QPaintEvent* event) override;

private:
    void turnOn();
    bool value_ = false;
};

} // namespace app
