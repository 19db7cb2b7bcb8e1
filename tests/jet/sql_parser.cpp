#include "store/jet/sql/sql_parser.h"
#include "store/jet/format/doors.h"
#include "store/jet/values/calendar.h"
#include "tests/support/fault.h"
#include "tests/support/table.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>

using namespace jet::sql;

namespace {

using testing::HasSubstr;

std::string shown(const std::u16string& text) { return jet::toUtf8(text); }

std::string digits(double number)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.17g", number);
    return text.data();
}

std::string joined(const std::vector<std::string>& parts, const char* between)
{
    std::string all;
    for (const std::string& part : parts) all += (&part == &parts.front() ? "" : between) + part;
    return all;
}

std::string shown(const Operand& operand)
{
    if (operand.isField()) return "[" + shown(operand.field) + "]";
    if (jet::isNull(operand.value)) return "Null";
    if (const auto* flag = std::get_if<bool>(&operand.value)) return *flag ? "True" : "False";
    if (const auto* number = std::get_if<double>(&operand.value)) return digits(*number);
    if (const auto* moment = std::get_if<jet::DateTime>(&operand.value))
        return "#" + std::to_string(jet::milliseconds(*moment)) + "#";
    return "'" + shown(std::get<std::u16string>(operand.value)) + "'";
}

std::string shown(const Expression& expression)
{
    static const std::vector<std::string> signs{"", "<", "=", "<=", ">", "<>", ">="};
    std::vector<std::string> parts;
    for (const Expression& part : expression.parts) parts.push_back(shown(part));
    switch (expression.kind) {
    case Expression::Kind::all:
        return "(" + joined(parts, " & ") + ")";
    case Expression::Kind::any:
        return "(" + joined(parts, " | ") + ")";
    case Expression::Kind::negation:
        return "!" + joined(parts, "");
    case Expression::Kind::compare:
        return shown(expression.left) + signs[static_cast<int>(expression.comparison)] + shown(expression.right);
    case Expression::Kind::like:
        return shown(expression.left) + "~'" + shown(expression.pattern) + "'";
    case Expression::Kind::isNull:
        return shown(expression.left) + " empty";
    }
    return {};
}

std::string shown(const Statement& statement)
{
    std::string text = statement.kind == Statement::Kind::select ? "select" : "delete";
    for (const Output& output : statement.outputs)
        text += " " + (output.sum ? "sum(" + shown(output.field) + ")" : shown(output.field));
    text += " of " + shown(statement.table);
    if (statement.where) text += " where " + shown(*statement.where);
    for (const OrderItem& item : statement.order) text += " by " + shown(item.field) + (item.descending ? "-" : "+");
    return text;
}

struct SqlParserStatementsRow {
    std::string text;
    std::string tree;
};

const RowTable<SqlParserStatementsRow> sqlParserStatements = {
    {"customer search",
     {"Select * From Cari where Unvan Like 'Al*' Order By Unvan Asc", "select of Cari where [Unvan]~'Al*' by Unvan+"}},
    {"search for nothing typed",
     {"Select * From Cari where Unvan Like '*' Order By Unvan Asc", "select of Cari where [Unvan]~'*' by Unvan+"}},
    {"all customers away", {"DELETE FROM Cari", "delete of Cari"}},
    {"all pressings away", {"DELETE FROM Hareket", "delete of Hareket"}},
    {"one customer's pressings away",
     {"DELETE FROM Hareket Where CariHar='Ali Veli'", "delete of Hareket where [CariHar]='Ali Veli'"}},
    {"whole journal", {"Select * From Hareket Order By Tarih Asc;", "select of Hareket by Tarih+"}},
    {"period",
     {"Select * From Hareket where Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59# Order By Tarih "
      "Asc",
      "select of Hareket where ([Tarih]>=#3947702400000# & [Tarih]<=#3947788799000#) by Tarih+"}},
    {"period of one customer",
     {"Select * From Hareket where Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59# And CariHar='Ali' "
      "Order By Tarih Asc",
      "select of Hareket where ([Tarih]>=#3947702400000# & [Tarih]<=#3947788799000# & [CariHar]='Ali') by Tarih+"}},
    {"old totals away",
     {"DELETE FROM Hareket WHERE CariHar='Toplamlar'", "delete of Hareket where [CariHar]='Toplamlar'"}},
    {"sums",
     {"Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where CariHar<>'Toplamlar' And "
      "Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59#",
      "select sum(Zeytin) sum(Yağ) sum(HakTut) sum(Nakit) of Hareket where ([CariHar]<>'Toplamlar' & "
      "[Tarih]>=#3947702400000# & [Tarih]<=#3947788799000#)"}},
    {"keywords in capitals",
     {"SELECT * FROM Cari WHERE Unvan LIKE 'A*' ORDER BY Unvan DESC ;", "select of Cari where [Unvan]~'A*' by Unvan-"}},
    {"keywords in small letters",
     {"select * from Cari where Unvan like 'A*' order by Unvan", "select of Cari where [Unvan]~'A*' by Unvan+"}},
    {"fields, several orders",
     {"Select Unvan, Nakit From Cari Order By Nakit Desc, Unvan", "select Unvan Nakit of Cari by Nakit- by Unvan+"}},
    {"names in brackets", {"Select [Yağ],[Order By] From [Eski Hareket]", "select Yağ Order By of Eski Hareket"}},
    {"a field of the name Sum", {"Select Sum, Zeytin From Hareket", "select Sum Zeytin of Hareket"}},
    {"line ends are blanks", {"Select *\r\n\tFrom Cari\r\n", "select of Cari"}},
};

TABLE_SUITE(SqlParserStatements, SqlParserStatementsRow, sqlParserStatements);

TEST_P(SqlParserStatements, readsStatements)
{
    const auto& [text, tree] = row();
    ASSERT_EQ(shown(parseStatement(jet::fromUtf8(text))), tree);
}

struct SqlParserConditionsRow {
    std::string text;
    std::string tree;
};

const RowTable<SqlParserConditionsRow> sqlParserConditions = {
    {"find a customer", {"Unvan='Ali'", "[Unvan]='Ali'"}},
    {"find the totals", {"CariHar='Toplamlar'", "[CariHar]='Toplamlar'"}},
    {"a doubled quote is one", {"Unvan='O''Neil'", "[Unvan]='O'Neil'"}},
    {"double quotes", {"Unvan=\"O'Neil\"", "[Unvan]='O'Neil'"}},
    {"empty text", {"Unvan=''", "[Unvan]=''"}},
    {"blanks are kept", {"Unvan=' Ali '", "[Unvan]=' Ali '"}},
    {"And before Or", {"a=1 Or b=2 And c=3", "([a]=1 | ([b]=2 & [c]=3))"}},
    {"parentheses", {"(a=1 Or b=2) And c=3", "(([a]=1 | [b]=2) & [c]=3)"}},
    {"Not takes one comparison", {"Not a=1 And b=2", "(![a]=1 & [b]=2)"}},
    {"Not twice", {"Not Not a=1", "[a]=1"}},
    {"Not with parentheses", {"Not (a=1 Or b=2)", "!([a]=1 | [b]=2)"}},
    {"empty", {"Nakit Is Null", "[Nakit] empty"}},
    {"not empty", {"Nakit IS NOT NULL", "![Nakit] empty"}},
    {"not like", {"Unvan Not Like 'A*'", "![Unvan]~'A*'"}},
    {"signs", {"a<1 And b<=1 And c>1 And d>=1 And e<>1", "([a]<1 & [b]<=1 & [c]>1 & [d]>=1 & [e]<>1)"}},
    {"numbers", {"a=12.75 Or a=.5 Or a=-3 Or a=1e3 Or a=+2", "([a]=12.75 | [a]=0.5 | [a]=-3 | [a]=1000 | [a]=2)"}},
    {"flags", {"a=True Or a=FALSE Or a=Null", "([a]=True | [a]=False | [a]=Null)"}},
    {"a day", {"Tarih>#1/2/1900#", "[Tarih]>#259200000#"}},
    {"a day and minutes", {"Tarih>#1/2/1900 1:05#", "[Tarih]>#263100000#"}},
    {"value first", {"5<Nakit", "5<[Nakit]"}},
    {"two fields", {"Zeytin=[Yağ]", "[Zeytin]=[Yağ]"}},
};

TABLE_SUITE(SqlParserConditions, SqlParserConditionsRow, sqlParserConditions);

TEST_P(SqlParserConditions, readsConditions)
{
    const auto& [text, tree] = row();
    ASSERT_EQ(shown(parseCondition(jet::fromUtf8(text))), tree);
}

const RowTable<std::string> sqlParserRefusal = {
    {"nothing", ""},
    {"an apostrophe in a searched name", "Select * From Cari where Unvan Like 'O'N*' Order By Unvan Asc"},
    {"an apostrophe in a deleted name", "DELETE FROM Hareket Where CariHar='O'Neil'"},
    {"an apostrophe at the end", "DELETE FROM Hareket Where CariHar='Ali''"},
    {"a name that ends the statement", "DELETE FROM Hareket Where CariHar='x'; DELETE FROM Cari '"},
    {"a comment sign", "DELETE FROM Hareket Where CariHar='x' -- '"},
    {"two statements", "DELETE FROM Hareket; DELETE FROM Cari"},
    {"no condition", "DELETE FROM Hareket Where"},
    {"half a condition", "DELETE FROM Hareket Where CariHar="},
    {"And without a right side", "DELETE FROM Hareket Where Nakit=1 And"},
    {"a lone value", "DELETE FROM Hareket Where 1"},
    {"a lone flag", "DELETE FROM Hareket Where True"},
    {"parenthesis left open", "DELETE FROM Hareket Where (Nakit=1"},
    {"order on a delete", "DELETE FROM Hareket Order By Tarih"},
    {"fields on a delete", "DELETE * FROM Hareket"},
    {"update", "UPDATE Cari SET Unvan='x'"},
    {"two tables", "Select * From Cari, Hareket"},
    {"no table", "Select * From where Unvan='x'"},
    {"no fields", "Select From Cari"},
    {"sum not closed", "Select Sum(Zeytin From Hareket"},
    {"unknown function", "Select Max(Zeytin) From Hareket"},
    {"unclosed brackets", "Select * From [Cari"},
    {"empty brackets", "Select * From []"},
    {"month 13", "Select * From Hareket where Tarih>=#13/01/2025#"},
    {"30 February", "Select * From Hareket where Tarih>=#02/30/2025#"},
    {"hour 24", "Select * From Hareket where Tarih>=#02/03/2025 24:00:00#"},
    {"a date without year", "Select * From Hareket where Tarih>=#02/03#"},
    {"a date left open", "Select * From Hareket where Tarih>=#02/03/2025"},
    {"a date in words", "Select * From Hareket where Tarih>=#3 Feb 2025#"},
    {"a number and a word in one", "Select * From Hareket where Nakit=12kg"},
    {"too large a number", "Select * From Hareket where Nakit=1e999"},
    {"Like without quotes", "Select * From Cari where Unvan Like Ali"},
    {"nesting without end", "Select * From Cari where " + std::string(1000, '(')},
};

TABLE_SUITE(SqlParserRefusal, std::string, sqlParserRefusal);

TEST_P(SqlParserRefusal, refusesWhatItDoesNotUnderstand)
{
    const std::string& text = row();
    ASSERT_EQ(faultOf([&] { parseStatement(jet::fromUtf8(text)); }), jet::Fault::syntax);
}

TEST(SqlParser, aDateLiteralIsTheSameDoubleAsAStoredMoment)
{
    const Expression day = parseCondition(u"Tarih=#11/05/2024 14:07:33#");
    ASSERT_EQ(std::get<jet::DateTime>(day.right.value).days, 45601 + (14 * 3600 + 7 * 60 + 33) / 86400.0);
    const Expression early = parseCondition(u"Tarih=#12/29/1899 06:00:00#");
    ASSERT_EQ(std::get<jet::DateTime>(early.right.value).days, -1.25);
}

TEST(SqlParser, theSentenceShowsWhereReadingStopped)
{
    const auto refusal = refusalOf([&] { parseStatement(u"DELETE FROM Hareket Where CariHar='O'Neil'"); });
    ASSERT_THAT(refusal.sentence, HasSubstr("CariHar='O'»Neil'"));
    ASSERT_THAT(refusal.sentence, HasSubstr("hiçbir kayıt değişmedi"));
}

} // namespace
