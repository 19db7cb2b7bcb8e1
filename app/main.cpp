// Mendrik Presva: starts the one screen on the database of the program's directory.

#include "app/application.h"
#include "app/first_start.h"
#include "app/form1.h"
#include "app/keyboard_state.h"
#include "app/message_boxes.h"
#include "app/screen_scale.h"
#include "app/server_line.h"
#include "app/setting_names.h"
#include "app/settings_store.h"
#include "app/theme.h"
#include "mill/queries.h"
#include "platform/memory.h"
#include "platform/system_disk.h"
#include "print/folder_target.h"
#include "print/queue_or_folder.h"
#include "print/queue_target.h"
#include "store/jet_engine.h"
#include "store/joint/shared_databases.h"

#include <QCommandLineParser>
#include <QDir>

using namespace Qt::StringLiterals;

namespace {

/// Slips go into a folder as PDF files; else to the system's default queue, or where there is none into the other
/// folder, if one is named.
std::unique_ptr<print::PrintTarget> printTarget(const QString& folder, const QString& withoutQueue)
{
    if (folder.isEmpty() && !withoutQueue.isEmpty()) return print::queueOrFolder(withoutQueue);
    if (folder.isEmpty()) return std::make_unique<print::QueueTarget>();
    QDir().mkpath(folder);
    return std::make_unique<print::FolderTarget>(folder);
}

} // namespace

int main(int argc, char** argv)
{
    platform::keepLargeBlocksApart();
    app::lowerScaleFor(app::Form1::leastSize);
    app::Application application(argc, argv);
    QApplication::setApplicationDisplayName(app::programTitle);
    QApplication::setApplicationVersion(QString::fromUtf8(PRESVA_VERSION));
    QApplication::setDesktopFileName(u"org.mendrik.Presva"_s);
    app::applyTheme(application);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Zeytinyağı sıkım tezgâhının programı."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption dir(u"dir"_s, u"Yag.mdb'nin klasörü (verilmezse programınki)"_s, u"KLASÖR"_s);
    const QCommandLineOption printTo(u"print-to"_s, u"fişler yazıcı yerine bu klasöre PDF olarak yazılır"_s,
                                     u"KLASÖR"_s);
    const QCommandLineOption printElse(u"print-else"_s,
                                       u"varsayılan yazıcı yoksa fişler bu klasöre PDF olarak yazılır"_s, u"KLASÖR"_s);
    const QCommandLineOption copyFrom(u"copy-from"_s, u"eski bir Yag.mdb'yi önce veri klasörüne kopyalar"_s,
                                      u"DOSYA"_s);
    parser.addOptions({dir, printTo, printElse, copyFrom});
    parser.process(application);

    app::MessageBoxes boxes;
    app::SettingsStore settings;
    store::JetDatabases files(platform::systemDisk());
    shared::SharedDatabases databases(files);
    const std::unique_ptr<platform::Keyboard> keyboard = app::keyboardOf(QGuiApplication::platformName());
    const app::DataPlace data = app::dataPlace(app::usersDataFolder(), parser.value(dir), parser.value(printElse));
    const QString& directory = data.folder;
    if ((data.isOurs || parser.isSet(copyFrom)) && !app::ensureDatabase(boxes, directory, parser.value(copyFrom)))
        return 1;
    const std::unique_ptr<print::PrintTarget> printer = printTarget(parser.value(printTo), data.slipsWithoutQueue);
    store::SlipNotes slips(platform::systemDisk(),
                           (directory + u'/' + mill::text(mill::databaseFile)).toStdU16String());
    weights::WeightBook weights(platform::systemDisk(), directory.toStdU16String());
    store::Backups backups(platform::systemDisk(), directory.toStdU16String());
    app::Form1 form({
        .prompt = boxes,
        .settings = settings,
        .regional = base::Regional::system(),
        .directory = directory,
        .executable = app::executableName(),
        .databases = databases,
        .printer = *printer,
        .slips = slips,
        .weights = weights,
        .keyboard = *keyboard,
        .now = [] { return QDateTime::currentDateTime(); },
        .backups = &backups,
    });
    boxes.setOwner(&form);
    application.onUnexpected = [&form](const std::exception& error, const QString& receiver) {
        form.ownBug(error, receiver);
    };
    form.start();
    std::unique_ptr<app::ServerLine> server = app::lineToServer(form, databases);
    // A file that could not be opened at the start is, when the operator tries again.
    databases.onOpened([&] {
        QMetaObject::invokeMethod(
            &form,
            [&] {
                server.reset(); // its end takes it off the engine, which a line made before that would not notice
                server = app::lineToServer(form, databases);
            },
            Qt::QueuedConnection);
    });
    const int code = QApplication::exec();
    application.onUnexpected = nullptr; // the form goes first
    databases.onOpened({});
    return code;
}
