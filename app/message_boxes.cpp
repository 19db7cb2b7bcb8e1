#include "app/message_boxes.h"
#include "app/font_dialog.h"
#include "app/painting.h"
#include "app/setting_names.h"
#include "base/error.h"
#include <QLoggingCategory>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace app {

namespace {

const QString ok = u"Tamam"_s;

} // namespace

std::unique_ptr<QMessageBox> messageBox(QWidget* owner, QMessageBox::Icon icon, const QString& title,
                                        const QString& text, const QString& yes, const QString& no)
{
    auto box = std::make_unique<QMessageBox>(owner);
    box->setWindowTitle(title);
    box->setTextFormat(Qt::PlainText);
    box->setText(text);
    box->setIcon(icon);
    // A till screen may run without a window manager, that is without window frames.
    box->setStyleSheet(u"QMessageBox{background:#FFFFFF;border:2px solid #003C5A;}"_s);
    const int pixels = owner ? std::max(18, owner->height() / 42) : 18;
    box->setFont(painting::sized(box->font(), pixels, false));
    QPushButton* last = nullptr;
    const auto add = [&](const QString& caption, QMessageBox::ButtonRole role) {
        last = box->addButton(caption, role);
        last->setAutoDefault(false);
        last->setMinimumSize(pixels * 8, pixels * 3);
        last->setFont(painting::sized(box->font(), pixels, true));
        last->setIcon(QIcon());
    };
    add(yes, no.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::YesRole);
    if (!no.isEmpty()) add(no, QMessageBox::NoRole);
    box->setDefaultButton(last);
    box->setEscapeButton(last);
    return box;
}

void MessageBoxes::exclamation(const QString& text)
{
    messageBox(owner_, QMessageBox::Warning, programTitle, text, ok)->exec();
}

void MessageBoxes::errorReport(const base::RuntimeError& error)
{
    const QString report = u"Run-time error '%1':\n\n%2"_s.arg(error.number()).arg(error.text());
    if (reporting_) {
        qWarning().noquote() << report.simplified();
        return;
    }
    reporting_ = true;
    messageBox(owner_, QMessageBox::Critical, programTitle, report, ok)->exec();
    reporting_ = false;
}

bool MessageBoxes::yesNo(const QString& text, const QString& title)
{
    const auto box = messageBox(owner_, QMessageBox::Critical, title, text, u"Evet"_s, u"Hayır"_s);
    box->exec();
    return box->buttonRole(box->clickedButton()) == QMessageBox::YesRole;
}

std::optional<FontChoice> MessageBoxes::chooseFont(const FontChoice& preset)
{
    FontDialog dialog(preset, owner_);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    return dialog.choice();
}

void MessageBoxes::getReady()
{
    // Drawn once and thrown away: fonts, icons and style are at hand from then on.
    messageBox(owner_, QMessageBox::Critical, programTitle, programTitle, ok, ok)->grab();
    messageBox(owner_, QMessageBox::Warning, programTitle, programTitle, ok)->grab();
    FontDialog({u"Arial"_s}, owner_).grab();
}

} // namespace app
