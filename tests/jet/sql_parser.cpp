#include <cstddef> // moc needs it ahead of <compare>

#include "store/jet/format/doors.h"
#include "store/jet/sql/sql_parser.h"
#include "store/jet/values/calendar.h"

#include <QTest>

using namespace jet::sql;

namespace {

QString shown(const std::u16string& text) { return QString::fromStdU16String(text); }

QString shown(const Operand& operand)
{
    if (operand.isField()) return "[" + shown(operand.field) + "]";
    if (jet::isNull(operand.value)) return "Null";
    if (const auto* flag = std::get_if<bool>(&operand.value)) return *flag ? "True" : "False";
    if (const auto* number = std::get_if<double>(&operand.value)) return QString::number(*number, 'g', 17);
    if (const auto* moment = std::get_if<jet::DateTime>(&operand.value))
        return QString("#%1#").arg(jet::milliseconds(*moment));
    return "'" + shown(std::get<std::u16string>(operand.value)) + "'";
}

QString shown(const Expression& expression)
{
    static const QStringList signs{"=", "<>", "<", "<=", ">", ">="};
    QStringList parts;
    for (const Expression& part : expression.parts) parts << shown(part);
    switch (expression.kind) {
    case Expression::Kind::all:
        return "(" + parts.join(" & ") + ")";
    case Expression::Kind::any:
        return "(" + parts.join(" | ") + ")";
    case Expression::Kind::negation:
        return "!" + parts.join("");
    case Expression::Kind::compare:
        return shown(expression.left) + signs[static_cast<int>(expression.comparison)] + shown(expression.right);
    case Expression::Kind::like:
        return shown(expression.left) + "~'" + shown(expression.pattern) + "'";
    case Expression::Kind::isNull:
        return shown(expression.left) + " empty";
    }
    return {};
}

QString shown(const Statement& statement)
{
    QString text = statement.kind == Statement::Kind::select ? "select" : "delete";
    for (const Output& output : statement.outputs)
        text += " " + (output.sum ? "sum(" + shown(output.field) + ")" : shown(output.field));
    text += " of " + shown(statement.table);
    if (statement.where) text += " where " + shown(*statement.where);
    for (const OrderItem& item : statement.order) text += " by " + shown(item.field) + (item.descending ? "-" : "+");
    return text;
}

} // namespace

class TestSqlParser : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsStatements_data();
    void readsStatements();
    void readsConditions_data();
    void readsConditions();
    void refusesWhatItDoesNotUnderstand_data();
    void refusesWhatItDoesNotUnderstand();
    void aDateLiteralIsTheSameDoubleAsAStoredMoment();
    void theSentenceShowsWhereReadingStopped();
};

void TestSqlParser::readsStatements_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("tree");
    // clang-format off
    QTest::newRow("customer search") << "Select * From Cari where Unvan Like 'Al*' Order By Unvan Asc"
                                     << "select of Cari where [Unvan]~'Al*' by Unvan+";
    QTest::newRow("search for nothing typed") << "Select * From Cari where Unvan Like '*' Order By Unvan Asc"
                                     << "select of Cari where [Unvan]~'*' by Unvan+";
    QTest::newRow("all customers away") << "DELETE FROM Cari" << "delete of Cari";
    QTest::newRow("all pressings away") << "DELETE FROM Hareket" << "delete of Hareket";
    QTest::newRow("one customer's pressings away") << "DELETE FROM Hareket Where CariHar='Ali Veli'"
                                     << "delete of Hareket where [CariHar]='Ali Veli'";
    QTest::newRow("whole journal") << "Select * From Hareket Order By Tarih Asc;" << "select of Hareket by Tarih+";
    QTest::newRow("period") << "Select * From Hareket where Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59# Order By Tarih Asc"
                            << "select of Hareket where ([Tarih]>=#3947702400000# & [Tarih]<=#3947788799000#) by Tarih+";
    QTest::newRow("period of one customer") << "Select * From Hareket where Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59# And CariHar='Ali' Order By Tarih Asc"
                            << "select of Hareket where ([Tarih]>=#3947702400000# & [Tarih]<=#3947788799000# & [CariHar]='Ali') by Tarih+";
    QTest::newRow("old totals away") << "DELETE FROM Hareket WHERE CariHar='Toplamlar'"
                            << "delete of Hareket where [CariHar]='Toplamlar'";
    QTest::newRow("sums") << "Select Sum(Zeytin),Sum(Yağ),Sum(HakTut),Sum(Nakit) FROM Hareket Where CariHar<>'Toplamlar' And Tarih>=#02/03/2025 00:00:00# And Tarih<=#02/03/2025 23:59:59#"
                          << "select sum(Zeytin) sum(Yağ) sum(HakTut) sum(Nakit) of Hareket where ([CariHar]<>'Toplamlar' & [Tarih]>=#3947702400000# & [Tarih]<=#3947788799000#)";
    QTest::newRow("keywords in capitals") << "SELECT * FROM Cari WHERE Unvan LIKE 'A*' ORDER BY Unvan DESC ;" << "select of Cari where [Unvan]~'A*' by Unvan-";
    QTest::newRow("keywords in small letters") << "select * from Cari where Unvan like 'A*' order by Unvan" << "select of Cari where [Unvan]~'A*' by Unvan+";
    QTest::newRow("fields, several orders") << "Select Unvan, Nakit From Cari Order By Nakit Desc, Unvan" << "select Unvan Nakit of Cari by Nakit- by Unvan+";
    QTest::newRow("names in brackets") << "Select [Yağ],[Order By] From [Eski Hareket]" << "select Yağ Order By of Eski Hareket";
    QTest::newRow("a field of the name Sum") << "Select Sum, Zeytin From Hareket" << "select Sum Zeytin of Hareket";
    QTest::newRow("line ends are blanks") << "Select *\r\n\tFrom Cari\r\n" << "select of Cari";
    // clang-format on
}

void TestSqlParser::readsStatements()
{
    QFETCH(QString, text);
    QFETCH(QString, tree);
    QCOMPARE(shown(parseStatement(text.toStdU16String())), tree);
}

void TestSqlParser::readsConditions_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("tree");
    // clang-format off
    QTest::newRow("find a customer")      << "Unvan='Ali'" << "[Unvan]='Ali'";
    QTest::newRow("find the totals")      << "CariHar='Toplamlar'" << "[CariHar]='Toplamlar'";
    QTest::newRow("a doubled quote is one") << "Unvan='O''Neil'" << "[Unvan]='O'Neil'";
    QTest::newRow("double quotes")        << "Unvan=\"O'Neil\"" << "[Unvan]='O'Neil'";
    QTest::newRow("empty text")           << "Unvan=''" << "[Unvan]=''";
    QTest::newRow("blanks are kept")      << "Unvan=' Ali '" << "[Unvan]=' Ali '";
    QTest::newRow("And before Or")        << "a=1 Or b=2 And c=3" << "([a]=1 | ([b]=2 & [c]=3))";
    QTest::newRow("parentheses")          << "(a=1 Or b=2) And c=3" << "(([a]=1 | [b]=2) & [c]=3)";
    QTest::newRow("Not takes one comparison") << "Not a=1 And b=2" << "(![a]=1 & [b]=2)";
    QTest::newRow("Not twice")            << "Not Not a=1" << "[a]=1";
    QTest::newRow("Not with parentheses") << "Not (a=1 Or b=2)" << "!([a]=1 | [b]=2)";
    QTest::newRow("empty")                << "Nakit Is Null" << "[Nakit] empty";
    QTest::newRow("not empty")            << "Nakit IS NOT NULL" << "![Nakit] empty";
    QTest::newRow("not like")             << "Unvan Not Like 'A*'" << "![Unvan]~'A*'";
    QTest::newRow("signs")                << "a<1 And b<=1 And c>1 And d>=1 And e<>1" << "([a]<1 & [b]<=1 & [c]>1 & [d]>=1 & [e]<>1)";
    QTest::newRow("numbers")              << "a=12.75 Or a=.5 Or a=-3 Or a=1e3 Or a=+2" << "([a]=12.75 | [a]=0.5 | [a]=-3 | [a]=1000 | [a]=2)";
    QTest::newRow("flags")                << "a=True Or a=FALSE Or a=Null" << "([a]=True | [a]=False | [a]=Null)";
    QTest::newRow("a day")                << "Tarih>#1/2/1900#" << "[Tarih]>#259200000#";
    QTest::newRow("a day and minutes")    << "Tarih>#1/2/1900 1:05#" << "[Tarih]>#263100000#";
    QTest::newRow("value first")          << "5<Nakit" << "5<[Nakit]";
    QTest::newRow("two fields")           << "Zeytin=[Yağ]" << "[Zeytin]=[Yağ]";
    // clang-format on
}

void TestSqlParser::readsConditions()
{
    QFETCH(QString, text);
    QFETCH(QString, tree);
    QCOMPARE(shown(parseCondition(text.toStdU16String())), tree);
}

void TestSqlParser::refusesWhatItDoesNotUnderstand_data()
{
    QTest::addColumn<QString>("text");
    // clang-format off
    QTest::newRow("nothing")                 << "";
    QTest::newRow("an apostrophe in a searched name") << "Select * From Cari where Unvan Like 'O'N*' Order By Unvan Asc";
    QTest::newRow("an apostrophe in a deleted name")  << "DELETE FROM Hareket Where CariHar='O'Neil'";
    QTest::newRow("an apostrophe at the end")         << "DELETE FROM Hareket Where CariHar='Ali''";
    QTest::newRow("a name that ends the statement")   << "DELETE FROM Hareket Where CariHar='x'; DELETE FROM Cari '";
    QTest::newRow("a comment sign")          << "DELETE FROM Hareket Where CariHar='x' -- '";
    QTest::newRow("two statements")          << "DELETE FROM Hareket; DELETE FROM Cari";
    QTest::newRow("no condition")            << "DELETE FROM Hareket Where";
    QTest::newRow("half a condition")        << "DELETE FROM Hareket Where CariHar=";
    QTest::newRow("And without a right side") << "DELETE FROM Hareket Where Nakit=1 And";
    QTest::newRow("a lone value")            << "DELETE FROM Hareket Where 1";
    QTest::newRow("a lone flag")             << "DELETE FROM Hareket Where True";
    QTest::newRow("parenthesis left open")   << "DELETE FROM Hareket Where (Nakit=1";
    QTest::newRow("order on a delete")       << "DELETE FROM Hareket Order By Tarih";
    QTest::newRow("fields on a delete")      << "DELETE * FROM Hareket";
    QTest::newRow("update")                  << "UPDATE Cari SET Unvan='x'";
    QTest::newRow("two tables")              << "Select * From Cari, Hareket";
    QTest::newRow("no table")                << "Select * From where Unvan='x'";
    QTest::newRow("no fields")               << "Select From Cari";
    QTest::newRow("sum not closed")          << "Select Sum(Zeytin From Hareket";
    QTest::newRow("unknown function")        << "Select Max(Zeytin) From Hareket";
    QTest::newRow("unclosed brackets")       << "Select * From [Cari";
    QTest::newRow("empty brackets")          << "Select * From []";
    QTest::newRow("month 13")                << "Select * From Hareket where Tarih>=#13/01/2025#";
    QTest::newRow("30 February")             << "Select * From Hareket where Tarih>=#02/30/2025#";
    QTest::newRow("hour 24")                 << "Select * From Hareket where Tarih>=#02/03/2025 24:00:00#";
    QTest::newRow("a date without year")     << "Select * From Hareket where Tarih>=#02/03#";
    QTest::newRow("a date left open")        << "Select * From Hareket where Tarih>=#02/03/2025";
    QTest::newRow("a date in words")         << "Select * From Hareket where Tarih>=#3 Feb 2025#";
    QTest::newRow("a number and a word in one") << "Select * From Hareket where Nakit=12kg";
    QTest::newRow("too large a number")      << "Select * From Hareket where Nakit=1e999";
    QTest::newRow("Like without quotes")     << "Select * From Cari where Unvan Like Ali";
    QTest::newRow("nesting without end")     << "Select * From Cari where " + QString(1000, '(');
    // clang-format on
}

void TestSqlParser::refusesWhatItDoesNotUnderstand()
{
    QFETCH(QString, text);
    try {
        parseStatement(text.toStdU16String());
        QFAIL("the text was taken");
    } catch (const jet::Error& error) {
        QCOMPARE(error.fault(), jet::Fault::syntax);
    }
}

void TestSqlParser::aDateLiteralIsTheSameDoubleAsAStoredMoment()
{
    const Expression day = parseCondition(u"Tarih=#11/05/2024 14:07:33#");
    QCOMPARE(std::get<jet::DateTime>(day.right.value).days, 45601 + (14 * 3600 + 7 * 60 + 33) / 86400.0);
    const Expression early = parseCondition(u"Tarih=#12/29/1899 06:00:00#");
    QCOMPARE(std::get<jet::DateTime>(early.right.value).days, -1.25);
}

void TestSqlParser::theSentenceShowsWhereReadingStopped()
{
    try {
        parseStatement(u"DELETE FROM Hareket Where CariHar='O'Neil'");
        QFAIL("the text was taken");
    } catch (const jet::Error& error) {
        const QString sentence = QString::fromUtf8(error.what());
        QVERIFY2(sentence.contains(QString::fromUtf8("CariHar='O'»Neil'")), error.what());
        QVERIFY2(sentence.contains(QString::fromUtf8("hiçbir kayıt değişmedi")), error.what());
    }
}

QTEST_APPLESS_MAIN(TestSqlParser)
#include "sql_parser.moc"
