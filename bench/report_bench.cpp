// How long the report panel keeps an operator waiting, on the real screen, beside SQLite asked the same.
//
// usage: report_bench FOLDER [RUNS]
// FOLDER is the one of presva_bench: the invented mill with a million pressings is made there when it is missing.

#include <cstddef> // moc stumbles over <compare> without it

#include "app/form1.h"
#include "app/theme.h"
#include "bench/mill.h"
#include "bench/sides.h"
#include "platform/memory.h"
#include "platform/system_disk.h"
#include "print/queue_target.h"
#include "store/jet_engine.h"
#include "tests/doors/fake_prompt.h"
#include "tests/print/cups_fixture.h"

#include <QApplication>
#include <QScrollBar>
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

namespace fs = std::filesystem;
/// Since it was made: on the clock, and what this process has worked meanwhile, in milliseconds.
class Stopwatch {
public:
    struct Reading {
        double clock = 0, work = 0;
    };
    Reading read() const { return {now(CLOCK_MONOTONIC) - clock_, now(CLOCK_PROCESS_CPUTIME_ID) - work_}; }

private:
    static double now(clockid_t which)
    {
        timespec time{};
        ::clock_gettime(which, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
    double clock_ = now(CLOCK_MONOTONIC), work_ = now(CLOCK_PROCESS_CPUTIME_ID);
};

/// The runs of one engine at one task.
class Runs {
public:
    void add(const Stopwatch::Reading& run)
    {
        clock_.push_back(run.clock);
        work_.push_back(run.work);
    }
    bool empty() const { return clock_.empty(); }
    double clock() const { return median(clock_); }
    double work() const { return median(work_); }
    double slowest() const { return *std::max_element(clock_.begin(), clock_.end()); }

private:
    static double median(std::vector<double> of)
    {
        std::sort(of.begin(), of.end());
        return of[of.size() / 2];
    }
    std::vector<double> clock_, work_;
};

/// One line of the table.
struct Task {
    std::string name;
    double goal = 0; ///< milliseconds on the clock; 0: none
    Runs ours{}, sqlite{};

    static void printHead()
    {
        std::printf("%-49s%28s   %16s\n%-49s%10s%10s%8s   %10s%8s\n", "ms, from the action to the painted window",
                    "presva", "sqlite", "", "clock", "slowest", "work", "clock", "work");
    }
    void print() const
    {
        std::printf("%-49s%10.2f%10.2f%8.2f", name.c_str(), ours.clock(), ours.slowest(), ours.work());
        if (sqlite.empty())
            std::printf("   %10s%8s", "-", "-");
        else
            std::printf("   %10.2f%8.2f", sqlite.clock(), sqlite.work());
        if (goal > 0) std::printf("   within %.0f ms: %s", goal, ours.clock() <= goal ? "reached" : "MISSED");
        std::printf("\n");
        std::fflush(stdout);
    }
};

void must(bool fact, const char* otherwise)
{
    if (!fact) throw std::runtime_error(otherwise);
}

/// Counts how often a widget was painted.
class Paintings : public QObject {
public:
    explicit Paintings(QWidget* of) { of->installEventFilter(this); }
    int count = 0;

private:
    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }
};

/// Counts the jobs that the queue has taken.
class CountingTarget : public print::QueueTarget {
public:
    void sendAndFinish(int job, const print::Document& document) override
    {
        QueueTarget::sendAndFinish(job, document);
        ++taken_;
    }
    int count() const { return taken_; }

private:
    int taken_ = 0;
};

/// A copy that lies on the disk: the first sync that is timed must not wait for it.
void copySafely(const fs::path& from, const fs::path& to)
{
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
    const int file = ::open(to.c_str(), O_RDONLY | O_CLOEXEC);
    must(file >= 0 && ::fsync(file) == 0, "the copy of the mill cannot be written");
    ::close(file);
}

struct Days {
    QDate first, last;
};
const Days month{QDate(2017, 11, 1), QDate(2017, 11, 30)};
/// Six days of the season: some 5,000 pressings.
const Days sixDays{QDate(2017, 11, 1), QDate(2017, 11, 6)};

/// The counter's window on a copy of the mill's file, with the report view open.
class Panel {
public:
    Panel(const fs::path& mill, print::PrintTarget& printer) : directory_(mill.parent_path() / "counter")
    {
        fs::remove_all(directory_);
        fs::create_directories(directory_);
        // No box may come up; one that does ends the run with its text.
        prompt_.onBox = [](const QString& text) { throw std::runtime_error(text.toStdString()); };
        copySafely(mill, directory_ / "Yag.mdb");
        form_ = std::make_unique<app::Form1>(app::Surroundings{.prompt = prompt_,
                                                               .settings = settings_,
                                                               .regional = base::Regional::turkish(),
                                                               .directory = QString::fromStdString(directory_.string()),
                                                               .executable = u"presva"_s,
                                                               .databases = databases_,
                                                               .printer = printer,
                                                               .slips = slips_,
                                                               .weights = weights_,
                                                               .keyboard = *keyboard_,
                                                               .now = [] { return QDateTime::currentDateTime(); }});
        form_->start();
        must(QTest::qWaitForWindowExposed(form_.get()), "the window does not show");
        paintings_ = std::make_unique<Paintings>(form_->DBGrid1->viewport());
        click(form_->GünlükCmd);
    }
    ~Panel()
    {
        form_.reset();
        fs::remove_all(directory_);
    }
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    app::Form1& form() { return *form_; }

    /// Milliseconds from the action until the grid stands repainted on the screen.
    template <class Action> Stopwatch::Reading untilRepainted(Action&& action)
    {
        finishPainting();
        const int before = paintings_->count;
        const Stopwatch watch;
        action();
        while (paintings_->count == before) QCoreApplication::processEvents();
        QGuiApplication::sync();
        return watch.read();
    }
    /// The last day of the period is picked.
    Stopwatch::Reading show(const Days& days)
    {
        form_->run([&] { form_->GünLbl->setCaption({}); });
        setWithoutReport(days.first, days.last.addDays(-1));
        return untilRepainted([&] { form_->run([&] { form_->DTPickerSon->setValue(days.last); }); });
    }
    /// The customer's name is typed, and then picked from the list.
    Stopwatch::Reading show(const Days& days, const QString& customer)
    {
        setWithoutReport(days.first, days.last);
        form_->run([&] { form_->GünLbl->setCaption(customer); });
        app::SearchList& list = *form_->dbListe1;
        must(list.isVisible() && list.rowText(0) == customer, "the customer is not found");
        return untilRepainted([&] { list.pick(0); });
    }
    Stopwatch::Reading chooseReportView()
    {
        click(form_->Option1[0]);
        return untilRepainted([&] { click(form_->Option1[1]); });
    }
    /// Nobody touches the window for as long as somebody takes who looks at it first.
    void lookAt()
    {
        constexpr int firstLook = 2000; // milliseconds
        QTest::qWait(firstLook);
    }
    void click(QWidget* control)
    {
        QWidget* window = control->window();
        QTest::mouseClick(window->windowHandle(), Qt::LeftButton, {}, control->mapTo(window, control->rect().center()));
    }
    double totalOlives()
    {
        store::RecordSet& rows = form_->GünData.recordSet();
        must(rows.size() > 0 && rows.fieldAt(rows.size() - 1, 6).text() == u"Toplamlar", "there is no totals row");
        return *rows.fieldAt(rows.size() - 1, 1).number();
    }

private:
    /// Nothing happens while no station is worked on.
    void setWithoutReport(const QDate& first, const QDate& last)
    {
        const float station = std::exchange(form_->AktifKontrol, 999.0F);
        form_->DTPickerBas->setValue(first);
        form_->DTPickerSon->setValue(last);
        form_->AktifKontrol = station;
    }
    static void finishPainting()
    {
        for (int i = 0; i < 20; ++i) QCoreApplication::processEvents();
        QGuiApplication::sync();
    }

    fs::path directory_;
    QTemporaryDir settingsFolder_;
    FakePrompt prompt_;
    app::SettingsStore settings_{settingsFolder_.path()};
    store::JetDatabases databases_{platform::systemDisk()};
    store::SlipNotes slips_{platform::systemDisk(), directory_ / "Yag.mdb"};
    weights::WeightBook weights_{platform::systemDisk(), directory_};
    std::unique_ptr<platform::Keyboard> keyboard_ = platform::systemKeyboard();
    std::unique_ptr<app::Form1> form_;
    std::unique_ptr<Paintings> paintings_;
};

/// The same report by SQLite, without a screen: the listing with the fields of its first screenful, the old totals row
/// deleted, the sums, the new totals row, as safe on the disk as ours.
class SqliteReport {
public:
    explicit SqliteReport(const fs::path& mill) : copy_(mill.parent_path() / "counter.sqlite")
    {
        copySafely(mill, copy_);
        check(sqlite3_open(copy_.c_str(), &database_));
        run("PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; PRAGMA cache_size=-400000");
    }
    ~SqliteReport()
    {
        sqlite3_close(database_);
        fs::remove(copy_);
    }
    SqliteReport(const SqliteReport&) = delete;
    SqliteReport& operator=(const SqliteReport&) = delete;

    Stopwatch::Reading report(const Days& days, const QString& customer = {})
    {
        const auto day = [](const QDate& date) { return static_cast<double>(QDate(1899, 12, 30).daysTo(date)); };
        QString condition = u"Tarih>=%1 AND Tarih<=%2"_s.arg(day(days.first), 0, 'f', 0)
                                .arg(day(days.last) + 86399.0 / 86400, 0, 'f', 12);
        if (!customer.isEmpty()) condition += u" AND CariHar='%1'"_s.arg(customer);
        const Stopwatch watch;
        const bool any = list(condition);
        run("BEGIN IMMEDIATE; DELETE FROM Hareket WHERE CariHar='Toplamlar'");
        if (any) {
            sqlite3_stmt* sums = prepare(u"SELECT Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket "
                                         "WHERE CariHar<>'Toplamlar' AND "_s +
                                         condition);
            must(sqlite3_step(sums) == SQLITE_ROW, "sqlite: no sums");
            olives = sqlite3_column_double(sums, 0);
            sqlite3_stmt* insert = prepare(u"INSERT INTO Hareket VALUES(?,?,?,NULL,?,?,'Toplamlar')"_s);
            sqlite3_bind_double(insert, 1, 46000);
            for (int i = 0; i < 4; ++i) sqlite3_bind_value(insert, i + 2, sqlite3_column_value(sums, i));
            must(sqlite3_step(insert) == SQLITE_DONE, "sqlite: no insert");
            sqlite3_finalize(insert);
            sqlite3_finalize(sums);
        }
        run("COMMIT");
        return watch.read();
    }
    double olives = 0; ///< of the last report

private:
    bool list(const QString& condition)
    {
        sqlite3_stmt* listing = prepare(u"SELECT * FROM Hareket WHERE "_s + condition + u" ORDER BY Tarih"_s);
        int rows = 0;
        while (sqlite3_step(listing) == SQLITE_ROW)
            if (++rows <= 20)
                for (int field = 0; field < 7; ++field) sqlite3_column_text(listing, field);
        sqlite3_finalize(listing);
        return rows > 0;
    }
    sqlite3_stmt* prepare(const QString& sql)
    {
        sqlite3_stmt* statement = nullptr;
        check(sqlite3_prepare_v2(database_, sql.toUtf8().constData(), -1, &statement, nullptr));
        return statement;
    }
    void run(const char* sql) { check(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr)); }
    void check(int code)
    {
        if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database_));
    }

    fs::path copy_;
    sqlite3* database_ = nullptr;
};

void measureReports(const fs::path& mill, const fs::path& sqliteMill, const std::string& suffix, double goal, int runs,
                    print::PrintTarget& printer)
{
    Panel panel(mill, printer);
    SqliteReport sqlite(sqliteMill);
    Task whole{"whole journal chosen, 1,000,000 rows" + suffix};
    Task first{"first report after the start" + suffix};
    Task all{"report of one month" + suffix, goal};
    Task one{"report of one month, one customer" + suffix, goal};
    for (int run = 0; run < 3; ++run) whole.ours.add(panel.chooseReportView());
    first.ours.add(panel.show(month));
    first.sqlite.add(sqlite.report(month));
    const QString customer = panel.form().GünData.recordSet().fieldAt(0, 6).text();
    for (int run = 0; run < runs; ++run) {
        all.ours.add(panel.show(month));
        all.sqlite.add(sqlite.report(month));
        must(std::abs(panel.totalOlives() / sqlite.olives - 1) < 1e-9, "the reports have different sums");
        one.ours.add(panel.show(month, customer));
        one.sqlite.add(sqlite.report(month, customer));
        must(std::abs(panel.totalOlives() / sqlite.olives - 1) < 1e-9, "the customer's reports have different sums");
    }
    for (Task* task : {&whole, &first, &all, &one}) task->print();
}

/// The first report of somebody who has looked at the window before.
void measureReportAfterALook(const fs::path& mill, const std::string& suffix, print::PrintTarget& printer)
{
    Task task{"first report, two seconds after the window" + suffix};
    for (int run = 0; run < 3; ++run) {
        Panel panel(mill, printer);
        panel.lookAt();
        panel.chooseReportView();
        task.ours.add(panel.show(month));
    }
    task.print();
}

/// The wheel turned a notch, a page down, and the bar dragged anywhere, in a grid of a million rows.
void measureScrolling(const fs::path& mill, print::PrintTarget& printer)
{
    Panel panel(mill, printer);
    panel.chooseReportView();
    app::ListingGrid& grid = *panel.form().DBGrid1;
    QScrollBar& bar = *grid.verticalScrollBar();
    struct Way {
        const char* name;
        std::function<void(int)> step;
    };
    const auto wheel = [&](int) {
        const QPointF at = grid.viewport()->rect().center();
        QWheelEvent notch(at, grid.viewport()->mapToGlobal(at), {}, {0, -120}, Qt::NoButton, {}, Qt::NoScrollPhase,
                          false);
        QApplication::sendEvent(grid.viewport(), &notch);
    };
    const std::vector<Way> ways = {
        {"scrolling a notch of the wheel", wheel},
        {"scrolling a page", [&](int) { bar.triggerAction(QAbstractSlider::SliderPageStepAdd); }},
        {"dragging the bar anywhere", [&](int run) { bar.setValue(bar.maximum() / 211 * (run * 89 % 211)); }}};
    for (const Way& way : ways) {
        Task task{std::string(way.name) + ", 1,000,000 rows", 1000.0 / 60};
        for (int run = 1; run <= 100; ++run) task.ours.add(panel.untilRepainted([&] { way.step(run); }));
        task.print();
    }
}

/// From the press on "Yazdır" until the queue has taken the whole job.
void measureStatement(const fs::path& mill, int runs, CountingTarget& printer)
{
    Panel panel(mill, printer);
    panel.chooseReportView();
    panel.show(sixDays);
    const int rows = panel.form().GünData.recordSet().size();
    Task task{"statement of " + std::to_string(rows) + " rows reaches the queue", 2000};
    for (int run = 0; run < runs; ++run) {
        const int before = printer.count();
        const Stopwatch watch;
        panel.click(panel.form().KapatCmd[1]);
        while (printer.count() == before) {
            must(watch.read().clock < 60000, "the queue takes no statement");
            QCoreApplication::processEvents();
        }
        task.ours.add(watch.read());
    }
    task.print();
}

} // namespace

int main(int argc, char** argv)
{
    platform::keepLargeBlocksApart();
    QApplication application(argc, argv);
    app::applyTheme(application);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr, "usage: report_bench FOLDER [RUNS]\n");
        return 2;
    }
    try {
        const sides::Files files{arguments[1].toStdString()};
        const int runs = std::max(1, arguments.value(2, u"11"_s).toInt());
        fs::create_directories(files.folder);
        sides::prepareJet(files);
        sides::prepareSqlite(files);
        CupsFixture cups;
        must(cups.start() && cups.addQueue("a4", CupsFixture::Paper::a4) && cups.setDefault("a4"),
             "there is no print scheduler");
        CountingTarget printer;
        Task::printHead();
        measureReports(files.indexed(), files.sqliteIndexed(), ", indexed", 16, runs, printer);
        measureReports(files.plain(), files.sqlitePlain(), "", 100, runs, printer);
        measureReportAfterALook(files.indexed(), ", indexed", printer);
        measureReportAfterALook(files.plain(), "", printer);
        measureScrolling(files.plain(), printer);
        measureStatement(files.indexed(), runs, printer);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
