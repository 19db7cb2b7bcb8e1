#include "scale/formats/recogniser.h"

#include <algorithm>

namespace scale {

namespace {

constexpr std::size_t sureAfter = 5;

struct Candidate {
    const LineFormat* format = nullptr;
    std::vector<Reading> readings;
    bool checked = false;
    bool readsAll = false; ///< but for a cut frame at either end
};

bool sameReadings(const std::vector<Reading>& a, const std::vector<Reading>& b)
{
    return std::ranges::equal(a, b, {}, &Reading::kilograms, &Reading::kilograms);
}

/// The frame begins with letters or a mark of its own, so it cannot be the end of a longer line.
bool beginsUnmistakably(const LineFormat& format)
{
    return std::ranges::all_of(format.frames, [](const Frame& frame) {
        const Piece& first = frame.pieces.front();
        return frame.marksItsBeginning || (first.kind == Piece::Kind::bytes && first.text != " ") ||
               (first.kind == Piece::Kind::mark && first.choices.front().text.size() > 1);
    });
}

std::optional<Candidate> candidateOf(const LineFormat& format, std::string_view stream)
{
    Framer framer(format);
    std::vector<Framed> framed = framer.read(stream);
    for (Framed& last : framer.silence()) framed.push_back(std::move(last));
    Candidate candidate{&format, {}, true, false};
    std::size_t longest = 0;
    for (Framed& one : framed) {
        if (one.isFrame) longest = std::max(longest, one.bytes.size());
        if (!one.reading) continue;
        candidate.checked = candidate.checked && one.checked;
        candidate.readings.push_back(std::move(*one.reading));
    }
    if (candidate.readings.empty()) return std::nullopt;
    // The first frame may be the end of another format's line; the second began where a line ended.
    if (framer.framesRead() < 2 && !beginsUnmistakably(format)) return std::nullopt;
    // A frame cut at either end is no frame, and some noise may be; what makes up more is another format.
    const std::size_t strange = framer.bytesPassed() - std::min(framer.bytesPassed(), 2 * longest);
    if (framer.bytesPassed() >= framer.bytesRead() || strange * 2 > framer.bytesRead()) return std::nullopt;
    candidate.readsAll = strange == 0;
    return candidate;
}

bool saysSomething(const std::vector<Reading>& readings)
{
    return readings.size() >= sureAfter &&
           std::ranges::any_of(readings, [](const Reading& one) { return one.kilograms.digits != 0; });
}

} // namespace

Recognised recognise(std::string_view stream)
{
    std::vector<Candidate> candidates;
    for (const LineFormat& format : lineFormats())
        if (std::optional<Candidate> candidate = candidateOf(format, stream))
            candidates.push_back(std::move(*candidate));
    if (std::ranges::any_of(candidates, &Candidate::checked))
        std::erase_if(candidates, [](const Candidate& one) { return !one.checked; });
    if (std::ranges::any_of(candidates, &Candidate::readsAll))
        std::erase_if(candidates, [](const Candidate& one) { return !one.readsAll; });

    Recognised found;
    for (const Candidate& candidate : candidates) found.candidates.push_back(candidate.format);
    if (candidates.empty()) return found;
    std::vector<Reading>& readings = candidates.front().readings;
    const bool agreed =
        std::ranges::all_of(candidates, [&](const Candidate& one) { return sameReadings(one.readings, readings); });
    if (!agreed) return found;
    if (candidates.size() == 1) found.format = candidates.front().format;
    found.isSure = found.format && saysSomething(readings);
    found.readings = std::move(readings);
    return found;
}

const LineFormat* shownWronglyAsItIs(std::string_view stream, char decimalMark, const ShownAsItIs& shown)
{
    const Recognised found = recognise(stream);
    if (!found.isSure) return nullptr;
    const bool wrong = std::ranges::any_of(found.readings, [&](const Reading& reading) {
        const std::optional<std::string> line = counterLine(reading, decimalMark);
        return line && shown(reading.bytes) != shown(*line);
    });
    return wrong ? found.format : nullptr;
}

} // namespace scale
