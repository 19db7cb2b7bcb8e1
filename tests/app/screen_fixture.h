#pragma once

#include "app/form1.h"
#include "app/theme.h"
#include "base/error.h"
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "platform/caps_lock.h"
#include "print/folder_target.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include <QCoreApplication>
#include <QMouseEvent>
#include <QTemporaryDir>

/// Answers the screen's message boxes without showing them, and remembers what was asked.
class RecordingPrompt : public app::Prompt {
public:
    void exclamation(const QString& text) override { exclamations << text; }
    void errorReport(const base::RuntimeError& error) override { errors << error.number(); }
    bool yesNo(const QString& text, const QString& title) override
    {
        questions << title + u'|' + text;
        return answer;
    }
    std::optional<app::FontChoice> chooseFont(const app::FontChoice& preset) override
    {
        fontPresets << preset;
        return font;
    }

    QStringList exclamations;
    QList<int> errors;
    QStringList questions;
    bool answer = false;
    QList<app::FontChoice> fontPresets;  ///< what the font dialog was opened on
    std::optional<app::FontChoice> font; ///< what is chosen in it; nothing: it is cancelled
};

/// The pointer moves over a control. The real one stays where it is: on an X server its moves arrive when they like.
inline void hover(QWidget* control, QPoint at = {-1, -1})
{
    const QPointF place = at == QPoint(-1, -1) ? QPointF(control->rect().center()) : QPointF(at);
    QMouseEvent move(QEvent::MouseMove, place, control->mapToGlobal(place), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(control, &move);
}

/// A keyboard with nothing but a Caps Lock key, which counts its presses.
class PlainKeyboard : public platform::Keyboard {
public:
    std::optional<bool> toggled(std::uint32_t) override { return on; }
    void send(std::uint32_t, std::uint32_t flags) override
    {
        if (flags & platform::keyUp) return;
        on = !on;
        ++presses;
    }

    bool on = false;
    int presses = 0;
};

/// Whatever stands around a screen in a test: an empty database in memory, settings and printouts in a folder.
struct World {
    World()
    {
        const std::filesystem::path file = folder.filePath(QStringLiteral("Yag.mdb")).toStdU16String();
        jet::Database::create(disk, file, jet::turkish, {});
        mill::createTables(*jet::Database::open(disk, file), {});
    }

    QTemporaryDir folder;
    RecordingPrompt prompt;
    app::SettingsStore settings{folder.path()};
    files::MemoryDisk disk;
    store::JetDatabases databases{disk};
    print::FolderTarget printer{folder.path()};
    store::SlipNotes slips{disk, folder.filePath(QStringLiteral("Yag.mdb")).toStdString()};
    PlainKeyboard keyboard;
    QDateTime now{QDate(2025, 11, 20), QTime(14, 5)};

    app::Surroundings surroundings()
    {
        return {.prompt = prompt,
                .settings = settings,
                .regional = base::Regional::turkish(),
                .directory = folder.path(),
                .executable = QStringLiteral("presva"),
                .databases = databases,
                .printer = printer,
                .slips = slips,
                .keyboard = keyboard,
                .now = [this] { return now; }};
    }
};

/// The screen in its world, loaded, shown and activated by start().
struct Screen : World {
    app::Form1 form{surroundings()};
};
