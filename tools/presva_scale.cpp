// Plays a weighing scale on a pseudo-terminal, reads one that is played or real, and shows what a line brings.

#include "platform/serial_ports.h"
#include "tools/scale_listener.h"
#include "tools/scale_player.h"
#include "tools/scale_terminal.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace tools;
using std::chrono::milliseconds;

constexpr std::string_view help =
    R"(presva-scale: terazi yerine geçer; bir sanal seri hattan ağırlık gönderir.
Gerçek bir teraziyi de dinler ve gelen satırları okur.

Kullanım: presva-scale [seçenekler]
          presva-scale --listen PORT [--settings AYAR] [--seconds N]
          presva-scale --read AD | --formats

Terazi yerine:
  --link YOL        hattın adı: bu yolda bir bağ kurulur (varsayılan: com1).
                    Programın klasöründeki "com3" bağı, programda Com3 demektir.
  --weight A,B,...  gönderilecek kilolar, sırayla ve baştan (varsayılan: 1234)
  --rate N          saniyede kaç satır (varsayılan: 5)
  --count N         bu kadar satırdan sonra bitir (varsayılan: durdurulana dek)
  --format AD       satırlar bu terazi biçiminde (adlar: --formats)
  --curve           her kilo yüklenir, salınır, durur, indirilir; terazi boşalır
  --noise N         baytların yüzde N'i bozulur
  --cut N           satırların yüzde N'i ortasında kesilir
  --pull N          her N satırda bir fiş satırın ortasında çekilir, bir saniye
                    sonra başka bir aygıt adıyla geri takılır
  --shape BİÇİM     --format yerine, satırın biçimi (varsayılan: padded):
                      padded      "  1234kg" CR
                      crlf        "  1234 kg" CR LF
                      sign        "ST,GS,+  1234kg" CR LF
                      unit-first  "kg  1234" CR
                      capitals    "  1234KG" CR (program birimi tanımaz)
                      garbage     anlamsız baytlar, arada CR
                      burst       beş satır birden
                      pause       satırın ortasında 60 ms bekleme
                      half        CR'siz yarım satır
  --replay DOSYA    dosyadaki satırları zamanında gönder, sonra bitir. Her satır:
                      başlangıçtan beri milisaniye, bir boşluk, gönderilecek metin
                      (\r \n \t \\ ve \xHH yazılabilir; # ile başlayan satır atlanır)

Gerçek terazi:
  --listen PORT     gelen baytları, tanınan biçimi, tartımları ve sonunda hattın
                    durumunu göster. PORT bir aygıtın ya da bağın yolu, ya da com1
                    ile com16 arası bir ad.
  --settings AYAR   hız, eşlik, veri ve dur biti (varsayılan: 9600,n,8,1)
  --seconds N       bu kadar dinle (varsayılan: 60)
  --formats         bilinen terazi biçimlerinin adları, her satırda bir
  --read AD         baytları standart girdiden oku; sayılan her tartım bir satır:
                    kilo (noktalı), sekme, stable, moving, gross, net ya da unknown.
                    AD yerine auto: biçim gelenden tanınır, kesin değilse susulur.
                    Baytların zamanı yoktur, ara da görülmez: girdi bitince yazılır.
                    Hepsi sağlam satırsa her tartım sayılır; iki ve iki eşit arasında
                    tek kalan sayılmaz. Bir yeri bile bozuksa bir ağırlık ancak 16
                    satırda dört (64'te altı) kez gelince sayılır; sağlama varsa iki
                    (üç) kez. Canlı hat için: --listen

  --help            bu metin

Bitiş kodu: 0 tamam; 1 yanlış çağrı, açılamayan dosya ya da port; 2 --listen bir
biçim tanıyamadı.

Örnek:
  presva-scale --link ~/.local/share/mendrik-presva/com3 --weight 1200,1210,1225 --rate 8
Durdurmak için Ctrl+C; bağ o zaman silinir.
)";

struct Options {
    std::filesystem::path link = "com1";
    std::vector<std::string> weights;
    int rate = 5;
    std::optional<int> count;
    std::string shape = "padded";
    const scale::LineFormat* format = nullptr;
    bool curve = false;
    int noise = 0;
    int cut = 0;
    int pull = 0;
    std::optional<std::filesystem::path> replay;
    std::optional<std::string> listen;
    std::string settings = "9600,n,8,1";
    int seconds = 60;
    bool read = false; ///< in `format`; without one, recognised
    bool formats = false;
    bool help = false;
};

std::vector<std::string> parts(const std::string& text)
{
    std::vector<std::string> result;
    for (std::size_t from = 0; from <= text.size();) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        result.push_back(text.substr(from, comma - from));
        from = comma + 1;
    }
    return result;
}

const scale::LineFormat* formatNamed(const std::string& name)
{
    if (const scale::LineFormat* const format = scale::lineFormatNamed(name)) return format;
    throw Mistake("Bilinmeyen terazi biçimi: " + name + " (adlar: presva-scale --formats)");
}

int percentOf(const std::string& text)
{
    const int percent = numberOf(text, 0);
    if (percent > 100) throw Mistake("Yüzde 100'den fazla olamaz: " + text);
    return percent;
}

/// Those without a value of their own.
constexpr std::pair<std::string_view, bool Options::*> switches[] = {
    {"--help", &Options::help}, {"-h", &Options::help}, {"--formats", &Options::formats}, {"--curve", &Options::curve}};

using Text = const std::string&;

constexpr std::pair<std::string_view, void (*)(Options&, Text)> settings[] = {
    {"--link", [](Options& options, Text value) { options.link = value; }},
    {"--weight", [](Options& options, Text value) { options.weights = parts(value); }},
    {"--rate", [](Options& options, Text value) { options.rate = numberOf(value, 1); }},
    {"--count", [](Options& options, Text value) { options.count = numberOf(value, 0); }},
    {"--shape", [](Options& options, Text value) { options.shape = value; }},
    {"--format", [](Options& options, Text value) { options.format = formatNamed(value); }},
    {"--noise", [](Options& options, Text value) { options.noise = percentOf(value); }},
    {"--cut", [](Options& options, Text value) { options.cut = percentOf(value); }},
    {"--pull", [](Options& options, Text value) { options.pull = numberOf(value, 1); }},
    {"--replay", [](Options& options, Text value) { options.replay = value; }},
    {"--listen", [](Options& options, Text value) { options.listen = value; }},
    {"--settings", [](Options& options, Text value) { options.settings = value; }},
    {"--seconds", [](Options& options, Text value) { options.seconds = numberOf(value, 1); }},
    {"--read",
     [](Options& options, Text value) {
         options.read = true;
         options.format = value == "auto" ? nullptr : formatNamed(value);
     }},
};

/// Where the option stands among those of its kind; null when it is none of them.
template <class Known> auto found(const Known& known, const std::string& name)
{
    const auto at = std::ranges::find(known, name, [](const auto& option) { return option.first; });
    return at == std::end(known) ? nullptr : &*at;
}

Options readOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (const auto* const on = found(switches, name)) {
            options.*(on->second) = true;
            continue;
        }
        if (i + 1 == argc) throw Mistake("Bilinmeyen ya da eksik seçenek: " + name);
        const auto* const setting = found(settings, name);
        if (setting == nullptr) throw Mistake("Bilinmeyen seçenek: " + name);
        setting->second(options, argv[++i]);
    }
    if (options.weights.empty()) options.weights = {options.format ? usualWeight(*options.format) : "1234"};
    return options;
}

/// A path as it stands where there is one; else the device of Com1 to Com16.
std::filesystem::path deviceNamed(const std::string& name)
{
    if (std::filesystem::exists(name)) return name;
    int number = 0;
    const std::string_view digits = std::string_view(name).substr(std::min<std::size_t>(3, name.size()));
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isNumber = !digits.empty() && read.ec == std::errc() && read.ptr == digits.data() + digits.size();
    if ((name.starts_with("com") || name.starts_with("Com")) && isNumber) {
        platform::SerialPortPlaces places;
        const char* const home = std::getenv("HOME");
        places.programDirectory = std::filesystem::path(home ? home : "") / ".local/share/mendrik-presva";
        if (const auto device = platform::serialPort(number, places)) return *device;
    }
    throw Mistake("Böyle bir port yok: " + name);
}

/// Plays what the options ask for. A plug that is pulled takes its line along, in the middle of a text.
class Play {
public:
    explicit Play(const Options& options) : options_(options)
    {
        // Mistakes first, so that no link is left behind by one.
        loads_ = playedLoads(options.weights, options.curve);
        for (const PlayedLoad& load : loads_) line(load);
        random_.seed(1);
        if (options.replay) replay_ = readReplay(*options.replay);
    }

    void run()
    {
        plugIn();
        moment_ = Clock::now();
        if (options_.replay) {
            send(replay_);
        } else {
            for (int i = 0; !isStopped() && (!options_.count || i < *options_.count); ++i) {
                const bool pulled = options_.pull > 0 && i % options_.pull == options_.pull - 1;
                std::vector<SentPiece> pieces = line(loads_[static_cast<std::size_t>(i) % loads_.size()]);
                if (pulled) pieces.back().bytes.resize(pieces.back().bytes.size() / 2);
                send(pieces);
                if (pulled) replug();
            }
        }
        // Time for the program to read the last line before the cable goes.
        plug_->waitUntil(Clock::now() + milliseconds(200));
    }

private:
    void plugIn()
    {
        plug_.emplace(options_.link);
        std::printf("%s -> %s\n", options_.link.c_str(), plug_->path().c_str());
        std::fflush(stdout);
    }

    void replug()
    {
        constexpr milliseconds out{1000};
        plug_->waitUntil(Clock::now() + milliseconds(50)); // time to read the half line
        plug_.reset();
        // Takes the name that has become free, so that the line comes back under another one.
        const PlayedLine other({});
        other.waitUntil(Clock::now() + out);
        plugIn();
        moment_ = Clock::now();
    }

    std::vector<SentPiece> line(const PlayedLoad& load)
    {
        const milliseconds period{1000 / std::min(options_.rate, 1000)};
        std::vector<SentPiece> pieces = options_.format
                                            ? std::vector<SentPiece>{{period, lineOfFormat(*options_.format, load)}}
                                            : lineOfShape(options_.shape, load.weight, period, random_);
        for (SentPiece& piece : pieces) piece.bytes = noisy(std::move(piece.bytes), options_.noise, random_);
        if (std::uniform_int_distribution<int>(0, 99)(random_) < options_.cut) {
            std::string& bytes = pieces.back().bytes;
            bytes.resize(std::uniform_int_distribution<std::size_t>(0, bytes.size() - 1)(random_));
        }
        return pieces;
    }

    void send(const std::vector<SentPiece>& pieces)
    {
        for (const SentPiece& piece : pieces) {
            moment_ += piece.wait;
            plug_->waitUntil(moment_);
            if (isStopped()) return;
            plug_->send(piece.bytes);
        }
    }

    const Options& options_;
    std::vector<PlayedLoad> loads_;
    std::vector<SentPiece> replay_;
    std::mt19937 random_{1}; // the same garbage every time: a finding can be repeated
    std::optional<PlayedLine> plug_;
    Clock::time_point moment_;
};

int run(const Options& options)
{
    if (options.help) {
        std::fputs(help.data(), stdout);
    } else if (options.formats) {
        for (const scale::LineFormat& format : scale::lineFormats()) std::printf("%s\n", format.name.c_str());
    } else if (options.read) {
        readStandardInput(options.format);
    } else if (options.listen) {
        return listenTo(deviceNamed(*options.listen), options.settings, std::chrono::seconds(options.seconds)) ? 0 : 2;
    } else {
        Play(options).run();
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Options options = readOptions(argc, argv);
        stopOnSignals();
        return run(options);
    } catch (const std::exception& mistake) {
        std::fprintf(stderr, "presva-scale: %s\nYardım için: presva-scale --help\n", mistake.what());
        return 1;
    }
}
