// The customer register: finding a customer while the name is typed, recalling the last terms, saving, deleting.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "base/pass_over.h"
#include "mill/queries.h"
#include "pressing/rules.h"

#include <QGuiApplication>
#include <QScopeGuard>

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
    Frame1[station()]->setBackColor(colour::buttonFace);
    Frame1[station()]->setEnabled(false);
    Frame1[Index]->setBackColor(colour::green);
    Frame1[Index]->setEnabled(true);
    activate(TxtLbl[Index]);
    AktifKontrol = static_cast<float>(Index);
    moveListToStation(Index);
}

void Form1::TxtLbl_Click(int Index) { activate(TxtLbl[Index]); }

void Form1::TxtLbl_Change(int Index)
{
    if (AktifLbl->caption().isEmpty()) {
        pressing::customerCleared(*counter_, Index);
        dbListe1->setVisible(false);
        Kaydet->setVisible(false);
        return;
    }
    searchCustomers(AktifLbl->caption());

    // Events ran during the search: the text is read afresh.
    const QString typed = AktifLbl->caption();
    Kaydet->setCaption(register_.isCurrent(typed) ? deleteCaption : saveCaption);
    Kaydet->setVisible(!typed.isEmpty());
}

void Form1::searchCustomers(const QString& typed)
{
    register_.search(typed);
    dbListe1->setVisible(register_.hasFound());
}

void Form1::dbListe1_Click()
{
    AktifLbl->setCaption(dbListe1->text());
    dbListe1->setVisible(false);
    if (Frame4->visible()) {
        listNamedReport();
    } else {
        Label3_Click(station());
    }
    Kaydet->setVisible(false);
}

void Form1::DataCari_Reposition()
{
    if (AktifKontrol == 999 || !register_.hasFound()) return;
    // A field that is empty, or that its display does not take, leaves that display as it is.
    const counter::Terms terms = register_.termsOfCurrent();
    const int current = station();
    if (terms.percentage) passOver([&] { Haklbl[current]->setCaption(*terms.percentage); });
    if (terms.container) passOver([&] { Combo1[current]->setText(*terms.container); });
    if (terms.fee) passOver([&] { NakitLbl[current]->setCaption(*terms.fee); });
}

void Form1::Kaydet_Click()
{
    if (Kaydet->caption() != deleteCaption) {
        register_.add(TxtLbl[station()]->caption());
        Kaydet->setCaption(deleteCaption);
        return;
    }

    if (!surroundings_.prompt.yesNo(u"Kayıt Silinecek Eminmisiniz..!"_s, u"Kayıt Silme"_s)) return;
    activate(TxtLbl[station()]);
    AktifLbl->setCaption(QString());
    copyBeforeDeletion();
    register_.eraseCurrent();
    journalShrunk();
}

void Form1::copyBeforeDeletion()
{
    if (!surroundings_.backups) return;
    store::Engine& database = DataCari.database();
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const auto arrow = qScopeGuard([] { QGuiApplication::restoreOverrideCursor(); });
    surroundings_.backups->beforeDeletion(database, surroundings_.now());
}

void Form1::CariSil_Click()
{
    copyBeforeDeletion();
    register_.eraseAll();
    journalShrunk();
}

void Form1::HesapSil_Click()
{
    copyBeforeDeletion();
    register_.erasePressings();
    journalShrunk();
}

} // namespace app
