#include "tests/app/panel_world.h"

#include "mill/queries.h"
#include "tests/doors/fake_printer.h"
#include "tests/store/empty_journal.h"
#include "tests/support/columns.h"
#include "tests/support/no_screen.h"
#include "tools/pdf_text.h"
#include <QHeaderView>
#include <QPointingDevice>
#include <QScrollBar>
#include <QTimer>
#include <QTouchEvent>

namespace {

const QString ayseOnThe3rd = u"03.02.2025 10:00:00|1.000,00|200,25|0|0,00|150,00|Ayşe"_s;
const QString aliOnThe4th = u"04.02.2025 09:00:00|500,00|100,50|12|12,00|0,00|Ali"_s;
const QString aliOnThe2nd = u"02.02.2025 10:00:00|1.234,50|300,00|8,5|26,00|0,00|Ali"_s;

const QStringList customers{u"Ayşe|8,5| 5 Litrelik Kap|1250"_s, u"Ali Veli|12|10 Litrelik Kap|0"_s, u"Ali|||"_s};

/// A journal of a million pressings that nobody stored: each value is worked out when it is asked for.
class EndlessJournal : public store::Databases {
public:
    static constexpr store::RowKey rows = 1'000'000;
    int fetches = 0;

    std::shared_ptr<store::Engine> open(const QString&) override { return std::make_shared<Engine>(*this); }

private:
    class Engine : public store::Engine {
    public:
        explicit Engine(EndlessJournal& journal) : journal_(journal) {}

        store::Listing open(const QString& source) override
        {
            using enum store::FieldKind;
            if (source.contains(u"Cari"_s) && !source.contains(u"Hareket"_s))
                return {u"Cari"_s,
                        {{u"Unvan"_s, text, 50}, {u"Yuzde"_s, number}, {u"Kap"_s, text, 20}, {u"Nakit"_s, money}},
                        {}};
            store::Listing listing = emptyJournal();
            listing.rows.resize(rows);
            for (store::RowKey row = 0; row < rows; ++row) listing.rows[row] = row;
            return listing;
        }
        store::FieldValue field(const store::Listing&, store::RowKey row, int position) override
        {
            ++journal_.fetches;
            if (position == 0) return store::DateDays{45000 + static_cast<double>(row) / 1000};
            if (position == 6) return u"Müşteri %1"_s.arg(row);
            return static_cast<double>(row);
        }
        store::RowKey insert(const store::Listing&, const store::Assignments&) override { return rows; }
        void update(const store::Listing&, store::RowKey, const store::Assignments&) override {}
        void erase(const store::Listing&, store::RowKey) override {}
        std::vector<store::RowKey> matching(const store::Listing&, const QString&) override { return {}; }
        std::size_t execute(const QString&) override { return 0; }
        QList<store::FieldValue> aggregate(const QString&) override { return {1.0, 1.0, 1.0, 1.0}; }
        std::unique_ptr<store::ChangeScope> change() override { return std::make_unique<Scope>(); }

    private:
        struct Scope : store::ChangeScope {
            void commit() override {}
        };
        EndlessJournal& journal_;
    };
};

} // namespace

/// The report panel of the real screen: both views, the period, the name, the grid's columns, closing, printing.
class ReportPanel : public QObject {
    Q_OBJECT

public:
    static void initMain() { leaveTheScreen(); }

private slots:
    void initTestCase() { app::applyTheme(*qApp); }

    void init()
    {
        world_ = std::make_unique<PanelWorld>();
        world_->addCustomer(u"Ayşe"_s, 8.5, u" 5 Litrelik Kap"_s, 1250.0);
        world_->addCustomer(u"Ali Veli"_s, 12.0, u"10 Litrelik Kap"_s, 0.0);
        world_->addCustomer(u"Ali"_s);
        world_->addPressing({u"2025-02-04T09:00:00"_s, 500.0, 100.5, 12.0, 12.0, 0.0, u"Ali"_s});
        world_->addPressing({u"2025-02-03T10:00:00"_s, 1000.0, 200.25, 0.0, 0.0, 150.0, u"Ayşe"_s});
        world_->addPressing({u"2025-02-02T10:00:00"_s, 1234.5, 300.0, 8.5, 26.0, 0.0, u"Ali"_s});
    }

    void cleanup()
    {
        form_.reset();
        if (world_) QCOMPARE(world_->messages(), QStringList());
        world_.reset();
    }

    void buttonOpensTheCustomers()
    {
        start();
        type(u"a"_s); // a search is open at the station
        QVERIFY(form().dbListe1->visible());
        press(form().GünlükCmd);
        QVERIFY(form().Frame4->visible());
        QVERIFY(!form().Dosya->isEnabled());
        QCOMPARE(form().AktifLbl, static_cast<app::CaptionLabel*>(form().GünLbl));
        QCOMPARE(form().GünLbl->backColor(), app::colour::cyan);
        QCOMPARE(form().TxtLbl[0]->backColor(), app::colour::white);
        QVERIFY(form().Option1[0]->value());
        QCOMPARE(form().GridGorunum, u"0"_s);
        QVERIFY(!form().GünLbl->visible());
        QVERIFY(form().DTPickerBas->visible());
        QVERIFY(!form().DTPickerSon->visible());
        QVERIFY(!form().dbListe1->visible());
        QCOMPARE(headings(), (QStringList{u"Ünvan"_s, u"Yüzde"_s, u"Kap"_s, u"Nakit"_s}));
        QCOMPARE(shown(),
                 (QStringList{u"Ayşe|8,5| 5 Litrelik Kap|1250"_s, u"Ali Veli|12|10 Litrelik Kap|0"_s, u"Ali|||"_s}));
        QCOMPARE(form().GünData.recordSource(), u"Cari"_s);
    }

    void openedAgainItShowsTheCustomersOfNow()
    {
        start();
        press(form().GünlükCmd);
        press(form().KapatCmd[0]);
        world_->addCustomer(u"Zehra"_s);
        press(form().GünlükCmd);
        QCOMPARE(shown().size(), 4);
        QCOMPARE(shown().last(), u"Zehra|||"_s);
    }

    void openedAfterAReportItShowsTheCustomers()
    {
        openReport(QDate(2025, 2, 3), QDate(2025, 2, 28));
        type(u"ali"_s);
        form().dbListe1->pick(0);
        press(form().KapatCmd[0]);
        press(form().GünlükCmd);
        QVERIFY(form().Option1[0]->value());
        QCOMPARE(form().GünLbl->caption(), QString());
        QCOMPARE(headings().first(), u"Ünvan"_s);
        QCOMPARE(shown(), customers);
    }

    void dayUnderTheCustomersChangesNoListing()
    {
        openReport(QDate(2025, 2, 3), QDate(2025, 2, 28));
        QCOMPARE(totalsRows().size(), 1);
        press(form().Option1[0]);
        setDays(QDate(2025, 2, 2), QDate(2025, 2, 28));
        // The report was run, and lists nobody's pressings: the old sums are gone.
        QCOMPARE(totalsRows(), QStringList());
        QCOMPARE(form().GünData.recordSource(), u"Cari"_s);
        QCOMPARE(headings().first(), u"Ünvan"_s);
        QCOMPARE(shown(), customers);
        // After a dialog the days are set as well.
        form().activated();
        QCOMPARE(shown(), customers);
    }

    void chosenViewTappedAgainIsAppliedAgain_data() { addCases<int>("view", {{"customers", 0}, {"report", 1}}); }

    void chosenViewTappedAgainIsAppliedAgain()
    {
        QFETCH(int, view);
        openReport();
        press(form().Option1[view]);
        const int rows = int(shown().size());
        world_->addCustomer(u"Zehra"_s);
        world_->addPressing({u"2025-02-05T09:00:00"_s, 1.0, 1.0, 1.0, 1.0, 0.0, u"Zehra"_s});
        press(form().Option1[view]);
        QCOMPARE(form().GünData.recordSource(), view == 0 ? mill::customerTable : mill::wholeJournal);
        QCOMPARE(shown().size(), rows + 1);
        QVERIFY(form().DBGrid1->visible());
    }

    void namesFoundCloseWhereAListingIsAskedFor_data()
    {
        addColumns<QString, QString, int>("typed", "asked", "rows"); // a report's totals row included
        for (const char* typed : {"ali", "zz"})
            for (const char* asked : {"RAPOR", "first day", "last day"}) {
                const bool ali = QString::fromLatin1(typed) == u"ali";
                const int rows = QString::fromLatin1(asked) == u"RAPOR" ? 4 : ali ? 2 : 0;
                QTest::addRow("%s, %s", typed, asked)
                    << QString::fromLatin1(typed) << QString::fromLatin1(asked) << rows;
            }
    }
    void namesFoundCloseWhereAListingIsAskedFor()
    {
        QFETCH(QString, typed);
        QFETCH(QString, asked);
        openReport(QDate(2025, 2, 2), QDate(2025, 2, 4));
        type(typed);
        QVERIFY(!form().DBGrid1->visible());
        if (asked == u"RAPOR") press(form().Option1[1]);
        if (asked == u"first day") form().run([&] { form().DTPickerBas->setValue(QDate(2025, 2, 4)); });
        if (asked == u"last day") form().run([&] { form().DTPickerSon->setValue(QDate(2025, 2, 2)); });
        QVERIFY(form().DBGrid1->visible());
        QVERIFY(!form().dbListe1->visible());
        QTEST(int(shown().size()), "rows");
        // The name stands as it was typed, and can be typed on.
        QCOMPARE(form().GünLbl->caption().toLower(), typed);
        type(u"x"_s);
        QVERIFY(!form().DBGrid1->visible());
    }

    void nameUnderTheCustomersChoosesTheReport()
    {
        start();
        press(form().GünlükCmd);
        setDays(QDate(2025, 2, 1), QDate(2025, 2, 28));
        QVERIFY(!form().GünLbl->visible());
        type(u"a"_s);
        // What is typed can be seen, and the options say what Yazdır would print.
        QVERIFY(form().Option1[1]->value() && !form().Option1[0]->value());
        QVERIFY(form().GünLbl->visible());
        QVERIFY(form().DTPickerSon->visible());
        QCOMPARE(form().GünLbl->caption(), u"A"_s);
        QVERIFY(form().dbListe1->visible());
        QVERIFY(!form().DBGrid1->visible());
        press(form().Label1[33]);
        QCOMPARE(shown().size(), 4); // everybody's report, and its sums
        setDays(QDate(2025, 2, 4), QDate(2025, 2, 4));
        press(form().Option1[0]);
        type(u"ali"_s);
        // After a dialog the grid is seen again, and lists what the option says.
        form().activated();
        QVERIFY(form().DBGrid1->visible() && !form().dbListe1->visible());
        QCOMPARE(form().GünData.recordSource(), mill::wholeJournal);
        QCOMPARE(headings().value(6), u"Cari"_s);
        setDays(QDate(2025, 2, 1), QDate(2025, 2, 28));
        press(form().Option1[0]);
        type(u"ali"_s);
        form().dbListe1->pick(0);
        QVERIFY(form().Option1[1]->value());
        QCOMPARE(form().GridGorunum, u"1"_s);
        QVERIFY(form().GünLbl->visible());
        QVERIFY(form().DBGrid1->visible());
        QVERIFY(!form().dbListe1->visible());
        QCOMPARE(headings().value(6), u"Cari"_s);
        QCOMPARE(shown(), (QStringList{aliOnThe2nd, aliOnThe4th,
                                       u"04.02.2025 18:30:15|1.734,50|400,50||38,00|0,00|Toplamlar"_s}));
    }

    void reportViewListsTheWholeJournal()
    {
        openReport();
        QCOMPARE(form().GridGorunum, u"1"_s);
        QVERIFY(form().GünLbl->visible());
        QVERIFY(form().DTPickerSon->visible());
        QCOMPARE(form().GünData.recordSource(), u"Select * From Hareket Order By Tarih Asc;"_s);
        QCOMPARE(headings(), (QStringList{u"Tarih"_s, u"Giren Zeytin"_s, u"Çıkan Yağ"_s, u"Yuzde"_s, u"Hak Ediş"_s,
                                          u"Nakit"_s, u"Cari"_s}));
        QCOMPARE(shown(), (QStringList{aliOnThe2nd, ayseOnThe3rd, aliOnThe4th}));
    }

    void goingBackToTheCustomersEmptiesTheName()
    {
        openReport();
        type(u"ali"_s);
        QCOMPARE(form().GünLbl->caption(), u"Ali"_s);
        press(form().Option1[0]);
        QCOMPARE(form().GünLbl->caption(), QString());
        QVERIFY(!form().GünLbl->visible());
        QVERIFY(!form().DTPickerSon->visible());
        QVERIFY(form().DBGrid1->visible());
        // Emptying the name ran a report; the view shows the customers all the same.
        QCOMPARE(form().GünData.recordSource(), u"Cari"_s);
        QCOMPARE(headings().first(), u"Ünvan"_s);
        QCOMPARE(shown().size(), 3);
    }

    void typedNameShowsMatchesInsteadOfTheGrid()
    {
        openReport();
        type(u"ali"_s);
        QVERIFY(!form().DBGrid1->visible());
        QVERIFY(form().dbListe1->visible());
        QCOMPARE(form().dbListe1->rowCount(), 2);
        QVERIFY(form().dbListe1->geometry().top() >= form().GünLbl->mapTo(form_.get(), QPoint()).y());
        type(u"x"_s);
        QVERIFY(!form().dbListe1->visible());
    }

    void emptiedNameBringsTheReportOfAllBack()
    {
        openReport(QDate(2025, 2, 3), QDate(2025, 2, 4));
        type(u"al"_s);
        press(form().Label1[33]); // takes the whole name back
        if (!form().GünLbl->caption().isEmpty()) press(form().Label1[46]);
        QCOMPARE(form().GünLbl->caption(), QString());
        QVERIFY(form().DBGrid1->visible());
        QVERIFY(!form().dbListe1->visible());
        QCOMPARE(shown(), (QStringList{ayseOnThe3rd, aliOnThe4th,
                                       u"04.02.2025 18:30:15|1.500,00|300,75||12,00|150,00|Toplamlar"_s}));
    }

    void pickedNameGivesTheReportOfThatCustomer()
    {
        openReport(QDate(2025, 2, 1), QDate(2025, 2, 28));
        type(u"ali"_s);
        QCOMPARE(form().dbListe1->rowCount(), 2);
        form().dbListe1->pick(0);
        QCOMPARE(form().GünLbl->caption(), u"Ali"_s);
        QVERIFY(!form().dbListe1->visible());
        QVERIFY(form().DBGrid1->visible());
        QCOMPARE(shown(), (QStringList{aliOnThe2nd, aliOnThe4th,
                                       u"04.02.2025 18:30:15|1.734,50|400,50||38,00|0,00|Toplamlar"_s}));
        QCOMPARE(totalsRows(), QStringList{u"1734,5"_s});
        QCOMPARE(form().GünData.recordSet().position(), 0);
        QCOMPARE(form().DBGrid1->currentIndex().row(), 0);
    }

    void apostropheIsReportedAndChangesNothing()
    {
        openReport(QDate(2025, 2, 1), QDate(2025, 2, 28));
        const QStringList before = shown();
        QCOMPARE(before.size(), 4);
        form().run([&] { form().AktifLbl->setCaption(u"O'N"_s); });
        QCOMPARE(world_->messages(), QStringList{u"E3075"_s});
        form().run([&] { form().RaporYenile(); });
        QCOMPARE(world_->messages(), (QStringList{u"E3075"_s, u"E3075"_s}));
        QCOMPARE(shown(), before);
        QCOMPARE(totalsRows(), QStringList{u"2734,5"_s});
        world_->prompt.errors.clear();
    }

    void changedDayReordersAndReports_data()
    {
        // rows: the totals row included
        addColumns<bool, QDate, QDate, QDate, int>("firstChanged", "day", "first", "last", "rows");
        const QDate second(2025, 2, 2);
        const QDate third(2025, 2, 3);
        const QDate fourth(2025, 2, 4);
        QTest::newRow("first later than last") << true << fourth << fourth << fourth << 2;
        QTest::newRow("first earlier") << true << second << second << third << 3;
        QTest::newRow("last earlier than first") << false << second << second << second << 2;
        QTest::newRow("last later") << false << fourth << third << fourth << 3;
        QTest::newRow("a day without pressings")
            << true << QDate(2025, 3, 1) << QDate(2025, 3, 1) << QDate(2025, 3, 1) << 0;
    }

    void changedDayReordersAndReports()
    {
        QFETCH(bool, firstChanged);
        QFETCH(QDate, day);
        openReport(QDate(2025, 2, 3), QDate(2025, 2, 3));
        QCOMPARE(shown().size(), 2);
        form().run([&] { (firstChanged ? form().DTPickerBas : form().DTPickerSon)->setValue(day); });
        QTEST(form().DTPickerBas->value(), "first");
        QTEST(form().DTPickerSon->value(), "last");
        QFETCH(int, rows);
        QCOMPARE(shown().size(), rows);
        QCOMPARE(totalsRows().size(), rows > 0 ? 1 : 0);
    }

    void withoutAStationDaysDoNothing()
    {
        openReport();
        const QDate today = form().DTPickerSon->value();
        const QDate first = form().DTPickerBas->value();
        // Inside the actions: no station works only until the first activation.
        const auto withoutAStation = [&](app::DatePicker* picker, const QDate& day) {
            form().run([&] {
                form().AktifKontrol = 999;
                picker->setValue(day);
                form().AktifKontrol = 0;
            });
        };
        withoutAStation(form().DTPickerBas, today.addDays(5));
        QCOMPARE(form().DTPickerSon->value(), today);
        QCOMPARE(form().GünData.recordSource(), mill::wholeJournal);
        withoutAStation(form().DTPickerBas, first);
        withoutAStation(form().DTPickerSon, first.addDays(-5));
        QCOMPARE(form().DTPickerBas->value(), first);
        QCOMPARE(form().DTPickerSon->value(), first.addDays(-5));
        QCOMPARE(form().GünData.recordSource(), mill::wholeJournal);
    }

    void hiddenPanelReportsTheNameAtTheStation()
    {
        start();
        form().run([&] { form().TxtLbl[0]->setCaption(u"Ali"_s); });
        setDays(QDate(2025, 2, 3), QDate(2025, 2, 28));
        QCOMPARE(form().GünData.recordSource(),
                 u"Select * From Hareket where Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/28/2025 23:59:59# "
                 "And CariHar='Ali' Order By Tarih Asc"_s);
        QCOMPARE(shown(), (QStringList{aliOnThe4th, u"04.02.2025 18:30:15|500,00|100,50||12,00|0,00|Toplamlar"_s}));
    }

    void emptyListingHasHeadingsAndNoMarkedRow()
    {
        openReport();
        QCOMPARE(form().DBGrid1->selectionMode(), QAbstractItemView::SingleSelection);
        setDays(QDate(2020, 1, 1), QDate(2020, 1, 1));
        QCOMPARE(shown(), QStringList());
        QCOMPARE(headings().value(1), u"Giren Zeytin"_s);
        QCOMPARE(form().DBGrid1->selectionMode(), QAbstractItemView::NoSelection);
        QVERIFY(form().DBGrid1->selectionModel()->selectedRows().isEmpty());
        setDays(QDate(2025, 2, 3), QDate(2025, 2, 3));
        QCOMPARE(form().DBGrid1->selectionMode(), QAbstractItemView::SingleSelection);
        QVERIFY(form().DBGrid1->selectionModel()->isRowSelected(0));
    }

    void wholeRowIsMarked()
    {
        openReport();
        const QAbstractItemView& grid = *form().DBGrid1;
        for (int column = 0; column < 7; ++column) {
            QVERIFY(grid.selectionModel()->isSelected(grid.model()->index(0, column)));
            QVERIFY(!grid.selectionModel()->isSelected(grid.model()->index(1, column)));
        }
    }

    void touchedRowBecomesCurrent()
    {
        openReport();
        app::ListingGrid& grid = *form().DBGrid1;
        QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, grid.visualRect(grid.model()->index(2, 3)).center());
        QTRY_COMPARE(form().GünData.recordSet().position(), 2);
        QVERIFY(grid.selectionModel()->isRowSelected(2));
        QVERIFY(!grid.selectionModel()->isRowSelected(0));
    }

    void cellsCannotBeEdited()
    {
        openReport();
        app::ListingGrid& grid = *form().DBGrid1;
        const QModelIndex cell = grid.model()->index(1, 6);
        QVERIFY(!(cell.flags() & Qt::ItemIsEditable));
        QTest::mouseDClick(grid.viewport(), Qt::LeftButton, {}, grid.visualRect(cell).center());
        QTest::keyClick(&grid, Qt::Key_F2);
        QTest::keyClicks(&grid, u"x"_s);
        QVERIFY(grid.viewport()->findChildren<QWidget*>().isEmpty());
        QCOMPARE(shown(), (QStringList{aliOnThe2nd, ayseOnThe3rd, aliOnThe4th}));
    }

    void draggedColumnIsKeptInTwips_data()
    {
        // by: pixels
        addColumns<int, int>("column", "by");
        QTest::newRow("wider") << 1 << 40;
        QTest::newRow("narrower") << 1 << -17;
        QTest::newRow("the first") << 0 << 3;
        QTest::newRow("the last") << 6 << 55;
    }

    void draggedColumnIsKeptInTwips()
    {
        QFETCH(int, column);
        QFETCH(int, by);
        openReport();
        const QHeaderView* header = form().DBGrid1->horizontalHeader();
        QByteArray expected;
        for (int i = 0; i < 7; ++i)
            expected += QByteArray::number((header->sectionSize(i) + (i == column ? by : 0)) * 15) + ",#TRUE#\r\n";
        const int edge = edgeOf(column);
        drag(edge - 7, edge - 7 + by);
        QCOMPARE(world_->fileContent(u"Grid1.txt"_s), expected);
        QCOMPARE(world_->fileContent(u"Grid0.txt"_s), "(no file)"_ba);
        QCOMPARE(edgeOf(column), edge + by);
    }

    void fingerDragsAColumn()
    {
        openReport();
        QPointingDevice* finger = QTest::createTouchDevice();
        const int edge = edgeOf(2);
        QTest::touchEvent(headingArea(), finger).press(0, QPoint(edge + 11, 20));
        QTest::touchEvent(headingArea(), finger).move(0, QPoint(edge + 41, 20));
        QTest::touchEvent(headingArea(), finger).release(0, QPoint(edge + 41, 20));
        QTRY_COMPARE(edgeOf(2), edge + 30);
        QTRY_VERIFY(world_->fileContent(u"Grid1.txt"_s).contains(",#TRUE#\r\n"));
    }

    void edgesAreFoundByFingers()
    {
        openReport();
        const auto& header = static_cast<const app::ListingHeader&>(*form().DBGrid1->horizontalHeader());
        for (int column = 0; column < 7; ++column) {
            QCOMPARE(header.edgeAt(edgeOf(column)), column);
            QCOMPARE(header.edgeAt(edgeOf(column) - 15), column);
            QCOMPARE(header.edgeAt(edgeOf(column) + 15), column);
        }
        QCOMPARE(header.edgeAt(edgeOf(0) / 2), -1);
        QCOMPARE(header.edgeAt(edgeOf(6) + 60), -1);

        // A column without a width is found again at the edge it shares.
        world_->putFile(u"Grid1.txt"_s, "1500,#TRUE#\r\n0,#TRUE#\r\n1500,#TRUE#\r\n600,#TRUE#\r\n1500,#FALSE#\r\n");
        form().run([&] { form().IzgaraYukle(); });
        QCOMPARE(header.edgeAt(100), 1);
        QCOMPARE(header.edgeAt(100 + 100 + 15), 2); // the narrow column keeps its right half for itself
        QCOMPARE(header.edgeAt(100 + 100 + 25), 3);
        QCOMPARE(header.edgeAt(240), 3); // the hidden one has no edge
        drag(100, 130);
        QCOMPARE(form().DBGrid1->columnWidth(1), 30);
        QCOMPARE(world_->fileContent(u"Grid1.txt"_s).split('\n').value(1), "450,#TRUE#\r"_ba);
        QCOMPARE(world_->fileContent(u"Grid1.txt"_s).split('\n').value(4).mid(4), ",#FALSE#\r"_ba);
    }

    void pressWithoutAMoveKeepsNothing()
    {
        openReport();
        drag(edgeOf(1), edgeOf(1));
        drag(edgeOf(0) / 2, edgeOf(0) / 2 + 30); // not at an edge
        QTest::mouseDClick(headingArea(), Qt::LeftButton, {}, {edgeOf(1), 20});
        setDays(QDate(2025, 2, 3), QDate(2025, 2, 3));
        form_->resize(1200, 800);
        QCOMPARE(world_->fileContent(u"Grid1.txt"_s), "(no file)"_ba);
    }

    void columnCannotBeDraggedAway()
    {
        openReport();
        drag(edgeOf(2), 0);
        QCOMPARE(form().DBGrid1->columnWidth(2), app::ListingHeader::narrowest);
        QCOMPARE(world_->fileContent(u"Grid1.txt"_s).split('\n').value(2), "360,#TRUE#\r"_ba);
    }

    void keptWidthsComeBackInEachView()
    {
        world_->putFile(u"Grid0.txt"_s, "3000,#TRUE#\r\n1200.5,#TRUE#\r\n1500,#FALSE#\r\n");
        world_->putFile(u"grid1.TXT"_s, "1500,#TRUE#\r\n1500,#TRUE#\r\n");
        start();
        press(form().GünlükCmd);
        const QTableView& grid = *form().DBGrid1;
        QCOMPARE(grid.columnWidth(0), 200);
        QCOMPARE(grid.columnWidth(1), 80);
        QVERIFY(grid.isColumnHidden(2));
        QVERIFY(!grid.isColumnHidden(3));
        press(form().Option1[1]);
        QCOMPARE(grid.columnWidth(0), 100);
        QCOMPARE(grid.columnWidth(1), 100);
        QVERIFY(!grid.isColumnHidden(2));
        const int third = grid.columnWidth(2);
        drag(edgeOf(2), edgeOf(2) + 10);
        press(form().Option1[0]);
        QCOMPARE(grid.columnWidth(0), 200);
        QVERIFY(grid.isColumnHidden(2));
        press(form().Option1[1]);
        QCOMPARE(grid.columnWidth(2), third + 10);

        // Dragging another column of the first view keeps what cannot be seen in it.
        press(form().Option1[0]);
        drag(edgeOf(0), edgeOf(0) + 10);
        const QByteArray kept = world_->fileContent(u"Grid0.txt"_s);
        QVERIFY2(kept.startsWith("3150,#TRUE#\r\n1200.5,#TRUE#\r\n2400,#FALSE#\r\n"), kept.constData());
    }

    void damagedLayoutDoesNotStopThePanel_data()
    {
        addCases<QByteArray>(
            "bytes", {{"another program's", "[Grid]\r\nwidth=12\r\n"_ba},
                      {"nothing but zeros", QByteArray(5000, '\0')},
                      {"huge numbers", "1E+300,#TRUE#\r\n99999999999,#TRUE#\r\n245745,#TRUE#\r\n0,#TRUE#\r\n"_ba},
                      {"many lines", "100,#TRUE#\r\n"_ba.repeated(50000)},
                      {"everything hidden", "100,#FALSE#\r\n"_ba.repeated(7)}});
    }

    void damagedLayoutDoesNotStopThePanel()
    {
        QFETCH(QByteArray, bytes);
        world_->putFile(u"Grid0.txt"_s, bytes);
        world_->putFile(u"Grid1.txt"_s, bytes);
        openReport();
        QCOMPARE(headings().value(6).trimmed(), u"Cari"_s);
        QCOMPARE(shown().size(), 3);
        form_->grab();
        setDays(QDate(2025, 2, 3), QDate(2025, 2, 4));
        QCOMPARE(shown().size(), 3);
        press(form().KapatCmd[0]);
        QVERIFY(!form().Frame4->visible());
    }

    void headingsStandInTheMiddle()
    {
        world_->putFile(u"Grid1.txt"_s, "3000,#TRUE#\r\n3000,#TRUE#\r\n3000,#TRUE#\r\n");
        openReport();
        const QFontMetricsF metrics(form().DBGrid1->horizontalHeader()->font());
        const double blank = metrics.horizontalAdvance(u' ');
        for (int column = 0; column < 3; ++column) {
            const QString heading = headings().at(column);
            const double room = (200 - metrics.horizontalAdvance(heading.trimmed())) / 2;
            const auto blanks = heading.size() - heading.trimmed().size();
            QCOMPARE(blanks, static_cast<qsizetype>(room / blank));
            QCOMPARE(heading.startsWith(u' '), column == 0); // the moment stands left, figures right

            // And so it is painted: as far from the left edge as from the right one, to a blank.
            const QImage picture = form().DBGrid1->horizontalHeader()->grab().toImage();
            const int y0 = picture.height() / 4;
            int first = -1;
            int last = -1;
            for (int x = column * 200 + 2; x < column * 200 + 196; ++x)
                for (int y = y0; y < picture.height() * 3 / 4; ++y)
                    if (picture.pixelColor(x, y).lightness() < 100) {
                        if (first < 0) first = x;
                        last = x;
                    }
            QVERIFY(first > 0);
            const int leftRoom = first - column * 200;
            const int rightRoom = (column + 1) * 200 - last;
            QVERIFY2(std::abs(leftRoom - rightRoom) <= 2 * blank + 6,
                     qPrintable(u"%1 %2"_s.arg(leftRoom).arg(rightRoom)));
        }
    }

    void layoutThatCannotBeKeptIsReported()
    {
        openReport();
        QVERIFY(QDir(world_->folder.path()).mkdir(u"Grid1.txt"_s));
        const int edge = edgeOf(1);
        drag(edge, edge + 30);
        QCOMPARE(world_->messages(), QStringList{u"E75"_s});
        world_->prompt.errors.clear();
        QCOMPARE(edgeOf(1), edge + 30); // for as long as the listing stays
    }

    void dragScrollsTheRows_data() { addCases<bool>("finger", {{"mouse", false}, {"finger", true}}); }

    void dragScrollsTheRows()
    {
        QFETCH(bool, finger);
        for (int i = 0; i < 60; ++i) world_->addPressing({u"2025-03-01T10:00:00"_s, 1.0, 1.0, 1.0, 1.0, 0.0, u"Ali"_s});
        openReport();
        app::ListingGrid& grid = *form().DBGrid1;
        QWidget* area = grid.viewport();
        QPointingDevice* screen = QTest::createTouchDevice();
        const auto moveTo = [&](int y) {
            if (finger) {
                QTest::touchEvent(area, screen).move(0, QPoint(200, y));
                return;
            }
            QMouseEvent move(QEvent::MouseMove, QPointF(200, y), area->mapToGlobal(QPointF(200, y)), Qt::NoButton,
                             Qt::LeftButton, {});
            QApplication::sendEvent(area, &move);
        };
        QCOMPARE(grid.verticalScrollBar()->value(), 0);
        if (finger)
            QTest::touchEvent(area, screen).press(0, QPoint(200, 220));
        else
            QTest::mousePress(area, Qt::LeftButton, {}, {200, 220});
        for (int y = 210; y >= 60; y -= 10) {
            QTest::qWait(5);
            moveTo(y);
        }
        if (finger)
            QTest::touchEvent(area, screen).release(0, QPoint(200, 60));
        else
            QTest::mouseRelease(area, Qt::LeftButton, {}, {200, 60});
        QVERIFY(grid.verticalScrollBar()->value() > 60);
        const int whenLetGo = grid.verticalScrollBar()->value();
        QTRY_VERIFY(grid.verticalScrollBar()->value() > whenLetGo); // it glides on
        QCOMPARE(form().GünData.recordSet().position(), 0);
    }

    void keyboardReachesNoStationBehindThePanel()
    {
        start();
        type(u"ali"_s);
        press(form().Label2[0]);
        type(u"1000"_s);
        form().Sayac->trigger();
        form().run([&] { form().KapFrm[0]->setVisible(true); });
        form().YazCmd[0]->setFocus();
        QVERIFY(form().YazCmd[0]->hasFocus());
        press(form().GünlükCmd);
        QVERIFY(!form().YazCmd[0]->hasFocus());

        // Round in both directions: the panel's own buttons are reached, and nothing that lies behind it.
        for (const Qt::Key direction : {Qt::Key_Tab, Qt::Key_Backtab}) {
            QStringList reached;
            for (int step = 0; step < 30; ++step) {
                QTest::keyClick(form().focusWidget() ? form().focusWidget() : &form(), direction);
                reached << form().focusWidget()->objectName();
                QVERIFY2(!app::inputBlocked(form().focusWidget()), qPrintable(reached.join(u' ')));
            }
            QVERIFY2(reached.contains(u"Option1(1)"_s), qPrintable(reached.join(u' ')));
            QVERIFY2(reached.contains(u"KapatCmd(0)"_s), qPrintable(reached.join(u' ')));
        }

        // And the station has its keys back when the panel closes.
        press(form().KapatCmd[0]);
        QStringList reached;
        for (int step = 0; step < 30; ++step) {
            QTest::keyClick(form().focusWidget(), Qt::Key_Tab);
            reached << form().focusWidget()->objectName();
        }
        QVERIFY2(reached.contains(u"YazCmd(0)"_s), qPrintable(reached.join(u' ')));
        QVERIFY2(!reached.contains(u"YazCmd(1)"_s), qPrintable(reached.join(u' ')));
    }

    void coveredStationDoesNothing_data()
    {
        addTexts("control", {"YazCmd(0)", "HakCmd(0)", "YeniCmd(1)", "Combo1(0)", "KapCmd(0)", "NakitLbl(0)"});
    }

    void coveredStationDoesNothing()
    {
        QFETCH(QString, control);
        start();
        type(u"ali"_s);
        press(form().Label2[0]);
        type(u"1000"_s);
        form().run([&] { form().KapFrm[0]->setVisible(true); });
        press(form().GünlükCmd);
        const int container = form().Combo1[0]->listIndex();

        auto* covered = form().findChild<QWidget*>(control);
        QVERIFY(covered);
        const auto everyWay = [&] {
            covered->setFocus(); // as a program that reads the screen aloud may do
            QTest::keyClick(covered, Qt::Key_Space);
            QTest::keyClick(covered, Qt::Key_Down);
            press(covered);
            if (auto* button = qobject_cast<QAbstractButton*>(covered)) button->click();
        };
        everyWay();
        QVERIFY(form().Frame4->visible());
        QCOMPARE(form().AktifLbl, static_cast<app::CaptionLabel*>(form().GünLbl));
        QCOMPARE(form().AktifKontrol, 0.0f);
        QVERIFY(!form().HakVar[0]);
        QCOMPARE(form().Combo1[0]->listIndex(), container);
        QVERIFY(form().KapFrm[0]->visible());
        QCOMPARE(world_->printedFiles(), QStringList());
        const auto books = world_->databases.open(world_->file());
        QCOMPARE(books->open(u"Hareket"_s).rows.size(), std::size_t{3});
    }

    void closingGivesTheStationBack()
    {
        start();
        press(form().YeniCmd[1]);
        press(form().GünlükCmd);
        press(form().Option1[1]);
        type(u"a"_s);
        QVERIFY(form().dbListe1->visible());
        press(form().KapatCmd[0]);
        QVERIFY(!form().Frame4->visible());
        QVERIFY(!form().dbListe1->visible());
        QVERIFY(form().Dosya->isEnabled());
        QCOMPARE(form().AktifLbl, static_cast<app::CaptionLabel*>(form().TxtLbl[1]));
        QCOMPARE(form().TxtLbl[1]->backColor(), app::colour::cyan);
        QCOMPARE(form().GünLbl->backColor(), app::colour::white);

        // The next search opens over the station again, and the next panel with a grid.
        form().run([&] { form().TxtLbl[1]->setCaption(u"A"_s); });
        QVERIFY(form().dbListe1->visible());
        QVERIFY(form().dbListe1->x() >= form().Frame1[1]->x());
        press(form().GünlükCmd);
        QVERIFY(form().DBGrid1->visible());
        QCOMPARE(form().GünLbl->caption(), QString());
    }

    void statementPrintsWhatTheGridShows_data() { addCases<bool>("report", {{"report", true}, {"customers", false}}); }

    void statementPrintsWhatTheGridShows()
    {
        QFETCH(bool, report);
        world_->putFile(u"Presva.Txt"_s, "Mendrik Fabrikasi\r\n");
        world_->putFile(u"Grid0.txt"_s, "3000,#TRUE#\r\n1200,#TRUE#\r\n1500,#FALSE#\r\n");
        openReport();
        if (report) {
            setDays(QDate(2025, 2, 3), QDate(2025, 2, 28));
            type(u"ali"_s);
            form().dbListe1->pick(0);
        } else {
            press(form().Option1[0]);
        }
        const int position = form().GünData.recordSet().position();
        press(form().KapatCmd[1]);
        QCOMPARE(world_->printedFiles(), QStringList{u"0001.pdf"_s});
        QVERIFY(form().Frame4->visible());
        QCOMPARE(form().GünData.recordSet().position(), position);
        QCOMPARE(form().DataTmp.recordSource(), form().GünData.recordSource());
        QVERIFY(form().DataTmp.recordSet().eof());

        const auto text = scenario::textOfPdf(world_->fileContent(u"printed/0001.pdf"_s));
        if (!text) QSKIP("pdftotext is not installed");
        QVERIFY(text->contains(u"Mendrik Fabrikasi"_s));
        QCOMPARE(text->contains(u"Cari Hesap Dökümü"_s), report);
        QCOMPARE(text->contains(u"Ali Veli"_s), !report);
        if (report) {
            QVERIFY2(text->contains(u"500,00 100,50 12 12,00 0,00 Ali"_s), qPrintable(*text));
            QVERIFY(text->contains(u"03 Şubat 2025 Pazartesi"_s));
        } else {
            QVERIFY(text->contains(u"Ünvan"_s));
            QVERIFY(!text->contains(u"Litrelik"_s)); // the hidden column
        }
    }

    void sumsAreTheStatementsLastRow_data()
    {
        // end: of the table
        addColumns<QDate, QDate, QString, QString>("first", "last", "name", "end");
        const QDate second(2025, 2, 2);
        const QDate third(2025, 2, 3);
        QTest::newRow("of all") << second << third << QString()
                                << u"Ayşe 04.02.2025 18:30:15 2.234,50 500,25 26,00 150,00"_s;
        QTest::newRow("of one") << second << third << u"Ali"_s
                                << u"8,5 26,00 0,00 Ali 04.02.2025 18:30:15 1.234,50 300,00 26,00 0,00"_s;
        QTest::newRow("with today") << third << QDate(2025, 2, 4) << QString()
                                    << u"Ali 04.02.2025 18:30:15 1.500,00 300,75 12,00 150,00"_s;
    }

    void sumsAreTheStatementsLastRow()
    {
        QFETCH(QDate, first);
        QFETCH(QDate, last);
        QFETCH(QString, name);
        QFETCH(QString, end);
        world_->putFile(u"Grid1.txt"_s, QByteArray("1650,#TRUE#\r\n").repeated(7));
        openReport(first, last);
        if (!name.isEmpty()) {
            type(u"ali"_s);
            form().dbListe1->pick(0);
        }
        press(form().KapatCmd[1]);
        if (!scenario::textOfPdf(world_->fileContent(u"printed/0001.pdf"_s))) QSKIP("pdftotext is not installed");
        QVERIFY2(printed(1).simplified().endsWith(end + u" Toplamlar"_s), qPrintable(printed(1)));
        QCOMPARE(totalsRows().size(), 1);
    }

    void typedNameIsReportedBeforeItIsPrinted_data()
    {
        addCases<bool>("underTheCustomers", {{"in the report", false}, {"under the customers", true}});
    }

    void typedNameIsReportedBeforeItIsPrinted()
    {
        QFETCH(bool, underTheCustomers);
        openReport(QDate(2025, 2, 1), QDate(2025, 2, 28));
        if (underTheCustomers) press(form().Option1[0]);
        type(u"ali"_s);
        press(form().KapatCmd[1]);
        QVERIFY(form().Option1[1]->value());
        QCOMPARE(form().GridGorunum, u"1"_s);
        QVERIFY(form().GünLbl->visible());
        QVERIFY(form().DBGrid1->visible());
        QVERIFY(!form().dbListe1->visible());
        QCOMPARE(shown(), (QStringList{aliOnThe2nd, aliOnThe4th,
                                       u"04.02.2025 18:30:15|1.734,50|400,50||38,00|0,00|Toplamlar"_s}));
        QCOMPARE(world_->printedFiles(), QStringList{u"0001.pdf"_s});
        if (!scenario::textOfPdf(world_->fileContent(u"printed/0001.pdf"_s))) QSKIP("pdftotext is not installed");
        QVERIFY2(printed(1).contains(u"Cari Hesap Dökümü Ali "_s), qPrintable(printed(1)));
        QVERIFY(printed(1).contains(u"1.734,50"_s));
        QVERIFY(!printed(1).contains(u"Ayşe"_s));
    }

    void unknownNameIsNotPrinted_data()
    {
        // dialog: opened and closed after the name was typed; the day it sets runs a report
        addColumns<QString, bool>("typed", "dialog");
        QTest::newRow("nobody's") << u"zeki"_s << false;
        QTest::newRow("the beginning of two") << u"al"_s << false;
        QTest::newRow("the sums'") << u"toplamlar"_s << false;
        QTest::newRow("the beginning of two, with the grid shown again after a dialog") << u"al"_s << true;
    }

    void unknownNameIsNotPrinted()
    {
        QFETCH(QString, typed);
        openReport(QDate(2025, 2, 1), QDate(2025, 2, 28));
        type(typed);
        QFETCH(bool, dialog);
        if (dialog) form().activated();
        QCOMPARE(form().DBGrid1->visible(), dialog);
        const QStringList totals = totalsRows();
        const QString name = form().GünLbl->caption();
        press(form().KapatCmd[1]);
        QCOMPARE(world_->printedFiles(), QStringList());
        QVERIFY2(form().status->text().startsWith(u"Döküm yazılmadı: “%1” adında müşteri yok."_s.arg(name)),
                 qPrintable(form().status->text()));
        QCOMPARE(form().GünLbl->caption(), name);
        QCOMPARE(totalsRows(), totals);
        press(form().KapatCmd[0]);
        QVERIFY(!form().status->text().contains(u"yazılmadı"_s));
    }

    void wholeJournalIsNotPrintedUnderACustomersName()
    {
        openReport(QDate(2025, 2, 1), QDate(2025, 2, 28));
        type(u"ali"_s);
        form().dbListe1->pick(0);
        press(form().Option1[1]);
        QCOMPARE(shown().size(), 4); // everybody's
        QCOMPARE(form().GünLbl->caption(), u"Ali"_s);
        press(form().KapatCmd[1]);
        QCOMPARE(shown().size(), 3);
        if (!scenario::textOfPdf(world_->fileContent(u"printed/0001.pdf"_s))) QSKIP("pdftotext is not installed");
        QVERIFY(!printed(1).contains(u"Ayşe"_s));
    }

    void secondTapDuringAStatementIsDropped()
    {
        FakePrinter printer;
        printer.sheet = print::Paper::a4();
        form_ = std::make_unique<app::Form1>(world_->World::surroundings(world_->databases, printer, world_->slips));
        form_->start();
        QVERIFY(QTest::qWaitForWindowExposed(form_.get()));
        press(form().GünlükCmd);
        int taps = 0;
        // The tap waits in the queue while the statement is printed, as a finger's does.
        printer.before = [&](FakePrinter::Step step) {
            if (step != FakePrinter::Step::send || taps > 0) return;
            ++taps;
            QTimer::singleShot(0, &form(), [this] { press(form().KapatCmd[1]); });
        };
        press(form().KapatCmd[1]);
        QCoreApplication::processEvents();
        QCOMPARE(taps, 1);
        QCOMPARE(printer.sent.size(), 1);
        press(form().KapatCmd[1]); // it is back
        QCOMPARE(printer.sent.size(), 2);
    }

    void statementWhoseSendingFailsIsCalledWhatItIs_data()
    {
        QTest::addColumn<bool>("answerLost");
        QTest::addColumn<bool>("forgetful");
        QTest::addColumn<bool>("silent");
        QTest::addColumn<QString>("said");
        QTest::newRow("it has not arrived")
            << false << false << false << u"Döküm basılmadı: kapı kapalı. Nedenini giderip yeniden yazdırın."_s;
        QTest::newRow("only the answer was lost") << true << false << false << u""_s;
        QTest::newRow("the printer does not know it")
            << true << true << false
            << u"Döküm basıldı mı bilinmiyor. Yazıcıya ve kuyruğuna bakın, çıkmadıysa yeniden yazdırın."_s;
        QTest::newRow("the printer cannot be asked") << false << false << true
                                                     << u"Döküm basıldı mı bilinmiyor (kapı kapalı). Yazıcıya ve "
                                                        "kuyruğuna bakın, çıkmadıysa yeniden yazdırın."_s;
    }

    void statementWhoseSendingFailsIsCalledWhatItIs()
    {
        QFETCH(bool, answerLost);
        QFETCH(bool, forgetful);
        QFETCH(bool, silent);
        QFETCH(QString, said);
        FakePrinter printer;
        printer.sheet = print::Paper::a4();
        printer.answersGetLost = answerLost;
        if (!answerLost)
            printer.before = [](FakePrinter::Step step) {
                if (step == FakePrinter::Step::send)
                    throw base::RuntimeError(base::errors::printer, u"Printer error: kapı kapalı."_s);
            };
        printer.forgetful = forgetful;
        printer.silent = silent;
        form_ = std::make_unique<app::Form1>(world_->World::surroundings(world_->databases, printer, world_->slips));
        form_->start();
        press(form().GünlükCmd);
        press(form().KapatCmd[1]);
        const QString line = form().status->text();
        QVERIFY2(line.startsWith(said.isEmpty() ? u"Terazi: "_s : said + u"   ·   "_s), qPrintable(line));
        QCOMPARE(line.contains(u"Döküm"_s), !said.isEmpty());
        QCOMPARE(printer.cancelled.size(), said.isEmpty() ? 0 : 1);
        QCOMPARE(printer.settled.size(), said.isEmpty() ? 1 : 0);
    }

    void columnsThatDoNotFitAreNamed()
    {
        world_->putFile(u"Grid1.txt"_s, QByteArray("4000,#TRUE#\r\n").repeated(7));
        openReport();
        press(form().KapatCmd[1]);
        QVERIFY2(form().status->text().startsWith(u"Döküme sığmayan sütunlar: Hak Ediş, Nakit, Cari."_s),
                 qPrintable(form().status->text()));
        press(form().Option1[0]); // four columns fit
        press(form().KapatCmd[1]);
        QCOMPARE(world_->printedFiles().size(), 2);
        QVERIFY(!form().status->text().contains(u"sığmayan"_s));
    }

    void statementNeedsAChosenView()
    {
        start();
        form().run([&] { form().KapatCmd_Click(1); });
        QCOMPARE(world_->printedFiles(), QStringList());
        // A report was run from the hidden panel: there is a listing, but still no view.
        form().run([&] { form().TxtLbl[0]->setCaption(u"Ali"_s); });
        setDays(QDate(2025, 2, 3), QDate(2025, 2, 28));
        QCOMPARE(shown().size(), 2);
        form().run([&] { form().KapatCmd_Click(1); });
        QCOMPARE(world_->printedFiles(), QStringList());
    }

    void failedStatementShowsThePrintersState()
    {
        openReport();
        QVERIFY(QDir(world_->folder.filePath(u"printed"_s)).removeRecursively());
        QVERIFY(!form().status->text().contains(u"Yazıcı: printed klasörü yok"_s));
        press(form().KapatCmd[1]);
        QVERIFY(form().Frame4->visible());
        QCOMPARE(shown().size(), 3);
        QVERIFY2(form().status->text().contains(u"Yazıcı: printed klasörü yok"_s), qPrintable(form().status->text()));
        QVERIFY2(form().status->text().startsWith(u"Döküm basılmadı: “"_s), qPrintable(form().status->text()));
    }

    void millionRowsFormOnlyWhatIsSeen()
    {
        EndlessJournal journal;
        app::Form1 form(world_->surroundings(journal));
        form.start();
        form.setGeometry(0, 0, 1024, 768);
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        form.run([&] { form.GünlükCmd_Click(); });
        form.run([&] { form.Option1[1]->choose(); });
        QCOMPARE(form.DBGrid1->model()->rowCount(), 1'000'000);
        form.grab();

        QScrollBar* bar = form.DBGrid1->verticalScrollBar();
        for (const int part : {0, 1, 2, 3}) {
            journal.fetches = 0;
            bar->setValue(bar->maximum() / 3 * part);
            form.DBGrid1->grab();
            // Some ten rows of seven cells, each looked at for its text and for the name of the totals row.
            QVERIFY2(journal.fetches > 0 && journal.fetches < 500, qPrintable(QString::number(journal.fetches)));
        }
        bar->setValue(bar->maximum());
        const int lastRow = form.DBGrid1->rowAt(form.DBGrid1->viewport()->height() - 1);
        QCOMPARE(form.DBGrid1->model()->index(lastRow, 6).data().toString(), u"Müşteri 999999"_s);
    }

private:
    app::Form1& form() { return *form_; }

    void start()
    {
        form_ = std::make_unique<app::Form1>(world_->surroundings(world_->databases));
        form_->start();
        form_->setGeometry(0, 0, 1024, 768);
        QVERIFY(QTest::qWaitForWindowExposed(form_.get()));
    }

    void openReport() { start(), press(form().GünlükCmd), press(form().Option1[1]); }
    void openReport(const QDate& first, const QDate& last) { openReport(), setDays(first, last); }

    void press(QWidget* control) { QTest::mouseClick(control, Qt::LeftButton); }

    /// On the keypad.
    void type(const QString& keys)
    {
        for (const QChar key : keys) {
            const auto found = std::find_if(form().Label1.begin(), form().Label1.end(),
                                            [&](const app::KeyLabel* label) { return label->caption() == key; });
            QVERIFY2(found != form().Label1.end(), qPrintable(QString(key)));
            press(*found);
        }
    }

    void setDays(const QDate& first, const QDate& last)
    {
        form().run([&] {
            form().DTPickerSon->setValue(last);
            form().DTPickerBas->setValue(first);
        });
    }

    QStringList shown() const
    {
        QStringList rows;
        const QAbstractItemModel* model = form_->DBGrid1->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < model->columnCount(); ++column)
                cells += model->index(row, column).data().toString();
            rows += cells.join(u'|');
        }
        return rows;
    }

    QStringList headings() const
    {
        QStringList all;
        const QAbstractItemModel* model = form_->DBGrid1->model();
        for (int column = 0; column < model->columnCount(); ++column)
            all += model->headerData(column, Qt::Horizontal).toString();
        return all;
    }

    QWidget* headingArea() { return form().DBGrid1->horizontalHeader()->viewport(); }

    int edgeOf(int column)
    {
        const QHeaderView* header = form().DBGrid1->horizontalHeader();
        return header->sectionViewportPosition(column) + header->sectionSize(column);
    }

    void drag(int from, int to)
    {
        const int y = headingArea()->height() / 2;
        QTest::mousePress(headingArea(), Qt::LeftButton, {}, {from, y});
        for (int x : {(2 * from + to) / 3, (from + 2 * to) / 3, to}) {
            QMouseEvent move(QEvent::MouseMove, QPointF(x, y), headingArea()->mapToGlobal(QPointF(x, y)), Qt::NoButton,
                             Qt::LeftButton, {});
            QApplication::sendEvent(headingArea(), &move);
        }
        QTest::mouseRelease(headingArea(), Qt::LeftButton, {}, {to, y});
    }

    QStringList totalsRows()
    {
        const auto engine = world_->databases.open(world_->folder.filePath(u"Yag.mdb"_s));
        const store::Listing journal = engine->open(u"Hareket"_s);
        QStringList found;
        for (const store::RowKey row : journal.rows)
            if (engine->field(journal, row, 6).text() == mill::totalsName)
                found += engine->field(journal, row, 1).toCell(base::Regional::turkish());
        return found;
    }

    /// The text of the printout of that number, 1 to 9.

    QString printed(int number) const
    {
        const QString file = u"printed/000%1.pdf"_s.arg(number);
        return scenario::textOfPdf(world_->fileContent(file)).value_or(QString());
    }

    std::unique_ptr<PanelWorld> world_;
    std::unique_ptr<app::Form1> form_;
};

QTEST_MAIN(ReportPanel)
#include "report_panel.moc"
