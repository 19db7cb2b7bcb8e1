#pragma once

#include <atomic>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <poll.h>
#include <span>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>

/// A line to a server's socket that breaks behind a number of bytes, counted both ways together. It serves one session
/// after the other; only the next one that is let in after cutBehind() is cut.
class CuttingProxy {
public:
    /// Listens in `folder` as the server of that port would; the real one listens there as another.
    /// What the server says goes through `alter` first, in the pieces in which it comes.
    CuttingProxy(const std::filesystem::path& folder, int port, int realPort,
                 std::function<void(std::span<char>)> alter = {})
        : here_(address(folder, port)), there_(address(folder, realPort)), alter_(std::move(alter)),
          listening_(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        if (::bind(listening_, reinterpret_cast<const sockaddr*>(&here_), sizeof here_) != 0 ||
            ::listen(listening_, 4) != 0)
            throw std::runtime_error("the proxy cannot listen");
        thread_ = std::thread([this] { serve(); });
    }
    ~CuttingProxy()
    {
        ending_ = true;
        thread_.join();
        ::close(listening_);
        ::unlink(here_.sun_path);
    }
    CuttingProxy(const CuttingProxy&) = delete;
    CuttingProxy& operator=(const CuttingProxy&) = delete;

    void cutBehind(std::size_t bytes) { left_ = static_cast<long long>(bytes); }
    std::size_t passed() const { return passed_; }     ///< in the session that came last
    std::size_t sessions() const { return sessions_; } ///< begun so far
    int cuts() const { return cuts_; }

private:
    static constexpr long long unlimited = -1;

    static sockaddr_un address(const std::filesystem::path& folder, int port)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = folder / (".s.PGSQL." + std::to_string(port));
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        return address;
    }
    static bool readable(int socket, int milliseconds)
    {
        pollfd one{socket, POLLIN, 0};
        return ::poll(&one, 1, milliseconds) > 0;
    }
    void serve()
    {
        while (!ending_) {
            if (!readable(listening_, 20)) continue;
            const int client = ::accept(listening_, nullptr, nullptr);
            const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
            if (client >= 0 && ::connect(server, reinterpret_cast<const sockaddr*>(&there_), sizeof there_) == 0) {
                passed_ = 0;
                ++sessions_;
                while (!ending_ && pass(client, server)) continue;
            }
            ::close(server);
            ::close(client);
        }
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
            for (std::size_t given = 0; given < give;) {
                const ssize_t wrote = ::send(both[1 - from].fd, bytes + given, give - given, MSG_NOSIGNAL);
                if (wrote <= 0) return false;
                given += static_cast<std::size_t>(wrote);
            }
            passed_ += give;
            if (cut) {
                left_ = unlimited;
                ++cuts_;
                return false;
            }
            if (left != unlimited) left_ = left - got;
        }
        return true;
    }

    sockaddr_un here_;
    sockaddr_un there_;
    std::function<void(std::span<char>)> alter_;
    int listening_;
    std::atomic<bool> ending_ = false;
    std::atomic<long long> left_ = unlimited;
    std::atomic<std::size_t> passed_ = 0;
    std::atomic<std::size_t> sessions_ = 0;
    std::atomic<int> cuts_ = 0;
    std::thread thread_;
};
