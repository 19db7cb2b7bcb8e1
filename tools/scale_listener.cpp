#include "tools/scale_listener.h"

#include "scale/formats/recogniser.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace tools {

using namespace std::chrono_literals;
using scale::Heard;

namespace {

/// No scale pauses for so long inside a line.
constexpr std::chrono::milliseconds pause = 1s;

constexpr std::size_t firstLook = 256; ///< five frames of the longest formats
constexpr std::size_t mostKept = 4096;

std::string_view stateOf(const scale::Reading& reading)
{
    if (reading.rest == scale::Rest::stable) return "stable";
    if (reading.rest == scale::Rest::moving) return "moving";
    if (reading.load == scale::Load::gross) return "gross";
    if (reading.load == scale::Load::net) return "net";
    return "unknown";
}

void append(std::vector<Heard>& all, std::vector<Heard> more)
{
    for (Heard& one : more) all.push_back(std::move(one));
}

void print(const std::vector<Heard>& heard)
{
    for (const Heard& one : heard) {
        if (!one.reading) continue;
        const std::string_view state = stateOf(*one.reading);
        std::printf("%s\t%.*s\n", toText(one.reading->kilograms).c_str(), static_cast<int>(state.size()), state.data());
    }
    std::fflush(stdout);
}

/// "02 2B 33  .+3": bytes, and the text in them.
std::string shown(std::string_view bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) {
        char hex[4];
        std::snprintf(hex, sizeof hex, "%02X ", byte);
        text += hex;
    }
    text += ' ';
    for (const char byte : bytes) text += byte >= ' ' && byte <= '~' ? byte : '.';
    return text;
}

/// What a listened line has brought so far.
struct Quality {
    std::size_t bytes = 0;
    std::size_t weights = 0;
    std::size_t refused = 0;
    std::chrono::milliseconds longestPause{0};
    std::optional<Clock::time_point> lastBytes;

    void hear(const std::vector<Heard>& heard)
    {
        for (const Heard& one : heard) {
            if (one.reading) {
                ++weights;
                const std::string_view state = stateOf(*one.reading);
                std::printf("        %s kg  %.*s\n", toText(one.reading->kilograms).c_str(),
                            static_cast<int>(state.size()), state.data());
            } else if (one.refusal) {
                ++refused;
                const std::string_view why = sentenceOf(*one.refusal);
                std::printf("        %.*s\n", static_cast<int>(why.size()), why.data());
            }
        }
        std::fflush(stdout);
    }
};

} // namespace

std::vector<Heard> RecognisingReader::read(std::string_view bytes)
{
    if (reader_) return reader_->read(bytes);
    beginning_ += bytes;
    return beginning_.size() >= std::max(nextLook_, firstLook) ? decide(false) : std::vector<Heard>();
}

std::vector<Heard> RecognisingReader::silence() { return reader_ ? reader_->silence() : decide(false); }

std::vector<Heard> RecognisingReader::end()
{
    std::vector<Heard> heard;
    if (!reader_) append(heard, decide(true));
    if (reader_) append(heard, reader_->silence());
    return heard;
}

std::vector<Heard> RecognisingReader::decide(bool atEnd)
{
    nextLook_ = beginning_.size() * 2;
    const scale::Recognised found = scale::recognise(beginning_);
    if (found.isSure)
        format_ = found.format;
    else if (atEnd && !found.readings.empty())
        format_ = found.candidates.front(); // all candidates say the same
    if (format_) {
        reader_.emplace(*format_, scale::Confirmation::Keep::every);
        return reader_->read(std::exchange(beginning_, {}));
    }
    if (beginning_.size() > mostKept) {
        beginning_.erase(0, beginning_.size() / 2);
        nextLook_ = mostKept;
    }
    return {};
}

std::string RecognisingReader::doubt() const
{
    if (format_ || beginning_.empty()) return {};
    const scale::Recognised found = scale::recognise(beginning_);
    if (found.candidates.empty()) return "biçim tanınmadı.";
    std::string names;
    for (const scale::LineFormat* format : found.candidates) names += (names.empty() ? "" : ", ") + format->name;
    return "biçim kesin değil, uyanlar: " + names + ".";
}

void readStandardInput(const scale::LineFormat* format)
{
    const HeardLine line;
    RecognisingReader recognising;
    std::optional<scale::LineReader> reading;
    if (format) reading.emplace(*format, scale::Confirmation::Keep::every);
    bool silent = true;
    std::string bytes;
    while (!isStopped()) {
        const HeardLine::Event event = line.read(bytes, pause);
        if (event == HeardLine::Event::end) break;
        if (event == HeardLine::Event::bytes)
            print(reading ? reading->read(bytes) : recognising.read(bytes));
        else if (!silent)
            print(reading ? reading->silence() : recognising.silence());
        silent = event == HeardLine::Event::silence;
    }
    print(reading ? reading->silence() : recognising.end());
    if (!reading && !recognising.doubt().empty())
        std::fprintf(stderr, "presva-scale: %s\n", recognising.doubt().c_str());
}

bool listenTo(const std::filesystem::path& device, const std::string& settings, std::chrono::seconds howLong)
{
    const HeardLine line(device, settings);
    std::printf("%s dinleniyor (%s), %lld sn\n", device.c_str(), settings.c_str(),
                static_cast<long long>(howLong.count()));
    std::fflush(stdout);
    RecognisingReader reader;
    Quality quality;
    const Clock::time_point begin = Clock::now();
    const scale::LineFormat* told = nullptr;
    const auto tellFormat = [&] {
        if (reader.format() == told) return;
        told = reader.format();
        std::printf("Tanındı: %s (%s)\n", told->name.c_str(), told->title.c_str());
    };
    std::string bytes;
    bool silent = true;
    while (!isStopped()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(begin + howLong - Clock::now());
        if (left.count() <= 0) break;
        const HeardLine::Event event = line.read(bytes, std::min(left, pause));
        const Clock::time_point now = Clock::now();
        if (event == HeardLine::Event::end) {
            std::printf("Hat kesildi.\n");
            break;
        }
        if (event == HeardLine::Event::silence) {
            if (!silent && now - quality.lastBytes.value_or(now) >= pause) {
                const std::vector<Heard> heard = reader.silence();
                tellFormat();
                quality.hear(heard);
                silent = true;
            }
            continue;
        }
        silent = false;
        if (quality.lastBytes)
            quality.longestPause = std::max(
                quality.longestPause, std::chrono::duration_cast<std::chrono::milliseconds>(now - *quality.lastBytes));
        quality.lastBytes = now;
        quality.bytes += bytes.size();
        std::printf("%6.1f  %s\n", std::chrono::duration<double>(now - begin).count(), shown(bytes).c_str());
        const std::vector<Heard> heard = reader.read(bytes);
        tellFormat();
        quality.hear(heard);
    }
    const std::vector<Heard> heard = reader.end();
    if (reader.format()) tellFormat();
    quality.hear(heard);

    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::printf("\n%.0f sn: %zu bayt, %zu tartım (sn başına %.1f), %zu satır okunmadı, en uzun ara %lld ms\n", seconds,
                quality.bytes, quality.weights, static_cast<double>(quality.weights) / std::max(seconds, 0.1),
                quality.refused, static_cast<long long>(quality.longestPause.count()));
    if (quality.bytes == 0)
        std::printf("Hiç bayt gelmedi: kablo, hız ve terazinin gönderme ayarına bakın.\n");
    else if (!reader.format())
        std::printf("Sonuç: %s\n", reader.doubt().c_str());
    else
        std::printf("Biçim: %s (%s)\n", reader.format()->name.c_str(), reader.format()->title.c_str());
    return reader.format() != nullptr;
}

} // namespace tools
