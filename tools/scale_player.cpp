#include "tools/scale_player.h"

#include "scale/formats/frame_writer.h"
#include "tools/scale_terminal.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <string_view>

namespace tools {

using std::chrono::milliseconds;

namespace {

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

/// "-12.5"; nothing when it is no such number.
std::optional<scale::Decimal> decimalOf(std::string_view text)
{
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    scale::Decimal number;
    bool point = false;
    if (text.empty() || text.size() > 12 || text.front() == '.') return std::nullopt;
    for (const char c : text) {
        if (c == '.' && !point) {
            point = true;
        } else if (c >= '0' && c <= '9') {
            number.digits = number.digits * 10 + (c - '0');
            if (point) ++number.decimals;
        } else {
            return std::nullopt;
        }
    }
    if (negative) number.digits = -number.digits;
    return number;
}

scale::Decimal weightOf(const std::string& text)
{
    const std::optional<scale::Decimal> number = decimalOf(text);
    if (!number) throw Mistake("Ağırlık bekleniyordu (örnek: 1234.5): " + text);
    return *number;
}

} // namespace

int numberOf(std::string_view text, int smallest)
{
    int value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || value < smallest)
        throw Mistake("Sayı bekleniyordu: " + std::string(text));
    return value;
}

std::vector<PlayedLoad> playedLoads(const std::vector<std::string>& weights, bool asCurve)
{
    std::vector<PlayedLoad> loads;
    for (const std::string& weight : weights) {
        if (!asCurve) {
            loads.push_back({weight, scale::Rest::stable});
            continue;
        }
        const scale::Decimal full = weightOf(weight);
        const auto say = [&](std::int64_t digits, scale::Rest rest, int lines) {
            for (int i = 0; i < lines; ++i) loads.push_back({scale::toText({digits, full.decimals}), rest});
        };
        for (std::int64_t step = 1; step < 6; ++step) say(full.digits * step / 6, scale::Rest::moving, 1);
        for (const std::int64_t swing : {50, -40, 100, -100})
            say(full.digits + full.digits / swing, scale::Rest::moving, 1);
        say(full.digits, scale::Rest::stable, 20);
        say(full.digits * 2 / 3, scale::Rest::moving, 1);
        say(full.digits / 4, scale::Rest::moving, 1);
        say(0, scale::Rest::stable, 10);
    }
    return loads;
}

std::vector<SentPiece> lineOfShape(const std::string& shape, const std::string& weight, milliseconds period,
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

std::string lineOfFormat(const scale::LineFormat& format, const PlayedLoad& load)
{
    if (const std::optional<std::string> line = frameFor(format, weightOf(load.weight), load.rest)) return *line;
    throw Mistake(format.name + " biçimi bu ağırlığı söyleyemez: " + load.weight + " kg");
}

std::string usualWeight(const scale::LineFormat& format)
{
    if (frameFor(format, {1234, 0}, scale::Rest::stable)) return "1234";
    const auto sample = std::ranges::find_if(
        format.samples, [](const scale::FormatSample& one) { return one.kilograms != "none" && one.kilograms != "0"; });
    return sample == format.samples.end() ? "0" : sample->kilograms;
}

std::string noisy(std::string bytes, int percent, std::mt19937& random)
{
    std::uniform_int_distribution<int> chance(0, 99);
    std::uniform_int_distribution<int> other(0, 255);
    for (char& byte : bytes)
        if (chance(random) < percent) byte = static_cast<char>(other(random));
    return bytes;
}

std::vector<SentPiece> readReplay(const std::filesystem::path& path)
{
    std::ifstream file(path);
    if (!file) throw Mistake("Dosya okunamıyor: " + path.string());
    std::vector<SentPiece> pieces;
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

} // namespace tools
