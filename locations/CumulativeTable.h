// Choosing an index with a probability proportional to its weight.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Vantor::Sample {

/// Searches non-decreasing sums of weights, normalised so that they end near 1, for a draw in
/// [0, 1]. A guide table (Chen and Asau 1974) leaves each search the few entries that its cell of
/// [0, 1] meets; what is found is what a binary search of all would find. The sums must outlive it.
template <class Scalar>
class CumulativeTable {
public:
    CumulativeTable() = default;

    /// Fewer than 2^32 - 1 sums; NaN among them leaves searches undetermined, but within bounds.
    explicit CumulativeTable(std::span<const Scalar> sums)
        : sums_(sums),
          cellCount_(std::bit_ceil(std::clamp<std::size_t>(sums.size(), 1, kMostCells))) {
        guide_.reserve(cellCount_ + 1);
        std::size_t i = 0;
        for (std::size_t cell = 0; cell <= cellCount_; ++cell) {
            const Scalar begin = static_cast<Scalar>(cell) / static_cast<Scalar>(cellCount_);
            while (i < sums.size() && sums[i] < begin)
                ++i;
            guide_.push_back(static_cast<std::uint32_t>(i));
        }
    }

    /// The first index whose sum is at least the draw; the number of sums if there is none.
    std::size_t atLeast(Scalar draw) const {
        const auto [begin, end] = range(draw);
        return static_cast<std::size_t>(std::lower_bound(begin, end, draw) - sums_.data());
    }

    /// The first index whose sum exceeds the draw; the number of sums if there is none.
    std::size_t above(Scalar draw) const {
        const auto [begin, end] = range(draw);
        return static_cast<std::size_t>(std::upper_bound(begin, end, draw) - sums_.data());
    }

private:
    struct Range {
        const Scalar *begin, *end;
    };

    // The sums from the first one not below the draw's cell to the first one not below the next.
    Range range(Scalar draw) const {
        const auto cell = static_cast<std::size_t>(draw * static_cast<Scalar>(cellCount_));
        const Scalar* const sums = sums_.data();
        if (cell >= cellCount_)
            return {sums + guide_.back(), sums + sums_.size()};
        return {sums + guide_[cell], sums + guide_[cell + 1]};
    }

    // Numbers that a float holds.
    static constexpr std::size_t kMostCells = std::size_t{1} << 22;

    std::span<const Scalar> sums_;
    std::size_t cellCount_ = 0; // a power of two, so that cells begin at numbers without rounding
    std::vector<std::uint32_t> guide_;
};

} // namespace Vantor::Sample
