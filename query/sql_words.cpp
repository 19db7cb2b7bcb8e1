#include "query/sql_words.h"

#include "exchange/ascii.h"
#include "files/error.h"
#include "files/language.h"

#include <algorithm>
#include <array>

namespace query {

namespace {

using exchange::isDigit, exchange::lower;

bool beginsName(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

/// Reads what stands up to the closing mark, which is written twice inside. Leaves `at` behind it.
std::string enclosed(std::string_view sql, std::size_t& at, char close, const char* what)
{
    const std::size_t begin = at++;
    std::string text;
    for (;; ++at) {
        if (at == sql.size()) notUnderstood(sql, begin, what);
        if (sql[at] == close) {
            ++at;
            const bool doubled = close != ']' && close != '#' && at < sql.size() && sql[at] == close;
            if (!doubled) return text;
        }
        text += sql[at];
    }
}

std::size_t numberEnd(std::string_view sql, std::size_t at)
{
    const auto digits = [&] {
        while (at < sql.size() && isDigit(sql[at])) ++at;
    };
    digits();
    if (at < sql.size() && sql[at] == '.') ++at;
    digits();
    if (at < sql.size() && lower(sql[at]) == 'e') {
        std::size_t exponent = at + 1;
        if (exponent < sql.size() && (sql[exponent] == '+' || sql[exponent] == '-')) ++exponent;
        if (exponent < sql.size() && isDigit(sql[exponent])) {
            at = exponent;
            digits();
        }
    }
    return at;
}

} // namespace

bool Word::is(std::string_view keyword) const
{
    return kind == Kind::name && std::ranges::equal(text, keyword, [](char a, char b) { return lower(a) == lower(b); });
}

void notUnderstood(std::string_view sql, std::size_t at, const std::string& what)
{
    constexpr std::size_t shown = 30;
    // Not in the middle of a letter.
    const auto begins = [&](std::size_t i) {
        return i >= sql.size() || (static_cast<unsigned char>(sql[i]) & 0xC0) != 0x80;
    };
    std::size_t end = std::min(at + shown, sql.size());
    while (!begins(end)) ++end;
    const std::string place = at >= sql.size()
                                  ? files::said("metnin sonunda", "at the end of the text")
                                  : "'" + std::string(sql.substr(at, end - at)) + (end < sql.size() ? "..." : "") +
                                        files::said("' yerinde", "' here");
    throw files::Error(files::Fault::syntax,
                       files::said("Sorgu anlaşılamadı, ", "The query is not understood, ") + place + ": " + what +
                           files::said(". Anlaşılanlar: presva-mdb sql --help", ". What is: presva-mdb sql --help"));
}

std::vector<Word> wordsOf(std::string_view sql)
{
    static constexpr std::array<std::string_view, 3> pairs = {"<>", "<=", ">="};
    std::vector<Word> words;
    std::size_t at = 0;
    while (at < sql.size()) {
        const char c = sql[at];
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            ++at;
            continue;
        }
        Word word;
        word.at = at;
        if (c == '[') {
            word.kind = Word::Kind::bracket;
            word.text = enclosed(sql, at, ']', files::said("köşeli ayraç kapanmıyor", "the bracket is not closed"));
        } else if (c == '\'' || c == '"') {
            word.kind = Word::Kind::text;
            word.text = enclosed(sql, at, c, files::said("tırnak kapanmıyor", "the quote is not closed"));
        } else if (c == '#') {
            word.kind = Word::Kind::date;
            word.text =
                enclosed(sql, at, '#', files::said("tarih '#' ile kapanmıyor", "the date is not closed with '#'"));
        } else if (isDigit(c) || (c == '.' && at + 1 < sql.size() && isDigit(sql[at + 1]))) {
            word.kind = Word::Kind::number;
            const std::size_t end = numberEnd(sql, at);
            word.text = sql.substr(at, end - at);
            at = end;
        } else if (beginsName(c)) {
            word.kind = Word::Kind::name;
            std::size_t end = at;
            while (end < sql.size() && (beginsName(sql[end]) || isDigit(sql[end]) || sql[end] == '$')) ++end;
            word.text = sql.substr(at, end - at);
            at = end;
        } else {
            word.kind = Word::Kind::other;
            const std::string_view two = sql.substr(at, 2);
            word.text = std::ranges::find(pairs, two) != pairs.end() ? two : two.substr(0, 1);
            if (std::string_view("()<>=+-*/\\^&,.;!").find(c) == std::string_view::npos)
                notUnderstood(sql, at, files::said("bu işaretin bir anlamı yok", "this sign means nothing"));
            at += word.text.size();
        }
        word.end = at;
        words.push_back(std::move(word));
    }
    words.push_back({.kind = Word::Kind::end, .text = {}, .at = sql.size(), .end = sql.size()});
    return words;
}

} // namespace query
