#include "platform/system_disk.h"
#include "store/jet/database/database.h"
#include "tests/support/files.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* firstLineOfHareket = "Tarih,Zeytin,Yağ,Yuzde,HakTut,Nakit,CariHar\r\n";

class ImportTables : protected Tool {
protected:
    /// Bytes of a UTF-8 text in another encoding, as the system's own converter makes them.
    static std::string in(const std::string& encoding, const std::string& text)
    {
        const Outcome outcome =
            ::run({.program = "iconv", .arguments = {"-f", "UTF-8", "-t", encoding}, .input = text});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return outcome.out;
    }
    Outcome import(const std::string& file, const std::string& table, const std::string& bytes,
                   const Arguments& options = {}) const
    {
        writeFile(path("gelen.csv"), bytes);
        return run(with({"import", file, table, path("gelen.csv")}, options));
    }
};

struct EncodingRow {
    std::string encoding; ///< as iconv calls it
    std::string mark;
    Arguments options;
};

const RowTable<EncodingRow> importEncodings = {
    {"UTF-8", {"UTF-8", "", {}}},
    {"UTF-8 with a mark", {"UTF-8", "\xEF\xBB\xBF", {}}},
    {"UTF-8 named", {"UTF-8", "\xEF\xBB\xBF", {"--encoding", "utf-8"}}},
    {"UTF-16 LE with a mark", {"UTF-16LE", "\xFF\xFE", {}}},
    {"UTF-16 LE", {"UTF-16LE", "", {}}},
    {"UTF-16 BE with a mark", {"UTF-16BE", "\xFE\xFF", {}}},
    {"UTF-16 BE", {"UTF-16BE", "", {}}},
    {"UTF-16 BE named", {"UTF-16BE", "", {"--encoding", "utf-16be"}}},
    {"1254", {"CP1254", "", {}}},
    {"1254 named", {"CP1254", "", {"--encoding", "1254"}}},
    {"857", {"CP857", "", {}}},
    {"857 named", {"CP857", "", {"--encoding", "857"}}},
};

TABLE_SUITE_WITH(ImportEncodings, ImportTables, EncodingRow, importEncodings);

TEST_P(ImportEncodings, anExportComesBackFromEveryEncoding)
{
    const auto& [encoding, mark, options] = row();
    const std::string rows = std::string(firstLineOfHareket) +
                             "2025-11-20T14:05:00,1250,262.5,12.5,32.8125,0,Şükrü Ağaoğlu\r\n"
                             "2025-11-21T00:00:00,0.1,,,,,\"Işıl, \"\"İnci\"\" Çiğdem\"\r\n"
                             ",,,,,,\"\"\r\n";
    const std::string file = created();
    ASSERT_THAT(import(file, "Hareket", mark + in(encoding, rows), options), succeeds("3 satır yüklendi.\n"));
    ASSERT_EQ(run({"export", file, "Hareket"}).out, rows);
    verifySound(file);
}

struct WrittenRow {
    std::string csv;
    std::string exported; ///< without the first line
    Arguments options = {};
};

const RowTable<WrittenRow> importWritten = {
    {"Turkish spreadsheet",
     {"Tarih;Zeytin;CariHar\r\n20.11.2025 14:05;1.250,5;Ali\r\n3.4.2025;12;\"Veli; Deli\"\r\n",
      "2025-11-20T14:05:00,1250.5,,,,,Ali\r\n2025-04-03T00:00:00,12,,,,,Veli; Deli\r\n"}},
    {"tabs",
     {"Tarih\tZeytin\tCariHar\n2025-11-20\t1250.5\tAli, Veli\n", "2025-11-20T00:00:00,1250.5,,,,,\"Ali, Veli\"\r\n"}},
    {"American",
     {"Tarih,Zeytin\n11/20/2025 2:05 PM,\"1,250.5\"\n04/03/2025 12:00 AM,7\n",
      "2025-11-20T14:05:00,1250.5,,,,,\r\n2025-04-03T00:00:00,7,,,,,\r\n"}},
    {"British",
     {"Tarih,Zeytin\n20/11/2025,1\n03/04/2025,2\n", "2025-11-20T00:00:00,1,,,,,\r\n2025-04-03T00:00:00,2,,,,,\r\n"}},
    {"year first",
     {"Tarih\n2025/11/20\n2025.4.3 06:07:08\n", "2025-11-20T00:00:00,,,,,,\r\n2025-04-03T06:07:08,,,,,,\r\n"}},
    {"a month's name",
     {"Tarih\n20 Kasım 2025\n3 April 2025 14:05\n1 AĞUSTOS 2025\n",
      "2025-11-20T00:00:00,,,,,,\r\n2025-04-03T14:05:00,,,,,,\r\n2025-08-01T00:00:00,,,,,,\r\n"}},
    {"a time alone", {"Tarih\n14:05\n", "1899-12-30T14:05:00,,,,,,\r\n"}},
    {"the same day and month", {"Tarih\n04/04/2025\n", "2025-04-04T00:00:00,,,,,,\r\n"}},
    {"thousands show the comma",
     {"Zeytin;Yuzde\n1.234.567;2,5\n1.234;0,125\n", ",1234567,,2.5,,,\r\n,1234,,0.125,,,\r\n"}},
    {"thousands alone show the comma", {"Zeytin\n1.234.567\n1.234\n", ",1234567,,,,,\r\n,1234,,,,,\r\n"}},
    {"a leading zero shows the mark", {"Zeytin\n0.125\n1.234\n", ",0.125,,,,,\r\n,1.234,,,,,\r\n"}},
    {"a program's dates show the point",
     {"Tarih,Zeytin\n2025-11-20T00:00:00,1.234\n", "2025-11-20T00:00:00,1.234,,,,,\r\n"}},
    {"empty quotes where no text can be",
     {"\"Tarih\",\"Zeytin\",\"CariHar\"\n\"\",\"\",\"\"\n\"2025-11-20\",\"1\",\"Ali\"\n",
      ",,,,,,\"\"\r\n2025-11-20T00:00:00,1,,,,,Ali\r\n"}},
    {"empty fields before the last line", {"Zeytin;CariHar\n;\n1;Ali\n", ",,,,,,\r\n,1,,,,,Ali\r\n"}},
    {"said: empty lines of one field are none", {"Zeytin\n1\n\n\n", ",1,,,,,\r\n", {"--empty-lines", "skip"}}},
    {"said: empty lines of one field are rows", {"Zeytin\n1\n\n", ",1,,,,,\r\n,,,,,,\r\n", {"--empty-lines", "rows"}}},
    {"said: a blank line of one field before the last line is a row",
     {"Zeytin\n\n1\n", ",,,,,,\r\n,1,,,,,\r\n", {"--empty-lines", "rows"}}},
    {"said: a blank line of one field before the last line is none",
     {"CariHar\nAli\n\nVeli\n\n", ",,,,,,Ali\r\n,,,,,,Veli\r\n", {"--empty-lines", "skip"}}},
    {"a quoted field that is empty", {"CariHar\nAli\n\"\"\nVeli\n", ",,,,,,Ali\r\n,,,,,,\"\"\r\n,,,,,,Veli\r\n"}},
    {"the byte that ends a text of an old system", {"Zeytin\n1\n\x1a", ",1,,,,,\r\n"}},
    {"said: empty lines at the end are none",
     {"Zeytin;CariHar\n1;Ali\n;\n;\n", ",1,,,,,Ali\r\n", {"--empty-lines", "skip"}}},
    {"said: empty lines at the end are rows",
     {"Zeytin;CariHar\n1;Ali\n;\n;\n", ",1,,,,,Ali\r\n,,,,,,\r\n,,,,,,\r\n", {"--empty-lines", "rows"}}},
    {"said: empty lines are none, where there are none",
     {"Zeytin;CariHar\n;\n1;Ali\n", ",,,,,,\r\n,1,,,,,Ali\r\n", {"--empty-lines", "skip"}}},
    {"said: point", {"Zeytin\n1.234\n", ",1.234,,,,,\r\n", {"--decimal", "point"}}},
    {"said: comma", {"Zeytin\n1.234\n", ",1234,,,,,\r\n", {"--decimal", "comma"}}},
    {"said: day first", {"Tarih\n03/04/2025\n", "2025-04-03T00:00:00,,,,,,\r\n", {"--dates", "dmy"}}},
    {"said: month first", {"Tarih\n03-04-2025\n", "2025-03-04T00:00:00,,,,,,\r\n", {"--dates", "mdy"}}},
    {"said: month first, with points",
     {"Tarih\n03.04.2025\n2025.04.03\n3 Nisan 2025\n",
      "2025-03-04T00:00:00,,,,,,\r\n2025-04-03T00:00:00,,,,,,\r\n2025-04-03T00:00:00,,,,,,\r\n",
      {"--dates", "mdy"}}},
    {"said: delimiter", {"CariHar;Nakit\nAli, Veli;1\n", ",,,,,1,\"Ali, Veli\"\r\n", {"--delimiter", ";"}}},
    {"exponents and signs", {"Zeytin,Yuzde\n1e+300,-0.5\n+7,1E-3\n", ",1e+300,,-0.5,,,\r\n,7,,0.001,,,\r\n"}},
};

TABLE_SUITE_WITH(ImportWritten, ImportTables, WrittenRow, importWritten);

TEST_P(ImportWritten, numbersAndDatesAreReadAsPeopleWriteThem)
{
    const auto& [csv, exported, options] = row();
    const std::string file = created();
    ASSERT_THAT(import(file, "Hareket", csv, options), succeeds());
    ASSERT_EQ(run({"export", file, "Hareket"}).out, firstLineOfHareket + exported);
}

struct UndecidedRow {
    std::string bytes;
    std::vector<std::string> named;
    Arguments options = {};
};

const RowTable<UndecidedRow> importUndecided = {
    {"day or month", {"Tarih\n04/04/2025\n03/04/2025\n", {"3. satırda '03/04/2025'", "--dates"}}},
    {"dates of both kinds", {"Tarih\n20/11/2025\n11/20/2025\n", {"2. satırda", "3. satırda", "--dates"}}},
    {"thousands or decimals", {"Zeytin\n12\n1.234\n", {"3. satırda '1.234'", "--decimal"}}},
    {"thousands or decimals with a comma", {"Zeytin;Yuzde\n1,234;2\n", {"2. satırda '1,234'", "--decimal"}}},
    {"numbers of both kinds",
     {"Zeytin;Yuzde\n12,5;1\n12.5;1\n", {"2. satırda '12,5'", "3. satırda '12.5'", "--decimal"}}},
    {"letters of neither page", {"CariHar\n\x93\xE9\x94\n", {"--encoding 1254", "--encoding 857"}}},
    {"letters of both pages", {"CariHar\nA\xE7\x87\n", {"--encoding 1254", "--encoding 857"}}},
    {"a dash or û", {"CariHar\n2024 \x96 2025\n", {"--encoding 1254", "--encoding 857"}}},
    {"a euro or Ç", {"CariHar\n12 \x80\n", {"--encoding 1254", "--encoding 857"}}},
    {"a section or ğ", {"CariHar\nA\xA7 5\n", {"--encoding 1254", "--encoding 857"}}},
    {"a trade mark or Ö, a quote or ö", {"CariHar\n\x99\x94\n", {"--encoding 1254", "--encoding 857"}}},
    {"no UTF-8", {"CariHar\nAli\n\xC3(\n", {"3. satırında", "UTF-8", "--encoding"}, {"--encoding", "utf-8"}}},
    {"half a unit",
     {std::string("C\0a\0r\0i\0H\0a\0r\0\n\0A", 17), {"2. satırında", "UTF-16"}, {"--encoding", "utf-16le"}}},
    {"a byte that 1254 has not", {"CariHar\nAli\n\x81\n", {"3. satırında", "1254"}, {"--encoding", "1254"}}},
    {"the other mark", {"Zeytin;Yuzde\n1;2,5\n", {"2. satırı", "'Yuzde'", "noktayla"}, {"--decimal", "point"}}},
    {"no such day", {"Tarih\n1.2.2025\n31.4.2025\n", {"3. satırı", "'31.4.2025'", "tarih değil"}}},
    {"a year of two digits", {"Tarih\n20.11.25\n", {"2. satırı", "'20.11.25'"}}},
    {"no such month", {"Tarih\n20 Zeytin 2025\n", {"2. satırı", "'20 Zeytin 2025'"}}},
    {"thirteen in the afternoon", {"Tarih\n20.11.2025 13:00 PM\n", {"2. satırı"}}},
    {"empty lines at the end", {"Zeytin;CariHar\n1;Ali\n;\n\n;\n", {"3. satırından sonuna", "--empty-lines"}}},
    {"blank lines in a list of names", {"CariHar\nAli\n\nVeli\n\n", {"3. satırı boş", "--empty-lines"}}},
    {"a blank line behind a list of names", {"CariHar\nAli\nVeli\n\n", {"4. satırı boş", "--empty-lines"}}},
    {"thousands of nothing",
     {"Zeytin;Yuzde\n1,5;1\n0.123;2\n", {"3. satırı", "'0.123'", "virgülle"}, {"--decimal", "comma"}}},
    {"thousands of nothing, below zero",
     {"Zeytin;Yuzde\n1,5;-0.500\n", {"2. satırı", "'-0.500'", "virgülle"}, {"--decimal", "comma"}}},
    {"thousands of many noughts",
     {"Zeytin;Yuzde\n1,5;000.250\n", {"2. satırı", "'000.250'", "virgülle"}, {"--decimal", "comma"}}},
    {"thousands of nothing with a comma",
     {"Zeytin;CariHar\n\"0,123\";Ali\n", {"2. satırı", "'0,123'", "noktayla"}, {"--decimal", "point"}}},
    {"thousands of nothing beside a comma", {"Zeytin;Yuzde\n1234,5;0.123,4\n", {"2. satırı", "'0.123,4'", "virgülle"}}},
    {"a unit behind a number", {"Zeytin;Yuzde\n1,5;1.250,00 TL\n", {"2. satırı", "'1.250,00 TL'", "virgülle"}}},
    {"a sign before a number", {"Zeytin;Yuzde\n1,5;%10\n", {"'%10'", "virgülle"}}},
    {"thousands parted by a blank", {"Zeytin;Yuzde\n1,5;1 234,5\n", {"'1 234,5'", "virgülle"}}},
    {"no number", {"Zeytin\nnan\n", {"'nan'", "bir sayı değil"}}},
    {"a number without end", {"Zeytin\n-inf\n", {"'-inf'", "bir sayı değil"}}},
    {"groups of two", {"Zeytin;Yuzde\n1,5;12.34,5\n", {"2. satırı", "'12.34,5'"}}},
};

TABLE_SUITE_WITH(ImportUndecided, ImportTables, UndecidedRow, importUndecided);

TEST_P(ImportUndecided, isAskedForOrNamedAndNothingIsLoaded)
{
    const auto& [bytes, named, options] = row();
    const std::string file = created();
    const std::vector<std::uint8_t> before = bytesOfFile(file);
    const Outcome outcome = import(file, "Hareket", bytes, options);
    ASSERT_THAT(outcome, refuses(AllOf(isOneLine(), HasSubstr("Hiçbir satır yüklenmedi."))));
    for (const std::string& part : named) ASSERT_THAT(outcome.err, HasSubstr(part));
    ASSERT_EQ(bytesOfFile(file), before);
}

class ImportTypes : public testing::Test, protected ImportTables {};

TEST_F(ImportTypes, wholeNumbersMoneyAndYesOrNoAreReadByTheirColumns)
{
    using jet::ColumnType;
    const std::string file = created();
    {
        const auto database = jet::Database::open(platform::systemDisk(), file);
        database->createTable(u"Tür",
                              {{.name = u"Adet", .type = ColumnType::longInteger},
                               {.name = u"Para", .type = ColumnType::currency},
                               {.name = u"Var", .type = ColumnType::boolean},
                               {.name = u"Kesin", .type = ColumnType::numeric, .scale = 3}},
                              {}, jet::DateTime{45000});
    }
    ASSERT_THAT(import(file, "Tür", "Adet;Para;Var;Kesin\n1.250;12,3456;Evet;0,125\n-7;1.000;HAYIR;2\n;;no;\n"),
                succeeds());
    ASSERT_EQ(run({"export", file, "Tür"}).out,
              "Adet,Para,Var,Kesin\r\n1250,12.3456,true,0.125\r\n-7,1000,false,2\r\n,,false,\r\n");
    ASSERT_THAT(import(file, "Tür", "Adet\n5.000\n").err,
                AllOf(HasSubstr("2. satırda '5.000'"), HasSubstr("--decimal")));
    ASSERT_THAT(import(file, "Tür", "Adet;Para\n1,5;2,5\n").err,
                AllOf(HasSubstr("2. satırı"), HasSubstr("'Adet'"), HasSubstr("tam sayı")));
    ASSERT_THAT(import(file, "Tür", "Adet;Kesin\n1;1,5\n2;1,1255\n").err,
                AllOf(HasSubstr("3. satırı"), HasSubstr("'1,1255'"), HasSubstr("en çok 3 ondalık")));
    ASSERT_THAT(import(file, "Tür", "Para;Kesin\n1,5;1,5000\n1.250,12345;1\n").err,
                AllOf(HasSubstr("3. satırı"), HasSubstr("'1.250,12345'"), HasSubstr("en çok 4 ondalık")));
    ASSERT_THAT(import(file, "Tür", "Kesin\n1.125000\n"), succeeds());
}

} // namespace
