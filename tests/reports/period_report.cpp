#include "reports/period_report.h"

#include "tests/reports/paper_journal.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include <QTest>

using namespace reports;
using namespace Qt::StringLiterals;
using store::FieldValue;

namespace {

QString number(const FieldValue& value)
{
    return value.isNull() ? u"-"_s : QString::number(value.number().value_or(qQNaN()));
}

} // namespace

/// The report routine over a journal on paper: which rows are listed, and what happens to the row with their sums.
class PeriodReport : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        journal_ = std::make_unique<PaperJournal>();
        listing_ = std::make_unique<store::DataSource>(*journal_);
        listing_->setDatabaseName(PaperJournal::file);
        period_ = {QDate(2025, 2, 3), QDate(2025, 2, 4)};
        now_ = QDateTime(QDate(2025, 2, 4), QTime(18, 30, 15, 999));
    }

    void stepsComeInOrder()
    {
        enterThreeDays();
        journal_->enter(u"2025-02-03T12:00:00"_s, 1.0, 1.0, 1.0, 1.0, mill::totalsName);
        QCOMPARE(run(), u"done"_s);
        const QString period = u"Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/04/2025 23:59:59#"_s;
        QCOMPARE(journal_->log,
                 (QStringList{u"open Select * From Hareket where "_s + period + u" Order By Tarih Asc"_s, u"begin"_s,
                              u"find CariHar='Toplamlar'"_s, u"DELETE FROM Hareket WHERE CariHar='Toplamlar'"_s,
                              u"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket "
                              "Where CariHar<>'Toplamlar' And "_s +
                                  period,
                              u"find CariHar='Toplamlar'"_s, u"insert"_s, u"commit"_s}));
    }

    void pressingsAreListedByTimeAndTheirSumsComeLast()
    {
        enterThreeDays();
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(listed(),
                 (QStringList{u"03.02 08:00:00 250 50 12 6 0 Ali"_s, u"03.02 10:00:00 1000 200.25 12 0 150 Ayşe"_s,
                              u"04.02 09:00:00 500 100.5 12 12 0 Ali"_s,
                              u"04.02 18:30:15 1750 350.75 - 18 150 Toplamlar"_s}));
        QCOMPARE(listing_->recordSet().recordCount(), 4);
    }

    void firstRowIsCurrent()
    {
        enterThreeDays();
        // The old totals row is the first of the period, and current when it goes.
        journal_->enter(u"2025-02-03T00:00:00"_s, 1.0, 1.0, 1.0, 1.0, mill::totalsName);
        int moves = 0;
        listing_->onReposition([&] { ++moves; });
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(listing_->recordSet().position(), 0);
        QCOMPARE(listing_->recordSet().field(1).number(), 250.0);
        QCOMPARE(moves, 3); // opened, to the last, to the first: nothing after that
    }

    void bothDaysCountWhole()
    {
        journal_->enter(u"2025-02-02T23:59:59"_s, 1.0, 1.0, 1.0, 1.0, u"before"_s);
        journal_->enter(u"2025-02-03T00:00:00"_s, 2.0, 1.0, 1.0, 1.0, u"first"_s);
        journal_->enter(u"2025-02-04T23:59:59"_s, 4.0, 1.0, 1.0, 1.0, u"last"_s);
        journal_->enter(u"2025-02-05T00:00:00"_s, 8.0, 1.0, 1.0, 1.0, u"behind"_s);
        journal_->enter(u"2025-03-02T12:00:00"_s, 16.0, 1.0, 1.0, 1.0, u"swapped"_s);
        journal_->enter(QString(), 32.0, 1.0, 1.0, 1.0, u"no time"_s);
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(journal_->totals().size(), 1);
        QCOMPARE(journal_->totals()[0][1].number(), 6.0);
    }

    void oldTotalsRowIsReplaced_data()
    {
        addCases<QString>("moment", {{"none", QString()},
                                     {"inside the period, among the pressings", u"2025-02-03T09:00:00"_s},
                                     {"before all pressings", u"2025-02-03T00:00:00"_s},
                                     {"behind all pressings", u"2025-02-04T23:00:00"_s},
                                     {"outside the period", u"2024-06-01T12:00:00"_s}});
    }

    void oldTotalsRowIsReplaced()
    {
        QFETCH(QString, moment);
        enterThreeDays();
        if (!moment.isEmpty()) journal_->enter(moment, 7.0, 7.0, 7.0, 7.0, mill::totalsName);
        const auto pressings = journal_->pressings();
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(journal_->totals().size(), 1);
        QCOMPARE(shown(journal_->totals()[0]), u"04.02 18:30:15 1750 350.75 - 18 150 Toplamlar"_s);
        QCOMPARE(listed().size(), 4);
        QCOMPARE(listed().last(), shown(journal_->totals()[0]));
        QVERIFY(journal_->pressings() == pressings);
    }

    void periodWithoutPressingsHasNoTotals_data()
    {
        addCases<QString>("moment", {{"no old totals", QString()},
                                     {"old totals inside the period", u"2025-02-03T09:00:00"_s},
                                     {"old totals elsewhere", u"2023-02-03T09:00:00"_s}});
    }

    void periodWithoutPressingsHasNoTotals()
    {
        QFETCH(QString, moment);
        journal_->enter(u"2025-02-02T10:00:00"_s, 9999.0, 999.0, 99.0, 99.0, u"Ali"_s);
        if (!moment.isEmpty()) journal_->enter(moment, 7.0, 7.0, 7.0, 7.0, mill::totalsName);
        QCOMPARE(run(), u"done"_s);
        QVERIFY(journal_->totals().empty());
        QCOMPARE(journal_->pressings().size(), 1);
        QCOMPARE(listed(), QStringList());
        QCOMPARE(listing_->recordSet().recordCount(), 0);
    }

    void reportOfACustomerReplacesTheReportOfAnother()
    {
        enterThreeDays();
        QCOMPARE(run(u"Ali"_s), u"done"_s);
        QCOMPARE(listed(),
                 (QStringList{u"03.02 08:00:00 250 50 12 6 0 Ali"_s, u"04.02 09:00:00 500 100.5 12 12 0 Ali"_s,
                              u"04.02 18:30:15 750 150.5 - 18 0 Toplamlar"_s}));
        QCOMPARE(run(u"Ayşe"_s), u"done"_s);
        QCOMPARE(listed(), (QStringList{u"03.02 10:00:00 1000 200.25 12 0 150 Ayşe"_s,
                                        u"04.02 18:30:15 1000 200.25 - 0 150 Toplamlar"_s}));
        QCOMPARE(journal_->totals().size(), 1);
        // A name is the whole name, in the letters that were typed.
        for (const QString& name : {u"ali"_s, u"Al"_s, u"Ali "_s}) {
            QCOMPARE(run(name), u"done"_s);
            QVERIFY(journal_->totals().empty());
            QCOMPARE(listed(), QStringList());
        }
    }

    void runTwiceGivesTheSameTwice()
    {
        enterThreeDays();
        QCOMPARE(run(), u"done"_s);
        const QStringList first = listed();
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(listed(), first);
        QCOMPARE(journal_->totals().size(), 1);
        QCOMPARE(journal_->pressings().size(), 4);
    }

    void emptyNumbersGiveEmptySums()
    {
        journal_->enter(u"2025-02-03T08:00:00"_s, 100.0, {}, {}, -5.0, u"Ali"_s);
        journal_->enter(u"2025-02-03T09:00:00"_s, {}, {}, 4.0, 5.0, u"Ali"_s);
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(listed().last(), u"04.02 18:30:15 100 - - 4 0 Toplamlar"_s);
        QVERIFY(journal_->totals()[0][2].isNull());
    }

    void pressingWithoutANameIsListedButNotSummed()
    {
        journal_->enter(u"2025-02-03T08:00:00"_s, 100.0, 10.0, 1.0, 0.0, u"Ali"_s);
        const store::RowKey nameless = journal_->enter(u"2025-02-03T09:00:00"_s, 50.0, 5.0, 1.0, 0.0, QString());
        journal_->rows[nameless][6] = {};
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(listed().size(), 3);
        QCOMPARE(journal_->totals()[0][1].number(), 100.0);
    }

    void reservedNameAsAFilterListsNothing()
    {
        enterThreeDays();
        QCOMPARE(run(), u"done"_s);
        QCOMPARE(run(mill::totalsName), u"done"_s);
        QCOMPARE(listed(), QStringList());
        QVERIFY(journal_->totals().empty());
        QCOMPARE(journal_->pressings().size(), 4);
    }

    void apostropheFailsAndChangesNothing()
    {
        enterThreeDays();
        QCOMPARE(run(), u"done"_s);
        const QStringList before = listed();
        const auto rows = journal_->rows;
        journal_->log.clear();
        for (const QString& name : {u"O'N"_s, u"'"_s, u"x' Or '1'='1"_s}) QCOMPARE(run(name), u"E3075"_s);
        QVERIFY(journal_->rows == rows);
        QCOMPARE(listed(), before);
        QCOMPARE(journal_->log, QStringList());
    }

    void everyFailureLeavesOneTotalsRowAndTheListingTrue()
    {
        // Each call of the engine fails once, the commit included: a full disk, a lock, the power.
        for (int calls = 0;; ++calls) {
            init();
            enterThreeDays();
            const QString old = u"03.02 12:00:00 7 7 12 7 7 Toplamlar"_s;
            journal_->enter(u"2025-02-03T12:00:00"_s, 7.0, 7.0, 7.0, 7.0, mill::totalsName);
            const auto before = journal_->rows;
            listing_->setRecordSource(mill::wholeJournal);
            listing_->refresh();
            journal_->callsBeforeFailure = calls;
            const QString outcome = run();
            if (outcome == u"done"_s) {
                QVERIFY(calls > 5);
                return;
            }
            QCOMPARE(outcome, u"E3000"_s);
            QVERIFY(journal_->rows == before);
            QVERIFY(listed().contains(old));
            QCOMPARE(listed().size(), calls == 0 ? 5 : 4); // the first call opens the listing: the view before stays
        }
    }

private:
    QString run(const QString& name = {})
    {
        return outcomeOf([&] { RaporYenile({period_, true, true, name, name}, {*listing_, *journal_, now_, {}}); });
    }

    /// The listing as the grid has it, one text for each row: "time Zeytin Yağ Yuzde HakTut Nakit name".

    QStringList listed()
    {
        QStringList all;
        store::RecordSet& rows = listing_->recordSet();
        for (int row = 0; row < rows.size(); ++row) {
            PaperJournal::Row values;
            for (int i = 0; i < 7; ++i) values[static_cast<std::size_t>(i)] = rows.fieldAt(row, i);
            all += shown(values);
        }
        return all;
    }

    static QString shown(const PaperJournal::Row& row)
    {
        return row[0].moment().toString(u"dd.MM hh:mm:ss"_s) +
               u" %1 %2 %3 %4 %5 %6"_s.arg(number(row[1]), number(row[2]), number(row[3]), number(row[4]),
                                           number(row[5]), row[6].text());
    }

    void enterThreeDays()
    {
        journal_->enter(u"2025-02-04T09:00:00"_s, 500.0, 100.5, 12.0, 0.0, u"Ali"_s);
        journal_->enter(u"2025-02-03T10:00:00"_s, 1000.0, 200.25, 0.0, 150.0, u"Ayşe"_s);
        journal_->enter(u"2025-02-02T10:00:00"_s, 9999.0, 999.0, 99.0, 99.0, u"Ali"_s);
        journal_->enter(u"2025-02-03T08:00:00"_s, 250.0, 50.0, 6.0, 0.0, u"Ali"_s);
    }

    std::unique_ptr<PaperJournal> journal_;
    std::unique_ptr<store::DataSource> listing_;
    Period period_;
    QDateTime now_;
};

QTEST_GUILESS_MAIN(PeriodReport)
#include "period_report.moc"
