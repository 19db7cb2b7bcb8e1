#pragma once

#include "files/error.h"
#include "platform/wake.h"
#include "store/postgres/server_settings.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace postgres {

/// A failure of the server or of the line to it: a sentence for people, and, for whoever sets the server up, what it
/// said itself. what() gives both.
class ServerError : public files::Error {
public:
    explicit ServerError(const std::string& sentence, const std::string& detail = {})
        : files::Error(files::Fault::server, detail.empty() ? sentence : sentence + " (" + detail + ")"),
          sentence_(sentence)
    {
    }
    const std::string& sentence() const { return sentence_; }

private:
    std::string sentence_;
};

/// How long somebody waits. A line that is dead says nothing: only time tells it from a slow one.
struct Patience {
    std::chrono::milliseconds opening{5000};  ///< until the server has let us in
    std::chrono::milliseconds silence{30000}; ///< of the server, while an answer is awaited
};

using Parameter = std::optional<std::string>; ///< nothing is Null
using ServerRow = std::vector<std::optional<std::string>>;

/// One session with a server, for one thread. Nothing waits longer than its Patience; a line over which an answer did
/// not come in time is closed, and every later call throws.
///
/// Values travel beside the statement, never in it. Failures are ServerError.
class Connection {
public:
    /// As `user`, or as the settings say. Throws also for a server that is too old, or whose texts are not UTF-8.
    /// `wake`, which outlives the session, ends its waiting: whatever waits then throws.
    Connection(const ServerSettings& settings, const std::string& user = {}, Patience patience = {},
               platform::Wake* wake = nullptr);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// One statement with $1, $2 ... The rows are all in memory afterwards: for small answers.
    std::vector<ServerRow> ask(const char* statement, std::span<const Parameter> parameters = {});
    std::vector<ServerRow> ask(const char* statement, std::initializer_list<Parameter> parameters)
    {
        return ask(statement, std::span(parameters.begin(), parameters.size()));
    }
    /// Statements without values, as they stand in a text.
    void run(const std::string& statements);

    /// Waits until the server tells something on a channel that this session listens to, until the wake is up, or until
    /// that time has passed.
    void waitForNotice(std::chrono::milliseconds longest);

    /// COPY ... FROM STDIN: `next` gives line after line, without its end, until it gives none.
    void copyIn(const char* statement, const std::function<std::optional<std::string>()>& next);
    /// COPY ... TO STDOUT: `each` gets line after line, without its end.
    void copyOut(const char* statement, const std::function<void(std::string_view)>& each);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Everything until commit() is one change on the server; leaving without takes it back.
class ServerTransaction {
public:
    explicit ServerTransaction(Connection& connection, const char* begin = "begin");
    ~ServerTransaction();
    ServerTransaction(const ServerTransaction&) = delete;
    ServerTransaction& operator=(const ServerTransaction&) = delete;
    /// Throws when the server has not said that it did; then it may have, or not.
    void commit();

private:
    Connection& connection_;
    bool open_ = true;
};

} // namespace postgres
