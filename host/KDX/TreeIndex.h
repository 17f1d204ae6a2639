// Handles to tiles.
#pragma once

#include "KDX/Traits.h"
#include "Ostrum/Export.h"

#include <cstdint>

namespace KDX::TileTree3D {

/// A handle to one tile: its index within its depth, and its depth. Valid while the tree is
/// unchanged; -1 in both is the invalid handle.
struct OSTRUM_API TreeIndex {
    std::int64_t index = -1;
    int depth = -1;

    bool isValid() const { return index >= 0 && depth >= 0; }
    bool operator==(const TreeIndex&) const = default;
};

/// What a search found: which tile, and where it begins. Default-constructed: no tile.
template <int ChildCount>
class OSTRUM_API TileBinaryNonCompatible {
public:
    TileBinaryNonCompatible() = default;
    TileBinaryNonCompatible(const int3& tijk, const TreeIndex& treeIndex)
        : tijk_(tijk), treeIndex_(treeIndex) {}

    const TreeIndex& treeIndex() const { return treeIndex_; }
    const int3& tijk() const { return tijk_; }
    int depth() const { return treeIndex_.depth; }
    explicit operator bool() const { return treeIndex_.isValid(); }

    /// Whether a cube of `extent` index units that begins at the tile's origin holds `ijk`.
    bool contains(const int3& ijk, int extent) const {
        // In 64 bits: a tile may reach beyond the last index.
        const auto inside = [extent](std::int64_t v, std::int64_t origin) {
            return static_cast<std::uint64_t>(v - origin) < static_cast<std::uint64_t>(extent);
        };
        return inside(ijk.x, tijk_.x) && inside(ijk.y, tijk_.y) && inside(ijk.z, tijk_.z);
    }

private:
    int3 tijk_{0, 0, 0};
    TreeIndex treeIndex_;
};

} // namespace KDX::TileTree3D
