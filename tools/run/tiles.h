// Naming tiles of a tree in a graph.
#pragma once

#include "KDX/Tile.h"
#include "KDX/TreeIndex.h"
#include "KDX/lowestIndex.h"
#include "run/readValue.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace Stratum::tools::graph {

using Vantor::Math::int3;

inline int readInt(const Json& json) {
    return static_cast<int>(
        json.integer(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

inline int3 readInt3(const Json& json) {
    const auto& list = json.list(3);
    return {readInt(list[0]), readInt(list[1]), readInt(list[2])};
}

/// A tree shape, by the number of children an axis.
inline int readShape(const Json& json) {
    const auto* children = std::get_if<std::int64_t>(&json.data);
    if (!children || (*children != 2 && *children != 5))
        json.fail("a tree shape is wanted, 2 or 5");
    return static_cast<int>(*children);
}

template <class Traits>
int readDepth(const Json& json) {
    return static_cast<int>(json.integer(0, Traits::kFinestDepth));
}

/// An index that a tile can hold.
template <class Traits>
int3 readIndex(const Json& json) {
    for (const Json& component : json.list(3))
        component.integer(KDX::TileTree3D::kLowestIndex<Traits>, std::numeric_limits<int>::max());
    return readInt3(json);
}

/// The tiles of one depth that touch a box of indices; both corners belong to it.
struct TileSelection {
    int depth = 0;
    Vantor::Math::bbox<int3, int> box{};

    template <class Tile>
    bool matches(const Tile& tile) const {
        const std::int64_t extent = tile.tileVoxelWidth();
        const auto touches = [extent](std::int64_t origin, int lower, int upper) {
            return origin <= upper && origin + extent > lower;
        };
        return tile.depth() == depth && touches(tile.tijk().x, box.min.x, box.max.x) &&
               touches(tile.tijk().y, box.min.y, box.max.y) &&
               touches(tile.tijk().z, box.min.z, box.max.z);
    }

    /// How many tiles there are in the box.
    template <class Traits>
    double count() const {
        const std::int64_t extent = Traits::tileExtent(depth);
        const auto along = [extent](int lower, int upper) {
            return static_cast<double>(KDX::TileTree3D::floorDiv(upper, extent) -
                                       KDX::TileTree3D::floorDiv(lower, extent) + 1);
        };
        return along(box.min.x, box.max.x) * along(box.min.y, box.max.y) *
               along(box.min.z, box.max.z);
    }
};

/// {"depth": d, "at": [i, j, k]} or {"depth": d, "box": [lower, upper]}; other keys are the
/// caller's.
template <class Traits>
TileSelection readTiles(const Json& json) {
    TileSelection tiles;
    tiles.depth = readDepth<Traits>(json.at("depth"));
    const Json* at = json.find("at");
    const Json* box = json.find("box");
    if (!at == !box)
        json.fail("either 'at' or 'box' is wanted");
    if (at) {
        const int3 index = readIndex<Traits>(*at);
        tiles.box = {index, index};
        return tiles;
    }
    const auto& corners = box->list(2);
    tiles.box = {readIndex<Traits>(corners[0]), readIndex<Traits>(corners[1])};
    const auto& [lower, upper] = tiles.box;
    if (lower.x > upper.x || lower.y > upper.y || lower.z > upper.z)
        box->fail("the lower corner must not exceed the upper one on any axis");
    return tiles;
}

} // namespace Stratum::tools::graph
