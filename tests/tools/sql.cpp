#include "platform/system_disk.h"
#include "query/statement.h"
#include "store/jet/database/database.h"
#include "tests/jet/property_block.h"
#include "tests/jet/related_tables.h"
#include "tests/jet/samples.h"
#include "tests/support/files.h"
#include "tests/support/table.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using testing::HasSubstr;

/// A mill of three customers and five pressings, and a table of codes.
class SqlMill : protected Tool {
protected:
    SqlMill() : file_(created())
    {
        load("Cari", "Unvan,Yuzde,Nakit\nVeli,10,20\nAli Çelik,12.5,10.5\nÇetin,,\n");
        load("Hareket", "Tarih,Zeytin,Yağ,CariHar\n"
                        "2025-11-20T14:05:00,1250,250,Ali Çelik\n"
                        "2025-11-20T16:00:00,100.1,20.1,Veli\n"
                        "2025-11-21T09:00:00,0.2,0.1,VELİ\n"
                        "2025-12-01T00:00:00,500,90,Ali Çelik\n"
                        "2026-01-15T12:00:00,,,Işıl\n");
    }
    void load(const std::string& table, const std::string& rows) const
    {
        EXPECT_THAT(run({"import", file_, table, "-"}, rows), succeeds());
    }
    Outcome sql(const std::string& text) const { return run({"sql", file_, text}); }
    std::string file_;
};

/// For tests whose questions SQLite answers.
template <class Test> class Answered : public Test {
protected:
    void SetUp() override
    {
        if (!query::available()) GTEST_SKIP() << "built without SQLite";
    }
};

struct QuestionRow {
    std::string sql;
    std::string answer; ///< lines parted by |, the names first
};
class SqlQuestions : public Answered<TableTest<QuestionRow>>, protected SqlMill {};

std::string times(int count, const std::string& text)
{
    std::string all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}

/// The text with 1, 2, ... behind it, one after the other.
std::string numbered(int count, const std::string& text)
{
    std::string all;
    for (int i = 1; i <= count; ++i) all += text + std::to_string(i);
    return all;
}

const RowTable<QuestionRow> sqlQuestions = {
    {"all columns", {"Select * From Cari", "Unvan,Yuzde,Kap,Nakit|Veli,10,,20|Ali Çelik,12.5,,10.5|Çetin,,,"}},
    {"names as the table spells them", {"select UNVAN, nakit from CARI where nakit > 15", "Unvan,Nakit|Veli,20"}},
    {"alias and expression",
     {"Select Unvan As Ad, Nakit*2+1 As İki From Cari Where Nakit Is Not Null", "Ad,İki|Veli,41|Ali Çelik,22"}},
    {"Turkish order", {"Select Unvan From Cari Order By Unvan", "Unvan|Ali Çelik|Çetin|Veli"}},
    {"order down, Null last", {"Select Unvan From Cari Order By Nakit Desc", "Unvan|Veli|Ali Çelik|Çetin"}},
    {"order by an alias", {"Select Nakit As N, Unvan From Cari Order By N", "N,Unvan|,Çetin|10.5,Ali Çelik|20,Veli"}},
    {"Distinct ignores letter case",
     {"Select Distinct CariHar From Hareket Order By CariHar", "CariHar|Ali Çelik|Işıl|Veli"}},
    {"Top", {"Select Top 2 Zeytin From Hareket Order By Zeytin Desc", "Zeytin|1250|500"}},
    {"exact sums",
     {"Select Count(*), Count(Zeytin), Sum(Yağ), Min(Zeytin), Max(Tarih) From Hareket",
      "Count(*),Count(Zeytin),Sum(Yağ),Min(Zeytin),Max(Tarih)|5,4,360.2,0.2,2026-01-15T12:00:00"}},
    {"sums of nothing", {"Select Count(*) As S, Sum(Yağ) As T From Hareket Where Zeytin > 9999", "S,T|0,"}},
    {"average and deviation", {"Select Avg(Nakit) As O, Round(StDev(Nakit), 3) As S From Cari", "O,S|15.25,6.718"}},
    {"group and having",
     {"Select CariHar, Sum(Zeytin) As Z From Hareket Group By CariHar Having Sum(Zeytin) > 50 "
      "Order By Sum(Zeytin) Desc",
      "CariHar,Z|Ali Çelik,1750|Veli,100.3"}},
    {"group by an expression",
     {"Select Year(Tarih) As Y, Month(Tarih) As A, Count(*) As S From Hareket "
      "Group By Year(Tarih), Month(Tarih) Order By Year(Tarih), Month(Tarih)",
      "Y,A,S|2025,11,3|2025,12,1|2026,1,1"}},
    {"equal but for letter case", {"Select Zeytin From Hareket Where CariHar = 'veli'", "Zeytin|100.1|0.2"}},
    {"exactly equal", {"Select Zeytin From Hareket Where StrComp(CariHar, 'Veli', 0) = 0", "Zeytin|100.1"}},
    {"letters of unknown weight are not each other",
     {"Select Count(*) As S From (Select '東' As T From Cari Union Select '京' "
      "From Cari) As A",
      "S|2"}},
    {"unequal", {"Select Unvan From Cari Where Unvan <> 'VELİ'", "Unvan|Ali Çelik|Çetin"}},
    {"a query for one value", {"Select Unvan From Cari Where Nakit = (Select Max(Nakit) From Cari)", "Unvan|Veli"}},
    {"a query for the one row there is",
     {"Select Unvan, (Select Zeytin From Hareket Where CariHar = Unvan And Zeytin > 600) As Z From Cari",
      "Unvan,Z|Veli,|Ali Çelik,1250|Çetin,"}},
    {"a query for the first row",
     {"Select (Select Top 1 Zeytin From Hareket Order By Zeytin Desc) As Z, (Select 5) As F From Cari Where Nakit = 20",
      "Z,F|1250,5"}},
    {"a query for equal rows that become one",
     {"Select (Select Distinct CariHar From Hareket Where CariHar Like 'v*') As T From Cari Where Nakit = 20",
      "T|Veli"}},
    {"a query for the text of a row, compared without letter case",
     {"Select Unvan From Cari Where Unvan = (Select CariHar From Hareket Where Zeytin = 0.2)", "Unvan|Veli"}},
    {"a date as a text by Format",
     {"Select Zeytin From Hareket Where Format(Tarih, 'dd.mm.yyyy') Like '20.11.*'", "Zeytin|1250|100.1"}},
    {"numbers as conditions", {"Select Unvan From Cari Where Not Nz(Nakit)", "Unvan|Çetin"}},
    {"In", {"Select Unvan From Cari Where Unvan In ('çetin', 'Ayşe') Or Nakit In (20, 30)", "Unvan|Veli|Çetin"}},
    {"Not In a query", {"Select Unvan From Cari Where Unvan Not In (Select CariHar From Hareket)", "Unvan|Çetin"}},
    {"Between dates",
     {"Select Zeytin From Hareket Where Tarih Between #11/20/2025# And #11/21/2025 23:59:59#",
      "Zeytin|1250|100.1|0.2"}},
    {"dates by an index, both ends open",
     {"Select Zeytin From Hareket Where Tarih > #2025-11-20 14:05# And Tarih < "
      "#2025-12-01#",
      "Zeytin|100.1|0.2"}},
    {"one moment", {"Select Zeytin From Hareket Where Tarih = #11/20/2025 14:05:00#", "Zeytin|1250"}},
    {"date and number", {"Select Zeytin From Hareket Where Tarih >= 46000", "Zeytin|"}},
    {"Like", {"Select Unvan From Cari Where Unvan Like '*ÇEL?K'", "Unvan|Ali Çelik"}},
    {"Not Like a set", {"Select Unvan From Cari Where Unvan Not Like '[a-c]*'", "Unvan|Veli|Çetin"}},
    {"Is Null", {"Select Unvan From Cari Where Nakit Is Null", "Unvan|Çetin"}},
    {"Not, And, Or", {"Select Unvan From Cari Where Not (Nakit = 20 Or Yuzde Is Null) And True", "Unvan|Ali Çelik"}},
    {"conditions as values",
     {"Select Nakit > 15 As B, IIf(Nakit > 15, 'çok', 'az') As M From Cari", "B,M|-1,çok|0,az|,az"}},
    {"inner join",
     {"Select C.Unvan, H.Zeytin From Cari As C Inner Join Hareket As H On C.Unvan = H.CariHar "
      "Where C.Nakit = 20 Order By H.Tarih",
      "Unvan,Zeytin|Veli,100.1|Veli,0.2"}},
    {"left join",
     {"Select Cari.Unvan, Count(Hareket.Zeytin) As S From Cari Left Join Hareket On Cari.Unvan = "
      "Hareket.CariHar Group By Cari.Unvan Order By Cari.Unvan",
      "Unvan,S|Ali Çelik,2|Çetin,0|Veli,2"}},
    {"right join",
     {"Select Unvan, CariHar From Cari Right Join Hareket On Unvan = CariHar Where Unvan Is Null",
      "Unvan,CariHar|,Işıl"}},
    {"three tables with brackets",
     {"Select a.Unvan From (Cari As a Inner Join Cari As b On a.Unvan = b.Unvan) Inner Join "
      "Cari As c On b.Unvan = c.Unvan Order By 1",
      "Unvan|Ali Çelik|Çetin|Veli"}},
    {"a query in From",
     {"Select Max(Z) As M From (Select CariHar, Sum(Zeytin) As Z From Hareket Group By CariHar) As T", "M|1750"}},
    {"a value from a query", {"Select Unvan From Cari Where Nakit > (Select Avg(Nakit) From Cari)", "Unvan|Veli"}},
    {"Exists",
     {"Select Unvan From Cari Where Not Exists (Select * From Hareket Where CariHar = Unvan)", "Unvan|Çetin"}},
    {"Union",
     {"Select Unvan From Cari Union Select CariHar From Hareket Order By Unvan", "Unvan|Ali Çelik|Çetin|Işıl|Veli"}},
    {"Union All",
     {"Select Nakit From Cari Where Nakit > 15 Union All Select 20 From Cari Where Unvan = 'Veli'", "Nakit|20|20"}},
    {"Union of the first and the rest",
     {"Select Top 1 Nakit From Cari Order By Nakit Desc Union All (Select 1 As N From Cari Union Select 2 From "
      "Cari)",
      "Nakit|20|1|2"}},
    {"columns of one name",
     {"Select Cari.Unvan, b.Unvan From Cari, Cari As b Where Cari.Nakit = 20 And b.Nakit = 10.5",
      "Cari.Unvan,b.Unvan|Veli,Ali Çelik"}},
    {"brackets and semicolon", {"Select [Yağ] From [Hareket] Where [Hareket].[Yağ] = 90;", "Yağ|90"}},
    {"texts tied together",
     {"Select Unvan & ': ' & Nakit & Null As T From Cari", "T|Veli: 20|Ali Çelik: 10.5|Çetin: "}},
    {"numbers in texts",
     {"Select 100000.0*1 & ' kg' As a, CStr(1000000.0) As b, 0.1 & '' As c, 1e20 & '' As d From Cari Where "
      "Nakit=20",
      "a,b,c,d|100000 kg,1000000,0.1,1e+20"}},
    {"plus between texts and numbers",
     {"Select '1'+'2' As a, '1'+2 As b, 'a'+'b' As c From Cari Where Nakit=20", "a,b,c|12,3,ab"}},
    {"many conditions",
     {"Select Unvan From Cari Where Nakit = 20" + times(300, " Or Nakit = 1") + times(300, " And Nakit = 20"),
      "Unvan|Veli"}},
    {"many texts tied together",
     {"Select Nakit" + times(300, " & 'x'") + " & Null As T From Cari Where Nakit = 20", "T|20" + times(300, "x")}},
    {"many sums",
     {"Select Nakit" + times(300, "+1") + " As a, Nakit" + times(300, "-Nakit/2*2") + " As b, 2" +
          times(150, " * 1 \\ 1 Mod 7") + " As c From Cari Where Nakit = 20",
      "a,b,c|320,-5980,2"}},
    {"operators of one rank from the left",
     {"Select 20-5-3+1 As a, 100/5/2*3 As b, 2^3^2 As c, 2^-1 As d, 100\\7\\2 As e, 29 Mod 10 Mod 4 As f, - -5 As "
      "g, "
      "-(-2) As h, 3 - -4 As i From Cari Where Nakit=20",
      "a,b,c,d,e,f,g,h,i|13,30,64,0.5,7,1,5,2,7"}},
    {"moments and days in one sum",
     {"Select #11/20/2025#+1-2+0.5 As a, #11/21/2025#-#11/20/2025#+1 As b, 'a'+'b'+'c' As c, 1+Null+2 As d, "
      "8/0+1 As e From Cari Where Nakit=20",
      "a,b,c,d,e|2025-11-19T12:00:00,2,abc,,"}},
    {"brackets in brackets",
     {"Select " + std::string(60, '(') + "Nakit + 1" + std::string(60, ')') + " * 2 As a From Cari Where Nakit = 20",
      "a|42"}},
    {"order by the number of a column",
     {"Select Unvan, Nakit From Cari Order By 2 Desc, 1", "Unvan,Nakit|Veli,20|Ali Çelik,10.5|Çetin,"}},
    {"order by an expression that begins with a number",
     {"Select Unvan From Cari Order By 0 - Nakit", "Unvan|Çetin|Veli|Ali Çelik"}},
    {"a union in a value",
     {"Select (Select Max(Nakit) From Cari Union Select 20 From Cari) As M From Cari Where Nakit=20", "M|20"}},
    {"nothing tied to nothing", {"Select Null & Null & Null As T From Cari Where Nakit = 20", "T|"}},
    {"Or binds tighter than Xor",
     {"Select Unvan From Cari Where Nakit = 20 Xor Nakit = 20 Or Nakit = 10.5", "Unvan|Ali Çelik"}},
    {"StrComp goes by the alphabet, as < does",
     {"Select StrComp('ç','d',1) As a, 'ç'<'d' As b, StrComp('VELİ','veli') As c, StrComp('VELİ','veli',0) As d, "
      "StrComp('ı','i',1) As e From Cari Where Nakit=20",
      "a,b,c,d,e|-1,-1,0,-1,-1"}},
    {"parts of texts",
     {"Select Left(Unvan,3) As S, Right(Unvan,2) As D, Mid(Unvan,2,2) As O, Len(Unvan) As U, "
      "UCase('iIıi') As B, LCase('IİŞ') As K, InStr(Unvan,'ÇE') As Y From Cari Where Nakit=10.5",
      "S,D,O,U,B,K,Y|Ali,ik,li,9,İIIİ,ıiş,5"}},
    {"numbers",
     {"Select 7/2 As a, 7\\2 As b, 7 Mod 4 As c, 2^10 As d, -Int(-2.5) As e, Fix(-2.5) As f, Round(2.675,2) As "
      "g, Round(2.5) As h, Abs(-3) As i, 10-2-3 As j",
      "a,b,c,d,e,f,g,h,i,j|3.5,3,3,1024,3,-2,2.68,2,3,5"}},
    {"dates",
     {"Select DateSerial(2025,13,1) As a, DateAdd('m',1,#1/31/2025#) As b, DateDiff('d',#1/1/2025#,#3/1/2025#) "
      "As c, Weekday(#11/20/2025#) As d, #11/20/2025#+1 As e, #11/21/2025#-#11/20/2025# As f, "
      "DatePart('q',#11/20/2025#) As g",
      "a,b,c,d,e,f,g|2026-01-01T00:00:00,2025-02-28T00:00:00,59,5,2025-11-21T00:00:00,1,4"}},
    {"Format and Nz",
     {"Select Format(Tarih,'dd.mm.yyyy') As G, Format(Nz(Zeytin,0),'#,##0.0') As Z From Hareket "
      "Where Yağ = 250 Or Zeytin Is Null",
      "G,Z|20.11.2025,\"1.250,0\"|15.01.2026,\"0,0\""}},
    {"Format of moments",
     {"Select Format(#11/20/2025 2:05:09 PM#,'hh:mm') As a, Format(#11/20/2025#,'d/m/yyyy \"ayı\"') As b, "
      "Format(#11/20/2025 14:05#,'h:nn AM/PM') As c, Format(#11/20/2025 0:05#,'hh:nn am/pm') As d, "
      "Format(#11/20/2025#,'Long Date') As e, Format(#11/20/2025#,'general date') As f, "
      "Format(#11/20/2025 14:05#,'Short Time') As g, Format(45981,'dd.mm.yyyy') As h, "
      "Format(#11/20/2025#,'0') As i, Format(#11/20/2025 14:05#,'mm hh mm') As j",
      "a,b,c,d,e,f,g,h,i,j|14:05,20/11/2025 ayı,2:05 PM,12:05 am,20 Kasım 2025 Perşembe,20.11.2025,14:05,"
      "20.11.2025,45981,11 14 05"}},
    {"Format of numbers",
     {"Select Format(2.5,'0') As a, Format(2.675,'0.00') As b, Format(-5,'0;(0)') As c, Format(0,'0;-0;\"yok\"') "
      "As d, Format(12,'\"kg\" 0') As e, Format(-1,'Yes/No') As f, Format(0.125,'0.#%') As g, "
      "Format(-0.4,'0') As h, Format(999.95,'#,##0.0') As i, Format(1234.5,'General Number') As j, "
      "Format(3,'') As k, Format(1e20,'0') As l",
      "a,b,c,d,e,f,g,h,i,j,k,l|3,\"2,68\",(5),yok,kg 12,Evet,\"12,5%\",0,\"1.000,0\",\"1234,5\",3,"
      "100000000000000000000"}},
    {"parts of weeks",
     {"Select DatePart('w',#11/20/2025#,2) As a, DatePart('ww',#1/5/2025#) As b, DatePart('ww',#1/5/2025#,2) As c, "
      "DatePart('ww',#1/6/2025#,2,1) As d, Weekday(#11/20/2025#,2) As e",
      "a,b,c,d,e|4,2,1,2,4"}},
    {"many seconds",
     {"Select DateAdd('s',5000000,#1/1/2025#) As a, DateAdd('n',-1,#1/1/2025#) As b, "
      "DateAdd('ww',1000,#1/1/2025#) As c, TimeSerial(0,0,5000000) As d",
      "a,b,c,d|2025-02-27T20:53:20,2024-12-31T23:59:00,2044-03-02T00:00:00,1900-02-25T20:53:20"}},
    {"the number that a text begins with",
     {"Select Val('infaz') As a, Val('Nane') As b, Val(' 12 kg') As c", "a,b,c|0,0,12"}},
    {"a right join behind a comma",
     {"Select a.Unvan As x, b.Unvan As y, c.Unvan As z From Cari As a, Cari As b Right Join Cari As c On "
      "b.Unvan = c.Unvan And b.Nakit = 20 Where a.Nakit = 20 Order By c.Unvan",
      "x,y,z|Veli,,Ali Çelik|Veli,,Çetin|Veli,Veli,Veli"}},
    {"a union of two types",
     {"Select a From (Select Yuzde As a From Cari Where Nakit=20 Union Select Unvan From Cari Where Nakit=20) As u",
      "a|10|Veli"}},
    {"And, Or, Xor and Not of numbers are not bit by bit",
     {"Select 6 And 1 As a, 6 And 0 As b, 4 Or 0 As c, Not 5 As d, 2 Xor 1 As e From Cari Where Nakit=20",
      "a,b,c,d,e|-1,0,-1,0,0"}},
    {"CCur to the last digit, halves to the even neighbour",
     {"Select CCur(1.00005) As a, CCur(1.00015) As b, CCur('922337203685477.5807') As c, "
      "CCur(123456789012.3456) As d, CCur(-2.00005) As e, CCur(0.00004) As f, CCur('1e3') As g, CCur(' 12 ') As h "
      "From Cari Where Nakit=20",
      "a,b,c,d,e,f,g,h|1,1.0002,922337203685477.5807,123456789012.3456,-2,0,1000,12"}},
    {"CSng is a number of four bytes",
     {"Select CSng(0.1) As a, CSng(16777217) As b, CSng(1/3) As c From Cari Where Nakit=20",
      "a,b,c|0.1,16777216,0.33333334"}},
    {"letters outside of the first plane count twice",
     {"Select Len('a😀b') As a, Left('a😀b',3) As b, Mid('a😀b',4) As c, InStr('a😀b','b') As d From Cari Where "
      "Nakit=20",
      "a,b,c,d|4,a😀,b,4"}},
    {"dates as people write them",
     {"Select CDate('2025-11-20') As a, CDate('20.11.2025 14:05') As b, Year('13/02/2024') As c, "
      "DateValue('2025-11-20 14:05') As d, CDate('14:05') As e, Month('20 Kasım 2025') As f, CDate('45981') As g "
      "From Cari Where Nakit=20",
      "a,b,c,d,e,f,g|2025-11-20T00:00:00,2025-11-20T14:05:00,2024,2025-11-20T00:00:00,1899-12-30T14:05:00,11,"
      "2025-11-20T00:00:00"}},
    {"the hours of the calendar's first day",
     {"Select #1/1/100 6:00# As a, Hour(#1/1/100 6:00#) As b, DateAdd('h',18,#1/1/100 6:00#) As c From Cari Where "
      "Nakit=20",
      "a,b,c|0100-01-01T06:00:00,6,0100-01-02T00:00:00"}},
    {"Distinct in the order of what it chooses",
     {"Select Distinct CariHar As Ad From Hareket Order By Ad Desc", "Ad|Veli|Işıl|Ali Çelik"}},
    {"numbers of many digits",
     {"Select 12345678901234567 As a, -0.12345678901234567 As b, - -1234567890123456.5 As c From Cari Where "
      "Nakit=20",
      "a,b,c|12345678901234567,-0.12345678901234567,1234567890123456.5"}},
    {"division by nothing", {"Select 1/0 As B, Unvan From Cari Where Nakit=20", "B,Unvan|,Veli"}},
    {"a table by its name alone", {"[Cari]", "Unvan,Yuzde,Kap,Nakit|Veli,10,,20|Ali Çelik,12.5,,10.5|Çetin,,,"}},
    {"an apostrophe", {"Select Unvan From Cari Where Unvan = 'O''Neill' Or Unvan = \"çetin\"", "Unvan|Çetin"}},
};

INSTANTIATE_TEST_SUITE_P(, SqlQuestions, testing::ValuesIn(sqlQuestions), RowName());

TEST_P(SqlQuestions, areAnsweredAsAccessAnswersThem)
{
    std::string lines = row().answer + "|";
    for (std::size_t at; (at = lines.find('|')) != std::string::npos;) lines.replace(at, 1, "\r\n");
    ASSERT_THAT(sql(row().sql), succeeds(lines));
}

struct RefusedRow {
    std::string sql;
    std::string named;
};
class SqlRefusals : public Answered<TableTest<RefusedRow>>, protected SqlMill {};

std::string doublingNames()
{
    std::string sql = "Select Nakit As a0";
    for (int i = 1; i < 60; ++i) {
        const std::string before = std::to_string(i - 1);
        for (const std::string& part :
             {std::string(", a"), before, std::string("+a"), before, std::string(" As a"), std::to_string(i)})
            sql += part;
    }
    return sql + " From Cari";
}

const RowTable<RefusedRow> sqlRefusals = {
    {"unknown table", {"Select * From Yok", "'Yok' adlı bir tablo ya da sorgu yok"}},
    {"unknown field", {"Select Yok From Cari", "'Yok' diye bir alan yok"}},
    {"unknown field of a table", {"Select Cari.Zeytin From Cari", "'Cari.Zeytin' diye bir alan yok"}},
    {"field of two tables", {"Select Unvan From Cari, Cari As b", "birden çok tabloda"}},
    {"unknown function", {"Select Sin(Nakit) From Cari", "'Sin' diye bir işlev yok"}},
    {"number and text", {"Select * From Cari Where Nakit = '20'", "sayı bir metinle"}},
    {"number in texts of a query",
     {"Select * From Cari Where Nakit In (Select CariHar From Hareket)", "sayı bir metinle"}},
    {"text in numbers of a query",
     {"Select * From Cari Where Unvan Not In (Select 1 From Hareket)", "sayı bir metinle"}},
    {"date in numbers of a query", {"Select * From Hareket Where Tarih In (Select Nakit From Cari)", "tarih, sayı"}},
    {"date in texts of a query", {"Select * From Hareket Where Tarih In (Select Unvan From Cari)", "#11/20/2025#"}},
    {"date and text", {"Select * From Hareket Where Tarih = '20.11.2025'", "#11/20/2025#"}},
    {"no date", {"Select * From Hareket Where Tarih = #20.11.2025#", "bir tarih değil"}},
    {"open quote", {"Select 'a From Cari", "tırnak kapanmıyor"}},
    {"open bracket", {"Select [a From Cari", "köşeli ayraç"}},
    {"field that is not grouped", {"Select Unvan, Count(*) From Cari", "Group By"}},
    {"field of another group", {"Select Yuzde From Cari Group By Unvan", "Group By"}},
    {"sum in Where", {"Select * From Cari Where Sum(Nakit) > 1", "Where içinde toplam"}},
    {"a form's field", {"Select * From Cari Where Unvan = [Forms]![F]![Ad]", "formun alanı"}},
    {"crosstab", {"Transform Sum(Zeytin) Select CariHar From Hareket", "desteklenmiyor"}},
    {"unequal union", {"Select Unvan, Nakit From Cari Union Select CariHar From Hareket", "sütun sayıları"}},
    {"rest behind the end", {"Select * From Cari ; Select", "bitmesi gerekirdi"}},
    {"text in a sum", {"Select Sum(Unvan) From Cari", "Sum sayı ister"}},
    {"text as a number", {"Select Unvan * 2 From Cari", "'Veli' bir sayı"}},
    {"names that double each other", {doublingNames(), "çok uzun bir deyim"}},
    {"brackets without end", {"Select " + std::string(50'000, '('), "çok iç içe"}},
    {"queries without end", {std::string(50'000, '('), "çok iç içe"}},
    {"signs without end", {"Select " + std::string(50'000, '-') + "1", "çok iç içe"}},
    {"tables without end", {"Select 1 From " + std::string(50'000, '('), "çok iç içe"}},
    {"a day that no calendar has", {"Select Year(1e300) From Cari", "100 ile 9999"}},
    {"a second that no calendar has", {"Select DateAdd('s',1e18,#1/1/2025#)", "100 ile 9999"}},
    {"a month that no calendar has", {"Select DateSerial(2025,2000000000,1)", "100 ile 9999"}},
    {"letters that Format does not know", {"Select Format(#11/20/2025#,'dd T')", "'T' parçası anlaşılmıyor"}},
    {"a number's pattern of two shapes", {"Select Format(5,'000-00')", "'00' parçası anlaşılmıyor"}},
    {"a name that Format does not know", {"Select Format(5,'Currency')", "parçası anlaşılmıyor"}},
    {"another first week", {"Select DatePart('ww',#1/1/2025#,2,2)", "1 Ocak'ın haftası"}},
    {"another first day", {"Select Weekday(#1/1/2025#,0)", "haftanın ilk günü"}},
    {"a number too large for CInt", {"Select CInt(40000)", "en çok 32767"}},
    {"a number too large for CSng", {"Select CSng(1e39)", "CSng için çok büyük"}},
    {"money that has no room", {"Select CCur(1e15)", "en çok 922337203685477.5807"}},
    {"a number of decimals below zero", {"Select Round(5,-1)", "sıfırdan küçük bir basamak"}},
    {"Distinct in the order of another column",
     {"Select Distinct Unvan From Cari Order By Nakit", "Distinct'in yanında"}},
    {"a date that reads both ways", {"Select CDate('03/04/2025')", "önce gün mü ay mı"}},
    {"a text that is no date", {"Select Year('dün')", "bir tarih değil"}},
    {"a text that is infinite", {"Select 'inf'+1", "'inf' bir sayı"}},
    {"a sum that no calendar has", {"Select #11/20/2025#+2950000 From Cari", "100 ile 9999"}},
    {"nothing", {"", "select bekleniyor"}},
    {"the number of no column", {"Select Unvan From Cari Order By 9", "sütun sayısı 1"}},
    {"column number nought", {"Select Unvan From Cari Union Select '' From Cari Order By 0", "sütun sayısı 1"}},
    {"a number with two points", {"Select 1.2.3 From Cari", "virgül ya da From"}},
    {"too many unions", {"Select 1 From Cari" + times(700, " Union Select 1 From Cari"), "Sorgu bir kerede"}},
    {"too many columns", {"Select 1" + times(2500, ", 1") + " From Cari", "Sorgu bir kerede"}},
    {"too many tables", {"Select 1 From Cari" + numbered(70, ", Cari As c"), "Sorgu bir kerede"}},
    {"functions without end",
     {"Select " + times(60, "Abs(") + "1" + std::string(60, ')') + " From Cari", "Sorgu bir kerede"}},
    {"several rows for one value", {"Select Unvan, (Select Zeytin From Hareket) As Z From Cari", "birden çok satır"}},
    {"several rows of a group for one value",
     {"Select Unvan From Cari Where Nakit < (Select Sum(Zeytin) From Hareket Group By CariHar)", "birden çok satır"}},
    {"several rows of a union for one value",
     {"Select (Select Max(Nakit) From Cari Union Select Min(Nakit) From Cari) As N From Cari", "birden çok satır"}},
    {"a date under Like", {"Select * From Hareket Where Tarih Like '*.2025*'", "tarih bir metin değil"}},
    {"a date under Not Like", {"Select * From Hareket Where Tarih Not Like '20.11.2025*'", "Format(Tarih"}},
    {"a date as a pattern", {"Select * From Hareket Where CariHar Like #1/1/2025#", "tarih bir metin değil"}},
    {"the first letters of a date",
     {"Select * From Hareket Where Left(Tarih, 10) = '20.11.2025'", "Between #11/1/2025#"}},
    {"a part of a date", {"Select Mid(Tarih, 4, 2) From Hareket", "tarih bir metin değil"}},
    {"the place in a date", {"Select InStr(Tarih, '2025') From Hareket", "tarih bir metin değil"}},
    {"a date tied to a text", {"Select Tarih & '' From Hareket", "tarih bir metin değil"}},
    {"a text tied to a date", {"Select 'Gün: ' & Max(Tarih) From Hareket", "tarih bir metin değil"}},
    {"a date turned into a text", {"Select CStr(Tarih) From Hareket", "tarih bir metin değil"}},
    {"a text as the condition", {"Select * From Cari Where 'x'", "burada bir koşul olmalı"}},
    {"a field of texts as the condition", {"Select * From Cari Where Unvan", "burada bir koşul olmalı"}},
    {"no text as the condition", {"Select * From Cari Where Not Unvan", "burada bir koşul olmalı"}},
    {"a date as the condition", {"Select * From Cari Where #1/1/2025#", "burada bir koşul olmalı"}},
    {"a text beside a condition", {"Select * From Cari Where Nakit = 20 Or 'Veli'", "burada bir koşul olmalı"}},
    {"a text before a condition", {"Select * From Cari Where Unvan And Nakit = 20", "burada bir koşul olmalı"}},
    {"a text as one of two", {"Select * From Cari Where Unvan Xor Nakit = 20", "burada bir koşul olmalı"}},
    {"a text as the condition of a group",
     {"Select Unvan From Cari Group By Unvan Having Unvan", "burada bir koşul olmalı"}},
    {"a text as the condition of a join",
     {"Select * From Cari Inner Join Hareket On Unvan", "burada bir koşul olmalı"}},
    {"a text as the condition of IIf", {"Select IIf(Unvan, 1, 2) From Cari", "burada bir koşul olmalı"}},
    {"several words that are no name", {"Yok Olan Sorgu", "select bekleniyor"}},
    {"system functions of the reader", {"Select load_extension('x')", "işlev yok"}},
};

INSTANTIATE_TEST_SUITE_P(, SqlRefusals, testing::ValuesIn(sqlRefusals), RowName());

TEST_P(SqlRefusals, sayWhatIsNotUnderstood)
{
    ASSERT_THAT(sql(row().sql), refuses(AllOf(HasSubstr(row().named), isOneLine())));
}

struct ChangeRow {
    std::string sql;
    std::string said;
    std::string names; ///< and fees, afterwards
};
class SqlChanges : public Answered<TableTest<ChangeRow>>, protected SqlMill {};

const RowTable<ChangeRow> sqlChanges = {
    {"insert",
     {"Insert Into Cari (Unvan, Nakit) Values ('Ayşe', 5*3)", "1 satır eklendi.",
      "Veli,20|Ali Çelik,10.5|Çetin,|Ayşe,15"}},
    {"insert from a query",
     {"Insert Into Cari (Unvan, Nakit) Select Distinct CariHar, 1 From Hareket Where CariHar Not In "
      "(Select Unvan From Cari)",
      "1 satır eklendi.", "Veli,20|Ali Çelik,10.5|Çetin,|Işıl,1"}},
    {"insert from itself",
     {"Insert Into Cari (Unvan) Select Unvan & '2' From Cari", "3 satır eklendi.",
      "Veli,20|Ali Çelik,10.5|Çetin,|Veli2,|Ali Çelik2,|Çetin2,"}},
    {"update", {"Update Cari Set Nakit = Nz(Nakit, 0) + 1", "3 satır değiştirildi.", "Veli,21|Ali Çelik,11.5|Çetin,1"}},
    {"update some",
     {"Update Cari Set Unvan = UCase(Unvan), Nakit = Null Where Nakit > 15", "1 satır değiştirildi.",
      "VELİ,|Ali Çelik,10.5|Çetin,"}},
    {"update a text by a number",
     {"Update Cari Set Unvan = Nakit * 10 Where Nakit > 5", "2 satır değiştirildi.", "200,20|105,10.5|Çetin,"}},
    {"insert a text from numbers",
     {"Insert Into Cari (Unvan) Values (1000000.0*1.5)", "1 satır eklendi.", "Veli,20|Ali Çelik,10.5|Çetin,|1500000,"}},
    {"update by a query",
     {"Update Cari Set Nakit = (Select Count(*) From Hareket Where CariHar = Unvan)", "3 satır değiştirildi.",
      "Veli,2|Ali Çelik,2|Çetin,0"}},
    {"delete", {"Delete From Cari Where Unvan Like 'v*' Or Nakit Is Null", "2 satır silindi.", "Ali Çelik,10.5"}},
    {"delete as Access writes it",
     {"DELETE * FROM Cari WHERE Unvan='veli';", "1 satır silindi.", "Ali Çelik,10.5|Çetin,"}},
    {"delete all", {"Delete From Cari", "3 satır silindi.", ""}},
    {"delete none", {"Delete From Cari Where Unvan = 'yok'", "0 satır silindi.", "Veli,20|Ali Çelik,10.5|Çetin,"}},
};

INSTANTIATE_TEST_SUITE_P(, SqlChanges, testing::ValuesIn(sqlChanges), RowName());

TEST_P(SqlChanges, areMadeAndCounted)
{
    const auto& [text, said, names] = row();
    ASSERT_THAT(sql(text), succeeds(said + "\n"));
    std::string rows;
    const std::vector<std::string> lines = split(run({"export", file_, "Cari"}).out, "\r\n");
    for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
        const std::vector<std::string> fields = split(lines[i], ",");
        rows += (rows.empty() ? "" : "|") + fields.front() + "," + fields.back();
    }
    ASSERT_EQ(rows, names);
    verifySound(file_);
}

class SqlRefusedChanges : public Answered<TableTest<RefusedRow>>, protected SqlMill {};

RowTable<RefusedRow> sqlRefusedChanges()
{
    const std::string tooLong(101, 'x');
    return {
        {"a later row is refused", {"Update Cari Set Unvan = IIf(Unvan = 'Çetin', '" + tooLong + "', 'iyi')", "Unvan"}},
        {"several rows for one value",
         {"Update Hareket Set Nakit = (Select Nakit From Cari Where Unvan <> CariHar)", "birden çok satır"}},
        {"several rows for the value to delete by",
         {"Delete From Cari Where Nakit = (Select Nakit From Cari Where Nakit > 1)", "birden çok satır"}},
        {"all rows that are not like a date",
         {"Delete From Hareket Where Tarih Not Like '*.2025*'", "tarih bir metin"}},
        {"all rows whose name is not", {"Delete From Cari Where Not Unvan", "burada bir koşul olmalı"}},
        {"all rows by a date", {"Update Cari Set Nakit = 0 Where #1/1/2025#", "burada bir koşul olmalı"}},
        {"a later row is no number", {"Update Cari Set Nakit = IIf(Unvan = 'Çetin', 'çok', 1)", "\"Nakit\" alanı"}},
        {"unknown field", {"Update Cari Set Yok = 1", "'Yok' diye bir alan yok"}},
        {"a field of another table", {"Update Cari Set Hareket.Nakit = 1", "'Hareket' değiştirilen tablo değil"}},
        {"all fields of another table", {"Delete Hareket.* From Cari", "'Hareket' değiştirilen tablo değil"}},
        {"all fields of no table", {"Delete Yok.* From Cari", "'Yok' değiştirilen tablo değil"}},
        {"two values for a field", {"Update Cari Set Nakit = 1, nakit = 2", "'Nakit' alanına iki değer"}},
        {"a field given twice", {"Insert Into Cari (Unvan, Unvan) Values ('a', 'b')", "'Unvan' alanına iki değer"}},
        {"too few values", {"Insert Into Cari (Unvan, Nakit) Values ('Ayşe')", "2 alana 1 değer"}},
        {"unknown table", {"Delete From Yok", "'Yok' adlı tablo yok"}},
        {"a saved query", {"Update Cari Inner Join Hareket On Unvan = CariHar Set Nakit = 1", "Set bekleniyor"}},
    };
}

INSTANTIATE_TEST_SUITE_P(, SqlRefusedChanges, testing::ValuesIn(sqlRefusedChanges()), RowName());

TEST_P(SqlRefusedChanges, leaveEverythingAsItWas)
{
    const std::vector<std::uint8_t> before = bytesOfFile(file_);
    ASSERT_THAT(sql(row().sql), refuses(HasSubstr(row().named)));
    ASSERT_EQ(bytesOfFile(file_), before);
}

/// A file whose tables the test makes.
class OwnTables : protected Tool {
protected:
    explicit OwnTables(const std::string& name) : file_(path(name))
    {
        jet::Database::create(platform::systemDisk(), file_, jet::turkish, jet::DateTime{45000});
    }
    Outcome sql(const std::string& text) const { return run({"sql", file_, text}); }
    /// The rows of an answer, without the names of their fields.
    static std::string lines(const Arguments& question)
    {
        const Outcome outcome = run(question);
        EXPECT_THAT(outcome, succeeds());
        std::string all;
        const std::vector<std::string> each = split(outcome.out, "\r\n");
        for (std::size_t i = 1; i + 1 < each.size(); ++i) all += (i == 1 ? "" : "|") + each[i];
        return all;
    }
    std::string file_;
};

/// A table of employees, each with a chief among them, and an office that is "Merkez" where nothing else is said.
class SqlRelated : public Answered<testing::Test>, protected OwnTables {
protected:
    SqlRelated() : OwnTables("Personel.mdb")
    {
        using namespace jet;
        auto database = Database::open(platform::systemDisk(), file_);
        std::vector<NewIndex> indexes(2);
        indexes[0] = {.name = u"PrimaryKey", .columns = {{u"Sicil", true}}, .unique = true, .primaryKey = true};
        indexes[1] = {.name = u"Amir", .columns = {{u"Amir", true}}};
        database->createTable(u"Kişi",
                              {{.name = u"Sicil", .type = ColumnType::longInteger},
                               {.name = u"Amir", .type = ColumnType::longInteger},
                               {.name = u"Büro", .type = ColumnType::text, .size = 20}},
                              indexes, DateTime{45000});
        properties::put(*database, u"Kişi", {{{u"Büro", {{u"DefaultValue", u"\"Merkez\""}}}}});
        related::relate(*database, {u"Amir", u"Kişi", u"PrimaryKey", u"Kişi", u"Amir"});
    }
    std::string rows() const { return lines({"sql", file_, "Select Sicil, Amir, Büro From Kişi Order By Sicil"}); }
};

TEST_F(SqlRelated, aNullThatIsGivenIsNoDefault)
{
    ASSERT_EQ(sql("Insert Into Kişi (Sicil) Values (1)").code, 0);
    ASSERT_EQ(sql("Insert Into Kişi (Sicil, Büro) Values (2, Null)").code, 0);
    ASSERT_EQ(sql("Insert Into Kişi Values (3, Null, Null)").code, 0);
    ASSERT_EQ(sql("Insert Into Kişi (BÜRO, Sicil) Select Null, Sicil + 3 From Kişi Where Sicil = 1").code, 0);
    ASSERT_EQ(sql("Insert Into Kişi (Amir, Sicil) Select Sicil, 5 From Kişi Where Sicil = 1").code, 0);
    ASSERT_EQ(rows(), "1,,Merkez|2,,|3,,|4,,|5,1,Merkez");
    verifySound(file_);
}

TEST_F(SqlRelated, rowsThatHoldEachOtherGoTogetherInWhateverOrderTheyStand)
{
    for (const char* row : {"1, Null", "2, 1", "3, 2", "4, Null", "5, 4"})
        ASSERT_EQ(sql("Insert Into Kişi (Sicil, Amir) Values (" + std::string(row) + ")").code, 0);
    // The chiefs stand before their people, and stay while these do.
    ASSERT_THAT(sql("Delete From Kişi Where Sicil In (1, 2)"), refuses(HasSubstr("Kişi")));
    ASSERT_EQ(rows(), "1,,Merkez|2,1,Merkez|3,2,Merkez|4,,Merkez|5,4,Merkez");
    ASSERT_THAT(sql("Delete From Kişi Where Sicil < 4"), succeeds("3 satır silindi.\n"));
    ASSERT_EQ(rows(), "4,,Merkez|5,4,Merkez");
    ASSERT_EQ(sql("Update Kişi Set Amir = 5 Where Sicil = 4").code, 0);
    ASSERT_EQ(sql("Delete From Kişi").out, "2 satır silindi.\n");
    verifySound(file_);
}

/// A cash box with money and decimals.
class SqlMoney : public Answered<testing::Test>, protected OwnTables {
protected:
    SqlMoney() : OwnTables("Kasa.mdb")
    {
        using namespace jet;
        auto database = Database::open(platform::systemDisk(), file_);
        database->createTable(u"Kasa",
                              {{.name = u"No", .type = ColumnType::longInteger},
                               {.name = u"Para", .type = ColumnType::currency},
                               {.name = u"Sayı", .type = ColumnType::numeric, .precision = 28, .scale = 4},
                               {.name = u"Yazı", .type = ColumnType::text, .size = 40}},
                              {}, DateTime{45000});
    }
    void change(const std::string& text) const { EXPECT_THAT(sql(text), succeeds()); }
};

TEST_F(SqlMoney, isWrittenCopiedAndShownToItsLastDigit)
{
    change("Insert Into Kasa (No, Para, Sayı) Values (1, 922337203685477.5807, 123456789012345678901.2345)");
    change("Insert Into Kasa (No, Para, Sayı, Yazı) Values (2, -922337203685477.5808, -0.00015, 123456789012345678)");
    change("Insert Into Kasa Select No + 2, Para, Sayı, Para From Kasa Where No = 1");
    change("Insert Into Kasa (No, Para) Values (4, 12345678901234.56785)");
    change("Insert Into Kasa (No, Para) Values (5, CCur('12345678901234.56775'))");
    change("Update Kasa Set Sayı = Para Where No >= 4");
    const std::string rows = "1,922337203685477.5807,123456789012345678901.2345,|"
                             "2,-922337203685477.5808,-0.0002,123456789012345678|"
                             "3,922337203685477.5807,123456789012345678901.2345,922337203685477.5807|"
                             "4,12345678901234.5678,12345678901234.5678,|"
                             "5,12345678901234.5678,12345678901234.5678,";
    ASSERT_EQ(lines({"export", file_, "Kasa"}), rows);
    ASSERT_EQ(lines({"sql", file_, "Select * From Kasa"}), rows);
    ASSERT_EQ(lines({"sql", file_, "Select Para, No From Kasa Where Para > 900000000000000 Order By 1, No Desc"}),
              "922337203685477.5807,3|922337203685477.5807,1");
    ASSERT_EQ(lines({"sql", file_, "Select Top 1 Para From Kasa Order By Para"}), "-922337203685477.5808");
    verifySound(file_);
}

/// Beside numbers that have room they are put in order, compared and grouped as numbers.
TEST_F(SqlMoney, ofManyDigitsIsANumberAmongNumbers)
{
    for (const char* row : {"1, 5", "2, 922337203685477.5807", "3, -922337203685477.5808", "4, 922337203685477.5807"})
        change("Insert Into Kasa (No, Para) Values (" + std::string(row) + ")");
    ASSERT_EQ(lines({"sql", file_, "Select No From Kasa Order By Para, No"}), "3|1|2|4");
    ASSERT_EQ(lines({"sql", file_, "Select Count(*) From (Select Distinct Para From Kasa) As t"}), "3");
    ASSERT_EQ(lines({"sql", file_, "Select Count(*) From Kasa As a Inner Join Kasa As b On a.Para = b.Para"}), "6");
    ASSERT_EQ(lines({"sql", file_, "Select No From Kasa Where Para < 6 Order By No"}), "1|3");
    ASSERT_EQ(lines({"sql", file_, "Select Sum(Para) From Kasa Where No < 2 Union Select Para From Kasa Where No = 1"}),
              "5");
}

/// A table of a picture.
class SqlBytes : public Answered<testing::Test>, protected OwnTables {
protected:
    SqlBytes() : OwnTables("Resim.mdb")
    {
        const auto database = jet::Database::open(platform::systemDisk(), file_);
        database->createTable(
            u"Resim",
            {{.name = u"No", .type = jet::ColumnType::longInteger}, {.name = u"Resim", .type = jet::ColumnType::ole}},
            {}, jet::DateTime{45000});
    }
};

TEST_F(SqlBytes, areAskedForWhetherTheyAreThereAndAreNoText)
{
    ASSERT_THAT(sql("Insert Into Resim (No, Resim) Values (1, '0a')"), succeeds());
    ASSERT_THAT(sql("Insert Into Resim (No) Values (2)"), succeeds());
    ASSERT_EQ(lines({"sql", file_, "Select No, Resim From Resim Where Resim Is Not Null"}), "1,0a");
    ASSERT_EQ(lines({"sql", file_, "Select a.No From Resim As a Inner Join Resim As b On a.Resim = b.Resim"}), "1");
    for (const char* condition : {"Resim = '0a'", "'0a' <> Resim", "Resim In ('0a')", "Resim = 10", "Resim Like '0*'",
                                  "Left(Resim, 1) = '0'", "Resim & '' = '0a'", "Not Resim", "Resim"}) {
        const Outcome outcome = sql("Select * From Resim Where " + std::string(condition));
        ASSERT_THAT(outcome, refuses(AnyOf(HasSubstr("Is Null"), HasSubstr("bir koşul olmalı")))) << condition;
    }
}

struct SavedRow {
    std::string name;
    std::string begins; ///< of the answer, or of the refusal
    int lines = 0;      ///< with the names; 0: refused
};
class SavedQueries : public Answered<TableTest<SavedRow>>, protected Tool {};

const RowTable<SavedRow> savedQueries = {
    {"join and condition", {"Alphabetical List of Products", "ProductID,", 70}},
    {"alias", {"Current Product List", "ProductID,ProductName\r\n", 70}},
    {"union", {"Customers and Suppliers by City", "City,CompanyName,ContactName,Relationship\r\n", 121}},
    {"query over a query", {"Category Sales for 1995", "CategoryName,CategorySales\r\n", 9}},
    {"group", {"Order Subtotals", "OrderID,Subtotal\r\n10248,440\r\n", 831}},
    {"order",
     {"Order Details Extended", "OrderID,ProductID,ProductName,UnitPrice,Quantity,Discount,ExtendedPrice\r\n", 2156}},
    {"Top", {"Ten Most Expensive Products", "TenMostExpensiveProducts,UnitPrice\r\nCôte de Blaye,263.5\r\n", 11}},
    {"value of a query", {"Products Above Average Price", "ProductName,UnitPrice\r\nCôte de Blaye,263.5\r\n", 26}},
    {"six tables", {"Invoices", "ShipName,", 2156}},
    {"crosstab", {"Quarterly Orders by Product", "çapraz sorgu"}},
    {"a form's field", {"Invoices Filter", "formun alanı"}},
    {"a parameter", {"Employee Sales by Country", "'Beginning Date' diye bir alan yok"}},
};

INSTANTIATE_TEST_SUITE_P(, SavedQueries, testing::ValuesIn(savedQueries), RowName());

TEST_P(SavedQueries, areAskedByTheirNamesOrNamedAsWhatTheyAre)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    const auto& [name, begins, lines] = row();
    const std::string file = samples::database("mdb/northwind-2000.mdb").string();
    const Outcome outcome = run({"sql", file, "[" + name + "]"});
    ASSERT_THAT(outcome, lines == 0 ? refuses(HasSubstr(begins)) : succeeds(testing::StartsWith(begins)));
    if (lines == 0) return;
    // A text may hold the end of a line; in JSON it does not.
    const Outcome counted = run({"sql", file, "[" + name + "]", "--format", "jsonl"});
    ASSERT_EQ(countOf("\n", counted.out), lines - 1);
}

class SavedQueryNames : public Answered<testing::Test>, protected Tool {};

TEST_F(SavedQueryNames, needNoBracketsWhereTheyAreTheWholeText)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    const std::string file = samples::database("mdb/northwind-2000.mdb").string();
    const std::string answer = run({"sql", file, "[Ten Most Expensive Products]"}).out;
    ASSERT_EQ(countOf("\n", answer), 11);
    for (const char* name : {"Ten Most Expensive Products", "ten most expensive products ;"})
        ASSERT_THAT(run({"sql", file, name}), succeeds(answer)) << name;
    ASSERT_THAT(run({"sql", file, "Order Details"}), succeeds(testing::StartsWith("OrderID,ProductID,")));
    ASSERT_THAT(run({"sql", file, "Quarterly Orders by Product"}), refuses(HasSubstr("çapraz sorgu")));
}

class SqlInAnotherOrder : public Answered<testing::Test>, protected Tool {};

TEST_F(SqlInAnotherOrder, foldsLettersAsTheFileDoes)
{
    const std::string file = created("Genel.mdb", "general");
    ASSERT_EQ(run({"import", file, "Cari", "-"}, "Unvan\nIreland\nItalya\niran\nIşıl\nİzmir\n").code, 0);
    const auto answer = [&](const std::string& sql) { return run({"sql", file, sql}).out; };
    ASSERT_EQ(answer("Select Count(*) As S From Cari Where Unvan Like 'i*'"), "S\r\n4\r\n");
    ASSERT_EQ(answer("Select Count(*) As S From Cari Where Unvan Like 'I*'"), "S\r\n4\r\n");
    ASSERT_EQ(answer("Select UCase('iıç') As U, LCase('IÇ') As L, InStr('ITIR', 'i') As P, StrComp('ç', 'd', 1) As C "
                     "From Cari Where Unvan = 'iran'"),
              "U,L,P,C\r\nIIÇ,iç,1,-1\r\n");
    const std::string turkish = created();
    ASSERT_EQ(run({"import", turkish, "Cari", "-"}, "Unvan\nIreland\niran\nİzmir\n").code, 0);
    ASSERT_EQ(run({"sql", turkish, "Select Unvan From Cari Where Unvan Like 'i*'"}).out, "Unvan\r\niran\r\nİzmir\r\n");
}

class SqlParameters : public Answered<testing::Test>, protected SqlMill {};

TEST_F(SqlParameters, areWhatAQueryAsksFor)
{
    ASSERT_THAT(run({"sql", file_, "Select Unvan From Cari Where Nakit > [En Az] And Unvan <> [Kim]", "--parameter",
                     "en az=2*5", "--parameter", "Kim='veli'"}),
                succeeds("Unvan\r\nAli Çelik\r\n"));
    ASSERT_EQ(run({"sql", file_, "Update Cari Set Nakit = [Yeni] Where Unvan = 'Veli'", "--parameter", "Yeni=99"}).out,
              "1 satır değiştirildi.\n");
    // A field is asked for by nobody.
    ASSERT_THAT(run({"sql", file_, "Select Unvan From Cari Where Nakit = 99", "--parameter", "Nakit=1"}),
                refuses(HasSubstr("'Nakit' adlı bir değer sormuyor")));
    for (const auto& [given, named] :
         std::vector<std::pair<Arguments, std::string>>{{{"--parameter", "Kim"}, "AD=DEĞER"},
                                                        {{"--parameter"}, "AD=DEĞER"},
                                                        {{"--parameter", "Kim=1", "--parameter", "Kim=2"}, "iki kez"},
                                                        {{"--parameter", "Kim=1/1/1995"}, "#11/20/2025#"},
                                                        {{"--parameter", "Kim=2025-11-20 10:00"}, "#11/20/2025#"},
                                                        {{"--parameter", "Kim='a"}, "tırnak kapanmıyor"},
                                                        {{"--parameter", "Kim=[Kim]"}, "kendini soruyor"},
                                                        {{"--parameter", "Kim=1 2"}, "bitmesi gerekirdi"},
                                                        {{"--parameter", "Ad=1"}, "'Kim' diye bir alan yok"}}) {
        ASSERT_THAT(run(with({"sql", file_, "Select Unvan From Cari Where Nakit = [Kim]"}, given)),
                    refuses(HasSubstr(named)));
    }
}

TEST_F(SqlParameters, areGivenToASavedQuery)
{
    if (!samples::present()) GTEST_SKIP() << samples::absent;
    const std::string file = samples::database("mdb/northwind-2000.mdb").string();
    const std::string name = "[Employee Sales by Country]";
    ASSERT_THAT(run({"sql", file, name}).err, HasSubstr("--parameter \"Beginning Date=değer\""));
    const auto rowsBetween = [&](const std::string& from, const std::string& to) {
        const Outcome outcome = run({"sql", file, name, "--format", "jsonl", "--parameter",
                                     "Beginning Date=#" + from + "#", "--parameter", "Ending Date=#" + to + "#"});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return countOf("\n", outcome.out);
    };
    const std::string shipped = "Select Count(*) From Orders Where ShippedDate Between #1/1/1995# And #12/31/1995#";
    ASSERT_EQ(run({"sql", file, shipped}).out,
              "Count(*)\r\n" + std::to_string(rowsBetween("1/1/1995", "12/31/1995")) + "\r\n");
    ASSERT_EQ(rowsBetween("1/1/1895", "12/31/1895"), 0);
}

class SqlOutput : public Answered<testing::Test>, protected SqlMill {};

TEST_F(SqlOutput, goesToEveryFormatLikeAnExport)
{
    const std::string text = "Select Unvan, Nakit From Cari Where Nakit = 20";
    ASSERT_EQ(run({"sql", file_, text, "--format", "jsonl"}).out, "{\"Unvan\":\"Veli\",\"Nakit\":20}\n");
    ASSERT_EQ(run({"sql", file_, text, "--out", path("soru.csv")}).code, 0);
    ASSERT_EQ(textOfFile(path("soru.csv")), "Unvan,Nakit\r\nVeli,20\r\n");
}

} // namespace
