#pragma once

#include "scale/formats/format_table.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scale {

/// A whole frame, or bytes that are none.
struct Framed {
    std::optional<Reading> reading;
    std::optional<Refusal> refusal; ///< why there is no reading
    std::string bytes;
    bool isFrame = false;
    bool checked = false; ///< a checksum stands behind the reading
    /// No frame, but more than the rest of a line that was under way when the listening began, and other than a line
    /// that broke off before the next one: a byte was changed or lost.
    bool isNoise = false;
};

/// Finds the frames of one format in a stream, in whatever pieces it arrives. What is no frame is passed over up to the
/// next place where one can begin; half a frame waits for its rest, so that no part of a number is ever taken for a
/// number.
class Framer {
public:
    /// The format must outlive the framer.
    explicit Framer(const LineFormat& format) : format_(format) {}

    /// What these bytes have completed.
    std::vector<Framed> read(std::string_view bytes);
    /// The line has fallen silent: half a frame is given up, one that waited for the next is complete.
    std::vector<Framed> silence();

    std::size_t framesRead() const { return frames_; }  ///< those without a weight included
    std::size_t bytesRead() const { return read_; }     ///< in frames
    std::size_t bytesPassed() const { return passed_; } ///< that belonged to no frame, line ends not counted

private:
    void take(bool atEnd, std::vector<Framed>& found);
    Match matchAt(std::string_view rest, bool lineBegins, bool atEnd, const Frame*& fitting);
    void give(std::string_view bytes, const Frame& frame, Match match, std::vector<Framed>& found);
    void pass(char byte, std::vector<Framed>& found);
    void reportPassed(bool beforeFrame, std::vector<Framed>& found);
    bool brokeOff() const;

    const LineFormat& format_;
    std::string waiting_;
    std::string noFrame_;           ///< passed over and not yet reported
    std::optional<Refusal> almost_; ///< what was wrong with a frame that would have begun in there
    bool lineBegins_ = true;        ///< the byte before the waiting ones ended a line
    std::size_t frames_ = 0;
    std::size_t read_ = 0;
    std::size_t passed_ = 0;
};

} // namespace scale
