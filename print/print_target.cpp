#include "print/print_target.h"

namespace print {

int PrintTarget::submit(const Document& document)
{
    const int job = createJob(document);
    try {
        sendAndFinish(job, document);
    } catch (...) {
        cancel(job);
        throw;
    }
    settle(job);
    return job;
}

} // namespace print
