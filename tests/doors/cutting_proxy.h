#pragma once

#include "tests/doors/socket_proxy.h"

#include <cstddef>
#include <functional>
#include <span>
#include <utility>

/// A line to a server's socket that breaks behind a number of bytes, counted both ways together; only the next session
/// that is let in after cutBehind() is cut.
class CuttingProxy : public SocketProxy {
public:
    /// What the server says goes through `alter` first, in the pieces in which it comes.
    CuttingProxy(const std::filesystem::path& folder, int port, int realPort,
                 std::function<void(std::span<char>)> alter = {})
        : SocketProxy(folder, port, realPort), alter_(std::move(alter))
    {
        begin();
    }
    ~CuttingProxy() override { end(); }

    /// `first` is done when the bytes are over, by the proxy's thread, before the session ends.
    void cutBehind(std::size_t bytes, std::function<void()> first = {})
    {
        beforeCut_ = std::move(first);
        left_ = static_cast<long long>(bytes);
    }
    std::size_t passed() const { return passed_; }     ///< in the session that came last
    std::size_t sessions() const { return sessions_; } ///< begun so far
    int cuts() const { return cuts_; }

private:
    static constexpr long long unlimited = -1;

    void passAll(int client, int server) override
    {
        passed_ = 0;
        ++sessions_;
        while (!ending() && pass(client, server)) continue;
    }
    /// False when the session is over.
    bool pass(int client, int server)
    {
        pollfd both[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
        if (::poll(both, 2, 20) <= 0) return true;
        for (int from = 0; from < 2; ++from) {
            if (both[from].revents == 0) continue;
            char bytes[65536];
            const ssize_t got = ::read(both[from].fd, bytes, sizeof bytes);
            if (got <= 0) return false;
            if (from == 1 && alter_) alter_({bytes, static_cast<std::size_t>(got)});
            const long long left = left_;
            const bool cut = left != unlimited && got >= left;
            const auto give = static_cast<std::size_t>(cut ? left : got);
            if (!send(both[1 - from].fd, {bytes, give})) return false;
            passed_ += give;
            if (cut) {
                left_ = unlimited;
                if (beforeCut_) beforeCut_();
                ++cuts_;
                return false;
            }
            if (left != unlimited) left_ = left - got;
        }
        return true;
    }

    std::function<void(std::span<char>)> alter_;
    std::function<void()> beforeCut_;
    std::atomic<long long> left_ = unlimited;
    std::atomic<std::size_t> passed_ = 0;
    std::atomic<std::size_t> sessions_ = 0;
    std::atomic<int> cuts_ = 0;
};
