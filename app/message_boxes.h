#pragma once

#include "app/prompt.h"
#include <QMessageBox>
#include <memory>

namespace app {

/// The real message boxes: buttons for fingers, captions in Turkish whatever catalogue is loaded.
class MessageBoxes : public Prompt {
public:
    explicit MessageBoxes(QWidget* owner = nullptr) : owner_(owner) {}

    void setOwner(QWidget* owner) { owner_ = owner; }

    void exclamation(const QString& text) override;
    void errorReport(const base::RuntimeError& error) override;
    bool yesNo(const QString& text, const QString& title) override;
    std::optional<FontChoice> chooseFont(const FontChoice& preset) override;
    void getReady() override;

private:
    QWidget* owner_;
    bool reporting_ = false;
};

/// A box as MessageBoxes shows it; the caller shows it. For one button give no `no` caption; the last button is the
/// default one and the one that Esc and the close box mean.
std::unique_ptr<QMessageBox> messageBox(QWidget* owner, QMessageBox::Icon icon, const QString& title,
                                        const QString& text, const QString& yes, const QString& no = {});

} // namespace app
