#include "tests/doors/cutting_proxy.h"
#include "tests/joint/shared_mill.h"
#include "tests/support/columns.h"

#include "base/error.h"
#include "reports/period_report.h"

#include <QtTest>
#include <algorithm>
#include <string_view>
#include <thread>

using namespace Qt::StringLiterals;

/// Two counters of a mill, one register on a server.
class TwoCounters : public QObject {
    Q_OBJECT

    std::optional<SharedMill> mill;
    std::optional<SharedCounter> one, two;

    bool settled()
    {
        // What the one brings last, the other must still read.
        for (int round = 0; round < 2; ++round) {
            if (!one->until([&] { return one->shared().waiting().empty(); })) return false;
            if (!two->until([&] { return two->shared().waiting().empty(); })) return false;
        }
        const std::int64_t end = mill->historyEnd();
        return one->settled(end) && two->settled(end);
    }
    void compareAll()
    {
        for (const QString& table : {mill::customerTable, mill::journalTable})
            QCOMPARE(rowsIn(one->engine(), table), rowsIn(two->engine(), table));
        QCOMPARE(mill->sql("select count(*) from presva.hareket").trimmed().toLongLong(),
                 rowsIn(one->engine(), mill::journalTable).size());
        QCOMPARE(mill->sql("select count(*) from presva.cari").trimmed().toLongLong(),
                 rowsIn(one->engine(), mill::customerTable).size());
    }
    QStringList customers(SharedCounter& counter) { return rowsIn(counter.engine(), mill::customerTable); }
    QStringList pressings(SharedCounter& counter) { return rowsIn(counter.engine(), mill::journalTable); }

private slots:
    void init()
    {
        mill.emplace();
        one.emplace(mill->folder(1));
        two.emplace(mill->folder(2));
    }
    void cleanup()
    {
        one.reset();
        two.reset();
        mill.reset();
    }

    void whatOneBooksTheOtherHasWithinTwoSeconds()
    {
        QVERIFY(settled());
        QElapsedTimer time;
        time.start();
        QVERIFY(one->press(u"Şükrü Öz"_s, 1000.5));
        QVERIFY(two->until([&] { return pressings(*two).size() == 1; }));
        QVERIFY2(time.elapsed() < 2000, qPrintable(QString::number(time.elapsed())));
        QCOMPARE(customers(*two), QStringList(u"Şükrü Öz|12|10 Litrelik Kap|0"_s));
        QVERIFY(settled());
        compareAll();
        QCOMPARE(mill->sql("select giren, carihar, zeytin from presva.hareket"), u"Hat 1|Şükrü Öz|1000.5\n"_s);
    }

    void theSameNewCustomerOfBothIsOne()
    {
        one->disconnect();
        two->disconnect();
        one->add(u"Veli"_s);
        two->press(u"Veli"_s, 500, u"15"_s);
        one->connect();
        two->connect();
        QVERIFY(settled());
        compareAll();
        QCOMPARE(customers(*one), QStringList(u"Veli|15|10 Litrelik Kap|0"_s));
    }

    void theTermsThatReachTheServerLastHold()
    {
        one->press(u"Ali"_s, 100);
        QVERIFY(settled());
        one->disconnect();
        two->disconnect();
        one->press(u"Ali"_s, 200, u"9"_s);
        two->press(u"Ali"_s, 300, u"11"_s);
        two->connect();
        QVERIFY(two->until([&] { return two->shared().waiting().empty(); }));
        one->connect();
        QVERIFY(settled());
        compareAll();
        QCOMPARE(customers(*two), QStringList(u"Ali|9|10 Litrelik Kap|0"_s));
        QCOMPARE(pressings(*one).size(), 3);
    }

    void deletingACustomerTakesWhatTheOperatorKnew()
    {
        one->press(u"Ali"_s, 100);
        two->press(u"Veli"_s, 150);
        QVERIFY(settled());
        one->disconnect();
        two->press(u"Ali"_s, 200, u"15"_s); // unseen by the first counter
        QVERIFY(two->until([&] { return two->shared().waiting().empty(); }));
        one->press(u"Ali"_s, 300);
        one->erase(u"Ali"_s);
        QCOMPARE(pressings(*one).size(), 1);
        one->connect();
        QVERIFY(settled());
        compareAll();
        QCOMPARE(pressings(*one).filter(u"Ali"_s).size(), 1);
        QVERIFY(pressings(*one).filter(u"Ali"_s).first().contains(u"|200|"_s));
        QCOMPARE(customers(*one).filter(u"Ali"_s).size(), 1);
    }

    void aCustomerWhomNobodyElseTouchedGoesEverywhere()
    {
        for (int i = 1; i <= 5; ++i) one->press(u"Ali"_s, i);
        two->press(u"Veli"_s, 6);
        QVERIFY(settled());
        two->erase(u"Ali"_s);
        QVERIFY(settled());
        compareAll();
        QCOMPARE(customers(*one), QStringList(u"Veli|12|10 Litrelik Kap|0"_s));
        QCOMPARE(mill->sql("select count(*) from presva.gecmis where ne = 'DELETE' and giren = 'Hat 2'"), u"6\n"_s);
    }

    void bothDeleteTheSameCustomer()
    {
        one->press(u"Ali"_s, 100);
        QVERIFY(settled());
        one->disconnect();
        two->disconnect();
        one->erase(u"Ali"_s);
        two->press(u"Ali"_s, 200);
        two->erase(u"Ali"_s);
        one->connect();
        two->connect();
        QVERIFY(settled());
        compareAll();
        QCOMPARE(pressings(*one), QStringList());
        QCOMPARE(customers(*one), QStringList());
    }

    void nobodyEmptiesTheRegisterOfAll()
    {
        one->press(u"Ali"_s, 100);
        QVERIFY(settled());
        try {
            one->eraseAll();
            QFAIL("all was deleted");
        } catch (const base::RuntimeError& error) {
            QVERIFY(error.text().contains(u"başka sayaçlar"_s));
        }
        QCOMPARE(pressings(*one).size(), 1);
        QVERIFY(settled());
        compareAll();
    }

    void eachCounterHasItsOwnSumsOfAReport()
    {
        one->press(u"Ali"_s, 100);
        QVERIFY(settled());
        for (SharedCounter* counter : {&*one, &*two}) {
            store::Change change(counter->engine());
            counter->engine().execute(mill::deleteTotals);
            const store::Listing journal = counter->engine().open(mill::pressingsWhere(mill::totalsCriteria));
            counter->engine().insert(journal, {{mill::Hareket::CariHar, store::FieldValue(mill::totalsName)},
                                               {mill::Hareket::Zeytin, counter == &*one ? 1.0 : 2.0}});
            change.commit();
        }
        two->press(u"Ali"_s, 200);
        QVERIFY(settled());
        compareAll();
        for (SharedCounter* counter : {&*one, &*two}) {
            const store::Listing sums = counter->engine().open(mill::pressingsWhere(mill::totalsCriteria));
            QCOMPARE(sums.rows.size(), std::size_t{1});
            QCOMPARE(counter->engine().field(sums, sums.rows[0], mill::Hareket::Zeytin),
                     store::FieldValue(counter == &*one ? 1.0 : 2.0));
        }
    }

    void aWeekAwayIsCaughtUpWith()
    {
        two->disconnect();
        for (int i = 0; i < 400; ++i) QVERIFY(one->press(u"Müşteri %1"_s.arg(i % 37), 10 + i));
        for (int i = 0; i < 300; ++i) QVERIFY(two->press(u"Müşteri %1"_s.arg(i % 41), 1000 + i));
        QVERIFY(one->until([&] { return one->shared().waiting().empty(); }));
        two->connect();
        QVERIFY(settled());
        compareAll();
        QCOMPARE(pressings(*two).size(), 700);
    }

    void anOldCopyThatIsPutBackCatchesUp()
    {
        const QString folder = mill->folder(3);
        std::optional<SharedCounter> three(std::in_place, folder);
        three->press(u"Ali"_s, 1);
        QVERIFY(three->until([&] { return three->shared().waiting().empty(); }));
        three->disconnect();
        three->press(u"Ali"_s, 2); // waits in the copy
        three.reset();
        QFile::remove(folder + u"/eski.mdb"_s);
        QVERIFY(QFile::copy(folder + u"/Yag.mdb"_s, folder + u"/eski.mdb"_s));
        three.emplace(folder);
        three->press(u"Ali"_s, 3);
        one->press(u"Veli"_s, 4);
        QVERIFY(three->until([&] { return three->shared().waiting().empty(); }));
        three.reset();
        QVERIFY(QFile::remove(folder + u"/Yag.mdb"_s));
        QVERIFY(QFile::rename(folder + u"/eski.mdb"_s, folder + u"/Yag.mdb"_s));
        three.emplace(folder);
        QVERIFY(settled());
        QVERIFY(three->settled(mill->historyEnd()));
        compareAll();
        QCOMPARE(pressings(*three), pressings(*one));
        QCOMPARE(pressings(*one).size(), 4);
        QCOMPARE(mill->sql("select count(*), count(distinct zeytin) from presva.hareket"), u"4|4\n"_s);
    }

    void aServerFromAnOldDumpIsNotFollowed()
    {
        one->press(u"Ali"_s, 1);
        QVERIFY(settled());
        one->disconnect();
        mill->sql("update presva.gecmis set zaman = zaman + interval '1 hour'");
        one->connect();
        QVERIFY(one->until([&] { return one->why.find("eski bir yedekten") != std::string::npos; }));
        two->disconnect();
        mill->sql("update presva.sayaclar set kimlik = gen_random_uuid()");
        two->connect();
        QVERIFY(two->until([&] { return two->why.find("bu dosyanın defteri değil") != std::string::npos; }));
    }

    void aChangeIsDoneOnceHoweverOftenItIsBrought()
    {
        one->press(u"Ali"_s, 1);
        QVERIFY(settled());
        const QString change =
            u"[{\"kimlik\":\"00000000-0000-0000-0000-000000000001\",\"ne\":\"sikim\",\"zeytin\":\"%1\"}]"_s;
        const auto bring = [&](const QString& weight) {
            return SharedMill::server().psql("select presva.islet('Değirmen', 'Hat 9', '" +
                                                 change.arg(weight).toStdString() + "')",
                                             mill->sql("select current_database()").trimmed().toStdString());
        };
        QCOMPARE(bring(u"5"_s).code, 0);
        QCOMPARE(bring(u"5"_s).code, 0);
        QVERIFY2(bring(u"6"_s).code != 0, "the same identity, another pressing");
        mill->sql("delete from presva.hareket where zeytin = 5");
        QCOMPARE(bring(u"5"_s).code, 0);
        QCOMPARE(mill->sql("select count(*) from presva.hareket"), u"1\n"_s);
        QVERIFY(settled());
        compareAll();
    }

    void whatTheOwnerChangesOnTheServerComesToTheCounters()
    {
        one->press(u"Ali"_s, 1);
        one->press(u"Veli"_s, 2);
        QVERIFY(settled());
        mill->sql("update presva.hareket set zeytin = 77 where carihar = 'Ali'");
        mill->sql("update presva.cari set yuzde = 20 where unvan = 'Veli'");
        QVERIFY(settled());
        compareAll();
        QVERIFY(pressings(*one).filter(u"Ali"_s).first().contains(u"|77|"_s));
        QVERIFY(customers(*two).contains(u"Veli|20|10 Litrelik Kap|0"_s));
    }

    void whatKeepsTheLineFromBringingIsToldAndPressingsWait_data()
    {
        addColumns<QString, QString, QString>("refuse", "allow", "sentence");
        QTest::newRow("a wrong password") << u"alter role hat1 password 'x'"_s << u"alter role hat1 password 'hat1'"_s
                                          << u"Kullanıcı adı ya da parola yanlış"_s;
        QTest::newRow("tables of a newer program")
            << u"insert into presva.surum (surum) values (99)"_s << u"delete from presva.surum where surum = 99"_s
            << u"bu programdan yeni (sürüm 99); programı güncelleyin"_s;
        QTest::newRow("a user who may not")
            << u"revoke execute on function presva.islet from presva_sayac"_s
            << u"grant execute on function presva.islet to presva_sayac"_s << u"Bu kullanıcının buna yetkisi yok"_s;
        QTest::newRow("a database that lets nobody in")
            << u"revoke connect on database %1 from public, presva_sayac"_s
            << u"grant connect on database %1 to presva_sayac"_s << u"yetkisi yok"_s;
        QTest::newRow("a server that may only be read")
            << u"alter role hat1 set default_transaction_read_only = on"_s
            << u"alter role hat1 reset default_transaction_read_only; "
               "select pg_terminate_backend(pid) from pg_stat_activity where usename = 'hat1'"_s
            << u"Sunucu yalnızca okunuyor"_s;
    }
    void whatKeepsTheLineFromBringingIsToldAndPressingsWait()
    {
        QFETCH(const QString, refuse);
        QFETCH(const QString, allow);
        QFETCH(const QString, sentence);
        QVERIFY(settled());
        const QString database = mill->sql("select current_database()").trimmed();
        const auto asOwner = [&](QString text) { mill->sql(text.replace(u"%1"_s, database).toStdString()); };
        one->disconnect();
        asOwner(refuse);
        const auto putRight = qScopeGuard([&] { asOwner(allow); });
        one->connect();
        QVERIFY(one->press(u"Ali"_s, 1));
        QVERIFY2(one->until([&] { return QString::fromStdString(one->why).contains(sentence); }), one->why.c_str());
        QCOMPARE(one->shared().waitingPressings(), 1);
        asOwner(allow);
        QVERIFY(settled());
        QVERIFY(one->why.empty());
        compareAll();
        QCOMPARE(pressings(*two).size(), 1);
    }

    void aServerOfAnotherVersionIsNotFollowed()
    {
        QVERIFY(settled());
        const QString folder = mill->folder(3);
        CuttingProxy older(SharedMill::server().folder(), 5443, 5432, [](std::span<char> bytes) {
            constexpr std::string_view said("server_version\0", 15);
            const auto at = std::search(bytes.begin(), bytes.end(), said.begin(), said.end());
            if (at != bytes.end()) std::ranges::copy(std::string_view("14"), at + said.size());
        });
        SharedCounter three(folder, false);
        mill->writeIni(folder, 3, u"5443"_s);
        three.connect();
        QVERIFY(three.press(u"Ali"_s, 1));
        QVERIFY2(three.until([&] { return three.why.find("Sunucunun sürümü çok eski: 14") != std::string::npos; }),
                 three.why.c_str());
        QCOMPARE(three.shared().waitingPressings(), 1);
        three.disconnect();
        mill->writeIni(folder, 3, u"5432"_s);
        three.connect();
        QVERIFY(three.until([&] { return three.shared().waiting().empty(); }));
        QVERIFY(settled());
        compareAll();
    }

    void aClockThatIsADayOffIsToldAndStopsNothing()
    {
        const std::string database = mill->sql("select current_database()").trimmed().toStdString();
        // What the counters ask the time of.
        mill->sql("create schema yarin; grant usage on schema yarin to presva_sayac;"
                  "create function yarin.clock_timestamp() returns timestamptz language sql as "
                  "$$ select pg_catalog.clock_timestamp() + interval '1 day' $$;"
                  "alter role hat1 in database " +
                  database + " set search_path = yarin, pg_catalog");
        one->disconnect();
        one->connect();
        QVERIFY(one->press(u"Ali"_s, 1));
        QVERIFY2(one->until([&] {
            return one->clock.find("bu bilgisayarın saati sunucununkinden 1440 dakika geri") != std::string::npos;
        }),
                 one->clock.c_str());
        QVERIFY(settled());
        compareAll();
    }

    void aClockThatIsPutRightOrWrongIsToldWhileTheLineStands()
    {
        const auto says = [&](bool something) { return one->until([&] { return one->clock.empty() != something; }); };
        mill->sql("create schema yarin; grant usage on schema yarin to presva_sayac; alter role hat1 in database " +
                  mill->sql("select current_database()").trimmed().toStdString() +
                  " set search_path = yarin, pg_catalog");
        one->disconnect();
        one->connect();
        QVERIFY(one->press(u"Ali"_s, 1));
        QVERIFY(settled());
        QVERIFY(one->clock.empty());
        mill->sql("create function yarin.clock_timestamp() returns timestamptz language sql as "
                  "$$ select pg_catalog.clock_timestamp() + interval '1 day' $$");
        QVERIFY(says(true));
        mill->sql("drop function yarin.clock_timestamp()");
        QVERIFY2(says(false), one->clock.c_str());
        compareAll();
    }

    void aChangeThatSomebodyLeftOpenOnTheServerStopsNoReading()
    {
        QVERIFY(settled());
        const std::string database = mill->sql("select current_database()").trimmed().toStdString();
        // Until the test has seen what it wants to see.
        std::thread holder([&] {
            SharedMill::server().psql("do $$ begin perform pg_advisory_xact_lock(20011207); for i in 1..600 loop "
                                      "exit when to_regclass('yeter') is not null; perform pg_sleep(0.05); "
                                      "end loop; end $$",
                                      database);
        });
        const auto enough = [&] { SharedMill::server().psql("create table if not exists yeter ()", database); };
        const auto wait = qScopeGuard([&] {
            enough();
            holder.join();
        });
        QTest::qSleep(200);
        QVERIFY(one->press(u"Ali"_s, 1));
        QVERIFY2(
            one->until([&] { return one->why.find("başka bir program aynı kayıtları tutuyor") != std::string::npos; }),
            one->why.c_str());
        mill->sql("insert into presva.gecmis (sayac, tablo, ne, satir) values ('Değirmen', 'is', 'BITTI', 0)");
        const std::int64_t end = mill->historyEnd();
        QVERIFY(one->until([&] { return one->shared().place().number >= end; }));
        QCOMPARE(one->shared().waitingPressings(), 1);
        enough();
        QVERIFY(settled());
        compareAll();
    }

    void aServerThatIsAwayLetsPressingsWait()
    {
        QVERIFY(settled());
        SharedMill::server().kill();
        QVERIFY(one->press(u"Ali"_s, 1));
        QVERIFY(one->until([&] { return !one->connected; }));
        QCOMPARE(one->shared().waitingPressings(), 1);
        SharedMill::server().start();
        QVERIFY(settled());
        compareAll();
        QCOMPARE(one->shared().waitingPressings(), 0);
        QVERIFY(one->connected);
    }
};

QTEST_GUILESS_MAIN(TwoCounters)
#include "two_counters.moc"
