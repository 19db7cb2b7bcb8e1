#include "tests/model/text_and_number.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace model {
namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }
bool beginsWord(char16_t before) { return before == 0 || isSpace(before); }

/// The Turkish alphabet with its three guests, small.
const Text alphabet = u"abcçdefgğhıijklmnoöpqrsştuüvwxyz";

char16_t turkishLower(char16_t c)
{
    if (c == u'I') return u'ı';
    if (c == u'İ') return u'i';
    return lower(c);
}

/// Its place among all characters of the keypad.
int rank(char16_t c)
{
    const Text signs = u" #*,.";
    if (const auto at = signs.find(c); at != Text::npos) return static_cast<int>(at);
    if (isDigit(c)) return 10 + (c - u'0');
    const auto at = alphabet.find(turkishLower(c));
    return at == Text::npos ? 1000 + c : 20 + static_cast<int>(at);
}

bool matches(const Text& name, std::size_t n, const Text& pattern, std::size_t p)
{
    if (p == pattern.size()) return true; // what follows is the search's own "*"
    if (pattern[p] == u'*') {
        for (std::size_t skip = n; skip <= name.size(); ++skip)
            if (matches(name, skip, pattern, p + 1)) return true;
        return false;
    }
    if (n == name.size()) return false;
    // "#" in a name that was picked is the search's sign for a digit.
    const bool fits = pattern[p] == u'#' ? isDigit(name[n]) : rank(name[n]) == rank(pattern[p]);
    return fits && matches(name, n + 1, pattern, p + 1);
}

/// The 15 significant digits and the power of ten of the first one.
std::pair<std::string, int> digitsOf(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.14e", std::fabs(value));
    std::string digits;
    for (const char* c = text; *c && *c != 'e'; ++c)
        if (*c >= '0' && *c <= '9') digits += *c;
    return {digits, std::atoi(std::string(text).substr(std::string(text).find('e') + 1).c_str())};
}

} // namespace

std::optional<double> numberIn(const Text& text)
{
    std::size_t at = 0;
    bool negative = false, sign = false, bracket = false, currency = false;
    const auto skip = [&](bool before) {
        for (; at < text.size(); ++at) {
            const char16_t c = text[at];
            if (isSpace(c)) continue;
            if (!currency && text.compare(at, 2, u"TL") == 0) {
                currency = true;
                ++at;
                continue;
            }
            if ((c == u'-' || c == u'+') && !sign && !(before && bracket)) {
                sign = true;
                negative = negative || c == u'-';
            } else if (before && c == u'(' && !bracket && !sign) {
                bracket = negative = sign = true;
            } else if (!before && c == u')' && bracket) {
                bracket = false;
            } else {
                return;
            }
        }
    };
    skip(true);
    std::string digits;
    bool mark = false, any = false;
    for (; at < text.size(); ++at) {
        const char16_t c = text[at];
        if (isDigit(c)) {
            digits += static_cast<char>(c);
            any = true;
        } else if (c == u',' && !mark) {
            digits += '.';
            mark = true;
        } else if (c != u'.') {
            break;
        }
    }
    if (!any) return std::nullopt;
    if (at < text.size() && Text(u"eEdD").find(text[at]) != Text::npos) {
        std::size_t then = at + 1;
        std::string exponent = "e";
        if (then < text.size() && (text[then] == u'-' || text[then] == u'+'))
            exponent += static_cast<char>(text[then++]);
        const std::size_t first = then;
        while (then < text.size() && isDigit(text[then])) exponent += static_cast<char>(text[then++]);
        if (then == first) return std::nullopt;
        digits += exponent;
        at = then;
    }
    skip(false);
    if (at != text.size() || bracket) return std::nullopt;
    const double value = std::strtod(digits.c_str(), nullptr);
    if (std::isinf(value)) throw Error{6};
    return negative ? -value : value;
}

double valueOf(const Text& display)
{
    if (display.empty()) return 0;
    const std::optional<double> value = numberIn(display);
    if (!value) throw Error{13};
    return *value;
}

Text written(double value, int fewest, int most, bool groups)
{
    auto [digits, power] = digitsOf(value);
    // As a whole part and a fraction of plain digits.
    std::string before, after;
    if (power < 0) {
        before = "0";
        after = std::string(static_cast<std::size_t>(-power - 1), '0') + digits;
    } else {
        while (static_cast<int>(digits.size()) < power + 1) digits += '0';
        before = digits.substr(0, static_cast<std::size_t>(power) + 1);
        after = digits.substr(static_cast<std::size_t>(power) + 1);
    }
    after.resize(std::max(after.size(), static_cast<std::size_t>(most) + 1), '0');
    const bool up = after[static_cast<std::size_t>(most)] >= '5';
    std::string all = "0" + before + after.substr(0, static_cast<std::size_t>(most));
    for (std::size_t i = all.size(); up && i-- > 0;) {
        if (all[i] != '9') {
            ++all[i];
            break;
        }
        all[i] = '0';
    }
    before = all.substr(0, all.size() - static_cast<std::size_t>(most));
    after = all.substr(all.size() - static_cast<std::size_t>(most));
    before.erase(0, std::min(before.find_first_not_of('0'), before.size() - 1));
    while (static_cast<int>(after.size()) > fewest && after.back() == '0') after.pop_back();

    Text text = value < 0 ? u"-" : u"";
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (groups && i > 0 && (before.size() - i) % 3 == 0) text += u'.';
        text += static_cast<char16_t>(before[i]);
    }
    if (!after.empty()) text += u',' + Text(after.begin(), after.end());
    return text;
}

Text plain(double value, int digits)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    Text result;
    for (const char* c = text; *c; ++c) result += *c == '.' ? u',' : static_cast<char16_t>(*c == 'e' ? 'E' : *c);
    return result;
}

double product(double a, double b)
{
    if (std::isinf(a * b)) throw Error{6};
    return a * b;
}

Text whole(double value) { return written(value, 0, 0, true); }

char16_t upper(char16_t c)
{
    if (c >= u'a' && c <= u'z') return static_cast<char16_t>(c - 32);
    const Text small = u"çğöşü", capital = u"ÇĞÖŞÜ";
    const auto at = small.find(c);
    return at == Text::npos ? c : capital[at];
}

char16_t lower(char16_t c)
{
    if (c >= u'A' && c <= u'Z') return static_cast<char16_t>(c + 32);
    const Text small = u"çğöşü", capital = u"ÇĞÖŞÜ";
    const auto at = capital.find(c);
    return at == Text::npos ? c : small[at];
}

Text properCase(const Text& text)
{
    Text result;
    char16_t before = 0;
    for (const char16_t c : text) {
        result += beginsWord(before) ? upper(c) : lower(c);
        before = c;
    }
    return result;
}

Text titled(const Text& text)
{
    const Text small = u"iıöğş", capital = u"İIÖĞŞ";
    const auto at = text.empty() ? Text::npos : small.find(text[0]);
    return at == Text::npos ? properCase(text) : capital[at] + text.substr(1);
}

Text trimmed(const Text& text)
{
    const auto first = text.find_first_not_of(u' ');
    return first == Text::npos ? Text() : text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

int compareNames(Text a, Text b)
{
    std::erase(a, u'\'');
    std::erase(b, u'\'');
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (rank(a[i]) != rank(b[i])) return rank(a[i]) - rank(b[i]);
    return static_cast<int>(a.size()) - static_cast<int>(b.size());
}

bool beginsWith(const Text& name, const Text& pattern) { return matches(name, 0, pattern, 0); }

std::string utf8(const Text& text)
{
    std::string bytes;
    for (const char16_t c : text) {
        if (c < 0x80) {
            bytes += static_cast<char>(c);
        } else if (c < 0x800) {
            bytes += static_cast<char>(0xC0 | (c >> 6));
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            bytes += static_cast<char>(0xE0 | (c >> 12));
            bytes += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            bytes += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return bytes;
}

} // namespace model
