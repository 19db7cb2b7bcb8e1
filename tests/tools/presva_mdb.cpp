#include <cstddef> // moc stumbles over <compare> without it

#include "platform/system_disk.h"
#include "store/jet/care/check.h"
#include "store/jet/database/database.h"
#include "store/jet/table/table_state.h"
#include "tests/jet/samples.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Outcome {
    int code = -1;
    QString out;
    QString err;
};

} // namespace

/// The program itself, from outside.
class PresvaMdbTest : public QObject {
    Q_OBJECT
private slots:
    void init();

    void everyCommandHasHelp_data();
    void everyCommandHasHelp();
    void misuseIsOneLineAndExitCodeOne_data();
    void misuseIsOneLineAndExitCodeOne();
    void createdDatabaseHasBothTablesInOrder_data();
    void createdDatabaseHasBothTablesInOrder();
    void createNeverReplacesAFile();
    void exportAndImportAreOpposites();
    void importTakesColumnsByName();
    void importLoadsAllRowsOrNone_data();
    void importLoadsAllRowsOrNone();
    void importReadsStandardInput();
    void sqlPrintsRowsSumsAndCounts();
    void checkNamesTheFault();
    void backupIsACopyThatOpens();
    void compactDropsTheRoomOfDeletedRows();
    void compactRefusesToLoseAQuery();
    void aDamagedFileIsSavedAsFarAsItCanBeRead();
    void restoreListsTheCopiesAndPutsOneBack();
    void restoreLeavesARunningProgramAlone();
    void dropIndexTakesTheIndexAway();
    void fileInUseIsRefused();
    void sampleDatabasesAreSoundAndExportWhole();
    void sampleDatabasesSurviveCompacting();

private:
    Outcome run(const QStringList& arguments, const QByteArray& input = {})
    {
        QProcess process;
        process.start(PRESVA_MDB, arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(60000)) return {};
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    QString path(const QString& name) const { return folder_->filePath(name); }
    void write(const QString& name, const QByteArray& content)
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    QString created(const QString& name = "Yag.mdb", const QString& collation = "turkish")
    {
        const Outcome outcome = run({"create", path(name), "--collation", collation});
        if (outcome.code != 0) qWarning("%s", qPrintable(outcome.err));
        return path(name);
    }
    void verifySound(const QString& file)
    {
        const Outcome outcome = run({"check", file});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.out + outcome.err));
    }

    std::unique_ptr<QTemporaryDir> folder_;
};

void PresvaMdbTest::init() { folder_ = std::make_unique<QTemporaryDir>(); }

void PresvaMdbTest::everyCommandHasHelp_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("all") << QStringList{"--help"};
    for (const char* name :
         {"create", "info", "check", "export", "import", "sql", "compact", "rescue", "backup", "restore", "drop-index"})
        QTest::newRow(name) << QStringList{name, "--help"};
}

void PresvaMdbTest::everyCommandHasHelp()
{
    QFETCH(QStringList, arguments);
    const Outcome outcome = run(arguments);
    QCOMPARE(outcome.code, 0);
    QVERIFY(outcome.out.contains("Kullanım:"));
    QVERIFY(outcome.out.contains("presva-mdb " + (arguments.size() > 1 ? arguments[0] : QString())));
    QCOMPARE(outcome.err, QString());
}

void PresvaMdbTest::misuseIsOneLineAndExitCodeOne_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList{};
    QTest::newRow("unknown command") << QStringList{"aç"};
    QTest::newRow("no file") << QStringList{"info"};
    QTest::newRow("too many") << QStringList{"info", "a", "b"};
    QTest::newRow("missing file") << QStringList{"info", "/yok/Yag.mdb"};
    QTest::newRow("missing file to check") << QStringList{"check", "yok.mdb"};
    QTest::newRow("folder") << QStringList{"check", "/"};
    QTest::newRow("no database") << QStringList{"info", PRESVA_MDB};
    QTest::newRow("unknown collation") << QStringList{"create", "x.mdb", "--collation", "greek"};
    QTest::newRow("half an option") << QStringList{"create", "x.mdb", "--collation"};
}

void PresvaMdbTest::misuseIsOneLineAndExitCodeOne()
{
    QFETCH(QStringList, arguments);
    const Outcome outcome = run(arguments);
    QCOMPARE(outcome.code, 1);
    QCOMPARE(outcome.out, QString());
    QCOMPARE(outcome.err.count('\n'), 1);
    QVERIFY(outcome.err.startsWith("presva-mdb: "));
    QVERIFY(outcome.err.size() > 30);
}

void PresvaMdbTest::createdDatabaseHasBothTablesInOrder_data()
{
    QTest::addColumn<QString>("collation");
    QTest::newRow("Turkish") << "turkish";
    QTest::newRow("General") << "general";
}

void PresvaMdbTest::createdDatabaseHasBothTablesInOrder()
{
    QFETCH(QString, collation);
    const QString file = created("Yag.mdb", collation);
    verifySound(file);
    const auto database = jet::Database::open(platform::systemDisk(), file.toStdString(), jet::Pager::Mode::readOnly);
    QCOMPARE(database->collation(), collation == "turkish" ? jet::turkish : jet::general);
    QCOMPARE(database->tableNames(), (std::vector<std::u16string>{u"Cari", u"Hareket"}));
    const auto columns = [&](const char16_t* table) {
        QStringList names;
        for (const jet::Column& column : database->table(table).columns())
            names << QString::fromStdU16String(column.name) + ':' + QString::number(static_cast<int>(column.type)) +
                         (column.type == jet::ColumnType::text ? '(' + QString::number(column.length / 2) + ')' : "");
        return names.join(' ');
    };
    QCOMPARE(columns(u"Cari"), "Unvan:10(100) Yuzde:7 Kap:10(50) Nakit:7");
    QCOMPARE(columns(u"Hareket"), "Tarih:8 Zeytin:7 Yağ:7 Yuzde:7 HakTut:7 Nakit:7 CariHar:10(100)");
    QCOMPARE(database->table(u"Cari").indexes().size(), std::size_t{0});
    const auto& indexes = database->table(u"Hareket").indexes();
    QCOMPARE(indexes.size(), std::size_t{1});
    QCOMPARE(indexes[0].columns.at(0).column, std::size_t{0});
    QVERIFY(!indexes[0].unique);
    QCOMPARE(QDir(folder_->path()).entryList(QDir::Files | QDir::Hidden), QStringList{"Yag.mdb"});
}

void PresvaMdbTest::createNeverReplacesAFile()
{
    write("Yag.mdb", "mine");
    QCOMPARE(run({"create", path("Yag.mdb")}).code, 1);
    QFile file(path("Yag.mdb"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("mine"));
}

void PresvaMdbTest::exportAndImportAreOpposites()
{
    const QByteArray rows = "Tarih,Zeytin,Yağ,Yuzde,HakTut,Nakit,CariHar\r\n"
                            "2025-11-20T14:05:00,1250,262.5,12.5,32.8125,0,Şükrü Ağaoğlu\r\n"
                            "2025-11-21T00:00:00,0.1,,,,,\"Ali, \"\"Deli\"\" Veli\"\r\n"
                            ",,,,,,\"\"\r\n"
                            "1899-12-29T06:00:00,-5,1e+300,0.3333333333333333,0,0,  İlk \r\n";
    write("rows.csv", rows);
    const QString file = created();
    const Outcome loaded = run({"import", file, "Hareket", path("rows.csv")});
    QVERIFY2(loaded.code == 0, qPrintable(loaded.err));
    QCOMPARE(loaded.out, "4 satır yüklendi.\n");
    QCOMPARE(loaded.err, QString());
    verifySound(file);
    const Outcome exported = run({"export", file, "hareket"});
    QCOMPARE(exported.code, 0);
    QCOMPARE(exported.out.toUtf8(), rows);
}

void PresvaMdbTest::importTakesColumnsByName()
{
    write("rows.csv", "Nakit,unvan\n70,Ali\n");
    const QString file = created();
    QCOMPARE(run({"import", file, "Cari", path("rows.csv")}).code, 0);
    QCOMPARE(run({"export", file, "Cari"}).out, "Unvan,Yuzde,Kap,Nakit\r\nAli,,,70\r\n");
}

void PresvaMdbTest::importLoadsAllRowsOrNone_data()
{
    QTest::addColumn<QByteArray>("csv");
    QTest::addColumn<QString>("named");
    QTest::newRow("wrong number") << QByteArray("Unvan,Nakit\nAli,1\nVeli,bir\n") << "3. satırı: 'Nakit'";
    QTest::newRow("too long") << QByteArray("Unvan\nAli\n" + QByteArray(101, 'x') + "\n") << "3. satırı";
    QTest::newRow("field missing") << QByteArray("Unvan,Nakit\nAli,1\nVeli\n") << "3. satırı";
    QTest::newRow("open quote") << QByteArray("Unvan\nAli\n\"Veli\n") << "3. satır";
    QTest::newRow("unknown column") << QByteArray("Unvan,Adres\nAli,Edremit\n") << "'Adres'";
    QTest::newRow("column twice") << QByteArray("Unvan,UNVAN\nAli,Ali\n") << "'UNVAN'";
    QTest::newRow("empty file") << QByteArray() << "boş";
}

void PresvaMdbTest::importLoadsAllRowsOrNone()
{
    QFETCH(QByteArray, csv);
    QFETCH(QString, named);
    write("rows.csv", csv);
    const QString file = created();
    const Outcome outcome = run({"import", file, "Cari", path("rows.csv")});
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.err.contains(named), qPrintable(outcome.err));
    QCOMPARE(outcome.err.count('\n'), 1);
    QCOMPARE(run({"export", file, "Cari"}).out, "Unvan,Yuzde,Kap,Nakit\r\n");
    verifySound(file);
}

void PresvaMdbTest::importReadsStandardInput()
{
    const QString file = created();
    QCOMPARE(run({"import", file, "Cari", "-"}, "Unvan\nAli\nVeli\n").out, "2 satır yüklendi.\n");
}

void PresvaMdbTest::sqlPrintsRowsSumsAndCounts()
{
    const QString file = created();
    QCOMPARE(run({"import", file, "Cari", "-"}, "Unvan,Nakit\nVeli,20\nAli,10.5\nÇetin,\n").code, 0);
    const Outcome rows = run({"sql", file, "Select Nakit, Unvan From Cari Order By Unvan Asc"});
    QVERIFY2(rows.code == 0, qPrintable(rows.err));
    QCOMPARE(rows.out, "Nakit,Unvan\r\n10.5,Ali\r\n,Çetin\r\n20,Veli\r\n");
    const Outcome sum = run({"sql", file, "Select Sum(Nakit) From Cari"});
    QCOMPARE(sum.out.section("\r\n", 1, 1), "30.5");
    QCOMPARE(run({"sql", file, "  delete From Cari Where Unvan='Ali'"}).out, "1 satır silindi.\n");
    QCOMPARE(run({"sql", file, "Select Unvan From Cari"}).out, "Unvan\r\nVeli\r\nÇetin\r\n");
    const Outcome wrong = run({"sql", file, "Select From"});
    QCOMPARE(wrong.code, 1);
    QCOMPARE(wrong.err.count('\n'), 1);
}

void PresvaMdbTest::checkNamesTheFault()
{
    const QString file = created();
    QCOMPARE(run({"import", file, "Hareket", "-"}, "Tarih\n2025-11-20\n2025-11-21\n").code, 0);
    QFile raw(file);
    QVERIFY(raw.open(QIODevice::ReadWrite));
    QByteArray bytes = raw.readAll();
    // The entry of 2025-11-21 (its key) in the leaf of the index on Tarih.
    const qsizetype at = bytes.indexOf(QByteArray::fromHex("7fc0e673c000000000"));
    QVERIFY(at > 0);
    bytes[at + 5] = 1;
    raw.seek(0);
    raw.write(bytes);
    raw.close();
    const Outcome outcome = run({"check", file});
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.out.contains("HATA: ") && outcome.out.contains("Tarih"), qPrintable(outcome.out));
    QVERIFY(outcome.out.contains("Dosya bozuk: 1 hata."));
}

void PresvaMdbTest::backupIsACopyThatOpens()
{
    const QString file = created();
    QCOMPARE(run({"import", file, "Cari", "-"}, "Unvan\nAli\n").code, 0);
    const Outcome outcome = run({"backup", file, path("copy.mdb")});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    verifySound(path("copy.mdb"));
    QCOMPARE(run({"export", path("copy.mdb"), "Cari"}).out, run({"export", file, "Cari"}).out);
    QCOMPARE(run({"backup", file, path("copy.mdb")}).code, 1);
    QCOMPARE(run({"backup", file, file}).code, 1);
    QCOMPARE(QDir(folder_->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name),
             (QStringList{"Yag.mdb", "copy.mdb"}));
}

void PresvaMdbTest::compactDropsTheRoomOfDeletedRows()
{
    const QString file = created();
    QByteArray rows = "Tarih,CariHar\n";
    for (int i = 0; i < 5000; ++i)
        rows +=
            "2025-11-" + QByteArray::number(1 + i % 30).rightJustified(2, '0') + ",Ali " + QByteArray::number(i) + "\n";
    QCOMPARE(run({"import", file, "Hareket", "-"}, rows).code, 0);
    QCOMPARE(run({"import", file, "Cari", "-"}, "Unvan\nAli\nVeli\n").code, 0);
    QCOMPARE(run({"sql", file, "DELETE FROM Hareket Where CariHar Like 'Ali 1*'"}).code, 0);
    const Outcome outcome = run({"compact", file, path("small.mdb")});
    QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
    verifySound(path("small.mdb"));
    QVERIFY(QFileInfo(path("small.mdb")).size() < QFileInfo(file).size());
    for (const char* table : {"Cari", "Hareket"}) {
        auto before = run({"export", file, table}).out.split("\r\n");
        auto after = run({"export", path("small.mdb"), table}).out.split("\r\n");
        before.sort();
        after.sort();
        QCOMPARE(after, before);
    }
    QCOMPARE(run({"compact", file, path("small.mdb")}).code, 1);
}

void PresvaMdbTest::compactRefusesToLoseAQuery()
{
    const QString file = created();
    {
        // A query as the catalogue lists it.
        const auto database = jet::Database::open(platform::systemDisk(), file.toStdString());
        const jet::Table& listed = database->table(u"MSysObjects");
        jet::Table::State objects(database->pager(), listed.name(), listed.definitionPage(), {});
        objects.systemObjects = &listed;
        const auto column = [&](const char16_t* name) { return *listed.columnNamed(name); };
        objects.insert(std::vector<jet::Assignment>{{column(u"Id"), std::int32_t{INT32_MIN}},
                                                    {column(u"ParentId"), std::int32_t{0x0F000001}},
                                                    {column(u"Name"), std::u16string(u"Sorgu1")},
                                                    {column(u"Type"), std::int16_t{5}}});
    }
    const Outcome outcome = run({"compact", file, path("small.mdb")});
    QCOMPARE(outcome.code, 1);
    QVERIFY2(outcome.err.contains("Sorgu1"), qPrintable(outcome.err));
    QVERIFY(!QFileInfo::exists(path("small.mdb")));
}

void PresvaMdbTest::aDamagedFileIsSavedAsFarAsItCanBeRead()
{
    const QString file = created();
    QByteArray rows = "CariHar\r\n";
    for (int i = 0; i < 500; ++i) rows += "Ali " + QByteArray::number(i) + "\r\n";
    write("satir.csv", rows);
    QCOMPARE(run({"import", file, "Hareket", path("satir.csv")}).code, 0);
    QCOMPARE(run({"rescue", file, path("saglam.mdb")}).code, 0);
    verifySound(path("saglam.mdb"));

    // The last page of rows is gone.
    QFile damaged(file);
    QVERIFY(damaged.open(QIODevice::ReadWrite));
    QByteArray bytes = damaged.readAll();
    qsizetype page = bytes.size() / 4096 - 1;
    while (bytes[page * 4096] != 1) --page;
    const int lost = bytes[page * 4096 + 12]; // its slots
    damaged.seek(page * 4096);
    damaged.write(QByteArray(4096, '\0'));
    damaged.close();

    const QString saved = QString("Hareket %1 satır").arg(500 - lost);
    const Outcome checked = run({"check", file});
    QCOMPARE(checked.code, 1);
    QVERIFY2(checked.out.contains("HATA") && checked.out.contains("Kurtarılabilecek: ") && checked.out.contains(saved),
             qPrintable(checked.out));
    for (const char* command : {"rescue", "compact"}) {
        const QString to = path(QString(command) + ".mdb");
        const Outcome done = run({command, file, to});
        QVERIFY2(done.code == 2, qPrintable(done.out + done.err));
        QVERIFY2(done.out.contains("Kayıp: ") && done.out.contains(saved), qPrintable(done.out));
        verifySound(to);
        QCOMPARE(run({"sql", to, "Select * From Hareket"}).out.count("Ali"), 500 - lost);
    }
    QCOMPARE(run({"rescue", file, path("rescue.mdb")}).code, 1); // it is there already
}

void PresvaMdbTest::restoreListsTheCopiesAndPutsOneBack()
{
    const QString file = created();
    const QString directory = folder_->path();
    QCOMPARE(run({"restore", directory}).code, 1);
    write("bir.csv", "Tarih,CariHar\r\n2025-11-20T14:05:00,Ali\r\n");
    QCOMPARE(run({"import", file, "Hareket", path("bir.csv")}).code, 0);
    QVERIFY(QDir().mkdir(path("Yedek")));
    QCOMPARE(run({"backup", file, path("Yedek/Yag-2025-11-20.mdb")}).code, 0);
    QCOMPARE(run({"import", file, "Hareket", path("bir.csv")}).code, 0);

    const Outcome listed = run({"restore", directory});
    QCOMPARE(listed.code, 0);
    const QStringList lines = listed.out.split('\n');
    QCOMPARE(lines[1].simplified(), "Yag-2025-11-20.mdb 20.11.2025 0 1 20.11.2025 14:05");

    const Outcome done = run({"restore", directory, "2025-11-20"});
    QVERIFY2(done.code == 0, qPrintable(done.err));
    QVERIFY(run({"sql", file, "Select * From Hareket"}).out.count("Ali") == 1);
    const QStringList kept = QDir(directory).entryList({"Yag-onceki-*.mdb"});
    QCOMPARE(kept.size(), 1);
    QVERIFY(done.out.contains(kept[0]));
    QVERIFY(run({"sql", path(kept[0]), "Select * From Hareket"}).out.count("Ali") == 2);
}

void PresvaMdbTest::restoreLeavesARunningProgramAlone()
{
    const QString file = created();
    QVERIFY(QDir().mkdir(path("Yedek")));
    QCOMPARE(run({"backup", file, path("Yedek/Yag-2025-11-20.mdb")}).code, 0);
    const auto running = jet::Database::open(platform::systemDisk(), file.toStdString());
    const Outcome refused = run({"restore", folder_->path(), "2025-11-20"});
    QCOMPARE(refused.code, 1);
    QVERIFY2(refused.err.contains("kullanılıyor"), qPrintable(refused.err));
}

void PresvaMdbTest::dropIndexTakesTheIndexAway()
{
    const QString file = created();
    QVERIFY(run({"info", file}).out.contains("dizin Tarih (Tarih)"));
    QCOMPARE(run({"drop-index", file, "Hareket", "Yok"}).code, 1);
    QCOMPARE(run({"drop-index", file, "Hareket", "Tarih"}).code, 0);
    QVERIFY(!run({"info", file}).out.contains("dizin"));
    verifySound(file);
}

void PresvaMdbTest::fileInUseIsRefused()
{
    const QString file = created();
    const auto held = jet::Database::open(platform::systemDisk(), file.toStdString());
    QCOMPARE(run({"import", file, "Cari", "-"}, "Unvan\nAli\n").code, 1);
    QCOMPARE(run({"export", file, "Cari"}).code, 0);
}

void PresvaMdbTest::sampleDatabasesAreSoundAndExportWhole()
{
    if (!samples::present()) QSKIP(samples::absent);
    for (const QString& file : samples::databases()) {
        verifySound(file);
        const auto database =
            jet::Database::open(platform::systemDisk(), file.toStdString(), jet::Pager::Mode::readOnly);
        for (const std::u16string& name : database->tableNames()) {
            const Outcome outcome = run({"export", file, QString::fromStdU16String(name)});
            QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        }
    }
}

void PresvaMdbTest::sampleDatabasesSurviveCompacting()
{
    if (!samples::present()) QSKIP(samples::absent);
    for (const char* name : {"data/yag-a.mdb", "data/yag-b.mdb", "data/yag-tr.mdb"}) {
        const QString small = path(QString(name).section('/', 1));
        const Outcome outcome = run({"compact", samples::database(name), small});
        QVERIFY2(outcome.code == 0, qPrintable(outcome.err));
        verifySound(small);
        const Outcome rows = run({"export", small, "Hareket"});
        auto after = rows.out.split("\r\n");
        auto before = run({"export", samples::database(name), "Hareket"}).out.split("\r\n");
        after.sort();
        before.sort();
        QCOMPARE(after, before);
    }
}

QTEST_GUILESS_MAIN(PresvaMdbTest)
#include "presva_mdb.moc"
