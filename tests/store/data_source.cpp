#include "tests/jet/protection.h"
#include "tests/store/mill_file.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"

#include "mill/queries.h"

#include <QTest>
#include <optional>

using store::FieldValue;
namespace errors = base::errors;

namespace {

void fill(MillFile& file, const QStringList& names)
{
    for (const QString& name : names) addRow(file, "Cari", {FieldValue(name)});
}

} // namespace

class TestDataSource : public QObject {
    Q_OBJECT

    std::optional<MillFile> file;

private slots:
    void init() { file.emplace(); }
    void cleanup() { file.reset(); }

    void refreshingAnnouncesTheFirstRow()
    {
        fill(*file, {"Ali", "Can"});
        OpenSource cari(*file, "Cari");
        QStringList announced;
        cari.onReposition([&] { announced << cari.recordSet().field(0).text(); });
        cari.refresh();
        QCOMPARE(announced, QStringList{"Ali"});
        cari.recordSet().moveLast();
        cari.recordSet().moveFirst();
        cari.recordSet().moveNext();
        QCOMPARE(announced, (QStringList{"Ali", "Can", "Ali", "Can"}));
    }

    void refreshingAnEmptySetAnnouncesNone()
    {
        OpenSource cari(*file, "Cari");
        int announced = 0, refilled = 0;
        cari.onReposition([&] { ++announced; });
        cari.onRefresh([&] { ++refilled; });
        cari.refresh();
        QCOMPARE(announced, 0);
        QCOMPARE(refilled, 1);
    }

    void listsRefillBeforeTheFirstRowIsAnnounced()
    {
        fill(*file, {"Ali"});
        OpenSource cari(*file, "Cari");
        QStringList heard;
        cari.onReposition([&] { heard << "row"; });
        cari.onRefresh([&] { heard << QString::number(cari.recordSet().size()); });
        cari.refresh();
        QCOMPARE(heard, (QStringList{"1", "row"}));
    }

    void exactCountVisitsTheLastRowAndReturns()
    {
        fill(*file, {"Ali", "Can", "Veli"});
        OpenSource cari(*file, "Cari");
        QStringList announced;
        cari.onReposition([&] { announced << cari.recordSet().field(0).text(); });
        store::VeriYenile(cari, {});
        QCOMPARE(announced, (QStringList{"Ali", "Veli", "Ali"}));
        QCOMPARE(cari.recordSet().recordCount(), 3);
        QCOMPARE(cari.recordSet().position(), 0);
    }

    void exactCountOfAnEmptySetMovesNowhere()
    {
        OpenSource cari(*file, "Cari");
        int announced = 0;
        cari.onReposition([&] { ++announced; });
        store::VeriYenile(cari, [] {});
        QCOMPARE(announced, 0);
        QCOMPARE(cari.recordSet().recordCount(), 0);
    }

    void pendingEventsRunBeforeTheQuery()
    {
        fill(*file, {"Ali"});
        OpenSource cari(*file, "Cari");
        store::VeriYenile(cari, [&] {
            fill(*file, {"Can"});
            cari.setRecordSource(mill::customerSearch("C"));
        });
        QCOMPARE(texts(cari.recordSet(), 0), QStringList{"Can"});
    }

    void savingANameAnnouncesOneRow()
    {
        fill(*file, {"Ali", "Can"});
        OpenSource cari(*file, "Cari");
        QStringList announced;
        cari.onReposition([&] { announced << cari.recordSet().field(0).text(); });
        cari.recordSet().addNew();
        cari.recordSet().setField(0, FieldValue(u"Bora"_s));
        cari.recordSet().update();
        cari.recordSet().edit();
        cari.recordSet().update();
        QCOMPARE(announced, QStringList{});
        cari.recordSet().findFirst(mill::customerCriteria("Bora"));
        QCOMPARE(announced, QStringList{"Bora"});
    }

    void deletingAnnouncesNothing()
    {
        fill(*file, {"Ali", "Can"});
        OpenSource cari(*file, "Cari");
        int announced = 0;
        cari.onReposition([&] { ++announced; });
        cari.recordSet().erase();
        QCOMPARE(announced, 0);
    }

    void findingWithoutAMatchAnnouncesNothing()
    {
        fill(*file, {"Ali"});
        OpenSource cari(*file, "Cari");
        int announced = 0;
        cari.onReposition([&] { ++announced; });
        cari.recordSet().findFirst(mill::customerCriteria("Veli"));
        cari.recordSet().moveNext(); // behind the last row: nothing is current
        QCOMPARE(announced, 0);
    }

    void aFailedRefreshKeepsTheOldSet_data()
    {
        addCases<QString>("recordSource",
                          {{"an apostrophe", "Select * From Cari where Unvan Like 'O'N*' Order By Unvan Asc"},
                           {"an unclosed set", mill::customerSearch("[A")},
                           {"an aggregate", "Select Sum(Nakit) From Cari"},
                           {"no such table", "Yok"},
                           {"an action", "DELETE FROM Cari"},
                           {"nothing", ""}});
    }

    void aFailedRefreshKeepsTheOldSet()
    {
        QFETCH(QString, recordSource);
        fill(*file, {"Ali", "Can"});
        OpenSource cari(*file, "Cari");
        cari.recordSet().moveLast();
        int heard = 0;
        cari.onReposition([&] { ++heard; });
        cari.onRefresh([&] { ++heard; });
        cari.setRecordSource(recordSource);
        QVERIFY(errorOf([&] { cari.refresh(); }) != 0);
        QCOMPARE(heard, 0);
        QCOMPARE(cari.recordSet().field(0).text(), "Can");
        QCOMPARE(cari.recordSet().recordCount(), 2);
        QCOMPARE(texts(cari.recordSet(), 0), (QStringList{"Ali", "Can"}));
    }

    void noRecordSetBeforeTheFirstRefresh()
    {
        store::DataSource source(file->databases);
        QVERIFY(!source.hasRecordSet());
        QCOMPARE(errorOf([&] { source.recordSet(); }), errors::notSet);
    }

    void aMissingFileIsReportedWhenItIsOpened()
    {
        store::DataSource source(file->databases);
        source.setDatabaseName("Baska.mdb");
        source.setRecordSource("Cari");
        QCOMPARE(errorOf([&] { source.refresh(); }), errors::databaseMissing);
        QCOMPARE(errorOf([&] { source.refresh(); }), errors::databaseMissing);
        // Once it is there, the same source finds it.
        file->disk.content("Baska.mdb") = file->disk.content("Yag.mdb");
        source.refresh();
        QVERIFY(source.hasRecordSet());
    }

    void aProtectedFileIsRefusedWithTheWayOut()
    {
        MillFile file;
        protection::setPassword(file.disk.content("Yag.mdb"));
        store::DataSource source(file.databases);
        source.setDatabaseName(MillFile::path);
        source.setRecordSource("Cari");
        QCOMPARE(errorOf([&] { source.refresh(); }), errors::databaseFault);
        try {
            source.refresh();
        } catch (const base::RuntimeError& error) {
            QVERIFY(error.text().contains("presva-mdb compact"));
        }
    }

    void everySourceSeesTheSameFile()
    {
        OpenSource one(*file, "Cari"), other(*file, "Cari");
        QVERIFY(&one.database() == &other.database());
        QVERIFY(file->databases.connect(store::connectionText(MillFile::path)).get() == &one.database());
        one.recordSet().addNew();
        one.recordSet().setField(0, FieldValue(u"Ali"_s));
        one.recordSet().update();
        other.refresh();
        QCOMPARE(texts(other.recordSet(), 0), QStringList{"Ali"});
    }

    void aHandlerMayRefreshTheSourceItHearsFrom()
    {
        fill(*file, {"Ali", "Can", "Veli"});
        OpenSource cari(*file, "Cari");
        bool nested = false;
        cari.onReposition([&] {
            if (nested || cari.recordSet().field(0).text() != "Veli") return;
            nested = true;
            cari.setRecordSource(mill::customerSearch("C"));
            store::VeriYenile(cari, {});
        });
        store::VeriYenile(cari, {});
        QVERIFY(nested);
        QCOMPARE(texts(cari.recordSet(), 0), QStringList{"Can"});
        QCOMPARE(cari.recordSet().field(0).text(), "Can");
    }
};

QTEST_APPLESS_MAIN(TestDataSource)
#include "data_source.moc"
