#pragma once

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

/// The ends of a serial line as presva-scale holds them.
namespace tools {

using Clock = std::chrono::steady_clock;

/// A mistake in the arguments, a file or a port, told in Turkish.
struct Mistake : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Ctrl+C and a polite end set this.
void stopOnSignals();
bool isStopped();

/// The scale's end of a pseudo-terminal that a link names, or nobody when the link is empty. A slave end of our own
/// stays open, so that the program may come and go.
class PlayedLine {
public:
    explicit PlayedLine(std::filesystem::path link);
    ~PlayedLine();
    PlayedLine(const PlayedLine&) = delete;
    PlayedLine& operator=(const PlayedLine&) = delete;

    const std::string& path() const { return path_; }
    /// A wire does not wait: what nobody reads in time is lost.
    void send(std::string_view bytes) const;
    /// What the program sends to its scale is of no interest, but must not fill the line up.
    void waitUntil(Clock::time_point moment) const;

private:
    std::filesystem::path link_;
    std::string path_;
    int master_ = -1;
    int slave_ = -1;
};

/// Bytes that come in: from standard input, or from a serial device.
class HeardLine {
public:
    /// Standard input.
    HeardLine() = default;
    /// Settings as "9600,n,8,1". Throws Mistake when the device cannot be opened or the settings are none.
    HeardLine(const std::filesystem::path& device, const std::string& settings);
    ~HeardLine();
    HeardLine(const HeardLine&) = delete;
    HeardLine& operator=(const HeardLine&) = delete;

    enum class Event { bytes, silence, end };
    /// Waits for bytes, no longer than this.
    Event read(std::string& bytes, std::chrono::milliseconds longest) const;

private:
    int descriptor_ = 0;
};

} // namespace tools
