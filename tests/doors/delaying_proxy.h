#pragma once

#include "tests/doors/socket_proxy.h"

#include <algorithm>
#include <chrono>
#include <deque>

/// A line to a server's socket on which everything takes its time, each way.
class DelayingProxy : public SocketProxy {
public:
    DelayingProxy(const std::filesystem::path& folder, int port, int realPort, std::chrono::microseconds delay)
        : SocketProxy(folder, port, realPort), delay_(delay)
    {
        begin();
    }
    ~DelayingProxy() override { end(); }

private:
    using Clock = std::chrono::steady_clock;
    struct Piece {
        Clock::time_point due;
        std::string bytes;
    };

    void passAll(int client, int server) override
    {
        const int ends[] = {client, server};
        std::deque<Piece> onTheWay[2]; // from the client, from the server
        while (!ending()) {
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

    std::chrono::microseconds delay_;
};
