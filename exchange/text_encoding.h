#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Texts of files, however they are encoded, become UTF-8, a piece at a time.
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

/// Learns of the bytes of a text, piece by piece, how it is encoded.
class EncodingFinder {
public:
    void see(std::string_view piece);
    /// What the bytes tell of: a byte order mark, well-formed UTF-8, every other byte zero, or the bytes of Turkish
    /// letters, which the two code pages have at different places. Throws files::Error (badValue) with the option that
    /// says it where they do not tell for certain: a wrong one would make other letters of them.
    Encoding found() const;

private:
    std::optional<Encoding> utf16WithoutMark() const;
    std::optional<Encoding> turkishPage() const;

    std::string begin_; ///< the first bytes
    std::string rest_;  ///< the beginning of a UTF-8 character that the next piece goes on with
    std::uint64_t count_ = 0;
    std::array<std::uint64_t, 2> zeros_{}; ///< at even and odd places
    bool utf8_ = true;
    bool all1254_ = true; ///< every byte beyond ASCII is a letter of Turkish there
    bool all857_ = true;
    bool sure857_ = false; ///< one is a byte that no text in 1254 is likely to have
};

/// Makes UTF-8 of a text that comes in pieces, without its byte order mark, which the first piece holds whole.
class Decoder {
public:
    explicit Decoder(Encoding encoding) : encoding_(encoding) {}

    /// Appends the text of the piece; a character that goes on in the next one waits for it. Throws files::Error
    /// (syntax), with the line, for bytes that are no text in the encoding.
    void add(std::string_view piece, std::string& into);
    /// Behind the last piece. Throws as add, for half a character.
    void end() const;

private:
    void addUtf8(std::string_view bytes, std::string& into);
    void addUtf16(std::string_view bytes, std::string& into);
    void addPage(std::string_view bytes, std::string& into) const;

    Encoding encoding_;
    std::string waiting_;
    std::size_t line_ = 1;
    bool begun_ = false;
};

} // namespace exchange
