// A season at the counter, at full speed: two stations, a scale with noise and a cable that comes out, a printer that
// pauses and refuses, dialogs, reports, statements. Every slip that the printer took must be in the journal with its
// figures and nothing else may be; memory and descriptors must not grow.
//
// The usual run is a busy day. A whole season, with the figures on standard output:
//
//     PRESVA_SEASON=20000 xvfb-run -a build/test/tests/season

#include "base/error.h"
#include "base/patterns.h"
#include "mill/tables.h"
#include "platform/memory.h"
#include "platform/system_disk.h"
#include "store/backups.h"
#include "store/copy_names.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include "tests/app/screen_fixture.h"
#include "tests/doors/fake_printer.h"
#include "tests/scale/pseudo_terminal.h"
#include "tests/support/text.h"

#include <QAbstractEventDispatcher>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <malloc.h>
#include <memory>
#include <random>
#include <set>

using namespace Qt::StringLiterals;

namespace {

/// A busy day; PRESVA_SEASON sets another number of pressings.
int pressings() { return numberFromEnvironment("PRESVA_SEASON", 200); }

const QDate seasonStart(2025, 10, 1);

/// Resident memory of this process in MB, without what the allocator only keeps for later.
double residentMemory()
{
    ::malloc_trim(0);
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly)) return 0;
    return file.readAll().split(' ').value(1).toDouble() * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

int descriptors()
{
    return static_cast<int>(
        QDir(u"/proc/self/fd"_s).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size());
}

/// Whether the toolkit keeps painters: threads that share the filling of a large area, begun at the first one that is
/// large enough and let go after 30 s without work. Each holds a wake-up descriptor and memory of its own.
bool paintersWait()
{
    const QDir threads(u"/proc/self/task"_s);
    return std::ranges::any_of(threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot), [&](const QString& thread) {
        QFile name(threads.filePath(thread) + u"/comm"_s);
        return name.open(QIODevice::ReadOnly) && name.readAll().trimmed() == "Thread (pooled)";
    });
}

class Dice {
public:
    explicit Dice(unsigned seed) : engine_(seed) {}
    int upTo(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(engine_); }
    int between(int low, int high) { return low + upTo(high - low + 1); }
    bool oneIn(int chances) { return upTo(chances) == 0; }

private:
    std::mt19937 engine_;
};

struct Pressing {
    QString customer;
    int olives = 0;
    double oil = 0;
    double entitlement = 0;
    double fee = 0;

    bool operator==(const Pressing&) const = default;
    QByteArray text() const
    {
        return customer.toUtf8() + ' ' + QByteArray::number(olives) + " kg, " + QByteArray::number(oil) + " oil, " +
               QByteArray::number(entitlement) + " kept, " + QByteArray::number(fee) + " TL";
    }
};

void letEverythingHappen()
{
    while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
    }
}

/// The mill: the real screen on a real file, and everything around it.
class Mill : public World {
    store::JetDatabases databases_{platform::systemDisk()};
    store::SlipNotes slips_{platform::systemDisk(), file().toStdU16String()};
    std::unique_ptr<PseudoTerminal> terminal_;
    QSet<QString> names_;

public:
    Dice dice{20251120};
    FakePrinter paper;
    int refusals = 0; ///< jobs that the printer will refuse
    int refused = 0;
    store::Backups backups{platform::systemDisk(), folder.path().toStdU16String()};
    std::vector<Pressing> books; ///< what must be in the journal; noted in memory set aside before
    std::set<QDate> days;        ///< on which something was pressed
    std::unique_ptr<app::Form1> form;

    Mill()
    {
        clock.now = QDateTime(seasonStart, QTime(8, 0));
        prompt.takesPresetFont = true;
        paper.keepsDocuments = false;
        paper.before = [this](FakePrinter::Step step) { beMoody(step); };
        const std::filesystem::path file = World::file().toStdU16String();
        jet::Database::create(platform::systemDisk(), file, jet::turkish, {});
        mill::createTables(*jet::Database::open(platform::systemDisk(), file), {});
        plugIn();
        form = std::make_unique<app::Form1>(surroundings(databases_, paper, slips_, &backups));
    }

    /// A printer with moods hesitates, and for a while it refuses.
    void beMoody(FakePrinter::Step step)
    {
        const bool refuses = (step == FakePrinter::Step::paper && refusals > 0 && refusals-- > 0) ||
                             (step == FakePrinter::Step::send && dice.oneIn(50));
        if (refuses) {
            ++refused;
            throw base::runtimeError(base::errors::printer);
        }
        if (step == FakePrinter::Step::send && dice.oneIn(20)) QThread::msleep(30);
    }

    /// What noise on the line says is no number; the counter tells it once.
    long long noises() const { return prompt.errors.count(base::errors::typeMismatch); }
    /// Every other box.
    QStringList unexpectedBoxes() const
    {
        QStringList boxes = prompt.exclamations + prompt.questions;
        for (const int number : prompt.errors)
            if (number != base::errors::typeMismatch) boxes << base::runtimeError(number).text();
        return boxes;
    }

    void note(Pressing pressing)
    {
        pressing.customer = *names_.insert(pressing.customer);
        books.push_back(std::move(pressing));
    }

    QString path(const QString& name) const { return folder.filePath(name); }

    // ---- The operator's finger --------------------------------------------------------------------------------

    void tap(QWidget* control) const
    {
        QVERIFY2(control && control->isVisible(), control ? qPrintable(control->objectName()) : "no such key");
        QWindow* window = form->windowHandle();
        const QPoint middle = control->mapTo(form.get(), control->rect().center());
        const QWidget* there = form->childAt(middle);
        QVERIFY2(there == control || control->isAncestorOf(there), qPrintable(control->objectName() + " is covered"));
        QTest::mouseMove(window, middle);
        QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, middle);
        letEverythingHappen();
    }
    void key(const QString& caption) const
    {
        for (app::KeyLabel* key : form->Label1)
            if (key->caption().trimmed() == caption) return tap(key);
        QFAIL(qPrintable(u"the keypad has no "_s + caption));
    }
    void type(const QString& text) const
    {
        for (const QChar letter : text) key(letter == u' ' ? u"Boşluk"_s : QString(letter));
    }

    // ---- The scale --------------------------------------------------------------------------------------------

    bool lineUp() const { return form->TeraziComm->portOpen() && terminal_; }
    void say(const QByteArray& bytes) const
    {
        if (lineUp()) terminal_->send(bytes);
    }
    void pullOut() { terminal_->pullOut(), terminal_.reset(); }
    void plugIn()
    {
        terminal_ = std::make_unique<PseudoTerminal>();
        QFile::remove(path(u"com1"_s));
        QVERIFY(QFile::link(terminal_->path(), path(u"com1"_s)));
    }
};

/// What the counter needs at rest. The database lies in memory as far as it was read, here all of it: that it grows by
/// what is stored in it is no leak, so it counts apart.
struct Needs {
    double memory = 0; ///< MB besides the file
    double file = 0;   ///< MB
    int descriptors = 0;
};

Needs needsNow(const Mill& mill)
{
    const double file = static_cast<double>(QFileInfo(mill.path(u"Yag.mdb"_s)).size()) / 1e6;
    return {residentMemory() - file, file, descriptors()};
}

const QStringList firstNames = {"ahmet", "ayşe", "hüseyin", "ismail", "çiğdem",
                                "ömer",  "şule", "zeynep",  "gül",    "fatma"};
const QStringList lastNames = {"yılmaz", "öztürk", "kaya", "demir", "çelik", "şahin", "ırmak", "güneş", "aslan", "koç"};

double number(const app::CaptionLabel* label)
{
    QString text = label->caption();
    return text.remove(u'.').replace(u',', u'.').toDouble();
}

} // namespace

class Season : public QObject {
    Q_OBJECT

public:
    /// A season takes longer than Qt Test grants a function.
    static void initMain()
    {
        qputenv("QTEST_FUNCTION_TIMEOUT", "14400000");
        platform::keepLargeBlocksApart(); // as the program does
    }

private slots:
    void everyPressingIsAccountedForAndNothingGrows()
    {
        const int wanted = pressings();
        app::applyTheme(*qApp);
        Mill mill;
        mill.books.resize(static_cast<std::size_t>(wanted));
        mill.books.clear();
        QElapsedTimer clock;
        clock.start();
        mill.form->start();
        QVERIFY(QTest::qWaitForWindowExposed(mill.form.get(), 10000));
        mill.form->Bağlantı->trigger();
        mill.form->Sayac->trigger();
        QVERIFY(mill.form->TeraziComm->portOpen());

        // What happens once is through after the first tenth: fonts, caches, the first report.
        const int tenth = wanted / 10;
        Needs then;
        const auto needs = [&] {
            plugIn(mill);
            mill.backups.wait();
            return needsNow(mill);
        };
        const auto needsAtRest = [&] {
            [] { QTRY_VERIFY_WITH_TIMEOUT(!paintersWait(), 60000); }();
            return needs();
        };
        for (int i = 1; i <= wanted; ++i) {
            press(mill);
            if (i % 20 == 7) report(mill);
            if (i % 40 == 13) openDialogs(mill);
            if (i % 50 == 26) pullOut(mill);
            if (i % 50 == 31) plugIn(mill);
            if (i == std::max(tenth, 60)) then = needsAtRest();
            if (i % std::max(tenth, 1) == 0) {
                const Needs now = needs();
                std::printf("%6d pressings: %7.1f s, %6.2f MB and a file of %5.2f MB, %d descriptors\n", i,
                            static_cast<double>(clock.elapsed()) / 1000.0, now.memory, now.file, now.descriptors);
                std::fflush(stdout);
            }
            if (QTest::currentTestFailed()) return;
        }
        const Needs now = needsAtRest();
        if (QTest::currentTestFailed()) return;
        mill.form->close();
        letEverythingHappen();
        mill.form.reset();
        mill.backups.wait();
        compareWithJournal(mill);
        lookAtCopies(mill);

        std::printf(
            "%zu stored, %d refused by the printer, %d reports, %d statements, %lld font dialogs, unplugged %d times, "
            "%lld noises told; memory %+.1f %% after the first tenth\n",
            mill.books.size(), mill.refused, reports_, statements_,
            static_cast<long long>(mill.prompt.fontPresets.size()), unplugged_, mill.noises(),
            (now.memory / then.memory - 1) * 100);
        QCOMPARE(mill.unexpectedBoxes(), QStringList());
        QCOMPARE(mill.paper.sent.size(), static_cast<int>(mill.books.size()) + statements_);
        QVERIFY(mill.books.size() + static_cast<std::size_t>(mill.refused) >= static_cast<std::size_t>(wanted));
        QCOMPARE(now.descriptors, then.descriptors);
        QVERIFY2(now.memory < then.memory * 1.05, qPrintable(u"%1 MB, then %2 MB"_s.arg(then.memory).arg(now.memory)));
    }

private:
    void press(Mill& mill)
    {
        app::Form1& form = *mill.form;
        const int station = mill.dice.upTo(2);
        mill.clock.pass(mill.dice.between(120, 900));
        if (mill.clock.now.time() > QTime(20, 0))
            mill.clock.now = QDateTime(mill.clock.now.date().addDays(1), QTime(8, 0));

        takeCustomer(mill, station);
        if (form.TxtLbl[station]->caption().trimmed().isEmpty() ||
            form.TxtLbl[station]->caption() == u"Müşteri Seçin"_s)
            mill.type(u"deniz"_s);
        const int olives = mill.dice.between(50, 9999);
        weigh(mill, station, olives);
        const int oil = std::max(10, olives / mill.dice.between(3, 7));
        mill.tap(form.Label3[station]);
        mill.key(u"Sil"_s);
        mill.type(QString::number(oil));
        agreeOnPay(mill, station);
        if (mill.dice.oneIn(100)) mill.refusals = mill.dice.between(1, 3);
        writeSlip(mill, station, olives, oil);

        // The last container closes the panel by itself.
        for (int i = mill.dice.upTo(4); i > 0 && form.KapFrm[station]->isVisible(); --i) mill.tap(form.Label4[station]);
        if (form.KapFrm[station]->isVisible()) mill.tap(form.KapCmd[station]);
    }

    void takeCustomer(Mill& mill, int station)
    {
        app::Form1& form = *mill.form;
        mill.tap(form.YeniCmd[station]);
        if (mill.dice.oneIn(3)) return; // the same one brings more
        mill.key(u"Sil"_s);
        const QString name = firstNames[mill.dice.upTo(10)] + u' ' + lastNames[mill.dice.upTo(10)];
        if (mill.dice.oneIn(2)) {
            mill.type(name.left(4));
            if (form.dbListe1->isVisible()) {
                form.dbListe1->pick(mill.dice.upTo(form.dbListe1->rowCount()));
                letEverythingHappen();
                return;
            }
            mill.key(u"Sil"_s);
        }
        mill.type(name);
        if (form.dbListe1->isVisible()) {
            // A name that is known lies open over the station until it is taken.
            form.dbListe1->pick(0);
            letEverythingHappen();
            return;
        }
        if (mill.dice.oneIn(4) && form.Kaydet->isVisible() && form.Kaydet->caption() == u"Kaydet"_s)
            mill.tap(form.Kaydet);
    }

    void weigh(Mill& mill, int station, int olives)
    {
        app::Form1& form = *mill.form;
        const QString shown = base::formatNumber(QString::number(olives), u"#,##0", base::Regional::turkish());
        if (mill.lineUp()) {
            switch (mill.dice.upTo(6)) {
            case 0:
                mill.say("\xff\x80\x00\x13?");
                break;
            case 1:
                mill.say("ERR 7\r");
                break;
            case 2:
                mill.say("   " + QByteArray::number(olives / 2) + "kg\r");
                break;
            default:
                break;
            }
            if (mill.dice.oneIn(3)) QTest::qWait(70);
            const QByteArray line = QByteArray::number(olives).rightJustified(7) + "kg\r";
            // A scale never stops saying the same; what was in the line before goes by.
            for (int i = 0; i < 100 && form.Label2[station]->caption() != shown; ++i) {
                mill.say(line);
                QTest::qWait(25);
            }
        }
        if (form.Label2[station]->caption() != shown) {
            mill.tap(form.Label2[station]);
            mill.key(u"Sil"_s);
            mill.type(QString::number(olives));
        }
        QCOMPARE(form.Label2[station]->caption(), shown);
    }

    void agreeOnPay(Mill& mill, int station)
    {
        app::Form1& form = *mill.form;
        const bool share = mill.dice.oneIn(2);
        if (share != form.HakCmd[station]->value()) mill.tap(form.HakCmd[station]);
        QCOMPARE(form.HakVar[static_cast<std::size_t>(station)], share);
        mill.tap(share ? form.Haklbl[station] : form.NakitLbl[station]);
        mill.key(u"Sil"_s);
        mill.type(QString::number(share ? mill.dice.between(5, 15) : mill.dice.between(100, 900)));
    }

    void writeSlip(Mill& mill, int station, int olives, int oil)
    {
        app::Form1& form = *mill.form;
        const Pressing pressing{form.TxtLbl[station]->caption(), olives, static_cast<double>(oil),
                                number(form.HakTut[station]), number(form.NakitLbl[station])};
        if (form.HakCmd[station]->value())
            QCOMPARE(pressing.entitlement, std::round(oil * number(form.Haklbl[station]) / 100));
        const auto before = mill.paper.sent.size();
        mill.tap(form.YazCmd[station]);
        QVERIFY(form.YazCmd[station]->enabled());
        if (mill.paper.sent.size() == before) return;
        mill.note(pressing);
        mill.days.insert(mill.clock.now.date());
    }

    void report(Mill& mill)
    {
        app::Form1& form = *mill.form;
        ++reports_;
        mill.tap(form.GünlükCmd);
        mill.tap(form.Option1[1]);
        form.run([&] { form.DTPickerSon->setValue(mill.clock.now.date()); });
        // Only a change reports: the picker goes to today and then to the day before all pressings.
        form.run([&] { form.DTPickerBas->setValue(mill.clock.now.date()); });
        form.run([&] { form.DTPickerBas->setValue(seasonStart.addDays(-1)); });
        letEverythingHappen();

        double olives = 0;
        double fees = 0;
        for (const Pressing& pressing : mill.books) {
            olives += pressing.olives;
            fees += pressing.fee;
        }
        store::RecordSet& rows = form.GünData.recordSet();
        QCOMPARE(static_cast<std::size_t>(rows.size()), mill.books.size() + 1);
        QCOMPARE(rows.fieldAt(rows.size() - 1, 6).text(), u"Toplamlar"_s);
        QCOMPARE(rows.fieldAt(rows.size() - 1, 1).number().value_or(-1), olives);
        QCOMPARE(rows.fieldAt(rows.size() - 1, 5).number().value_or(-1), fees);

        if (reports_ % 10 == 1) {
            // The statement of one day; a season of pages is another test's business.
            form.run([&] { form.DTPickerBas->setValue(mill.clock.now.date()); });
            letEverythingHappen();
            const auto before = mill.paper.sent.size();
            mill.tap(form.KapatCmd[1]);
            statements_ += static_cast<int>(mill.paper.sent.size() - before);
        }
        mill.tap(form.KapatCmd[0]);
        QVERIFY(!form.Frame4->isVisible());
    }

    void openDialogs(Mill& mill)
    {
        app::Form1& form = *mill.form;
        const bool confirm = mill.dice.oneIn(2);
        QTimer::singleShot(0, &form, [&] {
            if (QWidget* dialog = QApplication::activeModalWidget())
                if (auto* button = dialog->findChild<QAbstractButton*>(confirm ? "cmdOK" : "cmdCancel"))
                    button->click();
        });
        form.PortAyarlar->trigger();
        letEverythingHappen();
        QVERIFY(!QApplication::activeModalWidget());
        form.YazFont->trigger();
        form.Sayac->trigger();
        // The dialogs have closed the port.
        for (int i = 0; i < 2 && !form.TeraziComm->portOpen(); ++i) form.Bağlantı->trigger();
        letEverythingHappen();
        QVERIFY(form.TeraziComm->portOpen());
    }

    void pullOut(Mill& mill)
    {
        if (!mill.lineUp()) return;
        ++unplugged_;
        mill.pullOut();
        QTRY_VERIFY(!mill.form->TeraziComm->isPluggedIn());
    }

    void plugIn(Mill& mill)
    {
        if (mill.lineUp()) return;
        mill.plugIn();
        QTRY_VERIFY(mill.form->TeraziComm->isPluggedIn());
        letEverythingHappen();
        QVERIFY(mill.form->TeraziComm->portOpen());
    }

    void compareWithJournal(Mill& mill)
    {
        const std::filesystem::path file = mill.path(u"Yag.mdb"_s).toStdU16String();
        const auto database = jet::Database::open(platform::systemDisk(), file);
        const auto text = [](const jet::RowView& row, std::size_t column) {
            return QString::fromStdU16String(std::get<std::u16string>(row.value(column)));
        };
        std::vector<Pressing> stored;
        std::multiset<QString> totals;
        database->table(u"Hareket").forEachRow([&](jet::RowId, const jet::RowView& row) {
            const auto figure = [&](std::size_t column) { return row.number(column).value_or(0); };
            if (const QString name = text(row, 6); name == u"Toplamlar"_s)
                totals.insert(name);
            else
                stored.push_back({name, static_cast<int>(figure(1)), figure(2), figure(4), figure(5)});
            return true;
        });
        QCOMPARE(totals.size(), std::size_t{1});
        // Rows lie where there is room: the order of pages is nobody's promise.
        const auto byText = [](const Pressing& a, const Pressing& b) { return a.text() < b.text(); };
        std::vector<Pressing> expected = mill.books;
        std::sort(stored.begin(), stored.end(), byText);
        std::sort(expected.begin(), expected.end(), byText);
        QCOMPARE(stored.size(), expected.size());
        for (std::size_t i = 0; i < stored.size(); ++i)
            if (!(stored[i] == expected[i]))
                QFAIL(("the journal has " + stored[i].text() + ", expected " + expected[i].text()).constData());

        std::set<QString> customers;
        database->table(u"Cari").forEachRow([&](jet::RowId, const jet::RowView& row) {
            customers.insert(text(row, 0));
            return true;
        });
        for (const Pressing& pressing : mill.books) QVERIFY(customers.contains(pressing.customer));
        const jet::CheckResult check = jet::checkDatabase(*database);
        QVERIFY2(check.ok(), check.ok() ? "" : check.faults.front().c_str());
    }

    void lookAtCopies(Mill& mill)
    {
        // One of each day at the counter, as long as there is room for them.
        const QDir folder(mill.path(QString::fromLatin1(store::copyFolder)));
        const QStringList copies = folder.entryList({u"*"_s}, QDir::Files, QDir::Name);
        QCOMPARE(static_cast<std::size_t>(copies.size()), std::min(mill.days.size(), store::copiesKept));
        for (const QString& copy : {copies.first(), copies.last()}) {
            const auto database = jet::Database::open(platform::systemDisk(), folder.filePath(copy).toStdU16String(),
                                                      jet::Pager::Mode::readOnly);
            QVERIFY2(jet::checkDatabase(*database).ok(), qPrintable(copy));
        }
    }

    int statements_ = 0;
    int reports_ = 0;
    int unplugged_ = 0;
};

QTEST_MAIN(Season)
#include "season.moc"
