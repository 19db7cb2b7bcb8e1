// Prints one page on the default printer as the counter does, and says what the spooler answered at each step.
// usage: drawn_job [media] ; media as in platform::JobTicket, the printer's usual paper as a rule

#include "platform/print_queue.h"

#include <cstdio>
#include <string>

namespace {

/// Letters six points apart, which is wider than the letters of this size are.
platform::DrawnText text(double x, double y, std::size_t font, std::u16string letters)
{
    platform::DrawnText placed{.x = x, .y = y, .font = font, .text = std::move(letters), .ends = {}};
    for (std::size_t i = 1; i <= placed.text.size(); ++i) placed.ends.push_back(120.0 * static_cast<double>(i));
    return placed;
}

platform::Drawing page()
{
    platform::Drawing drawing;
    drawing.lineWidth = 7;
    drawing.fonts = {{.face = u"Arial", .points = 8}, {.face = u"Arial", .points = 8, .bold = true, .stretch = 70}};
    drawing.pages.resize(2);
    drawing.pages[0].texts = {text(1440, 1440, 0, u"S\u0131k\u0131m"),
                              text(2880, 2880, 1, u"\u015Ei\u015Fe\u011F\u00FC")};
    drawing.pages[0].lines = {{1440, 4320, 4320, 4320}};
    drawing.pages[1].texts = {text(1440, 1440, 0, u"\u0130kinci")};
    return drawing;
}

const char* nameOf(platform::DocumentState state)
{
    switch (state) {
    case platform::DocumentState::taken:
        return "taken";
    case platform::DocumentState::notTaken:
        return "not taken";
    case platform::DocumentState::unknown:
        return "unknown";
    case platform::DocumentState::noAnswer:
        break;
    }
    return "no answer";
}

} // namespace

int main(int count, char** arguments)
try {
    const auto queue = platform::systemPrintQueue();
    const platform::QueueState state = queue->state();
    const platform::QueuePaper& paper = state.paper;
    std::printf("queue: %s, condition %d\n", state.queue.c_str(), static_cast<int>(state.condition));
    std::printf("paper: %d x %d, margins %d %d %d %d\n", paper.width, paper.length, paper.left, paper.top, paper.right,
                paper.bottom);
    std::printf("lengths: %d to %d\n", paper.minLength, paper.maxLength);
    std::printf("forms: %zu\n", paper.sheets.size());
    const std::string media = count > 1 ? arguments[1] : paper.media;
    const int job =
        queue->createJob({.queue = state.queue, .title = "Fis", .media = media, .width = 8000, .length = 15000});
    std::printf("created %d\n", job > 0 ? 1 : 0);
    std::printf("before: %s\n", nameOf(queue->documentState(job)));
    queue->startDocument();
    queue->draw(page());
    std::printf("drawn: %s\n", nameOf(queue->documentState(job)));
    queue->finishDocument();
    std::printf("finished: %s\n", nameOf(queue->documentState(job)));
    const std::string mark = queue->markOf(job);
    std::printf("mark: %s\n", mark.substr(mark.find('\n') + 1).c_str());
    const auto later = platform::systemPrintQueue(); // another run: it knows a job by what was written down, or not
    std::printf("without mark: %s\n", nameOf(later->documentState(job)));
    later->recall(job, mark + "x");
    std::printf("another's: %s\n", nameOf(later->documentState(job)));
    later->cancelJob(job);
    std::printf("still: %s\n", nameOf(queue->documentState(job)));
    later->recall(job, mark);
    std::printf("recalled: %s\n", nameOf(later->documentState(job)));
    queue->settle(job);
    const int second =
        queue->createJob({.queue = state.queue, .title = "Yok", .media = media, .width = 8000, .length = 15000});
    queue->cancelJob(second);
    std::printf("cancelled: %s\n", nameOf(queue->documentState(second)));
    // One that is drawn and given up for another, and that other one when the program ends.
    for (const char* title : {"Yarim", "Son"}) {
        queue->createJob({.queue = state.queue, .title = title, .media = media, .width = 8000, .length = 15000});
        queue->draw(page());
    }
} catch (const platform::PrintError& error) {
    std::printf("%s\n", error.what());
    return 1;
}
