#include "tools/database_tool.h"
#include "tools/language.h"

#include "exchange/field_text.h"
#include "exchange/table_export.h"
#include "files/own_bug.h"
#include "mill/tables.h"
#include "query/saved_queries.h"
#include "store/jet/care/maintenance.h"
#include "store/jet/database/database.h"
#include "store/jet/values/names.h"
#include "tools/command_line.h"
#include "tools/commands.h"
#include "tools/english_help.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

namespace tools {

namespace {

std::string collationName(jet::Collation collation)
{
    if (collation == jet::turkish) return said("Türkçe", "Turkish");
    if (collation == jet::general) return said("Genel", "General");
    char code[16];
    std::snprintf(code, sizeof code, "0x%04X", collation.lcid);
    return code;
}

// ---- the commands ----

int create(files::Disk& disk, Arguments arguments)
{
    jet::Collation collation = jet::turkish;
    std::optional<std::string> file;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--collation") {
            const std::string name = i + 1 < arguments.size() ? arguments[++i] : "";
            if (name != "turkish" && name != "general")
                misused(said("--collation turkish ya da general olmalı.", "--collation must be turkish or general."));
            collation = name == "turkish" ? jet::turkish : jet::general;
        } else if (!file) {
            file = arguments[i];
        } else {
            misused("'" + arguments[i] +
                    said("' fazla; yardım için: presva-mdb create --help",
                         "' is too much; for help: presva-mdb create --help"));
        }
    }
    if (!file)
        misused(said("Dosya adı eksik; yardım için: presva-mdb create --help",
                     "The file's name is missing; for help: presva-mdb create --help"));
    mill::createDatabase(disk, pathOf(*file), collation, now());
    return 0;
}

/// Behind a count that may be too small.
std::string doubtOf(const exchange::ExportLosses& lost)
{
    return lost.places == 0 ? "" : said(", eksik olabilir: ", ", some may be missing: ") + lost.first;
}

void describe(Output& out, const jet::Table& table)
{
    exchange::ExportLosses lost;
    const std::uint64_t rows = exchange::countRows(table, lost);
    say(out, jet::toUtf8(table.name()) + ": " + counted(rows, " satır", " row", " rows") + doubtOf(lost));
    for (const jet::Column& column : table.columns())
        say(out, "    " + jet::toUtf8(column.name) + "  " + exchange::typeName(column) +
                     (column.required ? said(", zorunlu", ", required") : ""));
    for (const jet::Index& index : table.indexes()) {
        std::string line = said("    dizin ", "    index ");
        for (const std::u16string& name : index.names)
            line += jet::toUtf8(name) + (&name == &index.names.back() ? "" : " = ");
        line += " (";
        for (const jet::IndexColumn& column : index.columns) {
            if (&column != &index.columns.front()) line += ", ";
            line += jet::toUtf8(table.columns()[column.column].name) +
                    (column.ascending ? "" : said(" azalan", " descending"));
        }
        line += ")";
        if (index.primaryKey) line += said(", birincil anahtar", ", primary key");
        if (index.unique) line += said(", benzersiz", ", unique");
        if (index.required) line += said(", zorunlu", ", required");
        if (index.ignoreNulls) line += said(", boşlar dışarıda", ", without Nulls");
        if (index.relationship) line += said(", ilişki", ", relationship");
        say(out, line);
    }
}

/// What keeps people out, and what they can do all the same; nothing for an open file.
const char* protectionText(jet::Protection protection)
{
    switch (protection) {
    case jet::Protection::none:
        break;
    case jet::Protection::password:
        return said("parola sorar; okunur, yazılmaz (compact parolasız bir kopyasını yapar)",
                    "asks for a password; read, not written (compact makes a copy without it)");
    case jet::Protection::covered:
        return said("sayfaları kodlanmış; okunur, yazılmaz (compact açık bir kopyasını yapar)",
                    "its pages are encoded; read, not written (compact makes an open copy)");
    }
    return nullptr;
}

std::string linkText(const jet::LinkedTable& link)
{
    const std::string name =
        jet::toUtf8(link.name) + said(": bağlı tablo, kayıtları ", ": linked table, its rows are ");
    if (link.file.empty()) return name + said("başka türden bir veritabanında", "in another kind of database");
    const std::string file = "'" + jet::toUtf8(link.file) + "'";
    const std::string table = jet::quotedName(link.table);
    if (speaksEnglish()) return name + "in the table " + table + " of " + file;
    return name + file + " dosyasının " + table + " tablosunda";
}

int info(files::Disk& disk, Arguments arguments)
{
    const auto database = jet::Database::open(disk, pathOf(arguments[0]), jet::Pager::Mode::readOnly);
    Output out(standardOutput);
    const auto pages = database->pager().pageCount();
    say(out, said("Dosya: ", "File: ") + arguments[0]);
    say(out, said("Biçim: Access 2000-2003 (Jet 4)", "Format: Access 2000-2003 (Jet 4)"));
    say(out, said("Boyut: ", "Size: ") + std::to_string(std::uint64_t{pages} * jet::pageSize) +
                 said(" bayt, ", " bytes, ") + counted(pages, " sayfa", " page", " pages"));
    say(out, said("Sıralama: ", "Collation: ") + collationName(database->collation()) +
                 said(", kod sayfası ", ", code page ") + std::to_string(database->codePage()));
    if (const char* const protection = protectionText(database->pager().protection()))
        say(out, said("Koruma: ", "Protection: ") + std::string(protection));
    exchange::ExportLosses lost;
    exchange::checkCatalogue(*database, lost);
    if (lost.places > 0) say(out, said("Nesne listesi", "The list of objects") + doubtOf(lost));
    for (const std::u16string& name : database->tableNames()) {
        say(out, "");
        describe(out, database->table(name));
    }
    const std::vector<std::u16string> queries = query::savedQueries(*database);
    if (!queries.empty()) say(out, "");
    for (const std::u16string& name : queries) say(out, said("Kayıtlı sorgu: ", "Saved query: ") + jet::toUtf8(name));
    for (const jet::LinkedTable& link : database->linkedTables()) {
        say(out, "");
        say(out, linkText(link));
    }
    out.flush();
    return 0;
}

int backupFile(files::Disk& disk, Arguments arguments)
{
    const auto database = jet::Database::open(disk, pathOf(arguments[0]), jet::Pager::Mode::readOnly);
    Progress progress(said("Yedekleniyor", "Copying"));
    jet::backup(disk, *database, pathOf(arguments[1]), std::ref(progress));
    return 0;
}

int dropIndex(files::Disk& disk, Arguments arguments)
{
    const auto database = jet::Database::open(disk, pathOf(arguments[0]));
    database->dropIndex(jet::fromUtf8(arguments[1]), jet::fromUtf8(arguments[2]));
    return 0;
}

struct Command {
    std::string_view name;
    std::string_view parameters;
    std::string_view summary;
    std::string_view help;
    std::size_t fewest;
    std::size_t most;
    int (*run)(files::Disk&, Arguments);
};

// clang-format off
const Command commands[] = {
    {"create", "DOSYA [--collation turkish|general]", "boş bir veritabanı oluşturur",
     "Cari ve Hareket tablolarıyla yeni bir veritabanı oluşturur; var olan bir dosyaya dokunmaz.\n"
     "--collation metinlerin sıralamasını seçer; verilmezse turkish.\n", 1, 3, create},
    {"info", "DOSYA", "dosyayı, tabloları, sütunları, dizinleri ve kayıtlı sorguları anlatır", "", 1, 1, info},
    {"check", "DOSYA", "dosyanın her sayfasını, satırını ve dizin girişini denetler",
     "Her hatayı bir satırda adıyla yazar. Yalnızca dosya sağlamsa 0 ile biter. Uyarılar zararsızdır.\n"
     "Bozuk dosyada nelerin kurtarılabileceğini de söyler. Dosyada hiçbir şey değiştirmez.\n", 1, 1, check},
    {"export", "DOSYA TABLO [--out ÇIKTI] | DOSYA --all KLASÖR [--format csv|jsonl|xlsx]",
     "bir tabloyu ya da bütün tabloları CSV, JSON satırları ya da hesap tablosu olarak yazar",
     "--out verilmezse standart çıktıya yazar; --all her tabloyu KLASÖR'de kendi dosyasına yazar. Var olan bir\n"
     "dosyanın üstüne yazmaz. --format verilmezse ÇIKTI'nın uzantısı, o da yoksa csv seçilir.\n"
     "csv:   ilk satırda sütun adları, UTF-8, virgülle ayrılmış, ondalıklar noktalı, tarihler 2025-11-20T14:05:00\n"
     "       gibi. Boş alan hiçbir şey, boş metin iki tırnaktır.\n"
     "jsonl: her satır bir JSON nesnesidir; sayılar sayı, boş alan null, tarihler csv'deki gibi.\n"
     "xlsx:  gerçek sayılar ve tarihler; 15 basamaktan uzun sayılar ve Mart 1900'den eski tarihler metindir.\n"
     "       Bir hücreye sığmayan değer (32767 harften uzun) boş bırakılır ve söylenir.\n", 2, 6, exportTables},
    {"import", "DOSYA TABLO CSV [--encoding K] [--delimiter A] [--decimal point|comma] [--dates dmy|mdy]\n"
     "            [--empty-lines rows|skip]",
     "CSV satırlarını bir tabloya ekler",
     "İlk satır sütun adlarıdır; eksik sütunlar varsayılan değerlerini alır, yoksa boş kalır. Ya bütün satırlar\n"
     "yüklenir ya hiçbiri; okunamayan satır numarasıyla söylenir. CSV yerine - verilirse standart girdi okunur.\n"
     "Ortak bir defterdeki dosyaya yazmaz: öteki sayaçlar duymazdı.\n"
     "Kodlama (utf-8, utf-16le, utf-16be, 1254, 857), ayraç (, ; tab), ondalık işareti ve tarihlerin gün-ay sırası\n"
     "dosyadan anlaşılır; anlaşılamıyorsa hiçbir şey yüklenmez, söyleyecek seçenek yazılır.\n"
     "Tarihler: 2025-11-20T14:05:00, 20.11.2025 14:05, 20/11/2025, 20 Kasım 2025, --dates mdy ile 11/20/2025 2:05 PM.\n"
     "Boş alan hiçbir şey, iki tırnak boş metindir; metin olmayan bir alanda ikisi de hiçbir şeydir.\n"
     "Sondaki satırların bütün alanları boşsa --empty-lines rows onları satır sayar, skip atlar; verilmezse sorulur.\n"
     "Tablosu daha geniş olan tek sütunlu bir CSV'nin boş satırları için de öyle, nerede olurlarsa olsunlar.\n",
     3, 13, importTable},
    {"sql", "DOSYA METİN [--format csv|jsonl|xlsx] [--out ÇIKTI] [--parameter AD=DEĞER ...]",
     "bir sorguyu çalıştırır, satırlar ekler, değiştirir ya da siler", sqlHelp, 2, 40, runSql},
    {"schema", "DOSYA [--dialect sqlite|postgres]", "tabloları, anahtarları ve ilişkileri SQL metni olarak yazar",
     "Metni SQLite da PostgreSQL de alır; --dialect verilirse yalnız o: sayaçlar da yazılır, birbirini gösteren\n"
     "tabloların ilişkileri de. Dosyanın zorlamadığı ilişkiler açıklama satırıdır.\n", 1, 3, writeSchema},
    {"compact", "DOSYA ÇIKTI", "silinenlerden kalan boşlukları atarak yeni bir dosyaya yazar",
     "Sorgular, formlar, raporlar, modüller, ilişkiler de yeni dosyaya geçer. ÇIKTI var olmayan bir dosya olmalı.\n"
     "DOSYA'ya dokunmaz. DOSYA bozuksa okunabilen her satırı kurtarır, kaybolanları yazar ve 2 ile biter\n"
     "(rescue gibi).\n", 2, 2, compactFile},
    {"rescue", "DOSYA ÇIKTI", "bozuk bir dosyanın okunabilen her satırını yeni bir dosyaya yazar",
     "Okunamayanları sayfa, satır ve alan adıyla yazar; okunup da şüpheli olanları da (haritada olmayan ya da iki kez\n"
     "duran sayfa, dizinle tutmayan satır). Çıkış kodu: 0 her şey kurtarıldı, 2 kurtarılamayan ya da şüpheli bir yer var,\n"
     "1 hiçbir şey yazılmadı. ÇIKTI var olmayan bir dosya olmalı. DOSYA'ya dokunmaz.\n", 2, 2, rescueFile},
    {"backup", "DOSYA ÇIKTI", "dosyanın tutarlı bir kopyasını alır",
     "ÇIKTI var olmayan bir dosya olmalı; kopya tamamlanıp denetlenmeden o adı almaz.\n", 2, 2, backupFile},
    {"restore", "KLASÖR [KOPYA [--waiting drop]]", "bir yedeği geri yükler; kopya verilmezse yedekleri listeler",
     "KLASÖR programın klasörüdür (Yag.mdb'nin durduğu yer); yedekler içindeki Yedek klasöründedir.\n"
     "KOPYA bir yedeğin adı ya da tarihidir: 2025-11-20 gibi. Yedek denetlenmeden hiçbir şeyin yerine geçmez;\n"
     "duran Yag.mdb silinmez, Yag-onceki-TARİH.mdb adıyla saklanır. Program kapalı olmalıdır. Ortak bir defterde,\n"
     "sunucunun daha duymadığı ve kopyada da olmayan değişiklikler varsa durur; --waiting drop verilirse onlar yalnız\n"
     "saklanan dosyada kalır.\n", 1, 4, restore},
    {"weights", "KLASÖR [--day GÜN] [--customer AD] [--verify [--log KOPYA]]", "tartım defterini listeler ya da denetler",
     "KLASÖR programın klasörüdür; tartım defteri içindeki Tartim.jsonl ve eski mevsimlerin dosyalarıdır.\n"
     "Her sıkımın satırı zeytini ve yağı, teraziden mi (terazinin gönderdiği baytlarla) elle mi geldiğini söyler.\n"
     "--day 2025-11-20 yalnızca o günü, --customer adı böyle başlayanları listeler.\n"
     "--verify ilk değiştirilmiş, silinmiş, ikinci kez yazılmış ya da araya sokulmuş satırı ve defterde satırıyla\n"
     "uyuşmayan her sıkımı yazar; yalnızca hepsi uyuyorsa 0 ile biter. presva.log'un gördüğü özetlerle de\n"
     "karşılaştırır: klasördeki her şeyi birlikte baştan yazan birini ancak o dosyanın başka yerde saklanan\n"
     "bir kopyası gösterir, --log ile verilir.\n", 1, 8, weights},
    {"season", "KAYNAK [--year YIL] ÇIKTI", "bir sezonu çizimli bir sayfa, tablolar ya da PDF olarak yazar",
     "KAYNAK programın klasörü ya da bir Yag.mdb'dir; sayaç çalışırken de okunur. YIL sezonun başladığı yıldır;\n"
     "verilmezse en yeni sezon alınır. ÇIKTI .html ile biterse her tarayıcıda açılan, yazdırılan ve ağa hiç\n"
     "çıkmayan bir sayfa, .xlsx ile hesap tablosu, .pdf ile PDF olur; duran bir ÇIKTI yenilenir. Okunamayan satır varsa\n"
     "ÇIKTI yazılır, satırlar sayılır ve 2 ile biter.\n", 2, 4, season},
    {"to-server", "KLASÖR [--user AD] [--delete yes] [--every SANİYE] [--merge yes] [--new yes] [--deleted drop|keep]", "defteri bir PostgreSQL sunucusuna aktarır",
     "KLASÖR programın klasörüdür: Yag.mdb okunur, sunucu oradaki Sunucu.ini'de yazar (docs/sunucu.md). Bu sayacın\n"
     "sunucudaki Cari ve Hareket satırları dosyadakilerle aynı olur; tablolar yoksa önce onlar kurulur. Program açık\n"
     "olabilir. Sonunda her satır karşılaştırılır. Yarıda kalırsa yeniden çalıştırın: sunucuda olan satırlar ikinci kez\n"
     "yazılmaz. Raporun toplam satırı aktarılmaz. --user Sunucu.ini'dekinden başka bir kullanıcıyla bağlanır.\n"
     "Sunucuda dosyada olmayan satırlar varsa durur; --delete yes verilirse onlar sunucudan silinir.\n"
     "--every verilirse bitmez: bu kadar saniyede bir bakar, dosya değiştikçe aktarır; sunucu yoksa gelince sürdürür.\n"
     "Sunucu.ini'de bir Defter satırı varsa dosya o ortak deftere girer; program kapalı olmalı. Birinde olup ötekinde\n"
     "olmayan satırlar tamamlanır, sunucudan hiçbir şey silinmez; ikisinde de ötekinde olmayan sıkımlar varsa durur,\n"
     "--merge yes verilirse birleştirir. Sunucuda başka defterler varken yeni bir defter --new yes ile açılır; bu sayacın\n"
     "eski kopyası --delete yes ile silinir. Dosyada defterden silinmiş kayıtlar varsa durur: --deleted drop onları\n"
     "dosyadan da siler, --deleted keep bütün sayaçlara geri getirir. Defterde olan bir dosya karşılaştırılır; satırları\n"
     "tutmuyorsa --merge yes ile yeniden girer.\n",
     1, 13, toServer},
    {"from-server", "KLASÖR ÇIKTI [--user AD]", "sunucudaki defteri yeni bir veritabanı dosyasına yazar",
     "Sunucuyu ve sayacın adını KLASÖR'deki Sunucu.ini söyler. Satırlar bir andaki halleriyle okunur. ÇIKTI var olmayan\n"
     "bir dosya olmalı; her satırı karşılaştırılmadan o adı almaz. Yarıda kalırsa yeniden çalıştırın: ÇIKTI.aktarim'dan\n"
     "sürer.\n", 2, 4, fromServer},
    {"undelete", "KLASÖR MÜŞTERİ [--deletion AN] [--user AD]", "ortak defterden silinmiş bir müşteriyi geri getirir",
     "Sunucuyu ve defteri KLASÖR'deki Sunucu.ini söyler; sahibin kullanıcısı gerekir. O adın son silmesinde giden\n"
     "sıkımlar ve cari geçmişten geri yazılır; sayaçlar kendiliğinden alır. Bir silme bir kez geri getirilir. Birkaç kez\n"
     "silinmişse --deletion \"2026-11-20 04:30:20\" o andaki (UTC) silmeyi geri getirir; anları komut söyler. Başka yoldan\n"
     "zaten dönmüş sıkımlar ikinci kez gelmez; sayılır.\n",
     2, 6, undelete},
    {"leave-register", "KLASÖR [--waiting drop]", "dosyayı ortak defterden ayırır",
     "KLASÖR programın klasörüdür; program kapalı olmalı. Dosya yine yalnız bu sayacın olur, satırlarının hepsi kalır;\n"
     "sunucuya bağlanılmaz. Sunucunun daha duymadığı değişiklikler varsa durur; --waiting drop verilirse onları defter\n"
     "hiç duymaz.\n", 1, 3, leaveRegister},
    {"drop-index", "DOSYA TABLO DİZİN", "bir tablonun bir dizinini kaldırır", "", 3, 3, dropIndex},
};
// clang-format on

/// In the language that is spoken, as far as there is one.
EnglishHelp helpOf(const Command& command)
{
    const EnglishHelp* const english = speaksEnglish() ? englishHelp(command.name) : nullptr;
    return english != nullptr ? *english : EnglishHelp{command.name, command.parameters, command.summary, command.help};
}

void putUsage(Output& out)
{
    say(out, said("presva-mdb: Access 2000-2003 veritabanları (.mdb) için komutlar\n\nKullanım:",
                  "presva-mdb: commands for Access 2000-2003 databases (.mdb)\n\nUsage:"));
    for (const Command& command : commands) {
        const EnglishHelp help = helpOf(command);
        say(out, "    presva-mdb " + std::string(help.name) + " " + std::string(help.parameters) + "\n        " +
                     std::string(help.summary));
    }
    say(out, said("\nHer komutun kendi yardımı vardır: presva-mdb KOMUT --help\n"
                  "Hata olursa standart hata çıktısına bir satır yazılır ve çıkış kodu 1 olur.\n"
                  "Dil: --lang tr|en; verilmezse LC_ALL, LC_MESSAGES ya da LANG \"en\" ile başlıyorsa İngilizce.",
                  "\nEvery command has its own help: presva-mdb COMMAND --help\n"
                  "A failure is one line on standard error, and the exit code 1.\n"
                  "Language: --lang tr|en; without it English where LC_ALL, LC_MESSAGES or LANG begins with \"en\"."));
}

void putHelp(Output& out, const Command& command)
{
    const EnglishHelp help = helpOf(command);
    say(out, said("Kullanım: presva-mdb ", "Usage: presva-mdb ") + std::string(help.name) + " " +
                 std::string(help.parameters) + "\n");
    say(out, said("Komut ", "It ") + std::string(help.summary) + ".");
    out.put(help.help);
}

bool isHelp(const std::string& argument) { return argument == "--help" || argument == "-h"; }

int run(files::Disk& disk, Arguments arguments)
{
    if (arguments.empty())
        misused(
            said("Komut eksik; yardım için: presva-mdb --help", "The command is missing; for help: presva-mdb --help"));
    if (isHelp(arguments[0])) {
        Output out(standardOutput);
        putUsage(out);
        out.flush();
        return 0;
    }
    const auto command = std::ranges::find_if(commands, [&](const Command& each) { return each.name == arguments[0]; });
    if (command == std::end(commands))
        misused("'" + arguments[0] +
                said("' diye bir komut yok; yardım için: presva-mdb --help",
                     "' is no command; for help: presva-mdb --help"));
    const Arguments rest = arguments.subspan(1);
    if (std::ranges::any_of(rest, isHelp)) {
        Output out(standardOutput);
        putHelp(out, *command);
        out.flush();
        return 0;
    }
    if (rest.size() < command->fewest || rest.size() > command->most)
        misused("'" + arguments[0] + said("' komutu şöyle yazılır: presva-mdb ", "' is written so: presva-mdb ") +
                arguments[0] + " " + std::string(helpOf(*command).parameters));
    return command->run(disk, rest);
}

} // namespace

int runDatabaseTool(files::Disk& disk, std::span<const std::string> given)
{
    const auto fail = [](std::string line) {
        std::ranges::replace(line, '\n', ' ');
        std::fprintf(stderr, "presva-mdb: %s\n", line.c_str());
        return 1;
    };
    std::vector<std::string> arguments(given.begin(), given.end());
    try {
        chooseLanguage(arguments);
        return run(disk, arguments);
    } catch (const Misuse& misuse) {
        return fail(misuse.what());
    } catch (const jet::Error& error) {
        return fail(sentenceOf(error));
    } catch (const std::exception& error) {
        return fail(files::ownBug(arguments.empty() ? "presva-mdb" : arguments[0], error));
    }
}

} // namespace tools
