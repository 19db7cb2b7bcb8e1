#include "reports/grid_layout.h"

#include "base/error.h"
#include "platform/system_disk.h"
#include "tests/support/columns.h"
#include "tests/support/outcome.h"
#include "tests/support/qt_files.h"
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <random>

#ifdef _WIN32
#include "tools/scenario_host.h"
#include <thread>
#include <windows.h>
#endif

using namespace reports;

namespace {

/// Every letter as wide as a blank: 50 twips.
double fifty(const QString& text) { return 50.0 * static_cast<double>(text.size()); }

using Kind = GridField::Kind;
const std::vector<GridField> journalFields = {
    {u"Tarih"_s, Kind::date},    {u"Zeytin"_s, Kind::number}, {u"Yağ"_s, Kind::number},  {u"Yuzde"_s, Kind::number},
    {u"HakTut"_s, Kind::number}, {u"Nakit"_s, Kind::number},  {u"CariHar"_s, Kind::text}};
const std::vector<GridField> customerFields = {
    {u"Unvan"_s, Kind::text}, {u"Yuzde"_s, Kind::number}, {u"Kap"_s, Kind::text}, {u"Nakit"_s, Kind::number}};

GridColumns journal() { return defaultColumns(journalFields); }
GridColumns customers() { return defaultColumns(customerFields); }

QStringList headings(const GridColumns& columns)
{
    QStringList all;
    for (const GridColumn& column : columns) all += column.caption;
    return all;
}

QStringList formats(const GridColumns& columns)
{
    QStringList all;
    for (const GridColumn& column : columns) all += column.numberFormat;
    return all;
}

QString widths(const GridColumns& columns)
{
    QStringList all;
    for (const GridColumn& column : columns)
        all += (column.visible ? QString() : u"-"_s) + QString::number(static_cast<double>(column.width));
    return all.join(u' ');
}

/// A link of the file system. Windows' own are another thing: there the system below makes it.
bool linkTo(const QString& target, const QString& name)
{
#ifdef _WIN32
    QByteArray question = "run 10 ";
    for (const QString& word : {u"--"_s, u"ln"_s, u"-s"_s, target, name}) question += ' ' + word.toUtf8().toHex();
    return scenario::askHost(question) == "0"; // and nothing said
#else
    return QFile::link(target, name);
#endif
}

} // namespace

/// Headings, number formats and kept widths of the grid's columns.
class GridLayouts : public QObject {
    Q_OBJECT

private slots:
    void boundColumnsShowFieldNamesAtDefaultWidths()
    {
        const GridColumns columns = journal();
        QCOMPARE(columns.size(), journalFields.size());
        for (std::size_t i = 0; i < columns.size(); ++i) {
            QCOMPARE(columns[i].caption, journalFields[i].name);
            QCOMPARE(columns[i].field, journalFields[i].name);
            QVERIFY(columns[i].visible);
            QVERIFY(columns[i].width > 0);
            QCOMPARE(columns[i].alignment, journalFields[i].kind == Kind::text ? Alignment::left : Alignment::right);
            QVERIFY(columns[i].numberFormat.isEmpty());
        }
    }

    void journalsDefaultColumnsFitAnA4Page()
    {
        float sum = 0;
        for (const GridColumn& column : journal()) sum += column.width;
        // 210 mm in whole points, less a quarter of an inch on both sides.
        QVERIFY2(sum <= 595 * 20 - 2 * 360, qPrintable(QString::number(static_cast<double>(sum))));
    }

    void headingsAreCentredByBlanks_data()
    {
        addColumns<float, Alignment, bool, int, int>("width", "alignment", "visible", "before", "behind");
        QTest::newRow("left") << 2000.0F << Alignment::left << true << 10 << 0;
        QTest::newRow("right") << 2000.0F << Alignment::right << true << 0 << 10;
        QTest::newRow("less than one blank") << 1090.0F << Alignment::left << true << 0 << 0;
        QTest::newRow("exactly one blank") << 1100.0F << Alignment::left << true << 1 << 0;
        QTest::newRow("narrower than the text") << 800.0F << Alignment::left << true << 0 << 0;
        QTest::newRow("narrower, right") << 800.0F << Alignment::right << true << 0 << 0;
        QTest::newRow("hidden") << 2000.0F << Alignment::left << false << 0 << 0;
        QTest::newRow("cut, not rounded") << 2049.0F << Alignment::left << true << 10 << 0;
        QTest::newRow("no width") << 0.0F << Alignment::left << true << 0 << 0;
        QTest::newRow("the widest") << widestColumn << Alignment::right << true << 0 << 2447;
    }

    void headingsAreCentredByBlanks()
    {
        QFETCH(float, width);
        QFETCH(Alignment, alignment);
        QFETCH(bool, visible);
        QFETCH(int, before);
        QFETCH(int, behind);
        const QString text = u"Twenty letters wide!"_s; // 1000 twips
        const QString expected = QString(before, u' ') + text + QString(behind, u' ');
        for (const QString& caption : {text, u"   "_s + text, text + u"  "_s, u" "_s + text + u" "_s})
            QCOMPARE(centredHeading({caption, {}, width, visible, alignment, {}}, fifty), expected);
        // A font without a width must not divide by nothing.
        QCOMPARE(centredHeading({text, {}, width, visible, alignment, {}}, [](const QString&) { return 0.0; }), text);
    }

    void centringTwiceIsCentringOnce()
    {
        for (const Alignment alignment : {Alignment::left, Alignment::right}) {
            GridColumn column{u"Cari"_s, {}, 2000, true, alignment, {}};
            column.caption = centredHeading(column, fifty);
            QCOMPARE(column.caption.size(), 4 + 18);
            QCOMPARE(centredHeading(column, fifty), column.caption);
        }
    }

    void viewsGiveHeadingsAndFormats_data()
    {
        addColumns<QString, bool, QStringList, QStringList>("view", "ofJournal", "expectedHeadings", "expectedFormats");
        const QStringList journalHeadings{u"Tarih"_s,    u"Giren Zeytin"_s, u"Çıkan Yağ"_s, u"Yuzde"_s,
                                          u"Hak Ediş"_s, u"Nakit"_s,        u"Cari"_s};
        const QString standard = u"Standard"_s;
        const QStringList journalFormats{{}, standard, standard, {}, standard, standard, {}};
        for (const QString& view : {u"1"_s, QString(), u"2"_s, u"00"_s})
            QTest::newRow(qPrintable(u"journal by view \"%1\""_s.arg(view)))
                << view << true << journalHeadings << journalFormats;
        QTest::newRow("customers") << u"0"_s << false << QStringList{u"Ünvan"_s, u"Yüzde"_s, u"Kap"_s, u"Nakit"_s}
                                   << QStringList{{}, {}, {}, {}};
    }

    void viewsGiveHeadingsAndFormats()
    {
        QFETCH(QString, view);
        QFETCH(bool, ofJournal);
        GridColumns columns = ofJournal ? journal() : customers();
        const QString before = widths(columns);
        IzgaraDuzenle(columns, view);
        QTEST(headings(columns), "expectedHeadings");
        QTEST(formats(columns), "expectedFormats");
        QCOMPARE(widths(columns), before);
        QCOMPARE(columns[0].alignment, Alignment::left);
        QCOMPARE(columns[1].alignment, Alignment::right);
    }

    void viewWithTooFewColumnsIsASubscriptError()
    {
        QCOMPARE(errorOf([&] { IzgaraDuzenle(columns, u"1"_s); }), 9);
        QCOMPARE(headings(columns), (QStringList{u"Unvan"_s, u"Giren Zeytin"_s, u"Çıkan Yağ"_s, u"Nakit"_s}));
    }

    void keptWidthsAreWrittenByteForByte()
    {
        columns[0].width = 1440;
        columns[1].width = 1739.9055F;
        columns[2].width = 1200.5F;
        columns[2].visible = false;
        columns[3].width = 0.5F;
        IzgaraKaydet(columns, 0, u"0"_s, platform::systemDisk(), directory(), fifty);
        QCOMPARE(read(u"Grid0.txt"_s), "1440,#TRUE#\r\n1739.906,#TRUE#\r\n1200.5,#FALSE#\r\n.5,#TRUE#\r\n"_ba);
        QCOMPARE(QDir(directory()).entryList(QDir::Files | QDir::Hidden), QStringList{u"Grid0.txt"_s});
    }

    void savingReplacesTheWholeFile()
    {
        write(u"Grid1.txt"_s, QByteArray(5000, 'x'));
        for (GridColumn& column : columns) column.width = 900;
        IzgaraKaydet(columns, 3, u"1"_s, platform::systemDisk(), directory(), fifty);
        QCOMPARE(read(u"Grid1.txt"_s), "900,#TRUE#\r\n900,#TRUE#\r\n900,#TRUE#\r\n900,#TRUE#\r\n"_ba);
    }

    void savingLeavesOneFileWhateverItsLetterCase()
    {
        write(u"GRID0.TXT"_s, "1,#TRUE#\r\n");
        write(u"Grid1.txt"_s, "2,#TRUE#\r\n");
        columns.resize(1);
        columns[0].width = 3000;
        IzgaraKaydet(columns, 0, u"0"_s, platform::systemDisk(), directory(), fifty);
        QStringList names{u"Grid0.txt"_s, u"Grid1.txt"_s};
        // Where these are one name, a file that is replaced may keep its own letters.
        if (!tellsLetterCasesApart(directory()) && QDir(directory()).entryList(QDir::Files).contains(u"GRID0.TXT"_s))
            names[0] = u"GRID0.TXT"_s;
        QCOMPARE(QDir(directory()).entryList(QDir::Files, QDir::Name), names);
        QCOMPARE(read(u"Grid0.txt"_s), "3000,#TRUE#\r\n"_ba);
        QCOMPARE(read(u"Grid1.txt"_s), "2,#TRUE#\r\n"_ba);
    }

    void savingCentresTheDraggedColumnOnly()
    {
        columns[0].width = 450; // "Unvan": 250, so two blanks before it
        columns[1].width = 450;
        IzgaraKaydet(columns, 0, u"0"_s, platform::systemDisk(), directory(), fifty);
        QCOMPARE(headings(columns), (QStringList{u"  Unvan"_s, u"Yuzde"_s, u"Kap"_s, u"Nakit"_s}));
    }

    void savingAColumnThatIsNotThereIsASubscriptError_data()
    {
        addCases<int>("column", {{"before the first", -1}, {"behind the last", 4}});
    }

    void savingAColumnThatIsNotThereIsASubscriptError()
    {
        QFETCH(int, column);
        QCOMPARE(errorOf([&] { IzgaraKaydet(columns, column, u"0"_s, platform::systemDisk(), directory(), fifty); }),
                 9);
        QCOMPARE(read(u"Grid0.txt"_s), "(no file)"_ba);
    }

    void unwritableDirectoryIsAnErrorAndKeepsTheOldFile()
    {
        // Permissions do not stop every user; a folder in the file's place does.
        QVERIFY(QDir(directory()).mkdir(u"Grid0.txt"_s));
        const auto save = [&](const QString& view, const QString& where) {
            return errorOf([&] { IzgaraKaydet(columns, 0, view, platform::systemDisk(), where, fifty); });
        };
        QCOMPARE(save(u"0"_s, directory()), 75);
        QVERIFY(QFileInfo(directory_->filePath(u"Grid0.txt"_s)).isDir());
        QCOMPARE(save(u"1"_s, directory_->filePath(u"nowhere"_s)), 75);
    }

#ifdef _WIN32
    void savingWaitsForAProgramThatHoldsTheFileForAMoment()
    {
        write(u"Grid0.txt"_s, "1,#TRUE#\r\n");
        const std::wstring name = directory_->filePath(u"Grid0.txt"_s).toStdWString();
        const HANDLE scanner = ::CreateFileW(name.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        QVERIFY(scanner != INVALID_HANDLE_VALUE);
        std::thread letsGo([scanner] {
            ::Sleep(300);
            ::CloseHandle(scanner);
        });
        columns.resize(1);
        columns[0].width = 3000;
        const int error =
            errorOf([&] { IzgaraKaydet(columns, 0, u"0"_s, platform::systemDisk(), directory(), fifty); });
        letsGo.join();
        QCOMPARE(error, 0);
        QCOMPARE(read(u"Grid0.txt"_s), "3000,#TRUE#\r\n"_ba);
    }
#endif

    void keptWidthsAreApplied_data()
    {
        // applied: a minus is a hidden column
        addColumns<QByteArray, QString>("file", "applied");
        QTest::newRow("whole") << "100,#TRUE#\r\n200,#TRUE#\r\n300,#TRUE#\r\n400,#TRUE#\r\n"_ba << u"100 200 300 400"_s;
        QTest::newRow("short file") << "100,#TRUE#\r\n"_ba << u"100 11 12 13"_s;
        QTest::newRow("long file") << "1,#TRUE#\r\n2,#TRUE#\r\n3,#TRUE#\r\n4,#TRUE#\r\n5,#TRUE#\r\nx\r\n"_ba
                                   << u"1 2 3 4"_s;
        QTest::newRow("empty file") << ""_ba << u"10 11 12 13"_s;
        QTest::newRow("hidden keeps its width") << "1200,#FALSE#\r\n"_ba << u"-10 11 12 13"_s;
        QTest::newRow("fraction") << "1200.5,#TRUE#\r\n"_ba << u"1200.5 11 12 13"_s;
        QTest::newRow("no whole digit") << ".5,#TRUE#\r\n0.5,#TRUE#\r\n"_ba << u"0.5 0.5 12 13"_s;
        QTest::newRow("exponent") << "1E+03,#TRUE#\r\n"_ba << u"1000 11 12 13"_s;
        QTest::newRow("blank before an item") << " 1440, #TRUE#\r\n"_ba << u"1440 11 12 13"_s;
        QTest::newRow("small letters") << "1440,#true#\r\n"_ba << u"1440 11 12 13"_s;
        QTest::newRow("no end of the last line") << "100,#TRUE#\r\n200,#TRUE#"_ba << u"100 200 12 13"_s;
        QTest::newRow("line ends of other systems") << "100,#TRUE#\n200,#TRUE#\r300,#TRUE#\n"_ba << u"100 200 300 13"_s;
        QTest::newRow("damaged number") << "abc,#TRUE#\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("number only") << "1200\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("empty line") << "\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("decimal comma by hand") << "1440,5,#TRUE#\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("number for a flag") << "1440,1\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("negative width") << "-5,#TRUE#\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("wider than a grid")
            << "1E+30,#TRUE#\r\n300000,#TRUE#\r\n245745,#TRUE#\r\n"_ba << u"10 11 245745 13"_s;
        QTest::newRow("beyond a double") << "1E+999,#TRUE#\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("picture in its place")
            << QByteArray::fromHex("89504E470D0A1A0A0000000D49484452") << u"10 11 12 13"_s;
        QTest::newRow("nothing but zeros") << QByteArray(3000, '\0') << u"10 11 12 13"_s;
        QTest::newRow("end-of-file byte") << "100,#TRUE#\r\n\x1A"
                                             "200,#TRUE#\r\n"_ba
                                          << u"100 11 12 13"_s;
        QTest::newRow("letters of another code page") << "\xFD\xFE,#TRUE#\r\n200,#TRUE#\r\n"_ba << u"10 200 12 13"_s;
        QTest::newRow("very long line") << QByteArray(3'000'000, '9') + ",#TRUE#\r\n" << u"10 11 12 13"_s;
    }

    void keptWidthsAreApplied()
    {
        QFETCH(QByteArray, file);
        write(u"Grid0.txt"_s, file);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            columns[i].width = 10.0F + static_cast<float>(i);
            columns[i].visible = i % 2 == 0; // every column that the file does not hide comes back
        }
        IzgaraYukle(columns, u"0"_s, directory(), fifty);
        QTEST(widths(columns), "applied");
    }

    void anyDamageLeavesEveryColumnWithAWidth()
    {
        // A sound file with bytes changed, taken away and put in, and cut off somewhere.
        const QByteArray sound = "1440,#TRUE#\r\n1739.906,#TRUE#\r\n1200.5,#FALSE#\r\n.5,#TRUE#\r\n";
        std::mt19937 random(5);
        int applied = 0;
        for (int round = 0; round < 3000; ++round) {
            QByteArray file = sound;
            for (auto changes = 1 + random() % 6; changes > 0; --changes) {
                const auto at = static_cast<qsizetype>(random() % static_cast<unsigned>(file.size() + 1));
                static constexpr char pieces[] = "0123456789.,-+eE#TRUEFALSE\"\r\n \x1a\0\xfd";
                const char byte = random() % 4 == 0 ? static_cast<char>(random()) : pieces[random() % sizeof pieces];
                switch (random() % 4) {
                case 0:
                    file.insert(at, byte);
                    break;
                case 1:
                    file.remove(at, 1);
                    break;
                case 2:
                    file.replace(at, 1, QByteArray(1, byte));
                    break;
                default:
                    if (random() % 8 == 0) file.truncate(at);
                }
            }
            write(u"Grid0.txt"_s, file);
            GridColumns columns = customers();
            const GridColumns before = columns;
            IzgaraYukle(columns, u"0"_s, directory(), fifty);
            QCOMPARE(columns.size(), before.size());
            for (std::size_t i = 0; i < columns.size(); ++i) {
                QVERIFY2(columns[i].width >= 0 && columns[i].width <= widestColumn, file.toHex(' ').constData());
                QCOMPARE(columns[i].field, before[i].field);
                applied += columns[i].width != before[i].width;
            }
        }
        QVERIFY(applied > 1000);
    }

    void missingFileChangesHeadingsOnly()
    {
        columns[3].visible = false;
        const QString before = widths(columns);
        IzgaraYukle(columns, u"0"_s, directory(), fifty);
        QCOMPARE(widths(columns), before);
        QCOMPARE(headings(columns), (QStringList{u"Ünvan"_s, u"Yüzde"_s, u"Kap"_s, u"Nakit"_s}));
    }

    void fileThatCannotBeReadCountsAsMissing()
    {
        // Opens like any file, and then every read of its start fails, for every user.
        QVERIFY(linkTo(u"/proc/self/mem"_s, directory_->filePath(u"Grid0.txt"_s)));
        columns[3].visible = false;
        const QString before = widths(columns);
        IzgaraYukle(columns, u"0"_s, directory(), fifty);
        QCOMPARE(widths(columns), before);

        QVERIFY(QDir(directory()).mkdir(u"Grid1.txt"_s));
        IzgaraYukle(columns, u"1"_s, directory(), fifty);
        QCOMPARE(widths(columns), before);
    }

    void viewsHaveFilesOfTheirOwn()
    {
        write(u"Grid0.txt"_s, "100,#TRUE#\r\n");
        write(u"Grid1.txt"_s, "200,#TRUE#\r\n");
        write(u"Grid.txt"_s, "300,#TRUE#\r\n");
        const auto firstWidth = [&](const QString& view) {
            GridColumns columns = journal();
            IzgaraYukle(columns, view, directory(), fifty);
            return columns[0].width;
        };
        QCOMPARE(firstWidth(u"0"_s), 100.0F);
        QCOMPARE(firstWidth(u"1"_s), 200.0F);
        QCOMPARE(firstWidth(QString()), 300.0F); // no view has been chosen yet
    }

    void whatIsSavedIsLoaded()
    {
        GridColumns dragged = journal();
        IzgaraDuzenle(dragged, u"1"_s);
        const float odd[] = {1440, 1739.9055F, 15, 0, 2000, 733.3333F, 245745};
        for (std::size_t i = 0; i < dragged.size(); ++i) dragged[i].width = odd[i];
        dragged[3].visible = false;
        IzgaraKaydet(dragged, 1, u"1"_s, platform::systemDisk(), directory(), fifty);
        const QByteArray first = read(u"Grid1.txt"_s);

        GridColumns opened = journal();
        IzgaraYukle(opened, u"1"_s, directory(), fifty);
        QCOMPARE(opened[0].width, 1440.0F);
        QCOMPARE(opened[1].width, 1739.906F); // seven digits are kept
        QVERIFY(!opened[3].visible);
        QCOMPARE(opened[1].caption, u"Giren Zeytin"_s + QString(11, u' '));
        QCOMPARE(opened[0].caption, QString(11, u' ') + u"Tarih"_s);

        IzgaraKaydet(opened, 1, u"1"_s, platform::systemDisk(), directory(), fifty);
        QVERIFY(read(u"Grid1.txt"_s) != first); // the hidden column kept its default width
        opened = journal();
        IzgaraYukle(opened, u"1"_s, directory(), fifty);
        const QByteArray second = read(u"Grid1.txt"_s);
        IzgaraKaydet(opened, 6, u"1"_s, platform::systemDisk(), directory(), fifty);
        QCOMPARE(read(u"Grid1.txt"_s), second);
    }

    void customersViewOverTheJournalStillLoads()
    {
        // A date change in the customers' view lists the journal under the customers' headings.
        write(u"Grid0.txt"_s, "100,#TRUE#\r\n200,#TRUE#\r\n300,#TRUE#\r\n400,#TRUE#\r\n");
        GridColumns columns = journal();
        IzgaraYukle(columns, u"0"_s, directory(), fifty);
        QCOMPARE(columns[0].caption, u"Ünvan"_s);
        QCOMPARE(columns[3].width, 400.0F);
        QCOMPARE(columns[4].width, journal()[4].width);
        QCOMPARE(columns[4].caption, u"HakTut"_s);
    }

    void listingWithFewColumnsStillLoads()
    {
        write(u"Grid1.txt"_s, "100,#TRUE#\r\n200,#TRUE#\r\n300,#TRUE#\r\n");
        columns.resize(2);
        IzgaraYukle(columns, u"1"_s, directory(), fifty);
        QCOMPARE(widths(columns), u"100 200"_s);
    }

private:
    void write(const QString& name, const QByteArray& bytes) const { putFile(directory_->filePath(name), bytes); }
    QByteArray read(const QString& name) const { return contentOf(directory_->filePath(name)); }

    QString directory() const { return directory_->path(); }

    std::unique_ptr<QTemporaryDir> directory_;
    GridColumns columns; ///< the customers' own, which most cases begin with

private slots:
    void init()
    {
        directory_ = std::make_unique<QTemporaryDir>();
        columns = customers();
    }
};

QTEST_GUILESS_MAIN(GridLayouts)
#include "grid_layout.moc"
