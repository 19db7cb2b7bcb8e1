#pragma once

#include "platform/print_queue.h"
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// What a spooler says of a job that it lists.
struct SpooledJob {
    std::string document = {}; ///< the name that its program gave it
    bool spooling = false;     ///< its program has not said that the document is whole
    bool leaving = false;      ///< somebody deletes it
    bool onPaper = false;      ///< at least a part has been printed: a spooler may begin before the document is whole
    bool finished = false;     ///< the printer has all of it, and it is only kept
    bool fromHere = false;     ///< this user sent it from this computer
    int hours = 0;             ///< since it was sent
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

inline constexpr std::string_view wholeDocument = " tamam";

/// The name that a job gets when its document has been handed over. A spooler ends the document of a program that dies
/// in the middle of it, and what it lists then looks like any other job: only the name tells the two apart.
inline std::string nameOfWhole(const JobMark& mark) { return mark.document + std::string(wholeDocument); }

inline bool isOurs(const SpooledJob& job, const JobMark& mark)
{
    return job.document == mark.document || job.document == nameOfWhole(mark);
}

inline DocumentState documentStateOf(const SpooledJob& job, const JobMark& mark)
{
    if (!isOurs(job, mark)) return DocumentState::unknown;
    if (job.spooling || job.leaving) return job.onPaper ? DocumentState::unknown : DocumentState::notTaken;
    return job.document == nameOfWhole(mark) ? DocumentState::taken : DocumentState::unknown;
}

/// Whether the printer has still something to do for it.
inline bool waits(const SpooledJob& job) { return !job.finished && !job.leaving; }

/// Whether that is what a counter calls the documents that it has handed over: a title, the moment, and that it is
/// whole.
inline bool isNameOfWhole(std::string_view document)
{
    constexpr std::string_view moment = "0000-00-00 00:00:00.000";
    if (!document.ends_with(wholeDocument)) return false;
    document.remove_suffix(wholeDocument.size());
    if (document.size() < moment.size()) return false;
    document.remove_prefix(document.size() - moment.size());
    for (std::size_t i = 0; i < moment.size(); ++i) {
        const bool isDigit = document[i] >= '0' && document[i] <= '9';
        if (moment[i] == '0' ? !isDigit : document[i] != moment[i]) return false;
    }
    return true;
}

/// Whether a printed job that is kept for our sake can leave the list; `settled`: nobody will ask about it. One that
/// has not been printed stays: some spoolers delete it instead of printing it. Nobody asks any more, either, about what
/// a run of an earlier day has left.
inline bool mayLeaveTheList(const SpooledJob& job, bool settled)
{
    constexpr int longAgo = 12; // hours
    return job.finished && (settled || (job.fromHere && job.hours >= longAgo && isNameOfWhole(job.document)));
}

} // namespace platform
