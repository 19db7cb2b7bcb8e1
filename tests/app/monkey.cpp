#include "platform/system_disk.h"
#include "pressing/keypad.h"
#include "pressing/rules.h"
#include "store/jet/care/check.h"
#include "tests/app/counter_world.h"
#include "tests/scale/pseudo_terminal.h"
#include "tests/support/chances.h"
#include "tests/support/columns.h"
#include "tests/support/text.h"

#include <QFile>
#include <random>

using namespace app;

namespace {

/// What must be true of the books, kept beside the screen.
struct Ledger {
    QStringList pressings; ///< customers of the pressings that the journal must hold
    int working = 0;       ///< the station that takes input
};

/// Somebody who touches whatever is in reach.
class Monkey {
public:
    Monkey(std::uint32_t seed, const base::Regional& regional, files::Disk& disk)
        : chance_(seed), disk_(disk), counter_(regional, databases_)
    {
        mill::createDatabase(disk_, path(), jet::turkish, {});
    }

    void play(int actions);
    QString trouble() const { return trouble_; }
    int slips() const { return static_cast<int>(counter_.paper.sent.size()); }

private:
    int any(int below) { return static_cast<int>(std::uniform_int_distribution<>(0, below - 1)(chance_)); }
    bool tap(QWidget* control);
    void act();
    void tryOne();
    bool choose(MenuItem* item, const QString& action, bool wanted = true);
    void changeDay();
    void key(QChar letter);
    void print(int station);
    void save();
    void pick();
    void programSets();
    void hearScale();
    void look();
    void fail(const QString& what)
    {
        if (trouble_.isEmpty()) trouble_ = u"after action %1 (%2): %3"_s.arg(count_).arg(action_, what);
    }
    void must(bool holds, const char* what)
    {
        if (!holds) fail(QString::fromLatin1(what));
    }
    std::filesystem::path path() const { return counter_.file().toStdU16String(); }
    QStringList journal();

    std::mt19937 chance_;
    files::Disk& disk_;
    store::JetDatabases databases_{disk_};
    Counter counter_;
    Form1& form_ = counter_.form;
    Ledger ledger_;
    int count_ = 0;
    QString action_;
    QString trouble_;
    PseudoTerminal line_;
};

/// A press in the control's middle, where nothing else must lie over it; false when it cannot be reached.
bool Monkey::tap(QWidget* control)
{
    if (!control->isVisibleTo(&form_)) return false;
    const QWidget* there = form_.childAt(control->mapTo(&form_, control->rect().center()));
    if (!there || (there != control && !control->isAncestorOf(there))) return false;
    action_ = u"tap "_s + control->objectName();
    if (auto* label = qobject_cast<CaptionLabel*>(control)) action_ += u' ' + label->caption();
    QTest::mouseClick(control, Qt::LeftButton);
    return true;
}

void Monkey::print(int station)
{
    const auto sent = counter_.paper.sent.size();
    const bool enabled = form_.YazCmd[station]->enabled();
    const QString customer = form_.TxtLbl[form_.station()]->caption();
    const int fault = any(8);
    using Step = FakePrinter::Step;
    counter_.paper.failAt.reset();
    if (fault < 3)
        counter_.paper.failAt = std::array{Step::paper, Step::create, Step::send}[static_cast<std::size_t>(fault)];
    if (!tap(form_.YazCmd[station])) return;
    const auto printed = counter_.paper.sent.size() - sent;
    must(printed <= (enabled && form_.Frame1[station]->enabled() ? 1 : 0), "more slips than presses");
    must(form_.YazCmd[station]->enabled() == enabled, "the print button has not come back");
    if (printed) ledger_.pressings << customer;
    must(!counter_.notes.open(), "a slip's note was left behind");
}

void Monkey::save()
{
    counter_.prompt.answer = any(2) == 0;
    const bool deleting = form_.Kaydet->caption() == u"Kaydı Sil";
    const auto questions = counter_.prompt.questions.size();
    const auto errors = counter_.prompt.errors.size();
    const QString shown = form_.TxtLbl[form_.station()]->caption();
    if (!tap(form_.Kaydet)) return;
    must((counter_.prompt.questions.size() > questions) == deleting, "deleting asks, saving does not");
    if (deleting && counter_.prompt.answer && counter_.prompt.errors.size() == errors)
        ledger_.pressings.removeAll(shown);
}

void Monkey::pick()
{
    if (!form_.dbListe1->visible() || form_.dbListe1->rowCount() == 0) return;
    const int row = any(form_.dbListe1->rowCount());
    action_ = u"pick "_s + form_.dbListe1->rowText(row);
    form_.dbListe1->pick(row);
}

void Monkey::programSets()
{
    static const QStringList texts = {"", "0", "12,5", "1.250", "850,0004", "-20", "1e", "1234KG\r", "99999999"};
    const int station = any(2);
    const QList<FieldLabel*> fields = {form_.Label2[station], form_.Label3[station], form_.Haklbl[station],
                                       form_.NakitLbl[station]};
    FieldLabel* field = fields[any(static_cast<int>(fields.size()))];
    QString text = texts[any(static_cast<int>(texts.size()))];
    if (any(2)) {
        field = form_.Label2[form_.station()];
        text = u"1000"_s;
    }
    action_ = field->objectName() + u'=' + text;
    form_.run([&] { field->setCaption(text); });
}

void Monkey::hearScale()
{
    static const QList<QByteArray> bursts = {"  1234kg\r", "   500kg\r   510kg\r", "12", "Net 12kg\r", "  -20kg\r",
                                             "1234KG\r"};
    if (!form_.TeraziComm->portOpen()) return;
    (void)QTest::qWaitFor([&] { return form_.TeraziComm->hearsWholeLines(); }, 2000);
    const int before = form_.scaleEvents();
    const QByteArray& burst = bursts[any(static_cast<int>(bursts.size()))];
    action_ = u"scale "_s + QString::fromLatin1(burst);
    line_.send(burst);
    if (!QTest::qWaitFor([&] { return form_.scaleEvents() > before; }, 2000)) fail(u"no event"_s);
}

void Monkey::act()
{
    // Something that cannot be reached just now is no action.
    action_.clear();
    for (int tries = 0; action_.isEmpty() && tries < 50; ++tries) tryOne();
    // The journal has room for names of 100 letters, and no more.
    for (FieldLabel* name : form_.TxtLbl)
        if (name->caption().size() > 90) form_.run([&] { name->setCaption(u"Ali"_s); });
}

void Monkey::tryOne()
{
    const int station = any(4) ? form_.station() : any(2);
    const auto tapping = [this](QWidget* control) { return [this, control] { tap(control); }; };
    drawn(any(48), {
                       {2,
                        [&] {
                            if (tap(form_.YeniCmd[station])) ledger_.working = station;
                        }},
                       {1, tapping(form_.TxtLbl[station])},
                       {2, tapping(form_.Label2[station])},
                       {1, tapping(form_.Label3[station])},
                       {1, tapping(form_.Haklbl[station])},
                       {1, tapping(form_.NakitLbl[station])},
                       {1, tapping(form_.HakCmd[station])},
                       {1,
                        [&] {
                            tap(form_.HakTut[station]);
                            tap(form_.Verilen[station]);
                        }},
                       {1, tapping(form_.Label4[station])},
                       {1, tapping(form_.KapCmd[station])},
                       {2, [&] { print(station); }},
                       {1, [&] { save(); }},
                       {2, [&] { pick(); }},
                       {1, tapping(form_.GünlükCmd)},
                       {1, [&] { tap(form_.KapatCmd[any(4) == 0 ? 1 : 0]); }},
                       {1, [&] { tap(form_.Option1[any(2)]); }},
                       {1, tapping(form_.GünLbl)},
                       {1, [&] { changeDay(); }},
                       {1,
                        [&] {
                            action_ = u"container"_s;
                            form_.run([&] { form_.Combo1[station]->setListIndex(any(5) - 1); });
                        }},
                       {1, [&] { choose(form_.Sayac, u"Sayac"_s, any(3) == 0); }},
                       {1, [&] { choose(form_.Bağlantı, u"Bağlantı"_s, any(3) == 0); }},
                       {1,
                        [&] {
                            if (any(4) != 0 || !form_.Dosya->isEnabled()) return;
                            choose(any(2) ? form_.CariSil : form_.HesapSil, u"bulk delete"_s);
                            ledger_.pressings.clear();
                        }},
                       {1,
                        [&] {
                            if (choose(form_.YazFont, u"font dialog"_s, any(6) == 0)) ledger_.working = 0;
                        }},
                       {1, [&] { programSets(); }},
                       {1, [&] { hearScale(); }},
                       {1,
                        [&] {
                            action_ = u"mouse"_s;
                            hover(form_.Label1[any(form_.Label1.size())]);
                        }},
                       {1,
                        [&] {
                            action_ = u"resize"_s;
                            form_.resize(960 + any(400), 640 + any(300));
                        }},
                       {1, tapping(form_.Label1[pressing::keys::clear])},
                       // The letters that the customers' names are made of, and digits.
                       {5, [&] { key(u"alişıabo5*1 2 0"_s[any(15)]); }},
                       {11, [&] { tap(form_.Label1[any(form_.Label1.size())]); }},
                   });
}

bool Monkey::choose(MenuItem* item, const QString& action, bool wanted)
{
    if (!wanted) return false;
    action_ = action;
    item->trigger();
    return true;
}

void Monkey::changeDay()
{
    if (!form_.Frame4->visible()) return;
    DatePicker* picker = any(2) ? form_.DTPickerBas : form_.DTPickerSon;
    const QDate day = counter_.clock.now.date().addDays(any(5) - 2);
    action_ = picker->objectName() + day.toString(Qt::ISODate);
    form_.run([&] { picker->setValue(day); });
}

void Monkey::key(QChar letter)
{
    for (KeyLabel* label : counter_.form.Label1)
        if (label->caption().compare(QString(letter), Qt::CaseInsensitive) == 0) tap(label);
}

QStringList Monkey::journal()
{
    const auto engine = databases_.open(counter_.file());
    const store::Listing listing = engine->open(u"Hareket"_s);
    QStringList names;
    for (const store::RowKey row : listing.rows) {
        const QString name = engine->field(listing, row, 6).text();
        if (name != u"Toplamlar") names << name;
    }
    return names;
}

/// What always holds between two actions.
void Monkey::look()
{
    must(form_.AktifKontrol == 0 || form_.AktifKontrol == 1, "no station is current");
    for (auto* field : form_.findChildren<FieldLabel*>())
        must(field->backColor() == (field == form_.AktifLbl ? colour::cyan : colour::white), "colours of the fields");
    int yellow = 0;
    for (int i = 0; i < form_.Label1.size(); ++i) {
        const Colour ground = form_.Label1[i]->backColor();
        must(ground == colour::cyan || ground == colour::yellow, "colour of a key");
        if (ground != colour::yellow) continue;
        ++yellow;
        must(form_.SonTus == static_cast<float>(i), "the highlighted key is not the last one");
    }
    must(yellow <= 1, "two highlighted keys");
    must(form_.Label1[0]->caption() == (form_.CapsDurum ? u"A" : u"a") &&
             form_.Label1[11]->caption() == (form_.CapsDurum ? u"İ" : u"i"),
         "case of the keys");
    must(counter_.keyboard.capsLock == form_.CapsDurum, "Caps Lock");
    for (int i = 0; i < 2; ++i) {
        const auto at = static_cast<std::size_t>(i);
        must(form_.HakVar[at] == form_.Frame3[i]->visible(), "HakVar is not the frame");
        must(form_.HakCmd[i]->caption() == (form_.HakVar[at] ? pressing::entitlementOn : pressing::entitlementOff),
             "caption of the switch");
        must(form_.HakCmd[i]->value() == form_.HakVar[at], "value of the switch");
        const bool works = i == ledger_.working;
        must(form_.Frame1[i]->enabled() == works, "which station takes input");
        must(form_.Frame1[i]->backColor() == (works ? colour::green : colour::buttonFace), "colour of a station");
        must(form_.kapSayisi(i) == std::trunc(form_.kapSayisi(i)), "half a container");
        must(form_.Label4[i]->caption().endsWith(u" Kap"_s), "caption of the containers");
        must(!form_.Combo1[i]->text().isEmpty() || form_.Combo1[i]->listIndex() == -1, "container list");
    }
    must(!form_.dbListe1->visible() || form_.dbListe1->rowCount() > 0, "an empty list is shown");
    must(form_.Dosya->isEnabled() != form_.Frame4->visible(), "the menu under the report panel");
    // Errors that a person can cause; the rest would be the program's own.
    static const QSet<int> expected = {5, 6, 13, 28, 3021, 3075, 3163, 3167};
    for (const int number : counter_.prompt.errors)
        if (!expected.contains(number)) fail(u"error %1"_s.arg(number));
    counter_.prompt.errors.clear();
    must(counter_.prompt.exclamations.isEmpty(), "a message about the port");
    if (count_ % 25 == 0) must(!form_.grab().isNull(), "the screen cannot be painted");
    if (count_ % 20 == 0) must(journal().size() == ledger_.pressings.size(), "rows stored are not slips printed");
}

void Monkey::play(int actions)
{
    QFile::link(line_.path(), counter_.folder.filePath(u"com1"_s));
    for (const char* name : {"Ali", "Ali Veli", "Ayşe", "Işık", "İsmail", "5", "A*", "B [x", "O'Neil"})
        counter_.addCustomer(QString::fromUtf8(name), 12.5, u"10 Litrelik Kap"_s, 12.5);
    form_.start();
    for (count_ = 1; count_ <= actions && trouble_.isEmpty(); ++count_) {
        act();
        look();
    }
    QStringList stored = journal();
    stored.sort();
    ledger_.pressings.sort();
    if (stored != ledger_.pressings)
        fail(u"stored: %1; printed: %2"_s.arg(stored.join(u','), ledger_.pressings.join(u',')));
    const auto reader = jet::Database::open(disk_, path(), jet::Pager::Mode::readOnly);
    for (const std::string& fault : jet::checkDatabase(*reader).faults) fail(QString::fromStdString(fault));
}

} // namespace

/// The screen in the hands of somebody who touches everything: whatever happens, it stays whole.
class MonkeyTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { applyTheme(*qApp); }

    void anyOrderOfTouchesLeavesTheScreenAndTheBooksWhole_data()
    {
        addColumns<bool, bool>("english", "realFile");
        // PRESVA_SEEDS lets it go on for longer than the usual run.
        const int seeds = numberFromEnvironment("PRESVA_SEEDS", 8);
        for (int seed = 1; seed <= seeds; ++seed) QTest::addRow("%d", seed) << (seed % 3 == 0) << (seed % 4 == 1);
    }
    void anyOrderOfTouchesLeavesTheScreenAndTheBooksWhole()
    {
        QFETCH(bool, english);
        QFETCH(bool, realFile);
        files::MemoryDisk memory;
        Monkey monkey(QByteArray(QTest::currentDataTag()).toUInt(),
                      english ? base::Regional::english() : base::Regional::turkish(),
                      realFile ? platform::systemDisk() : static_cast<files::Disk&>(memory));
        monkey.play(400);
        QVERIFY2(monkey.trouble().isEmpty(), qPrintable(monkey.trouble()));
        slips_ += monkey.slips();
    }
    void theMonkeyGotSomethingDone() { QVERIFY2(slips_ > 20, qPrintable(QString::number(slips_))); }

private:
    int slips_ = 0;
};

QTEST_MAIN(MonkeyTest)
#include "monkey.moc"
