// Timing what has been checked: whole outputs are compared before a benchmark runs, and the timed
// loop's own output is compared with the one that was checked.
#pragma once

#include "benchSetup.h"
#include "benchVolumes.h"

#include "common/parallel.h"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <span>
#include <string>

namespace Stratum::Bench {

/// A number that differs, all but surely, where the bytes differ.
std::uint64_t digestOf(std::span<const std::byte> bytes);

/// The digests of outputs found right, by the name of what was computed; 0 for none yet.
std::uint64_t& checkedDigest(const std::string& answer);

/// Times `run()`, which returns its whole output as a span, on a number of threads. `answer` names
/// what it computes, and everything of that name must give the same bits. The first output of the
/// name is held against `isRight(output)`, which may spoil it afterwards.
template <class Run, class IsRight>
void timeChecked(benchmark::State& state, const std::string& answer, int threads, const Run& run,
                 const IsRight& isRight) {
    const auto digest = [](const auto& values) { return digestOf(std::as_bytes(values)); };
    std::uint64_t& expected = checkedDigest(answer);
    if (expected == 0) {
        const auto values = run();
        const std::uint64_t found = digest(values);
        if (!isRight(values))
            return state.SkipWithError("the output is wrong");
        expected = found;
    }
    const Threads limit(threads);
    auto values = decltype(run()){};
    for (auto _ : state)
        values = run();
    if (digest(values) != expected)
        state.SkipWithError("the timed output differs from the one that was checked");
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}

/// Whether values[i] has the bits of single(positions[i]) for all i; `single` is copied for each
/// task.
template <class R, class Single>
bool sameAsSingles(std::span<const R> values, const Positions& positions, const Single& single) {
    std::atomic<bool> same = values.size() == positions.size();
    parallelFor(values.size(), 1000, [&](const IndexRange& range) {
        Single own = single;
        for (std::size_t i = range.begin(); same && i < range.end(); ++i) {
            const R value = own(positions[i]);
            if (std::memcmp(&value, &values[i], sizeof value) != 0)
                same = false;
        }
    });
    return same;
}

/// Whether all components lie within `tolerance` of each other.
template <class R>
bool isNear(std::span<const R> values, std::span<const R> others, float tolerance) {
    if (values.size() > others.size())
        return false;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto a = Vantor::Math::toComponents(values[i]);
        const auto b = Vantor::Math::toComponents(others[i]);
        for (std::size_t c = 0; c < a.size(); ++c)
            if (!(std::abs(a[c] - b[c]) <= tolerance))
                return false;
    }
    return true;
}

} // namespace Stratum::Bench
