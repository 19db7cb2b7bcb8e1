#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/jet/samples.h"
#include "tests/support/table.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

class SchemaText : public TableTest<Arguments>, protected Tool {
protected:
    std::string schema(const std::string& file, const Arguments& options = {}) const
    {
        Arguments arguments{"schema", file};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.out;
    }
    /// What SQLite makes of the text: the names of its tables and how many references there are.
    static std::string inSqlite(const std::string& sql)
    {
        const char* const script =
            "import sqlite3,sys\n"
            "db=sqlite3.connect(':memory:')\n"
            "db.executescript('PRAGMA foreign_keys=ON;'+sys.stdin.read())\n"
            "names=[r[0] for r in db.execute(\"select name from sqlite_master where type='table' and name not like "
            "'sqlite_%' order by name\")]\n"
            "keys=0\n"
            "for n in names:\n"
            "  keys+=len(set(r[0] for r in db.execute('pragma foreign_key_list(\"%s\")'%n.replace('\"','\"\"'))))\n"
            "  db.execute('select * from \"%s\"'%n.replace('\"','\"\"')).fetchall()\n"
            "db.execute('pragma foreign_key_check').fetchall()\n"
            "print(len(names),keys)\n";
        const Outcome outcome = ::run({.program = "python3", .arguments = {"-c", script}, .input = sql});
        EXPECT_EQ(outcome.code, 0) << outcome.err << sql;
        return simplified(outcome.out);
    }
};

RowTable<Arguments> dialects() { return {{"both", {}}, {"SQLite", {"--dialect", "sqlite"}}}; }

INSTANTIATE_TEST_SUITE_P(, SchemaText, testing::ValuesIn(dialects()), RowName());

TEST_P(SchemaText, isTakenBySqlite)
{
    const std::string file = created();
    {
        using jet::ColumnType;
        const auto database = jet::Database::open(platform::systemDisk(), file);
        database->createTable(u"Tuhaf \"ad\"",
                              {{.name = u"No", .type = ColumnType::longInteger, .autoNumber = true},
                               {.name = u"Para", .type = ColumnType::currency},
                               {.name = u"Kesin", .type = ColumnType::numeric, .precision = 12, .scale = 3},
                               {.name = u"Kim\"lik", .type = ColumnType::guid},
                               {.name = u"Resim", .type = ColumnType::ole},
                               {.name = u"Var", .type = ColumnType::boolean}},
                              {{.name = u"PrimaryKey", .columns = {{u"No", true}}, .unique = true, .primaryKey = true},
                               {.name = u"Para", .columns = {{u"Para", false}, {u"Var", true}}, .unique = true}},
                              jet::DateTime{45000});
    }
    const std::string text = schema(file, row());
    ASSERT_EQ(inSqlite(text), "3 0");
    ASSERT_THAT(text, HasSubstr("\"Unvan\" varchar(100)"));
    ASSERT_THAT(text, HasSubstr("\"Kesin\" numeric(12,3)"));
    ASSERT_THAT(text, HasSubstr("CREATE INDEX \"Hareket_Tarih\" ON \"Hareket\" (\"Tarih\");"));
    ASSERT_THAT(
        text,
        HasSubstr("CREATE UNIQUE INDEX \"Tuhaf \"\"ad\"\"_Para\" ON \"Tuhaf \"\"ad\"\"\" (\"Para\" DESC, \"Var\");"));
    ASSERT_THAT(text,
                HasSubstr(row().empty() ? "\"No\" integer NOT NULL" : "\"No\" integer PRIMARY KEY AUTOINCREMENT"));
}

TEST_P(SchemaText, ofSampleDatabasesIsTakenBySqlite)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    for (const std::filesystem::path& file : samples::databases()) {
        const auto database = jet::Database::open(platform::systemDisk(), file, jet::Pager::Mode::readOnly);
        const std::string tables = std::to_string(database->tableNames().size());
        ASSERT_THAT(inSqlite(schema(file.string(), row())), testing::StartsWith(tables + " ")) << file;
    }
}

TEST_P(SchemaText, hasTheRelationshipsThatTheFileEnforces)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    const std::string text = schema(samples::database("mdb/northwind-2000.mdb").string(), row());
    ASSERT_EQ(inSqlite(text), "8 7");
    ASSERT_THAT(text,
                HasSubstr("FOREIGN KEY (\"CustomerID\") REFERENCES \"Customers\" (\"CustomerID\") ON UPDATE CASCADE"));
    ASSERT_THAT(text, Not(HasSubstr("--")));
}

class SchemaDialects : public testing::Test, protected Tool {};

TEST_F(SchemaDialects, postgresGetsItsCountersAndItsReferencesInTheEnd)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    const Outcome outcome =
        run({"schema", samples::database("mdb/northwind-2000.mdb").string(), "--dialect", "postgres"});
    ASSERT_EQ(outcome.code, 0);
    ASSERT_THAT(outcome.out, HasSubstr("\"OrderID\" integer NOT NULL GENERATED BY DEFAULT AS IDENTITY"));
    ASSERT_LT(outcome.out.rfind("CREATE TABLE"), outcome.out.find("ALTER TABLE"));
    ASSERT_EQ(countOf("ALTER TABLE", outcome.out), 7);
}

} // namespace
