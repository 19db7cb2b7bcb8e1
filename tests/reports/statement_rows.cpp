#include "reports/statement_rows.h"

#include "reports/period_report.h"
#include "tests/reports/paper_journal.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include <QTest>

using namespace Qt::StringLiterals;

/// What a statement walks: the rows of the grid in the grid's order, asked for anew.
class StatementRowsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        journal_ = std::make_unique<PaperJournal>();
        for (auto* source : {&grid_, &copy_}) {
            *source = std::make_unique<store::DataSource>(*journal_);
            (*source)->setDatabaseName(PaperJournal::file);
        }
        journal_->enter(u"2025-02-02T10:00:00"_s, 100.0, 20.0, 2.0, 0.0, u"Ali"_s);
        journal_->enter(u"2025-02-03T10:00:00"_s, 200.0, 40.0, 4.0, 0.0, u"Ayşe"_s);
        journal_->enter(u"2025-02-04T23:00:00"_s, 300.0, 60.0, 6.0, 0.0, u"Ali"_s);
    }

    void sumsOfAReportComeLast_data()
    {
        addColumns<int, int, QString, QStringList>("first", "last", "name", "rows");
        QTest::newRow("a period that is over")
            << 2 << 3 << QString() << QStringList{u"02 100 Ali"_s, u"03 200 Ayşe"_s, u"04 300 Toplamlar"_s};
        QTest::newRow("a period with today in it, and a later pressing")
            << 3 << 4 << QString() << QStringList{u"03 200 Ayşe"_s, u"04 300 Ali"_s, u"04 500 Toplamlar"_s};
        QTest::newRow("one customer") << 2 << 4 << u"Ali"_s
                                      << QStringList{u"02 100 Ali"_s, u"04 300 Ali"_s, u"04 400 Toplamlar"_s};
    }

    void sumsOfAReportComeLast()
    {
        QFETCH(int, first);
        QFETCH(int, last);
        QFETCH(QString, name);
        report(first, last, name);
        QTEST(walked(), "rows");
    }

    void listingWithoutSumsHasNone()
    {
        report(1, 1);
        QCOMPARE(walked(), QStringList());
    }

    void oldSumsAmongTheJournalStayWhereTheGridShowsThem()
    {
        report(2, 3);
        grid_->setRecordSource(mill::wholeJournal);
        store::VeriYenile(*grid_, {});
        // Moved to the end they would be taken for the sums of the whole journal.
        QCOMPARE(walked(), (QStringList{u"02 100 Ali"_s, u"03 200 Ayşe"_s, u"04 300 Toplamlar"_s, u"04 300 Ali"_s}));
    }

    void sumsAreKnownAsSums()
    {
        const auto known = [this] {
            copy_->setRecordSource(grid_->recordSource());
            store::VeriYenile(*copy_, {});
            reports::StatementRows rows(copy_->recordSet(), grid_->recordSet());
            QList<bool> all;
            while (rows.next()) all += rows.onSums();
            return all;
        };
        report(2, 3);
        QCOMPARE(known(), (QList<bool>{false, false, true}));
        grid_->setRecordSource(mill::wholeJournal);
        store::VeriYenile(*grid_, {});
        QCOMPARE(known(), (QList<bool>{false, false, true, false}));
    }

    void gridStaysWhereItIs()
    {
        report(2, 4);
        grid_->recordSet().moveTo(1);
        walked();
        QCOMPARE(grid_->recordSet().position(), 1);
        QVERIFY(copy_->recordSet().eof());
    }

    void fieldThatTheListingLacksIsAnError()
    {
        report(2, 3);
        copy_->setRecordSource(grid_->recordSource());
        store::VeriYenile(*copy_, {});
        reports::StatementRows rows(copy_->recordSet(), grid_->recordSet());
        while (rows.next()) QCOMPARE(errorOf([&] { rows.value(u"Kap"_s); }), base::errors::noSuchField);
    }

private:
    /// In the evening of the 4th, an hour before its last pressing by the journal.
    void report(int firstDay, int lastDay, const QString& name = {})
    {
        const reports::Period period{QDate(2025, 2, firstDay), QDate(2025, 2, lastDay)};
        reports::RaporYenile({period, true, true, name, name},
                             {*grid_, *journal_, QDateTime(QDate(2025, 2, 4), QTime(22, 0)), {}});
    }

    /// Day, olives and name of each row.

    QStringList walked()
    {
        copy_->setRecordSource(grid_->recordSource());
        store::VeriYenile(*copy_, {});
        reports::StatementRows rows(copy_->recordSet(), grid_->recordSet());
        QStringList all;
        while (rows.next())
            all += rows.value(u"Tarih"_s).moment().toString(u"dd "_s) +
                   QString::number(rows.value(u"Zeytin"_s).number().value_or(-1)) + u' ' +
                   rows.value(u"CariHar"_s).text();
        return all;
    }

    std::unique_ptr<PaperJournal> journal_;
    std::unique_ptr<store::DataSource> grid_, copy_;
};

QTEST_APPLESS_MAIN(StatementRowsTest)
#include "statement_rows.moc"
