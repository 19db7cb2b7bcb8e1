#include "live/tls_stream.h"

#include <openssl/err.h>

#include <algorithm>
#include <array>
#include <climits>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

namespace live {
namespace {

enum class Side { ours, theirs };

std::string addressOf(socket_t socket, Side side, int& port)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    const int result =
        side == Side::ours ? getsockname(socket, generic, &length) : getpeername(socket, generic, &length);
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> service{};
    if (result != 0 || getnameinfo(generic, length, host.data(), host.size(), service.data(), service.size(),
                                   NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return {};
    port = std::atoi(service.data());
    return host.data();
}

} // namespace

std::string addressOf(socket_t socket)
{
    int port = 0;
    return addressOf(socket, Side::theirs, port);
}

TlsStream::TlsStream(SSL_CTX* context, socket_t socket, Bounds bounds)
    : ssl_(SSL_new(context)), socket_(socket), bounds_(bounds)
{
    const int flags = fcntl(socket, F_GETFL);
    if (!ssl_ || flags < 0 || fcntl(socket, F_SETFL, flags | O_NONBLOCK) != 0 || SSL_set_fd(ssl_.get(), socket) != 1)
        return;
    for (;;) {
        ERR_clear_error();
        const int result = SSL_accept(ssl_.get());
        if (result == 1) {
            open_ = true;
            return;
        }
        if (!waitFor(result, begun_ + bounds_.request)) return;
    }
}

TlsStream::~TlsStream()
{
    // What the other side still sends is not waited for.
    if (open_) SSL_shutdown(ssl_.get());
    ERR_clear_error();
}

bool TlsStream::waitFor(int result, Time end)
{
    const int reason = SSL_get_error(ssl_.get(), result);
    if (reason != SSL_ERROR_WANT_READ && reason != SSL_ERROR_WANT_WRITE) return false;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    if (left <= 0) return false;
    pollfd ready{socket_, static_cast<short>(reason == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT), 0};
    return poll(&ready, 1, static_cast<int>(std::min<std::int64_t>(left, INT_MAX))) > 0;
}

ssize_t TlsStream::read(char* into, size_t size)
{
    size = std::min(size, bounds_.requestBytes - taken_);
    while (open_ && size > 0 && std::chrono::steady_clock::now() < begun_ + bounds_.request) {
        ERR_clear_error();
        std::size_t count = 0;
        const int result = SSL_read_ex(ssl_.get(), into, size, &count);
        if (result == 1) {
            taken_ += count;
            return static_cast<ssize_t>(count);
        }
        if (!waitFor(result, begun_ + bounds_.request)) break;
    }
    open_ = false;
    return -1;
}

ssize_t TlsStream::write(const char* from, size_t size)
{
    while (open_ && std::chrono::steady_clock::now() < begun_ + bounds_.answer) {
        ERR_clear_error();
        std::size_t count = 0;
        const int result = SSL_write_ex(ssl_.get(), from, size, &count);
        if (result == 1) return static_cast<ssize_t>(count);
        if (!waitFor(result, begun_ + bounds_.answer)) break;
    }
    open_ = false;
    return -1;
}

void TlsStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    ip = addressOf(socket_, Side::theirs, port);
}

void TlsStream::get_local_ip_and_port(std::string& ip, int& port) const { ip = addressOf(socket_, Side::ours, port); }

} // namespace live
