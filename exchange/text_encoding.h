#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Texts of files, however they are encoded, become UTF-8.
namespace exchange {

enum class Encoding {
    utf8,
    utf16Little,
    utf16Big,
    windows1254, ///< Turkish, of Windows
    dos857,      ///< Turkish, of DOS
};

/// By the name that the option --encoding takes: utf-8, utf-16le, utf-16be, 1254, 857.
std::optional<Encoding> encodingNamed(std::string_view name);

/// The encoding that the bytes tell of: a byte order mark, well-formed UTF-8, every other byte zero, or the bytes of
/// Turkish letters, which the two code pages have at different places. Throws files::Error (badValue) with the option
/// that says it where they do not tell for certain: a wrong one would make other letters of them.
Encoding foundEncoding(std::string_view bytes);

/// The text in UTF-8, without its byte order mark. Throws files::Error (syntax), with the line, for bytes that are no
/// text in that encoding.
std::string decoded(std::string_view bytes, Encoding encoding);

} // namespace exchange
