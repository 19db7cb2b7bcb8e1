#include "scale/formats/frame_writer.h"
#include "scale/formats/line_reader.h"
#include "tests/formats/played_lines.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using namespace scale;

namespace {

/// PRESVA_LINES=1000000: as many lines in all; 160,000 as a rule. PRESVA_HITS: bytes that are hit, of 100,000.
std::size_t linesInAll()
{
    const char* const wanted = std::getenv("PRESVA_LINES");
    return wanted ? std::strtoul(wanted, nullptr, 10) : 160'000;
}

using Random = std::mt19937;

std::size_t upTo(std::size_t most, Random& random)
{
    return std::uniform_int_distribution<std::size_t>(0, most)(random);
}

// What a scale sends.

struct Lines {
    std::vector<std::string> lines;
    std::set<std::string> weights; ///< that they carry
};

void add(Lines& lines, const LineFormat& format, Decimal weight, Rest rest)
{
    const std::optional<std::string> line = frameFor(format, weight, rest);
    if (!line) return;
    lines.lines.push_back(*line);
    lines.weights.insert(toText(weight));
}

/// Where the format's mark stands: grams, tenths of a kilogram or whole ones, whatever it can say.
Decimal sayable(const LineFormat& format, std::int64_t digits)
{
    for (const int decimals : {1, 0, 3})
        if (frameFor(format, {digits, decimals}, Rest::stable)) return {digits, decimals};
    return {digits % 100'000, 3};
}

/// Loads put on, swinging, standing, taken off.
Lines loads(const LineFormat& format, std::size_t count, Random& random)
{
    Lines played;
    while (played.lines.size() < count) {
        const auto load = static_cast<std::int64_t>(2000 + upTo(40'000, random));
        for (std::int64_t step = 1; step < 5; ++step)
            add(played, format, sayable(format, load * step / 5), Rest::moving);
        for (const int swing : {15, -10, 5, -5}) add(played, format, sayable(format, load + swing), Rest::moving);
        for (std::size_t i = 10 + upTo(60, random); i > 0; --i)
            add(played, format, sayable(format, load), Rest::stable);
        add(played, format, sayable(format, load / 2), Rest::moving);
        for (std::size_t i = 5 + upTo(20, random); i > 0; --i) add(played, format, {0, 0}, Rest::stable);
    }
    return played;
}

/// The samples of the table, in turn.
Lines samples(const LineFormat& format, std::size_t count, Random&)
{
    Lines played;
    while (played.lines.size() < count)
        for (const FormatSample& sample : format.samples) {
            played.lines.push_back(sample.bytes);
            if (sample.kilograms != "none") played.weights.insert(sample.kilograms);
        }
    return played;
}

/// Another weight in every line.
Lines allDifferent(const LineFormat& format, std::size_t count, Random& random)
{
    Lines played;
    while (played.lines.size() < count)
        add(played, format, sayable(format, static_cast<std::int64_t>(upTo(99'999, random))), Rest::stable);
    return played;
}

/// The pan of a scale that nobody touches.
Lines oneWeight(const LineFormat& format, std::size_t count, Random&)
{
    Lines played;
    while (played.lines.size() < count) add(played, format, sayable(format, 12'345), Rest::stable);
    return played;
}

// What a line does to it. One byte in a hundred is hit, unless asked otherwise.

bool isHit(Random& random)
{
    static const char* const wanted = std::getenv("PRESVA_HITS");
    static const std::size_t hits = wanted ? std::strtoul(wanted, nullptr, 10) : 1000;
    return upTo(99'999, random) < hits;
}

std::string replaced(std::string bytes, Random& random)
{
    for (char& byte : bytes)
        if (isHit(random)) byte = static_cast<char>(upTo(255, random));
    return bytes;
}

std::string flipped(std::string bytes, Random& random)
{
    for (char& byte : bytes)
        if (isHit(random)) byte = static_cast<char>(byte ^ 1 << upTo(7, random));
    return bytes;
}

std::string lost(std::string bytes, Random& random)
{
    std::erase_if(bytes, [&](char) { return isHit(random); });
    return bytes;
}

std::string doubled(const std::string& bytes, Random& random)
{
    std::string result;
    for (const char byte : bytes) result.append(isHit(random) ? 2 : 1, byte);
    return result;
}

/// A line in five ends in its middle, as where a plug is pulled.
std::string cut(std::string bytes, Random& random)
{
    if (upTo(4, random) == 0) bytes.resize(upTo(bytes.size() - 1, random));
    return bytes;
}

using Play = std::function<Lines(const LineFormat&, std::size_t, Random&)>;
using Damage = std::function<std::string(std::string, Random&)>;
struct Kind {
    const char* name;
    Play play;
};
struct Harm {
    const char* name;
    Damage damage;
};

/// As many bytes as an adapter that is asked every 16 ms has gathered meanwhile.
std::size_t burstAt(std::size_t speed) { return std::max<std::size_t>(1, speed / 10 * 16 / 1000); }

struct Count {
    std::size_t lines = 0;
    std::size_t undamaged = 0;
    std::size_t right = 0;
    std::size_t wrong = 0;

    void add(const Count& other)
    {
        lines += other.lines;
        undamaged += other.undamaged;
        right += other.right;
        wrong += other.wrong;
    }
};

// How what has arrived is read: the lines as they came, in pieces of so many bytes.

using Weights = std::vector<std::string>;

/// As a file.
Weights atHand(const LineFormat& format, const std::vector<std::string>& arrived, std::size_t piece, Random&)
{
    std::string stream;
    for (const std::string& line : arrived) stream += line;
    return weightsOf(format, stream, piece);
}

void keepCounted(const std::vector<Heard>& heard, Weights& weights)
{
    for (const Heard& one : heard)
        if (one.reading) weights.push_back(textOf(*one.reading));
}

/// As the counter does, with a pause behind every so many lines, as long as one of a scale that streams slowly.
Weights live(const LineFormat& format, const std::vector<std::string>& arrived, std::size_t piece,
             std::size_t linesBetweenPauses)
{
    LineReader reader(format);
    Weights weights;
    std::size_t since = 0;
    for (const std::string_view line : arrived) {
        for (std::string_view rest = line; !rest.empty(); rest.remove_prefix(std::min(piece, rest.size())))
            keepCounted(reader.read(rest.substr(0, piece)), weights);
        if (++since < linesBetweenPauses) continue;
        since = 0;
        keepCounted(reader.silence(std::chrono::milliseconds(300)), weights);
    }
    keepCounted(reader.silence(Confirmation::betweenPrints), weights);
    return weights;
}

Weights liveWithoutPauses(const LineFormat& format, const std::vector<std::string>& arrived, std::size_t piece, Random&)
{
    return live(format, arrived, piece, arrived.size() + 1);
}

Weights liveLineByLine(const LineFormat& format, const std::vector<std::string>& arrived, std::size_t piece, Random&)
{
    return live(format, arrived, piece, 1);
}

Weights liveWithSomePauses(const LineFormat& format, const std::vector<std::string>& arrived, std::size_t piece,
                           Random& random)
{
    return live(format, arrived, piece, 2 + upTo(8, random));
}

using Reader = Weights (*)(const LineFormat&, const std::vector<std::string>&, std::size_t, Random&);
struct Way {
    const char* name;
    Reader read;
};

constexpr Way ways[] = {{"at hand", atHand},
                        {"live", liveWithoutPauses},
                        {"live, line by line", liveLineByLine},
                        {"live, some pauses", liveWithSomePauses}};

Count measure(const LineFormat& format, const Lines& played, const Damage& damage, const Way& way, std::size_t speed,
              Random& random)
{
    Count count;
    std::vector<std::string> arrived;
    for (const std::string& line : played.lines) {
        arrived.push_back(damage(line, random));
        ++count.lines;
        if (arrived.back() == line) ++count.undamaged;
    }
    for (const std::string& weight : way.read(format, arrived, burstAt(speed), random)) {
        const std::string kilograms = weight.substr(0, weight.find(' '));
        if (played.weights.contains(kilograms)) {
            ++count.right;
        } else {
            ++count.wrong;
            if (count.wrong < 4) ADD_FAILURE() << format.name << " made " << weight << ", " << way.name;
        }
    }
    return count;
}

} // namespace

/// Ways in which a line is disturbed, over every format, all speeds and four ways to be loaded.
class DisturbedLine : public testing::TestWithParam<Harm> {};

INSTANTIATE_TEST_SUITE_P(, DisturbedLine,
                         testing::Values(Harm{"bytesReplaced", replaced}, Harm{"bitsFlipped", flipped},
                                         Harm{"bytesLost", lost}, Harm{"bytesDoubled", doubled}, Harm{"linesCut", cut}),
                         [](const auto& info) { return info.param.name; });

TEST_P(DisturbedLine, givesNoWeightThatNobodySent)
{
    const Kind kinds[] = {
        {"loads", loads}, {"samples", samples}, {"all different", allDifferent}, {"one weight", oneWeight}};
    const std::size_t speeds[] = {1200, 2400, 4800, 9600, 19'200, 38'400, 57'600, 115'200};
    const std::size_t each =
        std::max<std::size_t>(20, linesInAll() / 5 / lineFormats().size() / std::size(kinds) / std::size(ways));
    Random random(12);
    std::size_t speed = 0;
    for (const Way& way : ways)
        for (const Kind& kind : kinds) {
            Count all;
            for (const LineFormat& format : lineFormats()) {
                const Lines played = kind.play(format, each, random);
                const Count count =
                    measure(format, played, GetParam().damage, way, speeds[speed++ % std::size(speeds)], random);
                EXPECT_EQ(count.wrong, 0u) << format.name;
                all.add(count);
            }
            std::printf("%s, %s, %s: %zu lines, %zu undamaged, %zu right, %zu wrong\n", GetParam().name, way.name,
                        kind.name, all.lines, all.undamaged, all.right, all.wrong);
        }
}
