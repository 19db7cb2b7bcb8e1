#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <deque>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

/// A line to a server's socket on which everything takes its time, each way. It serves one session after the other.
class DelayingProxy {
public:
    /// Listens in `folder` as the server of that port would; the real one listens there as another.
    DelayingProxy(const std::filesystem::path& folder, int port, int realPort, std::chrono::microseconds delay)
        : here_(address(folder, port)), there_(address(folder, realPort)), delay_(delay),
          listening_(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        if (::bind(listening_, reinterpret_cast<const sockaddr*>(&here_), sizeof here_) != 0 ||
            ::listen(listening_, 4) != 0)
            throw std::runtime_error("the proxy cannot listen");
        thread_ = std::thread([this] { serve(); });
    }
    ~DelayingProxy()
    {
        ending_ = true;
        thread_.join();
        ::close(listening_);
        ::unlink(here_.sun_path);
    }
    DelayingProxy(const DelayingProxy&) = delete;
    DelayingProxy& operator=(const DelayingProxy&) = delete;

private:
    using Clock = std::chrono::steady_clock;
    struct Piece {
        Clock::time_point due;
        std::string bytes;
    };

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
    void passAll(int client, int server)
    {
        const int ends[] = {client, server};
        std::deque<Piece> onTheWay[2]; // from the client, from the server
        while (!ending_) {
            const auto now = Clock::now();
            auto wait = std::chrono::nanoseconds(std::chrono::milliseconds(20));
            for (int from = 0; from < 2; ++from) {
                for (; !onTheWay[from].empty() && onTheWay[from].front().due <= now; onTheWay[from].pop_front())
                    if (!send(ends[1 - from], onTheWay[from].front().bytes)) return;
                if (!onTheWay[from].empty()) wait = std::min(wait, onTheWay[from].front().due - now);
            }
            pollfd both[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
            const timespec until{0, static_cast<long>(wait.count())};
            if (::ppoll(both, 2, &until, nullptr) <= 0) continue;
            for (int from = 0; from < 2; ++from) {
                if (both[from].revents == 0) continue;
                char bytes[65536];
                const ssize_t got = ::read(ends[from], bytes, sizeof bytes);
                if (got <= 0) return;
                onTheWay[from].push_back({Clock::now() + delay_, std::string(bytes, static_cast<std::size_t>(got))});
            }
        }
    }
    static bool send(int to, const std::string& bytes)
    {
        for (std::size_t given = 0; given < bytes.size();) {
            const ssize_t wrote = ::send(to, bytes.data() + given, bytes.size() - given, MSG_NOSIGNAL);
            if (wrote <= 0) return false;
            given += static_cast<std::size_t>(wrote);
        }
        return true;
    }

    sockaddr_un here_;
    sockaddr_un there_;
    std::chrono::microseconds delay_;
    int listening_;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};
