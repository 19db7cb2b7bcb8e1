#pragma once

#include "scale/line_listener.h"
#include <chrono>
#include <vector>

namespace scale {

/// A scale that was heard on a line.
struct FoundScale {
    int port = 0;
    LineSettings settings;
    const LineFormat* format = nullptr; ///< nothing: its lines are of the shape that the counter knows, as they are
    /// Formats that all read what was heard, but differ for other weights. Then `format` is empty.
    std::vector<const LineFormat*> candidates;
    QString weight;    ///< the last that it said, in kilograms; empty where the candidates differ
    bool sure = false; ///< otherwise it said too little, or nothing but zero
};

/// How long it is listened at each setting of a line.
struct FinderPatience {
    std::chrono::milliseconds silent{2500};    ///< nothing comes that looks like a scale
    std::chrono::milliseconds promising{6000}; ///< something does, and more of it would make it certain
    std::chrono::milliseconds shortest{400};   ///< where no byte has come at all, and other ports wait
};

/// "Terazi Bul": goes through the ports whose device is plugged in and through the usual speeds and frames, listens,
/// and recognises. It sends nothing, sets nothing, and leaves the counter's own control alone. One port takes less than
/// a minute.
///
/// Adapters come first, the ports of the mainboard last. Bytes of a scale that streams arrive at every speed, as
/// nonsense at most; so the time for ports on which nothing comes at all is that of one port, shared among them, and a
/// port on which a byte has come gets the time of its own, at all its speeds.
///
/// It listens with 8 data bits and no parity first: what a line of 7 bits sends arrives whole then, its parity as the
/// eighth bit, and tells the frame. Lines of 8 bits with parity are tried where bytes came that are no scale's.
class ScaleFinder : public QObject {
    Q_OBJECT

public:
    ScaleFinder(PortFinder ports, DeviceMaker devices, base::Regional regional, FinderPatience patience = {});
    ~ScaleFinder() override;

    /// Begins behind the port where a scale was found last, so that a second search finds a second scale.
    void start();
    void stop();
    bool isSearching() const { return searching_; }

signals:
    void progress(const QString& sentence);
    void found(const scale::FoundScale& scale);
    /// All ports have been gone through, and this is what was heard there instead of a scale.
    void notFound(const QString& sentence);

private:
    struct Attempt {
        int speed = 9600;
        char parity = 'n';
    };
    struct Port {
        int number = 0;
        bool onMainboard = false;
    };

    std::vector<Port> portsThatAreThere() const;
    void nextPort();
    void nextAttempt();
    std::chrono::milliseconds patienceWithSilence() const;
    void listen();
    void hear();
    void timeIsUp();
    bool recogniseBytes(bool atEnd);
    void give(FoundScale scale);
    void leave();

    PortFinder ports_;
    DeviceMaker devices_;
    base::Regional regional_;
    FinderPatience patience_;
    bool searching_ = false;
    std::vector<Port> left_;        ///< ports still to be listened to
    int portCount_ = 1;             ///< of this search
    std::vector<Attempt> attempts_; ///< settings still to be tried on this port
    std::vector<Attempt> hurried_;  ///< settings that were tried on it in a hurry, as no byte had come
    Attempt attempt_;
    int port_ = 0;
    int lastFound_ = 0;
    bool promising_ = false; ///< what came in this attempt looks like a scale
    bool bytesOnThisPort_ = false;
    bool anyBytes_ = false;
    bool anyPort_ = false;
    std::unique_ptr<SerialDevice> device_;
    QByteArray bytes_;
    QTimer patienceEnds_{this};
    QTimer look_{this};
};

} // namespace scale
