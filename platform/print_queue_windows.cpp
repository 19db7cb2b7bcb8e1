#include "platform/print_queue.h"

#include <algorithm>
#include <utility>
#include <vector>
#include <windows.h>
#include <winspool.h>

// The spooler takes the PDF as it is: the printer, or the port monitor in front of it, has to understand PDF. The sheet
// is then the one that the PDF itself names.

namespace platform {

namespace {

// Commands of SetJob that not every header knows by name: keep a printed job listed; let it go again.
constexpr DWORD retainJob = 8;
constexpr DWORD releaseJob = 9;

std::wstring wide(const std::string& text)
{
    const int length = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring result(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), length);
    return result;
}

std::string narrow(const std::wstring& text)
{
    const int size = static_cast<int>(text.size());
    const int length = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(length), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, result.data(), length, nullptr, nullptr);
    return result;
}

[[noreturn]] void fail(const char* step)
{
    throw PrintError(std::string(step) + ": error " + std::to_string(::GetLastError()));
}

struct ClosePrinterHandle {
    using pointer = HANDLE;
    void operator()(HANDLE printer) const { ::ClosePrinter(printer); }
};
using Printer = std::unique_ptr<void, ClosePrinterHandle>;

struct DeleteContext {
    using pointer = HDC;
    void operator()(HDC context) const { ::DeleteDC(context); }
};
using Context = std::unique_ptr<HDC__, DeleteContext>;

Printer open(const std::wstring& queue)
{
    HANDLE printer = nullptr;
    std::wstring name = queue;
    ::OpenPrinterW(name.data(), &printer, nullptr);
    return Printer(printer);
}

/// Empty if there is none.
std::wstring defaultQueue()
{
    DWORD length = 0;
    ::GetDefaultPrinterW(nullptr, &length);
    if (length == 0) return {};
    std::wstring name(length, L'\0');
    if (!::GetDefaultPrinterW(name.data(), &length)) return {};
    name.resize(length - 1);
    return name;
}

QueueCondition conditionOf(const PRINTER_INFO_2W& info)
{
    const auto any = [&info](DWORD bits) { return (info.Status & bits) != 0; };
    if (any(PRINTER_STATUS_PENDING_DELETION)) return QueueCondition::rejecting;
    if (any(PRINTER_STATUS_PAUSED)) return QueueCondition::stopped;
    if (any(PRINTER_STATUS_PAPER_OUT | PRINTER_STATUS_PAPER_PROBLEM | PRINTER_STATUS_PAPER_JAM))
        return QueueCondition::mediaEmpty;
    if (any(PRINTER_STATUS_DOOR_OPEN)) return QueueCondition::coverOpen;
    if (any(PRINTER_STATUS_OFFLINE | PRINTER_STATUS_NOT_AVAILABLE | PRINTER_STATUS_ERROR))
        return QueueCondition::offline;
    if ((info.Attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE) != 0) return QueueCondition::offline;
    return QueueCondition::ready;
}

QueuePaper paperOf(const PRINTER_INFO_2W& info)
{
    QueuePaper paper;
    const Context context(::CreateICW(L"WINSPOOL", info.pPrinterName, nullptr, info.pDevMode));
    if (!context) return paper;
    const auto measure = [&context](int what, int dotsPerInch) {
        const int dots = ::GetDeviceCaps(context.get(), dotsPerInch);
        return dots > 0 ? ::MulDiv(::GetDeviceCaps(context.get(), what), 2540, dots) : 0;
    };
    paper.width = measure(PHYSICALWIDTH, LOGPIXELSX);
    paper.length = measure(PHYSICALHEIGHT, LOGPIXELSY);
    paper.left = measure(PHYSICALOFFSETX, LOGPIXELSX);
    paper.top = measure(PHYSICALOFFSETY, LOGPIXELSY);
    paper.right = std::max(0, paper.width - paper.left - measure(HORZRES, LOGPIXELSX));
    paper.bottom = std::max(0, paper.length - paper.top - measure(VERTRES, LOGPIXELSY));

    // Tenths of a millimetre, the width in the low word.
    const DWORD largest =
        ::DeviceCapabilitiesW(info.pPrinterName, info.pPortName, DC_MAXEXTENT, nullptr, info.pDevMode);
    const DWORD smallest =
        ::DeviceCapabilitiesW(info.pPrinterName, info.pPortName, DC_MINEXTENT, nullptr, info.pDevMode);
    constexpr DWORD unknown = static_cast<DWORD>(-1);
    if (largest != unknown && smallest != unknown && HIWORD(largest) * 10 > paper.length) {
        paper.minLength = HIWORD(smallest) * 10;
        paper.maxLength = HIWORD(largest) * 10;
        paper.maxWidth = std::max(paper.width, LOWORD(largest) * 10);
    }
    return paper;
}

class SpoolerQueue final : public PrintQueue {
public:
    explicit SpoolerQueue(PrintQueueChoice choice) : choice_(std::move(choice)) {}

    QueueState state() noexcept override
    {
        try {
            return findState();
        } catch (const std::exception&) {
            QueueState unreachable;
            unreachable.condition = QueueCondition::noScheduler;
            return unreachable;
        }
    }

    ~SpoolerQueue() override { letGoOfPrinted(); }

    int createJob(const JobTicket& ticket) override
    {
        letGoOfPrinted();
        printer_ = open(wide(ticket.queue));
        if (!printer_) fail("open printer");
        std::wstring title = wide(ticket.title);
        wchar_t type[] = L"RAW";
        DOC_INFO_1W document{title.data(), nullptr, type};
        job_ = ::StartDocPrinterW(printer_.get(), 1, reinterpret_cast<LPBYTE>(&document));
        if (job_ == 0) fail("create job");
        // A printed job leaves the list, and then nobody could tell any more that it was taken.
        if (!::SetJobW(printer_.get(), job_, 0, nullptr, retainJob)) {
            const DWORD code = ::GetLastError();
            cancelJob(static_cast<int>(job_));
            ::SetLastError(code);
            fail("keep job listed");
        }
        return static_cast<int>(job_);
    }

    void startDocument() override
    {
        if (!::StartPagePrinter(printer_.get())) fail("start document");
    }

    void write(std::span<const std::byte> bytes) override
    {
        while (!bytes.empty()) {
            DWORD written = 0;
            void* from = const_cast<std::byte*>(bytes.data()); // the call only reads
            if (!::WritePrinter(printer_.get(), from, static_cast<DWORD>(bytes.size()), &written) || written == 0)
                fail("send document");
            bytes = bytes.subspan(written);
        }
    }

    void finishDocument() override
    {
        if (!::EndPagePrinter(printer_.get()) || !::EndDocPrinter(printer_.get())) fail("finish document");
        printed_ = std::exchange(job_, 0);
    }

    void cancelJob(int job) noexcept override
    {
        if (printer_ && job_ != 0 && static_cast<DWORD>(job) == job_) {
            ::AbortPrinter(printer_.get());
            job_ = 0;
        }
        control(static_cast<DWORD>(job), JOB_CONTROL_DELETE);
    }

    DocumentState documentState(int job) noexcept override
    {
        try {
            const Printer printer = openQueue();
            if (!printer) return DocumentState::noAnswer;
            DWORD size = 0;
            ::GetJobW(printer.get(), static_cast<DWORD>(job), 1, nullptr, 0, &size);
            std::vector<BYTE> answer(size);
            if (size == 0 || !::GetJobW(printer.get(), static_cast<DWORD>(job), 1, answer.data(), size, &size)) {
                // That is how the spooler says that it knows no such job; it forgets each as soon as it is printed.
                return ::GetLastError() == ERROR_INVALID_PARAMETER ? DocumentState::unknown : DocumentState::noAnswer;
            }
            const DWORD status = reinterpret_cast<const JOB_INFO_1W*>(answer.data())->Status;
            const bool whole = (status & (JOB_STATUS_SPOOLING | JOB_STATUS_DELETING | JOB_STATUS_DELETED)) == 0;
            return whole ? DocumentState::taken : DocumentState::notTaken;
        } catch (const std::exception&) {
            return DocumentState::noAnswer;
        }
    }

private:
    std::wstring queueName() const { return choice_.queue.empty() ? defaultQueue() : wide(choice_.queue); }
    Printer openQueue() const { return open(queueName()); }

    /// Of a job of whatever process: on the queue itself, for the handle of the last job may be of another one.
    void control(DWORD job, DWORD command) const noexcept
    {
        try {
            if (const Printer printer = openQueue()) ::SetJobW(printer.get(), job, 0, nullptr, command);
        } catch (const std::exception&) {
            // Out of memory: the job stays listed, which harms nobody.
        }
    }

    /// Whoever goes on to the next job, or leaves, is done with the last one: it may leave the list.
    void letGoOfPrinted() noexcept
    {
        if (printed_ != 0) control(std::exchange(printed_, 0), releaseJob);
    }

    QueueState findState() const
    {
        QueueState result;
        const std::wstring name = queueName();
        result.queue = narrow(name);
        if (name.empty()) return result;
        const Printer printer = open(name);
        if (!printer) {
            const bool unknown = ::GetLastError() == ERROR_INVALID_PRINTER_NAME;
            result.condition = unknown ? QueueCondition::unknownQueue : QueueCondition::noScheduler;
            return result;
        }
        DWORD size = 0;
        ::GetPrinterW(printer.get(), 2, nullptr, 0, &size);
        std::vector<BYTE> answer(size);
        if (size == 0 || !::GetPrinterW(printer.get(), 2, answer.data(), size, &size)) fail("ask printer");
        const auto& info = *reinterpret_cast<const PRINTER_INFO_2W*>(answer.data());
        result.condition = conditionOf(info);
        result.printing = (info.Status & (PRINTER_STATUS_PRINTING | PRINTER_STATUS_BUSY)) != 0;
        result.paper = paperOf(info);
        return result;
    }

    PrintQueueChoice choice_;
    Printer printer_;   ///< of the job created last
    DWORD job_ = 0;     ///< until it is finished
    DWORD printed_ = 0; ///< finished, and kept in the queue's list
};

} // namespace

std::unique_ptr<PrintQueue> systemPrintQueue(const PrintQueueChoice& choice)
{
    return std::make_unique<SpoolerQueue>(choice);
}

} // namespace platform
