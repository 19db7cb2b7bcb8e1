#pragma once

#include "app/form1.h"
#include "app/server_line.h"
#include "store/jet_engine.h"
#include "store/joint/shared_databases.h"
#include "tools/scale_line.h"
#include "tools/scenario_script.h"
#include "tools/scenario_world.h"

#include <QObject>
#include <QTemporaryDir>
#include <memory>

namespace scenario {

/// What could not be done, or was not as expected.
struct Failure {
    QString sentence;
};

struct PlayerOptions {
    QString directory; ///< holds Yag.mdb
    QString printTo;   ///< folder for slips; empty: the system's default queue
    QString shots;     ///< folder for pictures; empty: pictures are not saved
    QDateTime now;     ///< where the clock starts; invalid: the real one
    bool echo = false; ///< every command that is done goes to standard output, with its line number
};

/// Plays commands on the real screen, one after the other. While a dialog of the program is open, the commands that
/// follow act on the dialog.
class Player : public QObject {
    Q_OBJECT

public:
    explicit Player(const PlayerOptions& options);
    ~Player() override;

    /// Plays all of them; true when nothing failed and every answer was asked for. The first failure goes to standard
    /// error.
    bool play(std::vector<Command> commands);

private:
    void step();
    void perform(const Command& command);
    void fail(const Command& command, const QString& fault); ///< only the first one is told

    void start();
    void close();
    void click(const QString& control);
    void clickWidget(QWidget* widget, const QString& name);
    void key(const QString& caption);
    void keys(const QString& text);
    void scale(const QString& text);
    void send(const QString& text);
    void unplug();
    void plug();
    void waitForPlug(bool in);
    void pick(const QString& text);
    void choose(const QString& control, const QString& entry);
    void menu(const QString& item);
    void date(const QString& control, const QString& day);
    void expect(const QString& control, const QString& property, const QString& value);
    void cell(int row, int column, const QString& value);
    void table(const QString& name, int count);
    void report(const QString& first, const QString& last, const QString& customer);
    void printHas(const QString& text);
    void setting(const QString& section, const QString& key, const QString& value);
    void line(const QString& text);
    void await(const QString& file);
    void shot(const QString& name);

    QString databaseFile() const;
    QWidget* window() const; ///< the dialog in front, or the screen
    QObject* find(const QString& control) const;
    QString property(const QString& control, const QString& property) const;

    PlayerOptions options_;
    QTemporaryDir settingsFolder_;
    std::unique_ptr<app::SettingsStore> settings_;
    store::JetDatabases files_;
    shared::SharedDatabases databases_{files_};
    std::unique_ptr<store::SlipNotes> slips_;
    std::unique_ptr<weights::WeightBook> weights_;
    std::unique_ptr<store::Backups> backups_;
    /// None that can be read: a scenario leaves the real Caps Lock alone.
    std::unique_ptr<platform::Keyboard> keyboard_ = app::keyboardOf(u"offscreen");
    AnsweringPrompt prompt_;
    std::unique_ptr<WatchedTarget> printer_;
    std::unique_ptr<ScaleLine> line_;
    std::unique_ptr<app::Form1> form_;
    std::unique_ptr<app::ServerLine> server_; ///< of a folder that shares a register
    qint64 clockOffset_ = 0;

    std::vector<Command> commands_;
    std::size_t next_ = 0;
    int running_ = 0;
    bool failed_ = false;
};

} // namespace scenario
