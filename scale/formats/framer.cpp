#include "scale/formats/framer.h"

#include <algorithm>
#include <utility>

namespace scale {

namespace {

/// As much may come before the first frame: a line that was under way, and one that it ran into.
constexpr std::size_t mostBeforeTheFirst = 64;
/// Noise is told of in pieces of this length at the latest.
constexpr std::size_t mostPassed = 64;

bool endsALine(char byte) { return byte == '\r' || byte == '\n' || byte == '\x03'; }

} // namespace

std::vector<Framed> Framer::read(std::string_view bytes)
{
    std::vector<Framed> found;
    waiting_ += bytes;
    take(false, found);
    return found;
}

std::vector<Framed> Framer::silence()
{
    std::vector<Framed> found;
    take(true, found);
    reportPassed(true, found);
    if (!waiting_.empty()) {
        passed_ += waiting_.size();
        Framed half;
        half.refusal = Refusal::halfLine;
        half.bytes = std::exchange(waiting_, {});
        found.push_back(std::move(half));
    }
    lineBegins_ = true;
    return found;
}

Match Framer::matchAt(std::string_view rest, bool lineBegins, bool atEnd, const Frame*& fitting)
{
    Match best;
    for (const Frame& frame : format_.frames) {
        if (!frame.marksItsBeginning && !lineBegins) continue;
        Match match = matchFrame(frame, rest, atEnd, format_.unit, format_.rest);
        if (match.outcome == Match::Outcome::yes) {
            fitting = &frame;
            return match;
        }
        if (match.outcome == Match::Outcome::needsMore) best.outcome = Match::Outcome::needsMore;
        if (match.refusal) almost_ = match.refusal;
    }
    return best;
}

void Framer::take(bool atEnd, std::vector<Framed>& found)
{
    std::size_t at = 0;
    while (at < waiting_.size()) {
        const std::string_view rest = std::string_view(waiting_).substr(at);
        const bool lineBegins = at == 0 ? lineBegins_ : endsALine(waiting_[at - 1]);
        const Frame* fitting = nullptr;
        Match match = matchAt(rest, lineBegins, atEnd, fitting);
        if (match.outcome == Match::Outcome::needsMore) {
            // At the end only what is half to the last byte is half a line; a shorter frame may stand in its midst.
            if (!atEnd || noFrame_.empty()) break;
            match.outcome = Match::Outcome::no;
        }
        if (match.outcome == Match::Outcome::yes) {
            reportPassed(true, found);
            const std::size_t length = match.length;
            give(rest.substr(0, length), *fitting, std::move(match), found);
            at += length;
        } else {
            pass(waiting_[at], found);
            ++at;
        }
    }
    if (at > 0) lineBegins_ = endsALine(waiting_[at - 1]);
    waiting_.erase(0, at);
}

void Framer::give(std::string_view bytes, const Frame& frame, Match match, std::vector<Framed>& found)
{
    ++frames_;
    read_ += bytes.size();
    almost_.reset();
    Framed framed;
    framed.bytes = bytes;
    framed.reading = std::move(match.reading);
    framed.refusal = match.refusal;
    framed.isFrame = true;
    framed.checked = frame.hasChecksum;
    found.push_back(std::move(framed));
}

void Framer::pass(char byte, std::vector<Framed>& found)
{
    if (endsALine(byte) && noFrame_.empty()) return;
    noFrame_ += byte;
    ++passed_;
    if (noFrame_.size() >= mostPassed) reportPassed(false, found);
}

void Framer::reportPassed(bool beforeFrame, std::vector<Framed>& found)
{
    if (noFrame_.empty()) return;
    Framed framed;
    framed.refusal = std::exchange(almost_, std::nullopt).value_or(Refusal::unknownBytes);
    const bool restOfALine = frames_ == 0 && passed_ <= mostBeforeTheFirst && framed.refusal == Refusal::unknownBytes;
    framed.isNoise = !restOfALine && !(beforeFrame && frames_ > 0 && brokeOff());
    framed.bytes = std::exchange(noFrame_, {});
    found.push_back(std::move(framed));
}

/// The bytes passed over are one cut-off frame, perhaps with a whole one behind it.
bool Framer::brokeOff() const
{
    const auto matches = [&](std::string_view bytes, Match::Outcome outcome) {
        return std::ranges::any_of(format_.frames, [&](const Frame& frame) {
            const Match match = matchFrame(frame, bytes, false, format_.unit, format_.rest);
            return match.outcome == outcome && (outcome != Match::Outcome::yes || match.length == bytes.size());
        });
    };
    const std::string_view passed = noFrame_;
    for (std::size_t head = passed.size(); head > 0; --head)
        if (matches(passed.substr(0, head), Match::Outcome::needsMore) &&
            (head == passed.size() || matches(passed.substr(head), Match::Outcome::yes)))
            return true;
    return false;
}

} // namespace scale
