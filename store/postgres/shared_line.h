#pragma once

#include "store/postgres/server_settings.h"
#include "store/postgres/shared_tables.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace postgres {

/// A line of a register's history, as the counters follow it.
struct HistoryLine {
    std::int64_t number = 0;
    std::string mark;     ///< when it was written
    std::string identity; ///< of the change that wrote it; empty: no counter brought it
    std::string table;    ///< cari, hareket; is: a change of a counter ends here
    std::string before;   ///< the row as JSON, empty where it is new; of a change that was done before: the change
    std::string after;    ///< empty where it is gone; of a change that was done before: its customer's row
};

/// A change as presva.islet takes it.
struct WaitingChange {
    std::string identity;
    std::string json;
};

/// What has come since it was asked last, and how the line stands.
struct News {
    std::vector<HistoryLine> lines; ///< in the order of the history
    bool connected = false;
    std::string why;   ///< not connected, or a change that the server refuses: a sentence for people
    std::string clock; ///< what is to be said of the two clocks; empty: they agree
};

/// The line between one counter and the server of its register, in a thread of its own. It brings the counter's changes
/// there, in their order and again until the history says that they are done, and reads the history on. Nobody waits
/// for it; a line that is lost comes back by itself. Whatever the moment of a cut, a change is done once: the server
/// knows it by its identity.
class SharedLine {
public:
    /// Goes on behind `from`. `onNews` is called in the line's thread whenever take() has something new to give.
    SharedLine(ServerSettings settings, Place from, std::vector<WaitingChange> waiting, std::function<void()> onNews);
    ~SharedLine(); ///< what waits still, waits in the file
    SharedLine(const SharedLine&) = delete;
    SharedLine& operator=(const SharedLine&) = delete;

    void bring(const std::vector<WaitingChange>& changes);
    News take();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace postgres
