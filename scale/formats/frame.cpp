#include "scale/formats/frame.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

namespace scale {

namespace {

constexpr std::size_t mostDigits = 15;
constexpr std::int64_t mostOfPounds = 9'999'999'999;

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isPrintable(char c) { return c >= ' ' && c <= '~'; }

unsigned byteAt(std::string_view text, std::size_t place) { return static_cast<unsigned char>(text[place]); }

/// The digits of a weight field, as its options allow them; nothing when it is no number.
std::optional<Decimal> weightOf(const Piece& piece, std::string_view bytes)
{
    std::string field(bytes);
    if (piece.allows('r')) std::ranges::reverse(field);
    if (piece.allows('_')) field.erase(field.find_last_not_of(' ') + 1);
    if (piece.allows('/')) {
        const std::size_t stroke = field.find('/');
        if (stroke == std::string::npos || stroke + 2 != field.size()) return std::nullopt;
        field.erase(stroke, 1);
    }
    std::size_t i = 0;
    if (!piece.allows('z')) i = std::min(field.find_first_not_of(' '), field.size());
    Decimal number;
    bool negative = false;
    if (piece.allows('-') && i < field.size() && field[i] == '-') {
        negative = true;
        ++i;
        if (!piece.allows('z')) i = std::min(field.find_first_not_of(' ', i), field.size());
    }
    if (piece.allows('b') && i + 1 < field.size() && field[i] == '0' && isDigit(field[i + 1])) return std::nullopt;
    bool mark = false;
    std::size_t digits = 0;
    for (; i < field.size(); ++i) {
        if (isDigit(field[i])) {
            if (++digits > mostDigits) return std::nullopt;
            number.digits = number.digits * 10 + (field[i] - '0');
            if (mark) ++number.decimals;
        } else if ((field[i] == '.' || field[i] == ',') && !mark && digits > 0 && !piece.allows('i')) {
            mark = true;
        } else {
            return std::nullopt;
        }
    }
    if (digits == 0 || (piece.allows('p') && !mark)) return std::nullopt;
    if (negative) number.digits = -number.digits;
    return number;
}

std::optional<Unit> unitOf(std::string_view field)
{
    const std::size_t from = std::min(field.find_first_not_of(' '), field.size());
    const std::size_t end = field.find_last_not_of(' ') + 1;
    const std::string_view name = field.substr(from, end > from ? end - from : 0);
    if (name == "kg" || name == "KG" || name == "Kg") return Unit::kilogram;
    if (name == "g" || name == "G") return Unit::gram;
    if (name == "t") return Unit::tonne;
    if (name == "lb" || name == "LB") return Unit::pound;
    return std::nullopt;
}

std::string hexOf(unsigned byte)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {digits[byte >> 4 & 15], digits[byte & 15]};
}

constexpr std::pair<Meaning, Refusal> refusals[] = {{Meaning::over, Refusal::overload},
                                                    {Meaning::under, Refusal::underload},
                                                    {Meaning::invalid, Refusal::invalid},
                                                    {Meaning::tare, Refusal::tare}};
constexpr std::pair<Meaning, Load> loads[] = {{Meaning::gross, Load::gross}, {Meaning::net, Load::net}};
constexpr std::pair<Meaning, Unit> units[] = {{Meaning::kilogram, Unit::kilogram},
                                              {Meaning::gram, Unit::gram},
                                              {Meaning::tonne, Unit::tonne},
                                              {Meaning::pound, Unit::pound}};

/// Nothing for a meaning that says something else.
template <class What, std::size_t count>
std::optional<What> saidOf(const std::pair<Meaning, What> (&what)[count], Meaning meaning)
{
    const auto found = std::ranges::find(what, meaning, &std::pair<Meaning, What>::first);
    return found == std::end(what) ? std::nullopt : std::optional(found->second);
}

/// What the pieces of one frame have said so far.
struct Said {
    std::optional<Decimal> weight;
    std::optional<Unit> unit;
    std::optional<int> decimals;
    Rest rest = Rest::unknown;
    Load load = Load::unknown;
    bool negative = false;
    std::optional<Refusal> noWeight;
    std::optional<Refusal> damage; ///< the checksum or the unit is wrong, the shape so far is not

    void hear(Meaning meaning, int places)
    {
        if (const auto why = saidOf(refusals, meaning)) noWeight = why;
        if (const auto which = saidOf(loads, meaning)) load = *which;
        if (const auto named = saidOf(units, meaning)) unit = named;
        if (meaning == Meaning::stable && rest == Rest::unknown) rest = Rest::stable;
        if (meaning == Meaning::moving) rest = Rest::moving;
        if (meaning == Meaning::negative) negative = true;
        if (meaning == Meaning::decimals) decimals = places;
    }
};

bool hearBits(const Piece& piece, unsigned byte, Said& said)
{
    bool decimalsAsked = false;
    bool decimalsFound = false;
    for (const Piece::Bits& bits : piece.bits) {
        const bool same = (byte & bits.mask) == bits.value;
        if (!bits.meaning) {
            if (!same) return false;
            continue;
        }
        if (*bits.meaning == Meaning::decimals) {
            decimalsAsked = true;
            decimalsFound = decimalsFound || same;
        }
        if (same) said.hear(*bits.meaning, bits.decimals);
    }
    return !decimalsAsked || decimalsFound;
}

/// A cut line is seen as soon as the next one begins in it.
bool canBegin(const Piece& piece, std::string_view there)
{
    switch (piece.kind) {
    case Piece::Kind::bytes:
        return piece.text.starts_with(there);
    case Piece::Kind::sign:
    case Piece::Kind::mark:
        return std::ranges::any_of(piece.choices,
                                   [&](const Piece::Choice& choice) { return choice.text.starts_with(there); });
    case Piece::Kind::bits:
    case Piece::Kind::check:
        return true;
    default:
        return std::ranges::all_of(there, isPrintable);
    }
}

/// False when the bytes of the piece are none that it can have.
bool hearPiece(const Piece& piece, std::string_view bytes, std::string_view before, Said& said)
{
    switch (piece.kind) {
    case Piece::Kind::bytes:
        return bytes == piece.text;
    case Piece::Kind::weight:
        said.weight = weightOf(piece, bytes);
        return said.weight.has_value();
    case Piece::Kind::unit:
        said.unit = unitOf(bytes);
        if (!said.unit) said.damage = Refusal::unknownUnit;
        return std::ranges::all_of(bytes, isPrintable);
    case Piece::Kind::decimals:
        if (bytes[0] < '0' || bytes[0] > '4') return false;
        said.decimals = bytes[0] - '0';
        return true;
    case Piece::Kind::sign:
    case Piece::Kind::mark:
        for (const Piece::Choice& choice : piece.choices) {
            if (bytes != choice.text) continue;
            said.hear(choice.meaning, 0);
            return true;
        }
        return false;
    case Piece::Kind::bits:
        return hearBits(piece, byteAt(bytes, 0), said);
    case Piece::Kind::skip:
        return std::ranges::all_of(bytes, isPrintable);
    case Piece::Kind::digits:
        return std::ranges::all_of(
            bytes, [](char c) { return isDigit(c) || c == ' ' || c == '.' || c == ',' || c == '-' || c == '+'; });
    case Piece::Kind::check:
        if (bytes != checkBytes(piece, before)) said.damage = Refusal::wrongChecksum;
        return true;
    case Piece::Kind::next:
        return true;
    }
    return false;
}

} // namespace

std::string checkBytes(const Piece& check, std::string_view frame)
{
    unsigned sum = 0;
    unsigned exclusive = 0;
    for (std::size_t place = check.from; place <= check.to; ++place) {
        sum += byteAt(frame, place - 1);
        exclusive ^= byteAt(frame, place - 1);
    }
    switch (check.check) {
    case Piece::Check::exclusiveOr:
        return {static_cast<char>(exclusive)};
    case Piece::Check::exclusiveOrHex:
        return hexOf(exclusive);
    case Piece::Check::sum7:
        return {static_cast<char>((0x80 - (sum & 0x7F)) & 0x7F)};
    case Piece::Check::sum8:
        return {static_cast<char>((0x100 - (sum & 0xFF)) & 0xFF)};
    case Piece::Check::delmac:
        break;
    }
    // (digit 1 ^ 1) + ... + (digit 6 ^ 6) + (state ^ 7) in 16 bits; its two bytes exclusive-or'ed.
    unsigned total = 0;
    unsigned nth = 1;
    for (std::size_t place = check.from; place <= check.to; ++place) total += byteAt(frame, place - 1) ^ nth++;
    return {static_cast<char>((total >> 8 ^ total) & 0xFF)};
}

Match matchFrame(const Frame& frame, std::string_view bytes, bool atEnd, std::optional<Unit> usualUnit, Rest usualRest)
{
    Said said;
    said.unit = usualUnit;
    std::size_t at = 0;
    for (const Piece& piece : frame.pieces) {
        if (piece.kind == Piece::Kind::next) {
            if (at == bytes.size() && !atEnd) return {Match::Outcome::needsMore, 0, std::nullopt, std::nullopt};
            if (at < bytes.size() && bytes[at] != bytes[0]) return {};
            continue;
        }
        if (at + piece.length > bytes.size()) {
            if (!canBegin(piece, bytes.substr(at))) return {};
            return {Match::Outcome::needsMore, 0, std::nullopt, std::nullopt};
        }
        if (!hearPiece(piece, bytes.substr(at, piece.length), bytes.substr(0, at), said)) return {};
        at += piece.length;
    }

    Match match{Match::Outcome::yes, at, std::nullopt, said.noWeight};
    if (said.damage) return {Match::Outcome::no, 0, std::nullopt, said.damage};
    if (said.noWeight) return match;
    if (!said.weight || !said.unit) {
        match.refusal = Refusal::unknownUnit;
        return match;
    }
    Decimal weight = *said.weight;
    if (said.decimals) {
        if (weight.decimals != 0) return {};
        weight.decimals = *said.decimals;
    }
    if (said.negative) {
        if (weight.digits < 0) return {}; // two signs are none
        weight.digits = -weight.digits;
    }
    if (*said.unit == Unit::pound && (weight.digits > mostOfPounds || weight.digits < -mostOfPounds)) return {};
    match.reading = Reading{inKilograms(weight, *said.unit), said.rest == Rest::unknown ? usualRest : said.rest,
                            said.load, std::string(bytes.substr(0, at))};
    return match;
}

} // namespace scale
