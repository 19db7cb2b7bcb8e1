#pragma once

#include "store/jet_engine.h"
#include "store/joint/shared_databases.h"
#include "store/postgres/server_settings.h"

#include <QString>
#include <map>
#include <memory>

/// Databases of a test that is run over both engines. As a rule each is the file's engine alone.
///
/// Where PRESVA_REGISTER names the folder of a server (tests/joint/register_server), a mill's file that is opened first
/// joins a register of its own: the engine of a shared register stands in front of it, and its line brings to the
/// server what is changed. When the object goes, everything must have arrived: the test fails unless the server has the
/// rows of the file, each once, and nothing waits any more. A file that no register takes, as its tables are another
/// maker's, stays with its engine.
class TriedDatabases : public store::Databases {
public:
    enum class Line {
        toServer,
        none ///< what is changed waits: of a world that is torn into several, each with a file of its own
    };

    explicit TriedDatabases(files::Disk& disk, Line line = Line::toServer);
    ~TriedDatabases() override;
    TriedDatabases(const TriedDatabases&) = delete;
    TriedDatabases& operator=(const TriedDatabases&) = delete;

    std::shared_ptr<store::Engine> open(const QString& path) override;

    static bool overRegister() { return qEnvironmentVariableIsSet("PRESVA_REGISTER"); }

private:
    struct Counter {
        postgres::ServerSettings settings;
        std::weak_ptr<shared::SharedEngine> engine; ///< that the line belongs to
        std::unique_ptr<postgres::SharedLine> line;
    };

    bool join(const QString& path, Counter& counter) const;
    void giveLine(Counter& counter, const std::shared_ptr<shared::SharedEngine>& engine) const;
    /// What has not arrived as it should have; empty: all is well.
    QString lost(const QString& path, Counter& counter);

    files::Disk& disk_;
    Line line_;
    store::JetDatabases files_;
    shared::SharedDatabases shared_;
    std::map<QString, Counter> counters_; ///< by path; only those that joined
    std::map<QString, bool> seen_;        ///< and whether they did
};
