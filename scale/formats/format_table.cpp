#include "scale/formats/format_table.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace scale {

extern const char* const lineFormatsText;

namespace {

[[noreturn]] void misunderstood(std::string_view what)
{
    throw std::runtime_error("line_formats.txt: " + std::string(what));
}

unsigned number(std::string_view text, int base)
{
    unsigned value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size()) misunderstood(text);
    return value;
}

bool isHexByte(std::string_view token)
{
    const auto hex = [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); };
    return token.size() == 2 && hex(token[0]) && hex(token[1]);
}

std::string unescaped(std::string_view text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.substr(i, 2) == "\\x" && i + 4 <= text.size()) {
            bytes += static_cast<char>(number(text.substr(i + 2, 2), 16));
            i += 3;
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

/// Words between blanks; a text between strokes or braces is one word, blanks and all.
std::vector<std::string_view> words(std::string_view line)
{
    std::vector<std::string_view> result;
    std::size_t from = 0;
    bool quoted = false;
    bool braced = false;
    for (std::size_t i = 0; i <= line.size(); ++i) {
        const bool end = i == line.size() || (line[i] == ' ' && !quoted && !braced);
        if (end) {
            if (i > from) result.push_back(line.substr(from, i - from));
            from = i + 1;
        } else if (line[i] == '\'' && !braced) {
            quoted = !quoted;
        } else if (line[i] == '{') {
            braced = true;
        } else if (line[i] == '}') {
            braced = false;
        }
    }
    return result;
}

std::pair<Meaning, int> meaningOf(std::string_view name)
{
    static constexpr std::array<std::pair<std::string_view, Meaning>, 14> names = {{
        {"ok", Meaning::ok},
        {"stable", Meaning::stable},
        {"moving", Meaning::moving},
        {"over", Meaning::over},
        {"under", Meaning::under},
        {"invalid", Meaning::invalid},
        {"tare", Meaning::tare},
        {"gross", Meaning::gross},
        {"net", Meaning::net},
        {"negative", Meaning::negative},
        {"kg", Meaning::kilogram},
        {"g", Meaning::gram},
        {"t", Meaning::tonne},
        {"lb", Meaning::pound},
    }};
    for (const auto& [known, meaning] : names)
        if (known == name) return {meaning, 0};
    if (name.size() == 2 && name[0] == 'd') return {Meaning::decimals, static_cast<int>(number(name.substr(1), 10))};
    misunderstood(name);
}

/// "ST=stable US=moving": the meaning stands behind the last equals sign, the text may be one itself.
std::vector<Piece::Choice> choicesOf(std::string_view text, bool signs)
{
    std::vector<Piece::Choice> choices;
    for (const std::string_view word : words(text)) {
        const std::size_t equals = word.rfind('=');
        if (equals == std::string_view::npos || equals == 0) misunderstood(word);
        Piece::Choice choice;
        choice.text = word.substr(0, equals);
        std::ranges::replace(choice.text, '_', ' ');
        choice.text = unescaped(choice.text);
        const std::string_view meaning = word.substr(equals + 1);
        choice.meaning = !signs ? meaningOf(meaning).first : meaning == "-" ? Meaning::negative : Meaning::ok;
        choices.push_back(std::move(choice));
    }
    return choices;
}

std::vector<Piece::Bits> bitsOf(std::string_view text)
{
    std::vector<Piece::Bits> all;
    for (const std::string_view word : words(text)) {
        const std::size_t equals = word.find('=');
        if (equals == std::string_view::npos) misunderstood(word);
        const std::size_t colon = std::min(word.find(':'), word.size());
        Piece::Bits bits;
        if (equals != 0) bits.mask = number(word.substr(0, equals), 16);
        bits.value = number(word.substr(equals + 1, colon - equals - 1), 16);
        if (colon < word.size()) {
            const auto [meaning, decimals] = meaningOf(word.substr(colon + 1));
            bits.meaning = meaning;
            bits.decimals = decimals;
        }
        all.push_back(bits);
    }
    return all;
}

Piece checkPiece(std::string_view text)
{
    const std::vector<std::string_view> parts = words(text);
    if (parts.size() != 2) misunderstood(text);
    Piece piece;
    piece.kind = Piece::Kind::check;
    piece.length = parts[0] == "xorhex" ? 2 : 1;
    piece.check = parts[0] == "xor"      ? Piece::Check::exclusiveOr
                  : parts[0] == "xorhex" ? Piece::Check::exclusiveOrHex
                  : parts[0] == "sum7"   ? Piece::Check::sum7
                  : parts[0] == "sum8"   ? Piece::Check::sum8
                  : parts[0] == "delmac" ? Piece::Check::delmac
                                         : (misunderstood(parts[0]), Piece::Check::sum8);
    const std::size_t dash = parts[1].find('-');
    if (dash == std::string_view::npos) misunderstood(parts[1]);
    piece.from = number(parts[1].substr(0, dash), 10);
    piece.to = number(parts[1].substr(dash + 1), 10);
    return piece;
}

Piece pieceOf(std::string_view word)
{
    Piece piece;
    if (isHexByte(word)) {
        piece.length = 1;
        piece.text = static_cast<char>(number(word, 16));
        return piece;
    }
    if (word.size() > 2 && word.front() == '\'' && word.back() == '\'') {
        piece.text = word.substr(1, word.size() - 2);
        piece.length = piece.text.size();
        return piece;
    }
    const std::size_t brace = word.find('{');
    const std::string_view inner =
        brace == std::string_view::npos ? std::string_view() : word.substr(brace + 1, word.size() - brace - 2);
    const std::size_t colon = brace == std::string_view::npos ? word.find(':') : std::string_view::npos;
    const std::string_view name = word.substr(0, std::min({word.size(), brace, colon}));
    if (name == "next") {
        piece.kind = Piece::Kind::next;
    } else if (name == "decimals") {
        piece.kind = Piece::Kind::decimals;
        piece.length = 1;
    } else if (name == "sign") {
        piece.kind = Piece::Kind::sign;
        piece.length = 1;
        piece.choices = choicesOf(brace == std::string_view::npos ? "+=+ -=- _=+" : inner, true);
    } else if (name == "mark") {
        piece.kind = Piece::Kind::mark;
        piece.choices = choicesOf(inner, false);
        if (piece.choices.empty()) misunderstood(word);
        piece.length = piece.choices.front().text.size();
        for (const Piece::Choice& choice : piece.choices)
            if (choice.text.size() != piece.length) misunderstood(word);
    } else if (name == "bits") {
        piece.kind = Piece::Kind::bits;
        piece.length = 1;
        piece.bits = bitsOf(inner);
    } else if (name == "check") {
        piece = checkPiece(inner);
    } else if (colon != std::string_view::npos) {
        const std::string_view size = word.substr(colon + 1);
        const std::size_t digits = std::min(size.find_first_not_of("0123456789"), size.size());
        piece.length = number(size.substr(0, digits), 10);
        piece.text = size.substr(digits);
        piece.kind = name == "weight"   ? Piece::Kind::weight
                     : name == "unit"   ? Piece::Kind::unit
                     : name == "skip"   ? Piece::Kind::skip
                     : name == "digits" ? Piece::Kind::digits
                                        : (misunderstood(word), Piece::Kind::skip);
    } else {
        misunderstood(word);
    }
    return piece;
}

Frame frameOf(std::string_view text)
{
    Frame frame;
    for (const std::string_view word : words(text)) frame.pieces.push_back(pieceOf(word));
    if (frame.pieces.empty()) misunderstood("an empty frame");
    const Piece& first = frame.pieces.front();
    // Letters, blanks and digits may stand anywhere; control bytes and these few do not.
    constexpr std::string_view marks = "=&:$";
    frame.marksItsBeginning = first.kind == Piece::Kind::bytes && (static_cast<unsigned char>(first.text[0]) < ' ' ||
                                                                   marks.find(first.text[0]) != std::string_view::npos);
    frame.hasChecksum =
        std::ranges::any_of(frame.pieces, [](const Piece& piece) { return piece.kind == Piece::Kind::check; });
    return frame;
}

Rest restOf(std::string_view word)
{
    if (word == "stable") return Rest::stable;
    if (word == "moving") return Rest::moving;
    return Rest::unknown;
}

/// The kilograms and the rest stand at the end; what is before them is the frame, blanks and all.
FormatSample sampleOf(std::string_view text)
{
    FormatSample sample;
    std::size_t blank = text.rfind(' ');
    if (blank == std::string_view::npos) misunderstood(text);
    if (const std::string_view last = text.substr(blank + 1); last != "none") {
        sample.rest = restOf(last);
        text = text.substr(0, blank);
        blank = text.rfind(' ');
        if (blank == std::string_view::npos) misunderstood(text);
    }
    sample.kilograms = text.substr(blank + 1);
    sample.bytes = unescaped(text.substr(0, blank));
    return sample;
}

Unit unitNamed(std::string_view name)
{
    if (name == "kg") return Unit::kilogram;
    if (name == "g") return Unit::gram;
    if (name == "t") return Unit::tonne;
    if (name == "lb") return Unit::pound;
    misunderstood(name);
}

} // namespace

std::vector<LineFormat> parseLineFormats(std::string_view text)
{
    std::vector<LineFormat> formats;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line[0] == '#') continue;
        const std::size_t blank = std::min(line.find(' '), line.size());
        const std::string_view word = line.substr(0, blank);
        // A sample's bytes begin right after one blank: they may begin with blanks themselves.
        const std::size_t value = word == "sample" ? std::min(blank + 1, line.size())
                                                   : std::min(line.find_first_not_of(' ', blank), line.size());
        const std::string_view rest = line.substr(value);
        if (word == "format") {
            formats.emplace_back().name = rest;
            continue;
        }
        if (formats.empty()) misunderstood(line);
        LineFormat& format = formats.back();
        if (word == "title")
            format.title = rest;
        else if (word == "source")
            format.source += (format.source.empty() ? "" : " ") + std::string(rest);
        else if (word == "unit")
            format.unit = unitNamed(rest);
        else if (word == "state")
            format.rest = restOf(rest);
        else if (word == "frame")
            format.frames.push_back(frameOf(rest));
        else if (word == "sample")
            format.samples.push_back(sampleOf(rest));
        else
            misunderstood(line);
    }
    return formats;
}

const std::vector<LineFormat>& lineFormats()
{
    static const std::vector<LineFormat> formats = parseLineFormats(lineFormatsText);
    return formats;
}

const LineFormat* lineFormatNamed(std::string_view name)
{
    const auto found = std::ranges::find(lineFormats(), name, &LineFormat::name);
    return found == lineFormats().end() ? nullptr : &*found;
}

} // namespace scale
