#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The words of an SQL text as Access writes it.
namespace query {

struct Word {
    enum class Kind {
        name,    ///< a keyword or a name as it is
        bracket, ///< a [name], which is no keyword
        number,
        text,  ///< between single or double quotes; a quote inside is written twice
        date,  ///< what stands between two #
        other, ///< an operator or a mark
        end,
    };
    Kind kind = Kind::end;
    std::string text;   ///< UTF-8, without what encloses it
    std::size_t at = 0; ///< bytes of the SQL text before it
    std::size_t end = 0;

    /// A keyword, in any letter case.
    bool is(std::string_view keyword) const;
    bool isMark(std::string_view mark) const { return kind == Kind::other && text == mark; }
};

/// Takes a text apart; the last word is an end. Throws files::Error (syntax) for what is not closed and for letters
/// that mean nothing.
std::vector<Word> wordsOf(std::string_view sql);

/// Ends with a sentence that shows where in the text something is not understood.
[[noreturn]] void notUnderstood(std::string_view sql, std::size_t at, const std::string& what);

} // namespace query
