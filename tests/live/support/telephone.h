#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// What came back over one connection.
struct Answer {
    int status = 0;                             ///< 0: the connection was closed without an answer
    std::map<std::string, std::string> headers; ///< names in small letters
    std::string body;
    std::string whole; ///< every byte
};

/// One encrypted connection from an address of this machine, which trusts any certificate. What the other side does
/// not want is no failure: it shows in the answer.
class Connection {
public:
    Connection(int port, const std::string& from = "127.0.0.1");
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isOpen() const;
    /// False when the other side does not take it.
    bool send(std::string_view bytes);
    /// Agrees on new keys, which carries no word of a request. False when the other side does not take it.
    bool renewKeys();
    /// Everything up to the end of the connection.
    Answer answer(std::chrono::milliseconds patience = std::chrono::seconds(20));
    /// The bytes that come with one reading; empty at the end.
    std::string some();

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// A connection without encryption.
class BareSocket {
public:
    BareSocket(int port, const std::string& from = "127.0.0.1");
    ~BareSocket();
    BareSocket(const BareSocket&) = delete;
    BareSocket& operator=(const BareSocket&) = delete;

    bool send(std::string_view bytes) const;
    /// How long it takes until the other side closes; nothing when it does not in that time.
    std::optional<std::chrono::milliseconds> closedWithin(std::chrono::milliseconds patience) const;
    int handle() const { return handle_; }

private:
    int handle_;
};

/// "GET /path HTTP/1.1", the host, and what else is said.
std::string request(int port, const std::string& path, const std::string& headers = {},
                    const std::string& method = "GET");

/// Asks and reads the answer.
Answer ask(int port, const std::string& path, const std::string& headers = {}, const std::string& from = "127.0.0.1");
