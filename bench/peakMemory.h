// How much memory a call takes beyond what the process has.
#pragma once

#include <functional>

namespace Stratum::Bench {

/// Bytes by which the resident memory rose at most during the call, the host's pools being empty
/// before; negative where the system does not tell.
double extraMemory(const std::function<void()>& call);

} // namespace Stratum::Bench
