// How quick the counter is with 100,000 customers and 1,000,000 pressings: the real screen on a real display.
//
//     counter_bench FOLDER
//     counter_bench FOLDER --register
//
// makes FOLDER/Yag.mdb once and prints a table. Every start is a process of its own; this program starts itself. With
// --register its day with 200,000 pressings is measured twice: on its own, and in a register on a server that another
// counter books into meanwhile, over a line that takes two milliseconds more each way.

#include "app/form1.h"
#include "app/message_boxes.h"
#include "app/server_line.h"
#include "app/theme.h"
#include "bench/counter_mill.h"
#include "bench/mill.h"
#ifdef OTHER_COUNTER
#include "bench/register_mill.h"
#endif
#include "platform/memory.h"
#include "platform/system_disk.h"
#include "print/folder_target.h"
#include "store/jet_engine.h"
#include "store/slip_note.h"
#include "tests/doors/fake_keyboard.h"
#include "tests/doors/fake_prompt.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <fcntl.h>
#include <map>
#include <optional>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

qint64 nanosecondsOf(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// A span of time in milliseconds: by the clock, and what this process has worked in it. On a busy machine the clock
/// also counts the work of others.
struct Span {
    double elapsed = 0;
    double worked = 0;
};

class Stopwatch {
public:
    Stopwatch() : start_(moment()), worked_(nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID)) {}
    /// Of the whole life of this process, which was asked for at that moment.
    explicit Stopwatch(qint64 started) : start_(started), worked_(0) {}

    Span read() const
    {
        return {static_cast<double>(moment() - start_) / 1e6,
                static_cast<double>(nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID) - worked_) / 1e6};
    }
    /// Now, by the clock that all processes of the machine share.
    static qint64 moment() { return nanosecondsOf(CLOCK_MONOTONIC); }

private:
    qint64 start_;
    qint64 worked_;
};

/// The value below which that part of the values lies; clock and work each in their own order.
Span percentile(const std::vector<Span>& spans, double part)
{
    const auto of = [&](double Span::*member) {
        std::vector<double> values;
        values.reserve(spans.size());
        for (const Span& span : spans) values.push_back(span.*member);
        std::sort(values.begin(), values.end());
        return values[std::min(static_cast<std::size_t>(part * static_cast<double>(values.size())), values.size() - 1)];
    };
    return {of(&Span::elapsed), of(&Span::worked)};
}

// ---- The measured process -------------------------------------------------------------------------------------

/// Notes when the window is exposed.
class ExposureWatch : public QObject {
public:
    explicit ExposureWatch(const Stopwatch& clock) : clock_(clock) {}
    std::optional<Span> exposed;

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        const auto* window = qobject_cast<QWindow*>(object);
        if (event->type() == QEvent::Expose && window && window->isExposed() && !exposed) exposed = clock_.read();
        return false;
    }

private:
    const Stopwatch& clock_;
};

/// Lets everything happen that waits to happen, up to the pixels on the display.
void finishPainting()
{
    while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
    }
    QGuiApplication::sync();
}

class Finger {
public:
    explicit Finger(app::Form1& form) : form_(form) {}

    /// From letting go of the control until everything that follows from it is on the display.
    Span tap(const QWidget* control) const { return tapAt(placeOf(control)); }

    Span tapAt(const QPoint& place) const
    {
        press(place);
        const Stopwatch clock;
        letGo(place);
        return clock.read();
    }

    void press(const QWidget* control) const { press(placeOf(control)); }
    void letGo(const QWidget* control) const { letGo(placeOf(control)); }
    /// A word of the menu bar.
    Span tapMenu(const QAction* item) const
    {
        QMenuBar& bar = *form_.menuStrip;
        return tapAt(bar.mapTo(&form_, bar.actionGeometry(const_cast<QAction*>(item)).center()));
    }

    app::KeyLabel* key(const QString& caption) const
    {
        for (app::KeyLabel* key : form_.Label1)
            if (key->caption().trimmed() == caption) return key;
        return nullptr;
    }
    app::KeyLabel* keyOf(QChar letter) const { return key(letter == u' ' ? u"Boşluk"_s : QString(letter)); }

    void type(const QString& text) const
    {
        for (const QChar letter : text) tap(keyOf(letter));
    }

private:
    QPoint placeOf(const QWidget* control) const { return control->mapTo(&form_, control->rect().center()); }
    void press(const QPoint& place) const
    {
        QTest::mouseMove(form_.windowHandle(), place);
        QTest::mousePress(form_.windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
        finishPainting();
    }
    void letGo(const QPoint& place) const
    {
        QTest::mouseRelease(form_.windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
        finishPainting();
    }

    app::Form1& form_;
};

/// A key, and how many letters the name has behind it.
struct Stroke {
    const app::KeyLabel* key;
    qsizetype letters;
};

/// Names of customers, letter by letter, each taken away again.
std::vector<Stroke> strokesOfNames(const Finger& finger, std::size_t keys)
{
    std::vector<Stroke> strokes;
    for (const long_mill::Customer& customer : long_mill::customers()) {
        // "ahmet yılmaz": without the village, whose stroke the keypad does not have.
        const QString name =
            QLocale(QLocale::Turkish).toLower(QString::fromStdU16String(customer.name).section(" / ", 0, 0));
        if (std::any_of(name.begin(), name.end(), [&](QChar letter) { return !finger.keyOf(letter); })) continue;
        qsizetype letters = 0;
        for (const QChar letter : name) strokes.push_back({finger.keyOf(letter), ++letters});
        strokes.push_back({finger.key("Sil"), 0});
        if (strokes.size() >= keys) break;
    }
    return strokes;
}

/// What is measured must have happened.
void requireTyped(app::Form1& form, const Stroke& stroke)
{
    const QString name = form.TxtLbl[0]->caption();
    if (name.trimmed().size() == stroke.letters || name.size() == stroke.letters) return;
    std::fprintf(stderr, "counter_bench: '%s' is not what was typed\n", qUtf8Printable(name));
    std::exit(1);
}

/// Types names and gives the time of every key in order.
std::vector<Span> typeNames(app::Form1& form, std::size_t keys)
{
    const Finger finger(form);
    std::vector<Span> times;
    for (const Stroke& stroke : strokesOfNames(finger, keys)) {
        times.push_back(finger.tap(stroke.key));
        requireTyped(form, stroke);
    }
    return times;
}

/// The same with a hand that lets go of a key every so many milliseconds, whatever the screen is about: what holds it
/// up counts as well.
std::vector<Span> typeNamesInTime(app::Form1& form, std::size_t keys, int pace)
{
    const Finger finger(form);
    const std::vector<Stroke> strokes = strokesOfNames(finger, keys);
    std::vector<Span> times;
    std::deque<Stopwatch> due;
    bool typing = false;
    QEventLoop loop;
    const auto type = [&](const Stopwatch& since) {
        due.push_back(since);
        if (typing) return; // one comes while the other is still being painted
        typing = true;
        for (; !due.empty() && times.size() < strokes.size(); due.pop_front()) {
            const Stroke& stroke = strokes[times.size()];
            finger.letGo(stroke.key);
            times.push_back(due.front().read());
            requireTyped(form, stroke);
            if (times.size() < strokes.size()) finger.press(strokes[times.size()].key);
        }
        typing = false;
        if (times.size() == strokes.size()) loop.quit();
    };
    QObject hand;
    finger.press(strokes.front().key);
    const std::jthread clock([&](const std::stop_token& end) {
        for (auto moment = std::chrono::steady_clock::now(); !end.stop_requested();) {
            moment += std::chrono::milliseconds(pace);
            std::this_thread::sleep_until(moment);
            QMetaObject::invokeMethod(
                &hand, [&type, since = Stopwatch()] { type(since); }, Qt::QueuedConnection);
        }
    });
    loop.exec();
    return times;
}

/// How long the event loop did not come back, each time, while nobody touches anything.
std::vector<Span> holds(int milliseconds)
{
    std::vector<Span> times;
    for (const Stopwatch all; all.read().elapsed < milliseconds;) {
        const Stopwatch clock;
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        times.push_back(clock.read());
        QTest::qSleep(1);
    }
    return times;
}

void report(const char* name, const Span& span) { std::printf("%s %.3f %.3f\n", name, span.elapsed, span.worked); }

/// A customer with a tonne of olives, and ten slips.
void printSlips(app::Form1& form)
{
    const Finger finger(form);
    finger.tap(form.YeniCmd[0]);
    if (!form.TxtLbl[0]->caption().trimmed().isEmpty()) finger.tap(finger.key("Sil"));
    finger.type("zzz");
    finger.tap(form.Label2[0]);
    finger.type("1000");
    const int before = form.DataHar.recordSet().size();
    report("first-slip", finger.tap(form.YazCmd[0]));
    constexpr int others = 9;
    std::vector<Span> slips;
    slips.reserve(others);
    for (int i = 0; i < others; ++i) slips.push_back(finger.tap(form.YazCmd[0]));
    report("slip-median", percentile(slips, 0.5));
    report("slip-most", percentile(slips, 1));
    const int stored = form.DataHar.recordSet().size() - before;
    if (stored != others + 1) {
        std::fprintf(stderr, "counter_bench: %d slips are stored\n", stored);
        std::exit(1);
    }
}

/// Waits for the dialog that the next tap opens, notes when it is painted on the display, and closes it again.
class DialogWatch : public QObject {
public:
    explicit DialogWatch(const app::Form1& form) : form_(form) { qApp->installEventFilter(this); }

    Span painted(const std::function<void()>& tap)
    {
        span_.reset();
        const Stopwatch clock;
        clock_ = &clock;
        tap();
        if (span_) return *span_;
        std::fprintf(stderr, "counter_bench: no dialog was painted\n");
        std::exit(1);
    }

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        const auto* window = qobject_cast<QWindow*>(object);
        if (event->type() == QEvent::Expose && window && window != form_.windowHandle() && window->isExposed() &&
            !span_ && QApplication::activeModalWidget())
            QTimer::singleShot(0, this, [this] { seen(); });
        return false;
    }

private:
    void seen()
    {
        QWidget* dialog = QApplication::activeModalWidget();
        if (span_ || !dialog) return;
        finishPainting();
        const Span span = clock_->read();
        // What is measured must have happened: ground, frame and texts have several colours.
        const QRect place = dialog->frameGeometry();
        const QImage shown =
            dialog->screen()->grabWindow(0, place.x(), place.y(), place.width(), place.height()).toImage();
        QSet<QRgb> colours;
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x) colours << shown.pixel(x, y);
        constexpr int fewest = 8;
        if (colours.size() >= fewest) span_ = span;
        dialog->close();
    }

    const app::Form1& form_;
    const Stopwatch* clock_ = nullptr;
    std::optional<Span> span_;
};

/// Each dialog as the first one of its kind, and once more.
void openDialogs(app::Form1& form)
{
    const Finger finger(form);
    DialogWatch watch(form);
    const auto twice = [&](const char* first, const char* again, const std::function<void()>& tap) {
        report(first, watch.painted(tap));
        finishPainting();
        report(again, watch.painted(tap));
        finishPainting();
    };
    // The name of somebody who is registered: its button asks before it deletes.
    const QString known = QString::fromStdU16String(long_mill::customers().front().name);
    form.run([&] { form.TxtLbl[0]->setCaption(known); });
    finishPainting();
    twice("box", "box-again", [&] { finger.tap(form.Kaydet); });
    twice("port", "port-again", [&] { finger.tapMenu(form.PortAyarlar); });
    twice("font", "font-again", [&] { finger.tapMenu(form.YazFont); });
}

enum class Measured { start, day, besideOthers, lookedAt, dialogs };

/// As long as somebody takes who looks at the window before he touches it.
constexpr int firstLook = 2000; // milliseconds

/// The most memory that this program has had, in MB; without what its parent had when it was started.
double mostMemory()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:")) return line.sliced(6).simplified().split(' ').front().toDouble() / 1024;
    return 0;
}

/// One life of the screen, which was asked for at that moment.
int measure(int argc, char** argv, const QString& folder, qint64 started, Measured measured)
{
    const Stopwatch life(started);
    platform::keepLargeBlocksApart();
    QApplication application(argc, argv);
    app::applyTheme(application);
    ExposureWatch watch(life);
    application.installEventFilter(&watch);

    const QTemporaryDir own;
    // A measured program that shows a message does something else than what is measured.
    FakePrompt none;
    none.onBox = [](const QString& text) {
        std::fprintf(stderr, "counter_bench: %s\n", qUtf8Printable(text));
        std::exit(1);
    };
    app::MessageBoxes boxes;
    const bool dialogs = measured == Measured::dialogs;
    app::SettingsStore settings(own.path());
    store::JetDatabases files(platform::systemDisk());
    shared::SharedDatabases databases(files);
    print::FolderTarget printer(own.path());
    store::SlipNotes slips(platform::systemDisk(), (folder + "/Yag.mdb").toStdU16String());
    weights::WeightBook weights(platform::systemDisk(), folder.toStdU16String());
    FakeKeyboard keyboard;
    keyboard.capsLock.reset(); // as on a machine whose Caps Lock cannot be read: the real one stays alone
    app::Form1 form({
        .prompt = dialogs ? static_cast<app::Prompt&>(boxes) : none,
        .settings = settings,
        .regional = base::Regional::turkish(),
        .directory = folder,
        .executable = u"presva"_s,
        .databases = databases,
        .printer = printer,
        .slips = slips,
        .weights = weights,
        .keyboard = keyboard,
        .now = [] { return QDateTime::currentDateTime(); },
    });
    boxes.setOwner(&form);
    form.start();
    const std::unique_ptr<app::ServerLine> line = app::lineToServer(form, databases);
    while (!watch.exposed) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    finishPainting();
    report("exposed", *watch.exposed);
    report("answers", life.read());
    if (measured == Measured::start) return 0;
    if (dialogs) {
        QTest::qWait(3000); // as long as somebody takes who looks at the screen first
        openDialogs(form);
        return 0;
    }

    if (measured == Measured::lookedAt) QTest::qWait(firstLook);
    std::vector<Span> keys = typeNames(form, 600);
    report("first-key", keys.front());
    keys.erase(keys.begin());
    report("key-median", percentile(keys, 0.5));
    report("key-99", percentile(keys, 0.99));
    report("key-most", percentile(keys, 1));

    if (measured == Measured::lookedAt) {
        printSlips(form);
        return 0;
    }

    QTest::qWait(1000);
    const Stopwatch idleClock;
    QEventLoop idle;
    QTimer::singleShot(5000, &idle, &QEventLoop::quit);
    idle.exec();
    report("idle", idleClock.read());

    if (measured == Measured::besideOthers) {
        constexpr int pace = 60; // quicker than any hand
        const std::vector<Span> inTime = typeNamesInTime(form, 600, pace);
        report("in-time-median", percentile(inTime, 0.5));
        report("in-time-99", percentile(inTime, 0.99));
        report("in-time-most", percentile(inTime, 1));
        report("held-most", percentile(holds(10'000), 1));
    }

    printSlips(form);
    if (const auto engine = databases.sharedEngine(form.DataCari.databaseName())) {
        const Stopwatch arriving;
        if (!QTest::qWaitFor([&] { return engine->waitingPressings() == 0; }, 20'000)) {
            std::fprintf(stderr, "counter_bench: %s\n", qUtf8Printable(form.status->text()));
            std::exit(1);
        }
        report("arrived", arriving.read());
    }

    std::printf("memory %.1f 0\n", mostMemory());
    return 0;
}

// ---- The measuring process ------------------------------------------------------------------------------------

using Figures = QMap<QString, Span>;

/// Starts this program as the screen; what it reports. Empty when it fails.
Figures screen(const QString& self, const QString& folder, const char* mode)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LANG", "tr_TR.UTF-8");
    environment.remove("LC_ALL");
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(self, {folder, mode, QString::number(Stopwatch::moment())});
    Figures figures;
    if (!process.waitForFinished(600'000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return figures;
    for (const QByteArray& line : process.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() == 3) figures[QString::fromLatin1(words[0])] = {words[1].toDouble(), words[2].toDouble()};
    }
    return figures;
}

/// Takes the file out of the system's cache, as after the machine was switched on.
void forget(const QString& path)
{
    const int file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    ::fdatasync(file);
    ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    ::close(file);
}

/// The same on a copy of the file: slips change it.
Figures screenOfItsOwn(const QString& self, const QString& folder, const char* mode)
{
    const QTemporaryDir copy(folder + "/day-XXXXXX");
    if (!QFile::copy(folder + "/Yag.mdb", copy.filePath("Yag.mdb"))) return {};
    return screen(self, copy.path(), mode);
}

struct Line {
    const char* what;
    Span span;
    double goal; ///< milliseconds by the clock; 0: none
};

void print(const std::vector<Line>& lines)
{
    std::printf("%-52s %10s %10s\n", "milliseconds", "clock", "processor");
    for (const Line& line : lines) {
        std::printf("%-52s %10.1f %10.1f", line.what, line.span.elapsed, line.span.worked);
        if (line.goal > 0)
            std::printf("   goal %5.0f %s", line.goal, line.span.elapsed <= line.goal ? "reached" : "MISSED");
        std::printf("\n");
    }
}

double loadAverage()
{
    double load = 0;
    return ::getloadavg(&load, 1) == 1 ? load : -1;
}

int compare(const QString& self, const QString& folder)
{
    if (!counter_mill::prepare(folder)) return 1;
    const double loadBefore = loadAverage();

    constexpr int starts = 9;
    std::vector<Span> exposed, answers;
    for (int i = 0; i < starts; ++i) {
        const Figures figures = screen(self, folder, "--start");
        if (figures.isEmpty()) return 1;
        exposed.push_back(figures["exposed"]);
        answers.push_back(figures["answers"]);
    }
    forget(folder + "/Yag.mdb");
    const Figures cold = screen(self, folder, "--start");

    std::map<QString, std::vector<Span>> dialogs;
    constexpr int openings = 3;
    for (int i = 0; i < openings; ++i) {
        const Figures figures = screen(self, folder, "--dialogs");
        if (figures.isEmpty()) return 1;
        for (const QString& name : figures.keys()) dialogs[name].push_back(figures[name]);
    }

    const Figures day = screenOfItsOwn(self, folder, "--day");
    const Figures lookedAt = screenOfItsOwn(self, folder, "--looked-at");
    if (cold.isEmpty() || day.isEmpty() || lookedAt.isEmpty()) return 1;

    std::printf("The counter with 100,000 customers and 1,000,000 pressings. Load average %.1f, in the end %.1f.\n\n",
                loadBefore, loadAverage());
    print({
        {"start until the window is on the screen, median", percentile(exposed, 0.5), 300},
        {"  the slowest of nine", percentile(exposed, 1), 0},
        {"  until taps are answered, median", percentile(answers, 0.5), 0},
        {"  window, the file not in the system's cache", cold["exposed"], 300},
        {"  taps, the file not in the system's cache", cold["answers"], 0},
        {"first key until repainted", day["first-key"], 100},
        {"other keys, median", day["key-median"], 0},
        {"other keys, 99 of 100 are quicker", day["key-99"], 16},
        {"  the slowest of some 600", day["key-most"], 100},
        {"first slip until the button is back", day["first-slip"], 60},
        {"other slips, median", day["slip-median"], 0},
        {"  the slowest of nine", day["slip-most"], 0},
        {"two seconds after the window: first key", lookedAt["first-key"], 100},
        {"  other keys, median", lookedAt["key-median"], 0},
        {"  other keys, 99 of 100 are quicker", lookedAt["key-99"], 16},
        {"  the slowest of some 600", lookedAt["key-most"], 100},
        {"  first slip, behind these keys", lookedAt["first-slip"], 60},
        {"  other slips, median", lookedAt["slip-median"], 0},
        {"first message box until painted", percentile(dialogs["box"], 0.5), 150},
        {"  the next one", percentile(dialogs["box-again"], 0.5), 0},
        {"first port settings until painted", percentile(dialogs["port"], 0.5), 150},
        {"  the next ones", percentile(dialogs["port-again"], 0.5), 0},
        {"first print font until painted", percentile(dialogs["font"], 0.5), 150},
        {"  the next one", percentile(dialogs["font-again"], 0.5), 0},
    });
    constexpr double idleGoal = 5;
    std::printf("\nFive seconds without a touch: %.1f ms of work, goal %.0f %s. Memory at most: %.0f MB.\n",
                day["idle"].worked, idleGoal, day["idle"].worked <= idleGoal ? "reached" : "MISSED",
                day["memory"].elapsed);
    return 0;
}

#ifdef OTHER_COUNTER
/// The same day alone and in a register.
int compareWithRegister(const QString& self, const QString& mills)
{
    constexpr std::size_t pressings = 200'000;
    const QString folder = mills + "/two-seasons";
    if (!counter_mill::prepare(folder, pressings)) return 1;
    const double loadBefore = loadAverage();
    const QTemporaryDir place(folder + "/register-XXXXXX");
    for (const QString& name : {u"alone"_s, u"shared"_s, u"other"_s}) QDir(place.path()).mkdir(name);
    const auto path = [&](const QString& name) { return place.filePath(name); };
    for (const QString& name : {u"alone"_s, u"shared"_s})
        if (!QFile::copy(folder + "/Yag.mdb", path(name) + "/Yag.mdb")) return 1;
    const Figures alone = screen(self, path(u"alone"_s), "--beside-others");

    RegisterMill mill(path(u"shared"_s), path(u"other"_s));
    constexpr int pause = 180; // with what the other one works itself: some twenty lines a second
    if (!mill.startOther(pause)) return 1;
    const int before = mill.lines();
    const Stopwatch day;
    const Figures shared = screen(self, path(u"shared"_s), "--beside-others");
    if (alone.isEmpty() || shared.isEmpty()) return 1;
    const double seconds = day.read().elapsed / 1000;
    const int came = mill.lines() - before;
    constexpr int slips = 10;
    if (mill.pressingsOf(u"Zzz"_s) != slips) {
        std::fprintf(stderr, "counter_bench: the register has %d of %d slips\n", mill.pressingsOf(u"Zzz"_s), slips);
        return 1;
    }

    std::printf("The counter with 100,000 customers and 200,000 pressings. Load average %.1f, in the end %.1f.\n"
                "In the register another counter made %.1f lines of the history a second meanwhile.\n\n",
                loadBefore, loadAverage(), came / seconds);
    print({
        {"keys alone, median", alone["key-median"], 0},
        {"  99 of 100 are quicker", alone["key-99"], 16},
        {"keys in a register, median", shared["key-median"], 0},
        {"  99 of 100 are quicker", shared["key-99"], 16},
        {"  the slowest of some 600", shared["key-most"], 100},
        {"keys of a steady hand alone, median", alone["in-time-median"], 0},
        {"  99 of 100 are quicker", alone["in-time-99"], 16},
        {"  the slowest of some 600", alone["in-time-most"], 0},
        {"keys of a steady hand in a register, median", shared["in-time-median"], 0},
        {"  99 of 100 are quicker", shared["in-time-99"], 16},
        {"  the slowest of some 600", shared["in-time-most"], 100},
        {"slips alone, median", alone["slip-median"], 0},
        {"  the slowest of nine", alone["slip-most"], 0},
        {"slips in a register, median", shared["slip-median"], 0},
        {"  the slowest of nine", shared["slip-most"], 60},
        {"  until the server has confirmed the last of them", shared["arrived"], 0},
        {"the screen's thread held alone, ten quiet seconds", alone["held-most"], 0},
        {"the same in a register", shared["held-most"], 60},
    });
    std::printf("\nMemory at most: alone %.0f MB, in a register %.0f MB.\n", alone["memory"].elapsed,
                shared["memory"].elapsed);
    return 0;
}
#endif

} // namespace

int main(int argc, char** argv)
{
    const QStringList arguments(argv + 1, argv + argc);
    if (arguments.size() == 3) {
        const Measured measured = arguments[1] == "--day"             ? Measured::day
                                  : arguments[1] == "--beside-others" ? Measured::besideOthers
                                  : arguments[1] == "--looked-at"     ? Measured::lookedAt
                                  : arguments[1] == "--dialogs"       ? Measured::dialogs
                                                                      : Measured::start;
        return measure(argc, argv, arguments[0], arguments[2].toLongLong(), measured);
    }
#ifdef OTHER_COUNTER
    if (arguments.size() == 2 && arguments[1] == "--register")
        return compareWithRegister(QFile::symLinkTarget("/proc/self/exe"), QDir(arguments[0]).absolutePath());
#endif
    if (arguments.size() == 1)
        return compare(QFile::symLinkTarget("/proc/self/exe"), QDir(arguments[0]).absolutePath());
    std::fprintf(stderr, "usage: counter_bench FOLDER [--register]\n");
    return 2;
}
