// Lets libFuzzer run a target.
#include "fuzz.h"

#include <oneapi/tbb/global_control.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // An input takes the same branches each time.
    static const tbb::global_control oneThread(tbb::global_control::max_allowed_parallelism, 1);
    Stratum::fuzz::runInput({reinterpret_cast<const char*>(data), size});
    return 0;
}
