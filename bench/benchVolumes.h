// The volumes and positions that all benchmarks share, so that ours and the peers' see the same.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Ostrum/Array.h"
#include "Vantor/Object.h"
#include "Vantor/Volume.h"
#include "common/Math.h"
#include "ops/volumeParts.h"

#include <compare>
#include <map>
#include <string>
#include <utility>

namespace Stratum::Bench {

/// Voxels per axis of most volumes, and positions per benchmark. Samples lie on voxel corners and a
/// voxel is one world unit wide.
inline constexpr int kSize = 256;
inline constexpr std::size_t kPositions = 4'000'000;
inline constexpr char kChannel[] = "value";

/// Every voxel of the cube, or only those within a few voxels of a sphere (a narrow band).
enum class Content { kDense, kBand };
enum class Access { kRandom, kCoherent };

/// What fills a volume, and voxels per axis.
struct Scene {
    Content content = Content::kDense;
    int size = kSize;
    auto operator<=>(const Scene&) const = default;
};

/// "dense", "band", "dense-96".
std::string nameOf(const Scene& scene);
std::string nameOf(Access access);

/// The value at a voxel; all libraries are filled with it.
float fieldValue(double x, double y, double z);
bool isInBand(const Scene& scene, double x, double y, double z);
/// Whether the band comes near a tile of this extent.
bool isNearBand(const Scene& scene, const Vantor::Math::int3& tijk, int extent);

/// The same field times 1, 2, ... for a type's components.
template <class T>
T fieldValueOf(const Vantor::Math::double3& p) {
    using namespace Vantor::Math;
    Components<T> components;
    for (std::size_t c = 0; c < components.size(); ++c)
        components[c] =
            static_cast<ScalarOf<T>>(fieldValue(p.x, p.y, p.z)) * static_cast<ScalarOf<T>>(c + 1);
    return fromComponents<T>(components);
}

/// A volume as operators get it, and its parts.
template <class Traits, class T>
struct BenchVolume : VolumeParts<Traits, T> {
    Vantor::Object object;
};

namespace detail {

template <class Traits>
auto makeTree(const Scene& scene) {
    using namespace KDX::TileTree3D;
    TreeBuilder<Traits> tiles;
    const int last = scene.size - 1;
    if (scene.content == Content::kDense)
        tiles.addBox(Traits::kFinestDepth, {{0, 0, 0}, {last, last, last}});
    else
        tiles.addRefined({{0, 0, 0}, {last, last, last}}, [&](const int3& tijk, int depth) {
            const bool near = isNearBand(scene, tijk, Traits::tileExtent(depth));
            const bool finest = depth == Traits::kFinestDepth;
            return typename TreeBuilder<Traits>::Wish{near && finest, near && !finest};
        });
    return tiles.build(1.0F, VoxelOffsetType::kCorner);
}

template <class Traits, class T>
BenchVolume<Traits, T> makeVolume(const Scene& scene) {
    using namespace KDX::TileTree3D;
    const auto tree = makeTree<Traits>(scene);
    ChannelBuilder<Traits, T> values(tree, kChannel, T{});
    values.fill([](const double3& p, int) { return fieldValueOf<T>(p); });
    BenchVolume<Traits, T> volume;
    Vantor::Geometry::addTree<Traits>(volume.object, tree);
    Vantor::Geometry::addChannel(volume.object, values.finish());
    static_cast<VolumeParts<Traits, T>&>(volume) =
        findVolumeParts<Traits, T>(volume.object.volumeParts(), kChannel);
    return volume;
}

} // namespace detail

/// Built once and kept.
template <class Traits, class T = float>
const BenchVolume<Traits, T>& benchVolume(const Scene& scene) {
    static std::map<Scene, BenchVolume<Traits, T>> volumes;
    const auto found = volumes.find(scene);
    return found != volumes.end()
               ? found->second
               : volumes.emplace(scene, detail::makeVolume<Traits, T>(scene)).first->second;
}

using Positions = Ostrum::Array<Vantor::Math::float3>;

/// Positions inside the cube, or near the sphere for the band: drawn at random, or along lines in
/// steps of 0.37 voxels as a ray marcher takes them. Made once and kept.
const Positions& benchPositions(const Scene& scene, Access access, std::size_t count = kPositions);

} // namespace Stratum::Bench
