#include "scale/formats/frame_writer.h"

#include <algorithm>

namespace scale {

namespace {

/// What a frame is to say.
struct Wanted {
    std::string digits; ///< with a point where there is one, without a sign
    std::size_t decimals = 0;
    bool negative = false;
    Rest rest = Rest::unknown;
};

bool isWanted(Meaning meaning, const Wanted& wanted)
{
    return (meaning == Meaning::stable && wanted.rest == Rest::stable) ||
           (meaning == Meaning::moving && wanted.rest == Rest::moving) ||
           (meaning == Meaning::negative && wanted.negative);
}

bool isHarmless(Meaning meaning)
{
    return meaning == Meaning::ok || meaning == Meaning::gross || meaning == Meaning::kilogram;
}

/// The number, filled up to the width of the field.
std::string weightField(const Piece& piece, const Wanted& wanted)
{
    const char filler = piece.allows('z') ? '0' : ' ';
    const bool minus = wanted.negative && piece.allows('-');
    std::string digits = wanted.digits;
    if (piece.allows('i')) std::erase(digits, '.');
    if (piece.allows('p') && digits.find('.') == std::string::npos) digits += ".0";
    if (piece.allows('/')) digits.insert(digits.size() - 1, 1, '/');
    const std::size_t width = digits.size() + (minus ? 1 : 0);
    std::string field(piece.length - std::min(piece.length, width), filler);
    if (minus && filler == '0')
        field = '-' + field + digits;
    else
        field += (minus ? "-" : "") + digits;
    if (piece.allows('r')) std::ranges::reverse(field);
    return field;
}

std::string choiceFor(const Piece& piece, const Wanted& wanted)
{
    const auto wantedOne =
        std::ranges::find_if(piece.choices, [&](const Piece::Choice& one) { return isWanted(one.meaning, wanted); });
    if (wantedOne != piece.choices.end()) return wantedOne->text;
    const auto harmless =
        std::ranges::find_if(piece.choices, [](const Piece::Choice& one) { return isHarmless(one.meaning); });
    return harmless == piece.choices.end() ? piece.choices.front().text : harmless->text;
}

/// A byte of these bits. Bits that nothing asks for stay clear.
char byteFor(const Piece& piece, const Wanted& wanted)
{
    unsigned byte = 0;
    for (const Piece::Bits& bits : piece.bits) {
        const bool asked = !bits.meaning || isWanted(*bits.meaning, wanted) || isHarmless(*bits.meaning) ||
                           (*bits.meaning == Meaning::decimals && bits.decimals == static_cast<int>(wanted.decimals)) ||
                           *bits.meaning == Meaning::gram || *bits.meaning == Meaning::tonne;
        if (asked) byte = (byte & ~bits.mask) | bits.value;
    }
    return static_cast<char>(byte);
}

std::string written(const Frame& frame, const Wanted& wanted)
{
    std::string bytes;
    const bool zeros = std::ranges::any_of(
        frame.pieces, [](const Piece& piece) { return piece.kind == Piece::Kind::weight && piece.allows('z'); });
    for (const Piece& piece : frame.pieces) {
        switch (piece.kind) {
        case Piece::Kind::bytes:
            bytes += piece.text;
            break;
        case Piece::Kind::weight:
            bytes += weightField(piece, wanted);
            break;
        case Piece::Kind::sign:
        case Piece::Kind::mark:
            bytes += choiceFor(piece, wanted);
            break;
        case Piece::Kind::unit:
            bytes += piece.length == 1 ? "g" : "kg" + std::string(piece.length - 2, ' ');
            break;
        case Piece::Kind::decimals:
            bytes += static_cast<char>('0' + wanted.decimals);
            break;
        case Piece::Kind::bits:
            bytes += byteFor(piece, wanted);
            break;
        case Piece::Kind::skip:
            bytes.append(piece.length, ' ');
            break;
        case Piece::Kind::digits:
            bytes.append(piece.length - 1, zeros ? '0' : ' ') += '0';
            break;
        case Piece::Kind::check:
            bytes += checkBytes(piece, bytes);
            break;
        case Piece::Kind::next:
            break;
        }
    }
    return bytes;
}

/// There is no room for "kg", or the format is all in grams.
bool saysGrams(const Frame& frame, const LineFormat& format)
{
    return format.unit == Unit::gram || std::ranges::any_of(frame.pieces, [](const Piece& piece) {
               return piece.kind == Piece::Kind::unit && piece.length == 1;
           });
}

Wanted wantedOf(Decimal kilograms, Rest rest, bool inGrams)
{
    Decimal shown = shortened(kilograms);
    if (inGrams) shown = shortened({shown.digits, shown.decimals - 3});
    Wanted wanted;
    wanted.negative = shown.digits < 0;
    wanted.decimals = static_cast<std::size_t>(shown.decimals);
    wanted.digits = toText({wanted.negative ? -shown.digits : shown.digits, shown.decimals});
    wanted.rest = rest;
    return wanted;
}

} // namespace

std::optional<std::string> frameFor(const LineFormat& format, Decimal kilograms, Rest rest)
{
    std::optional<std::string> withoutWeight;
    for (const Frame& frame : format.frames) {
        const std::string bytes = written(frame, wantedOf(kilograms, rest, saysGrams(frame, format)));
        // What does not read back as it was meant is a frame that cannot say it.
        const Match match = matchFrame(frame, bytes, true, format.unit, format.rest);
        if (match.outcome != Match::Outcome::yes || match.length != bytes.size()) continue;
        if (match.reading && match.reading->kilograms == shortened(kilograms) &&
            (match.reading->rest == rest || match.reading->rest == Rest::unknown))
            return bytes;
        const bool saysNoWeight = match.refusal == Refusal::unknownUnit || match.refusal == Refusal::invalid;
        if (saysNoWeight && rest == Rest::moving && format.rest == Rest::stable && !withoutWeight)
            withoutWeight = bytes;
    }
    return withoutWeight;
}

} // namespace scale
