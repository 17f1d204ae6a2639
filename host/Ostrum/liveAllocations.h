// How much of the host's memory is in use, to tell whether something was lost.
#pragma once

#include "Ostrum/Export.h"

#include <cstdint>

namespace Ostrum {

/// What allocate() gave and deallocate() did not get back yet. For tests.
OSTRUM_API std::uint64_t liveAllocationCount();

} // namespace Ostrum
