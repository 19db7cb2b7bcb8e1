#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

/// A mill's counter as a process of its own: presva-scenario on one database in a temporary folder, under Turkish
/// settings. Build paths come from the build system (PRESVA_SCENARIO, PRESVA_MDB).
class Counter {
public:
    /// On a fresh database, or on a copy of one.
    explicit Counter(const QString& database = {})
    {
        if (database.isEmpty())
            ready_ = runTool({"create", databasePath()});
        else
            ready_ = QFile::copy(database, databasePath()) &&
                     QFile::setPermissions(databasePath(), QFile::ReadOwner | QFile::WriteOwner);
        if (ready_ && overRegister()) ready_ = inRegister(u"join"_s);
    }

    bool ready() const { return ready_ && folder_.isValid(); }
    QString path(const QString& name) const { return folder_.filePath(name); }
    QString databasePath() const { return path("Yag.mdb"); }

    /// Starts the process; `scenario` is the text of a scenario.
    std::unique_ptr<QProcess> start(const QString& scenario, const QStringList& options = {}) const
    {
        QFile file(path("scenario.txt"));
        if (!file.open(QIODevice::WriteOnly) || file.write(scenario.toUtf8()) < 0) return nullptr;
        file.close();
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LANG", "tr_TR.UTF-8");
        environment.insert("TMPDIR", temporary_.path());
        for (const char* other : {"LC_ALL", "LC_NUMERIC", "LC_TIME"}) environment.remove(other);
        // Its output is read here, where nobody answers its questions.
        environment.remove("PRESVA_SCENARIO_HOST");
        process->setProcessEnvironment(environment);
        process->start(PRESVA_SCENARIO, QStringList{file.fileName(), "--dir", folder_.path()} + options);
        return process->waitForStarted() ? std::move(process) : nullptr;
    }

    /// Plays it to its end; what went wrong, empty when nothing did.
    QString play(const QString& scenario, const QStringList& options = {}) const
    {
        const std::unique_ptr<QProcess> process = start(scenario, options);
        return process ? outcome(*process) : u"presva-scenario does not start"_s;
    }
    static QString outcome(QProcess& process)
    {
        if (process.state() != QProcess::NotRunning && !process.waitForFinished(300000))
            return u"presva-scenario does not end"_s;
        const QString said = QString::fromUtf8(process.readAllStandardError());
        if (process.exitStatus() != QProcess::NormalExit) return "presva-scenario crashed: " + said;
        return process.exitCode() == 0 ? QString() : "presva-scenario: " + said;
    }

    /// The database holds together.
    bool sound() const { return runTool({"check", databasePath()}); }
    /// The book of weights holds together, and agrees with journal and log.
    bool bookAgrees() const { return runTool({"weights", folder_.path(), "--verify"}); }

    /// Where the counter shares a register (tests/scenarios/in-register), what it stored has arrived there, each once.
    bool hasArrived() const { return !overRegister() || inRegister(u"compare"_s); }

private:
    static bool overRegister() { return qEnvironmentVariableIsSet("PRESVA_REGISTER"); }
    bool inRegister(const QString& what) const
    {
        return runs(QString::fromUtf8(SCENARIOS) + u"/in-register"_s,
                    {what, QFileInfo(QString::fromUtf8(PRESVA_MDB)).path(), folder_.path()});
    }
    static bool runTool(const QStringList& arguments) { return runs(PRESVA_MDB, arguments); }
    static bool runs(const QString& program, const QStringList& arguments)
    {
        QProcess tool;
        tool.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        tool.start(program, arguments);
        return tool.waitForFinished(60000) && tool.exitStatus() == QProcess::NormalExit && tool.exitCode() == 0;
    }

    QTemporaryDir folder_;
    QTemporaryDir temporary_; ///< what a killed process leaves behind goes with the test
    bool ready_ = false;
};

/// What a counter that was started with --echo says, heard without losing time.
struct Ear {
    QProcess& process;
    QByteArray said = {};

    /// Whether it has said by now that it did a command so many times.
    bool heard(const QByteArray& command, qsizetype times = 1)
    {
        process.waitForReadyRead(0);
        said += process.readAllStandardOutput().replace("\r", ""); // Windows ends its lines so
        return said.count(command + '\n') >= times;
    }
    /// False when the process ends first, or hangs.
    bool waitFor(const std::function<bool()>& happened)
    {
        QElapsedTimer patience;
        for (patience.start(); patience.elapsed() < 60000;) {
            if (happened()) return true;
            if (process.state() == QProcess::NotRunning) return happened();
            QThread::usleep(100);
        }
        return false;
    }
    bool waitToHear(const QByteArray& command, qsizetype times = 1)
    {
        return waitFor([&] { return heard(command, times); });
    }
};

/// A table as another program reads it: one list of fields for each row, addressed by column name.
class ExportedTable {
public:
    explicit ExportedTable(QList<QStringList> rows) : rows_(std::move(rows))
    {
        if (!rows_.isEmpty()) names_ = rows_.takeFirst();
    }
    qsizetype size() const { return rows_.size(); }
    QString text(qsizetype row, const QString& column) const { return rows_[row].value(names_.indexOf(column)); }
    double number(qsizetype row, const QString& column) const { return text(row, column).toDouble(); }

private:
    QStringList names_;
    QList<QStringList> rows_;
};
