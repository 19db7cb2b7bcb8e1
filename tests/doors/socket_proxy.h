#pragma once

#include <atomic>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

/// A line to a server's socket that a test has its hands in. It serves one session after the other, in a thread of its
/// own: whoever inherits it calls begin() when all is made, and end() before anything is gone.
class SocketProxy {
public:
    SocketProxy(const SocketProxy&) = delete;
    SocketProxy& operator=(const SocketProxy&) = delete;

protected:
    /// Listens in `folder` as the server of that port would; the real one listens there as another.
    SocketProxy(const std::filesystem::path& folder, int port, int realPort)
        : here_(address(folder, port)), there_(address(folder, realPort)), listening_(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        if (::bind(listening_, reinterpret_cast<const sockaddr*>(&here_), sizeof here_) != 0 ||
            ::listen(listening_, 4) != 0)
            throw std::runtime_error("the proxy cannot listen");
    }
    virtual ~SocketProxy()
    {
        ::close(listening_);
        ::unlink(here_.sun_path);
    }

    void begin()
    {
        thread_ = std::thread([this] { serve(); });
    }
    void end()
    {
        ending_ = true;
        thread_.join();
    }
    bool ending() const { return ending_; }

    /// Gives the bytes of one session to its other end, until it is over.
    virtual void passAll(int client, int server) = 0;

    static bool send(int to, std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t wrote = ::send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (wrote <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(wrote));
        }
        return true;
    }

private:
    static sockaddr_un address(const std::filesystem::path& folder, int port)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = folder / (".s.PGSQL." + std::to_string(port));
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        return address;
    }
    void serve()
    {
        while (!ending_) {
            pollfd one{listening_, POLLIN, 0};
            if (::poll(&one, 1, 20) <= 0) continue;
            const int client = ::accept(listening_, nullptr, nullptr);
            const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
            if (client >= 0 && ::connect(server, reinterpret_cast<const sockaddr*>(&there_), sizeof there_) == 0)
                passAll(client, server);
            ::close(server);
            ::close(client);
        }
    }

    sockaddr_un here_;
    sockaddr_un there_;
    int listening_;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};
