#include "files/memory_disk.h"
#include "mill/queries.h"
#include "mill/tables.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include "store/joint/shared_databases.h"
#include "store/postgres/shared_tables.h"
#include "tests/joint/rows_in.h"

#include <QtTest>
#include <random>

using namespace Qt::StringLiterals;

namespace {

/// The file of a counter, opened and closed as a program does that is started and killed.
class Counter {
public:
    Counter()
    {
        mill::createDatabase(disk_, "Yag.mdb", jet::turkish, jet::DateTime{45000});
        const auto database = jet::Database::open(disk_, "Yag.mdb");
        jet::Transaction change(database->pager());
        postgres::putPlace(*database, {"Değirmen", "1", 0, {}}, jet::DateTime{45000});
        change.commit();
    }
    shared::SharedEngine& engine()
    {
        if (!engine_) {
            files_.emplace(disk_);
            databases_.emplace(*files_);
            engine_ = std::dynamic_pointer_cast<shared::SharedEngine>(databases_->open(u"Yag.mdb"_s));
        }
        return *engine_;
    }
    void kill()
    {
        engine_.reset();
        databases_.reset();
        files_.reset();
    }
    QStringList rows() { return rowsIn(engine(), mill::customerTable) + rowsIn(engine(), mill::journalTable); }

private:
    files::MemoryDisk disk_;
    std::optional<store::JetDatabases> files_;
    std::optional<shared::SharedDatabases> databases_;
    std::shared_ptr<shared::SharedEngine> engine_;
};

/// What other counters did: customers come, change and go, and so do pressings, equal ones as well.
std::vector<postgres::HistoryLine> someHistory(unsigned seed, int lines)
{
    std::mt19937 random(seed);
    std::vector<postgres::HistoryLine> history;
    std::vector<std::string> customers, pressings;
    const auto pick = [&](std::vector<std::string>& from, bool take) {
        const std::size_t at = random() % from.size();
        std::string picked = from[at];
        if (take) from.erase(from.begin() + static_cast<std::ptrdiff_t>(at));
        return picked;
    };
    const auto customer = [&](int number) {
        return R"({"unvan": "Müşteri )" + std::to_string(number) + R"(", "yuzde": )" + std::to_string(random() % 20) +
               R"(, "kap": null, "nakit": 0})";
    };
    for (int number = 1; number <= lines; ++number) {
        const std::string mark = "m" + std::to_string(number);
        std::string before, after;
        const bool ofJournal = random() % 3 > 0;
        if (ofJournal) {
            if (random() % 3 == 0 && !pressings.empty()) {
                before = pick(pressings, true);
            } else {
                after = R"({"tarih": 46000.5, "zeytin": )" + std::to_string(random() % 3) +
                        R"(, "yag": 200, "yuzde": 12, "haktut": 24, "nakit": 0, "carihar": "Müşteri )" +
                        std::to_string(random() % 6) + "\"}";
                pressings.push_back(after);
            }
        } else if (random() % 3 == 0 && !customers.empty()) {
            before = pick(customers, true);
        } else {
            const int whose = static_cast<int>(random() % 6);
            const std::string named = "\"Müşteri " + std::to_string(whose) + "\"";
            const auto there = std::ranges::find_if(
                customers, [&](const std::string& each) { return each.find(named) != std::string::npos; });
            after = customer(whose);
            if (there != customers.end())
                before = std::exchange(*there, after);
            else
                customers.push_back(after);
        }
        history.push_back({number, mark, {}, ofJournal ? "hareket" : "cari", before, after});
    }
    return history;
}

constexpr std::chrono::milliseconds noTime{0};

} // namespace

/// What others did comes into the file in slices, each as long as it may be.
class Slices : public QObject {
    Q_OBJECT

private slots:
    void aSliceEndsWhenItsTimeIsUpAndTheNextGoesOnBehindIt()
    {
        const std::vector<postgres::HistoryLine> history = someHistory(1, 40);
        Counter counter;
        std::span<const postgres::HistoryLine> left(history);
        for (std::int64_t number = 1; !left.empty(); ++number) {
            const shared::Taken taken = counter.engine().take(left, noTime);
            QCOMPARE(taken.lines, std::size_t{1}); // one is begun, or nothing would ever come in
            QCOMPARE(counter.engine().place().number, number);
            left = left.subspan(taken.lines);
        }
        Counter atOnce;
        QCOMPARE(atOnce.engine().take(history).lines, history.size());
        QCOMPARE(counter.rows(), atOnce.rows());
    }

    void nothingIsLostOrDoubledByAKillBetweenTwoSlices_data()
    {
        QTest::addColumn<bool>("ready");
        QTest::newRow("by reading the tables") << false;
        QTest::newRow("by what was learned") << true;
    }
    void nothingIsLostOrDoubledByAKillBetweenTwoSlices()
    {
        QFETCH(const bool, ready);
        for (unsigned seed = 1; seed <= 10; ++seed) {
            const std::vector<postgres::HistoryLine> history = someHistory(seed, 150);
            std::mt19937 random(seed);
            Counter counter;
            while (counter.engine().place().number < static_cast<std::int64_t>(history.size())) {
                while (ready && !counter.engine().getReady()) {
                }
                // From its place on, or from before it: lines that it knows are read once more now and then.
                const auto place = static_cast<std::size_t>(counter.engine().place().number);
                const std::size_t from = place - std::min<std::size_t>(place, random() % 4);
                const std::size_t count = std::min<std::size_t>(place - from + 1 + random() % 8, history.size() - from);
                counter.engine().take(std::span(history).subspan(from, count));
                if (random() % 3 == 0) counter.kill();
            }
            Counter atOnce;
            atOnce.engine().take(history);
            QCOMPARE(counter.rows(), atOnce.rows());
        }
    }

    void whatWentIsCountedByWhatStoodInTheFile()
    {
        const std::string pressing = R"({"tarih": 46000.5, "zeytin": 1, "carihar": "Ali"})";
        Counter counter;
        const shared::Taken taken = counter.engine().take(std::vector<postgres::HistoryLine>{
            {1, "m1", {}, "hareket", {}, pressing},
            {2, "m2", {}, "hareket", {}, pressing},
            {3, "m3", {}, "hareket", pressing, {}},
            {4, "m4", {}, "cari", R"({"unvan": "Ali"})", {}},
            {5, "m5", {}, "hareket", R"({"tarih": 46000.5, "zeytin": 2, "carihar": "Ali"})", {}}});
        QCOMPARE(taken.pressings, 2);
        QCOMPARE(taken.gone, 1);
        QCOMPARE(taken.notFound.size(), 1);
    }
};

QTEST_GUILESS_MAIN(Slices)
#include "slices.moc"
