#include "tools/scale_terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace tools {

using std::chrono::milliseconds;

namespace {

volatile std::sig_atomic_t stopped = 0;

struct Speed {
    std::string_view name;
    speed_t value;
};

constexpr std::array<Speed, 12> speeds = {{{"110", B110},
                                           {"300", B300},
                                           {"600", B600},
                                           {"1200", B1200},
                                           {"2400", B2400},
                                           {"4800", B4800},
                                           {"9600", B9600},
                                           {"19200", B19200},
                                           {"38400", B38400},
                                           {"57600", B57600},
                                           {"115200", B115200},
                                           {"230400", B230400}}};

/// Settings as "9600,n,8,1" on a raw line.
termios parsed(termios line, const std::string& settings)
{
    cfmakeraw(&line);
    const std::size_t comma = std::min(settings.find(','), settings.size());
    const std::string_view name = std::string_view(settings).substr(0, comma);
    const std::string_view rest = std::string_view(settings).substr(comma);
    const auto speed = std::ranges::find(speeds, name, &Speed::name);
    if (speed == speeds.end() || rest.size() != 6 || rest[2] != ',' || rest[4] != ',')
        throw Mistake("Hat ayarı anlaşılmadı (örnek: 9600,n,8,1): " + settings);
    const char parity = static_cast<char>(rest[1] | 0x20);
    const char bits = rest[3];
    const char stop = rest[5];
    if (std::string_view("neo").find(parity) == std::string_view::npos || (bits != '7' && bits != '8') ||
        (stop != '1' && stop != '2'))
        throw Mistake("Hat ayarı anlaşılmadı (örnek: 9600,n,8,1): " + settings);
    cfsetispeed(&line, speed->value);
    cfsetospeed(&line, speed->value);
    line.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
    line.c_cflag |= static_cast<tcflag_t>(CLOCAL | CREAD | (bits == '7' ? CS7 : CS8));
    if (parity != 'n') line.c_cflag |= PARENB;
    if (parity == 'o') line.c_cflag |= PARODD;
    if (stop == '2') line.c_cflag |= CSTOPB;
    return line;
}

} // namespace

void stopOnSignals()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { stopped = 1; };
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool isStopped() { return stopped != 0; }

PlayedLine::PlayedLine(std::filesystem::path link) : link_(std::move(link))
{
    termios raw = {};
    cfmakeraw(&raw);
    char name[64] = {};
    if (openpty(&master_, &slave_, name, &raw, nullptr) != 0) throw Mistake("Sanal hat açılamadı.");
    fcntl(master_, F_SETFL, O_NONBLOCK);
    path_ = name;
    if (link_.empty()) return;
    // Only our own kind of thing is replaced, never somebody's file.
    if (std::filesystem::is_symlink(link_)) std::filesystem::remove(link_);
    std::filesystem::create_symlink(path_, link_);
}

PlayedLine::~PlayedLine()
{
    std::error_code ignored;
    if (std::filesystem::read_symlink(link_, ignored) == path_) std::filesystem::remove(link_, ignored);
    close(slave_);
    close(master_);
}

void PlayedLine::send(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t sent = write(master_, bytes.data(), bytes.size());
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void PlayedLine::waitUntil(Clock::time_point moment) const
{
    while (!isStopped()) {
        const auto left = std::chrono::ceil<milliseconds>(moment - Clock::now());
        if (left.count() <= 0) return;
        pollfd wanted = {master_, POLLIN, 0};
        if (poll(&wanted, 1, static_cast<int>(left.count())) > 0) {
            char answer[256];
            if (::read(master_, answer, sizeof answer) < 0 && errno != EAGAIN && errno != EINTR) return;
        }
    }
}

HeardLine::HeardLine(const std::filesystem::path& device, const std::string& settings)
{
    descriptor_ = open(device.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor_ < 0) throw Mistake("Port açılamadı: " + device.string() + ": " + std::strerror(errno));
    termios line = {};
    if (tcgetattr(descriptor_, &line) != 0) {
        close(descriptor_);
        throw Mistake("Seri port değil: " + device.string());
    }
    try {
        line = parsed(line, settings);
    } catch (...) {
        close(descriptor_);
        throw;
    }
    tcsetattr(descriptor_, TCSANOW, &line);
    tcflush(descriptor_, TCIFLUSH); // what lay there is old
}

HeardLine::~HeardLine()
{
    if (descriptor_ > 0) close(descriptor_);
}

HeardLine::Event HeardLine::read(std::string& bytes, milliseconds longest) const
{
    bytes.clear();
    pollfd wanted = {descriptor_, POLLIN, 0};
    if (poll(&wanted, 1, static_cast<int>(longest.count())) <= 0) return Event::silence; // or a signal
    std::array<char, 65'536> buffer;
    const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return Event::silence;
    if (count <= 0) return Event::end;
    bytes.assign(buffer.data(), static_cast<std::size_t>(count));
    return Event::bytes;
}

} // namespace tools
