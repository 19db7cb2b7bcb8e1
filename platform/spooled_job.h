#pragma once

#include "platform/print_queue.h"
#include <optional>
#include <string>

namespace platform {

/// What a spooler says of a job that it lists.
struct SpooledJob {
    std::string document;  ///< the name that its program gave it
    bool spooling = false; ///< its program has not said that the document is whole
    bool leaving = false;  ///< somebody deletes it
    bool onPaper = false;  ///< at least a part has been printed: a spooler may begin before the document is whole
};

/// How a job is found again: a spooler that starts anew counts from small numbers, and every queue has numbers of its
/// own. The name of its document says whose job a number means.
struct JobMark {
    std::string queue;
    std::string document; ///< as no other job is called
    bool operator==(const JobMark&) const = default;
};

inline std::string textOf(const JobMark& mark) { return mark.queue + '\n' + mark.document; }

inline std::optional<JobMark> markIn(const std::string& text)
{
    const std::size_t end = text.find('\n');
    if (end == std::string::npos || end == 0 || end + 1 == text.size()) return {};
    return JobMark{text.substr(0, end), text.substr(end + 1)};
}

inline bool isOurs(const SpooledJob& job, const JobMark& mark) { return job.document == mark.document; }

inline DocumentState documentStateOf(const SpooledJob& job, const JobMark& mark)
{
    if (!isOurs(job, mark)) return DocumentState::unknown;
    if (!job.spooling && !job.leaving) return DocumentState::taken;
    return job.onPaper ? DocumentState::unknown : DocumentState::notTaken;
}

} // namespace platform
