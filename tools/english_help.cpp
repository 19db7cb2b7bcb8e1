#include "tools/english_help.h"

#include <algorithm>
#include <iterator>

namespace tools {

namespace {

// clang-format off
constexpr EnglishHelp helps[] = {
    {"create", "FILE [--collation turkish|general]", "makes an empty database",
     "With the tables Cari and Hareket; a file that is there is not touched. --collation chooses the order of texts,\n"
     "turkish as a rule.\n"},
    {"info", "FILE", "describes the file, its tables, columns, indexes and saved queries", ""},
    {"check", "FILE", "looks at every page, row and index entry",
     "Names each fault in a line, and ends with 0 only when the file is sound. Warnings are harmless. Of a damaged file\n"
     "it also says what can be saved. Nothing in the file is changed.\n"},
    {"export", "FILE TABLE [--out OUT] | FILE --all FOLDER [--format csv|jsonl|xlsx]",
     "writes a table, or all of them, as CSV, JSON lines or a workbook",
     "To standard output without --out; --all writes every table to a file of its own in FOLDER. No file is replaced.\n"
     "Without --format the ending of OUT decides, csv otherwise.\n"
     "csv:   names first, UTF-8, commas, decimal points, dates like 2025-11-20T14:05:00. Nothing at all for Null, two\n"
     "       quotes for an empty text.\n"
     "jsonl: one JSON object a line; numbers are numbers, Null is null, dates as in csv.\n"
     "xlsx:  real numbers and dates; numbers of more than 15 digits and dates before March 1900 are texts. A value too\n"
     "       long for a cell (32767 letters) is left out and told.\n"},
    {"import", "FILE TABLE CSV [--encoding E] [--delimiter D] [--decimal point|comma] [--dates dmy|mdy]\n"
     "            [--empty-lines rows|skip]",
     "adds the rows of a CSV to a table",
     "The first line names the columns; others get their default values or stay empty. All rows are loaded or none; a\n"
     "line that cannot be read is named by its number. With - for CSV standard input is read.\n"
     "A file in a shared register is not written: the other counters would not hear of it.\n"
     "Encoding (utf-8, utf-16le, utf-16be, 1254, 857), delimiter (, ; tab), decimal mark and the order of day and month\n"
     "are found out; where they cannot be, nothing is loaded and the option that says it is named.\n"
     "Dates: 2025-11-20T14:05:00, 20.11.2025 14:05, 20/11/2025, 20 November 2025, with --dates mdy 11/20/2025 2:05 PM.\n"
     "Nothing at all is Null, two quotes are an empty text; in a field that holds no texts both are Null.\n"
     "Where all fields of the last lines are empty, --empty-lines rows takes them for rows, skip for none; else it asks.\n"
     "So it does for the blank lines of a CSV of one column, wherever they stand, when the table has more columns.\n"},
    {"sql", "FILE TEXT [--format csv|jsonl|xlsx] [--out OUT] [--parameter NAME=VALUE ...]", "answers a question, or adds, changes or deletes rows",
     "The rows of a Select are written as by export; of an Insert, Update or Delete, done whole or not at all, the number\n"
     "of rows. The language is that of Access:\n"
     "  Select [Distinct] [Top n] * | TABLE.* | expression [As name], ...  From ...  [Where condition]\n"
     "         [Group By expression, ...] [Having condition] [Order By expression [Desc], ...]\n"
     "  Select ... Union [All] Select ... [Order By ...]\n"
     "  From: TABLE or saved query [As name], Inner Join, Left Join, Right Join ... On condition, (Select ...) As name\n"
     "  Insert Into TABLE [(field, ...)] Values (expression, ...) | Select ...\n"
     "  Update TABLE Set field = expression, ... [Where condition]        Delete From TABLE [Where condition]\n"
     "A name alone, with blanks or without, gives the rows of that table or saved query. What a query asks for is given as\n"
     "an expression each: --parameter \"First Day=#11/20/2025#\" --parameter \"Name='Ali'\".\n"
     "Conditions:  = <> < > <= >=, And, Or, Xor, Not, Between ... And ..., In (...), In (Select ...), Exists (Select ...),\n"
     "             Is [Not] Null, Like '*? # [a-c] [!a]'. Texts are compared by the order of the file, without letter\n"
     "             case; StrComp(a, b, 0) tells cases apart. A date is no text: Format(d, ...) for Like, Left, & ...\n"
     "Expressions: + - * / \\ Mod ^ &, 'text' \"text\", 12.5, #11/20/2025 14:05# (month/day/year) or #2025-11-20#,\n"
     "             True, False, Null, [name with blanks], TABLE.FIELD, (Select ...) of one row or none\n"
     "Over groups: Count, Sum, Avg, Min, Max, First, Last, StDev, StDevP, Var, VarP\n"
     "Functions:   IIf Nz IsNull | Len Left Right Mid UCase LCase Trim LTrim RTrim InStr Replace StrComp Val CStr Format |\n"
     "             Abs Int Fix Round Sgn Sqr CInt CLng CDbl CSng CCur | Now Date Time Year Month Day Hour Minute Second\n"
     "             Weekday DateSerial TimeSerial DateAdd DateDiff DatePart DateValue CDate\n"
     "Top n gives exactly n rows. And, Or, Xor and Not do not tie numbers bit by bit: every number but zero is true. Money\n"
     "and Decimal values of more than 15 digits are written and shown as they are; reckoned with and compared they have 15\n"
     "(but for CCur).\n"},
    {"schema", "FILE [--dialect sqlite|postgres]", "writes tables, keys and relationships as SQL text",
     "SQLite and PostgreSQL both take it; with --dialect one of them alone, and then counters and tables that refer to\n"
     "each other are written, too. Relationships that the file does not enforce are comments.\n"},
    {"compact", "FILE OUT", "writes a new file without the room of deleted rows",
     "Queries, forms, reports, modules and relationships go with it. OUT must not be there yet; FILE is not touched. Of a\n"
     "damaged FILE every row that can be read is saved, what is lost is named, and the command ends with 2 (like rescue).\n"},
    {"rescue", "FILE OUT", "writes every row of a damaged file that can be read to a new one",
     "Names page, row and field of what cannot, and what was read and is in doubt (pages outside of the map or there twice,\n"
     "rows that an index contradicts). Ends with 0 when everything was saved, 2 when some was not or is in doubt, 1 when\n"
     "nothing was written. OUT must not be there yet; FILE is not touched.\n"},
    {"backup", "FILE OUT", "makes a consistent copy of the file",
     "OUT must not be there yet; the copy gets its name only when it is whole and was checked.\n"},
    {"restore", "FOLDER [COPY [--waiting drop]]", "puts a copy back; lists the copies without COPY",
     "FOLDER is the program's (where Yag.mdb is); the copies lie in Yedek in it. COPY is the name of one, or its date:\n"
     "2025-11-20. It is checked before it takes any place; the Yag.mdb that was there is kept as Yag-onceki-DATE.mdb. The\n"
     "program must not be running. In a shared register it stops where changes wait that neither the server nor the copy\n"
     "has; with --waiting drop they stay in the file that is kept, and nowhere else.\n"},
    {"weights", "FOLDER [--day DAY] [--customer NAME] [--verify [--log COPY]]", "lists the book of weights, or verifies it",
     "FOLDER is the program's; the book is Tartim.jsonl in it, and the files of earlier seasons. Each pressing's line says\n"
     "whether olives and oil came from the scale (with the bytes that it sent) or by hand.\n"
     "--day 2025-11-20 lists that day alone, --customer the names that begin so.\n"
     "--verify names the first line that was altered, removed, doubled or put in between, and each pressing that differs\n"
     "from its line; it ends with 0 only when all agree. It also compares with the digests that presva.log has seen: who\n"
     "writes every file of the folder anew is shown only by a copy of that log kept elsewhere, given with --log.\n"},
    {"season", "SOURCE [--year YEAR] OUT", "writes a season as a page with drawings, a workbook or a PDF",
     "SOURCE is the program's folder or a database; the counter may be at work. YEAR is the one in which the season began,\n"
     "on the first of July; without it the newest season is taken. An OUT that ends in .html becomes a page, in Turkish,\n"
     "that any browser opens and prints and that fetches nothing; one that ends in .xlsx a workbook, in .pdf a PDF. An OUT\n"
     "that is there is replaced. Rows that cannot be read are counted, and the command ends with 2.\n"},
    {"to-server", "FOLDER [--user NAME] [--delete yes] [--every SECONDS] [--merge yes] [--new yes] [--deleted drop|keep]", "carries the books over to a PostgreSQL server",
     "FOLDER is the program's: Yag.mdb is read, and Sunucu.ini there names the server (docs/sunucu.md). This counter's\n"
     "rows of Cari and Hareket on the server become those of the file; the tables are made first where there are none.\n"
     "The program may be running. In the end every row is compared. After a stop run it again: rows that are there are not\n"
     "written twice. The sums of a report stay behind. --user connects as another user than Sunucu.ini says.\n"
     "It stops where the server has rows that the file has not; with --delete yes they are taken from the server.\n"
     "With --every it does not end: it looks that often, and carries whenever the file has changed; without a server it\n"
     "goes on when one is there again.\n"
     "Where Sunucu.ini has a line Defter, the file joins that shared register; the program must be closed. Rows that one\n"
     "of the two has not are added, nothing is taken from the server; where both have pressings that the other has not,\n"
     "it stops, unless --merge yes is given. Where the server has other registers, --new yes makes a new one; --delete yes\n"
     "takes an old copy of this counter's books away. It stops where the file has what was deleted from the register:\n"
     "--deleted drop takes that out of the file, too, --deleted keep brings it back to all counters. A file that is in\n"
     "the register is compared with it; where it has not its rows, --merge yes lets it join again.\n"},
    {"from-server", "FOLDER OUT [--user NAME]", "writes the server's books to a new database file",
     "Sunucu.ini in FOLDER names the server and the counter. The rows are read as of one moment. OUT must not be there; it\n"
     "gets its name only when every row was compared. After a stop run it again: it goes on with OUT.aktarim.\n"},
    {"undelete", "FOLDER CUSTOMER [--deletion MOMENT] [--user NAME]", "brings a customer back who was deleted from a shared register",
     "Sunucu.ini in FOLDER names server and register; the owner's user is needed. What the last deletion of that name has\n"
     "taken, pressings and terms, is written again from the history, and the counters get it by themselves. A deletion is\n"
     "brought back once. Of several, --deletion \"2026-11-20 04:30:20\" means the one of that moment (UTC); the command tells\n"
     "their moments. Pressings that are there again by another road do not come twice; they are counted.\n"},
    {"leave-register", "FOLDER [--waiting drop]", "takes the file out of a shared register",
     "FOLDER is the program's, which must be closed. The file is this counter's own again and keeps all its rows; no server\n"
     "is asked. It stops where changes wait that the server has not heard of; with --waiting drop it never will.\n"},
    {"drop-index", "FILE TABLE INDEX", "takes an index of a table away", ""},
};
// clang-format on

} // namespace

const EnglishHelp* englishHelp(std::string_view command)
{
    const auto found = std::ranges::find(helps, command, &EnglishHelp::name);
    return found == std::end(helps) ? nullptr : &*found;
}

} // namespace tools
