#pragma once

#include "scale/formats/line_reader.h"
#include "tools/scale_terminal.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What presva-scale makes of bytes that come in.
namespace tools {

/// The weights of a stream whose format must be found out first: its beginning is kept until a format is recognised for
/// sure, or the stream ends.
class RecognisingReader {
public:
    std::vector<scale::Heard> read(std::string_view bytes);
    std::vector<scale::Heard> silence();
    /// The stream is over: what has been recognised so far must do.
    std::vector<scale::Heard> end();

    const scale::LineFormat* format() const { return format_; }
    /// Why nothing was recognised, in Turkish; nothing once it was, or while no byte has come.
    std::string doubt() const;

private:
    std::vector<scale::Heard> decide(bool atEnd);

    std::string beginning_;
    std::size_t nextLook_ = 0; ///< bytes after which a look is worth its time
    const scale::LineFormat* format_ = nullptr;
    std::optional<scale::LineReader> reader_;
};

/// `--read NAME`: every weight that counts, one a line: kilograms, a tab, what the scale says of it.
/// `format` nothing: recognised from the stream.
void readStandardInput(const scale::LineFormat* format);

/// `--listen`: shows what arrives for so long, what it was recognised as, and at the end how good the line is. False
/// when nothing was recognised.
bool listenTo(const std::filesystem::path& device, const std::string& settings, std::chrono::seconds howLong);

} // namespace tools
