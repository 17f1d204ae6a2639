#include "ops/frame.h"

#include "Kelvane/terminateMessage.h"

#include <oneapi/tbb/task.h>
#include <oneapi/tbb/task_group.h>

#include <stdexcept>

namespace Stratum {

void throwIfCancelled() {
    if (Ostrum::isJobCancelled())
        throw std::runtime_error(KDX::exceptionMessage.c_str());
}

bool isCancellation(const std::exception& exception) {
    return Ostrum::String(exception.what()) == KDX::exceptionMessage;
}

void reportCancellation(const char* operatorName) {
    // A thread that runs no task has no context to cancel.
    if (tbb::task_group_context* context = tbb::task::current_context())
        context->cancel_group_execution();
    Kelvane::terminateMessage(operatorName);
}

} // namespace Stratum
