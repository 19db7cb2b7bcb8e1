#include "base/error.h"
#include "files/memory_disk.h"
#include "mill/queries.h"
#include "mill/tables.h"
#include "store/jet/database/database.h"
#include "store/jet_engine.h"
#include "store/joint/shared_databases.h"
#include "store/postgres/shared_tables.h"
#include "tests/joint/rows_in.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

enum class Commit { succeeds, fails, failsWhenItIsDone };

/// A file's engine that fails when it is told to.
class FailingEngine : public store::Engine {
public:
    explicit FailingEngine(std::shared_ptr<store::Engine> file) : file_(std::move(file)) {}

    bool unreadable = false; ///< the tables of the register
    Commit commits = Commit::succeeds;

    store::Listing open(const QString& source) override
    {
        if (unreadable && source.startsWith(u"Presva"_s)) throw base::runtimeError(base::errors::databaseFault);
        return file_->open(source);
    }
    store::FieldValue field(const store::Listing& listing, store::RowKey row, int position) override
    {
        return file_->field(listing, row, position);
    }
    store::RowKey insert(const store::Listing& listing, const store::Assignments& values) override
    {
        return file_->insert(listing, values);
    }
    void update(const store::Listing& listing, store::RowKey row, const store::Assignments& values) override
    {
        file_->update(listing, row, values);
    }
    void erase(const store::Listing& listing, store::RowKey row) override { file_->erase(listing, row); }
    std::vector<store::RowKey> matching(const store::Listing& listing, const QString& criteria) override
    {
        return file_->matching(listing, criteria);
    }
    std::size_t execute(const QString& sql) override { return file_->execute(sql); }
    QList<store::FieldValue> aggregate(const QString& sql) override { return file_->aggregate(sql); }
    std::unique_ptr<store::ChangeScope> change() override { return std::make_unique<Scope>(file_->change(), commits); }
    bool hasTable(const QString& table) override { return file_->hasTable(table); }

private:
    class Scope : public store::ChangeScope {
    public:
        Scope(std::unique_ptr<store::ChangeScope> change, Commit commits)
            : change_(std::move(change)), commits_(commits)
        {
        }
        void commit() override
        {
            if (commits_ != Commit::fails) change_->commit();
            if (commits_ != Commit::succeeds) throw base::runtimeError(base::errors::databaseFault);
        }

    private:
        std::unique_ptr<store::ChangeScope> change_;
        Commit commits_;
    };

    std::shared_ptr<store::Engine> file_;
};

/// Hands out that one engine.
struct FailingDatabases : store::Databases {
    std::shared_ptr<FailingEngine> engine;
    std::shared_ptr<store::Engine> open(const QString& /*path*/) override { return engine; }
};

constexpr const char* pressingOfAli =
    R"({"tarih": 46000.5, "zeytin": 1000, "yag": 200, "yuzde": 12, "haktut": 24, "nakit": 0, "carihar": "Ali"})";

} // namespace

/// The engine of a shared register over a file that fails for a moment: nothing may come in twice, or be forgotten.
class FailingFile : public QObject {
    Q_OBJECT

    static inline const QString path = u"Yag.mdb"_s;
    std::optional<files::MemoryDisk> disk;
    std::optional<store::JetDatabases> files;
    std::optional<FailingDatabases> failing;
    std::optional<shared::SharedDatabases> databases;
    std::shared_ptr<FailingEngine> file;
    std::shared_ptr<shared::SharedEngine> engine;

    qsizetype pressings() { return rowsIn(*file, mill::journalTable).size(); }
    void press() const
    {
        engine->insert(engine->open(mill::journalTable), {{mill::Hareket::Tarih, store::DateDays{46000.5}},
                                                          {mill::Hareket::Zeytin, 1000.0},
                                                          {mill::Hareket::CariHar, u"Ali"_s}});
    }
    bool refuses(const std::vector<postgres::HistoryLine>& lines) const
    {
        try {
            engine->take(lines);
            return false;
        } catch (const base::RuntimeError&) {
            return true;
        }
    }

private slots:
    void init()
    {
        disk.emplace();
        mill::createDatabase(*disk, "Yag.mdb", jet::turkish, jet::DateTime{45000});
        {
            const auto database = jet::Database::open(*disk, "Yag.mdb");
            jet::Transaction change(database->pager());
            postgres::putPlace(*database, {"Değirmen", "1", 0, {}}, jet::DateTime{45000});
            change.commit();
        }
        files.emplace(*disk);
        failing.emplace();
        file = failing->engine = std::make_shared<FailingEngine>(files->open(path));
        databases.emplace(*failing);
        databases->open(path);
        engine = std::dynamic_pointer_cast<shared::SharedEngine>(databases->open(path));
        QVERIFY(engine);
    }
    void cleanup()
    {
        engine.reset();
        file.reset();
        databases.reset();
        failing.reset();
        files.reset();
        disk.reset();
    }

    void ownPressingsDoNotComeInASecondTime()
    {
        press();
        const std::string identity = engine->waiting().at(0).identity;
        const std::vector<postgres::HistoryLine> lines = {{1, "m1", identity, "hareket", {}, pressingOfAli},
                                                          {2, "m2", identity, "is", {}, {}}};
        file->commits = Commit::fails;
        QVERIFY(refuses(lines));
        file->commits = Commit::succeeds;
        file->unreadable = true;
        QVERIFY(refuses(lines));
        QVERIFY(refuses(lines));
        file->unreadable = false;
        QVERIFY(!refuses(lines));
        QCOMPARE(pressings(), 1);
        QVERIFY(engine->waiting().empty());
        QCOMPARE(engine->place().number, 2);
    }

    void pressingsOfOthersComeInOnceThoughTheirCommitWasToldToHaveFailed()
    {
        const std::vector<postgres::HistoryLine> lines = {{1, "m1", "x", "hareket", {}, pressingOfAli},
                                                          {2, "m2", "x", "is", {}, {}}};
        file->commits = Commit::failsWhenItIsDone;
        QVERIFY(refuses(lines));
        file->commits = Commit::succeeds;
        QVERIFY(!refuses(lines));
        QCOMPARE(pressings(), 1);
        QCOMPARE(engine->place().number, 2);
    }

    void whatWaitsIsKnownThoughItsCommitWasToldToHaveFailed()
    {
        file->commits = Commit::failsWhenItIsDone;
        QVERIFY_EXCEPTION_THROWN(press(), base::RuntimeError);
        file->commits = Commit::succeeds;
        QVERIFY(!refuses({{1, "m1", "x", "is", {}, {}}}));
        QCOMPARE(engine->waiting().size(), std::size_t{1});
        QCOMPARE(pressings(), 1);
    }

    void nothingIsBookedWhileTheNotesCannotBeRead()
    {
        file->commits = Commit::fails;
        QVERIFY_EXCEPTION_THROWN(press(), base::RuntimeError);
        file->commits = Commit::succeeds;
        file->unreadable = true;
        QVERIFY_EXCEPTION_THROWN(press(), base::RuntimeError);
        file->unreadable = false;
        press();
        QCOMPARE(pressings(), 1);
        QCOMPARE(engine->waiting().size(), std::size_t{1});
    }

    void aRegisterThatCannotBeReadIsNoCounterOfItsOwn()
    {
        engine.reset();
        file->unreadable = true;
        QVERIFY_EXCEPTION_THROWN(databases->open(path), base::RuntimeError);
        file->unreadable = false;
        QVERIFY(std::dynamic_pointer_cast<shared::SharedEngine>(databases->open(path)));
    }
};

QTEST_GUILESS_MAIN(FailingFile)
#include "failing_file.moc"
