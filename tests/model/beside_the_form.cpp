#include "app/theme.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/moment.h"
#include "tests/app/screen_fixture.h"
#include "tests/doors/fake_printer.h"
#include "tests/model/random_operator.h"
#include "tests/print/printed_documents.h"
#include "tests/scale/pseudo_terminal.h"

#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <memory>

using namespace app;
using model::Act, model::Touch;

namespace {

QString q(const model::Text& text) { return QString::fromStdU16String(text); }
QString told(const Touch& touch) { return QString::fromStdString(model::described(touch)).replace(u'\r', "\\r"_L1); }
QString yes(bool holds) { return holds ? u"yes"_s : u"no"_s; }

/// Customers whose names no key can type or that read as numbers, and a percentage that is too large for any share.
const std::array<model::Customer, 4> foreigners = {{{u"O'Neil", 12.5, u"10 Litrelik Kap", 100.0},
                                                    {u"Can #2", 7.0, u" 5 Litrelik Kap", 0.0},
                                                    {u"Büyük Bey", 1e308, u"20 Litrelik Kap", 0.0},
                                                    {u"1000", 8.0, u"10 Litrelik Kap", 250.0}}};

/// The end of a line that was under way when the port was opened.
template <class Comm, class Until> bool passTail(Comm& comm, PseudoTerminal& line, const Until& until)
{
    if constexpr (requires { comm.hearsWholeLines(); }) {
        if (!comm.hearsWholeLines()) line.send("\r");
        return until([&] { return comm.hearsWholeLines(); });
    }
    return true;
}

/// The screen on a file of its own, a printer that keeps what it gets, and the model beside it.
class Beside {
public:
    Beside();

    /// Does it to both and compares. What differs; nothing when all is well.
    QString touch(const Touch& touch);
    /// The words of every slip, once all are printed.
    QString wordsOfTheSlips();
    QString soundness();

    const model::Counter& seen() const { return model_; }
    int reached() const { return reached_; }
    int day() const { return static_cast<int>(clock_.now.date().toJulianDay()); }
    int slips() const { return static_cast<int>(model_.slips.size()); }

private:
    void open();
    /// What a start finds: those customers again, where they were deleted, and the note of a slip.
    void prepareStart(int note);
    bool toTheForm(const Touch& touch);
    /// The errors that it ends in.
    QList<int> toTheModel(const Touch& touch);
    void oneToTheModel(const Touch& touch);
    bool tap(QWidget* control);
    bool tapKey(int index);
    bool slip(const Touch& touch);
    bool menu(MenuItem* item);
    bool changeDay(const Touch& touch);
    bool sendLine(const model::Text& burst);
    bool closePortDialog();
    QString errors(const Touch& touch, QList<int> expected);
    QString screen() const;
    QString station(int index) const;
    QString panel() const;
    QString tables();
    bool lineIsCut() const;
    QString notes() const;

    QTemporaryDir folder_;
    QString file_ = folder_.filePath(u"Yag.mdb"_s);
    FakePrompt prompt_;
    SettingsStore settings_{folder_.path()};
    TriedDatabases books_{platform::systemDisk()};
    FakePrinter paper_;
    store::SlipNotes notes_{platform::systemDisk(), file_.toStdU16String()};
    weights::WeightBook weights_{platform::systemDisk(), folder_.path().toStdU16String()};
    FakeKeyboard keyboard_;
    FakeClock clock_;
    PseudoTerminal line_;
    std::unique_ptr<Form1> form_;
    model::Counter model_;
    QList<Touch> tapped_;        ///< while the last slip was under way
    bool lineErrorTold_ = false; ///< since the port was last touched
    int boxesExpected_ = 0;
    int reached_ = 0;
    int touches_ = 0;
};

Beside::Beside()
{
    mill::createDatabase(platform::systemDisk(), file_.toStdU16String(), jet::turkish, {});
    QFile::link(line_.path(), folder_.filePath(u"com1"_s));
    model_.today = day();
    model_.restarted();
    prepareStart(0);
    open();
    form_->Bağlantı->trigger();
}

void Beside::prepareStart(int note)
{
    form_.reset();
    const auto engine = books_.open(file_);
    for (const model::Customer& customer : foreigners) {
        if (std::ranges::any_of(model_.customers, [&](const auto& known) { return known.name == customer.name; }))
            continue;
        model_.customers.push_back(customer);
        engine->insert(
            engine->open(u"Cari"_s),
            {{0, q(customer.name)}, {1, *customer.percentage}, {2, q(*customer.container)}, {3, *customer.fee}});
    }
    if (note == 0 || model_.waiting) return;

    const bool printed = note != 3, whole = note != 4, storable = note != 5, known = note != 6;
    const model::Text name = !storable ? model::totals : note == 2 ? u"O'Neil" : u"Ali Veli";
    const print::Document document{"%PDF-1.4", u"Not"_s, {}, print::Paper::slipRoll80()};
    const int created = paper_.createJob(document);
    if (printed && known) paper_.sendAndFinish(created, document);
    const int job = known ? created : created + 1'000'000;
    const double moment = store::daysOf(clock_.now);
    notes_.write({job, moment, {q(name), u"1.000"_s, u"900"_s, u"12,5"_s, u"113"_s, u"0"_s, u"15 Litrelik Kap"_s}, 0});
    if (!whole) QFile::resize(file_ + "-slip", 40);
    if (!whole || !storable || !known)
        model_.keptAsFile();
    else if (printed)
        model_.noteTaken({name, 1000, 900, 12.5, 113, 0, model_.today}, u"15 Litrelik Kap");
}

void Beside::open()
{
    form_.reset();
    form_ = std::make_unique<Form1>(Surroundings{.prompt = prompt_,
                                                 .settings = settings_,
                                                 .regional = base::Regional::turkish(),
                                                 .directory = folder_.path(),
                                                 .executable = u"presva"_s,
                                                 .databases = books_,
                                                 .printer = paper_,
                                                 .slips = notes_,
                                                 .weights = weights_,
                                                 .keyboard = keyboard_,
                                                 .now = clock_.hands()});
    form_->setUpdatesEnabled(false); // how it is painted is looked at elsewhere
    form_->start();
}

// ---- Touches of the form: true when there was something to touch ----

bool Beside::tap(QWidget* control)
{
    if (!control->isVisibleTo(form_.get()) || !control->isEnabled() || inputBlocked(control)) return false;
    const QWidget* there = form_->childAt(control->mapTo(form_.get(), control->rect().center()));
    if (!there || (there != control && !control->isAncestorOf(there))) return false;
    QTest::mouseClick(control, Qt::LeftButton);
    return true;
}

bool Beside::slip(const Touch& touch)
{
    using Step = FakePrinter::Step;
    using model::PrinterFault;
    const auto fault = static_cast<PrinterFault>(touch.chance);
    const auto isOne = [&](std::initializer_list<PrinterFault> faults) {
        return std::ranges::count(faults, fault) > 0;
    };
    if (fault == PrinterFault::paper) paper_.failAt = Step::paper;
    if (fault == PrinterFault::job) paper_.failAt = Step::create;
    if (isOne({PrinterFault::sending, PrinterFault::silent, PrinterFault::forgotten})) paper_.failAt = Step::send;
    paper_.answersGetLost = isOne({PrinterFault::answerLost, PrinterFault::silentTaken, PrinterFault::forgottenTaken});
    paper_.silent = isOne({PrinterFault::silent, PrinterFault::silentTaken});
    paper_.forgetful = isOne({PrinterFault::forgotten, PrinterFault::forgottenTaken});
    const auto mended = qScopeGuard([this] {
        paper_.failAt.reset();
        paper_.answersGetLost = paper_.silent = paper_.forgetful = false;
    });
    // Taps wait in the queue while the slip is under way.
    QObject meanwhile;
    QTimer::singleShot(0, &meanwhile, [&] {
        for (const Touch& other : touch.meanwhile) {
            if (other.act == Act::slip)
                QTest::mouseClick(form_->YazCmd[touch.at], Qt::LeftButton);
            else if (toTheForm(other))
                tapped_ << other;
        }
    });
    return tap(form_->YazCmd[touch.at]);
}

bool Beside::menu(MenuItem* item)
{
    item->trigger();
    return true;
}

bool Beside::changeDay(const Touch& touch)
{
    if (!form_->Frame4->visible()) return false;
    DatePicker* picker = touch.act == Act::firstDay ? form_->DTPickerBas : form_->DTPickerSon;
    form_->run([&] { picker->setValue(clock_.now.date().addDays(touch.at)); });
    return true;
}

bool Beside::sendLine(const model::Text& burst)
{
    scale::TeraziComm& comm = *form_->TeraziComm;
    if (!comm.portOpen() || model_.now().name.empty()) return false;
    const auto until = [](const auto& holds) {
        QElapsedTimer since;
        for (since.start(); !holds() && since.elapsed() < 5000;)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        return holds();
    };
    if (!passTail(comm, line_, until)) return false;
    const int before = form_->scaleEvents();
    line_.send(q(burst).toLatin1());
    return until([&] { return form_->scaleEvents() > before; });
}

bool Beside::closePortDialog()
{
    QTimer::singleShot(0, form_.get(), [] {
        if (QWidget* dialog = QApplication::activeModalWidget()) dialog->close();
    });
    form_->PortAyarlar->trigger();
    return true;
}

bool Beside::toTheForm(const Touch& touch)
{
    Form1& form = *form_;
    switch (touch.act) {
    case Act::newCustomer:
        return tap(form.YeniCmd[touch.at]);
    case Act::name:
        return tap(form.TxtLbl[touch.at]);
    case Act::olives:
        return tap(form.Label2[touch.at]);
    case Act::oil:
        return tap(form.Label3[touch.at]);
    case Act::percentage:
        return tap(form.Haklbl[touch.at]);
    case Act::fee:
        return tap(form.NakitLbl[touch.at]);
    case Act::share:
        return tap(form.HakCmd[touch.at]);
    case Act::entitlement:
        return tap(form.HakTut[touch.at]);
    case Act::left:
        return tap(form.Verilen[touch.at]);
    case Act::key:
        return tap(form.Label1[touch.at]);
    case Act::pick:
        if (!form.dbListe1->isVisibleTo(&form) || touch.at >= form.dbListe1->rowCount()) return false;
        form.dbListe1->pick(touch.at);
        return true;
    case Act::save:
        prompt_.answer = touch.chance != 0;
        paper_.silent = touch.at != 0;
        return tap(form.Kaydet);
    case Act::slip:
        return slip(touch);
    case Act::containerFilled:
        return tap(form.Label4[touch.at]);
    case Act::containersDropped:
        return tap(form.KapCmd[touch.at]);
    case Act::container:
        if (inputBlocked(form.Combo1[touch.at]) || form.Frame4->visible()) return false;
        form.run([&] { form.Combo1[touch.at]->setListIndex(touch.chance); });
        return true;
    case Act::panel:
        return tap(form.GünlükCmd);
    case Act::closePanel:
        return tap(form.KapatCmd[0]);
    case Act::statement:
        return tap(form.KapatCmd[1]);
    case Act::option:
        return tap(form.Option1[touch.at]);
    case Act::filter:
        return tap(form.GünLbl);
    case Act::firstDay:
    case Act::lastDay:
        return changeDay(touch);
    case Act::deleteEverybody:
        if (TriedDatabases::overRegister()) return false; // nobody empties a shared register
        paper_.silent = touch.at != 0;
        return form.Dosya->isEnabled() && menu(form.CariSil);
    case Act::deletePressings:
        if (TriedDatabases::overRegister()) return false;
        paper_.silent = touch.at != 0;
        return form.Dosya->isEnabled() && menu(form.HesapSil);
    case Act::statusLine:
        return tap(form.status);
    case Act::counts:
        return menu(form.Sayac);
    case Act::fontDialog:
        return menu(form.YazFont);
    case Act::portDialog:
        return closePortDialog();
    case Act::connection:
        return menu(form.Bağlantı);
    case Act::line:
        return sendLine(touch.burst);
    case Act::restart:
        prepareStart(touch.chance);
        open();
        return true;
    }
    return false;
}

// ---- The same to the model; the errors it ends in ----

QList<int> Beside::toTheModel(const Touch& touch)
{
    QList<int> numbers;
    const auto one = [&](const Touch& act) {
        const model::Counter before = model_;
        try {
            oneToTheModel(act);
        } catch (const model::Error& error) {
            numbers << error.number;
            // A figure too large takes the whole touch back.
            if (error.number != 6) return;
            model_ = before;
            if (act.act == Act::share) model_.endTyping();
        }
    };
    one(touch);
    for (const Touch& other : std::exchange(tapped_, {})) one(other);
    return numbers;
}

void Beside::oneToTheModel(const Touch& touch)
{
    switch (touch.act) {
    case Act::newCustomer:
        return model_.newCustomer(touch.at);
    case Act::name:
        return model_.tapName(touch.at);
    case Act::olives:
        return model_.tapWeight(touch.at, model::Field::olives);
    case Act::oil:
        return model_.tapWeight(touch.at, model::Field::oil);
    case Act::percentage:
        return model_.tapPay(touch.at, model::Field::percentage);
    case Act::fee:
        return model_.tapPay(touch.at, model::Field::fee);
    case Act::share:
        return model_.tapSwitch(touch.at);
    case Act::key:
        return model_.key(touch.at);
    case Act::pick:
        return model_.pick(touch.at);
    case Act::save:
        return model_.save(touch.chance != 0, touch.at == 0);
    case Act::slip:
        return model_.slip(touch.at, static_cast<model::PrinterFault>(touch.chance));
    case Act::containerFilled:
        return model_.containerFilled(touch.at);
    case Act::containersDropped:
        return model_.containersDropped(touch.at);
    case Act::container:
        return model_.chooseContainer(touch.at, touch.chance);
    case Act::panel:
        return model_.openPanel();
    case Act::closePanel:
        return model_.closePanel();
    case Act::option:
        return model_.chooseOption(touch.at);
    case Act::firstDay:
    case Act::lastDay:
        return model_.changeDay(touch.act == Act::firstDay, model_.today + touch.at);
    case Act::deleteEverybody:
        return model_.deleteEverybody(touch.at == 0);
    case Act::deletePressings:
        return model_.deletePressings(touch.at == 0);
    case Act::counts:
        model_.countsShown = !model_.countsShown;
        break;
    case Act::fontDialog:
    case Act::portDialog:
        return model_.dialogClosed();
    case Act::line:
        return model_.line(touch.burst);
    case Act::restart:
        return model_.restarted();
    case Act::statement:
        return model_.statement();
    case Act::statusLine:
        if (std::exchange(model_.unseen, 0) > 0 || lineIsCut()) ++boxesExpected_;
        break;
    case Act::entitlement:
    case Act::left:
    case Act::connection:
    case Act::filter:
        break;
    }
}

/// The tap on such a line tells all of it.
bool Beside::lineIsCut() const
{
    constexpr int margins = 24;
    const app::StatusLine& line = *form_->status;
    return line.fontMetrics().horizontalAdvance(line.text()) > line.width() - margins;
}

// ---- Comparing ----

/// The first thing that differs.
class Difference {
public:
    void look(const QString& what, const QString& form, const QString& model)
    {
        if (form != model && text_.isEmpty())
            text_ = u"%1: the form says \"%2\", the model \"%3\""_s.arg(what, form, model);
    }
    void look(const QString& what, bool form, bool model) { look(what, yes(form), yes(model)); }
    /// A quantity that shows nothing counts as 0.
    void quantity(const QString& what, const QString& form, const model::Text& model)
    {
        look(what, form.isEmpty() ? u"0"_s : form, model.empty() ? u"0"_s : q(model));
    }
    const QString& text() const { return text_; }

private:
    QString text_;
};

QString Beside::station(int index) const
{
    const Form1& form = *form_;
    const model::Station& at = model_.stations.at(std::size_t(index));
    const QString where = u"station %1, "_s.arg(index + 1);
    Difference difference;
    difference.look(where + "name", form.TxtLbl[index]->caption(), q(at.name));
    difference.quantity(where + "olives", form.Label2[index]->caption(), at.olives);
    difference.quantity(where + "oil", form.Label3[index]->caption(), at.oil);
    difference.quantity(where + "percentage", form.Haklbl[index]->caption(), at.percentage);
    difference.quantity(where + "entitlement", form.HakTut[index]->caption(), at.entitlement);
    difference.quantity(where + "handed over", form.Verilen[index]->caption(), at.left);
    difference.quantity(where + "fee", form.NakitLbl[index]->caption(), at.fee);
    const auto sourceOf = [](const mill::Weighing& weighing) {
        return weighing.source == mill::WeightSource::scale      ? model::Source::scale
               : weighing.source == mill::WeightSource::computed ? model::Source::rule
                                                                 : model::Source::hand;
    };
    const mill::Provenance from = form_->origins().of(index);
    const auto look = [&](const QString& what, model::Source form, model::Source model) {
        static const std::array words = {u"a hand"_s, u"the scale"_s, u"a rule"_s};
        difference.look(what, words.at(std::size_t(form)), words.at(std::size_t(model)));
    };
    look(where + "olives from", sourceOf(from.olives), at.olivesFrom);
    look(where + "oil from", sourceOf(from.oil), at.oilFrom);
    difference.look(where + "share shown", form.Frame3[index]->visible(), at.share);
    difference.look(where + "share taken", form.HakVar.at(std::size_t(index)), at.share);
    difference.look(where + "switch", form.HakCmd[index]->caption(), at.share ? u"Hak Ediş Var"_s : u"Hak Ediş Yok"_s);
    difference.look(where + "container", QString::number(form.Combo1[index]->listIndex()),
                    QString::number(at.container));
    difference.look(where + "count", form.Label4[index]->caption(), q(at.countShown));
    difference.look(where + "count kept", QString::number(form.KapSayisi.at(std::size_t(index)), 'g', 9),
                    QString::number(at.count, 'g', 9));
    difference.look(where + "count shown", form.KapFrm[index]->visible(), at.countFrame);
    difference.look(where + "Fiş Yaz", form.YazCmd[index]->enabled(), at.mayPrint);
    const bool works = index == model_.working;
    difference.look(where + "works", form.Frame1[index]->enabled(), works);
    difference.look(where + "green", form.Frame1[index]->backColor() == colour::green, works);
    return difference.text();
}

QString Beside::screen() const
{
    const Form1& form = *form_;
    for (int index = 0; index < 2; ++index)
        if (QString trouble = station(index); !trouble.isEmpty()) return trouble;

    Difference difference;
    difference.look(u"working station"_s, QString::number(form.AktifKontrol), QString::number(model_.working));
    const FieldLabel* edited = nullptr;
    switch (model_.active) {
    case model::Field::name:
        edited = form.TxtLbl[model_.working];
        break;
    case model::Field::olives:
        edited = form.Label2[model_.working];
        break;
    case model::Field::oil:
        edited = form.Label3[model_.working];
        break;
    case model::Field::percentage:
        edited = form.Haklbl[model_.working];
        break;
    case model::Field::fee:
        edited = form.NakitLbl[model_.working];
        break;
    case model::Field::filter:
        edited = form.GünLbl;
        break;
    }
    difference.look(u"edited label"_s, form.AktifLbl->objectName(), edited->objectName());
    for (int i = 0; i < 2; ++i)
        for (const FieldLabel* label : {form.TxtLbl[i], form.Label2[i], form.Label3[i], form.Haklbl[i], form.HakTut[i],
                                        form.Verilen[i], form.NakitLbl[i], static_cast<FieldLabel*>(form.GünLbl)})
            difference.look(label->objectName() + " is cyan", label->backColor() == colour::cyan, label == edited);
    difference.look(u"report panel"_s, form.Frame4->visible(), model_.panel);
    difference.look(u"menu Dosya"_s, form.Dosya->isEnabled(), !model_.panel);
    difference.look(u"name of the report"_s, form.GünLbl->caption(), q(model_.filter));
    difference.look(u"list open"_s, form.dbListe1->visible(), model_.listOpen);
    if (model_.listOpen) {
        QStringList rows;
        for (int row = 0; row < form.dbListe1->rowCount(); ++row) rows << form.dbListe1->rowText(row);
        QStringList expected;
        for (const model::Text& name : model_.found) expected << q(name);
        difference.look(u"list"_s, rows.join(u'|'), expected.join(u'|'));
    }
    difference.look(u"Kaydet shown"_s, form.Kaydet->visible(), model_.saveShown);
    if (model_.saveShown)
        difference.look(u"Kaydet says"_s, form.Kaydet->caption(), model_.saveDeletes ? u"Kaydı Sil"_s : u"Kaydet"_s);
    difference.look(u"capitals"_s, form.CapsDurum, model_.capitals);
    difference.look(u"Sayac"_s, form.Sayac->checked(), model_.countsShown);
    return model_.panel && difference.text().isEmpty() ? panel() : difference.text();
}

QString Beside::panel() const
{
    const Form1& form = *form_;
    Difference difference;
    difference.look(u"CARİLER"_s, form.Option1[0]->value(), !model_.reportChosen);
    difference.look(u"RAPOR"_s, form.Option1[1]->value(), model_.reportChosen);
    difference.look(u"name of the report seen"_s, form.GünLbl->visible(), model_.reportChosen);
    difference.look(u"first day"_s, QString::number(form.DTPickerBas->value().toJulianDay()),
                    QString::number(model_.firstDay));
    difference.look(u"last day"_s, QString::number(form.DTPickerSon->value().toJulianDay()),
                    QString::number(model_.lastDay));
    difference.look(u"grid shown"_s, form.DBGrid1->visible(), model_.gridShown);
    if (!model_.gridShown || !difference.text().isEmpty()) return difference.text();

    const bool customers = model_.listing.of == model::Listing::Of::customers;
    const QAbstractItemModel& grid = *form.DBGrid1->model();
    QStringList rows, expected;
    for (int row = 0; row < grid.rowCount(); ++row) {
        QStringList cells;
        // The journal's first column is the moment: its rows stand in that order.
        for (int column = customers ? 0 : 1; column < grid.columnCount(); ++column)
            cells << grid.index(row, column).data().toString();
        // The last report's sums stand somewhere in the whole journal.
        const bool oldSums = model_.listing.of == model::Listing::Of::journal && cells.last() == q(model::totals);
        if (!oldSums) rows << cells.join(u'|');
    }
    for (const model::Text& row : model_.gridRows()) expected << q(row);
    if (customers) {
        rows.sort(); // as they lie in the file
        expected.sort();
    }
    difference.look(u"grid"_s, rows.join(u'\n'), expected.join(u'\n'));
    return difference.text();
}

QString Beside::errors(const Touch& touch, QList<int> expected)
{
    // What a line brought is told once, until somebody sees to the port.
    if (touch.act == Act::line && !expected.isEmpty() && std::exchange(lineErrorTold_, true)) expected.clear();
    if (touch.act == Act::portDialog || touch.act == Act::connection || touch.act == Act::restart)
        lineErrorTold_ = false;
    const QList<int> told = std::exchange(prompt_.errors, {});
    const QStringList boxes = std::exchange(prompt_.exclamations, {});
    if (boxes.size() != std::exchange(boxesExpected_, 0)) return u"messages: "_s + boxes.join(u'|');
    if (told == expected) return {};
    const auto written = [](const QList<int>& errors) {
        QStringList numbers;
        for (const int number : errors) numbers << QString::number(number);
        return numbers.isEmpty() ? u"none"_s : numbers.join(u' ');
    };
    return u"errors told: %1; expected: %2"_s.arg(written(told), written(expected));
}

QString Beside::notes() const
{
    const int kept = static_cast<int>(QDir(folder_.path()).entryList({u"Yag.mdb-slip-*"_s}, QDir::Files).size());
    if (kept != model_.setAside) return u"%1 notes kept as files, %2 in the model"_s.arg(kept).arg(model_.setAside);
    if (QFile::exists(file_ + "-slip") != model_.waiting.has_value())
        return model_.waiting ? u"a slip waits without its note"_s : u"a note is left open"_s;
    // Each is told until somebody has tapped the line, whatever has been said since.
    const QString line = form_->status->text();
    if (line.startsWith(u"⚠"_s) != (model_.unseen > 0)) return u"the status line says: "_s + line;
    for (int file = kept; file > kept - model_.unseen; --file)
        if (!line.contains(u"Yag.mdb-slip-%1"_s.arg(file))) return u"the status line says: "_s + line;
    return {};
}

QString Beside::tables()
{
    const auto engine = books_.open(file_);
    const auto cell = [&](const store::Listing& listing, store::RowKey row, int position) {
        const store::FieldValue value = engine->field(listing, row, position);
        if (value.isNull()) return u"-"_s;
        return value.isText() ? value.text() : QString::number(*value.number(), 'g', 12);
    };
    const auto number = [](const std::optional<double>& value) {
        return value ? QString::number(*value, 'g', 12) : u"-"_s;
    };
    const auto compare = [](const QString& table, QStringList stored, QStringList expected) {
        stored.sort();
        expected.sort();
        if (stored == expected) return QString();
        QStringList surplus = stored, missing = expected;
        for (const QString& row : expected) surplus.removeOne(row);
        for (const QString& row : stored) missing.removeOne(row);
        return u"%1 holds also \"%2\", lacks \"%3\""_s.arg(table, surplus.join("; "_L1), missing.join("; "_L1));
    };

    QStringList stored, expected;
    const store::Listing customers = engine->open(u"Cari"_s);
    for (const store::RowKey row : customers.rows) {
        QStringList cells;
        for (int position = 0; position < 4; ++position) cells << cell(customers, row, position);
        stored << cells.join(u'|');
    }
    for (const model::Customer& customer : model_.customers)
        expected << QStringList{q(customer.name), number(customer.percentage),
                                customer.container ? q(*customer.container) : u"-"_s, number(customer.fee)}
                        .join(u'|');
    if (QString trouble = compare(u"Cari"_s, stored, expected); !trouble.isEmpty()) return trouble;

    stored.clear();
    expected.clear();
    int totals = 0;
    const store::Listing journal = engine->open(u"Hareket"_s);
    for (const store::RowKey row : journal.rows) {
        if (cell(journal, row, 6) == q(model::totals)) {
            ++totals;
            continue;
        }
        QStringList cells;
        for (const int position : {6, 1, 2, 3, 4, 5}) cells << cell(journal, row, position);
        stored << cells.join(u'|');
    }
    for (const model::Pressing& pressing : model_.journal)
        expected << QStringList{q(pressing.name),
                                number(pressing.olives),
                                number(pressing.oil),
                                number(pressing.percentage),
                                number(pressing.entitlement),
                                number(pressing.fee)}
                        .join(u'|');
    if (totals > 1) return u"two rows of totals"_s;
    return compare(u"Hareket"_s, stored, expected);
}

QString Beside::touch(const Touch& touch)
{
    ++touches_;
    clock_.pass(20);
    model_.today = day();
    const bool done = toTheForm(touch);
    paper_.silent = false;
    if (!done) return {};
    ++reached_;
    if (QString trouble = errors(touch, toTheModel(touch)); !trouble.isEmpty()) return trouble;
    if (QString trouble = screen(); !trouble.isEmpty()) return trouble;
    const bool writes = touch.act != Act::key || model_.panel || touches_ % 16 == 0;
    if (!writes) return {};
    if (QString trouble = notes(); !trouble.isEmpty()) return trouble;
    return tables();
}

/// In letters narrow enough for hundreds of digits the reader of the paper sees gaps, and one digit for several that
/// are equal: then the rest is compared.
bool stands(const QString& expected, const QStringList& lines)
{
    constexpr qsizetype longestInPlainLetters = 60;
    if (expected.size() <= longestInPlainLetters) return lines.contains(expected.simplified());
    const auto rest = [](QString text) {
        text.remove(u' ').remove(u'.').remove(u'0');
        text.erase(std::unique(text.begin(), text.end()), text.end());
        return text;
    };
    return std::ranges::any_of(lines, [&](const QString& line) { return rest(line) == rest(expected); });
}

QString Beside::wordsOfTheSlips()
{
    QTemporaryDir pdfs;
    QStringList files;
    for (const print::Document& document : paper_.printed) {
        if (document.title != u"Bilgi Fişi") continue;
        files << pdfs.filePath(u"%1.pdf"_s.arg(files.size(), 5, 10, QChar(u'0')));
        QFile file(files.back());
        if (!file.open(QIODevice::WriteOnly) || file.write(document.pdf) != document.pdf.size()) return u"no room"_s;
    }
    if (files.size() != slips()) return u"%1 slips printed, %2 in the model"_s.arg(files.size()).arg(slips());
    if (files.isEmpty()) return {};
    const QString all = pdfs.filePath(u"all"_s);
    if (files.size() == 1)
        QFile::copy(files.front(), all);
    else if (QProcess::execute(u"pdfunite"_s, files + QStringList{all}) != 0)
        return u"pdfunite failed"_s;
    QProcess process;
    process.start(u"pdftotext"_s, {u"-layout"_s, all, u"-"_s});
    process.waitForFinished(60'000);
    const QStringList pages = QString::fromUtf8(process.readAllStandardOutput()).split(u'\f');
    if (pages.size() != files.size() + 1) return u"%1 slips on %2 pages"_s.arg(files.size()).arg(pages.size() - 1);

    for (int i = 0; i < slips(); ++i) {
        QStringList lines;
        for (const QString& line : pages[i].split(u'\n')) lines << line.simplified();
        const model::Slip& slip = model_.slips[std::size_t(i)];
        for (const QString& expected :
             {u"Sayın; "_s + q(slip.customer), u"Sıkılacak Zeytin KG "_s + q(slip.olives),
              u"Sıkılan Zeytin Yağı KG "_s + q(slip.oil), q(slip.terms), q(slip.pay),
              u"Dolan Kap Boyutu "_s + q(slip.size), u"Yaklaşık Dolum Miktarı "_s + q(slip.litres),
              u"DOLDURULAN KAP "_s + q(slip.containers)})
            if (!stands(expected, lines))
                return u"slip %1 lacks \"%2\":\n%3"_s.arg(QString::number(i + 1), expected, lines.join(u'\n'));
    }
    return {};
}

QString Beside::soundness()
{
    const auto reader = jet::Database::open(platform::systemDisk(), file_.toStdU16String(), jet::Pager::Mode::readOnly);
    const auto faults = jet::checkDatabase(*reader).faults;
    return faults.empty() ? QString() : QString::fromStdString(faults.front());
}

// ---- A seed, and what led to its trouble ----

struct Outcome {
    std::vector<Touch> touches;
    QString trouble;
    int reached = 0, slips = 0;
};

/// Until so many have found something to touch, or next() has no more.
template <class Next> Outcome play(int touches, Next next)
{
    Outcome outcome;
    Beside beside;
    while (beside.reached() < touches && outcome.trouble.isEmpty()) {
        const std::optional<Touch> touch = next(beside.seen());
        if (!touch) break;
        outcome.touches.push_back(*touch);
        outcome.trouble = beside.touch(outcome.touches.back());
    }
    if (outcome.trouble.isEmpty()) outcome.trouble = beside.wordsOfTheSlips();
    if (outcome.trouble.isEmpty()) outcome.trouble = beside.soundness();
    outcome.reached = beside.reached();
    outcome.slips = beside.slips();
    return outcome;
}

Outcome again(const std::vector<Touch>& touches)
{
    std::size_t at = 0;
    return play(static_cast<int>(touches.size()) + 1, [&](const model::Counter&) {
        return at < touches.size() ? std::optional(touches[at++]) : std::nullopt;
    });
}

/// As few touches as still end in trouble, as far as a minute takes it.
Outcome shrunk(Outcome outcome)
{
    QElapsedTimer since;
    since.start();
    for (std::size_t piece = std::max<std::size_t>(outcome.touches.size() / 2, 1); since.elapsed() < 60'000;) {
        bool shorter = false;
        for (std::size_t at = 0; at < outcome.touches.size() && since.elapsed() < 60'000;) {
            std::vector<Touch> fewer = outcome.touches;
            const auto first = fewer.begin() + static_cast<std::ptrdiff_t>(at);
            fewer.erase(first, first + static_cast<std::ptrdiff_t>(std::min(piece, fewer.size() - at)));
            Outcome tried = again(fewer);
            if (tried.trouble.isEmpty()) {
                at += piece;
            } else {
                outcome = std::move(tried);
                shorter = true;
            }
        }
        if (piece == 1 && !shorter) break;
        piece = std::max<std::size_t>(piece / 2, 1);
    }
    return outcome;
}

int wanted(const char* name, int usual)
{
    const int set = qEnvironmentVariableIntValue(name);
    return set > 0 ? set : usual;
}

} // namespace

/// A model of the counter beside the form, in the hands of somebody who touches everything.
class BesideTheForm : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { applyTheme(*qApp); }

    void theCounterTheLineAndThePaperSayTheSame_data()
    {
        NEEDS_PDF_TOOLS;
        QTest::addColumn<int>("touches");
        const int first = wanted("PRESVA_FIRST_SEED", 1);
        const int seeds = wanted("PRESVA_SEEDS", 25), touches = wanted("PRESVA_TOUCHES", 2000);
        for (int seed = first; seed < first + seeds; ++seed) QTest::addRow("%d", seed) << touches;
    }
    void theCounterTheLineAndThePaperSayTheSame()
    {
        QFETCH(int, touches);
        model::RandomOperator somebody(QByteArray(QTest::currentDataTag()).toUInt());
        Outcome outcome = play(touches, [&](const model::Counter& seen) { return std::optional(somebody.next(seen)); });
        slips_ += outcome.slips;
        reached_ += outcome.reached;
        if (outcome.trouble.isEmpty()) return;
        const auto length = outcome.touches.size();
        outcome = shrunk(std::move(outcome));
        QStringList steps;
        for (const Touch& touch : outcome.touches) steps << told(touch);
        QFAIL(qPrintable(u"%1\nafter %2 touches; of them lead there:\n  %3"_s.arg(
            outcome.trouble, QString::number(length), steps.join("\n  "_L1))));
    }
    void thePassedTouchesWereWork()
    {
        qInfo("%d touches, %d slips", reached_, slips_);
        QVERIFY(reached_ > 100);
        QVERIFY(slips_ > reached_ / 200);
    }

private:
    int slips_ = 0;
    int reached_ = 0;
};

int main(int argc, char** argv)
{
    // No window is looked at, and no window manager is in the way.
    leaveTheScreen();
    // Nor does the disk have to be waited for: what outlives a power cut is tested elsewhere.
    if (QDir(u"/dev/shm"_s).exists() && !qEnvironmentVariableIsSet("TMPDIR")) qputenv("TMPDIR", "/dev/shm");
    // A million touches take longer than a test's usual patience; ctest has its own.
    if (!qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT")) qputenv("QTEST_FUNCTION_TIMEOUT", "86400000");
    QApplication application(argc, argv);
    BesideTheForm test;
    return QTest::qExec(&test, argc, argv);
}

#include "beside_the_form.moc"
