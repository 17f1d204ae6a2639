// The running job: whether the host has asked it to stop.
#pragma once

#include "Ostrum/Export.h"

#include <cstdint>

namespace Ostrum {

/// True once the host has asked the running job to stop. Safe from every thread.
OSTRUM_API bool isJobCancelled();

/// Asks the running job to stop, or (false) takes the wish back, cancelJobAtQuestion() included.
/// May be called from a signal handler.
OSTRUM_API void cancelJob(bool cancelled = true) noexcept;

/// Asks the job to stop when isJobCancelled() is asked for the n-th time from now on (1: the next
/// time); from then on every answer is true. 0 takes the wish back. For tests.
OSTRUM_API void cancelJobAtQuestion(std::uint64_t n);

} // namespace Ostrum
