#pragma once

#include "base/regional.h"
#include "scale/formatted_line.h"
#include "scale/port_numbers.h"
#include "scale/serial_device.h"
#include "scale/terazi_comm.h"
#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

namespace scale {

struct Decimal;

/// Makes a device to listen with.
using DeviceMaker = std::function<std::unique_ptr<SerialDevice>()>;

/// A port and how its line is set and read, as somebody who has not decided yet would have it.
struct LineTrial {
    int port = 1;
    LineSettings settings;
    FlowControl flow = FlowControl::none;
    ReadingChoice reading;

    bool operator==(const LineTrial&) const = default;
};

/// Listens to a line for whoever wants to see what arrives, and changes nothing for anybody: the counter's own control
/// must have left the port alone. What the screen would show is worked out by a control like the counter's, over a
/// station of nobody's.
class LineListener : public QObject {
    Q_OBJECT

public:
    LineListener(PortFinder ports, DeviceMaker devices, base::Regional regional);
    ~LineListener() override;

    /// Leaves the line that it listened to.
    void listen(const LineTrial& trial);
    void stop();

    QByteArray bytes() const { return bytes_; } ///< the last that have arrived
    QString shown() const { return shown_; }    ///< what would stand in the weight of a station
    QString trouble() const;                    ///< why nothing can arrive, or gives no weight; empty: all is well
    QString recognised() const { return recognised_; } ///< what the bytes look like, in words

signals:
    /// Any of the above has changed; at the most ten times a second.
    void changed();

private:
    void hear(const QByteArray& bytes);
    void readEvent();
    void tellSoon();
    void recogniseNow();

    PortFinder ports_;
    DeviceMaker devices_;
    base::Regional regional_;
    std::unique_ptr<TeraziComm> control_;
    int port_ = 0;
    QByteArray bytes_;
    QString shown_;
    QString recognised_;
    bool looked_ = false; ///< at the bytes that are here
    QTimer telling_{this};
};

/// The titles of some formats, in a row.
QString titlesOf(const std::vector<const LineFormat*>& formats);

/// A weight to all its decimals, with the user's mark.
QString shownKilograms(const Decimal& weight, const base::Regional& regional);

/// Bytes as a person can read them: letters as they are, the others as "<CR>" or "<9B>".
QString readable(const QByteArray& bytes);

} // namespace scale
