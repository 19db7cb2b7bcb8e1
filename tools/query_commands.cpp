#include "tools/commands.h"
#include "tools/language.h"

#include "query/statement.h"
#include "store/jet/database/database.h"
#include "store/postgres/leave.h"
#include "tools/row_output.h"

#include <algorithm>

namespace tools {

constinit const char* const sqlHelp =
    "Select'in satırlarını yazar (--format ve --out export'taki gibidir); Insert, Update ve Delete'in satırlarının\n"
    "sayısını yazar, ya hepsi yapılır ya hiçbiri. Dil Access'inkidir:\n"
    "  Select [Distinct] [Top n] * | TABLO.* | deyim [As ad], ...  From ...  [Where koşul]\n"
    "         [Group By deyim, ...] [Having koşul] [Order By deyim [Desc], ...]\n"
    "  Select ... Union [All] Select ... [Order By ...]\n"
    "  From: TABLO ya da kayıtlı sorgu [As ad], Inner Join, Left Join, Right Join ... On koşul, (Select ...) As ad\n"
    "  Insert Into TABLO [(alan, ...)] Values (deyim, ...) | Select ...\n"
    "  Update TABLO Set alan = deyim, ... [Where koşul]        Delete From TABLO [Where koşul]\n"
    "Yalnız bir ad verilirse, boşluklu da olsa, o tablonun ya da kayıtlı sorgunun satırları yazılır. Sorgunun sorduğu\n"
    "değerler --parameter ile verilir, her biri bir deyim olarak: --parameter \"İlk Gün=#11/20/2025#\" --parameter "
    "\"Ad='Ali'\".\n"
    "Koşul:   = <> < > <= >=, And, Or, Xor, Not, Between ... And ..., In (...), In (Select ...), Exists (Select ...),\n"
    "         Is [Not] Null, Like '*? # [a-c] [!a]'. Metinler dosyanın sıralamasıyla karşılaştırılır: büyük küçük "
    "harf\n"
    "         ayrılmaz; ayırmak için StrComp(a, b, 0). Tarih metin sayılmaz: Like, Left, & ... için Format(Tarih, "
    "...).\n"
    "Deyim:   + - * / \\ Mod ^ &, 'metin' \"metin\", 12.5, #11/20/2025 14:05# (ay/gün/yıl) ya da #2025-11-20#,\n"
    "         True, False, Null, [boşluklu ad], TABLO.ALAN, en çok bir satır veren (Select ...)\n"
    "Toplam:  Count, Sum, Avg, Min, Max, First, Last, StDev, StDevP, Var, VarP\n"
    "İşlev:   IIf Nz IsNull | Len Left Right Mid UCase LCase Trim LTrim RTrim InStr Replace StrComp Val CStr Format |\n"
    "         Abs Int Fix Round Sgn Sqr CInt CLng CDbl CSng CCur | Now Date Time Year Month Day Hour Minute Second\n"
    "         Weekday DateSerial TimeSerial DateAdd DateDiff DatePart DateValue CDate\n"
    "Top n tam n satır verir. And, Or, Xor ve Not sayıları bit bit bağlamaz: sıfırdan başka her sayı doğrudur. 15\n"
    "basamaktan uzun para ve Decimal değerler olduğu gibi yazılır ve gösterilir; hesapta ve karşılaştırmada 15 "
    "basamakla\n"
    "sayılırlar (CCur dışında).\n";

namespace {

/// A day as people write it. As an expression it would be a division or a difference.
bool looksLikeADay(std::string_view text)
{
    const std::size_t mark = text.find_first_of("/-");
    if (mark == text.npos || text.find_first_not_of("0123456789 :/-") != text.npos) return false;
    return mark > 0 && std::ranges::count(text, text[mark]) == 2 && text.back() != text[mark];
}

/// Takes every --parameter NAME=VALUE out of the arguments.
query::Parameters takeParameters(std::vector<std::string>& arguments)
{
    query::Parameters parameters;
    for (auto at = std::ranges::find(arguments, "--parameter"); at != arguments.end();
         at = std::ranges::find(arguments, "--parameter")) {
        const std::string given = at + 1 == arguments.end() ? std::string() : *(at + 1);
        const std::size_t equals = given.find('=');
        if (equals == 0 || equals == std::string::npos)
            misused(said("--parameter AD=DEĞER diye yazılır; yardım için: presva-mdb sql --help",
                         "--parameter is written NAME=VALUE; for help: presva-mdb sql --help"));
        if (looksLikeADay(given.substr(equals + 1)))
            misused("'" + given.substr(equals + 1) +
                    said("' bir tarihse # arasında, ayı önde yazılır: #11/20/2025#.",
                         "' must stand between # when it is a date, the month first: #11/20/2025#."));
        if (!parameters.emplace(given.substr(0, equals), given.substr(equals + 1)).second)
            misused("'" + given.substr(0, equals) + said("' iki kez verilmiş.", "' is given twice."));
        arguments.erase(at, at + 2);
    }
    return parameters;
}

} // namespace

int runSql(files::Disk& disk, Arguments given)
{
    std::vector<std::string> arguments(given.begin(), given.end());
    const query::Parameters parameters = takeParameters(arguments);
    const Parsed parsed = parse("sql", arguments, {"--format", "--out"});
    if (parsed.words.size() != 2)
        misused(said("'sql' DOSYA ve METİN ister; yardım için: presva-mdb sql --help",
                     "'sql' takes FILE and TEXT; for help: presva-mdb sql --help"));
    const std::string& sql = parsed.words[1];
    if (query::writes(sql)) {
        const auto database = jet::Database::open(disk, pathOf(parsed.words[0]));
        postgres::requireNoRegister(*database);
        const std::uint64_t rows = query::execute(*database, sql, speaksEnglish(), parameters);
        const char first = static_cast<char>(sql[sql.find_first_not_of(" \t\r\n")] | 0x20);
        sayDone(first == 'd'   ? counted(rows, " satır silindi.", " row deleted.", " rows deleted.")
                : first == 'i' ? counted(rows, " satır eklendi.", " row added.", " rows added.")
                               : counted(rows, " satır değiştirildi.", " row changed.", " rows changed."));
        return 0;
    }
    const Format format = formatOf(parsed, false);
    const auto to = parsed.option("--out");
    const auto database = jet::Database::open(disk, pathOf(parsed.words[0]), jet::Pager::Mode::readOnly);
    exchange::ExportLosses losses;
    writeRows(disk, format, to ? std::optional(pathOf(*to)) : std::nullopt, losses,
              [&](exchange::RowWriter& rows) { query::select(*database, sql, speaksEnglish(), rows, parameters); });
    return toldLosses(losses);
}

} // namespace tools
