#include "app/server_line.h"
#include "tests/app/screen_fixture.h"
#include "tests/joint/shared_mill.h"
#include "tests/support/qt_files.h"
#include "tools/pdf_text.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

/// The real screen in the folder of a counter whose register is shared, with its line.
struct SharedScreen : World {
    explicit SharedScreen(const QString& place)
        : directory(place), form([this] {
              app::Surroundings all = surroundings(shared, paper, notes, &backups);
              all.directory = directory;
              return all;
          }())
    {
        form.start();
        line = app::lineToServer(form, shared);
    }
    QString directory;
    store::JetDatabases files{platform::systemDisk()};
    shared::SharedDatabases shared{files};
    store::SlipNotes notes{platform::systemDisk(), SharedMill::file(directory)};
    print::FolderTarget paper{folder.path()};
    store::Backups backups{platform::systemDisk(), directory.toStdU16String()};
    app::Form1 form;
    std::unique_ptr<app::ServerLine> line;

    void press(const QString& customer, const QString& olives)
    {
        form.run([&] { form.workAt(0); });
        form.run([&] { form.TxtLbl[0]->setCaption(customer); });
        form.run([&] { form.Label2[0]->setCaption(olives); });
        form.run([&] { form.YazCmd_Click(0); });
    }
};

} // namespace

/// A counter's window in a register that it shares.
class SharedWindow : public QObject {
    Q_OBJECT

    std::optional<SharedMill> mill;

private slots:
    void initTestCase() { app::applyTheme(*qApp); }
    void init() { mill.emplace(); }
    void cleanup() { mill.reset(); }

    void aSlipOfOneIsFoundAtTheOther()
    {
        SharedScreen one(mill->folder(1)), two(mill->folder(2));
        QTRY_VERIFY2(one.form.status->text().contains(u"Sunucu: bağlı"_s), qPrintable(one.form.status->text()));
        one.press(u"Şükrü Öz"_s, u"1000"_s);
        QElapsedTimer time;
        time.start();
        QTRY_VERIFY(two.form.status->text().contains(u"1 kayıt"_s));
        QVERIFY2(time.elapsed() < 2000, qPrintable(QString::number(time.elapsed())));
        two.form.run([&] { two.form.TxtLbl[0]->setCaption(u"Şük"_s); });
        QVERIFY(two.form.dbListe1->visible());
        QTRY_VERIFY(one.form.status->text().contains(u"Sunucu: bağlı"_s));
        QCOMPARE(mill->sql("select giren, carihar, zeytin from presva.hareket"), u"Hat 1|Şükrü Öz|1000\n"_s);
        QCOMPARE(one.messages() + two.messages(), QStringList());
    }

    void whatOthersDidComesInThoughKeysAreTouched()
    {
        SharedScreen one(mill->folder(1));
        QTRY_VERIFY2(one.form.status->text().contains(u"Sunucu: bağlı"_s), qPrintable(one.form.status->text()));
        SharedCounter other(mill->folder(2));
        QVERIFY(other.press(u"Ali"_s, 5));
        // Never a pause that lasts; how long it may take is the next one's.
        QElapsedTimer patience;
        for (patience.start(); patience.elapsed() < 30000 && !one.form.status->text().contains(u"1 kayıt"_s);) {
            one.form.run([&] { one.form.Label1_Click(5); });
            QTest::qWait(50);
        }
        QVERIFY2(one.form.status->text().contains(u"1 kayıt"_s), qPrintable(one.form.status->text()));
    }

    void whatOthersDidWaitsForAPauseButASecondAtMost()
    {
        SharedScreen one(mill->folder(1));
        one.form.run([&] {
            one.form.Label1_Click(5);
            QVERIFY(!one.form.mayTakeNews(1000000)); // never into an action
        });
        QVERIFY(!one.form.mayTakeNews(0));
        QVERIFY(!one.form.mayTakeNews(999));
        QVERIFY(one.form.mayTakeNews(1000));
        QTRY_VERIFY(one.form.mayTakeNews(0)); // the pause
    }

    void theCopyOfTheDayHoldsWhatOthersEnteredAlsoWhereNoSlipIsPrinted()
    {
        const QString folder = mill->folder(1);
        SharedScreen office(folder);
        SharedCounter other(mill->folder(2));
        QVERIFY(other.press(u"Ali"_s, 1000));
        QVERIFY(other.settled(mill->historyEnd()));
        const QString copy = folder + u"/Yedek/Yag-2025-11-20.mdb"_s;
        QTRY_VERIFY(QFile::exists(copy));
        store::JetDatabases files(platform::systemDisk());
        QCOMPARE(rowsIn(*files.open(copy), mill::journalTable).filter(u"|Ali"_s).size(), 1);
        QCOMPARE(office.messages(), QStringList());
    }

    void aStatementsSumsAreThoseOfItsRowsAlsoWhenOthersEnterMeanwhile()
    {
        SharedScreen one(mill->folder(1));
        SharedCounter other(mill->folder(2));
        QVERIFY(other.press(u"Ali"_s, 100) && other.press(u"Ali"_s, 200));
        QTRY_VERIFY(one.form.status->text().contains(u"2 kayıt"_s));
        one.form.run([&] { one.form.GünlükCmd_Click(); });
        one.form.run([&] { one.form.Option1[1]->choose(); });
        one.form.run([&] { one.form.DTPickerBas->setValue(QDate(2025, 1, 1)); });
        one.form.run([&] { one.form.DTPickerSon->setValue(QDate(2026, 12, 31)); });
        one.form.run([&] { one.form.RaporYenile(); });
        const auto sums = [&] {
            const QAbstractItemModel* grid = one.form.DBGrid1->model();
            return grid->index(grid->rowCount() - 1, mill::Hareket::Zeytin).data().toString();
        };
        QCOMPARE(sums(), u"300,00"_s);
        QVERIFY(other.press(u"Ali"_s, 400));
        QTRY_VERIFY(one.form.status->text().contains(u"kayıt"_s) &&
                    rowsIn(one.form.DataCari.database(), mill::journalTable).size() == 3);
        QCOMPARE(sums(), u"300,00"_s); // what is listed stays until it is asked for again
        one.form.run([&] { one.form.KapatCmd_Click(1); });
        QCOMPARE(sums(), u"700,00"_s);
        const QDir printed(one.folder.path());
        const QStringList pages = printed.entryList({u"*.pdf"_s}, QDir::Files);
        QCOMPARE(pages.size(), 1);
        const QString text = scenario::textOfPdf(contentOf(printed.filePath(pages[0]))).value_or(QString());
        QVERIFY2(text.contains(u"700,00"_s) && text.contains(u"400,00"_s), qPrintable(text));
        QCOMPARE(one.messages(), QStringList());
    }

    void nobodyEmptiesTheRegisterFromTheMenu()
    {
        SharedScreen one(mill->folder(1));
        one.press(u"Ali"_s, u"1000"_s);
        for (const bool all : {true, false})
            one.form.run([&] { all ? one.form.CariSil_Click() : one.form.HesapSil_Click(); });
        QCOMPARE(one.prompt.errors.size(), 2);
        QCOMPARE(rowsIn(one.form.DataCari.database(), mill::journalTable).size(), 1);
    }

    void aServerThatIsAwayIsToldAndPressingsWait()
    {
        SharedScreen one(mill->folder(1));
        QTRY_VERIFY(one.form.status->text().contains(u"Sunucu: bağlı"_s));
        SharedMill::server().kill();
        one.press(u"Ali"_s, u"1000"_s);
        one.press(u"Veli"_s, u"500"_s);
        QTRY_VERIFY2(one.form.status->text().contains(u"Sunucu: 2 sıkım bekliyor. "_s),
                     qPrintable(one.form.status->text()));
        SharedMill::server().start();
        QTRY_VERIFY_WITH_TIMEOUT(one.form.status->text().contains(u"Sunucu: bağlı"_s), 20000);
        QCOMPARE(mill->sql("select count(*) from presva.hareket"), u"2\n"_s);
        QCOMPARE(one.messages(), QStringList());
    }

    void aChangeThatIsNoPressingIsToldToWait()
    {
        SharedScreen one(mill->folder(1));
        one.press(u"Ali"_s, u"1000"_s);
        QTRY_VERIFY(one.form.status->text().contains(u"Sunucu: bağlı"_s));
        SharedMill::server().kill();
        one.shared.sharedEngine(one.form.DataCari.databaseName())->execute(mill::deletePressingsOf(u"Ali"_s));
        QTRY_VERIFY2(one.form.status->text().contains(u"Sunucu: 1 değişiklik bekliyor. "_s),
                     qPrintable(one.form.status->text()));
        SharedMill::server().start();
        QTRY_VERIFY_WITH_TIMEOUT(one.form.status->text().contains(u"Sunucu: bağlı"_s), 20000);
        QCOMPARE(mill->sql("select count(*) from presva.hareket"), u"0\n"_s);
    }

    void whatTheServerRefusesIsToldWithWhatToDo()
    {
        const QString folder = mill->folder(1);
        mill->sql("insert into presva.surum (surum) values (99)");
        SharedScreen one(folder);
        QTRY_VERIFY2(one.form.status->text().contains(
                         u"bağlantı yok. Sunucudaki tablolar bu programdan yeni (sürüm 99); programı güncelleyin"_s),
                     qPrintable(one.form.status->text()));
    }

    void whatKeepsTheLineAwayIsTold()
    {
        const QString folder = mill->emptyFolder(1);
        {
            const SharedScreen one(folder);
            QVERIFY(one.form.status->text().contains(u"bu dosya ortak deftere bağlı değil"_s));
        }
        SharedMill::join(folder);
        writeFile((folder + u"/Sunucu.ini"_s).toStdString(), "[Sunucu]\nAdres=x\n");
        {
            const SharedScreen one(folder);
            QVERIFY(one.form.status->text().contains(u"eksik ya da boş"_s));
        }
        QFile::remove(folder + u"/Sunucu.ini"_s);
        SharedScreen one(folder);
        QVERIFY(one.form.status->text().contains(u"Sunucu.ini yok; değişiklikler bekliyor"_s));
        one.press(u"Ali"_s, u"1000"_s);
        QCOMPARE(one.shared.sharedEngine(one.form.DataCari.databaseName())->waitingPressings(), 1);
    }
};

QTEST_MAIN(SharedWindow)
#include "shared_window.moc"
