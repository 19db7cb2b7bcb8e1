#include "platform/print_queue.h"

#include "platform/paperless.h"
#include "platform/sheet.h"
#include "platform/spooled_job.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>
#include <windows.h>
#include <winspool.h>

// A job is drawn by the printer's own driver, on the paper that the driver has for it: any length where the driver
// takes one, else the nearest of its forms.

namespace platform {

namespace {

// Commands of SetJob that not every header knows by name: keep a printed job listed; let it go again.
constexpr DWORD retainJob = 8;
constexpr DWORD releaseJob = 9;
constexpr DWORD jobComplete = 0x1000;       // a status, of the same kind: sent to the printer whole
constexpr DWORD serverOffline = 0x02000000; // a status of a printer, of the same kind

/// Bytes, for what a spooler has to say more when it is asked the second time than the first.
constexpr DWORD roomToGrow = 16384;

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

struct DeleteObject {
    using pointer = HGDIOBJ;
    void operator()(HGDIOBJ object) const { ::DeleteObject(object); }
};
using Tool = std::unique_ptr<void, DeleteObject>; ///< a font or a pen

Printer open(const std::wstring& queue)
{
    HANDLE printer = nullptr;
    std::wstring name = queue;
    ::OpenPrinterW(name.data(), &printer, nullptr);
    return Printer(printer);
}

/// Empty if there is none; throws if the spooler does not say.
std::wstring defaultQueue()
{
    DWORD length = 0;
    ::GetDefaultPrinterW(nullptr, &length);
    std::wstring name(length, L'\0');
    if (length == 0 || !::GetDefaultPrinterW(name.data(), &length)) {
        if (::GetLastError() != ERROR_FILE_NOT_FOUND) fail("find default printer");
        // A spooler that has stopped may look like a computer without printers.
        HANDLE spooler = nullptr;
        if (!::OpenPrinterW(nullptr, &spooler, nullptr)) fail("ask spooler");
        const Printer close(spooler);
        return {};
    }
    name.resize(length - 1);
    return name;
}

std::string narrowed(const wchar_t* text) { return text ? narrow(text) : std::string(); }

bool isPaperless(const wchar_t* port, const wchar_t* driver, DWORD attributes)
{
    constexpr DWORD fax = 0x4000;
    const std::string ports = narrowed(port);
    const std::string name = narrowed(driver);
    return isPaperless(PrinterKind{.ports = ports, .driver = name, .fax = (attributes & fax) != 0});
}

/// Whether any printer of this user's prints on paper, be it switched off at the moment.
bool anyPrintsOnPaper()
{
    constexpr DWORD which = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
    DWORD size = 0;
    DWORD count = 0;
    // At this level no server of a shared printer is asked, which may be off.
    if (::EnumPrintersW(which, nullptr, 5, nullptr, 0, &size, &count)) return false;
    if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER) fail("list printers");
    std::vector<BYTE> answer(size);
    if (!::EnumPrintersW(which, nullptr, 5, answer.data(), size, &size, &count)) fail("list printers");
    const std::span printers(reinterpret_cast<const PRINTER_INFO_5W*>(answer.data()), count);
    return std::ranges::any_of(printers, [](const PRINTER_INFO_5W& one) {
        return !isPaperless(one.pPortName, one.pPrinterName, one.Attributes);
    });
}

/// Whether this user has that printer of another computer set up, which may be off just now.
bool isConnected(const std::wstring& queue)
{
    DWORD size = 0;
    DWORD count = 0;
    if (::EnumPrintersW(PRINTER_ENUM_CONNECTIONS, nullptr, 4, nullptr, 0, &size, &count)) return false;
    size += roomToGrow;
    std::vector<BYTE> answer(size);
    if (!::EnumPrintersW(PRINTER_ENUM_CONNECTIONS, nullptr, 4, answer.data(), size, &size, &count)) return true;
    const std::span printers(reinterpret_cast<const PRINTER_INFO_4W*>(answer.data()), count);
    return std::ranges::any_of(printers, [&queue](const PRINTER_INFO_4W& one) {
        return one.pPrinterName && ::lstrcmpiW(one.pPrinterName, queue.c_str()) == 0;
    });
}

/// What a printer without a job says of its paper, its cover and its line is what the last job left behind, or what a
/// network port made up that heard nothing for a while; only what somebody has set counts then.
QueueCondition conditionOf(const PRINTER_INFO_2W& info, bool hasWork)
{
    const auto any = [&info](DWORD bits) { return (info.Status & bits) != 0; };
    if (any(PRINTER_STATUS_PENDING_DELETION)) return QueueCondition::rejecting;
    if (any(PRINTER_STATUS_PAUSED)) return QueueCondition::stopped;
    if ((info.Attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE) != 0) return QueueCondition::offline;
    if (!hasWork) return QueueCondition::ready;
    if (any(PRINTER_STATUS_PAPER_OUT | PRINTER_STATUS_PAPER_PROBLEM | PRINTER_STATUS_PAPER_JAM))
        return QueueCondition::mediaEmpty;
    if (any(PRINTER_STATUS_DOOR_OPEN)) return QueueCondition::coverOpen;
    if (any(PRINTER_STATUS_USER_INTERVENTION | PRINTER_STATUS_OUTPUT_BIN_FULL)) return QueueCondition::attention;
    if (any(PRINTER_STATUS_OFFLINE | PRINTER_STATUS_NOT_AVAILABLE | PRINTER_STATUS_ERROR | serverOffline))
        return QueueCondition::offline;
    return QueueCondition::ready;
}

/// What a driver has a number for instead of a name.
constexpr const char* formPrefix = "form ";
constexpr const char* usualForm = "usual";

/// The forms of a driver that are as wide as that, shortest first.
std::vector<QueuePaper::Sheet> formsOf(const PRINTER_INFO_2W& info, const DEVMODEW* mode, int width)
{
    constexpr int sameWidth = 100; // a millimetre: drivers round
    const auto ask = [&info, mode](WORD what, void* answer) {
        return ::DeviceCapabilitiesW(info.pPrinterName, info.pPortName, what, static_cast<LPWSTR>(answer), mode);
    };
    const int count = ask(DC_PAPERS, nullptr);
    std::vector<QueuePaper::Sheet> forms;
    if (count <= 0 || ask(DC_PAPERSIZE, nullptr) != count) return forms;
    std::vector<WORD> numbers(static_cast<std::size_t>(count));
    std::vector<POINT> sizes(static_cast<std::size_t>(count)); // tenths of a millimetre
    ask(DC_PAPERS, numbers.data());
    ask(DC_PAPERSIZE, sizes.data());
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (std::abs(sizes[i].x * 10 - width) <= sameWidth)
            forms.push_back({formPrefix + std::to_string(numbers[i]), static_cast<int>(sizes[i].y) * 10});
    std::ranges::sort(forms, {}, &QueuePaper::Sheet::length);
    return forms;
}

/// How a driver is told what to print on; a DEVMODEW with what belongs to the driver behind it.
using DriverSettings = std::vector<BYTE>;

DEVMODEW& modeIn(DriverSettings& settings) { return *reinterpret_cast<DEVMODEW*>(settings.data()); }

/// Whether the driver agrees; what it made of the settings stands in them.
bool merge(HANDLE printer, std::wstring name, DriverSettings& settings)
{
    DriverSettings asked = settings;
    return ::DocumentPropertiesW(nullptr, printer, name.data(), &modeIn(settings), &modeIn(asked),
                                 DM_IN_BUFFER | DM_OUT_BUFFER) == IDOK;
}

int hundredths(HDC context, int what, int dotsPerInch)
{
    const int dots = ::GetDeviceCaps(context, dotsPerInch);
    return dots > 0 ? ::MulDiv(::GetDeviceCaps(context, what), 2540, dots) : 0;
}

SheetSize sheetOf(HDC context)
{
    return {hundredths(context, PHYSICALWIDTH, LOGPIXELSX), hundredths(context, PHYSICALHEIGHT, LOGPIXELSY)};
}

/// The sheet that a job with these settings gets; of no size where the driver does not say.
SheetSize sheetFor(const std::wstring& name, const DEVMODEW* mode)
{
    const Context context(::CreateICW(L"WINSPOOL", name.c_str(), nullptr, mode));
    return context ? sheetOf(context.get()) : SheetSize();
}

/// On one side, unscaled, one page to a sheet, and a roll never across: whatever the last letter was printed with.
/// How many copies, and what else the user has set up, stays.
void makePlain(HANDLE printer, const std::wstring& name, DriverSettings& settings)
{
    DriverSettings plain = settings;
    DEVMODEW& mode = modeIn(plain);
    const auto knows = [&mode](DWORD field) { return (mode.dmFields & field) != 0; };
    if (knows(DM_DUPLEX)) mode.dmDuplex = DMDUP_SIMPLEX;
    if (knows(DM_SCALE)) mode.dmScale = 100;
    if (knows(DM_NUP)) mode.dmNup = DMNUP_ONEUP;
    if (knows(DM_ORIENTATION) && mode.dmOrientation == DMORIENT_LANDSCAPE) {
        const SheetSize sheet = sheetFor(name, &modeIn(settings));
        if (sheet.length > 0 && sheet.length <= widestRoll) mode.dmOrientation = DMORIENT_PORTRAIT;
    }
    if (merge(printer, name, plain)) settings = std::move(plain);
}

/// The driver's own, as the user has set them up, made plain; empty where it does not say.
DriverSettings usualSettings(HANDLE printer, std::wstring name)
{
    const LONG size = ::DocumentPropertiesW(nullptr, printer, name.data(), nullptr, nullptr, 0);
    if (size < static_cast<LONG>(sizeof(DEVMODEW))) return {};
    DriverSettings settings(static_cast<std::size_t>(size));
    if (::DocumentPropertiesW(nullptr, printer, name.data(), &modeIn(settings), nullptr, DM_OUT_BUFFER) != IDOK)
        return {};
    makePlain(printer, name, settings);
    return settings;
}

/// `media` and sizes as in a JobTicket.
void choosePaper(HANDLE printer, const std::wstring& name, const JobTicket& ticket, DriverSettings& settings)
{
    if (settings.empty() || ticket.media == usualForm) return;
    DriverSettings chosen = settings;
    DEVMODEW& mode = modeIn(chosen);
    mode.dmFields &= ~static_cast<DWORD>(DM_FORMNAME | DM_PAPERWIDTH | DM_PAPERLENGTH);
    mode.dmFields |= DM_PAPERSIZE;
    if (ticket.media.starts_with(formPrefix)) {
        mode.dmPaperSize = static_cast<short>(std::stoi(ticket.media.substr(std::string_view(formPrefix).size())));
    } else {
        const int width = widthToAsk(ticket.width, sheetFor(name, &modeIn(settings)).width);
        mode.dmFields |= DM_PAPERWIDTH | DM_PAPERLENGTH;
        mode.dmPaperSize = DMPAPER_USER;
        mode.dmPaperWidth = static_cast<short>((width + 5) / 10);
        mode.dmPaperLength = static_cast<short>((ticket.length + 9) / 10);
    }
    if (merge(printer, name, chosen)) settings = std::move(chosen);
}

/// Throws if the driver has set up a smaller sheet than the page that is to be drawn: some make what they know of a
/// size that they do not.
void refuseSmallerSheet(HDC context, const JobTicket& ticket)
{
    const SheetSize sheet = sheetOf(context);
    if (sheet.width == 0 || sheet.length == 0 || holdsPage(sheet, {ticket.width, ticket.length})) return;
    char sizes[96];
    std::snprintf(sizes, sizeof sizes, "set paper: %.1f x %.1f mm instead of %.1f x %.1f mm", sheet.width / 100.0,
                  sheet.length / 100.0, ticket.width / 100.0, ticket.length / 100.0);
    throw PrintError(sizes);
}

/// Whether the driver really has a sheet of a length between those of `paper`, which it names as its shortest and
/// longest: some mean the forms that they know, and print any other length on one of these. Nothing if it does not say.
std::optional<bool> takesAnyLength(HANDLE printer, const std::wstring& name, const QueuePaper& paper)
{
    constexpr int close = 200; // the form that is set must not answer for the length that is asked for
    int length = paper.minLength + (paper.maxLength - paper.minLength) / 3;
    if (std::abs(length - paper.length) < close) length += 2 * close;
    DriverSettings settings = usualSettings(printer, name);
    if (settings.empty()) return {};
    JobTicket ticket;
    ticket.width = paper.width;
    ticket.length = length;
    choosePaper(printer, name, ticket, settings);
    const SheetSize sheet = sheetFor(name, &modeIn(settings));
    if (sheet.length == 0) return {};
    return std::abs(sheet.length - length) < close / 2;
}

/// Of the settings that a job begins with: what the administrator has set up may be another paper than the user's own.
QueuePaper paperOf(HANDLE printer, const PRINTER_INFO_2W& info)
{
    QueuePaper paper;
    paper.media = usualForm;
    DriverSettings settings = usualSettings(printer, info.pPrinterName);
    const DEVMODEW* const mode = settings.empty() ? info.pDevMode : &modeIn(settings);
    const Context context(::CreateICW(L"WINSPOOL", info.pPrinterName, nullptr, mode));
    if (!context) return paper;
    const auto measure = [&context](int what, int dotsPerInch) { return hundredths(context.get(), what, dotsPerInch); };
    const SheetSize sheet = sheetOf(context.get());
    paper.width = sheet.width;
    paper.length = sheet.length;
    paper.left = measure(PHYSICALOFFSETX, LOGPIXELSX);
    paper.top = measure(PHYSICALOFFSETY, LOGPIXELSY);
    paper.right = std::max(0, paper.width - paper.left - measure(HORZRES, LOGPIXELSX));
    paper.bottom = std::max(0, paper.length - paper.top - measure(VERTRES, LOGPIXELSY));

    // Tenths of a millimetre, the width in the low word.
    const DWORD largest = ::DeviceCapabilitiesW(info.pPrinterName, info.pPortName, DC_MAXEXTENT, nullptr, mode);
    const DWORD smallest = ::DeviceCapabilitiesW(info.pPrinterName, info.pPortName, DC_MINEXTENT, nullptr, mode);
    constexpr DWORD unknown = static_cast<DWORD>(-1);
    if (largest != unknown && smallest != unknown && HIWORD(largest) * 10 > paper.length) {
        paper.minLength = HIWORD(smallest) * 10;
        paper.maxLength = HIWORD(largest) * 10;
        paper.maxWidth = std::max(paper.width, LOWORD(largest) * 10);
    }
    paper.sheets = formsOf(info, mode, paper.width);
    return paper;
}

/// Twips from the edges of the sheet, as the dots of a printer.
class Dots {
public:
    explicit Dots(HDC printer)
        : across_(::GetDeviceCaps(printer, LOGPIXELSX)), down_(::GetDeviceCaps(printer, LOGPIXELSY)),
          left_(::GetDeviceCaps(printer, PHYSICALOFFSETX)), top_(::GetDeviceCaps(printer, PHYSICALOFFSETY))
    {
    }

    int across(double twips) const { return static_cast<int>(std::lround(twips * across_ / 1440)); }
    int down(double twips) const { return static_cast<int>(std::lround(twips * down_ / 1440)); }
    int x(double twips) const { return across(twips) - left_; }
    int y(double twips) const { return down(twips) - top_; }

private:
    int across_; ///< to the inch
    int down_;
    int left_; ///< what the printer does not reach
    int top_;
};

/// Whether the printer draws such a font in the face that it names.
bool isDrawnIn(HDC printer, const LOGFONTW& font)
{
    const Tool tool(::CreateFontIndirectW(&font));
    if (!tool) return false;
    const HGDIOBJ before = ::SelectObject(printer, tool.get());
    wchar_t face[LF_FACESIZE] = {};
    ::GetTextFaceW(printer, LF_FACESIZE, face);
    ::SelectObject(printer, before);
    return ::lstrcmpiW(face, font.lfFaceName) == 0;
}

/// The font in that printer's dots. Its letters get their places one by one, so only their shape is the driver's.
Tool fontFor(HDC printer, const DrawnFont& font, const Dots& dots)
{
    LOGFONTW wanted{};
    wanted.lfHeight = -dots.down(font.points * 20);
    wanted.lfWeight = font.bold ? FW_BOLD : FW_NORMAL;
    wanted.lfItalic = font.italic ? TRUE : FALSE;
    wanted.lfUnderline = font.underline ? TRUE : FALSE;
    wanted.lfCharSet = TURKISH_CHARSET;
    wanted.lfOutPrecision = OUT_TT_PRECIS;
    font.face.copy(reinterpret_cast<char16_t*>(wanted.lfFaceName), LF_FACESIZE - 1);
    if (!isDrawnIn(printer, wanted)) {
        // A face that does not say of itself that it has Turkish letters gives way to another one that does. It was
        // asked for its letters before: it has them.
        wanted.lfCharSet = DEFAULT_CHARSET;
        if (!isDrawnIn(printer, wanted)) wanted.lfCharSet = TURKISH_CHARSET;
    }
    Tool tool(::CreateFontIndirectW(&wanted));
    if (font.stretch == 100 || !tool) return tool;
    const HGDIOBJ before = ::SelectObject(printer, tool.get());
    TEXTMETRICW measures{};
    ::GetTextMetricsW(printer, &measures);
    ::SelectObject(printer, before);
    wanted.lfWidth = std::max<LONG>(1, ::MulDiv(measures.tmAveCharWidth, font.stretch, 100));
    return Tool(::CreateFontIndirectW(&wanted));
}

void drawText(HDC printer, const DrawnText& text, const Dots& dots)
{
    std::vector<INT> widths;
    int at = dots.x(text.x);
    for (const double end : text.ends) {
        const int next = dots.x(text.x + end);
        widths.push_back(next - at);
        at = next;
    }
    if (!::ExtTextOutW(printer, dots.x(text.x), dots.y(text.y), 0, nullptr,
                       reinterpret_cast<const wchar_t*>(text.text.data()), static_cast<UINT>(text.text.size()),
                       widths.data()))
        fail("draw text");
}

/// Nothing of ours may be selected when it is deleted, whether its page has come about or not.
class NothingSelectedAfterwards {
public:
    explicit NothingSelectedAfterwards(HDC printer) : printer_(printer) {}
    ~NothingSelectedAfterwards()
    {
        ::SelectObject(printer_, ::GetStockObject(SYSTEM_FONT));
        ::SelectObject(printer_, ::GetStockObject(BLACK_PEN));
    }
    NothingSelectedAfterwards(const NothingSelectedAfterwards&) = delete;
    NothingSelectedAfterwards& operator=(const NothingSelectedAfterwards&) = delete;

private:
    HDC printer_;
};

void drawPage(HDC printer, const DrawnPage& page, const std::vector<Tool>& fonts, HGDIOBJ pen, const Dots& dots)
{
    const NothingSelectedAfterwards guard(printer);
    // All of it is forgotten by a driver at the end of a page.
    ::SetBkMode(printer, TRANSPARENT);
    ::SetTextAlign(printer, TA_LEFT | TA_BASELINE);
    for (const DrawnText& text : page.texts) {
        if (text.text.empty()) continue;
        ::SelectObject(printer, fonts.at(text.font).get());
        drawText(printer, text, dots);
    }
    ::SelectObject(printer, pen);
    for (const DrawnLine& line : page.lines)
        if (!::MoveToEx(printer, dots.x(line.x1), dots.y(line.y1), nullptr) ||
            !::LineTo(printer, dots.x(line.x2), dots.y(line.y2)))
            fail("draw line");
}

/// Whole hours from a moment of the system's own clock, which knows no summer time, to now; 0 for one to come.
int hoursSince(const SYSTEMTIME& moment)
{
    constexpr std::uint64_t hour = 36'000'000'000; // hundreds of nanoseconds
    const auto ticks = [](const FILETIME& time) {
        return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
    };
    FILETIME then{};
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    if (!::SystemTimeToFileTime(&moment, &then) || ticks(then) > ticks(now)) return 0;
    return static_cast<int>(std::min<std::uint64_t>((ticks(now) - ticks(then)) / hour, 1'000'000));
}

/// Whether this user sent it from this computer.
bool isFromHere(const JOB_INFO_1W& info)
{
    wchar_t user[257];
    wchar_t computer[257];
    DWORD userLength = static_cast<DWORD>(std::size(user));
    DWORD computerLength = static_cast<DWORD>(std::size(computer));
    if (!info.pUserName || !info.pMachineName || !::GetUserNameW(user, &userLength) ||
        !::GetComputerNameW(computer, &computerLength))
        return false;
    std::wstring_view machine = info.pMachineName;
    machine.remove_prefix(std::min(machine.find_first_not_of(L'\\'), machine.size()));
    return ::lstrcmpiW(info.pUserName, user) == 0 && ::lstrcmpiW(std::wstring(machine).c_str(), computer) == 0;
}

SpooledJob jobIn(const JOB_INFO_1W& info)
{
    const auto any = [&info](DWORD bits) { return (info.Status & bits) != 0; };
    SpooledJob result;
    result.document = narrowed(info.pDocument);
    result.spooling = any(JOB_STATUS_SPOOLING);
    result.leaving = any(JOB_STATUS_DELETING | JOB_STATUS_DELETED);
    result.onPaper = any(JOB_STATUS_PRINTING | JOB_STATUS_PRINTED | jobComplete) || info.PagesPrinted > 0;
    result.finished = any(JOB_STATUS_PRINTED | jobComplete);
    result.fromHere = isFromHere(info);
    result.hours = hoursSince(info.Submitted);
    return result;
}

/// What the spooler says of a job, a JOB_INFO_1W. Where it does not list it, nothing, and why stands in GetLastError.
std::vector<BYTE> answerAbout(HANDLE printer, DWORD job)
{
    DWORD size = 0;
    ::SetLastError(ERROR_SUCCESS);
    ::GetJobW(printer, job, 1, nullptr, 0, &size);
    if (size > 0) size += roomToGrow;
    std::vector<BYTE> answer(size);
    if (size == 0 || !::GetJobW(printer, job, 1, answer.data(), size, &size)) return {};
    return answer;
}

/// A job as the spooler lists it; otherwise as answerAbout().
std::optional<SpooledJob> listedJob(HANDLE printer, DWORD job)
{
    const std::vector<BYTE> answer = answerAbout(printer, job);
    if (answer.empty()) return {};
    return jobIn(*reinterpret_cast<const JOB_INFO_1W*>(answer.data()));
}

/// All jobs of a printer by their numbers. Nothing where the spooler does not say.
std::optional<std::map<DWORD, SpooledJob>> listedJobs(HANDLE printer)
{
    constexpr DWORD all = 0xFFFFFFFF;
    DWORD size = 0;
    DWORD count = 0;
    std::map<DWORD, SpooledJob> jobs;
    if (::EnumJobsW(printer, 0, all, 1, nullptr, 0, &size, &count)) return jobs;
    if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER) return {};
    size += roomToGrow;
    std::vector<BYTE> answer(size);
    if (!::EnumJobsW(printer, 0, all, 1, answer.data(), size, &size, &count)) return {};
    for (const JOB_INFO_1W& info : std::span(reinterpret_cast<const JOB_INFO_1W*>(answer.data()), count))
        jobs[info.JobId] = jobIn(info);
    return jobs;
}

/// Gives the job the name of a document that has been handed over. A spooler that does not let it: then a later start
/// does not know either, and the operator is asked.
void nameWhole(HANDLE printer, DWORD job, const JobMark& mark)
{
    std::vector<BYTE> answer = answerAbout(printer, job);
    if (answer.empty()) return;
    auto& info = *reinterpret_cast<JOB_INFO_1W*>(answer.data());
    if (narrowed(info.pDocument) != mark.document) return;
    std::wstring name = wide(nameOfWhole(mark));
    info.pDocument = name.data();
    info.Position = JOB_POSITION_UNSPECIFIED;
    ::SetJobW(printer, job, 1, answer.data(), 0);
}

/// A name that no other document has: its title and the moment.
std::string documentName(const std::string& title)
{
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    char moment[64];
    std::snprintf(moment, sizeof moment, " %04d-%02d-%02d %02d:%02d:%02d.%03d", now.wYear, now.wMonth, now.wDay,
                  now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
    return title.empty() ? std::string(moment + 1) : title + moment;
}

class SpoolerQueue final : public PrintQueue {
public:
    explicit SpoolerQueue(PrintQueueChoice choice) : choice_(std::move(choice))
    {
        // A printer whose computer is off may take a minute to say so. Over a window that waits that long the system
        // lays another, which offers to end the program: in the middle of a slip.
        ::DisableProcessWindowsGhosting();
    }
    ~SpoolerQueue() override { abandon(); }

    QueueState state() noexcept override
    {
        try {
            return findState();
        } catch (const std::exception&) {
            QueueState unreachable;
            unreachable.condition = QueueCondition::schedulerStopped;
            return unreachable;
        }
    }

    int createJob(const JobTicket& ticket) override
    {
        abandon();
        const std::wstring name = wide(ticket.queue);
        printer_ = open(name);
        if (!printer_) fail("open printer");
        DriverSettings settings = usualSettings(printer_.get(), name);
        choosePaper(printer_.get(), name, ticket, settings);
        context_.reset(::CreateDCW(L"WINSPOOL", name.c_str(), nullptr, settings.empty() ? nullptr : &modeIn(settings)));
        if (!context_) fail("open driver");
        refuseSmallerSheet(context_.get(), ticket);
        const JobMark mark{ticket.queue, documentName(ticket.title)};
        const std::wstring documentsName = wide(mark.document);
        DOCINFOW document{};
        document.cbSize = sizeof document;
        document.lpszDocName = documentsName.c_str();
        const int job = ::StartDocW(context_.get(), &document);
        if (job <= 0) fail("create job");
        job_ = static_cast<DWORD>(job);
        mayBeOnPaper_ = false;
        marks_[job_] = mark;
        // A printed job leaves the list, and then nobody could tell any more that it was taken. Not every spooler keeps
        // it; then nobody can tell, and the operator is asked.
        ::SetJobW(printer_.get(), job_, 0, nullptr, retainJob);
        return job;
    }

    void startDocument() override
    {
        if (job_ == 0) throw PrintError("start document: no job");
    }

    bool drawsPages() const override { return true; }
    void write(std::span<const std::byte>) override { throw PrintError("this print system draws documents"); }

    void draw(const Drawing& drawing) override
    {
        const HDC printer = context_.get();
        const Dots dots(printer);
        std::vector<Tool> fonts;
        for (const DrawnFont& font : drawing.fonts) fonts.push_back(fontFor(printer, font, dots));
        const Tool pen(::CreatePen(PS_SOLID, std::max(1, dots.across(drawing.lineWidth)), RGB(0, 0, 0)));
        for (const DrawnPage& page : drawing.pages) {
            if (::StartPage(printer) <= 0) fail("start page");
            drawPage(printer, page, fonts, pen.get(), dots);
            mayBeOnPaper_ = true; // a spooler need not wait for the whole document
            if (::EndPage(printer) <= 0) fail("finish page");
        }
    }

    void finishDocument() override
    {
        if (::EndDoc(context_.get()) <= 0) fail("finish document");
        const DWORD job = std::exchange(job_, 0);
        context_.reset();
        try {
            nameWhole(printer_.get(), job, marks_[job]);
        } catch (const std::exception&) {
            // Out of memory: the document is handed over all the same.
        }
    }

    void cancelJob(int job) noexcept override
    {
        if (isOpen(job)) abandon();
        control(static_cast<DWORD>(job), JOB_CONTROL_DELETE);
    }

    DocumentState documentState(int job) noexcept override
    {
        if (isOpen(job) && !mayBeOnPaper_) return DocumentState::notTaken;
        try {
            const auto mark = marks_.find(static_cast<DWORD>(job));
            if (mark == marks_.end()) return DocumentState::unknown;
            const Printer printer = open(wide(mark->second.queue));
            if (!printer) {
                const bool isGone =
                    ::GetLastError() == ERROR_INVALID_PRINTER_NAME && !isConnected(wide(mark->second.queue));
                return isGone ? DocumentState::unknown : DocumentState::noAnswer;
            }
            const std::optional<SpooledJob> listed = listedJob(printer.get(), mark->first);
            if (!listed) {
                // That is how spoolers say that they know no such job, the second by saying nothing at all; they forget
                // each as soon as it is printed.
                const DWORD error = ::GetLastError();
                return error == ERROR_INVALID_PARAMETER || error == ERROR_SUCCESS ? DocumentState::unknown
                                                                                  : DocumentState::noAnswer;
            }
            const DocumentState state = documentStateOf(*listed, mark->second);
            // Not every spooler says of a job that it is still being drawn.
            return isOpen(job) && state == DocumentState::taken ? DocumentState::unknown : state;
        } catch (const std::exception&) {
            return DocumentState::noAnswer;
        }
    }

    std::string markOf(int job) const override
    {
        const auto mark = marks_.find(static_cast<DWORD>(job));
        return mark == marks_.end() ? std::string() : textOf(mark->second);
    }

    std::string queueOf(int job) const override
    {
        const auto mark = marks_.find(static_cast<DWORD>(job));
        return mark == marks_.end() ? std::string() : mark->second.queue;
    }

    void recall(int job, const std::string& mark) override
    {
        if (const std::optional<JobMark> known = markIn(mark)) marks_[static_cast<DWORD>(job)] = *known;
    }

    void settle(int job) noexcept override
    {
        if (auto mark = marks_.extract(static_cast<DWORD>(job))) settled_.insert(std::move(mark));
    }

private:
    std::wstring queueName() const { return choice_.queue.empty() ? defaultQueue() : wide(choice_.queue); }

    /// Begun here, and its document not taken yet.
    bool isOpen(int job) const { return job_ != 0 && static_cast<DWORD>(job) == job_; }

    /// Of a job of whatever process, where the number still means that job: on its own queue, whichever is the default
    /// by now.
    void control(DWORD job, DWORD command) const noexcept
    {
        try {
            const auto mark = marks_.find(job);
            if (mark == marks_.end()) return;
            const Printer printer = open(wide(mark->second.queue));
            if (!printer) return;
            const std::optional<SpooledJob> listed = listedJob(printer.get(), job);
            if (listed && isOurs(*listed, mark->second)) ::SetJobW(printer.get(), job, 0, nullptr, command);
        } catch (const std::exception&) {
            // Out of memory: the job stays listed, which harms nobody.
        }
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
            result.condition = unknown ? QueueCondition::unknownQueue : QueueCondition::schedulerStopped;
            return result;
        }
        DWORD size = 0;
        ::GetPrinterW(printer.get(), 2, nullptr, 0, &size);
        if (size > 0) size += roomToGrow;
        std::vector<BYTE> answer(size);
        if (size == 0 || !::GetPrinterW(printer.get(), 2, answer.data(), size, &size)) fail("ask printer");
        const auto& info = *reinterpret_cast<const PRINTER_INFO_2W*>(answer.data());
        if (choice_.queue.empty() && isPaperless(info.pPortName, info.pDriverName, info.Attributes)) {
            if (anyPrintsOnPaper()) result.condition = QueueCondition::paperless;
            return result;
        }
        result.condition = conditionOf(info, info.cJobs > 0 && hasWork(printer.get(), result.queue));
        result.printing = (info.Status & (PRINTER_STATUS_PRINTING | PRINTER_STATUS_BUSY)) != 0;
        result.paper = paperOf(printer.get(), info);
        if (result.paper.maxLength > 0 && !takesAnyLength(printer.get(), info, result.paper))
            result.paper.minLength = result.paper.maxLength = result.paper.maxWidth = 0;
        return result;
    }

    /// Whether a job waits there; what has been printed and was kept for our sake leaves the list.
    bool hasWork(HANDLE printer, const std::string& queue) const
    {
        const auto jobs = listedJobs(printer);
        if (!jobs) return true;
        bool any = false;
        int left = 50; // of a list that the printer keeps for itself as well
        for (const auto& [number, job] : *jobs) {
            any = any || waits(job);
            const auto asked = marks_.find(number);
            if (asked != marks_.end() && isOurs(job, asked->second)) continue;
            const bool settled = std::ranges::any_of(
                settled_, [&](const auto& known) { return known.second.queue == queue && isOurs(job, known.second); });
            if (!mayLeaveTheList(job, settled) || left == 0 || !released_.insert(job.document).second) continue;
            ::SetJobW(printer, number, 0, nullptr, releaseJob);
            --left;
        }
        // What is not listed any more has left by itself.
        std::erase_if(settled_, [&](const auto& known) {
            const auto isListed = [&known](const auto& job) { return isOurs(job.second, known.second); };
            return known.second.queue == queue && std::ranges::none_of(*jobs, isListed);
        });
        return any;
    }

    /// Takes back the document that is being drawn. Closed without a word, the spooler would print what it has of it.
    void abandon() noexcept
    {
        if (job_ == 0) return;
        ::AbortDoc(context_.get());
        context_.reset();
        job_ = 0;
    }

    /// Asked once of each driver: some take their time to answer.
    bool takesAnyLength(HANDLE printer, const PRINTER_INFO_2W& info, const QueuePaper& paper) const
    {
        const std::wstring driver =
            std::wstring(info.pPrinterName) + L'\n' + (info.pDriverName ? info.pDriverName : L"");
        const auto known = anyLength_.find(driver);
        if (known != anyLength_.end()) return known->second;
        const std::optional<bool> answer = platform::takesAnyLength(printer, info.pPrinterName, paper);
        if (answer) anyLength_[driver] = *answer;
        return answer.value_or(false);
    }

    mutable std::map<std::wstring, bool> anyLength_;
    PrintQueueChoice choice_;
    std::map<DWORD, JobMark> marks_; ///< of the jobs that may still be asked about
    /// Of the others, until they have been printed and left the list.
    mutable std::multimap<DWORD, JobMark> settled_;
    mutable std::set<std::string> released_; ///< documents: each once, should it stay listed all the same
    Printer printer_;                        ///< of the job created last
    Context context_;                        ///< of it, until it is finished
    DWORD job_ = 0;                          ///< until it is finished
    bool mayBeOnPaper_ = false;              ///< a page of it
};

} // namespace

std::unique_ptr<PrintQueue> systemPrintQueue(const PrintQueueChoice& choice)
{
    return std::make_unique<SpoolerQueue>(choice);
}

} // namespace platform
