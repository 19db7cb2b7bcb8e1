#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace live {

/// How much one address may ask for. A telephone that shows the page asks twelve times a minute.
struct Limits {
    std::size_t connections = 6;  ///< at the same time
    std::size_t strangers = 64;   ///< connections at the same time of all addresses that have shown no key that counts
    std::size_t addresses = 4096; ///< remembered at once
    double atOnce = 40;           ///< requests that an address may have saved up
    double perSecond = 2;         ///< what it gets back of them
    double wrongKey = 8;          ///< a wrong invitation or key costs so many
};

/// Lets connections in, by address. However many strangers there are, telephones that are known are let in beside
/// them. Several threads may ask at once.
class Gate {
public:
    using Time = std::chrono::steady_clock::time_point;
    using Now = std::function<Time()>;

    explicit Gate(Limits limits = {}, Now now = std::chrono::steady_clock::now);

    /// A connection that was let in; it leaves with the object.
    class Visit {
    public:
        Visit(Gate& gate, std::string address, bool stranger)
            : gate_(gate), address_(std::move(address)), stranger_(stranger)
        {
        }
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

    private:
        Gate& gate_;
        const std::string address_;
        const bool stranger_;
    };

    /// Nothing where the address has asked for too much.
    std::unique_ptr<Visit> enter(const std::string& address);
    /// The address has brought a wrong invitation or key.
    void wrong(const std::string& address);
    /// The address has brought a key that counts; for a day it is no stranger.
    void known(const std::string& address);

private:
    struct Visitor {
        std::size_t connections = 0;
        double left = 0;           ///< requests; below nothing after wrong keys
        Time since;                ///< when `left` was true
        std::optional<Time> known; ///< when it brought a key that counts, last
    };
    void leave(const std::string& address, bool stranger);
    static bool isStranger(const Visitor& visitor, Time now);
    void settle(Visitor& visitor, Time now) const;
    bool makeRoom(Time now);

    const Limits limits_;
    const Now now_;
    std::mutex mutex_;
    std::map<std::string, Visitor> visitors_;
    std::size_t strangers_ = 0; ///< connections of theirs
};

} // namespace live
