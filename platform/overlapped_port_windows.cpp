#include "platform/overlapped_port.h"

#include <windows.h>

namespace platform {

namespace {

struct CloseObject {
    using pointer = HANDLE;
    void operator()(HANDLE object) const { ::CloseHandle(object); }
};
using Object = std::unique_ptr<void, CloseObject>;

/// The end of a read that is under way or has been cut off; false when it failed. `count` are the bytes it brought.
bool finish(HANDLE port, OVERLAPPED& read, DWORD& count) { return ::GetOverlappedResult(port, &read, &count, TRUE); }

void fill(DCB& state, const PortSettings& settings)
{
    state.DCBlength = sizeof state;
    state.BaudRate = static_cast<DWORD>(settings.speed);
    state.ByteSize = static_cast<BYTE>(settings.dataBits);
    state.StopBits = settings.stop == PortSettings::Stop::one          ? ONESTOPBIT
                     : settings.stop == PortSettings::Stop::oneAndHalf ? ONE5STOPBITS
                                                                       : TWOSTOPBITS;
    const std::string letters = "noems"; // in the order of the system's numbers
    state.Parity = static_cast<BYTE>(letters.find(settings.parity));
    state.fBinary = TRUE;
    state.fParity = settings.parity != 'n';
    // A disturbed byte is a byte like the others: what it is worth is decided by who reads the line.
    state.fErrorChar = FALSE;
    state.fNull = FALSE;
    state.fAbortOnError = FALSE;
    state.fOutX = state.fInX = settings.software;
    state.fOutxCtsFlow = settings.hardware;
    state.fOutxDsrFlow = FALSE;
    state.fDsrSensitivity = FALSE;
    // Some scales and adapters live on these two lines.
    state.fDtrControl = DTR_CONTROL_ENABLE;
    state.fRtsControl = settings.hardware ? RTS_CONTROL_HANDSHAKE : RTS_CONTROL_ENABLE;
}

PortFault faultOf(DWORD error)
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_DEVICE_NOT_CONNECTED: // pulled a moment ago: its name is taken back later
    case ERROR_INVALID_FUNCTION:     // the name is there, and leads to no serial port
        return PortFault::absent;
    case ERROR_ACCESS_DENIED: // a port is opened by one program at a time
    case ERROR_SHARING_VIOLATION:
        return PortFault::held;
    default:
        return PortFault::unavailable;
    }
}

} // namespace

struct OverlappedPort::Parts {
    Object port;
    Object arrived;
    OVERLAPPED read{};
    char byte = 0;       ///< what the read that is under way brings
    bool failed = false; ///< none is under way any more

    bool set(const PortSettings& settings) const
    {
        DCB state{};
        state.DCBlength = sizeof state;
        if (!::GetCommState(port.get(), &state)) return false;
        fill(state, settings);
        return ::SetCommState(port.get(), &state);
    }

    /// One byte is waited for: a longer read would wait for all of its bytes, or for a time. Whoever takes the byte
    /// gets the others that have come with it.
    void begin()
    {
        read = OVERLAPPED{};
        read.hEvent = arrived.get();
        // A read that is answered at once sets the event too.
        if (::ReadFile(port.get(), &byte, 1, nullptr, &read) || ::GetLastError() == ERROR_IO_PENDING) return;
        failed = true;
        ::SetEvent(arrived.get());
    }

    /// The bytes that have come behind the one that was waited for.
    bool takeWaiting(std::string& bytes)
    {
        DWORD errors = 0;
        COMSTAT state{};
        if (!::ClearCommError(port.get(), &errors, &state)) return false;
        if (state.cbInQue == 0) return true;
        std::string waiting(state.cbInQue, '\0');
        const Object done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        OVERLAPPED now{};
        now.hEvent = done.get();
        DWORD count = 0;
        if (!::ReadFile(port.get(), waiting.data(), state.cbInQue, nullptr, &now) &&
            ::GetLastError() != ERROR_IO_PENDING)
            return false;
        if (!finish(port.get(), now, count)) return false;
        bytes.append(waiting, 0, count);
        return true;
    }
};

OverlappedPort::OverlappedPort() : parts_(std::make_unique<Parts>()) {}

OverlappedPort::~OverlappedPort() { close(); }

std::optional<PortFault> OverlappedPort::open(const std::string& name, const PortSettings& settings)
{
    close();
    // Names from COM10 on are only understood with this in front of them; the others too.
    const std::string path = R"(\\.\)" + name;
    const HANDLE port = ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_OVERLAPPED, nullptr);
    if (port == INVALID_HANDLE_VALUE) return faultOf(::GetLastError());
    Parts opened;
    opened.port.reset(port);
    COMMTIMEOUTS never{}; // a read waits for its byte, however long
    if (!::SetCommTimeouts(port, &never)) return faultOf(::GetLastError());
    if (!opened.set(settings)) return PortFault::refused;
    ::PurgeComm(port, PURGE_RXCLEAR | PURGE_TXCLEAR);
    opened.arrived.reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!opened.arrived) return PortFault::unavailable;
    *parts_ = std::move(opened);
    parts_->begin();
    return std::nullopt;
}

bool OverlappedPort::apply(const PortSettings& settings) { return parts_->set(settings); }

void OverlappedPort::close()
{
    if (!isOpen()) return;
    if (!parts_->failed) {
        ::CancelIo(parts_->port.get());
        DWORD count = 0;
        finish(parts_->port.get(), parts_->read, count); // its memory is ours again only then
    }
    parts_ = std::make_unique<Parts>();
}

bool OverlappedPort::isOpen() const { return parts_->port != nullptr; }

OpenLine OverlappedPort::line() const { return parts_->port.get(); }

void* OverlappedPort::arrived() const { return parts_->arrived.get(); }

bool OverlappedPort::take(std::string& bytes)
{
    if (parts_->failed) return false;
    DWORD count = 0;
    if (!::GetOverlappedResult(parts_->port.get(), &parts_->read, &count, FALSE)) {
        if (::GetLastError() == ERROR_IO_INCOMPLETE) return true;
        parts_->failed = true;
        return false;
    }
    bytes.append(&parts_->byte, count);
    ::ResetEvent(parts_->arrived.get());
    // A read that waits for ever and yet ends without its byte has lost its port.
    if (count == 0 || !parts_->takeWaiting(bytes)) {
        parts_->failed = true;
        ::SetEvent(parts_->arrived.get());
        return false;
    }
    parts_->begin();
    return true;
}

int OverlappedPort::bytesToWrite() const
{
    DWORD errors = 0;
    COMSTAT state{};
    return ::ClearCommError(parts_->port.get(), &errors, &state) ? static_cast<int>(state.cbOutQue) : 0;
}

void OverlappedPort::discardOutput() { ::PurgeComm(parts_->port.get(), PURGE_TXABORT | PURGE_TXCLEAR); }

} // namespace platform
