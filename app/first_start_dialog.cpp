#include "app/first_start_dialog.h"

#include "app/message_boxes.h"
#include "app/setting_names.h"
#include <QFileDialog>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace app {

counter::FirstChoice askForDatabase()
{
    for (;;) {
        const auto box = messageBox(nullptr, QMessageBox::Question, programTitle,
                                    u"Bu bilgisayarda henüz veri yok.\n\nEski programın Yag.mdb dosyası "
                                    u"kopyalanarak "
                                    u"taşınabilir; dosyanın kendisine dokunulmaz. Yoksa boş başlanır."_s,
                                    u"Yag.mdb taşı"_s, u"Boş başla"_s);
        box->exec();
        if (!box->clickedButton()) return {.leave = true, .carry = {}};
        if (box->buttonRole(box->clickedButton()) != QMessageBox::YesRole) return {};
        const QString file = QFileDialog::getOpenFileName(nullptr, u"Yag.mdb taşı"_s, {},
                                                          u"Access veritabanı (*.mdb);;Tüm dosyalar (*)"_s);
        // Cancelled: the question stands again, nothing is decided by accident.
        if (!file.isEmpty()) return {.leave = false, .carry = std::filesystem::path(file.toStdU16String())};
    }
}

} // namespace app
