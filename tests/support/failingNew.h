// The program's own operator new, which counts and fails when told to.
#pragma once

#include <cstdint>

namespace StratumTest {

/// Makes the n-th request of any thread from now on fail (1: the next one); 0 takes the wish back.
void failNew(std::uint64_t n);
/// Requests since the program began.
std::uint64_t newCount();
/// Blocks that were not given back yet.
std::uint64_t liveNewCount();

} // namespace StratumTest
