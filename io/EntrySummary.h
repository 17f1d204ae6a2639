// What the entries of a node hold, at a glance.
#pragma once

#include "io/GridBox.h"

#include <cstdint>
#include <vector>

namespace Stratum::io {

/// Kinds of entries; those of several entries are or-ed.
enum EntryKinds : unsigned {
    kBackgroundEntry = 1, ///< nothing but the grid's background
    kConstantEntry = 2,   ///< nothing but one other value
    kMixedEntry = 4,
};

/// Has a bit of each kind for the entries of a node with 2^Log2 of them an axis, z fastest.
template <int Log2>
class EntrySummary {
    static constexpr unsigned kEdge = 1U << Log2;
    static_assert(kEdge <= 32);

public:
    /// Before the first kind is set.
    void allocate() {
        background_.assign(kEdge * kEdge, 0);
        mixed_.assign(kEdge * kEdge, 0);
    }

    void set(unsigned entry, EntryKinds kind) {
        const std::uint32_t bit = std::uint32_t{1} << entry % kEdge;
        if (kind == kBackgroundEntry)
            background_[entry / kEdge] |= bit;
        if (kind == kMixedEntry)
            mixed_[entry / kEdge] |= bit;
    }

    EntryKinds kind(unsigned entry) const {
        const auto has = [entry](const std::vector<std::uint32_t>& rows) {
            return (rows[entry / kEdge] >> entry % kEdge & 1U) != 0;
        };
        return has(mixed_) ? kMixedEntry : has(background_) ? kBackgroundEntry : kConstantEntry;
    }

    /// The kinds in a box of cells; only kMixedEntry once there is one of that.
    unsigned kindsIn(const GridBox& cells) const {
        if (cells.empty())
            return 0;
        const auto upTo = [](int z) {
            return static_cast<std::uint32_t>((std::uint64_t{2} << z) - 1);
        };
        const std::uint32_t span = upTo(cells.max[2]) & ~(upTo(cells.min[2]) >> 1);
        std::uint32_t background = 0, constant = 0;
        for (auto x = static_cast<unsigned>(cells.min[0]); x <= unsigned(cells.max[0]); ++x)
            for (auto y = static_cast<unsigned>(cells.min[1]); y <= unsigned(cells.max[1]); ++y) {
                const unsigned row = kEdge * x + y;
                if ((mixed_[row] & span) != 0)
                    return kMixedEntry;
                background |= background_[row] & span;
                constant |= ~background_[row] & span;
            }
        return (background != 0 ? kBackgroundEntry : 0U) | (constant != 0 ? kConstantEntry : 0U);
    }

private:
    std::vector<std::uint32_t> background_, mixed_; // a row along z each
};

} // namespace Stratum::io
