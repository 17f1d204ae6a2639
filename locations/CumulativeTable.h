// Choosing an index with a probability proportional to its weight.
#pragma once

#include "common/parallel.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Vantor::Sample {

/// Searches entries by their `sum`, non-decreasing sums of weights that are normalised so that they
/// end near 1, for a draw in [0, 1]. A guide table (Chen and Asau 1974) leaves each search the few
/// entries that its cell of [0, 1] meets; what is found is what a binary search of all would find.
///
/// Searches of large tables wait for memory. Who has several to make calls the two functions of
/// expectation for each of them first, in this order. The entries must outlive the table.
template <class Entry>
class CumulativeTable {
public:
    using Scalar = decltype(Entry::sum);

    CumulativeTable() = default;

    /// Fewer than 2^32 - 1 entries; NaN among the sums leaves searches undetermined, but within
    /// bounds.
    explicit CumulativeTable(std::span<const Entry> entries)
        : entries_(entries),
          cellCount_(std::bit_ceil(std::clamp<std::size_t>(entries.size(), 1, kMostCells))) {
        guide_.resize(cellCount_ + 1);
        Stratum::parallelForIsolated(guide_.size(), 1 << 15, [&](const Stratum::IndexRange& range) {
            const Entry* next = firstFrom(range.begin());
            for (std::size_t cell = range.begin(); cell < range.end(); ++cell) {
                while (next != entries.data() + entries.size() && next->sum < beginOf(cell))
                    ++next;
                guide_[cell] = static_cast<std::uint32_t>(indexOf(next));
            }
        });
    }

    void expectCell(Scalar draw) const { __builtin_prefetch(&guide_[cellOf(draw)]); }
    void expectEntry(Scalar draw) const {
        __builtin_prefetch(entries_.data() + guide_[cellOf(draw)]);
    }

    /// The first index whose sum is at least the draw; the number of entries if there is none.
    std::size_t atLeast(Scalar draw) const {
        const auto [begin, end] = range(draw);
        return indexOf(std::partition_point(
            begin, end, [draw](const Entry& entry) { return entry.sum < draw; }));
    }

    /// The first index whose sum exceeds the draw; the number of entries if there is none.
    std::size_t above(Scalar draw) const {
        const auto [begin, end] = range(draw);
        return indexOf(std::partition_point(
            begin, end, [draw](const Entry& entry) { return !(draw < entry.sum); }));
    }

private:
    struct Range {
        const Entry *begin, *end;
    };

    Scalar beginOf(std::size_t cell) const {
        return static_cast<Scalar>(cell) / static_cast<Scalar>(cellCount_);
    }
    const Entry* firstFrom(std::size_t cell) const {
        return std::partition_point(
            entries_.data(), entries_.data() + entries_.size(),
            [begin = beginOf(cell)](const Entry& entry) { return entry.sum < begin; });
    }
    std::size_t cellOf(Scalar draw) const {
        return std::min(static_cast<std::size_t>(draw * static_cast<Scalar>(cellCount_)),
                        cellCount_);
    }
    std::size_t indexOf(const Entry* entry) const {
        return static_cast<std::size_t>(entry - entries_.data());
    }

    // The entries from the first one not below the draw's cell to the first one not below the next.
    Range range(Scalar draw) const {
        const std::size_t cell = cellOf(draw);
        const Entry* const entries = entries_.data();
        return {entries + guide_[cell],
                entries + (cell < cellCount_ ? guide_[cell + 1] : entries_.size())};
    }

    // Numbers that a float holds.
    static constexpr std::size_t kMostCells = std::size_t{1} << 22;

    std::span<const Entry> entries_;
    std::size_t cellCount_ = 0; // a power of two, so that cells begin at numbers without rounding
    std::vector<std::uint32_t> guide_;
};

} // namespace Vantor::Sample
