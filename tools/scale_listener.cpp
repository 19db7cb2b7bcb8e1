#include "tools/scale_listener.h"

#include "scale/formats/line_reader.h"
#include "scale/formats/recogniser.h"
#include "scale/formats/transcript.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

namespace tools {

using namespace std::chrono_literals;
using scale::Heard;

namespace {

constexpr std::chrono::milliseconds look = 200ms; ///< at the silence of a line that is listened to
constexpr std::size_t firstLook = 256;            ///< five frames of the longest formats
constexpr std::size_t mostKept = 4096;

std::string_view stateOf(const scale::Reading& reading)
{
    if (reading.rest == scale::Rest::stable) return "stable";
    if (reading.rest == scale::Rest::moving) return "moving";
    if (reading.load == scale::Load::gross) return "gross";
    if (reading.load == scale::Load::net) return "net";
    return "unknown";
}

void print(const std::vector<scale::Reading>& readings)
{
    for (const scale::Reading& reading : readings) {
        const std::string_view state = stateOf(reading);
        std::printf("%s\t%.*s\n", toText(reading.kilograms).c_str(), static_cast<int>(state.size()), state.data());
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
    std::size_t unconfirmed = 0;
    std::size_t refused = 0;
    std::chrono::milliseconds longestPause{0};

    void hear(const std::vector<Heard>& heard)
    {
        for (const Heard& one : heard) {
            if (one.reading) {
                ++weights;
                std::printf("        %s\n", textOf(*one.reading).c_str());
            } else if (one.unconfirmed) {
                ++unconfirmed;
                std::printf("       (%s)\n", textOf(*one.unconfirmed).c_str());
            } else {
                ++refused;
            }
            if (!one.refusal) continue;
            const std::string_view why = sentenceOf(*one.refusal);
            std::printf("        %.*s\n", static_cast<int>(why.size()), why.data());
        }
        std::fflush(stdout);
    }

    static std::string textOf(const scale::Reading& reading)
    {
        return toText(reading.kilograms) + " kg  " + std::string(stateOf(reading));
    }
};

} // namespace

std::string UnknownStream::hear(std::string_view bytes)
{
    if (format_) return std::string(bytes);
    beginning_ += bytes;
    return beginning_.size() >= std::max(nextLook_, firstLook) ? decide(false) : std::string();
}

std::string UnknownStream::decide(bool atEnd)
{
    if (format_ || beginning_.empty()) return {};
    nextLook_ = beginning_.size() * 2;
    const scale::Recognised found = scale::recognise(beginning_);
    if (found.isSure)
        format_ = found.format;
    else if (atEnd && !found.readings.empty())
        format_ = found.candidates.front(); // all candidates say the same
    if (format_) return std::exchange(beginning_, {});
    if (beginning_.size() > mostKept) {
        beginning_.erase(0, beginning_.size() / 2);
        nextLook_ = mostKept;
    }
    return {};
}

std::string UnknownStream::doubt() const
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
    constexpr std::chrono::milliseconds wait = 1s; // only to see that it is to stop
    const HeardLine line;
    UnknownStream unknown;
    std::optional<scale::Transcript> transcript;
    const auto read = [&](std::string_view bytes) {
        if (!transcript && (format || unknown.format())) transcript.emplace(format ? *format : *unknown.format());
        if (transcript) print(transcript->read(bytes));
    };
    std::string bytes;
    while (!isStopped()) {
        const HeardLine::Event event = line.read(bytes, wait);
        if (event == HeardLine::Event::end) break;
        if (event == HeardLine::Event::bytes) read(format ? bytes : unknown.hear(bytes));
    }
    if (!format) read(unknown.end());
    if (transcript) print(transcript->end());
    if (!format && !unknown.doubt().empty()) std::fprintf(stderr, "presva-scale: %s\n", unknown.doubt().c_str());
}

bool listenTo(const std::filesystem::path& device, const std::string& settings, std::chrono::seconds howLong)
{
    const HeardLine line(device, settings);
    std::printf("%s dinleniyor (%s), %lld sn\n", device.c_str(), settings.c_str(),
                static_cast<long long>(howLong.count()));
    std::fflush(stdout);
    UnknownStream unknown;
    std::optional<scale::LineReader> reader;
    Quality quality;
    const auto read = [&](const std::string& bytes) {
        if (!reader && unknown.format()) {
            std::printf("Tanındı: %s (%s)\n", unknown.format()->name.c_str(), unknown.format()->title.c_str());
            reader.emplace(*unknown.format());
        }
        if (reader) quality.hear(reader->read(bytes));
    };
    const auto fallSilent = [&](std::chrono::milliseconds length) {
        read(unknown.silence());
        if (reader) quality.hear(reader->silence(length));
    };
    const Clock::time_point begin = Clock::now();
    std::optional<Clock::time_point> lastBytes;
    std::chrono::milliseconds told{0}; // of the silence since
    std::string bytes;
    while (!isStopped()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(begin + howLong - Clock::now());
        if (left.count() <= 0) break;
        const HeardLine::Event event = line.read(bytes, std::min(left, look));
        const Clock::time_point now = Clock::now();
        const auto silence = std::chrono::duration_cast<std::chrono::milliseconds>(now - lastBytes.value_or(now));
        if (event == HeardLine::Event::end) {
            std::printf("Hat kesildi.\n");
            break;
        }
        if (event == HeardLine::Event::silence) {
            for (const std::chrono::milliseconds step :
                 {scale::Confirmation::afterAPrint, scale::Confirmation::betweenPrints})
                if (told < step && silence >= step) fallSilent(told = step);
            continue;
        }
        quality.longestPause = std::max(quality.longestPause, silence);
        lastBytes = now;
        told = {};
        quality.bytes += bytes.size();
        std::printf("%6.1f  %s\n", std::chrono::duration<double>(now - begin).count(), shown(bytes).c_str());
        read(unknown.hear(bytes));
    }
    read(unknown.end());
    fallSilent(scale::Confirmation::betweenPrints);

    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::printf("\n%.0f sn: %zu bayt, %zu tartım (sn başına %.1f), %zu satır sayılmadı, %zu satır okunmadı, "
                "en uzun ara %lld ms\n",
                seconds, quality.bytes, quality.weights, static_cast<double>(quality.weights) / std::max(seconds, 0.1),
                quality.unconfirmed, quality.refused, static_cast<long long>(quality.longestPause.count()));
    if (quality.bytes == 0)
        std::printf("Hiç bayt gelmedi: kablo, hız ve terazinin gönderme ayarına bakın.\n");
    else if (!unknown.format())
        std::printf("Sonuç: %s\n", unknown.doubt().c_str());
    else
        std::printf("Biçim: %s (%s)\n", unknown.format()->name.c_str(), unknown.format()->title.c_str());
    return unknown.format() != nullptr;
}

} // namespace tools
