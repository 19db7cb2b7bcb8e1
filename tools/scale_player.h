#pragma once

#include "scale/formats/format_table.h"

#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

/// What presva-scale sends when it plays a scale.
namespace tools {

/// One piece of text and how long after the piece before it is sent.
struct SentPiece {
    std::chrono::milliseconds wait{0};
    std::string bytes;
};

/// A load as the scale sees it at one line.
struct PlayedLoad {
    std::string weight;
    scale::Rest rest = scale::Rest::stable;
};

/// The weights one after the other; as a curve each is put on, swings, stands, is taken off, and the empty scale
/// stands. Throws Mistake when a weight of a curve is no number.
std::vector<PlayedLoad> playedLoads(const std::vector<std::string>& weights, bool asCurve);

/// One line in one of the shapes that are no format; `period` is the time between two lines. Throws Mistake when there
/// is no such shape.
std::vector<SentPiece> lineOfShape(const std::string& shape, const std::string& weight,
                                   std::chrono::milliseconds period, std::mt19937& random);

/// One line of a format. Throws Mistake when the format cannot say this weight.
std::string lineOfFormat(const scale::LineFormat& format, const PlayedLoad& load);

/// A weight that the format can say, for whoever asks for none.
std::string usualWeight(const scale::LineFormat& format);

/// The same bytes, of a hundred `percent` replaced by others.
std::string noisy(std::string bytes, int percent, std::mt19937& random);

/// The pieces of a file of times and texts. Throws Mistake with the line that it does not understand.
std::vector<SentPiece> readReplay(const std::filesystem::path& path);

/// Throws Mistake when the text is no whole number, or one below the smallest.
int numberOf(std::string_view text, int smallest);

} // namespace tools
