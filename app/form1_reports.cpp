// The report panel: its two views, the period and the name, the grid's columns, the statement.

#include "app/counter_screen.h"
#include "app/form1.h"
#include "mill/queries.h"
#include "platform/system_disk.h"
#include "print/header_file.h"
#include "print/statement.h"
#include "print/why_not_printed.h"
#include "reports/period_report.h"
#include "reports/statement_rows.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace app {

namespace {

constexpr int customersView = 0;
constexpr int reportView = 1;

QVariant printable(const store::FieldValue& value)
{
    if (value.isNull()) return {};
    if (value.isText()) return value.text();
    if (value.isDate()) return value.moment();
    return value.number() ? QVariant(*value.number()) : QVariant();
}

} // namespace

void Form1::wireReports()
{
    gridRows_ = new reports::GridModel(GünData, surroundings_.regional, DBGrid1);
    DBGrid1->setRows(gridRows_);
    DBGrid1->onColumnResize([this](int column) { IzgaraKaydet(column); });
    DBGrid1->onRowChange([this](int row) { GünData.recordSet().moveTo(row); });
    GünData.onReposition([this] { GünData_Reposition(); });
    GünData.onRefresh([this] {
        gridRows_->rebind();
        // A listing without rows makes no row current, and still has headings.
        if (GünData.recordSet().size() == 0) GünData_Reposition();
    });

    GünlükCmd->onClick([this] { GünlükCmd_Click(); });
    GünLbl->onClick([this] { GünLbl_Click(); });
    GünLbl->onChange([this] { GünLbl_Change(); });
    DTPickerBas->onChange([this] { DTPickerBas_Change(); });
    DTPickerSon->onChange([this] { DTPickerSon_Change(); });
    for (int Index = 0; Index < Option1.size(); ++Index) {
        Option1[Index]->onClick([this, Index] { Option1_Click(Index); });
        KapatCmd[Index]->onClick([this, Index] { KapatCmd_Click(Index); });
    }
}

void Form1::GünlükCmd_Click()
{
    activate(GünLbl); // before anything is kept: a fraction that was left unfinished must not come back
    if (!Frame4->visible()) termsBeforePanel_.emplace(*counter_);
    Frame4->setVisible(true);
    Dosya->setEnabled(false);
    if (const QWidget* focused = focusWidget(); focused && inputBlocked(focused)) setFocus();
    endNameTyping(); // it was of the name at a station
    AktifLbl->setCaption(QString());
    Option1[customersView]->choose();
    moveListToPanel();
}

void Form1::GünLbl_Click() { activate(GünLbl); }

void Form1::GünLbl_Change()
{
    if (AktifLbl->caption().isEmpty()) {
        // Nothing is searched any more: the report takes the place of the names found.
        showGridForNames();
        RaporYenile();
        return;
    }
    // A name is the report's: under the customers' option it would filter unseen. The journal itself is listed when
    // the grid is seen again: a letter must not wait for it.
    if (Option1[customersView]->value()) {
        Option1[reportView]->showChosen();
        showView(reportView);
    }
    DBGrid1->setVisible(false);
    searchCustomers(AktifLbl->caption());
}

void Form1::Option1_Click(int Index)
{
    showView(Index);
    const bool report = Index == reportView;
    if (!report) GünLbl->setCaption(QString());
    listWhole(report ? mill::wholeJournal : mill::customerTable);
    showGridForNames();
}

void Form1::showView(int Index)
{
    GridGorunum = QString::number(Index);
    GünLbl->setVisible(Index == reportView);
    DTPickerSon->setVisible(Index == reportView);
}

void Form1::panelTakesItsLabelBack()
{
    if (!Frame4->visible()) return;
    activate(GünLbl);
    moveListToPanel();
    const bool report = Option1[reportView]->value();
    if (report && GünData.recordSource() == mill::customerTable) listWhole(mill::wholeJournal);
    showGridForNames();
}

void Form1::listWhole(const QString& source)
{
    GünData.setRecordSource(source);
    VeriYenile(GünData);
    listingIsOld_ = false;
    IzgaraDuzenle();
    IzgaraYukle();
}

void Form1::DTPickerBas_Change() { periodChanged(reports::Picker::first); }
void Form1::DTPickerSon_Change() { periodChanged(reports::Picker::last); }

void Form1::periodChanged(reports::Picker changed)
{
    if (AktifKontrol == 999) return;
    const reports::Period period = reports::ordered({DTPickerBas->value(), DTPickerSon->value()}, changed);
    DTPickerBas->setValue(period.first);
    DTPickerSon->setValue(period.last);
    RaporYenile();
    showGridForNames();
}

reports::ReportQuestion Form1::reportQuestion() const
{
    return {{DTPickerBas->value(), DTPickerSon->value()},
            Frame4->visible(),
            Option1[reportView]->value(),
            GünLbl->caption(),
            AktifLbl->caption()};
}

void Form1::RaporYenile()
{
    reports::RaporYenile(reportQuestion(), {GünData, surroundings_.databases, surroundings_.now(), letWeightsIn});
    listingIsOld_ = false;
    gridRows_->rowsChanged();
    showGridPosition();
    // Pressings under "CARİLER" would be taken for customers.
    if (Frame4->visible() && Option1[customersView]->value()) listWhole(mill::customerTable);
}

void Form1::GünData_Reposition()
{
    showGridPosition();
    IzgaraYukle();
}

void Form1::showGridPosition()
{
    const bool rows = GünData.recordSet().recordCount() != 0;
    DBGrid1->setMarquee(rows ? ListingGrid::Marquee::wholeRow : ListingGrid::Marquee::none);
    DBGrid1->markCurrentRow();
}

void Form1::IzgaraDuzenle()
{
    reports::GridColumns columns = gridRows_->columns();
    reports::IzgaraDuzenle(columns, GridGorunum);
    gridRows_->setColumns(columns);
}

void Form1::IzgaraYukle()
{
    reports::GridColumns columns = gridRows_->columns();
    reports::IzgaraYukle(columns, GridGorunum, surroundings_.directory,
                         [this](const QString& text) { return DBGrid1->headingWidth(text); });
    gridRows_->setColumns(columns);
}

void Form1::IzgaraKaydet(int column)
{
    reports::GridColumns columns = gridRows_->columns();
    reports::IzgaraKaydet(columns, column, GridGorunum, platform::systemDisk(), surroundings_.directory,
                          [this](const QString& text) { return DBGrid1->headingWidth(text); });
    gridRows_->setColumns(columns);
}

void Form1::KapatCmd_Click(int Index)
{
    status->setNotice({});
    if (Index != 0) {
        const ButtonAtWork printing(*KapatCmd[Index]);
        if (listNamedCustomer()) {
            if (listingIsOld_) listAgain();
            printStatement();
        }
        return;
    }
    Frame4->setVisible(false);
    dbListe1->setVisible(false);
    Dosya->setEnabled(true);
    activate(TxtLbl[station()]);
    if (termsBeforePanel_) std::exchange(termsBeforePanel_, std::nullopt)->putBack(*counter_);
    moveListToStation(station());
}

bool Form1::listNamedCustomer()
{
    const QString name = GünLbl->caption();
    if (!Frame4->visible() || name.isEmpty()) return true;
    if (DataCari.database().open(mill::customerNamed(name)).rows.empty()) {
        status->setNotice(u"Döküm yazılmadı: “%1” adında müşteri yok. Adı listeden seçin."_s.arg(name));
        return false;
    }
    // A typed name may stand above what an earlier question has listed.
    const bool listed = DBGrid1->visible() &&
                        GünData.recordSource() == mill::pressingsWhere(reports::reportCondition(reportQuestion()));
    if (listed) return true;
    dbListe1->setVisible(false);
    RaporYenile();
    showGridForNames();
    return true;
}

/// The rows of a statement are asked for anew, its sums are those of the listing: both must be of one moment.
void Form1::listAgain()
{
    const QString source = GünData.recordSource();
    if (source == mill::wholeJournal || source == mill::customerTable)
        listWhole(source);
    else
        RaporYenile();
}

void Form1::showGridForNames()
{
    dbListe1->setVisible(false);
    DBGrid1->setVisible(true);
}

void Form1::printStatement()
{
    print::Printer printer(surroundings_.printer, surroundings_.now);
    try {
        // A copy of the listing is walked, so that the grid stays where it is.
        DataTmp.setRecordSource(GünData.recordSource());
        VeriYenile(DataTmp);
        reports::StatementRows rows(DataTmp.recordSet(), GünData.recordSet());

        print::Statement statement;
        double left = 0;
        for (const reports::GridColumn& column : gridRows_->columns()) {
            const auto width = static_cast<double>(column.width);
            statement.columns.push_back({column.visible, column.caption, left, width, column.field,
                                         static_cast<int>(column.alignment), column.numberFormat});
            if (column.visible) left += width;
        }
        statement.listingKind = GridGorunum;
        statement.customer = AktifLbl->caption();
        statement.firstDay = DTPickerBas->value();
        statement.headerItems = print::headerItems(surroundings_.directory);
        statement.font = printFont();
        statement.nextRecord = [&rows] { return rows.next(); };
        statement.value = [&rows](const QString& field) { return printable(rows.value(field)); };
        statement.onSums = [&rows] { return rows.onSums(); };
        const QStringList leftOut = print::composeStatement(printer, statement, surroundings_.regional);
        printer.endDoc();
        if (!leftOut.isEmpty())
            status->setNotice(u"Döküme sığmayan sütunlar: %1. Sütunları daraltın ya da daha geniş kâğıt seçin."_s.arg(
                leftOut.join(u", "_s)));
    } catch (const print::PerhapsPrinted& error) {
        status->setNotice(u"Döküm "_s + print::perhapsPrinted(error));
    } catch (const base::RuntimeError& error) {
        printer.killDoc();
        status->setNotice(u"Döküm basılmadı: "_s + print::whyNotPrinted(error));
    }
    showFacts();
}

} // namespace app
