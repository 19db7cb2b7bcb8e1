#pragma once

#include "exchange/text_encoding.h"
#include "files/disk.h"

#include <cstdint>
#include <string>

namespace exchange {

/// A text (UTF-8) that is read piece by piece from its beginning, as often as is wanted.
class TextSource {
public:
    virtual ~TextSource() = default;
    TextSource() = default;
    TextSource(const TextSource&) = delete;
    TextSource& operator=(const TextSource&) = delete;

    virtual void rewind() = 0;
    /// Appends the next piece; false behind the last one. Throws what reading it throws.
    virtual bool more(std::string& into) = 0;
    /// Share of the text that was given out since it was rewound, 0..100.
    virtual int percent() const = 0;
};

/// The text of a file in some encoding. Memory does not grow with the file.
class DecodedFile : public TextSource {
public:
    /// The file lives as long as this.
    DecodedFile(files::File& file, Encoding encoding);

    void rewind() override;
    /// Throws files::Error (syntax), with the line, for bytes that are no text in the encoding; disk.
    bool more(std::string& into) override;
    int percent() const override;

private:
    files::File& file_;
    Encoding encoding_;
    Decoder decoder_;
    std::uint64_t size_;
    std::uint64_t at_ = 0;
    std::string piece_;
};

/// The encoding that the bytes of a file tell of, as EncodingFinder finds it.
Encoding foundEncoding(files::File& file);

} // namespace exchange
