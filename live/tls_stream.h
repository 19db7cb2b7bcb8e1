#pragma once

#include <httplib.h>
#include <openssl/ssl.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace live {

/// How long, and how much, a connection may take as a whole. The library's own bounds begin anew with every byte.
struct Bounds {
    std::chrono::milliseconds request{5000};  ///< from its first byte of the handshake to the end of the request
    std::chrono::milliseconds answer{30'000}; ///< until it has taken all of the answer
    std::size_t requestBytes = 8192;          ///< with all headers
};

/// One encrypted connection, with one request and one answer.
class TlsStream final : public httplib::Stream {
public:
    /// Does the handshake; throws nothing and asks isOpen(). The socket stays the caller's to close.
    TlsStream(SSL_CTX* context, socket_t socket, Bounds bounds);
    ~TlsStream() override;
    TlsStream(const TlsStream&) = delete;
    TlsStream& operator=(const TlsStream&) = delete;

    bool isOpen() const { return open_; }

    bool is_readable() const override { return open_; }
    bool is_writable() const override { return open_; }
    ssize_t read(char* into, size_t size) override;
    ssize_t write(const char* from, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return socket_; }

private:
    using Time = std::chrono::steady_clock::time_point;
    /// After a step of OpenSSL that could not be done at once: true when it may be tried again.
    bool waitFor(int result, Time end);

    struct FreeSsl {
        void operator()(SSL* ssl) const { SSL_free(ssl); }
    };
    std::unique_ptr<SSL, FreeSsl> ssl_;
    const socket_t socket_;
    const Bounds bounds_;
    const Time begun_ = std::chrono::steady_clock::now();
    std::size_t taken_ = 0;
    bool open_ = false;
};

/// The address of the other side, as a text; empty where it has gone.
std::string addressOf(socket_t socket);

} // namespace live
