// Finding a channel whatever its tree shape and value type.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "Ostrum/Array.h"
#include "Vantor/Object.h"
#include "common/Math.h"
#include "io/Volume.h"

#include <algorithm>
#include <limits>
#include <string>
#include <type_traits>

namespace Stratum::tools {

using KDX::TileTree3D::Traits;

template <class Traits, class T>
using PlainChannel = KDX::TileTree3D::Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>;

/// Calls `f(std::type_identity<T>)` for every value type.
template <class F>
void forEachValueType(const F& f) {
    using namespace Vantor::Math;
#define STRATUM_VALUE_TYPE(T) f(std::type_identity<T>{});
#include "common/rows.def"
}

/// Calls `f(channel)` with the channel of that name, typed; false when there is none.
template <class F>
bool visitChannel(const Vantor::Object& object, const std::string& name, const F& f) {
    bool found = false;
    const auto tryType = [&]<class Shape, class T>(std::type_identity<Shape>,
                                                   std::type_identity<T>) {
        if (found)
            return;
        if (const auto channel = object.volumeParts().component<PlainChannel<Shape, T>>(name)) {
            found = true;
            f(*channel);
        }
    };
    forEachValueType([&]<class T>(std::type_identity<T> type) {
#define STRATUM_TREE_SHAPE(B, W) tryType(std::type_identity<Traits<B, W, 1>>{}, type);
#include "common/rows.def"
    });
    return found;
}

/// As visitChannel(), and throws std::runtime_error naming the channels there are.
template <class F>
void requireChannel(const io::Volume& volume, const std::string& name, const F& f);

/// The name of a value type, such as "float3".
template <class T>
std::string valueTypeName() {
    using namespace Vantor::Math;
    std::string name;
#define STRATUM_VALUE_TYPE(Row)                                                                    \
    if (std::is_same_v<T, Row>)                                                                    \
        name = #Row;
#include "common/rows.def"
    return name;
}

/// Throws std::runtime_error: there is no channel `name`, and which there are.
[[noreturn]] void failWithoutChannel(const io::Volume& volume, const std::string& name);

template <class F>
void requireChannel(const io::Volume& volume, const std::string& name, const F& f) {
    if (!visitChannel(*volume.object, name, f))
        failWithoutChannel(volume, name);
}

/// World bounds of the tiles that hold data for a channel; lower exceeds upper when none does.
struct WorldBounds {
    static constexpr double kInfinite = std::numeric_limits<double>::infinity();
    Vantor::Math::double3 lower{kInfinite, kInfinite, kInfinite};
    Vantor::Math::double3 upper{-kInfinite, -kInfinite, -kInfinite};

    bool empty() const { return lower.x > upper.x; }
};

/// Calls `f(tile, view)` for every tile that holds data for the channel, coarse ones first.
template <class Shape, class T, class F>
void forEachDataTile(const PlainChannel<Shape, T>& channel, const F& f) {
    for (int depth = 0; depth <= channel.depth(); ++depth) {
        const auto tiles = channel.tree()->tiles(depth);
        for (std::size_t i = 0; i < tiles.size(); ++i)
            if (const auto view = channel.tileData({static_cast<std::int64_t>(i), depth}))
                f(tiles[i], view);
    }
}

template <class Shape, class T>
WorldBounds boundsOf(const PlainChannel<Shape, T>& channel) {
    WorldBounds bounds;
    const double voxelSize = channel.tree()->voxelSize();
    forEachDataTile<Shape, T>(channel, [&](const auto& tile, const auto&) {
        const double extent = tile.tileVoxelWidth();
        const auto extend = [&](int origin, double& lower, double& upper) {
            lower = std::min(lower, origin * voxelSize);
            upper = std::max(upper, (origin + extent) * voxelSize);
        };
        extend(tile.tijk().x, bounds.lower.x, bounds.upper.x);
        extend(tile.tijk().y, bounds.lower.y, bounds.upper.y);
        extend(tile.tijk().z, bounds.lower.z, bounds.upper.z);
    });
    return bounds;
}

/// How far from the origin the channel's data reach along an axis, in voxels of the tile there.
template <class Shape, class T>
double farthestInVoxels(const PlainChannel<Shape, T>& channel) {
    double farthest = 0;
    forEachDataTile<Shape, T>(channel, [&](const auto& tile, const auto&) {
        const double extent = tile.tileVoxelWidth(), width = tile.voxelDataWidth();
        for (const double origin : {tile.tijk().x, tile.tijk().y, tile.tijk().z})
            farthest = std::max({farthest, -origin / width, (origin + extent) / width});
    });
    return farthest;
}

} // namespace Stratum::tools
