#include "scale/formats/frame_writer.h"
#include "tests/formats/played_lines.h"
#include "tests/support/outcome_matchers.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

using namespace scale;
using testing::HasSubstr;

namespace {

Outcome tool(const std::vector<std::string>& arguments, const std::string& input = {})
{
    return run({PRESVA_SCALE, arguments, input});
}

/// Plays in the background until the test ends.
class Player {
public:
    explicit Player(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> all = {"--link", link()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        thread_ = std::thread([this, all] { outcome_ = tool(all); });
        while (!std::filesystem::exists(link())) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ~Player()
    {
        if (thread_.joinable()) thread_.join();
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    std::string link() const { return (folder_ / "com1").string(); }
    Outcome end()
    {
        thread_.join();
        return outcome_;
    }

private:
    TemporaryFolder folder_;
    Outcome outcome_;
    std::thread thread_;
};

} // namespace

TEST(ScaleReader, listsTheFormatsByName)
{
    std::string names;
    for (const LineFormat& format : lineFormats()) names += format.name + "\n";
    EXPECT_THAT(tool({"--formats"}), succeeds(names));
}

TEST(ScaleReader, printsEveryReadingOfAFormat)
{
    for (const LineFormat& format : lineFormats()) {
        std::string stream;
        std::string expected;
        for (const FormatSample& sample : format.samples) {
            stream += sample.bytes;
            if (sample.kilograms != "none") expected += sample.kilograms + "\n";
        }
        const Outcome read = tool({"--read", format.name}, stream);
        std::string kilograms;
        for (const std::string& line : split(read.out, "\n"))
            if (!line.empty()) kilograms += line.substr(0, line.find('\t')) + "\n";
        EXPECT_EQ(kilograms, expected) << format.name;
        EXPECT_EQ(read.code, 0);
    }
}

TEST(ScaleReader, printsKilogramsATabAndWhatTheScaleSays)
{
    EXPECT_EQ(tool({"--read", "st-gs"}, "ST,GS,+0001234kg\r\nUS,NT,+01240.5kg\r\nOL,GS,+     . kg\r\n").out,
              "1234\tstable\n1240.5\tmoving\n");
    EXPECT_EQ(tool({"--read", "yh-ww"}, "ww001.234kg\r\nwn0123.45kg\r\n").out, "1.234\tgross\n123.45\tnet\n");
    EXPECT_EQ(tool({"--read", "yh-a9"}, "\x02+001560019\x03").out, "1560\tunknown\n");
    EXPECT_EQ(tool({"--read", "st-gs"}, "").out, "");
    EXPECT_EQ(tool({"--read", "st-gs"}, "34kg\r\nST,GS,+00012").out, "");
}

TEST(ScaleReader, findsTheFormatOut)
{
    const Outcome few = tool({"--read", "auto"}, "ST,GS,+0001234kg\r\nUS,NT,+01240.5kg\r\n");
    EXPECT_EQ(few.out, "1234\tstable\n1240.5\tmoving\n");
    std::string stream;
    for (int i = 0; i < 1000; ++i) stream += *frameFor(*lineFormatNamed("toledo-cont"), {i, 1}, Rest::moving);
    EXPECT_EQ(countOf("\tmoving\n", tool({"--read", "auto"}, stream).out), 1000);
}

TEST(ScaleReader, saysNothingOfAStreamThatTwoFormatsReadDifferently)
{
    EXPECT_THAT(tool({"--read", "auto"}, "=012.5000=012.5000=012.5000=012.5000=012.5000"),
                succeeds("", HasSubstr("yh-eq-reversed, yh-eq-forward")));
}

TEST(ScaleReader, showsAPlayedScaleAndWhatItWasRecognisedAs)
{
    Player player({"--format", "st-gs-dini", "--curve", "--weight", "1234.5", "--rate", "50", "--count", "120"});
    const Outcome heard = tool({"--listen", player.link(), "--seconds", "2"});
    EXPECT_EQ(heard.code, 0);
    for (const char* const told : {"Tanındı: st-gs-dini", "1234.5 kg  stable", "53 54 2C 47 53" /* ST,GS */, " bayt, ",
                                   " tartım (sn başına ", " satır sayılmadı, ", "0 satır okunmadı, ", "en uzun ara "})
        EXPECT_THAT(heard.out, HasSubstr(told));
    EXPECT_EQ(player.end().code, 0);
}

TEST(ScaleReader, tellsThatNothingWasRecognised)
{
    Player player({"--shape", "garbage", "--rate", "20", "--count", "40"});
    EXPECT_THAT(tool({"--listen", player.link(), "--seconds", "1"}), ends(2, HasSubstr("Sonuç: biçim tanınmadı.")));
}

TEST(ScaleReader, playsAPlugThatIsPulled)
{
    Player player({"--format", "st-gs", "--rate", "50", "--count", "30", "--pull", "20"});
    const std::filesystem::path before = std::filesystem::read_symlink(player.link());
    std::filesystem::path after = before;
    for (int i = 0; i < 400 && after == before; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::error_code gone;
        const std::filesystem::path now = std::filesystem::read_symlink(player.link(), gone);
        if (!gone) after = now;
    }
    EXPECT_NE(after, before);
    EXPECT_EQ(countOf("->", player.end().out), 2);
}

TEST(ScaleReader, damagesWhatItPlaysWhenAsked)
{
    Player player({"--format", "st-gs", "--rate", "200", "--count", "200", "--noise", "1", "--cut", "5"});
    const Outcome heard = tool({"--listen", player.link(), "--seconds", "1"});
    EXPECT_THAT(heard.out, HasSubstr("tanınmayan satır, seçilen biçimde değil"));
    EXPECT_THAT(heard.out, HasSubstr("hat bozuk: aynı ağırlık birkaç kez gelene dek bekleniyor"));
    EXPECT_THAT(heard.out, HasSubstr("1234 kg  stable"));
}

TEST(ScaleReader, tellsMistakes)
{
    const struct {
        std::vector<std::string> arguments;
        const char* sentence;
    } mistakes[] = {
        {{"--read", "no-such"}, "Bilinmeyen terazi biçimi: no-such"},
        {{"--format", "no-such"}, "Bilinmeyen terazi biçimi: no-such"},
        {{"--format", "mt-8217", "--weight", "-50"}, "mt-8217 biçimi bu ağırlığı söyleyemez: -50 kg"},
        {{"--format", "st-gs", "--weight", "çok"}, "Ağırlık bekleniyordu (örnek: 1234.5): çok"},
        {{"--noise", "101"}, "Yüzde 100'den fazla olamaz: 101"},
        {{"--listen", "/no/such/port"}, "Böyle bir port yok: /no/such/port"},
        {{"--listen", "/dev/null"}, "Seri port değil: /dev/null"},
        {{"--listen", "com99"}, "Böyle bir port yok: com99"},
    };
    for (const auto& [arguments, sentence] : mistakes) {
        EXPECT_THAT(tool(arguments), refuses(HasSubstr(sentence), "")) << sentence;
    }
    Player player({"--rate", "50", "--count", "20"});
    EXPECT_THAT(tool({"--listen", player.link(), "--settings", "9600;n;8;1"}).err, HasSubstr("Hat ayarı anlaşılmadı"));
}
