#pragma once

#include "scale/formats/format_table.h"
#include "tools/scale_terminal.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

/// What presva-scale makes of bytes that come in.
namespace tools {

/// A stream whose format must be found out first: its beginning is kept until a format is recognised for sure, or the
/// stream ends.
class UnknownStream {
public:
    /// The bytes that can be read by now, in format(): none before one is recognised.
    std::string hear(std::string_view bytes);
    /// Nothing has come for a while: what is there is looked at.
    std::string silence() { return decide(false); }
    /// The stream is over: what has been recognised so far must do.
    std::string end() { return decide(true); }

    const scale::LineFormat* format() const { return format_; }
    /// Why nothing was recognised, in Turkish; nothing once it was, or while no byte has come.
    std::string doubt() const;

private:
    std::string decide(bool atEnd);

    std::string beginning_;
    std::size_t nextLook_ = 0; ///< bytes after which a look is worth its time
    const scale::LineFormat* format_ = nullptr;
};

/// `--read NAME`: every weight that counts (as of scale::Transcript), one a line: kilograms, a tab, what the scale says
/// of it. `format` nothing: recognised from the stream.
void readStandardInput(const scale::LineFormat* format);

/// `--listen`: shows what arrives for so long, what it was recognised as, and at the end how good the line is. False
/// when nothing was recognised.
bool listenTo(const std::filesystem::path& device, const std::string& settings, std::chrono::seconds howLong);

} // namespace tools
