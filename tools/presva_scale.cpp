// Plays a weighing scale on a pseudo-terminal, for trying the program without one.

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <poll.h>
#include <pty.h>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::string_view help =
    R"(presva-scale: terazi yerine geçer; bir sanal seri hattan ağırlık gönderir.

Kullanım: presva-scale [seçenekler]

  --link YOL        hattın adı: bu yolda bir bağ kurulur (varsayılan: com1).
                    Programın klasöründeki "com3" bağı, programda Com3 demektir.
  --weight A,B,...  gönderilecek kilolar, sırayla ve baştan (varsayılan: 1234)
  --rate N          saniyede kaç satır (varsayılan: 5)
  --count N         bu kadar satırdan sonra bitir (varsayılan: durdurulana dek)
  --shape BİÇİM     satırın biçimi (varsayılan: padded):
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
  --help            bu metin

Örnek:
  presva-scale --link ~/.local/share/mendrik-presva/com3 --weight 1200,1210,1225 --rate 8
Durdurmak için Ctrl+C; bağ o zaman silinir.
)";

volatile std::sig_atomic_t stopped = 0;

/// One piece of text and how long after the piece before it is sent.
struct Piece {
    milliseconds wait{0};
    std::string bytes;
};

/// A mistake in the arguments or the replayed file, told in Turkish.
struct Mistake : std::runtime_error {
    using std::runtime_error::runtime_error;
};

int numberOf(std::string_view text, int smallest)
{
    int value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || value < smallest)
        throw Mistake("Sayı bekleniyordu: " + std::string(text));
    return value;
}

struct Options {
    std::filesystem::path link = "com1";
    std::vector<std::string> weights = {"1234"};
    int rate = 5;
    std::optional<int> count;
    std::string shape = "padded";
    std::optional<std::filesystem::path> replay;
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

Options readOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name == "--help" || name == "-h") {
            options.help = true;
            return options;
        }
        if (i + 1 == argc) throw Mistake("Bilinmeyen ya da eksik seçenek: " + name);
        const std::string value = argv[++i];
        if (name == "--link")
            options.link = value;
        else if (name == "--weight")
            options.weights = parts(value);
        else if (name == "--rate")
            options.rate = numberOf(value, 1);
        else if (name == "--count")
            options.count = numberOf(value, 0);
        else if (name == "--shape")
            options.shape = value;
        else if (name == "--replay")
            options.replay = value;
        else
            throw Mistake("Bilinmeyen seçenek: " + name);
    }
    return options;
}

/// The line's master end. A slave end of our own stays open, so that the program may come and go.
class Line {
public:
    explicit Line(std::filesystem::path link) : link_(std::move(link))
    {
        termios raw = {};
        cfmakeraw(&raw);
        char name[64] = {};
        if (openpty(&master_, &slave_, name, &raw, nullptr) != 0) throw Mistake("Sanal hat açılamadı.");
        fcntl(master_, F_SETFL, O_NONBLOCK);
        path_ = name;
        // Only our own kind of thing is replaced, never somebody's file.
        if (std::filesystem::is_symlink(link_)) std::filesystem::remove(link_);
        std::filesystem::create_symlink(path_, link_);
    }
    ~Line()
    {
        std::error_code ignored;
        if (std::filesystem::read_symlink(link_, ignored) == path_) std::filesystem::remove(link_, ignored);
        close(slave_);
        close(master_);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    const std::string& path() const { return path_; }

    /// A wire does not wait: what nobody reads in time is lost.
    void send(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t sent = write(master_, bytes.data(), bytes.size());
            if (sent < 0 && errno == EINTR) continue;
            if (sent <= 0) return;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
    }

    /// What the program sends to its scale is of no interest, but must not fill the line up.
    void waitUntil(Clock::time_point moment) const
    {
        while (stopped == 0) {
            const auto left = std::chrono::ceil<milliseconds>(moment - Clock::now());
            if (left.count() <= 0) return;
            pollfd wanted = {master_, POLLIN, 0};
            if (poll(&wanted, 1, static_cast<int>(left.count())) > 0) {
                char answer[256];
                if (read(master_, answer, sizeof answer) < 0 && errno != EAGAIN && errno != EINTR) return;
            }
        }
    }

private:
    std::filesystem::path link_;
    std::string path_;
    int master_ = -1;
    int slave_ = -1;
};

std::string padded(const std::string& weight, std::size_t width)
{
    return weight.size() < width ? std::string(width - weight.size(), ' ') + weight : weight;
}

std::string garbage(std::mt19937& random)
{
    std::uniform_int_distribution<int> length(1, 30);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string text;
    for (int i = length(random); i > 0; --i) text += static_cast<char>(byte(random));
    return text + '\r';
}

/// One line of the scale; `period` is the time between two lines.
std::vector<Piece> lineOf(const std::string& shape, const std::string& weight, milliseconds period,
                          std::mt19937& random)
{
    const std::string plain = padded(weight, 6) + "kg\r";
    if (shape == "padded") return {{period, plain}};
    if (shape == "crlf") return {{period, padded(weight, 6) + " kg\r\n"}};
    if (shape == "sign") {
        const bool negative = weight.starts_with('-');
        const std::string digits = padded(negative ? weight.substr(1) : weight, 6);
        return {{period, "ST,GS," + std::string(negative ? "-" : "+") + digits + "kg\r\n"}};
    }
    if (shape == "unit-first") return {{period, "kg" + padded(weight, 6) + "\r"}};
    if (shape == "capitals") return {{period, padded(weight, 6) + "KG\r"}};
    if (shape == "garbage") return {{period, garbage(random)}};
    if (shape == "burst") return {{period, plain + plain + plain + plain + plain}};
    if (shape == "pause") {
        const std::size_t middle = plain.size() / 2;
        constexpr milliseconds inside{60};
        return {{std::max(period - inside, milliseconds(1)), plain.substr(0, middle)}, {inside, plain.substr(middle)}};
    }
    if (shape == "half") return {{period, padded(weight, 6)}};
    throw Mistake("Bilinmeyen biçim: " + shape);
}

std::string unescaped(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        switch (text[++i]) {
        case 'r':
            result += '\r';
            break;
        case 'n':
            result += '\n';
            break;
        case 't':
            result += '\t';
            break;
        case 'x': {
            int byte = 0;
            const char* const from = text.data() + i + 1;
            const char* const to = text.data() + std::min(i + 3, text.size());
            const auto read = std::from_chars(from, to, byte, 16);
            if (read.ptr != from + 2) throw Mistake("\\x ardından iki hane gerekir: " + text);
            result += static_cast<char>(byte);
            i += 2;
            break;
        }
        default:
            result += text[i];
        }
    }
    return result;
}

std::vector<Piece> readReplay(const std::filesystem::path& path)
{
    std::ifstream file(path);
    if (!file) throw Mistake("Dosya okunamıyor: " + path.string());
    std::vector<Piece> pieces;
    milliseconds before{0};
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line.starts_with('#')) continue;
        const std::size_t blank = std::min(line.find_first_of(" \t"), line.size());
        const milliseconds moment{numberOf(std::string_view(line).substr(0, blank), 0)};
        if (moment < before) throw Mistake("Zaman geri gidiyor: " + line);
        pieces.push_back({moment - before, unescaped(line.substr(std::min(blank + 1, line.size())))});
        before = moment;
    }
    return pieces;
}

void play(const Line& line, const std::vector<Piece>& pieces, Clock::time_point& moment)
{
    for (const Piece& piece : pieces) {
        moment += piece.wait;
        line.waitUntil(moment);
        if (stopped != 0) return;
        line.send(piece.bytes);
    }
}

void run(const Options& options)
{
    // Mistakes first, so that no link is left behind by one.
    std::mt19937 random(1); // the same garbage every time: a finding can be repeated
    const milliseconds period{1000 / std::min(options.rate, 1000)};
    lineOf(options.shape, options.weights.front(), period, random);
    const std::vector<Piece> replay = options.replay ? readReplay(*options.replay) : std::vector<Piece>();

    const Line line(options.link);
    std::printf("%s -> %s\n", options.link.c_str(), line.path().c_str());
    std::fflush(stdout);
    Clock::time_point moment = Clock::now();
    if (options.replay) {
        play(line, replay, moment);
    } else {
        for (int i = 0; stopped == 0 && (!options.count || i < *options.count); ++i) {
            const std::string& weight = options.weights[static_cast<std::size_t>(i) % options.weights.size()];
            play(line, lineOf(options.shape, weight, period, random), moment);
        }
    }
    // Time for the program to read the last line before the cable goes.
    line.waitUntil(Clock::now() + milliseconds(200));
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const Options options = readOptions(argc, argv);
        if (options.help) {
            std::fputs(help.data(), stdout);
            return 0;
        }
        struct sigaction action = {};
        action.sa_handler = [](int) { stopped = 1; };
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
        run(options);
        return 0;
    } catch (const std::exception& mistake) {
        std::fprintf(stderr, "presva-scale: %s\nYardım için: presva-scale --help\n", mistake.what());
        return 1;
    }
}
