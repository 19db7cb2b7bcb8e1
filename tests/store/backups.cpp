#include <cstddef> // moc needs it ahead of <compare>

#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/backups.h"
#include "store/copy_names.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include "tests/support/qt_files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

/// The copies that the counter makes by itself, on the real disk.
class BackupsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<store::JetDatabases> databases;
    std::shared_ptr<store::Engine> engine;
    std::unique_ptr<store::Backups> backups;
    QStringList told;
    const QDateTime noon{QDate(2025, 11, 20), QTime(12, 0)};

    QString path(const QString& name) const { return folder->filePath(name); }
    QStringList copies() const { return QDir(path("Yedek")).entryList(QDir::Files, QDir::Name); }
    void addPressing() { engine->insert(engine->open("Hareket"), {{6, store::FieldValue(u"Ali"_s)}}); }
    int pressingsIn(const QString& file)
    {
        int rows = 0;
        const auto database =
            jet::Database::open(platform::systemDisk(), path(file).toStdString(), jet::Pager::Mode::readOnly);
        database->table(u"Hareket").forEachRow([&](jet::RowId, const jet::RowView&) { return ++rows > 0; });
        return rows;
    }
    void stored(const QDateTime& now)
    {
        backups->pressingStored(*engine, now);
        backups->wait();
        QCoreApplication::processEvents();
    }

private slots:
    void init()
    {
        backups.reset();
        engine.reset();
        folder = std::make_unique<QTemporaryDir>();
        mill::createDatabase(platform::systemDisk(), path("Yag.mdb").toStdString(), jet::turkish, jet::DateTime{45981});
        databases = std::make_unique<store::JetDatabases>(platform::systemDisk());
        engine = databases->open(path("Yag.mdb"));
        backups = std::make_unique<store::Backups>(platform::systemDisk(), folder->path().toStdU16String());
        told.clear();
        backups->onFailure([this](const QString& sentence) { told << sentence; });
        addPressing();
    }

    void theFirstPressingOfADayMakesTheCopyAndTheOthersNone()
    {
        stored(noon);
        QCOMPARE(copies(), QStringList{"Yag-2025-11-20.mdb"});
        QCOMPARE(pressingsIn("Yedek/Yag-2025-11-20.mdb"), 1);
        addPressing();
        stored(noon.addSecs(3600));
        QCOMPARE(pressingsIn("Yedek/Yag-2025-11-20.mdb"), 1);
        stored(noon.addDays(1));
        QCOMPARE(copies(), (QStringList{"Yag-2025-11-20.mdb", "Yag-2025-11-21.mdb"}));
        QCOMPARE(pressingsIn("Yedek/Yag-2025-11-21.mdb"), 2);
        QVERIFY(told.isEmpty());
    }

    void aCopyThatIsThereIsNotMadeAgainByTheNextRun()
    {
        stored(noon);
        backups = std::make_unique<store::Backups>(platform::systemDisk(), folder->path().toStdU16String());
        addPressing();
        stored(noon);
        QCOMPARE(pressingsIn("Yedek/Yag-2025-11-20.mdb"), 1);
    }

    void pressingsThatAreStoredMeanwhileAreNotInTheCopy()
    {
        backups->pressingStored(*engine, noon);
        for (int i = 0; i < 50; ++i) addPressing();
        backups->wait();
        QCOMPARE(pressingsIn("Yedek/Yag-2025-11-20.mdb"), 1);
    }

    void beforeADeletionTheDaysCopyIsMadeWhereThereIsNone()
    {
        backups->beforeDeletion(*engine, noon);
        QCOMPARE(copies(), QStringList{"Yag-2025-11-20.mdb"});
    }

    void beforeADeletionACopyOfThatMomentIsMadeBesideTheDays()
    {
        stored(noon);
        addPressing();
        backups->beforeDeletion(*engine, noon);
        QCOMPARE(copies(), (QStringList{"Yag-2025-11-20-120000.mdb", "Yag-2025-11-20.mdb"}));
        QCOMPARE(pressingsIn("Yedek/Yag-2025-11-20-120000.mdb"), 2);
        backups->beforeDeletion(*engine, noon);
        QVERIFY(copies().contains("Yag-2025-11-20-120001.mdb"));
    }

    void aDeletionWaitsForTheCopyThatIsBeingMade()
    {
        backups->pressingStored(*engine, noon);
        backups->beforeDeletion(*engine, noon);
        QCOMPARE(copies(), (QStringList{"Yag-2025-11-20-120000.mdb", "Yag-2025-11-20.mdb"}));
        QVERIFY(told.isEmpty());
    }

    void onlyOldCopiesGo()
    {
        QDir().mkdir(path("Yedek"));
        const auto touch = [this](const QString& name) { putFile(path("Yedek/" + name)); };
        for (int day = 1; day <= 31; ++day) touch(u"Yag-2025-10-%1.mdb"_s.arg(day, 2, 10, QChar('0')));
        touch("Yag-eski.mdb");
        touch("Yag-2025-01-01.mdb.bak");
        touch("yedek.part");
        stored(noon);
        QCOMPARE(copies().filter("Yag-2025-10-").size(), 29);
        QVERIFY(!copies().contains("Yag-2025-10-02.mdb") && copies().contains("Yag-2025-10-03.mdb"));
        QVERIFY(copies().contains("Yag-2025-11-20.mdb") && copies().contains("Yag-eski.mdb"));
        QVERIFY(copies().contains("Yag-2025-01-01.mdb.bak"));
        QVERIFY(!copies().contains("yedek.part")); // what a power cut left of a copy
    }

    void aFailureIsToldOnceAndTriedAgainAnHourLater()
    {
        putFile(path("Yedek")); // in the way
        stored(noon);
        stored(noon.addSecs(60));
        backups->beforeDeletion(*engine, noon.addSecs(70));
        QCoreApplication::processEvents();
        QCOMPARE(told.size(), 1);
        QVERIFY2(told[0].contains("Yedek alınamadı") && told[0].contains(QDir::toNativeSeparators(path("Yedek"))),
                 qPrintable(told[0]));
        QVERIFY(QFile::remove(path("Yedek")));
        stored(noon.addSecs(1800));
        QVERIFY(copies().isEmpty());
        stored(noon.addSecs(3600));
        QCOMPARE(copies(), QStringList{"Yag-2025-11-20.mdb"});
        QCOMPARE(told.size(), 1);
    }

    void aScreenThatGoesLeavesNoHalfCopy()
    {
        {
            const auto scope = engine->change();
            const store::Listing journal = engine->open("Hareket");
            for (int i = 0; i < 20000; ++i) engine->insert(journal, {{6, store::FieldValue(u"Ali"_s)}});
            scope->commit();
        }
        backups->pressingStored(*engine, noon);
        backups->giveUp();
        engine.reset();
        QCoreApplication::processEvents();
        QVERIFY(told.isEmpty());
        for (const QString& name : copies()) QCOMPARE(pressingsIn("Yedek/" + name), 20001);
    }
};

QTEST_GUILESS_MAIN(BackupsTest)
#include "backups.moc"
