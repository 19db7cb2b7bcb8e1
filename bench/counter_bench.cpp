// How quick the counter is with 100,000 customers and 1,000,000 pressings: the real screen on a real display.
//
//     counter_bench FOLDER
//
// makes FOLDER/Yag.mdb once and prints a table. Every start is a process of its own; this program starts itself.

#include "app/form1.h"
#include "app/theme.h"
#include "bench/counter_mill.h"
#include "bench/mill.h"
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
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/resource.h>
#include <unistd.h>

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
    Span tap(QWidget* control) const
    {
        QWindow* window = form_.windowHandle();
        const QPoint middle = control->mapTo(&form_, control->rect().center());
        QTest::mouseMove(window, middle);
        QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, middle);
        finishPainting();
        const Stopwatch clock;
        QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, middle);
        finishPainting();
        return clock.read();
    }

    app::KeyLabel* key(const QString& caption) const
    {
        for (app::KeyLabel* key : form_.Label1)
            if (key->caption().trimmed() == caption) return key;
        return nullptr;
    }
    app::KeyLabel* keyOf(QChar letter) const
    {
        return key(letter == u' ' ? QStringLiteral("Boşluk") : QString(letter));
    }

    void type(const QString& text) const
    {
        for (const QChar letter : text) tap(keyOf(letter));
    }

private:
    app::Form1& form_;
};

/// Types names of customers, letter by letter, and gives the time of every key in order.
std::vector<Span> typeNames(app::Form1& form, std::size_t keys)
{
    const Finger finger(form);
    std::vector<Span> times;
    for (const long_mill::Customer& customer : long_mill::customers()) {
        // "ahmet yılmaz": without the village, whose stroke the keypad does not have.
        const QString name =
            QLocale(QLocale::Turkish).toLower(QString::fromStdU16String(customer.name).section(" / ", 0, 0));
        if (std::any_of(name.begin(), name.end(), [&](QChar letter) { return !finger.keyOf(letter); })) continue;
        for (const QChar letter : name) times.push_back(finger.tap(finger.keyOf(letter)));
        // What is measured must have happened.
        if (form.TxtLbl[0]->caption().size() != name.size()) {
            std::fprintf(stderr, "counter_bench: '%s' was not typed\n", qUtf8Printable(name));
            std::exit(1);
        }
        times.push_back(finger.tap(finger.key("Sil")));
        if (times.size() >= keys) break;
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
    for (int i = 0; i < others; ++i) slips.push_back(finger.tap(form.YazCmd[0]));
    report("slip-median", percentile(slips, 0.5));
    report("slip-most", percentile(slips, 1));
    const int stored = form.DataHar.recordSet().size() - before;
    if (stored != others + 1) {
        std::fprintf(stderr, "counter_bench: %d slips are stored\n", stored);
        std::exit(1);
    }
}

/// One life of the screen, which was asked for at that moment. `whole` measures everything after the start too.
int measure(int argc, char** argv, const QString& folder, qint64 started, bool whole)
{
    const Stopwatch life(started);
    platform::keepLargeBlocksApart();
    QApplication application(argc, argv);
    app::applyTheme(application);
    ExposureWatch watch(life);
    application.installEventFilter(&watch);

    const QTemporaryDir own;
    // A measured program that shows a message does something else than what is measured.
    FakePrompt prompt;
    prompt.onBox = [](const QString& text) {
        std::fprintf(stderr, "counter_bench: %s\n", qUtf8Printable(text));
        std::exit(1);
    };
    app::SettingsStore settings(own.path());
    store::JetDatabases databases(platform::systemDisk());
    print::FolderTarget printer(own.path());
    store::SlipNotes slips(platform::systemDisk(), (folder + "/Yag.mdb").toStdU16String());
    FakeKeyboard keyboard;
    keyboard.capsLock.reset(); // as on a machine whose Caps Lock cannot be read: the real one stays alone
    app::Form1 form({
        .prompt = prompt,
        .settings = settings,
        .regional = base::Regional::turkish(),
        .directory = folder,
        .executable = QStringLiteral("presva"),
        .databases = databases,
        .printer = printer,
        .slips = slips,
        .keyboard = keyboard,
        .now = [] { return QDateTime::currentDateTime(); },
    });
    form.start();
    while (!watch.exposed) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    finishPainting();
    report("exposed", *watch.exposed);
    report("answers", life.read());
    if (!whole) return 0;

    std::vector<Span> keys = typeNames(form, 600);
    report("first-key", keys.front());
    keys.erase(keys.begin());
    report("key-median", percentile(keys, 0.5));
    report("key-99", percentile(keys, 0.99));
    report("key-most", percentile(keys, 1));

    QTest::qWait(1000);
    const Stopwatch idleClock;
    QEventLoop idle;
    QTimer::singleShot(5000, &idle, &QEventLoop::quit);
    idle.exec();
    report("idle", idleClock.read());

    printSlips(form);

    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    std::printf("memory %.1f 0\n", static_cast<double>(usage.ru_maxrss) / 1024);
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

    // Slips change the file: they get one of their own.
    const QTemporaryDir copy(folder + "/day-XXXXXX");
    if (!QFile::copy(folder + "/Yag.mdb", copy.filePath("Yag.mdb"))) return 1;
    const Figures day = screen(self, copy.path(), "--day");
    if (cold.isEmpty() || day.isEmpty()) return 1;

    std::printf("The counter with 100,000 customers and 1,000,000 pressings. Load average %.1f, in the end %.1f.\n\n",
                loadBefore, loadAverage());
    print({
        {"start until the window is on the screen, median", percentile(exposed, 0.5), 500},
        {"  the slowest of nine", percentile(exposed, 1), 0},
        {"  until taps are answered, median", percentile(answers, 0.5), 0},
        {"  window, the file not in the system's cache", cold["exposed"], 0},
        {"  taps, the file not in the system's cache", cold["answers"], 0},
        {"first key until repainted", day["first-key"], 0},
        {"other keys, median", day["key-median"], 0},
        {"other keys, 99 of 100 are quicker", day["key-99"], 16},
        {"  the slowest of some 600", day["key-most"], 0},
        {"first slip until the button is back", day["first-slip"], 0},
        {"other slips, median", day["slip-median"], 0},
        {"  the slowest of nine", day["slip-most"], 0},
    });
    constexpr double idleGoal = 5;
    std::printf("\nFive seconds without a touch: %.1f ms of work, goal %.0f %s. Memory at most: %.0f MB.\n",
                day["idle"].worked, idleGoal, day["idle"].worked <= idleGoal ? "reached" : "MISSED",
                day["memory"].elapsed);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const QStringList arguments(argv + 1, argv + argc);
    if (arguments.size() == 3)
        return measure(argc, argv, arguments[0], arguments[2].toLongLong(), arguments[1] == "--day");
    if (arguments.size() == 1)
        return compare(QFile::symLinkTarget("/proc/self/exe"), QDir(arguments[0]).absolutePath());
    std::fprintf(stderr, "usage: counter_bench FOLDER\n");
    return 2;
}
