#pragma once

#include "platform/drawing.h"
#include <cstddef>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace platform {

/// The print system refused something; what() says what and why, for a log.
class PrintError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Paper of at most that width comes from a roll: the widest common slip and label rolls. Hundredths of a millimetre.
constexpr int widestRoll = 11200;

/// Whether a job can be printed now, as far as the print system says.
enum class QueueCondition {
    ready,
    noScheduler,      ///< the print system does not answer, and a machine may be without one
    schedulerStopped, ///< the print system does not answer, which every machine of this kind has
    noQueue,          ///< there is no default queue
    paperless,        ///< the default queue makes files, although another one prints on paper
    unknownQueue,     ///< the queue asked for does not exist
    rejecting,        ///< the queue takes no jobs
    stopped,          ///< the queue takes jobs and keeps them
    mediaEmpty,
    coverOpen,
    attention, ///< somebody has to do something at it, and it does not say what
    offline,
};

/// The sheet that a queue prints on unless told otherwise. All lengths are hundredths of a millimetre.
struct QueuePaper {
    std::string media; ///< the queue's own word for it
    int width = 0;     ///< 0: the queue does not say what paper it has
    int length = 0;
    int left = 0; ///< margins: what the device cannot reach
    int top = 0;
    int right = 0;
    int bottom = 0;
    int minLength = 0; ///< of sheets of this width whose length may be chosen freely
    int maxLength = 0; ///< 0: no length may be chosen freely
    int maxWidth = 0;  ///< of the sheets whose length may be chosen

    struct Sheet {
        std::string media;
        int length = 0;
    };
    std::vector<Sheet> sheets; ///< the sheets of this width that the queue has words for, shortest first
};

struct QueueState {
    QueueCondition condition = QueueCondition::noQueue;
    std::string queue; ///< its name, as far as there is one
    bool printing = false;
    QueuePaper paper; ///< only where the condition says something of the printer, ready included
};

/// What a job tells the queue about itself. Everything is printed on one side and not scaled.
struct JobTicket {
    std::string queue;
    std::string title;
    std::string media; ///< the queue's word for a sheet, or Custom.WIDTHxHEIGHT in points
    int width = 0;     ///< of the pages, hundredths of a millimetre, as the next
    int length = 0;
};

/// What the print system says of a job's document, of whatever process and whether printed yet or not.
enum class DocumentState {
    taken,    ///< it has the whole of it, or had: it may have printed it and thrown it away since
    notTaken, ///< it has the job, and never had its whole document
    unknown,  ///< it knows no such job, or no longer, or does not say enough of it
    noAnswer,
};

/// The system's print queues, one job at a time: createJob, startDocument, write (often) or draw, finishDocument. Every
/// step returns only after the print system has agreed to it and throws PrintError otherwise. No step waits for ever: a
/// print system that stops answering is given up after seconds; on Windows by the system itself, which for a printer of
/// a computer that is off may take a minute. A job that is created and not finished prints nothing but stays listed:
/// cancel it.
class PrintQueue {
public:
    virtual ~PrintQueue() = default;

    /// Of the queue asked for, else of the user's default queue, else of the system's. Never fails.
    virtual QueueState state() noexcept = 0;

    virtual int createJob(const JobTicket& ticket) = 0; ///< its number, above 0
    virtual void startDocument() = 0;                   ///< of the job created last
    /// Whether a document is drawn, by the printer's own driver; otherwise it is written, as a PDF.
    virtual bool drawsPages() const = 0;
    virtual void write(std::span<const std::byte> bytes) = 0;
    virtual void draw(const Drawing& drawing) = 0; ///< all pages
    virtual void finishDocument() = 0;             ///< from here on the job belongs to the print system
    virtual void cancelJob(int job) noexcept = 0;
    virtual DocumentState documentState(int job) noexcept = 0;

    /// What tells a job of this run from others of its number, as a text to be written down; empty where the print
    /// system gives no number twice. Where it is not empty, cancelJob and documentState leave a job alone whose mark
    /// is not known here.
    virtual std::string markOf(int /*job*/) const { return {}; }
    /// The queue of such a job, as people know it; empty where the number alone tells a job.
    virtual std::string queueOf(int /*job*/) const { return {}; }
    /// Makes the mark of an earlier run's job known.
    virtual void recall(int /*job*/, const std::string& /*mark*/) {}
    /// Nobody will ask about the job any more. Never fails.
    virtual void settle(int /*job*/) noexcept {}
};

/// Empty texts: the user's own choice and set-up, as every other program on this machine has it.
struct PrintQueueChoice {
    std::string queue;
    std::string scheduler; ///< host, or the path of a socket
};

std::unique_ptr<PrintQueue> systemPrintQueue(const PrintQueueChoice& choice = {});

} // namespace platform
