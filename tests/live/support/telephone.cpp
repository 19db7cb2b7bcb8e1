#include "tests/live/support/telephone.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <csignal>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <system_error>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

sockaddr_in place(const std::string& address, int port)
{
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, address.c_str(), &place.sin_addr);
    return place;
}

int connected(int port, const std::string& from)
{
    std::signal(SIGPIPE, SIG_IGN);
    const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in own = place(from, 0);
    const sockaddr_in other = place("127.0.0.1", port);
    if (handle < 0 || bind(handle, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
        connect(handle, reinterpret_cast<const sockaddr*>(&other), sizeof other) != 0)
        throw std::system_error(errno, std::generic_category(), "no connection to port " + std::to_string(port));
    const timeval patience{20, 0};
    setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(handle, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    return handle;
}

SSL_CTX* anyCertificate()
{
    static SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
    return context;
}

} // namespace

struct Connection::State {
    BareSocket socket;
    SSL* ssl = SSL_new(anyCertificate());
    bool open = false;

    State(int port, const std::string& from) : socket(port, from) {}
    ~State() { SSL_free(ssl); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
};

Connection::Connection(int port, const std::string& from) : state_(std::make_unique<State>(port, from))
{
    SSL_set_fd(state_->ssl, state_->socket.handle());
    ERR_clear_error();
    state_->open = SSL_connect(state_->ssl) == 1;
}

Connection::~Connection() = default;

bool Connection::isOpen() const { return state_->open; }

bool Connection::send(std::string_view bytes)
{
    ERR_clear_error();
    std::size_t sent = 0;
    return state_->open && SSL_write_ex(state_->ssl, bytes.data(), bytes.size(), &sent) == 1;
}

bool Connection::renewKeys()
{
    ERR_clear_error();
    return state_->open && SSL_key_update(state_->ssl, SSL_KEY_UPDATE_NOT_REQUESTED) == 1 &&
           SSL_do_handshake(state_->ssl) == 1;
}

std::string Connection::some()
{
    std::array<char, 16384> piece{};
    std::size_t count = 0;
    ERR_clear_error();
    if (!state_->open || SSL_read_ex(state_->ssl, piece.data(), piece.size(), &count) != 1) return {};
    return {piece.data(), count};
}

Answer Connection::answer(milliseconds patience)
{
    Answer answer;
    const auto end = steady_clock::now() + patience;
    while (steady_clock::now() < end) {
        const std::string piece = some();
        if (piece.empty()) break;
        answer.whole += piece;
    }
    const std::size_t head = answer.whole.find("\r\n\r\n");
    if (head == std::string::npos || !answer.whole.starts_with("HTTP/1.1 ")) return answer;
    answer.status = std::stoi(answer.whole.substr(9, 3));
    answer.body = answer.whole.substr(head + 4);
    for (std::size_t from = answer.whole.find("\r\n") + 2; from < head;) {
        const std::size_t line = answer.whole.find("\r\n", from);
        const std::size_t colon = answer.whole.find(": ", from);
        std::string name = answer.whole.substr(from, colon - from);
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
        answer.headers[name] = answer.whole.substr(colon + 2, line - colon - 2);
        from = line + 2;
    }
    return answer;
}

BareSocket::BareSocket(int port, const std::string& from) : handle_(connected(port, from)) {}

BareSocket::~BareSocket() { close(handle_); }

bool BareSocket::send(std::string_view bytes) const
{
    return ::send(handle_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

std::optional<milliseconds> BareSocket::closedWithin(milliseconds patience) const
{
    const auto begun = steady_clock::now();
    std::array<char, 4096> piece{};
    for (;;) {
        const auto waited = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun);
        if (waited >= patience) return {};
        pollfd ready{handle_, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>((patience - waited).count())) > 0 &&
            recv(handle_, piece.data(), piece.size(), 0) <= 0)
            return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun);
    }
}

std::string request(int port, const std::string& path, const std::string& headers, const std::string& method)
{
    return method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" + headers + "\r\n";
}

Answer ask(int port, const std::string& path, const std::string& headers, const std::string& from)
{
    Connection connection(port, from);
    connection.send(request(port, path, headers));
    return connection.answer();
}
