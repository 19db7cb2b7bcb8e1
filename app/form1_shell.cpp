#include "app/counter_screen.h"
#include "app/form1.h"
#include "app/setting_names.h"
#include "app/window_place.h"
#include "base/error.h"
#include "base/pass_over.h"
#include "base/patterns.h"
#include "base/sequential.h"
#include "mill/queries.h"
#include "pressing/containers.h"
#include "pressing/keypad.h"
#include "store/joint/shared_engine.h"
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QMouseEvent>
#include <QScreen>
#include <QTimer>
#include <QWindow>
#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace app {

namespace {

const QString layoutName = u"Mendrik"_s;

} // namespace

void Form1::wireShell()
{
    PrgExit->onClick([this] { PrgExit_Click(); });
    Command1->onClick([this] { Command1_Click(); });
    status->onClick([this] { status_Click(); });
    for (int Index = 0; Index < KapCmd.size(); ++Index) KapCmd[Index]->onClick([this, Index] { KapCmd_Click(Index); });
    for (KeyLabel* key : Label1) key->onFingerUp([this] { Form_MouseMove(); });
    // Windows that is switched off ends its programs without closing a window first.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        if (isVisible()) close();
    });
}

void Form1::start()
{
    run([this] { slipRoad_.tellFilesSetAside(); }, u"Form_Load"_s); // also beside a database that does not open
    run(
        [this] {
            Form_Load();
            slipRoad_.recover();
        },
        u"Form_Load"_s);
    // Before the window is seen, so that it does not jump; the activation finds it done.
    ActiveResize1.restore(layoutName, true, *this);
    show();
    setFocus(); // on no button: a stray key press must not push the first one
    activated();
    waitUntilSeen();
    // A database that would not open has been reported once by now.
    if (DataCari.hasRecordSet()) run([this] { DataHar.refresh(); }, u"DataHar"_s);
    // Asking the scheduler may take a moment; the operator can type meanwhile.
    QTimer::singleShot(0, this, [this] { showFacts(); });
    getReady();
}

void Form1::waitUntilSeen()
{
    constexpr int longest = 250; // milliseconds; a window that starts minimised is never seen
    QTimer patience;
    patience.setSingleShot(true);
    patience.start(longest);
    while (!windowHandle()->isExposed() && patience.isActive())
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::WaitForMoreEvents);
}

void Form1::showFacts()
{
    status->setPrinter(surroundings_.printer.stateText());
    showJournalSize();
}

void Form1::showJournalSize()
{
    if (DataHar.hasRecordSet())
        status->setDataFile(u"%1: %2 kayıt"_s.arg(mill::text(mill::databaseFile),
                                                  base::formatNumber(double(DataHar.recordSet().size() + ofOthers_),
                                                                     base::wholePattern, surroundings_.regional)));
}

void Form1::status_Click()
{
    QStringList sentences = status->takeUnseen();
    if (sentences.isEmpty()) sentences = status->cutShort();
    if (!sentences.isEmpty()) surroundings_.prompt.exclamation(sentences.join(u"\n\n"_s));
}

void Form1::journalShrunk()
{
    base::passOver([this] {
        DataHar.refresh();
        ofOthers_ = 0;
    });
    showFacts();
}

bool Form1::mayTakeNews(qint64 waited) const
{
    constexpr qint64 longEnough = 1000; // of the two seconds in which a counter sees what another one did
    return actions_ == 0 && (preparation_.isStill() || waited >= longEnough);
}

void Form1::newsTaken(const shared::Taken& taken)
{
    // A counter that prints no slip today, an office's, has its copy of the day as well.
    if (taken.pressings > 0 && surroundings_.backups)
        surroundings_.backups->pressingStored(DataCari.database(), surroundings_.now());
    for (const QString& each : taken.notFound) counter::Log(surroundings_.directory, surroundings_.now).write(each);
    listingIsOld_ = listingIsOld_ || taken.deletions || taken.pressings > 0;
    // Listing a long journal anew would hold the screen up.
    ofOthers_ += taken.pressings - taken.gone;
    showJournalSize();
}

void Form1::activated()
{
    run(
        [this] {
            const auto error = base::passOver([this] { Form_Activate(); });
            panelTakesItsLabelBack(); // also when a step has failed
            if (error) throw base::RuntimeError(*error);
        },
        u"Form_Activate"_s);
}

void Form1::Form_Load()
{
    const QString name = mill::text(mill::databaseFile);
    const QString found = base::findFile(surroundings_.directory, name).value_or(surroundings_.directory + u'/' + name);
    for (store::DataSource* source : {&DataCari, &DataHar, &GünData, &DataTmp}) source->setDatabaseName(found);
    AktifKontrol = 999;
    VeriYenile(DataCari);
}

void Form1::VeriYenile(store::DataSource& source) { store::VeriYenile(source, letWeightsIn); }

void Form1::letWeightsIn() { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); }

void Form1::Form_Activate()
{
    ActiveResize1.restore(layoutName, true, *this);
    for (DropDownList* list : Combo1) list->setListIndex(0);
    // Another day runs the report, which a name may make fail, and a stored choice may be damaged. The counter gets
    // ready all the same; then the first of it is told.
    std::optional<base::RuntimeError> failed;
    const auto goOn = [&failed](const auto& step) {
        const auto error = base::passOver(step);
        if (error && !failed) failed.emplace(*error);
    };
    const QDate today = surroundings_.now().date();
    goOn([&] { DTPickerBas->setValue(today); });
    goOn([&] { DTPickerSon->setValue(today); });
    const SettingsStore& settings = surroundings_.settings;
    goOn([&] { CapsDurum = settings.flag(surroundings_.executable, keypadSection, setting_keys::capitals); });
    showKeyCase();
    CapsAyarla(CapsDurum);

    workAt(0); // exactly one label is cyan, also after a dialog was opened from another field
    endNameTyping();

    goOn([&] { Bağlantı->setChecked(settings.flag(programTitle, propertiesSection, setting_keys::connected)); });
    goOn([&] { Sayac->setChecked(settings.flag(programTitle, propertiesSection, setting_keys::countsContainers)); });
    if (Bağlantı->checked()) PortAc();
    if (failed) throw base::RuntimeError(*failed);
}

void Form1::showKeyCase()
{
    Label1[pressing::keys::letterCase]->setCaption(pressing::caseKeyCaption(CapsDurum));
    for (int Index = 0; Index < pressing::letterKeyCount; ++Index)
        Label1[Index]->setCaption(pressing::letterCaption(Index, Label1[Index]->caption(), CapsDurum));
}

void Form1::toggleCapitals()
{
    CapsDurum = !CapsDurum;
    CapsAyarla(CapsDurum);
    surroundings_.settings.saveFlag(surroundings_.executable, keypadSection, setting_keys::capitals, CapsDurum);
    showKeyCase();
}

void Form1::CapsAyarla(bool wanted) { keyboard_.CapsAyarla(wanted); }

void Form1::IlkHarfBuyut() { AktifLbl->setCaption(app::IlkHarfBuyut(AktifLbl->caption())); }

void Form1::Form_QueryUnload()
{
    ActiveResize1.save(layoutName, true, *this);
    weightRecord_.tellEnd();
}

void Form1::PrgExit_Click() { close(); }

void Form1::Command1_Click() { close(); }

void Form1::KapCmd_Click(int Index) { pressing::containersDropped(*counter_, Index); }

void Form1::Form_MouseMove() { Label1[static_cast<int>(SonTus)]->setBackColor(colour::cyan); }

void Form1::Form_MouseUp()
{
    // A maximised window is where the window manager put it.
    if (isMaximized() || isFullScreen()) return;
    const QRect frame = frameGeometry();
    const QRect room = screen()->geometry();
    const WindowPlace before{double(twips::fromPixels(frame.left() - room.left())),
                             double(twips::fromPixels(frame.top() - room.top())),
                             double(twips::fromPixels(frame.width())), double(twips::fromPixels(frame.height()))};
    const WindowPlace after = keptOnScreen(before, twips::fromPixels(room.width()), twips::fromPixels(room.height()));
    if (after == before) return;
    move(room.left() + twips::toPixels(after.left), room.top() + twips::toPixels(after.top));
}

void Form1::closeEvent(QCloseEvent* event)
{
    run([this] { Form_QueryUnload(); }, u"Form_QueryUnload"_s);
    event->accept();
}

bool Form1::covers(const QWidget& control) const
{
    if (!Frame4->visible()) return false;
    const auto belongs = [&](const QWidget* part) { return part == &control || part->isAncestorOf(&control); };
    return std::ranges::any_of(Frame1, belongs) || std::ranges::any_of(YeniCmd, belongs) ||
           std::ranges::any_of(KapFrm, belongs);
}

bool Form1::focusNextPrevChild(bool next)
{
    // Once round at the most.
    for (auto left = findChildren<QWidget*>().size(); left > 0; --left) {
        if (!QWidget::focusNextPrevChild(next)) return false;
        if (const QWidget* reached = focusWidget(); !reached || !inputBlocked(reached)) return true;
    }
    setFocus();
    return true;
}

void Form1::mouseMoveEvent(QMouseEvent*)
{
    run([this] { Form_MouseMove(); }, u"Form_MouseMove"_s);
}

void Form1::mouseReleaseEvent(QMouseEvent*)
{
    run([this] { Form_MouseUp(); }, u"Form_MouseUp"_s);
}

} // namespace app
