#include "bench/comparison.h"
#include "bench/mill.h"
#include "bench/sides.h"

#include <sqlite3.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace sides {
namespace {

using comparison::answer, comparison::measure;

constexpr const char* them = "sqlite";

struct Close {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Close>;

class Connection {
public:
    explicit Connection(const std::filesystem::path& path)
    {
        sqlite3* raw = nullptr;
        const int code = sqlite3_open(path.c_str(), &raw);
        database_.reset(raw);
        check(code);
        // As durable as we are, and with room in memory for the whole file, as we have.
        run("PRAGMA journal_mode=DELETE");
        run("PRAGMA synchronous=FULL");
        run("PRAGMA cache_size=-400000");
    }
    void run(const char* sql) { check(sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr)); }
    Statement prepare(const std::string& sql)
    {
        sqlite3_stmt* raw = nullptr;
        check(sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &raw, nullptr));
        return Statement(raw);
    }
    bool step(const Statement& statement)
    {
        const int code = sqlite3_step(statement.get());
        if (code != SQLITE_ROW && code != SQLITE_DONE) check(code);
        return code == SQLITE_ROW;
    }

private:
    void check(int code)
    {
        if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database_.get()));
    }
    std::unique_ptr<sqlite3, Close> database_;
};

constexpr const char* insertPressing = "INSERT INTO Hareket VALUES(?,?,?,?,?,?,?)";

void insert(Connection& connection, const Statement& statement, const long_mill::Pressing& pressing,
            const std::vector<std::string>& names)
{
    sqlite3_stmt* s = statement.get();
    sqlite3_bind_double(s, 1, pressing.moment);
    sqlite3_bind_double(s, 2, pressing.olives);
    sqlite3_bind_double(s, 3, pressing.oil);
    sqlite3_bind_double(s, 4, static_cast<double>(pressing.share));
    sqlite3_bind_double(s, 5, pressing.entitlement);
    sqlite3_bind_int64(s, 6, pressing.fee);
    const std::string& name = names[pressing.customer];
    sqlite3_bind_text(s, 7, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
    connection.step(statement);
    sqlite3_reset(s);
}

std::vector<std::string> customerNames()
{
    std::vector<std::string> names;
    for (const long_mill::Customer& customer : long_mill::customers()) names.push_back(long_mill::utf8(customer.name));
    return names;
}

void make(const std::filesystem::path& path, bool indexed)
{
    Connection connection(path);
    connection.run("CREATE TABLE Cari(Unvan TEXT, Yuzde REAL, Kap TEXT, Nakit INTEGER);"
                   "CREATE TABLE Hareket(Tarih REAL, Zeytin REAL, Yağ REAL, Yuzde REAL, HakTut REAL,"
                   " Nakit INTEGER, CariHar TEXT)");
    if (indexed)
        connection.run("CREATE UNIQUE INDEX CariUnvan ON Cari(Unvan); CREATE INDEX HareketTarih ON Hareket(Tarih)");
    connection.run("BEGIN");
    const Statement customerRow = connection.prepare("INSERT INTO Cari VALUES(?,?,?,?)");
    for (const long_mill::Customer& customer : long_mill::customers()) {
        const std::string name = long_mill::utf8(customer.name), container = long_mill::utf8(customer.container);
        sqlite3_bind_text(customerRow.get(), 1, name.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_double(customerRow.get(), 2, static_cast<double>(customer.share));
        sqlite3_bind_text(customerRow.get(), 3, container.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_int64(customerRow.get(), 4, customer.fee);
        connection.step(customerRow);
        sqlite3_reset(customerRow.get());
    }
    const Statement pressingRow = connection.prepare(insertPressing);
    const auto names = customerNames();
    long_mill::pressings(
        [&](const long_mill::Pressing& pressing) { insert(connection, pressingRow, pressing, names); });
    connection.run("COMMIT");
}

void makeKeyed(const std::filesystem::path& path)
{
    Connection connection(path);
    connection.run("CREATE TABLE Kimlik(No INTEGER PRIMARY KEY, Ad TEXT); BEGIN");
    const Statement row = connection.prepare("INSERT INTO Kimlik VALUES(?,?)");
    int number = 0;
    for (const std::string& name : customerNames()) {
        sqlite3_bind_int(row.get(), 1, ++number);
        sqlite3_bind_text(row.get(), 2, name.c_str(), -1, SQLITE_STATIC);
        connection.step(row);
        sqlite3_reset(row.get());
    }
    connection.run("COMMIT");
}

using Session = comparison::Session<Connection>;
using SharedSession = std::shared_ptr<Session>;

SharedSession session(const std::filesystem::path& path)
{
    return std::make_shared<Session>([path] { return std::make_unique<Connection>(path); });
}

std::string period() { return "Tarih>=43040 AND Tarih<=43069.999988425927"; }
std::string sumQuery()
{
    return "SELECT Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket WHERE CariHar<>'Toplamlar' AND " + period();
}

/// Reads every field of a listing; returns the sum of one column and the number of rows.
std::pair<double, double> readAll(Connection& connection, const Statement& statement, int summed)
{
    double sum = 0, rows = 0;
    while (connection.step(statement)) {
        ++rows;
        for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
            if (sqlite3_column_type(statement.get(), i) == SQLITE_TEXT)
                benchmark::DoNotOptimize(sqlite3_column_text(statement.get(), i));
            else if (i == summed)
                sum += sqlite3_column_double(statement.get(), i);
            else
                benchmark::DoNotOptimize(sqlite3_column_double(statement.get(), i));
        }
    }
    return {sum, rows};
}

void searches(const std::string& task, const std::u16string& prefix, const SharedSession& session)
{
    measure(task, them, [=](benchmark::State& state) {
        std::pair<double, double> found;
        for ([[maybe_unused]] auto _ : state) {
            const Statement statement = (**session).prepare("SELECT * FROM Cari WHERE Unvan LIKE '" +
                                                            long_mill::utf8(prefix) + "%' ORDER BY Unvan");
            found = readAll(**session, statement, 3);
        }
        answer(task + " rows", them, found.second);
        answer(task + " fees", them, found.first / 1e4);
    });
}

void listings(const std::string& task, const SharedSession& session)
{
    measure(task, them, [=](benchmark::State& state) {
        std::pair<double, double> found;
        for ([[maybe_unused]] auto _ : state) {
            const Statement statement =
                (**session).prepare("SELECT * FROM Hareket WHERE " + period() + " ORDER BY Tarih");
            found = readAll(**session, statement, 1);
        }
        answer("month rows", them, found.second);
        answer("month olives", them, found.first);
    });
}

void fourSums(const std::string& task, const SharedSession& session)
{
    measure(task, them, [=](benchmark::State& state) {
        double sum[4] = {};
        for ([[maybe_unused]] auto _ : state) {
            const Statement statement = (**session).prepare(sumQuery());
            (**session).step(statement);
            for (int i = 0; i < 4; ++i) sum[i] = sqlite3_column_double(statement.get(), i);
        }
        sum[3] /= 1e4;
        for (std::size_t i = 0; i < 4; ++i) answer("sum " + std::to_string(i), them, sum[i]);
    });
}

void grouped(const SharedSession& session)
{
    measure("olives by share", them, [=](benchmark::State& state) {
        std::pair<double, double> found;
        for ([[maybe_unused]] auto _ : state) {
            const Statement statement = (**session).prepare("SELECT Yuzde,Sum(Zeytin) FROM Hareket GROUP BY Yuzde");
            found = readAll(**session, statement, 1);
        }
        answer("shares", them, found.second);
        answer("olives of shares", them, found.first);
    });
}

void wheresByKey(const SharedSession& session)
{
    measure("Where by key", them, [=](benchmark::State& state) {
        std::size_t key = 1;
        const auto nameOf = [&](std::size_t number) {
            const Statement statement = (**session).prepare("SELECT * FROM Kimlik WHERE No=" + std::to_string(number));
            if (!(**session).step(statement)) throw std::runtime_error("no such customer");
            return static_cast<double>(sqlite3_column_bytes16(statement.get(), 1)) / 2;
        };
        for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(nameOf(key = long_mill::keyAfter(key)));
        answer("name of 777", them, nameOf(777));
    });
}

void checks(const std::filesystem::path& path)
{
    measure("check", them, [=](benchmark::State& state) {
        for ([[maybe_unused]] auto _ : state) {
            Connection connection(path);
            const Statement statement = connection.prepare("PRAGMA integrity_check");
            connection.step(statement);
            if (reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0)) != std::string("ok"))
                throw std::runtime_error("not sound");
        }
    });
}

void compacts(const std::filesystem::path& path)
{
    measure("compact", them, [=](benchmark::State& state) {
        std::filesystem::path to = path;
        to.replace_filename("compact.sqlite");
        std::filesystem::remove(to);
        for ([[maybe_unused]] auto _ : state) {
            Connection(path).run(("VACUUM INTO '" + to.string() + "'").c_str());
            state.PauseTiming();
            std::filesystem::remove(to);
            state.ResumeTiming();
        }
    });
}

/// The fields of a line that has no quotes.
std::vector<std::string> fieldsOf(const std::string& line)
{
    std::vector<std::string> fields(1);
    for (const char letter : line) {
        if (letter == ',')
            fields.emplace_back();
        else
            fields.back() += letter;
    }
    return fields;
}

void imports(const Files& files)
{
    measure("import", them, [=](benchmark::State& state) {
        const std::filesystem::path to = files.folder / "import.sqlite";
        double fees = 0;
        for ([[maybe_unused]] auto _ : state) {
            state.PauseTiming();
            std::filesystem::remove(to);
            {
                Connection connection(to);
                connection.run("CREATE TABLE Cari(Unvan TEXT, Yuzde REAL, Kap TEXT, Nakit REAL);"
                               "CREATE UNIQUE INDEX CariUnvan ON Cari(Unvan)");
            }
            state.ResumeTiming();
            Connection connection(to);
            connection.run("BEGIN");
            const Statement row = connection.prepare("INSERT INTO Cari VALUES(?,?,?,?)");
            std::ifstream csv(files.customersCsv());
            std::string line;
            std::getline(csv, line);
            while (std::getline(csv, line)) {
                const auto fields = fieldsOf(line);
                for (int i = 0; i < 4; ++i)
                    sqlite3_bind_text(row.get(), i + 1, fields[static_cast<std::size_t>(i)].c_str(), -1, SQLITE_STATIC);
                connection.step(row);
                sqlite3_reset(row.get());
            }
            connection.run("COMMIT");
        }
        {
            Connection connection(to);
            const Statement sum = connection.prepare("SELECT Sum(Nakit) FROM Cari");
            connection.step(sum);
            fees = sqlite3_column_double(sum.get(), 0);
        }
        answer("import fees", them, fees);
        std::filesystem::remove(to);
    });
}

void exports(const SharedSession& session)
{
    measure("export", them, [=](benchmark::State& state) {
        std::size_t rows = 0;
        for ([[maybe_unused]] auto _ : state) {
            std::string out;
            rows = 0;
            for (const char* table : {"Cari", "Hareket"}) {
                const Statement statement = (**session).prepare(std::string("SELECT * FROM ") + table);
                while ((**session).step(statement)) {
                    ++rows;
                    for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
                        out += reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), i));
                        out += '\t';
                    }
                    if (out.size() >= 1 << 16) out.clear();
                }
            }
        }
        answer("export rows", them, static_cast<double>(rows));
    });
}

void appends(const std::string& task, const std::filesystem::path& original)
{
    measure(task, them, [=](benchmark::State& state) {
        comparison::onCopy(original, [&](const std::filesystem::path& copy) {
            const auto names = customerNames();
            Connection connection(copy);
            const Statement statement = connection.prepare(insertPressing);
            std::mt19937 random(3);
            double moment = 45300;
            insert(connection, statement, long_mill::nextPressing(random, moment), names);
            for ([[maybe_unused]] auto _ : state)
                insert(connection, statement, long_mill::nextPressing(random, moment += 0.001), names);
        });
    })->MinTime(2);
}

void opens(const std::filesystem::path& path)
{
    measure("open, first row", them, [=](benchmark::State& state) {
        double olives = 0;
        for ([[maybe_unused]] auto _ : state) {
            Connection connection(path);
            const Statement statement = connection.prepare("SELECT Zeytin FROM Hareket LIMIT 1");
            connection.step(statement);
            olives = sqlite3_column_double(statement.get(), 0);
        }
        answer("first olives", them, olives);
    });
    measure("open, four sums", them, [=](benchmark::State& state) {
        double sum = 0;
        for ([[maybe_unused]] auto _ : state) {
            Connection connection(path);
            const Statement statement = connection.prepare(sumQuery());
            connection.step(statement);
            sum = sqlite3_column_double(statement.get(), 0);
        }
        answer("sum 0", them, sum);
    });
}

} // namespace

void prepareSqlite(const Files& files)
{
    comparison::makeOnce(files.sqlitePlain(), [](const std::filesystem::path& path) { make(path, false); });
    comparison::makeOnce(files.sqliteIndexed(), [](const std::filesystem::path& path) { make(path, true); });
    comparison::makeOnce(files.sqliteKeyed(), makeKeyed);
}

void registerSqlite(const Files& files)
{
    const auto plain = session(files.sqlitePlain()), indexed = session(files.sqliteIndexed());
    searches("search, two letters", long_mill::twoLetters, plain);
    searches("search, six letters", long_mill::sixLetters, plain);
    listings("one month", plain);
    listings("one month, indexed", indexed);
    fourSums("four sums", plain);
    fourSums("four sums, indexed", indexed);
    grouped(plain);
    wheresByKey(session(files.sqliteKeyed()));
    exports(plain);
    imports(files);
    checks(files.sqliteIndexed());
    compacts(files.sqliteIndexed());
    opens(files.sqlitePlain());
    appends("append", files.sqlitePlain());
    appends("append, indexed", files.sqliteIndexed());
}

} // namespace sides
