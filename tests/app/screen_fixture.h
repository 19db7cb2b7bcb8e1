#pragma once

#include "app/form1.h"
#include "app/theme.h"
#include "files/memory_disk.h"
#include "mill/tables.h"
#include "print/folder_target.h"
#include "store/jet/database/database.h"
#include "tests/doors/fake_clock.h"
#include "tests/doors/fake_keyboard.h"
#include "tests/doors/fake_prompt.h"
#include "tests/joint/tried_databases.h"
#include <QCoreApplication>
#include <QMouseEvent>
#include <QTemporaryDir>

/// The pointer moves over a control. The real one stays where it is: on an X server its moves arrive when they like.
inline void hover(QWidget* control, QPoint at = {-1, -1})
{
    const QPointF place = at == QPoint(-1, -1) ? QPointF(control->rect().center()) : QPointF(at);
    QMouseEvent move(QEvent::MouseMove, place, control->mapToGlobal(place), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(control, &move);
}

/// Whatever stands around a screen in a test: an empty database in memory, settings and printouts in a folder.
struct World {
    explicit World(const base::Regional& regional = base::Regional::turkish()) : regional(regional)
    {
        const std::filesystem::path file = World::file().toStdU16String();
        jet::Database::create(disk, file, jet::turkish, {});
        mill::createTables(*jet::Database::open(disk, file), {});
    }

    base::Regional regional;
    QTemporaryDir folder;
    FakePrompt prompt;
    app::SettingsStore settings{folder.path()};
    files::MemoryDisk disk;
    TriedDatabases databases{disk};
    print::FolderTarget printer{folder.path()};
    store::SlipNotes slips{disk, file().toStdU16String()};
    weights::WeightBook ownBook{disk, folder.path().toStdU16String()};
    weights::WeightBook* book = &ownBook; ///< of weights; on another disk where a test wants it there
    FakeKeyboard keyboard;
    FakeClock clock;

    /// The folder that stands for the system's devices: none, until a test plugs some in.
    QString devices() const { return folder.filePath(u"dev"_s); }
    QString file() const { return folder.filePath(u"Yag.mdb"_s); }

    app::Surroundings surroundings() { return surroundings(databases, printer, slips); }
    /// With other databases, another printer, another place for the slip's note, and copies.
    app::Surroundings surroundings(store::Databases& books, print::PrintTarget& target, store::SlipNotes& notes,
                                   store::Backups* backups = nullptr)
    {
        return {.prompt = prompt,
                .settings = settings,
                .regional = regional,
                .directory = folder.path(),
                .devices = devices(),
                .executable = u"presva"_s,
                .databases = books,
                .printer = target,
                .slips = notes,
                .weights = *book,
                .keyboard = keyboard,
                .now = clock.hands(),
                .backups = backups};
    }

    /// Every message box that was shown.
    QStringList messages() const
    {
        QStringList all = prompt.exclamations + prompt.questions;
        for (const int number : prompt.errors) all += u"E%1"_s.arg(number);
        return all;
    }

    /// Adds a row behind the screen's back.
    void addRow(store::Databases& books, const QString& table, const std::vector<store::FieldValue>& values) const
    {
        const auto engine = books.open(file());
        store::Assignments assignments;
        for (std::size_t i = 0; i < values.size(); ++i) assignments.emplace_back(static_cast<int>(i), values[i]);
        engine->insert(engine->open(table), assignments);
    }
};

/// The screen in its world, loaded, shown and activated by start().
struct Screen : World {
    app::Form1 form{surroundings()};
};
