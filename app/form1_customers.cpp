// The customer register: finding a customer while the name is typed, recalling the last terms, saving, deleting.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "app/resume_next.h"
#include "mill/queries.h"
#include "pressing/rules.h"

#include <QGuiApplication>
#include <QScopeGuard>

namespace app {

using mill::Cari;

namespace {

const QString saveCaption = QStringLiteral("Kaydet");
const QString deleteCaption = QStringLiteral("Kaydı Sil");

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
    store::RecordSet& customers = DataCari.recordSet();
    const bool known = customers.recordCount() != 0 && customers.field(Cari::Unvan).text() == typed;
    Kaydet->setCaption(known ? deleteCaption : saveCaption);
    Kaydet->setVisible(!typed.isEmpty());
}

void Form1::searchCustomers(const QString& typed)
{
    DataCari.setRecordSource(mill::customerSearch(typed));
    VeriYenile(DataCari);
    dbListe1->setVisible(DataCari.recordSet().recordCount() != 0);
}

void Form1::dbListe1_Click()
{
    AktifLbl->setCaption(dbListe1->text());
    dbListe1->setVisible(false);
    if (Frame4->visible()) {
        RaporYenile();
        DBGrid1->setVisible(true);
    } else {
        Label3_Click(station());
    }
    Kaydet->setVisible(false);
}

void Form1::DataCari_Reposition()
{
    if (AktifKontrol == 999 || DataCari.recordSet().recordCount() == 0) return;
    store::RecordSet& customer = DataCari.recordSet();
    const base::Regional& regional = surroundings_.regional;
    resumeNext([&] { Haklbl[station()]->setCaption(customer.field(Cari::Yuzde).toCaption(regional)); });
    resumeNext([&] { Combo1[station()]->setText(customer.field(Cari::Kap).toCaption(regional)); });
    resumeNext([&] { NakitLbl[station()]->setCaption(customer.field(Cari::Nakit).toCaption(regional)); });
}

void Form1::Kaydet_Click()
{
    if (Kaydet->caption() != deleteCaption) {
        const QString name = TxtLbl[station()]->caption();
        // Before anything is added: a name that the search could never find again is not saved.
        const QString criteria = mill::customerCriteria(name);
        store::RecordSet& customers = DataCari.recordSet();
        customers.addNew();
        customers.setField(Cari::Unvan, name, surroundings_.regional);
        customers.update();
        customers.findFirst(criteria);
        Kaydet->setCaption(deleteCaption);
        return;
    }

    if (!surroundings_.prompt.yesNo(QStringLiteral("Kayıt Silinecek Eminmisiniz..!"), QStringLiteral("Kayıt Silme")))
        return;
    activate(TxtLbl[station()]);
    AktifLbl->setCaption(QString());
    copyBeforeDeletion();
    // Pressings first, the customer's row last, and both or none.
    store::RecordSet& customers = DataCari.recordSet();
    store::Change change(DataCari.database());
    DataCari.database().execute(mill::deletePressingsOf(customers.field(Cari::Unvan).text()));
    customers.erase();
    change.commit();
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
    store::Change change(DataCari.database());
    DataCari.database().execute(mill::deleteCustomers);
    DataCari.database().execute(mill::deletePressings);
    change.commit();
    journalShrunk();
}

void Form1::HesapSil_Click()
{
    copyBeforeDeletion();
    DataCari.database().execute(mill::deletePressings);
    journalShrunk();
}

} // namespace app
