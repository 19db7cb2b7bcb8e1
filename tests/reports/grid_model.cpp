#include "reports/grid_model.h"

#include "tests/reports/paper_journal.h"
#include "tests/support/columns.h"
#include <QSignalSpy>
#include <QTest>

using namespace reports;

/// The rows and columns that the grid shows.
class GridModels : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        model_.reset();
        journal_ = std::make_unique<PaperJournal>();
        source_ = std::make_unique<store::DataSource>(*journal_);
        source_->setDatabaseName(PaperJournal::file);
        source_->setRecordSource(mill::wholeJournal);
        journal_->enter(u"2024-11-05T14:07:33"_s, 1234.5, 850.0, 0.0, store::Money{12'5000}, u"Ali & <b>Veli</b>"_s);
        journal_->enter(u"2024-11-06T00:00:00"_s, {}, 0.125, {}, {}, u"Toplamlar"_s);
    }

    void nothingIsShownBeforeTheFirstRefresh()
    {
        GridModel model(*source_, base::Regional::turkish());
        model.rebind();
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.columnCount(), 0);
        QCOMPARE(model.currentRow(), -1);
        QVERIFY(!model.isTotals(0));
        QVERIFY(!model.headerData(0, Qt::Horizontal).isValid());
    }

    void cellsFollowFormatsAndSettings_data()
    {
        // pressing: without its moment
        addColumns<bool, bool, QString, QString>("english", "dressed", "pressing", "totals");
        QTest::newRow("plain, Turkish") << false << false << u"1234,5|850|12|0|12,5|Ali & <b>Veli</b>"_s
                                        << u"|0,125|12|||Toplamlar"_s;
        QTest::newRow("formatted, Turkish")
            << false << true << u"1.234,50|850,00|12|0,00|12,50|Ali & <b>Veli</b>"_s << u"|0,13|12|||Toplamlar"_s;
        QTest::newRow("formatted, English")
            << true << true << u"1,234.50|850.00|12|0.00|12.50|Ali & <b>Veli</b>"_s << u"|0.13|12|||Toplamlar"_s;
    }

    void cellsFollowFormatsAndSettings()
    {
        QFETCH(bool, english);
        QFETCH(bool, dressed);
        GridModel& model = bound(english ? base::Regional::english() : base::Regional::turkish());
        if (dressed) {
            GridColumns columns = model.columns();
            IzgaraDuzenle(columns, u"1"_s);
            model.setColumns(columns);
        }
        QCOMPARE(model.rowCount(), 2);
        QTEST(row(model, 0).mid(1).join(u'|'), "pressing");
        QTEST(row(model, 1).mid(1).join(u'|'), "totals");
    }

    void momentsArePlainText()
    {
        GridModel& model = bound();
        QCOMPARE(row(model, 0)[0], u"05.11.2024 14:07:33"_s);
        QCOMPARE(row(model, 1)[0], u"06.11.2024"_s); // midnight is not shown
        GridColumns columns = model.columns();
        columns[0].numberFormat = u"Standard"_s;
        model.setColumns(columns);
        QCOMPARE(row(model, 0)[0], u"05.11.2024 14:07:33"_s);
    }

    void headingsArePaintedAsGiven()
    {
        GridModel& model = bound();
        GridColumns columns = model.columns();
        columns[1].caption = u"Giren Zeytin     "_s;
        columns[2].alignment = Alignment::left;
        model.setColumns(columns);
        const auto header = [&](int column, int role) { return model.headerData(column, Qt::Horizontal, role); };
        QCOMPARE(header(1, Qt::DisplayRole).toString(), u"Giren Zeytin     "_s);
        const auto alignment = [&](int column) {
            QCOMPARE(header(column, Qt::TextAlignmentRole), model.index(0, column).data(Qt::TextAlignmentRole));
        };
        for (int column = 0; column < 7; ++column) alignment(column);
        const auto sideways = [&](int column) {
            return header(column, Qt::TextAlignmentRole).value<Qt::Alignment>() & Qt::AlignHorizontal_Mask;
        };
        QCOMPARE(sideways(1), Qt::Alignment(Qt::AlignRight));
        QCOMPARE(sideways(2), Qt::Alignment(Qt::AlignLeft));
        QCOMPARE(sideways(6), Qt::Alignment(Qt::AlignLeft));
        QVERIFY(!model.headerData(0, Qt::Vertical).isValid());
        QVERIFY(!header(7, Qt::DisplayRole).isValid());
    }

    void deletedRowIsEmptyCells()
    {
        GridModel& model = bound();
        journal_->rows.erase(journal_->rows.begin());
        QCOMPARE(row(model, 0), QStringList(7, QString()));
        QCOMPARE(row(model, 1).last(), mill::totalsName);
        QVERIFY(!model.isTotals(0));
    }

    void addedRowAppearsLast()
    {
        GridModel& model = bound();
        QSignalSpy inserted(&model, &GridModel::rowsInserted);
        store::RecordSet& rows = source_->recordSet();
        rows.addNew();
        rows.setField(6, store::FieldValue(u"Ayşe"_s));
        rows.update();
        QCOMPARE(model.rowCount(), 2); // until the model is told
        model.rowsChanged();
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(row(model, 2).last(), u"Ayşe"_s);

        QSignalSpy removed(&model, &GridModel::rowsRemoved);
        rows.leaveOut(mill::totalsCriteria);
        model.rowsChanged();
        QCOMPARE(removed.size(), 1);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(row(model, 1).last(), u"Ayşe"_s);
    }

    void bindingAnewForgetsHeadingsAndWidths()
    {
        GridModel& model = bound();
        const GridColumns bound = model.columns();
        GridColumns columns = bound;
        IzgaraDuzenle(columns, u"0"_s);
        columns[0].width = 99;
        columns[1].visible = false;
        model.setColumns(columns);
        QVERIFY(model.columns() == columns);
        model.rebind();
        QVERIFY(model.columns() == bound);
    }

    void columnsAreAnnouncedOnceWhenTheyChange()
    {
        GridModel& model = bound();
        QSignalSpy announced(&model, &GridModel::layoutOfColumnsChanged);
        model.setColumns(model.columns());
        QCOMPARE(announced.size(), 0);
        GridColumns columns = model.columns();
        columns[0].width += 1;
        model.setColumns(columns);
        QCOMPARE(announced.size(), 1);
        columns.pop_back();
        model.setColumns(columns);
        QCOMPARE(announced.size(), 1);
    }

    void onlyTheCellsAskedForAreFetched()
    {
        for (int i = 0; i < 1000; ++i) journal_->enter(u"2025-01-01T00:00:00"_s, 1.0, 1.0, 1.0, 1.0, u"x"_s);
        GridModel& model = bound();
        QCOMPARE(journal_->fetches, 0);
        row(model, 500);
        QCOMPARE(journal_->fetches, 7);
        model.index(3, 3).data(Qt::TextAlignmentRole);
        model.index(3, 3).data(Qt::SizeHintRole);
        QCOMPARE(journal_->fetches, 7);
    }

    void totalsRowIsKnownByItsName()
    {
        GridModel& model = bound();
        QVERIFY(!model.isTotals(0));
        QVERIFY(model.isTotals(1));
        QVERIFY(!model.isTotals(2));
        QVERIFY(!model.isTotals(-1));
    }

    void currentRowIsTheSourcesOwn()
    {
        GridModel& model = bound();
        QCOMPARE(model.currentRow(), 0);
        source_->recordSet().moveTo(1);
        QCOMPARE(model.currentRow(), 1);
        source_->recordSet().moveNext();
        QCOMPARE(model.currentRow(), -1);
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, source_->recordSet().moveTo(2));
        QVERIFY_THROWS_EXCEPTION(base::RuntimeError, source_->recordSet().moveTo(-1));
    }

private:
    /// A model of what the source lists now.
    GridModel& bound(const base::Regional& regional = base::Regional::turkish())
    {
        source_->refresh();
        model_ = std::make_unique<GridModel>(*source_, regional);
        model_->rebind();
        return *model_;
    }
    QStringList row(const GridModel& model, int row) const
    {
        QStringList cells;
        for (int column = 0; column < model.columnCount(); ++column)
            cells += model.index(row, column).data().toString();
        return cells;
    }

    std::unique_ptr<PaperJournal> journal_;
    std::unique_ptr<store::DataSource> source_;
    std::unique_ptr<GridModel> model_;
};

QTEST_GUILESS_MAIN(GridModels)
#include "grid_model.moc"
