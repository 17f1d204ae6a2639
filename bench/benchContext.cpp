// What the figures depend on, written beside them.
#include <benchmark/benchmark.h>

namespace {

const bool registered = [] {
    benchmark::AddCustomContext("compiler", STRATUM_COMPILER);
    benchmark::AddCustomContext("build", STRATUM_BUILD);
    return true;
}();

} // namespace
