#include "platform/overlapped_port.h"

#include <windows.h>

namespace platform {

namespace {

struct CloseObject {
    using pointer = HANDLE;
    void operator()(HANDLE object) const { ::CloseHandle(object); }
};
using Object = std::unique_ptr<void, CloseObject>;

/// A read, with all that the system writes into until its end.
struct Read {
    explicit Read(std::size_t size) : done(::CreateEventW(nullptr, TRUE, FALSE, nullptr)), bytes(size, '\0') {}

    void prepare()
    {
        state = OVERLAPPED{};
        state.hEvent = done.get();
    }
    /// False if it failed at once.
    bool begin(HANDLE port)
    {
        prepare();
        // A read that is answered at once sets the event too.
        return ::ReadFile(port, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, &state) ||
               ::GetLastError() == ERROR_IO_PENDING;
    }

    OVERLAPPED state{};
    Object done;
    std::string bytes;
};

/// The end of a read, which is cut off after so many milliseconds; the bytes that it brought until then. Nothing if it
/// failed. `read` is empty afterwards if its driver does not give it up: then it stays as it is for good, for the
/// driver may still write into it, and to wait on would be the end of the whole counter.
std::optional<std::string> finish(HANDLE port, std::unique_ptr<Read>& read, DWORD patience)
{
    if (::WaitForSingleObject(read->done.get(), patience) != WAIT_OBJECT_0) {
        ::CancelIoEx(port, &read->state);
        if (::WaitForSingleObject(read->done.get(), patience) != WAIT_OBJECT_0) {
            static_cast<void>(read.release());
            return {};
        }
    }
    DWORD count = 0;
    const bool whole = ::GetOverlappedResult(port, &read->state, &count, FALSE);
    if (!whole && ::GetLastError() != ERROR_OPERATION_ABORTED) return {};
    return read->bytes.substr(0, count);
}

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
    // Fresh from its socket many an adapter has the same for both, which the system refuses whether they are used or
    // not.
    state.XonChar = 0x11;
    state.XoffChar = 0x13;
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
    std::unique_ptr<Read> next; ///< the read of one byte that is always under way
    bool failed = false;        ///< none is under way any more

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
        if (!next->begin(port.get())) fail();
    }

    void fail()
    {
        failed = true;
        ::SetEvent(next->done.get());
    }

    /// The bytes that have come behind the one that was waited for.
    bool takeWaiting(std::string& bytes) const
    {
        constexpr DWORD patience = 200; // milliseconds; they are there, unless their driver counts wrongly
        DWORD errors = 0;
        COMSTAT state{};
        if (!::ClearCommError(port.get(), &errors, &state)) return false;
        if (state.cbInQue == 0) return true;
        auto read = std::make_unique<Read>(state.cbInQue);
        if (!read->done || !read->begin(port.get())) return false;
        const std::optional<std::string> waiting = finish(port.get(), read, patience);
        if (waiting) bytes += *waiting;
        return waiting.has_value();
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
    opened.next = std::make_unique<Read>(1);
    if (!opened.next->done) return PortFault::unavailable;
    *parts_ = std::move(opened);
    parts_->begin();
    return std::nullopt;
}

bool OverlappedPort::apply(const PortSettings& settings) { return parts_->set(settings); }

void OverlappedPort::close()
{
    if (!isOpen()) return;
    if (!parts_->failed) {
        constexpr DWORD patience = 1000; // milliseconds
        ::CancelIo(parts_->port.get());
        finish(parts_->port.get(), parts_->next, patience);
        // Nor can the port be closed then without waiting for that read.
        if (!parts_->next) static_cast<void>(parts_->port.release());
    }
    parts_ = std::make_unique<Parts>();
}

bool OverlappedPort::isOpen() const { return parts_->port != nullptr; }

OpenLine OverlappedPort::line() const { return parts_->port.get(); }

void* OverlappedPort::arrived() const { return parts_->next ? parts_->next->done.get() : nullptr; }

bool OverlappedPort::take(std::string& bytes)
{
    if (parts_->failed) return false;
    DWORD count = 0;
    Read& read = *parts_->next;
    if (!::GetOverlappedResult(parts_->port.get(), &read.state, &count, FALSE)) {
        if (::GetLastError() == ERROR_IO_INCOMPLETE) return true;
        parts_->failed = true;
        return false;
    }
    bytes.append(read.bytes, 0, count);
    ::ResetEvent(read.done.get());
    // A read that waits for ever and yet ends without its byte has lost its port.
    if (count == 0 || !parts_->takeWaiting(bytes)) {
        parts_->fail();
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
