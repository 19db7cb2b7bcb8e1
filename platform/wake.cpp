#include "platform/wake.h"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace platform {
namespace {

int newEvent()
{
    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return descriptor;
}

void set(int descriptor)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(descriptor, &one, sizeof one); // a full one can be read all the same
}

} // namespace

Wake::Wake() : up_(newEvent()), end_(newEvent()) {}

Wake::~Wake()
{
    ::close(up_);
    ::close(end_);
}

void Wake::up() { set(up_); }

void Wake::end()
{
    ending_ = true;
    set(up_);
    set(end_);
}

void Wake::wait(std::chrono::milliseconds longest) const
{
    pollfd ended{end_, POLLIN, 0};
    ::poll(&ended, 1, static_cast<int>(longest.count()));
}

void Wake::forget()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto got = ::read(up_, &count, sizeof count);
}

Woken waitForSocket(int socket, SocketNeed need, int wakeDescriptor, std::chrono::milliseconds longest)
{
    const int events = need == SocketNeed::read ? POLLIN : need == SocketNeed::write ? POLLOUT : POLLIN | POLLOUT;
    pollfd both[] = {{socket, static_cast<short>(events), 0}, {wakeDescriptor, POLLIN, 0}};
    if (::poll(both, 2, static_cast<int>(longest.count())) <= 0) return Woken::neither;
    return both[1].revents != 0 ? Woken::wake : Woken::socket;
}

} // namespace platform
