// Ctrl-C.
#pragma once

namespace Stratum::tools {

/// From now on the first SIGINT asks the host to cancel the job; the second ends the process. A
/// reader that goes away makes writing to it fail instead of ending the process.
void cancelOnInterrupt();

} // namespace Stratum::tools
