#include "print/print_target.h"

namespace print {

int PrintTarget::submit(const Document& document)
{
    const int job = createJob(document);
    sendAndFinish(job, document);
    return job;
}

} // namespace print
