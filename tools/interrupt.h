// Ctrl-C.
#pragma once

namespace Stratum::tools {

/// From now on the first SIGINT asks the host to cancel the job; the second ends the process. A
/// reader that goes away makes writing to it fail instead of ending the process.
void cancelOnInterrupt();

/// Whether there was a SIGINT, whatever became of the host's own note of it. Asking is no question
/// to the host.
bool isInterrupted() noexcept;

} // namespace Stratum::tools
