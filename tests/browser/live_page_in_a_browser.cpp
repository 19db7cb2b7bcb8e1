#include "live/server.h"
#include "mill/names.h"
#include "mill/tables.h"
#include "platform/system_disk.h"
#include "store/jet/values/calendar.h"
#include "tests/browser/browser.h"

#include <QTemporaryDir>
#include <QTest>

#include <ctime>
#include <memory>

using namespace Qt::StringLiterals;

/// What a telephone sees of the season, from the code on the counter's screen on.
class LivePageInABrowser : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        mill::createDatabase(disk_, file(), jet::turkish, {});
        for (int i = 0; i < 40; ++i)
            book(5 + i % 16, 8 + i % 11, i % 3 ? u"Ayşe Yılmaz" : u"İbrahim Çelik", 300 + 37.0 * (i % 9));
        book(20, 9, u"Kaya & Oğulları <Ayvalık>", 450);
        board_ = std::make_unique<live::Board>(
            disk_, file(), [] { return moment(20, 18, 4); },
            [](const std::string& sentence) { qWarning("%s", sentence.c_str()); });
        server_ = std::make_unique<live::Server>(
            live::Server::Place{"127.0.0.1", 0},
            live::certificateFor("127.0.0.1", folder_.path().toStdString(), std::time(nullptr)), access_,
            [this] { return board_->shown(); });
        browser_ = std::make_unique<Browser>();
        browser_->trustAnyCertificate();
        browser_->resize(390, 844);
    }

    void cleanupTestCase()
    {
        browser_.reset();
        server_.reset();
        board_.reset();
    }

    void aStrangerSeesNothing()
    {
        browser_->openAddress(address());
        QVERIFY(text().contains(u"Bu telefon tanınmıyor"_s));
        // A code that is read while the page is open leads to no other page.
        browser_->valueOf(u"location.hash = 'AAAAAAAAAAAAAAAAAAAAAAAA'"_s);
        QTRY_VERIFY(text().contains(u"kullanılmış ya da süresi geçmiş"_s));
        QVERIFY(!text().contains(u"Ayşe"_s));
    }

    void theCodeOpensThePageOnce()
    {
        const QString invitation = QString::fromStdString(access_.invitation());
        browser_->openAddress(u"about:blank"_s);
        browser_->openAddress(address() + u'#' + invitation);
        browser_->awaitNextPage();
        QVERIFY(text().contains(u"Zeytin sezonu 2025–2026"_s));
        QVERIFY(text().contains(u"Bugün, 20.11.2025"_s));
        QVERIFY(text().contains(u"Kaya & Oğulları <Ayvalık>"_s));
        QCOMPARE(browser_->valueOf(u"location.href"_s).toString(),
                 address()); // nothing of the code stays in the history
        QVERIFY(!access_.take(invitation.toStdString()));
        QCOMPARE(browser_->valueOf(u"document.cookie"_s).toString(), QString()); // no script can read the key
    }

    void aPressingComesUpByItself()
    {
        QTRY_VERIFY(text().contains(u"Canlı, "_s));
        book(20, 14, u"Işıl Öztürk", 612);
        QTRY_VERIFY_WITH_TIMEOUT(text().contains(u"Işıl Öztürk"_s), 20000);
        QVERIFY(browser_->valueOf(u"document.documentElement.scrollWidth"_s).toInt() <= 390);
    }

    void theCookieIsEnoughNextTime()
    {
        browser_->openAddress(u"about:blank"_s);
        browser_->openAddress(address());
        QVERIFY(text().contains(u"Zeytin sezonu 2025–2026"_s));
        QVERIFY(browser_->complaints().filter(u"Content Security"_s).isEmpty());
    }

    void aKnownTelephoneTakesACodeThatItReads()
    {
        const QString invitation = QString::fromStdString(access_.invitation());
        browser_->valueOf(u"location.hash = '%1'"_s.arg(invitation));
        QTRY_VERIFY(access_.invitation() != invitation.toStdString());
        QTRY_COMPARE(browser_->valueOf(u"location.href"_s).toString(), address());
        QVERIFY(text().contains(u"Zeytin sezonu 2025–2026"_s));
    }

    void askingStopsWhenNobodyAnswers()
    {
        const int port = server_->port();
        server_.reset();
        QTRY_VERIFY_WITH_TIMEOUT(text().contains(u"Sayaca ulaşılamıyor"_s), 20000);
        QVERIFY(text().contains(u"Işıl Öztürk"_s)); // what was seen last stays
        server_ = std::make_unique<live::Server>(
            live::Server::Place{"127.0.0.1", port},
            live::certificateFor("127.0.0.1", folder_.path().toStdString(), std::time(nullptr)), access_,
            [this] { return board_->shown(); });
        QTRY_VERIFY_WITH_TIMEOUT(text().contains(u"Canlı, "_s), 20000);
    }

    /// For the guide, PICTURES names a folder.
    void picturesForPeople()
    {
        const QString folder = qEnvironmentVariable("PICTURES");
        if (!folder.isEmpty()) QVERIFY(browser_->picture().save(folder + u"/live.png"_s));
    }

private:
    std::filesystem::path file() const { return folder_.filePath(u"Yag.mdb"_s).toStdString(); }
    QString address() const { return u"https://127.0.0.1:%1/"_s.arg(server_->port()); }
    QString text() { return browser_->valueOf(u"document.body.innerText"_s).toString(); }

    static double moment(int day, int hour, int minute)
    {
        return jet::dateTime(2025, 11, day, hour, minute).value().days;
    }

    void book(int day, int hour, const std::u16string& name, double olives)
    {
        const auto counter = jet::Database::open(disk_, file());
        counter->table(mill::Hareket::table)
            .insert({{mill::Hareket::Tarih, jet::DateTime{moment(day, hour, 17)}},
                     {mill::Hareket::Zeytin, olives},
                     {mill::Hareket::Yağ, std::round(olives * .21)},
                     {mill::Hareket::HakTut, std::round(olives * .025)},
                     {mill::Hareket::CariHar, name}});
    }

    files::Disk& disk_ = platform::systemDisk();
    QTemporaryDir folder_;
    live::Access access_{disk_, folder_.filePath(u"telephones"_s).toStdString(), std::chrono::minutes(10),
                         [] { return std::int64_t{std::time(nullptr)}; }};
    std::unique_ptr<live::Board> board_;
    std::unique_ptr<live::Server> server_;
    std::unique_ptr<Browser> browser_;
};

QTEST_GUILESS_MAIN(LivePageInABrowser)
#include "live_page_in_a_browser.moc"
