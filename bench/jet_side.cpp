#include "bench/comparison.h"
#include "bench/mill.h"
#include "bench/sides.h"

#include "exchange/csv.h"
#include "exchange/row_writer.h"
#include "platform/system_disk.h"
#include "query/statement.h"
#include "store/jet/care/check.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/jet/sql/sql.h"
#include "tools/database_tool.h"

#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace sides {
namespace {

using comparison::answer, comparison::measure;

constexpr const char* us = "presva";

std::vector<jet::Assignment> fieldsOf(const long_mill::Pressing& pressing,
                                      const std::vector<long_mill::Customer>& customers)
{
    return {{0, jet::DateTime{pressing.moment}},
            {1, pressing.olives},
            {2, pressing.oil},
            {3, pressing.share},
            {4, pressing.entitlement},
            {5, jet::Currency{pressing.fee}},
            {6, customers[pressing.customer].name}};
}

void make(const std::filesystem::path& path, bool indexed)
{
    files::Disk& disk = platform::systemDisk();
    const jet::DateTime now{45000};
    using enum jet::ColumnType;
    jet::Database::create(disk, path, jet::turkish, now);
    const auto database = jet::Database::open(disk, path);
    std::vector<jet::NewIndex> customerIndexes, journalIndexes;
    if (indexed) {
        customerIndexes.push_back({u"Unvan", {{u"Unvan", true}}, true, true, true, false});
        journalIndexes.push_back({u"Tarih", {{u"Tarih", true}}});
    }
    jet::Table& register_ = database->createTable(
        u"Cari", {{u"Unvan", text, 50}, {u"Yuzde", singleFloat}, {u"Kap", text, 50}, {u"Nakit", currency}},
        customerIndexes, now);
    jet::Table& journal = database->createTable(u"Hareket",
                                                {{u"Tarih", dateTime},
                                                 {u"Zeytin", doubleFloat},
                                                 {u"Yağ", doubleFloat},
                                                 {u"Yuzde", singleFloat},
                                                 {u"HakTut", doubleFloat},
                                                 {u"Nakit", currency},
                                                 {u"CariHar", text, 50}},
                                                journalIndexes, now);
    const auto customers = long_mill::customers();
    jet::Transaction registration(database->pager());
    for (const long_mill::Customer& customer : customers)
        register_.insert(
            {{0, customer.name}, {1, customer.share}, {2, customer.container}, {3, jet::Currency{customer.fee}}});
    registration.commit();
    auto season = std::make_unique<jet::Transaction>(database->pager());
    std::size_t count = 0;
    long_mill::pressings([&](const long_mill::Pressing& pressing) {
        journal.insert(fieldsOf(pressing, customers));
        if (++count % 20000 != 0) return;
        season->commit();
        season = std::make_unique<jet::Transaction>(database->pager());
    });
    season->commit();
}

void makeKeyed(const std::filesystem::path& path)
{
    files::Disk& disk = platform::systemDisk();
    const jet::DateTime now{45000};
    jet::Database::create(disk, path, jet::turkish, now, [&](jet::Database& database) {
        jet::Table& table = database.createTable(
            u"Kimlik", {{u"No", jet::ColumnType::longInteger}, {u"Ad", jet::ColumnType::text, 50}},
            {{.name = u"PrimaryKey", .columns = {{u"No", true}}, .unique = true, .primaryKey = true}}, now);
        jet::Transaction change(database.pager());
        std::int32_t number = 0;
        for (const long_mill::Customer& customer : long_mill::customers())
            table.insert({{0, ++number}, {1, customer.name}});
        change.commit();
    });
}

using Session = comparison::Session<jet::Database>;
using SharedSession = std::shared_ptr<Session>;

SharedSession session(const std::filesystem::path& path)
{
    return std::make_shared<Session>(
        [path] { return jet::Database::open(platform::systemDisk(), path, jet::Pager::Mode::readOnly); });
}

std::u16string search(const std::u16string& prefix)
{
    return u"Select * From Cari where Unvan Like '" + prefix + u"*' Order By Unvan Asc";
}
constexpr const char16_t* month = u"Select * From Hareket where Tarih>=#11/01/2017 00:00:00# And "
                                  "Tarih<=#11/30/2017 23:59:59# Order By Tarih Asc";
constexpr const char16_t* sums = u"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where "
                                 "CariHar<>'Toplamlar' And Tarih>=#11/01/2017 00:00:00# And "
                                 "Tarih<=#11/30/2017 23:59:59#";

/// Reads every field of a listing, as a grid or a print-out would.
double readAll(const jet::Selection& listing, std::size_t summed)
{
    double sum = 0;
    std::u16string text;
    for (const jet::RowId id : listing.rows) {
        const auto row = listing.table->row(id);
        for (const std::size_t field : listing.fields) {
            const jet::ColumnType type = listing.table->columns()[field].type;
            if (type == jet::ColumnType::text) {
                benchmark::DoNotOptimize(row->text(field, text));
            } else {
                const auto number = row->number(field);
                if (field == summed) sum += *number;
                benchmark::DoNotOptimize(number);
            }
        }
    }
    return sum;
}

void searches(const std::string& task, const std::u16string& prefix, const SharedSession& session)
{
    measure(task, us, [=](benchmark::State& state) {
        double rows = 0, fees = 0;
        for ([[maybe_unused]] auto _ : state) {
            const jet::Selection found = jet::select(**session, search(prefix));
            fees = readAll(found, 3);
            rows = static_cast<double>(found.rows.size());
        }
        answer(task + " rows", us, rows);
        answer(task + " fees", us, fees);
    });
}

/// The search that follows a stored pressing: whatever was learnt from the register before must hold or be renewed.
void searchesAfterChange(const std::filesystem::path& original)
{
    measure("search after append", us, [=](benchmark::State& state) {
        comparison::onCopy(original, [&](const std::filesystem::path& copy) {
            const auto customers = long_mill::customers();
            const auto database = jet::Database::open(platform::systemDisk(), copy);
            jet::Table& journal = database->table(u"Hareket");
            std::mt19937 random(4);
            double rows = 0;
            for ([[maybe_unused]] auto _ : state) {
                state.PauseTiming();
                journal.insert(fieldsOf(long_mill::nextPressing(random, 45300), customers));
                state.ResumeTiming();
                const jet::Selection found = jet::select(*database, search(long_mill::sixLetters));
                readAll(found, 3);
                rows = static_cast<double>(found.rows.size());
            }
            answer("search, six letters rows", us, rows);
        });
    })->Iterations(50);
}

void listings(const std::string& task, const SharedSession& session)
{
    measure(task, us, [=](benchmark::State& state) {
        double rows = 0, olives = 0;
        for ([[maybe_unused]] auto _ : state) {
            const jet::Selection found = jet::select(**session, month);
            olives = readAll(found, 1);
            rows = static_cast<double>(found.rows.size());
        }
        answer("month rows", us, rows);
        answer("month olives", us, olives);
    });
}

void wheresByKey(const SharedSession& session)
{
    measure("Where by key", us, [=](benchmark::State& state) {
        std::size_t key = 1;
        std::u16string name;
        for ([[maybe_unused]] auto _ : state) {
            key = long_mill::keyAfter(key);
            const std::string number = std::to_string(key);
            const jet::Selection found = jet::select(**session, u"Select * From Kimlik Where No=" +
                                                                    std::u16string(number.begin(), number.end()));
            if (found.rows.size() != 1) throw std::runtime_error("no such customer");
            found.table->row(found.rows.front())->text(1, name);
        }
        const jet::Selection last = jet::select(**session, u"Select * From Kimlik Where No=777");
        last.table->row(last.rows.front())->text(1, name);
        answer("name of 777", us, static_cast<double>(name.size()));
    });
}

double number(const jet::Value& value)
{
    if (const auto* money = std::get_if<jet::Currency>(&value)) return static_cast<double>(money->tenThousandths) / 1e4;
    return std::get<double>(value);
}

void fourSums(const std::string& task, const SharedSession& session)
{
    measure(task, us, [=](benchmark::State& state) {
        jet::Selection sum;
        for ([[maybe_unused]] auto _ : state) sum = jet::select(**session, sums);
        for (std::size_t i = 0; i < 4; ++i) answer("sum " + std::to_string(i), us, number(sum.aggregates.at(i)));
    });
}

/// What presva-mdb sql does, into nothing.
void grouped(const SharedSession& session)
{
    class Rows : public exchange::RowWriter {
    public:
        void begin(std::u16string_view, const std::vector<jet::Column>&) override {}
        void values(std::span<const jet::Value> row) override
        {
            ++count;
            olives += std::get<double>(row[1]);
        }
        void end() override {}
        double count = 0, olives = 0;
    };
    measure("olives by share", us, [=](benchmark::State& state) {
        std::unique_ptr<Rows> rows;
        for ([[maybe_unused]] auto _ : state) {
            rows = std::make_unique<Rows>();
            query::select(**session, "Select Yuzde, Sum(Zeytin) From Hareket Group By Yuzde", false, *rows);
        }
        answer("shares", us, rows->count);
        answer("olives of shares", us, rows->olives);
    });
}

/// What presva-mdb export does, into nothing.
void exports(const SharedSession& session)
{
    measure("export", us, [=](benchmark::State& state) {
        const int nowhere = ::open("/dev/null", O_WRONLY);
        std::size_t rows = 0;
        for ([[maybe_unused]] auto _ : state) {
            exchange::Output out(nowhere);
            rows = 0;
            for (const char16_t* name : {u"Cari", u"Hareket"}) {
                const jet::Table& table = (**session).table(name);
                const auto writer = exchange::csvRows(out);
                writer->begin(table.name(), table.columns());
                table.forEachRow([&](jet::RowId, const jet::RowView& row) {
                    writer->row(row, [](const jet::Error& error) { throw error; });
                    ++rows;
                    return true;
                });
                writer->end();
            }
        }
        ::close(nowhere);
        answer("export rows", us, static_cast<double>(rows));
    });
}

void appends(const std::string& task, const std::filesystem::path& original)
{
    measure(task, us, [=](benchmark::State& state) {
        comparison::onCopy(original, [&](const std::filesystem::path& copy) {
            const auto customers = long_mill::customers();
            const auto database = jet::Database::open(platform::systemDisk(), copy);
            jet::Table& journal = database->table(u"Hareket");
            std::mt19937 random(3);
            double moment = 45300;
            // The first write checks the whole table; it is a task of its own.
            journal.insert(fieldsOf(long_mill::nextPressing(random, moment), customers));
            for ([[maybe_unused]] auto _ : state)
                journal.insert(fieldsOf(long_mill::nextPressing(random, moment += 0.001), customers));
        });
    })->MinTime(2);
}

void firstWrites(const std::string& task, const std::filesystem::path& original)
{
    measure(task, us, [=](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            const auto database = jet::Database::open(platform::systemDisk(), original);
            if (const auto why = database->table(u"Hareket").whyReadOnly()) throw std::runtime_error(*why);
        }
    });
}

/// The first pressing after opening: the check of the table, the digest of the file for the journal, three syncs.
void firstAppends(const std::string& task, const std::filesystem::path& original)
{
    measure(task, us, [=](benchmark::State& state) {
        comparison::onCopy(original, [&](const std::filesystem::path& copy) {
            const auto customers = long_mill::customers();
            std::mt19937 random(5);
            for ([[maybe_unused]] auto _ : state) {
                const auto database = jet::Database::open(platform::systemDisk(), copy);
                database->table(u"Hareket").insert(fieldsOf(long_mill::nextPressing(random, 45300), customers));
            }
        });
    });
}

/// Work on whole files: none of it keeps anything from one time to the next.
void checks(const std::filesystem::path& path)
{
    measure("check", us, [=](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            const auto database = jet::Database::open(platform::systemDisk(), path, jet::Pager::Mode::readOnly);
            if (!jet::checkDatabase(*database).ok()) throw std::runtime_error("not sound");
        }
    });
}

void compacts(const std::filesystem::path& path)
{
    measure("compact", us, [=](benchmark::State& state) {
        std::filesystem::path to = path;
        to.replace_filename("compact.mdb");
        std::filesystem::remove(to);
        for ([[maybe_unused]] auto _ : state) {
            const auto database = jet::Database::open(platform::systemDisk(), path, jet::Pager::Mode::readOnly);
            jet::compact(platform::systemDisk(), *database, to);
            state.PauseTiming();
            std::filesystem::remove(to);
            state.ResumeTiming();
        }
    });
}

/// What presva-mdb import does with the register of customers, into an empty table with an index.
void imports(const Files& files)
{
    measure("import", us, [=](benchmark::State& state) {
        const std::filesystem::path to = files.folder / "import.mdb";
        double fees = 0;
        const int screen = ::dup(STDOUT_FILENO), nowhere = ::open("/dev/null", O_WRONLY);
        for ([[maybe_unused]] auto _ : state) {
            state.PauseTiming();
            std::filesystem::remove(to);
            using enum jet::ColumnType;
            jet::Database::create(platform::systemDisk(), to, jet::turkish, {45000}, [](jet::Database& database) {
                database.createTable(
                    u"Cari", {{u"Unvan", text, 50}, {u"Yuzde", singleFloat}, {u"Kap", text, 50}, {u"Nakit", currency}},
                    {{.name = u"Unvan", .columns = {{u"Unvan", true}}, .unique = true}}, {45000});
            });
            state.ResumeTiming();
            ::dup2(nowhere, STDOUT_FILENO); // the tool says how many rows there were
            const int code = tools::runDatabaseTool(
                platform::systemDisk(), std::vector<std::string>{"import", to.string(), "Cari", files.customersCsv()});
            ::dup2(screen, STDOUT_FILENO);
            if (code != 0) throw std::runtime_error("not imported");
        }
        ::close(nowhere);
        ::close(screen);
        const auto database = jet::Database::open(platform::systemDisk(), to, jet::Pager::Mode::readOnly);
        database->table(u"Cari").forEachRow([&](jet::RowId, const jet::RowView& row) {
            fees += row.number(3).value();
            return true;
        });
        answer("import fees", us, fees);
        std::filesystem::remove(to);
    });
}

/// What any engine has to do before it knows something about a file: bring its bytes into memory.
void readings(const std::filesystem::path& path)
{
    measure("read all pages", us, [=](benchmark::State& state) {
        const auto file = platform::systemDisk().open(path, files::Disk::Access::readOnly);
        std::vector<std::uint8_t> buffer(64 * jet::pageSize);
        for ([[maybe_unused]] auto _ : state) {
            std::uint64_t at = 0;
            while (const std::size_t count = file->read(at, buffer)) at += count;
            benchmark::DoNotOptimize(at);
        }
    });
}

void opens(const std::filesystem::path& path)
{
    measure("open, first row", us, [=](benchmark::State& state) {
        double olives = 0;
        for ([[maybe_unused]] auto _ : state) {
            const auto database = jet::Database::open(platform::systemDisk(), path, jet::Pager::Mode::readOnly);
            database->table(u"Hareket").forEachRow([&](jet::RowId, const jet::RowView& row) {
                olives = *row.number(1);
                return false;
            });
        }
        answer("first olives", us, olives);
    });
    measure("open, four sums", us, [=](benchmark::State& state) {
        jet::Selection sum;
        for ([[maybe_unused]] auto _ : state) {
            const auto database = jet::Database::open(platform::systemDisk(), path, jet::Pager::Mode::readOnly);
            sum = jet::select(*database, sums);
        }
        answer("sum 0", us, number(sum.aggregates.at(0)));
    });
}

} // namespace

void prepareJet(const Files& files)
{
    comparison::makeOnce(files.plain(), [](const std::filesystem::path& path) { make(path, false); });
    comparison::makeOnce(files.indexed(), [](const std::filesystem::path& path) { make(path, true); });
    comparison::makeOnce(files.keyed(), makeKeyed);
}

void registerJet(const Files& files)
{
    const auto plain = session(files.plain()), indexed = session(files.indexed());
    searches("search, two letters", long_mill::twoLetters, plain);
    searches("search, six letters", long_mill::sixLetters, plain);
    searchesAfterChange(files.plain());
    listings("one month", plain);
    listings("one month, indexed", indexed);
    fourSums("four sums", plain);
    fourSums("four sums, indexed", indexed);
    grouped(plain);
    wheresByKey(session(files.keyed()));
    exports(plain);
    imports(files);
    checks(files.indexed());
    compacts(files.indexed());
    readings(files.plain());
    opens(files.plain());
    firstWrites("first write", files.plain());
    firstWrites("first write, indexed", files.indexed());
    firstAppends("first append", files.plain());
    appends("append", files.plain());
    appends("append, indexed", files.indexed());
}

} // namespace sides
