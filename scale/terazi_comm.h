#pragma once

#include "base/regional.h"
#include "scale/comm_control.h"
#include "scale/formatted_line.h"
#include "scale/line_settings.h"
#include "scale/port_numbers.h"
#include "scale/serial_device.h"
#include "scale/serial_line.h"
#include <QByteArray>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>

namespace scale {

/// The serial control of the scale.
///
/// A serial line delivers fragments of any size. The control gathers them and raises OnComm() with code 2 when a
/// carriage return is in and the line pauses, at the latest 50 ms after the carriage return for a stream without
/// pauses, or when bytes without a carriage return have waited through silence(). With complete lines only these are
/// handed out: a line of which the beginning is in counts as not yet arrived, so no half weight is ever read as a whole
/// one, and a line feed that comes late still belongs to the carriage return before it.
///
/// A port may be opened while the scale is in the middle of a line. What arrives then, up to its carriage return, is
/// dropped; a line that begins after silence() is taken (see hearsWholeLines).
///
/// Nobody may be reading: what has been announced for 2 seconds is dropped, so that the next line read is never an old
/// one.
///
/// A plug that is pulled closes nothing and raises nothing: see SerialLine. What of a line was in by then is dropped.
///
/// The first read error of an open line closes the port and raises OnComm() once, with code 8020, when the event loop
/// runs next. A handler may open the port again; where no handler touches the port, the control opens it again by
/// itself, once. If reading fails again before the line delivered a byte, the port closes for good and without an
/// event, so a dying adapter can neither loop nor keep the processor busy.
///
/// By readAs() the line is read in a format. Then a weight that counts is handed out by itself, as a line of the shape
/// that handlers know, as soon as its frame is in; all of the above about fragments and tails is the format's business.
/// Which load was taken last is remembered over a pulled plug and a closed port, while port and choice stay the same.
/// As it is, the stream is looked at as well, at the most every two seconds while bytes come: see hint().
///
/// Timers run only while bytes wait, while the plug is out, for one silence() after opening, and where a format is read
/// for five seconds after the last byte: an idle control uses no processor time. Design-time state: port 1,
/// "9600,n,8,1", no flow control, closed.
class TeraziComm : public QObject, public CommControl {
    Q_OBJECT

public:
    explicit TeraziComm(PortFinder ports, std::unique_ptr<SerialDevice> device = systemSerialDevice(),
                        QObject* parent = nullptr);
    ~TeraziComm() override;

    int commPort() const override { return commPort_; }
    void setCommPort(int number) override;
    QString settings() const override { return settings_.text(); }
    void setSettings(const QString& text) override;
    int handshaking() const override { return static_cast<int>(flow_); }
    void setHandshaking(int mode) override;
    bool portOpen() const override { return line_.isOpen(); }
    void setPortOpen(bool open) override;
    QString input() override;
    int inBufferCount() const override;
    int outBufferCount() const override;
    void setInBufferCount(int count) override;
    void setOutBufferCount(int count) override;
    int commEvent() const override { return commEvent_; }

    /// How what arrives is read from the next opening on; as it is, where the table has no such format. The regional
    /// settings tell the decimal mark, and what the screen would show.
    void readAs(const ReadingChoice& choice, const base::Regional& regional);

    // ---- Facts for the status line, which nothing depends on ----

    /// The number of the error that closed the port although it was to be open; 0 otherwise.
    int trouble() const { return trouble_; }
    /// False while the port is closed, and while it is open and its plug is out.
    bool isPluggedIn() const { return line_.isPluggedIn(); }
    /// While the plug is out: the error that keeps the device from being opened although it is back; 0 otherwise.
    int whyNotBack() const { return line_.whyNotBack(); }
    /// The scale's own bytes behind the first line that input() gave last, its carriage return included; all of them
    /// where there was none. Where a format is read, the frame of that weight.
    const QByteArray& lastLine() const { return lastLine_; }
    bool lastLineIsWhole() const { return lastLineIsWhole_; } ///< it ended with a carriage return, or is a frame
    /// With a format: why what came last gave no weight; empty while weights come.
    QString why() const { return formatted_ ? formatted_->why() : QString(); }
    /// As it is: the title of the format that the stream is in, where the screen shows something else than it says.
    const QString& hint() const { return hint_; }
    /// The silence that ends a line without a carriage return: longer than the 250 ms that a scale may pause inside a
    /// line and than two characters take at the port's speed.
    std::chrono::milliseconds silence() const;
    /// False from the opening until either silence() has passed or a carriage return has arrived: until then what
    /// arrives may be the tail of a line that was under way already.
    bool hearsWholeLines() const { return wholeLines_; }

signals:
    void OnComm();
    /// The port was opened or closed, or would not open; its plug was pulled, or is in again.
    void stateChanged();
    /// This is the device that was opened for a port number.
    void deviceOpened(int number, const QString& path);
    /// why() or hint() is another.
    void understandingChanged();

private:
    /// Bytes announced together.
    struct Burst {
        QByteArray bytes;
        QByteArray frame;         ///< of a format; empty: the bytes are the scale's own
        QDeadlineTimer forgotten; ///< unread until then, it is dropped
    };

    void open();
    void close();
    void openAgainUnseen();
    void plugPulled();
    void plugBack();
    void listenAfresh();
    void dropPending();
    void gather();
    void gatherFrames(const QByteArray& bytes);
    void holdWeight(const QByteArray& line);
    void announceWeight();
    void lookForAFormat(const QByteArray& bytes);
    void tellUnderstanding();
    void forgetUnderstanding();
    void passTail(QByteArray& bytes);
    void quietEnded();
    void silenceEnded();
    void formatSilenceEnded();
    void forgetOldBursts();
    void announceLines();
    void announceAll();
    void announce(qsizetype count);
    void handOut(const QByteArray& bytes, const QByteArray& frame);
    void lineFailed();
    void raise(int event);

    SerialLine line_;
    int commPort_ = 1;
    LineSettings settings_;
    FlowControl flow_ = FlowControl::none;
    int commEvent_ = 0;
    int trouble_ = 0;

    QByteArray pending_;         ///< arrived, not announced yet
    std::deque<Burst> received_; ///< announced, waiting for input()
    QByteArray lastLine_;        ///< of what input() gave last
    bool lastLineIsWhole_ = false;
    ReadingChoice choice_;
    std::optional<base::Regional> regional_;   ///< of the choice; nothing: there was none
    std::unique_ptr<FormattedLine> formatted_; ///< of an open line that is read in a format
    /// The one of a line that was read in a format and is away for a while.
    struct {
        int port = 0;
        ReadingChoice choice;
        std::unique_ptr<FormattedLine> line;
    } resting_;
    QByteArray overheard_;    ///< the last of a stream that is taken as it is
    QElapsedTimer sinceLook_; ///< at that stream
    QString hint_;
    QString toldWhy_;
    bool wholeLines_ = false;
    bool lineFeedMayFollow_ = false;
    QTimer quiet_{this}; ///< restarted by every fragment
    QElapsedTimer sinceBytes_;
    QTimer lastCall_{this}; ///< after silence: what arrived while the program was busy gets its turn first
    QTimer deadline_{this}; ///< started by the first carriage return that waits

    int session_ = 0; ///< one for each opening: what was queued for an earlier one is void
    bool failing_ = false;
    bool readErrorRaised_ = false; ///< and no byte has come since
    bool touched_ = false;         ///< setPortOpen was called since the last read error
    int raising_ = 0;              ///< depth of handlers that are running
};

} // namespace scale
