#include "scale/scale_finder.h"

#include "scale/comm_control.h"
#include "scale/formats/format_table.h"
#include "scale/formats/frame_writer.h"
#include "scale/formats/framer.h"
#include "tests/scale/played_devices.h"
#include "tests/support/columns.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <vector>

using namespace scale;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

/// How a played scale sends: its speed and what becomes of a byte of 7 bits.
enum class Bits { eightBits, sevenEven, sevenOdd };

/// A scale on a pseudo-terminal that streams 25 frames a second. Speed is nothing to such a line, so the scale looks
/// at the speed that the listener has set: at another one than its own it sends what such a line would bring, nonsense.
class PlayedScale {
public:
    PlayedScale(const LineFormat& format, int speed, Bits frame = Bits::eightBits)
        : format_(&format), speed_(speed), frame_(frame)
    {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { sendOne(); });
        timer_.start(40ms);
    }

    PseudoTerminal line;
    QByteArray plain; ///< lines to send in place of the format's
    std::string sent; ///< at the scale's own speed

private:
    void sendOne()
    {
        // A load put on, swinging, standing.
        const std::int64_t weight = 100 + 7 * (count_++ % 20);
        std::optional<std::string> bytes;
        for (const Decimal kilograms : {Decimal{weight, 0}, Decimal{weight, 1}, Decimal{weight, 2}})
            for (const Rest rest : {Rest::stable, Rest::unknown, Rest::moving})
                if (!bytes) bytes = frameFor(*format_, kilograms, rest);
        if (!plain.isEmpty()) bytes = plain.toStdString();
        if (!bytes) return;
        if (line.isAtSpeed(speed_)) sent += *bytes;
        if (!line.isAtSpeed(speed_)) {
            for (char& byte : *bytes) byte = static_cast<char>((std::int64_t{byte} * 37 + count_ * 11) | 0x81);
        } else if (frame_ != Bits::eightBits) {
            for (char& byte : *bytes) {
                const bool odd = std::popcount(static_cast<unsigned char>(byte)) % 2 != 0;
                if (odd == (frame_ == Bits::sevenEven)) byte = static_cast<char>(byte | 0x80);
            }
        }
        line.send(QByteArray::fromStdString(*bytes));
    }

    const LineFormat* format_;
    int speed_;
    Bits frame_;
    std::int64_t count_ = 0;
    QTimer timer_;
};

/// For scales that say more in a second than they would at a mill.
constexpr FinderPatience quick{1000ms, 3000ms, 100ms};

/// A search on one played line, all its own, so that many can run beside each other.
struct Search {
    Search(const QString& folder, const LineFormat& format, int speed, Bits frame = Bits::eightBits,
           FinderPatience patience = quick, const QString& node = u"ttyUSB0"_s, const QStringList& silentNodes = {})
        : devices(folder), played(format, speed, frame),
          finder(systemPorts(devices.places()), systemSerialDevice, base::Regional::turkish(), patience)
    {
        devices.plug(played.line, node);
        for (const QString& silent : silentNodes)
            devices.plug(*silentLines.emplace_back(std::make_unique<PseudoTerminal>()), silent);
        QObject::connect(&finder, &ScaleFinder::found, &finder, [this](const FoundScale& scale) { found = scale; });
        QObject::connect(&finder, &ScaleFinder::notFound, &finder,
                         [this](const QString& sentence) { lost = sentence; });
        clock.start();
        finder.start();
    }
    bool over() const { return !finder.isSearching(); }

    PlayedDevices devices;
    PlayedScale played;
    std::vector<std::unique_ptr<PseudoTerminal>> silentLines;
    ScaleFinder finder;
    QElapsedTimer clock;
    std::optional<FoundScale> found;
    QString lost;
};

std::vector<std::string> weightsOf(const LineFormat& format, std::string_view stream)
{
    Framer framer(format);
    std::vector<std::string> weights;
    for (const Framed& framed : framer.read(stream))
        if (framed.reading) weights.push_back(toText(framed.reading->kilograms));
    return weights;
}

/// The scale was found as its format, or as one that reads the same weights from what it has sent: some makers share
/// one frame. Where that leaves several, it is one of them.
bool isFoundAs(const LineFormat& format, const FoundScale& found, std::string_view sent)
{
    if (!found.format) return std::ranges::find(found.candidates, &format) != found.candidates.end();
    const std::vector<std::string> weights = weightsOf(format, sent);
    return !weights.empty() && weightsOf(*found.format, sent) == weights;
}

} // namespace

/// "Terazi Bul" on played lines.
class ScaleFinderTest : public QObject {
    Q_OBJECT

private slots:
    void everyFormatIsFoundAtEverySpeed()
    {
        // PRESVA_SPEEDS: four speeds for every format and the usual patience, otherwise one for each in turn.
        const bool allSpeeds = qEnvironmentVariableIsSet("PRESVA_SPEEDS");
        constexpr std::array speeds = {9600, 4800, 19200, 1200};
        struct Wanted {
            const LineFormat* format;
            int speed;
        };
        std::vector<Wanted> wanted;
        for (std::size_t i = 0; i < lineFormats().size(); ++i)
            for (std::size_t s = 0; s < speeds.size(); ++s)
                if (allSpeeds || s == i % speeds.size()) wanted.push_back({&lineFormats()[i], speeds[s]});
        // So many beside each other as a busy machine plays in time.
        constexpr std::size_t together = 24;
        struct Running {
            Wanted wanted;
            std::unique_ptr<Search> search;
        };
        std::vector<Running> running;
        std::size_t begun = 0;
        qint64 slowest = 0;
        int exact = 0;
        QStringList missed;
        const auto end = [&](const Running& one) {
            slowest = std::max(slowest, one.search->clock.elapsed());
            const LineFormat& format = *one.wanted.format;
            const auto& found = one.search->found;
            if (found && found->settings.speed == one.wanted.speed && found->port == 5 &&
                isFoundAs(format, *found, one.search->played.sent))
                exact += found->format == &format ? 1 : 0;
            else
                missed += u"%1 at %2 (%3)"_s.arg(QString::fromStdString(format.name))
                              .arg(one.wanted.speed)
                              .arg(found ? found->settings.text() + u' ' +
                                               (found->format ? titleOf(*found->format) : titlesOf(found->candidates))
                                         : one.search->lost);
        };
        while (begun < wanted.size() || !running.empty()) {
            while (begun < wanted.size() && running.size() < together) {
                const Wanted& next = wanted[begun++];
                const QString folder =
                    folder_.filePath(u"%1-%2"_s.arg(QString::fromStdString(next.format->name)).arg(next.speed));
                running.push_back({next, std::make_unique<Search>(folder, *next.format, next.speed, Bits::eightBits,
                                                                  allSpeeds ? FinderPatience() : quick)});
            }
            const auto isOver = [](const Running& one) { return one.search->over(); };
            QTRY_VERIFY_WITH_TIMEOUT(std::ranges::any_of(running, isOver), 60000);
            for (const Running& one : running)
                if (isOver(one)) end(one);
            std::erase_if(running, isOver);
        }
        qInfo("%zu searches, %lld found, %d of them as the one format, the others as one of several; the slowest took "
              "%lld "
              "ms",
              wanted.size(), static_cast<long long>(wanted.size()) - missed.size(), exact,
              static_cast<long long>(slowest));
        QVERIFY2(missed.isEmpty(), qPrintable(missed.join(u"; "_s)));
        QVERIFY2(slowest < 60000, qPrintable(QString::number(slowest)));
    }

    void linesOfSevenBitsTellTheirFrame_data()
    {
        addColumns<int, QString>("frame", "settings");
        QTest::newRow("even") << static_cast<int>(Bits::sevenEven) << "4800,e,7,1";
        QTest::newRow("odd") << static_cast<int>(Bits::sevenOdd) << "4800,o,7,1";
    }

    void linesOfSevenBitsTellTheirFrame()
    {
        QFETCH(int, frame);
        Search search(folder_.filePath(QLatin1StringView(QTest::currentDataTag())), *lineFormatNamed("st-gs"), 4800,
                      static_cast<Bits>(frame));
        QTRY_VERIFY_WITH_TIMEOUT(search.over(), 60000);
        QVERIFY2(search.found, qPrintable(search.lost));
        QTEST(search.found->settings.text(), "settings");
        QVERIFY(isFoundAs(*lineFormatNamed("st-gs"), *search.found, search.played.sent));
    }

    void countersOwnLinesAreFoundAsTheyAre()
    {
        Search search(folder_.filePath(u"plain"_s), *lineFormatNamed("st-gs"), 9600);
        search.played.plain = "  1240kg\r";
        QTRY_VERIFY_WITH_TIMEOUT(search.over(), 60000);
        QVERIFY2(search.found, qPrintable(search.lost));
        QCOMPARE(search.found->weight, u"1240"_s);
        QVERIFY(!search.found->format && search.found->candidates.empty());
    }

    void linesThatTheCounterWouldMisreadAreNotFoundAsTheyAre()
    {
        Search search(folder_.filePath(u"point"_s), *lineFormatNamed("st-gs"), 9600, Bits::eightBits,
                      {200ms, 500ms, 50ms});
        search.played.plain = "  12.5kg\r";
        QTRY_VERIFY_WITH_TIMEOUT(search.over(), 90000);
        QVERIFY(!search.found);
        QVERIFY(!search.lost.isEmpty());
    }

    void silentLineIsTold()
    {
        PlayedDevices devices(folder_.filePath(u"silent"_s));
        PseudoTerminal line;
        devices.plug(line, "ttyUSB0");
        ScaleFinder finder(systemPorts(devices.places()), systemSerialDevice, base::Regional::turkish(), {20ms, 50ms});
        QSignalSpy lost(&finder, &ScaleFinder::notFound);
        finder.start();
        QVERIFY(lost.wait(10000));
        QVERIFY2(lost.first().first().toString().startsWith(u"Hiçbir porttan bayt gelmedi"_s),
                 qPrintable(lost.first().first().toString()));
    }

    void adapterIsFoundBesideFourSilentPorts()
    {
        Search search(folder_.filePath(u"beside"_s), *lineFormatNamed("st-gs"), 4800, Bits::eightBits, {}, u"ttyUSB0"_s,
                      {u"ttyS0"_s, u"ttyS1"_s, u"ttyS2"_s, u"ttyS3"_s});
        QTRY_VERIFY_WITH_TIMEOUT(search.over(), 60000);
        QVERIFY2(search.found, qPrintable(search.lost));
        QCOMPARE(search.found->port, 5);
        // The others would have taken 16 s before it.
        QVERIFY2(search.clock.elapsed() < 12000, qPrintable(QString::number(search.clock.elapsed())));
    }

    void scaleOnAPortOfTheMainboardIsFoundBesideSilentOnes()
    {
        Search search(folder_.filePath(u"mainboard"_s), *lineFormatNamed("st-gs"), 4800, Bits::eightBits,
                      {400ms, 2000ms, 40ms}, u"ttyS3"_s, {u"ttyS0"_s, u"ttyS1"_s, u"ttyS2"_s, u"ttyUSB0"_s});
        QTRY_VERIFY_WITH_TIMEOUT(search.over(), 60000);
        QVERIFY2(search.found, qPrintable(search.lost));
        QCOMPARE(search.found->port, 4);
        QCOMPARE(search.found->settings.speed, 4800);
    }

    void silentPortsShareTheTimeOfOne()
    {
        // A tenth of the usual patience.
        const FinderPatience tenth{250ms, 600ms, 40ms};
        PlayedDevices devices(folder_.filePath(u"shared"_s));
        std::vector<std::unique_ptr<PseudoTerminal>> lines;
        for (const char* const node : {"ttyS0", "ttyS1", "ttyS2", "ttyS3", "ttyUSB0"})
            devices.plug(*lines.emplace_back(std::make_unique<PseudoTerminal>()), QLatin1StringView(node));
        ScaleFinder finder(systemPorts(devices.places()), systemSerialDevice, base::Regional::turkish(), tenth);
        QSignalSpy lost(&finder, &ScaleFinder::notFound);
        QElapsedTimer clock;
        clock.start();
        finder.start();
        QVERIFY(lost.wait(20000));
        qInfo("five silent ports: %lld ms of a tenth of the usual patience", static_cast<long long>(clock.elapsed()));
        // Two seconds on a machine with nothing else to do; each with the patience of one port they would take ten.
        QVERIFY2(clock.elapsed() < 8000, qPrintable(QString::number(clock.elapsed())));
    }

    void nothingPluggedInIsTold()
    {
        PlayedDevices devices(folder_.filePath(u"nothing"_s));
        ScaleFinder finder(systemPorts(devices.places()), systemSerialDevice, base::Regional::turkish());
        QSignalSpy lost(&finder, &ScaleFinder::notFound);
        finder.start();
        QTRY_COMPARE(lost.size(), 1);
        QVERIFY(lost.first().first().toString().startsWith(u"Açılabilen bir port yok"_s));
    }

    void stoppedSearchLeavesTheLine()
    {
        Search search(folder_.filePath(u"stopped"_s), *lineFormatNamed("st-gs"), 1200);
        QTest::qWait(300);
        QVERIFY(search.finder.isSearching());
        search.finder.stop();
        QVERIFY(!search.finder.isSearching());
        const auto device = systemSerialDevice();
        device->open(search.played.line.path(), {}, FlowControl::none); // nobody holds it any more
        QVERIFY(device->isOpen());
        QTest::qWait(200);
        QVERIFY(!search.found && search.lost.isEmpty());
    }

private:
    QTemporaryDir folder_;
};

QTEST_GUILESS_MAIN(ScaleFinderTest)
#include "scale_finder.moc"
