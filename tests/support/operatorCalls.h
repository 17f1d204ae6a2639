// Every exported operator on small inputs, for what must hold of all of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace StratumTest {

/// What a call left in its outputs, which held arrays of two elements before.
struct Outcome {
    enum class State {
        kFormer, ///< what they held before, untouched
        kEmpty,  ///< new arrays without elements
        kNew,    ///< new arrays of one size
        kMixed,  ///< anything else, also where a count of references is wrong
    } state = State::kMixed;
    /// A hash of each element; of all outputs' elements together.
    std::vector<std::uint64_t> elements;

    bool operator==(const Outcome&) const = default;
};

/// Runs a call between whatever is to be done before and after it.
using Around = std::function<void(const std::function<void()>& call)>;
inline void plainly(const std::function<void()>& call) {
    call();
}

struct OperatorCall {
    /// How the operator ends where it fails.
    enum class Frame { kSampling, kProperty, kLocations } frame;
    std::string family;      ///< the operator, and its way to work
    std::string name;        ///< the family and the inputs
    std::uint64_t untouched; ///< the hash of an element that nobody wrote
    std::function<Outcome(const Around& around)> run;
};

/// Calls of every operator for every value type, tree shape and kind of geometry, at so many
/// positions and about as many samples. All calls read the same inputs.
std::vector<OperatorCall> everyOperator(std::size_t positions);

} // namespace StratumTest
