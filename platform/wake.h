#pragma once

#include <atomic>
#include <chrono>

namespace platform {

/// Reaches a thread that waits for the server: there is something to do, or it is to end.
class Wake {
public:
    Wake();
    ~Wake();
    Wake(const Wake&) = delete;
    Wake& operator=(const Wake&) = delete;

    void up();  ///< from any thread: whoever waits for a notice, or for time to pass, stops waiting
    void end(); ///< from any thread: so does whoever waits for an answer, for good
    bool ending() const { return ending_; }

    void wait(std::chrono::milliseconds longest) const; ///< until end(), or until that time has passed
    int descriptor() const { return up_; }              ///< can be read after up(), until forget()
    int endDescriptor() const { return end_; }          ///< can be read after end()
    void forget();

private:
    int up_ = -1;
    int end_ = -1;
    std::atomic<bool> ending_ = false;
};

enum class SocketNeed { read, write, either };
enum class Woken { neither, socket, wake };

/// Waits until the socket can be read or written, as needed, or `wakeDescriptor` (-1: none) can be read, which counts
/// first; neither when the time has passed, and sometimes before.
Woken waitForSocket(int socket, SocketNeed need, int wakeDescriptor, std::chrono::milliseconds longest);

} // namespace platform
