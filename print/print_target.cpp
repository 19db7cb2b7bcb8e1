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
    return job;
}

} // namespace print
