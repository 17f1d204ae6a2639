// An order of visits that brings positions near to each other together.
#pragma once

#include "volume/PositionsView.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace KDX::TileTree3D {

/// Positions that jump about a volume wait for memory at every one; visited along a space-filling
/// curve they find most of what they need in the processor's caches. That is worth while where the
/// caches do not hold the volume: sorting costs some 10 ns a position, and 4 bytes each of memory.
class VisitOrder {
public:
    /// The order of the positions as given.
    VisitOrder() = default;

    /// Orders positions, block by block, in parallel, unless most of them lie within `nearby` of
    /// the one before on every axis already, or they are few, or memory runs out: the order is then
    /// theirs. Positions may be anything, NaN too.
    VisitOrder(const PositionsView& positions, float nearby);

    /// The index of the i-th position to visit.
    std::size_t operator[](std::size_t i) const {
        return order_.empty() ? i : (i & ~(kBlock - 1)) + order_[i];
    }

    /// Whether positions are visited as they are given.
    bool isIdentity() const { return order_.empty(); }

private:
    static constexpr std::size_t kBlock = std::size_t{1} << 18;

    std::vector<std::uint32_t> order_; // within blocks
};

} // namespace KDX::TileTree3D
