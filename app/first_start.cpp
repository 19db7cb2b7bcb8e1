#include "app/first_start.h"

#include "app/message_boxes.h"
#include "app/setting_names.h"
#include "files/error.h"
#include "platform/data_folder.h"
#include "platform/system_disk.h"
#include "store/first_start.h"
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace app {

namespace {

QString nothingIn(const QString& folder)
{
    if (folder == usersDataFolder())
        return u"Bu Windows hesabında henüz veri yok; başka bir hesabın verileri o hesapla açılır."_s;
    return u"%1 klasöründe henüz veri yok."_s.arg(QDir::toNativeSeparators(folder));
}

store::FirstChoice ask(const QString& folder)
{
    for (;;) {
        const auto box =
            messageBox(nullptr, QMessageBox::Question, programTitle,
                       nothingIn(folder) + u"\n\nEski programın Yag.mdb dosyası kopyalanarak taşınabilir; dosyanın "
                                           u"kendisine dokunulmaz. Yoksa boş başlanır."_s,
                       u"Yag.mdb taşı"_s, u"Boş başla"_s);
        // A window that is closed, or Enter on a question that was not read, decides nothing.
        const QAbstractButton* other = box->buttons().constFirst();
        QPushButton* leave = box->addButton(u"Vazgeç"_s, QMessageBox::RejectRole);
        leave->setMinimumSize(other->minimumSize());
        leave->setFont(other->font());
        leave->setIcon(QIcon());
        box->setDefaultButton(leave);
        box->setEscapeButton(leave);
        box->exec();
        const QMessageBox::ButtonRole role = box->buttonRole(box->clickedButton());
        if (role == QMessageBox::NoRole) return {};
        if (role != QMessageBox::YesRole) return {.leave = true, .carry = {}};
        const QString file = QFileDialog::getOpenFileName(nullptr, u"Yag.mdb taşı"_s, {},
                                                          u"Access veritabanı (*.mdb);;Tüm dosyalar (*)"_s);
        // Cancelled: the question stands again, nothing is decided by accident.
        if (!file.isEmpty()) return {.leave = false, .carry = std::filesystem::path(file.toStdU16String())};
    }
}

} // namespace

std::optional<QString> usersDataFolder()
{
    const auto folder = platform::usersDataFolder(programTitle.toStdU16String());
    return folder ? std::optional(QString::fromStdU16String(folder->generic_u16string())) : std::nullopt;
}

DataPlace dataPlace(const std::optional<QString>& usersFolder, const QString& named, const QString& printElse)
{
    const QString usual = usersFolder.value_or(QCoreApplication::applicationDirPath());
    const QString folder = QDir(named.isEmpty() ? usual : named).absolutePath();
    const bool isOurs = usersFolder.has_value();
    return {folder, isOurs, isOurs && printElse.isEmpty() ? folder + u"/fis"_s : printElse};
}

bool ensureDatabase(Prompt& prompt, const QString& folder, const QString& copyFrom)
{
    std::optional<std::filesystem::path> from;
    if (!copyFrom.isEmpty()) from = copyFrom.toStdU16String();
    const qint64 seconds = QDateTime(QDate(1899, 12, 30), QTime()).secsTo(QDateTime::currentDateTime());
    try {
        return store::ensureDatabase(
            platform::systemDisk(), folder.toStdU16String(), from, [&] { return ask(folder); },
            jet::DateTime{static_cast<double>(seconds) / 86400.0});
    } catch (const files::Error& error) {
        prompt.exclamation(QString::fromUtf8(error.what()));
        return false;
    }
}

} // namespace app
