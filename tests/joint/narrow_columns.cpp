#include "base/error.h"
#include "files/memory_disk.h"
#include "mill/queries.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include "store/joint/shared_databases.h"
#include "store/postgres/shared_tables.h"
#include "tests/joint/rows_in.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

std::string pressing(const std::string& customer, const std::string& olives)
{
    return R"({"tarih": 46000.5, "zeytin": )" + olives +
           R"(, "yag": 0.1235, "yuzde": 12.5, "haktut": 1e-7, "nakit": null, "carihar": ")" + customer + R"("})";
}

} // namespace

/// A file of another maker, in a register: its columns hold less than those of the others.
class NarrowColumns : public QObject {
    Q_OBJECT

    static inline const QString path = u"Yag.mdb"_s;
    std::optional<files::MemoryDisk> disk;
    std::optional<store::JetDatabases> files;
    std::optional<shared::SharedDatabases> databases;
    std::shared_ptr<shared::SharedEngine> engine;

    shared::Taken take(const std::string& before, const std::string& after) const
    {
        const auto number = engine->place().number + 1;
        return engine->take(
            std::vector<postgres::HistoryLine>{{number, std::to_string(number), {}, "hareket", before, after}});
    }
    QStringList pressings() const { return rowsIn(*engine, mill::journalTable); }

private slots:
    void init()
    {
        using enum jet::ColumnType;
        constexpr jet::DateTime made{45000};
        const auto name = [](std::u16string_view text) { return std::u16string(text); };
        disk.emplace();
        jet::Database::create(*disk, "Yag.mdb", jet::turkish, made);
        {
            const auto database = jet::Database::open(*disk, "Yag.mdb");
            std::vector<jet::NewColumn> customers, journal;
            for (const auto field : mill::Cari::fields) customers.push_back({name(field), text, 50});
            for (const auto field : mill::Hareket::fields) journal.push_back({name(field), singleFloat});
            journal[mill::Hareket::Tarih].type = dateTime;
            journal[mill::Hareket::CariHar] = {name(mill::Hareket::fields[mill::Hareket::CariHar]), text, 50};
            database->createTable(name(mill::Cari::table), customers, {}, made);
            database->createTable(name(mill::Hareket::table), journal, {}, made);
            jet::Transaction change(database->pager());
            postgres::putPlace(*database, {"Değirmen", "1", 0, {}}, made);
            change.commit();
        }
        files.emplace(*disk);
        databases.emplace(*files);
        engine = std::dynamic_pointer_cast<shared::SharedEngine>(databases->open(path));
        QVERIFY(engine);
    }
    void cleanup()
    {
        engine.reset();
        databases.reset();
        files.reset();
        disk.reset();
    }

    void aPressingThatTheyRoundedGoesAgain()
    {
        take({}, pressing("Ali", "12345.678"));
        take({}, pressing("Ali", "12345.5"));
        QCOMPARE(pressings().size(), 2);
        const shared::Taken taken = take(pressing("Ali", "12345.678"), {});
        QCOMPARE(taken.notFound, QStringList());
        QCOMPARE(pressings().size(), 1);
        QVERIFY2(pressings().first().contains(u"|12345.5|"_s), qPrintable(pressings().first()));
    }

    void oneThatIsNotThereIsTold()
    {
        take({}, pressing("Ali", "1"));
        for (const char* whose : {"Ali", "Veli"}) {
            const shared::Taken taken = take(pressing(whose, "2"), {});
            QCOMPARE(taken.notFound.size(), 1);
            QVERIFY2(taken.notFound.first().contains(QString::fromUtf8(whose) + u", 09.12.2025 12:00:00, 2 kg"_s),
                     qPrintable(taken.notFound.first()));
        }
        QCOMPARE(pressings().size(), 1);
    }

    void oneThatThisCounterDeletedTooIsNot()
    {
        take({}, pressing("Ali", "1"));
        engine->execute(mill::deletePressingsOf(u"Ali"_s));
        QCOMPARE(take(pressing("Ali", "1"), {}).notFound, QStringList());
        QCOMPARE(pressings(), QStringList());
    }

    void whoseLineTheyDoNotTakeIsSaid()
    {
        const std::string longName(60, 'A');
        try {
            take({}, pressing(longName, "1"));
            QFAIL("a name of 60 letters went into 50");
        } catch (const base::RuntimeError& error) {
            QVERIFY2(error.text().startsWith(QString::fromStdString(longName) + u": "_s), qPrintable(error.text()));
        }
        QCOMPARE(engine->place().number, 0);
    }
};

QTEST_GUILESS_MAIN(NarrowColumns)
#include "narrow_columns.moc"
