#include "print/print_target.h"

namespace print {

int PrintTarget::submit(const Document& document)
{
    const int job = createJob(document);
    try {
        sendAndFinish(job, document);
    } catch (const base::RuntimeError& error) {
        auto arrived = Taken::unknown;
        try {
            arrived = taken(job);
        } catch (...) { // it cannot be asked: nobody knows
        }
        if (arrived != Taken::yes) cancel(job);
        if (arrived == Taken::no) throw;
        if (arrived == Taken::unknown) throw PerhapsPrinted(error.number(), error.text());
    } catch (...) {
        cancel(job);
        throw;
    }
    settle(job);
    return job;
}

} // namespace print
