#include "platform/print_queue.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cups/cups.h>
#include <cups/pwg.h>
#include <iterator>
#include <string_view>
#include <utility>

namespace platform {

namespace {

constexpr int connectMilliseconds = 3000;
constexpr double answerSeconds = 3;

/// Returning "no" makes the library give the connection up instead of waiting on. It tries once more on a new
/// connection; that one gets no time of its own.
int giveUp(http_t* connection, void*)
{
    httpSetTimeout(connection, 0.05, giveUp, nullptr);
    return 0;
}

struct CloseHttp {
    void operator()(http_t* http) const { httpClose(http); }
};
using Connection = std::unique_ptr<http_t, CloseHttp>;

struct DeleteIpp {
    void operator()(ipp_t* ipp) const { ippDelete(ipp); }
};
using Message = std::unique_ptr<ipp_t, DeleteIpp>;

struct FreeDest {
    void operator()(cups_dest_t* dest) const { cupsFreeDests(1, dest); }
};
using Destination = std::unique_ptr<cups_dest_t, FreeDest>;

class Options {
public:
    Options() = default;
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;
    ~Options() { cupsFreeOptions(count_, options_); }
    void set(const char* name, const std::string& value)
    {
        count_ = cupsAddOption(name, value.c_str(), count_, &options_);
    }
    int count() const { return count_; }
    cups_option_t* data() const { return options_; }

private:
    int count_ = 0;
    cups_option_t* options_ = nullptr;
};

/// A queue's default options may ask for what would spoil a page that was composed for its paper.
bool changesThePage(std::string_view option)
{
    static constexpr std::array<std::string_view, 22> names = {
        "PageSize",    "PageRegion",  "media",           "media-col",     "fit-to-page", "fitplot",
        "fill",        "scaling",     "natural-scaling", "print-scaling", "landscape",   "orientation-requested",
        "number-up",   "page-ranges", "page-set",        "page-left",     "page-right",  "page-top",
        "page-bottom", "sides",       "Duplex",          "mirror"};
    return std::ranges::find(names, option) != names.end();
}

std::string textOf(ipp_t* answer, const char* name, ipp_tag_t tag)
{
    ipp_attribute_t* attribute = ippFindAttribute(answer, name, tag);
    const char* text = attribute ? ippGetString(attribute, 0, nullptr) : nullptr;
    return text ? text : "";
}

int numberOf(ipp_t* collection, const char* name)
{
    ipp_attribute_t* attribute = ippFindAttribute(collection, name, IPP_TAG_INTEGER);
    return attribute ? ippGetInteger(attribute, 0) : 0;
}

/// A printer that stands still, or stands in the middle of a job, and says one of these would let the job wait, and
/// print it when nobody expects it. An idle one is ready: what it says then is what its last job left behind. The
/// severity behind the word is not looked at: drivers report an empty roll as error, warning and report alike.
QueueCondition conditionOf(ipp_t* answer)
{
    struct Reason {
        std::string_view word;
        QueueCondition condition;
    };
    static constexpr std::array<Reason, 7> reasons = {{
        {"media-empty", QueueCondition::mediaEmpty},
        {"media-needed", QueueCondition::mediaEmpty},
        {"cover-open", QueueCondition::coverOpen},
        {"door-open", QueueCondition::coverOpen},
        {"interlock-open", QueueCondition::coverOpen},
        {"offline", QueueCondition::offline},
        {"shutdown", QueueCondition::offline},
    }};
    const auto startsWithWord = [](std::string_view text, std::string_view word) {
        return text.starts_with(word) && (text.size() == word.size() || text[word.size()] == '-');
    };

    ipp_attribute_t* accepting = ippFindAttribute(answer, "printer-is-accepting-jobs", IPP_TAG_BOOLEAN);
    if (accepting && !ippGetBoolean(accepting, 0)) return QueueCondition::rejecting;
    ipp_attribute_t* state = ippFindAttribute(answer, "printer-state", IPP_TAG_ENUM);
    const int now = state ? ippGetInteger(state, 0) : IPP_PSTATE_IDLE;
    if (now == IPP_PSTATE_IDLE) return QueueCondition::ready;

    ipp_attribute_t* said = ippFindAttribute(answer, "printer-state-reasons", IPP_TAG_KEYWORD);
    for (int i = 0; said && i < ippGetCount(said); ++i)
        for (const Reason& reason : reasons)
            if (startsWithWord(ippGetString(said, i, nullptr), reason.word)) return reason.condition;
    return now == IPP_PSTATE_STOPPED ? QueueCondition::stopped : QueueCondition::ready;
}

/// Half a millimetre: the same width comes back rounded to points from one place and to inches from another.
constexpr int sizeSlack = 50;

struct Range {
    int low = 0;
    int high = 0;
    bool contains(int value) const { return low <= value && value <= high; }
};

Range rangeOf(ipp_t* collection, const char* name)
{
    if (ipp_attribute_t* attribute = ippFindAttribute(collection, name, IPP_TAG_RANGE)) {
        Range range;
        range.low = ippGetRange(attribute, 0, &range.high);
        return range;
    }
    const int one = numberOf(collection, name);
    return {one, one};
}

/// Sheets may be cut at any length: the queue lists a range of sizes, and the width is one of them.
void findLengths(ipp_t* answer, QueuePaper& paper)
{
    ipp_attribute_t* sizes = ippFindAttribute(answer, "media-size-supported", IPP_TAG_BEGIN_COLLECTION);
    for (int i = 0; sizes && i < ippGetCount(sizes); ++i) {
        ipp_t* size = ippGetCollection(sizes, i);
        const Range widths = rangeOf(size, "x-dimension");
        const Range lengths = rangeOf(size, "y-dimension");
        const bool fits = Range{widths.low - sizeSlack, widths.high + sizeSlack}.contains(paper.width);
        if (!fits || lengths.low >= lengths.high || lengths.high <= paper.maxLength) continue;
        paper.minLength = lengths.low;
        paper.maxLength = lengths.high;
        paper.maxWidth = std::max(widths.high, paper.width);
    }
}

/// The named sheets of the same width.
void findSheets(ipp_t* answer, QueuePaper& paper)
{
    ipp_attribute_t* names = ippFindAttribute(answer, "media-supported", IPP_TAG_ZERO);
    for (int i = 0; names && i < ippGetCount(names); ++i) {
        const char* name = ippGetString(names, i, nullptr);
        const bool limit = name && (std::string_view(name).starts_with("custom_min_") ||
                                    std::string_view(name).starts_with("custom_max_"));
        const pwg_media_t* size = name && !limit ? pwgMediaForPWG(name) : nullptr;
        if (size && std::abs(size->width - paper.width) <= sizeSlack) paper.sheets.push_back({name, size->length});
    }
    std::ranges::sort(paper.sheets, {}, &QueuePaper::Sheet::length);
}

void readMargins(ipp_t* media, QueuePaper& paper)
{
    paper.left = numberOf(media, "media-left-margin");
    paper.top = numberOf(media, "media-top-margin");
    paper.right = numberOf(media, "media-right-margin");
    paper.bottom = numberOf(media, "media-bottom-margin");
}

bool sameSize(ipp_t* size, const QueuePaper& paper)
{
    return std::abs(numberOf(size, "x-dimension") - paper.width) <= sizeSlack &&
           std::abs(numberOf(size, "y-dimension") - paper.length) <= sizeSlack;
}

/// The size that a word means: a registered name, the driver's own, or a custom one.
pwg_media_t* sizeOf(const std::string& media)
{
    pwg_media_t* size = pwgMediaForPWG(media.c_str());
    if (!size) size = pwgMediaForLegacy(media.c_str());
    if (!size) size = pwgMediaForPPD(media.c_str());
    return size;
}

QueuePaper paperOf(ipp_t* answer, const char* usersMedia)
{
    QueuePaper paper;
    paper.media = textOf(answer, "media-default", IPP_TAG_ZERO);
    ipp_attribute_t* usual = ippFindAttribute(answer, "media-col-default", IPP_TAG_BEGIN_COLLECTION);
    if (usual) {
        ipp_t* media = ippGetCollection(usual, 0);
        readMargins(media, paper);
        if (ipp_attribute_t* size = ippFindAttribute(media, "media-size", IPP_TAG_BEGIN_COLLECTION)) {
            paper.width = numberOf(ippGetCollection(size, 0), "x-dimension");
            paper.length = numberOf(ippGetCollection(size, 0), "y-dimension");
        }
    }
    const auto take = [&paper](const std::string& media) {
        const pwg_media_t* size = media.empty() ? nullptr : sizeOf(media);
        if (!size) return;
        paper.media = media;
        paper.width = size->width;
        paper.length = size->length;
    };
    if (paper.width <= 0) take(paper.media);
    if (usersMedia) take(usersMedia);

    ipp_attribute_t* known = ippFindAttribute(answer, "media-col-database", IPP_TAG_BEGIN_COLLECTION);
    for (int i = 0; known && i < ippGetCount(known); ++i) {
        ipp_t* media = ippGetCollection(known, i);
        ipp_attribute_t* size = ippFindAttribute(media, "media-size", IPP_TAG_BEGIN_COLLECTION);
        if (!size || !sameSize(ippGetCollection(size, 0), paper)) continue;
        readMargins(media, paper);
        break;
    }
    findLengths(answer, paper);
    findSheets(answer, paper);
    return paper;
}

std::string lastError(const char* step)
{
    const char* said = cupsLastErrorString();
    return std::string(step) + ": " + (said && *said ? said : "no answer");
}

class CupsQueue final : public PrintQueue {
public:
    explicit CupsQueue(PrintQueueChoice choice) : choice_(std::move(choice)) {}
    ~CupsQueue() override = default;

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

    int createJob(const JobTicket& ticket) override
    {
        job_ = Connection(connect());
        ticket_ = ticket;

        Options options;
        const Destination destination(cupsGetNamedDest(job_.get(), ticket.queue.c_str(), nullptr));
        for (int i = 0; destination && i < destination->num_options; ++i)
            if (!changesThePage(destination->options[i].name))
                options.set(destination->options[i].name, destination->options[i].value);
        options.set("media", ticket.media);
        options.set("print-scaling", "none");
        options.set("sides", "one-sided");

        jobNumber_ =
            cupsCreateJob(job_.get(), ticket.queue.c_str(), ticket.title.c_str(), options.count(), options.data());
        if (jobNumber_ <= 0) throw PrintError(lastError("create job"));
        return jobNumber_;
    }

    void startDocument() override
    {
        const http_status_t status =
            cupsStartDocument(job_.get(), ticket_.queue.c_str(), jobNumber_, ticket_.title.c_str(), CUPS_FORMAT_PDF, 1);
        if (status != HTTP_STATUS_CONTINUE) throw PrintError(lastError("start document"));
    }

    void write(std::span<const std::byte> bytes) override
    {
        const http_status_t status =
            cupsWriteRequestData(job_.get(), reinterpret_cast<const char*>(bytes.data()), bytes.size());
        if (status != HTTP_STATUS_CONTINUE) throw PrintError(lastError("send document"));
    }

    bool drawsPages() const override { return false; }
    void draw(const Drawing&) override { throw PrintError("this print system takes documents"); }

    void finishDocument() override
    {
        // Not cupsFinishDocument: when no answer comes it gives the state of an earlier step, which may be a good one.
        const std::string resource = "/printers/" + ticket_.queue;
        const Message answer(cupsGetResponse(job_.get(), resource.c_str()));
        if (!answer || ippGetStatusCode(answer.get()) > IPP_STATUS_OK_CONFLICTING)
            throw PrintError(lastError("finish document"));
        job_.reset();
    }

    void cancelJob(int job) noexcept override
    {
        // The connection of a job that failed half-way is in an unknown state; a fresh one is not.
        job_.reset();
        try {
            const Connection connection(connect());
            cupsCancelJob2(connection.get(), nullptr, job, 0);
        } catch (const std::exception&) {
            // Out of reach: the scheduler drops a job without a document by itself.
        }
    }

    DocumentState documentState(int job) noexcept override
    {
        try {
            const Connection connection(connect());
            static constexpr const char* wanted[] = {"job-state-reasons", "number-of-documents", "job-k-octets"};
            ipp_t* request = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
            const std::string uri = "ipp://localhost/jobs/" + std::to_string(job);
            ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "job-uri", nullptr, uri.c_str());
            ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
            ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", std::size(wanted),
                          nullptr, wanted);
            const Message answer(cupsDoRequest(connection.get(), request, "/"));
            if (!answer) return DocumentState::noAnswer;
            const ipp_status_t status = ippGetStatusCode(answer.get());
            if (status == IPP_STATUS_ERROR_NOT_FOUND || status == IPP_STATUS_ERROR_GONE) return DocumentState::unknown;
            if (status > IPP_STATUS_OK_CONFLICTING) return DocumentState::noAnswer;

            ipp_attribute_t* documents = ippFindAttribute(answer.get(), "number-of-documents", IPP_TAG_INTEGER);
            // Of a job that was printed the scheduler forgets the document after a day, but not how large it was.
            ipp_attribute_t* size = ippFindAttribute(answer.get(), "job-k-octets", IPP_TAG_INTEGER);
            if (!documents || !size) return DocumentState::unknown;
            if (ippGetInteger(documents, 0) < 1 && ippGetInteger(size, 0) < 1) return DocumentState::notTaken;
            // A job whose document is still coming in is held for it.
            ipp_attribute_t* reasons = ippFindAttribute(answer.get(), "job-state-reasons", IPP_TAG_KEYWORD);
            const bool incoming = reasons && ippContainsString(reasons, "job-incoming");
            return incoming ? DocumentState::notTaken : DocumentState::taken;
        } catch (const std::exception&) {
            return DocumentState::noAnswer;
        }
    }

private:
    http_t* connect() const
    {
        // Settings of this thread inside the library; its answers to "which server" below depend on them.
        if (!choice_.scheduler.empty()) cupsSetServer(choice_.scheduler.c_str());
        http_t* connection = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1,
                                          connectMilliseconds, nullptr);
        if (!connection) throw PrintError(lastError("connect"));
        httpSetTimeout(connection, answerSeconds, giveUp, nullptr);
        return connection;
    }

    /// A queue by its name, or the user's default; nothing if there is none. Throws if the scheduler does not say so.
    static Destination destinationNamed(http_t* connection, const char* name)
    {
        Destination destination(cupsGetNamedDest(connection, name, nullptr));
        if (!destination && cupsLastError() != IPP_STATUS_ERROR_NOT_FOUND) throw PrintError(lastError("find queue"));
        return destination;
    }

    /// The system's default queue, or what the environment names instead.
    static std::string defaultName(http_t* connection)
    {
        const char* name = cupsGetDefault2(connection);
        if (!name && cupsLastError() != IPP_STATUS_ERROR_NOT_FOUND) throw PrintError(lastError("find default queue"));
        return name ? name : "";
    }

    QueueState findState() const
    {
        QueueState result;
        result.queue = choice_.queue;
        const Connection connection(connect());
        Destination destination =
            destinationNamed(connection.get(), choice_.queue.empty() ? nullptr : choice_.queue.c_str());
        if (!destination && choice_.queue.empty()) {
            // A user's default that has been deleted since hides the system's default in the library.
            result.queue = defaultName(connection.get());
            if (!result.queue.empty()) destination = destinationNamed(connection.get(), result.queue.c_str());
        }
        if (!destination) {
            result.condition = result.queue.empty() ? QueueCondition::noQueue : QueueCondition::unknownQueue;
            return result;
        }
        result.queue = destination->name;

        const Message answer = attributesOf(connection.get(), result.queue);
        if (!answer || ippGetStatusCode(answer.get()) > IPP_STATUS_OK_CONFLICTING) {
            const bool unknown = answer && ippGetStatusCode(answer.get()) == IPP_STATUS_ERROR_NOT_FOUND;
            result.condition = unknown ? QueueCondition::unknownQueue : QueueCondition::noScheduler;
            return result;
        }
        result.condition = conditionOf(answer.get());
        ipp_attribute_t* state = ippFindAttribute(answer.get(), "printer-state", IPP_TAG_ENUM);
        result.printing = state && ippGetInteger(state, 0) == IPP_PSTATE_PROCESSING;
        const char* media = cupsGetOption("media", destination->num_options, destination->options);
        if (!media) media = cupsGetOption("PageSize", destination->num_options, destination->options);
        result.paper = paperOf(answer.get(), media);
        return result;
    }

    static Message attributesOf(http_t* connection, const std::string& queue)
    {
        static constexpr std::array<const char*, 8> wanted = {
            "printer-is-accepting-jobs", "printer-state",        "printer-state-reasons", "media-default",
            "media-col-default",         "media-size-supported", "media-col-database",    "media-supported"};
        char uri[HTTP_MAX_URI];
        httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", ippPort(), "/printers/%s",
                         queue.c_str());
        ipp_t* request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
        ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
        ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
        ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", wanted.size(), nullptr,
                      wanted.data());
        return Message(cupsDoRequest(connection, request, "/"));
    }

    PrintQueueChoice choice_;
    Connection job_; ///< from createJob to finishDocument
    JobTicket ticket_;
    int jobNumber_ = 0;
};

} // namespace

std::unique_ptr<PrintQueue> systemPrintQueue(const PrintQueueChoice& choice)
{
    return std::make_unique<CupsQueue>(choice);
}

} // namespace platform
