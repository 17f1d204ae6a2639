#include "ops/frame.h"

#include "KDX/exceptionMessage.h"
#include "Kelvane/terminateMessage.h"

#include <oneapi/tbb/task.h>
#include <oneapi/tbb/task_arena.h>
#include <oneapi/tbb/task_group.h>

namespace Stratum {

bool isCancellation(const std::exception& exception) {
    return Ostrum::String(exception.what()) == KDX::exceptionMessage;
}

namespace {

// The context of the running task, if it belongs to a parallel algorithm: null on a thread that
// runs no task. Tasks that were put straight into an arena run in the arena's own context, which
// serves everything that is put there later; cancelling that would end the arena, not this job.
tbb::task_group_context* enclosingContext() {
    tbb::task_group_context* current = tbb::task::current_context();
    if (!current)
        return nullptr;
    tbb::task_arena arena{tbb::task_arena::attach{}};
    const auto* ofArena = arena.execute([] { return tbb::task::current_context(); });
    return current == ofArena ? nullptr : current;
}

} // namespace

void reportCancellation(const char* operatorName) {
    if (tbb::task_group_context* context = enclosingContext())
        context->cancel_group_execution();
    Kelvane::terminateMessage(operatorName);
}

} // namespace Stratum
