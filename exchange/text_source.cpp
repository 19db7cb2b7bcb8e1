#include "exchange/text_source.h"

namespace exchange {

namespace {

constexpr std::size_t pieceSize = std::size_t{1} << 20;

/// The next bytes of the file; false at its end.
bool readPiece(files::File& file, std::uint64_t& at, std::string& piece)
{
    piece.resize(pieceSize);
    piece.resize(file.read(at, {reinterpret_cast<std::uint8_t*>(piece.data()), piece.size()}));
    at += piece.size();
    return !piece.empty();
}

} // namespace

DecodedFile::DecodedFile(files::File& file, Encoding encoding)
    : file_(file), encoding_(encoding), decoder_(encoding), size_(file.size())
{
}

void DecodedFile::rewind()
{
    decoder_ = Decoder(encoding_);
    at_ = 0;
}

bool DecodedFile::more(std::string& into)
{
    const bool read = readPiece(file_, at_, piece_);
    if (read)
        decoder_.add(piece_, into);
    else
        decoder_.end();
    return read;
}

int DecodedFile::percent() const { return size_ == 0 ? 100 : static_cast<int>(at_ * 100 / size_); }

Encoding foundEncoding(files::File& file)
{
    EncodingFinder finder;
    std::string piece;
    for (std::uint64_t at = 0; readPiece(file, at, piece);) finder.see(piece);
    return finder.found();
}

} // namespace exchange
