#pragma once

#include "store/joint/shared_databases.h"
#include "store/postgres/server_settings.h"
#include "store/postgres/shared_line.h"
#include "store/slip_note.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace app {

/// The register that this counter shares: brings its changes to the server, and what other counters did into the file,
/// a little at a time while nobody touches anything. The counter waits for it nowhere. Its tables are the engine's own;
/// what is listed on the screen stays until it is asked for again.
class ServerLine : public QObject {
public:
    struct Doors {
        /// A slice may be taken in: no action is under way and nothing is touched; or, when it has waited for so many
        /// milliseconds, at least no action is.
        std::function<bool(qint64 waited)> mayTake;
        /// The slip that is on its way to the printer, if there is one: whether it was booked is told by counting the
        /// pressings of its customer at its moment, and so none of these comes or goes until it is settled.
        std::function<std::optional<store::SlipNote>()> slip;
        std::function<void(const shared::Taken&)> taken;
        std::function<void(const QString&)> told; ///< how the line stands, for the status line
    };

    ServerLine(std::shared_ptr<shared::SharedEngine> engine, const postgres::ServerSettings& settings, Doors doors);
    ~ServerLine() override;

private:
    void look();
    void step();
    bool takeSlice(); ///< false while a slip on its way makes the next line wait
    void tell();
    std::size_t sliceLength() const;

    std::shared_ptr<shared::SharedEngine> engine_;
    Doors doors_;
    std::vector<postgres::HistoryLine> pending_;
    std::size_t done_ = 0; ///< of `pending_`
    bool connected_ = false;
    QString why_;
    QString clock_;
    QString fault_; ///< why the file does not take what others did
    QElapsedTimer sinceFirst_;
    QTimer timer_;
    std::unique_ptr<postgres::SharedLine> line_; ///< last: its thread ends before anything else goes
};

class Form1;

/// The line of a form whose folder's Sunucu.ini names a register, once its database is open. None where there is
/// nothing to connect; what is wrong with it stands in the status line.
std::unique_ptr<ServerLine> lineToServer(Form1& form, const shared::SharedDatabases& databases);

} // namespace app
