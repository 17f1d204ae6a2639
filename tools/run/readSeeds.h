// Seeds and indices of random numbers in a graph.
#pragma once

#include "run/Node.h"

namespace Stratum::tools::graph {

/// 64-bit numbers in place, from 2^63 on too, or an array of int64.
ArrayPtr<std::int64_t> readBits64Array(const Json& json, const Inputs& inputs);

/// One 64-bit number in place, or an array of one.
std::int64_t readSeed(const Json& json, const Inputs& inputs);

} // namespace Stratum::tools::graph
