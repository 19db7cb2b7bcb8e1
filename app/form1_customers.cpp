// The customer register: finding a customer while the name is typed, recalling the last terms, saving, deleting.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "base/pass_over.h"
#include "mill/queries.h"
#include "pressing/kept_displays.h"
#include "pressing/rules.h"

#include <QGuiApplication>
#include <QScopeGuard>
#include <utility>

using namespace Qt::StringLiterals;

namespace app {

using base::passOver;
using mill::Cari;

namespace {

const QString saveCaption = u"Kaydet"_s;
const QString deleteCaption = u"Kaydı Sil"_s;

} // namespace

void Form1::bindData()
{
    DataCari.setRecordSource(mill::customerTable);
    DataHar.setRecordSource(mill::journalTable);
    DataCari.onReposition([this] { DataCari_Reposition(); });
    DataCari.onRefresh([this] { dbListe1->refill(); });
    dbListe1->setRows([this] { return DataCari.hasRecordSet() ? DataCari.recordSet().size() : 0; },
                      [this](int row) { return DataCari.recordSet().fieldAt(row, Cari::Unvan).text(); });
}

void Form1::YeniCmd_Click(int Index)
{
    workAt(Index);
    endNameTyping();
}

void Form1::workAt(int Index)
{
    for (int i = 0; i < Frame1.size(); ++i) {
        Frame1[i]->setBackColor(i == Index ? colour::green : colour::buttonFace);
        Frame1[i]->setEnabled(i == Index);
    }
    // Before the station changes: leaving the old field may recompute its share.
    activate(TxtLbl[Index]);
    AktifKontrol = static_cast<float>(Index);
    moveListToStation(Index);
}

void Form1::endNameTyping()
{
    dbListe1->setVisible(false);
    Kaydet->setVisible(false);
}

void Form1::captionKaydet()
{
    bool known = false;
    passOver([&] { known = register_.isCurrent(TxtLbl[station()]->caption()); });
    Kaydet->setCaption(known ? deleteCaption : saveCaption);
}

void Form1::TxtLbl_Click(int Index) { activate(TxtLbl[Index]); }

void Form1::TxtLbl_Change(int Index)
{
    // A name that nobody is typing (the prompt comes back while a weight is active) is searched nowhere.
    if (AktifLbl != TxtLbl[Index] || AktifLbl->caption() == mill::customerPrompt) return endNameTyping();
    if (AktifLbl->caption().isEmpty()) {
        endNameTyping(); // first: a display that is no number may end the clearing
        return pressing::customerCleared(*counter_, Index);
    }
    searchCustomers(AktifLbl->caption());

    // Events ran during the search: the text is read afresh.
    captionKaydet();
    Kaydet->setVisible(!AktifLbl->caption().isEmpty());
}

void Form1::searchCustomers(const QString& typed)
{
    register_.search(typed);
    dbListe1->setVisible(register_.hasFound());
}

void Form1::dbListe1_Click()
{
    const QString picked = dbListe1->text();
    if (!Frame4->visible()) return takePicked(picked);
    AktifLbl->setCaption(picked);
    dbListe1->setVisible(false);
    RaporYenile();
    showGridForNames();
    Kaydet->setVisible(false);
}

void Form1::takePicked(const QString& name)
{
    // Even if the search fails: the list and "Kaydet" belong to the name before.
    endNameTyping();
    const auto ended = qScopeGuard([this] { endNameTyping(); });
    const auto error = passOver([&] { AktifLbl->setCaption(name); });
    // The search may have another customer in front, or have failed: the terms are those of whoever is shown. What the
    // register does not know of that one is 0: what stands there was somebody else's.
    const counter::Terms known = register_.termsOf(TxtLbl[station()]->caption());
    recall({known.percentage.value_or(u"0"_s), known.container, known.fee.value_or(u"0"_s)});
    if (error) throw base::RuntimeError(*error);
    Label3_Click(station());
}

void Form1::DataCari_Reposition()
{
    if (AktifKontrol == 999 || !register_.hasFound()) return;
    recall(register_.termsOfCurrent());
}

void Form1::recall(const counter::Terms& terms)
{
    const bool outer = std::exchange(recalling_, true);
    const auto ended = qScopeGuard([&] { recalling_ = outer; });
    const int current = station();
    const auto show = [this](FieldLabel* display, const QString& term) {
        passOver([&] { pressing::allOrNothing(*counter_, [&] { display->setCaption(term); }); });
    };
    if (terms.percentage) show(Haklbl[current], *terms.percentage);
    if (terms.container) passOver([&] { Combo1[current]->setText(*terms.container); });
    if (terms.fee) show(NakitLbl[current], *terms.fee);
}

void Form1::Kaydet_Click()
{
    if (Kaydet->caption() != deleteCaption) {
        dbListe1->setVisible(false);
        register_.add(TxtLbl[station()]->caption());
        Kaydet->setCaption(deleteCaption);
        return;
    }

    if (!surroundings_.prompt.yesNo(u"Kayıt Silinecek Eminmisiniz..!"_s, u"Kayıt Silme"_s)) return;
    if (!mayDelete()) return;
    register_.makeCurrent(TxtLbl[station()]->caption()); // the one that is shown, or nobody
    const QString name = TxtLbl[station()]->caption();
    activate(TxtLbl[station()]);
    AktifLbl->setCaption(QString());
    beforeDeletion(name);
    register_.eraseCurrent();
    journalShrunk();
}

bool Form1::mayDelete()
{
    const std::optional<QString> why = slipRoad_.settle();
    status->setNotice(why ? u"Hiçbir şey silinmedi: "_s + *why : QString());
    return !why;
}

void Form1::beforeDeletion(const std::optional<QString>& customer)
{
    slipRoad_.announceDeletion(customer);
    if (!surroundings_.backups) return;
    store::Engine& database = DataCari.database();
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const auto arrow = qScopeGuard([] { QGuiApplication::restoreOverrideCursor(); });
    surroundings_.backups->beforeDeletion(database, surroundings_.now());
}

void Form1::refuseToEmpty()
{
    if (const std::optional<QString> why = DataCari.database().whyNotEmptied())
        throw base::RuntimeError(base::errors::invalidCall, *why);
}

void Form1::CariSil_Click()
{
    refuseToEmpty();
    if (!mayDelete()) return;
    beforeDeletion();
    register_.eraseAll();
    dbListe1->setVisible(false);
    captionKaydet(); // there is nobody left under the name that is shown
    journalShrunk();
}

void Form1::HesapSil_Click()
{
    refuseToEmpty();
    if (!mayDelete()) return;
    beforeDeletion();
    register_.erasePressings();
    journalShrunk();
}

} // namespace app
