#include "query/statement.h"
#include "tests/support/text.h"
#include "tests/tools/tool.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Settings = std::map<std::string, std::string>;

struct LanguageRow {
    Settings settings;
    Arguments option;
    bool english = false;
};

const RowTable<LanguageRow> toolLanguage = {
    {"no settings", {{{"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", ""}}, {}, false}},
    {"Turkish", {{{"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", "tr_TR.UTF-8"}}, {}, false}},
    {"English", {{{"LC_ALL", ""}, {"LC_MESSAGES", ""}, {"LANG", "en_GB.UTF-8"}}, {}, true}},
    {"English messages", {{{"LC_ALL", ""}, {"LC_MESSAGES", "en_US"}, {"LANG", "tr_TR.UTF-8"}}, {}, true}},
    {"Turkish before all", {{{"LC_ALL", "tr_TR"}, {"LC_MESSAGES", "en_US"}, {"LANG", "en_US"}}, {}, false}},
    {"asked for English", {{{"LC_ALL", "tr_TR"}}, {"--lang", "en"}, true}},
    {"asked for Turkish", {{{"LC_ALL", "en_US"}}, {"--lang", "tr"}, false}},
};

TABLE_SUITE_WITH(ToolLanguage, Tool, LanguageRow, toolLanguage);

TEST_P(ToolLanguage, isThatOfTheSettings)
{
    const LanguageRow& spoken = row();
    const bool english = spoken.english;
    const std::string file = created();
    const auto asked = [&](const Arguments& arguments) {
        return run(with(arguments, spoken.option), {}, spoken.settings);
    };
    ASSERT_THAT(asked({"--help"}).out, HasSubstr(english ? "Usage:" : "Kullanım:"));
    ASSERT_THAT(asked({"check", file}).out, HasSubstr(english ? "The file is sound." : "Dosya sağlam."));
    ASSERT_THAT(asked({"sql", file, "Delete From Cari"}).out,
                HasSubstr(english ? "0 rows deleted." : "0 satır silindi."));
    // Without SQLite it is the engine that says so.
    const char* const noField = query::available() ? (english ? "'Yok' is no field" : "'Yok' diye bir alan yok")
                                                   : (english ? "There is no table or field of that name ["
                                                              : "“Cari” tablosunda “Yok” adlı alan yok.");
    ASSERT_THAT(asked({"sql", file, "Select Yok From Cari"}).err, HasSubstr(noField));
    ASSERT_THAT(asked({"fly"}), refuses(HasSubstr(english ? "'fly' is no command" : "'fly' diye bir komut yok")));
    ASSERT_THAT(asked({"info", path("yok.mdb")}),
                refuses(english ? HasSubstr("There is no such file [") : HasSubstr("yok.mdb")));
    // What programs read has no language.
    ASSERT_EQ(asked({"export", file, "Cari"}).out, "Unvan,Yuzde,Kap,Nakit\r\n");
}

RowTable<std::string> englishHelpOf()
{
    RowTable<std::string> table;
    for (const char* name :
         {"create", "info", "check", "export", "import", "schema", "sql", "compact", "rescue", "backup", "restore",
          "weights", "season", "to-server", "from-server", "undelete", "leave-register", "drop-index"})
        table.push_back({name, name});
    return table;
}

TABLE_SUITE_WITH(EnglishHelpOf, Tool, std::string, englishHelpOf());

TEST_P(EnglishHelpOf, hasNoTurkishInIt)
{
    ASSERT_THAT(run({row(), "--help", "--lang", "en"}),
                succeeds(AllOf(HasSubstr("Usage: presva-mdb " + row()), Not(HasSubstr("DOSYA")))));
}

class ToolSpeech : public testing::Test, protected Tool {};

TEST_F(ToolSpeech, anotherLanguageIsRefused) { ASSERT_THAT(run({"--help", "--lang", "fr"}), refuses(isOneLine())); }

} // namespace
