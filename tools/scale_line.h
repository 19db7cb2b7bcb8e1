#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

namespace scenario {

/// A line that stands for the scale's: a pseudo-terminal under the link com1 of the program's directory. On Windows it
/// is COM1, and whoever has started the program lays it (scenario_host.h).
class ScaleLine {
public:
    /// Does not touch a com1 that is there already; then there is no line and open() is false.
    explicit ScaleLine(const QString& directory);
    ~ScaleLine();
    ScaleLine(const ScaleLine&) = delete;
    ScaleLine& operator=(const ScaleLine&) = delete;

    bool open() const { return cable_ != nullptr; }
    void send(const QByteArray& bytes);
    /// The cable is out: the link leads nowhere until plug().
    void unplug();
    /// Lays a new line; one that is still there breaks when the new one is ready. False if it cannot be laid, or if
    /// com1 is somebody else's.
    bool plug();

private:
    struct Cable;

    std::unique_ptr<Cable> cable_; ///< the scale's end
    QString link_;                 ///< empty: com1 is somebody else's
};

} // namespace scenario
