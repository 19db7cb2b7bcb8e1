#include "random_rows.h"
#include "samples.h"

#include "files/memory_disk.h"
#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "store/jet/database/header.h"
#include "store/jet/format/doors.h"

#include <QTemporaryDir>
#include <QtTest>

#include <functional>

Q_DECLARE_METATYPE(jet::Fault)

namespace {

using Content = files::MemoryDisk::Content;

/// A database with one table of a few hundred rows.
Content sound()
{
    files::MemoryDisk disk;
    jet::Database::create(disk, "a.mdb", jet::turkish, rows::created);
    const auto database = jet::Database::open(disk, "a.mdb");
    jet::Table& table = database->createTable(u"Cari", {{.name = u"Unvan", .type = jet::ColumnType::text, .size = 50}},
                                              {}, rows::created);
    jet::Transaction change(database->pager());
    for (int i = 0; i < 300; ++i) table.insert({{0, u"Ayşe Öztürk"}});
    change.commit();
    return disk.content("a.mdb");
}

/// Changes the readable bytes of the header.
void inHeader(Content& content, const std::function<void(jet::PageBytes)>& change)
{
    const jet::PageBytes page(content.data(), jet::pageSize);
    jet::maskHeader(page);
    change(page);
    jet::maskHeader(page);
}

void text(Content& content, std::size_t at, std::string_view text)
{
    std::copy(text.begin(), text.end(), content.begin() + std::ptrdiff_t(at));
}

} // namespace

class Opening : public QObject {
    Q_OBJECT
private slots:
    void whatIsNotADatabaseIsToldApart_data();
    void whatIsNotADatabaseIsToldApart();
    void pathsAreToldApart();
    void aSecondProgramFindsTheFileInUse();
    void everyRefusalHasItsOwnSentence();
    void aHeaderWithoutAReadableTimeStillOpens();
    void oneDamagedTableLeavesTheOthersReadable();
    void namesAreFoundInAnyCase();
    void anUnknownTableIsNamed();
    void filesOfOtherVersionsOfAccessAreRefused_data();
    void filesOfOtherVersionsOfAccessAreRefused();

private:
    std::map<jet::Fault, QString> sentences_;
};

void Opening::whatIsNotADatabaseIsToldApart_data()
{
    QTest::addColumn<std::function<void(Content&)>>("spoil");
    QTest::addColumn<jet::Fault>("fault");
    const auto row = [](const char* name, jet::Fault fault, std::function<void(Content&)> spoil) {
        QTest::newRow(name) << spoil << fault;
    };
    using jet::Fault;
    row("a text file", Fault::notADatabase, [](Content& c) { c.assign(70000, std::uint8_t{'a'}); });
    row("a page full of zeros", Fault::notADatabase,
        [](Content& c) { std::fill(c.begin(), c.end(), std::uint8_t{0}); });
    row("Access 97", Fault::oldFormat, [](Content& c) { c[0x14] = 0; });
    row("Access 2010 by its version", Fault::newFormat, [](Content& c) { c[0x14] = 3; });
    row("Access 2007 by its signature", Fault::newFormat, [](Content& c) { text(c, 4, "Standard ACE DB"); });
    row("Money by its signature", Fault::notADatabase, [](Content& c) { text(c, 4, "MSISAM Database"); });
    row("a password", Fault::password, [](Content& c) { inHeader(c, [](jet::PageBytes page) { page[0x42] ^= 'x'; }); });
    row("encoded pages", Fault::encoded, [](Content& c) { inHeader(c, [](jet::PageBytes page) { page[0x3E] = 1; }); });
    row("cut inside a page", Fault::cutShort, [](Content& c) { c.resize(c.size() - 100); });
    row("cut before its last page", Fault::cutShort, [](Content& c) { c.resize(c.size() - jet::pageSize); });
    row("cut before the pages of its table", Fault::cutShort, [](Content& c) { c.resize(16 * jet::pageSize); });
    row("cut before the pages of the system", Fault::cutShort, [](Content& c) { c.resize(5 * jet::pageSize); });
    row("a header that leads nowhere", Fault::damaged,
        [](Content& c) { inHeader(c, [](jet::PageBytes page) { page[0x22] = 0x70; }); });
    row("a catalogue that is none", Fault::damaged, [](Content& c) { c[2 * jet::pageSize] = 1; });
    row("a catalogue without its columns", Fault::damaged, [](Content& c) { c[2 * jet::pageSize + 45] = 16; });
}

void Opening::whatIsNotADatabaseIsToldApart()
{
    QFETCH(std::function<void(Content&)>, spoil);
    QFETCH(jet::Fault, fault);
    files::MemoryDisk disk;
    disk.content("Yağ.mdb") = sound();
    spoil(disk.content("Yağ.mdb"));
    try {
        jet::Database::open(disk, "Yağ.mdb");
        QFAIL("was opened");
    } catch (const jet::Error& error) {
        QVERIFY2(error.fault() == fault, error.what());
        QVERIFY2(QString::fromUtf8(error.what()).contains("Yağ.mdb"), error.what());
        sentences_.emplace(fault, QString::fromUtf8(error.what()));
    }
}

void Opening::pathsAreToldApart()
{
    const QTemporaryDir folder;
    const auto faultOf = [&](const QString& file) {
        try {
            jet::Database::open(platform::systemDisk(), file.toStdString());
        } catch (const jet::Error& error) {
            sentences_.emplace(error.fault(), QString::fromUtf8(error.what()));
            if (!QString::fromUtf8(error.what()).contains(file)) qWarning("no path in: %s", error.what());
            return error.fault();
        }
        return jet::Fault::unsupported;
    };
    QCOMPARE(faultOf(folder.filePath("yok.mdb")), jet::Fault::notFound);
    QCOMPARE(faultOf(folder.path()), jet::Fault::isFolder);
}

void Opening::aSecondProgramFindsTheFileInUse()
{
    const QTemporaryDir folder;
    const std::string file = folder.filePath("Yag.mdb").toStdString();
    jet::Database::create(platform::systemDisk(), file, jet::turkish, rows::created);
    const auto first = jet::Database::open(platform::systemDisk(), file);
    try {
        jet::Database::open(platform::systemDisk(), file);
        QFAIL("two programs may write");
    } catch (const jet::Error& error) {
        QCOMPARE(error.fault(), jet::Fault::inUse);
        sentences_.emplace(error.fault(), QString::fromUtf8(error.what()));
    }
}

void Opening::everyRefusalHasItsOwnSentence()
{
    QStringList different;
    for (const auto& [fault, sentence] : sentences_) {
        QVERIFY2(!different.contains(sentence), qPrintable(sentence));
        QVERIFY2(sentence.endsWith('.'), qPrintable(sentence));
        different << sentence;
    }
    QVERIFY(different.size() >= 8);
}

void Opening::aHeaderWithoutAReadableTimeStillOpens()
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    inHeader(disk.content("a.mdb"),
             [](jet::PageBytes page) { std::fill_n(page.begin() + 0x72, 8, std::uint8_t{0xFF}); });
    QVERIFY(jet::Database::open(disk, "a.mdb")->hasTable(u"Cari"));
}

void Opening::oneDamagedTableLeavesTheOthersReadable()
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    jet::PageNo damaged = 0;
    {
        const auto database = jet::Database::open(disk, "a.mdb");
        damaged = database->createTable(u"Bozuk", {{.name = u"A", .type = jet::ColumnType::byte}}, {}, rows::created)
                      .definitionPage();
    }
    disk.content("a.mdb")[damaged * jet::pageSize + 8] = 0xFF;
    const auto database = jet::Database::open(disk, "a.mdb");
    QCOMPARE(database->tableNames().size(), std::size_t(2));
    int count = 0;
    database->table(u"Cari").forEachRow([&](jet::RowId, const jet::RowView&) { return ++count > 0; });
    QCOMPARE(count, 300);
    QVERIFY_EXCEPTION_THROWN(database->table(u"Bozuk"), jet::Error);
}

void Opening::namesAreFoundInAnyCase()
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    const auto database = jet::Database::open(disk, "a.mdb");
    QVERIFY(database->hasTable(u"CARI"));
    QVERIFY(database->hasTable(u"CARİ"));
    QVERIFY(!database->hasTable(u"Car"));
    QVERIFY(!database->hasTable(u"MSysObjects"));
    QCOMPARE(&database->table(u"cari"), &database->table(u"Cari"));
    QVERIFY(database->table(u"Cari").columnNamed(u"UNVAN") == std::optional<std::size_t>(0));
}

void Opening::anUnknownTableIsNamed()
{
    files::MemoryDisk disk;
    disk.content("a.mdb") = sound();
    const auto database = jet::Database::open(disk, "a.mdb");
    try {
        database->table(u"Müşteri");
        QFAIL("found it");
    } catch (const jet::Error& error) {
        QCOMPARE(error.fault(), jet::Fault::noSuchTable);
        QVERIFY(QString::fromUtf8(error.what()).contains("\"Müşteri\""));
    }
}

void Opening::filesOfOtherVersionsOfAccessAreRefused_data()
{
    if (!samples::present()) QSKIP(samples::absent);
    QTest::addColumn<QString>("file");
    QTest::addColumn<jet::Fault>("fault");
    QTest::newRow("Access 97") << samples::database("mdb/access97.mdb") << jet::Fault::oldFormat;
    QTest::newRow("Access 2007") << samples::database("mdb/access2007.accdb") << jet::Fault::newFormat;
}

void Opening::filesOfOtherVersionsOfAccessAreRefused()
{
    QFETCH(QString, file);
    QFETCH(jet::Fault, fault);
    try {
        jet::Database::open(platform::systemDisk(), file.toStdString(), jet::Pager::Mode::readOnly);
        QFAIL("was opened");
    } catch (const jet::Error& error) {
        QVERIFY2(error.fault() == fault, error.what());
    }
}

QTEST_GUILESS_MAIN(Opening)
#include "opening.moc"
