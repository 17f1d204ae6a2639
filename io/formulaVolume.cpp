#include "io/formulaVolume.h"

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "io/Cancelled.h"
#include "io/Sunflower.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace Stratum::io {

namespace {

using namespace KDX::TileTree3D;

// Voxels across a seed's radius that the refinement aims at.
constexpr double kVoxelsPerRadius = 11;

struct Box {
    double3 lower, upper;
};

template <class Traits>
Box worldBox(const int3& tijk, int depth, double voxelSize) {
    const double extent = Traits::tileExtent(depth) * voxelSize;
    const double3 lower{tijk.x * voxelSize, tijk.y * voxelSize, tijk.z * voxelSize};
    return {lower, {lower.x + extent, lower.y + extent, lower.z + extent}};
}

// Voxels as wide as the seeds around allow, wider ones with distance from the seeds; nothing where
// no seed reaches. The margin of a voxel holds what samples next to the seeds' reach look at.
template <class Traits>
auto refineAround(const Sunflower& field, double voxelSize) {
    return [&field, voxelSize](const int3& tijk, int depth) {
        const auto [lower, upper] = worldBox<Traits>(tijk, depth, voxelSize);
        const double width = Traits::voxelWidth(depth) * voxelSize;
        double allowed = std::numeric_limits<double>::max();
        bool reached = false;
        for (const auto& seed : field.seeds()) {
            const double gap = distanceToBox(seed.centre, lower, upper);
            allowed = std::min(allowed, std::max(seed.radius, gap) / kVoxelsPerRadius);
            reached = reached || gap < Sunflower::reach(seed) + width;
        }
        // A tile of 5 children may be somewhat too coarse: the next step is a long one.
        const double slack = Traits::kChildrenPerAxis == 5 ? 2 : 1;
        const bool refine = reached && width > slack * allowed && depth < Traits::kFinestDepth;
        return typename TreeBuilder<Traits>::Wish{reached && !refine, refine};
    };
}

template <class Traits, class T, class Value>
Ostrum::Ptr<typename ChannelBuilder<Traits, T>::Plain>
makeChannel(const Ostrum::Ptr<const TileTree<Traits>>& tree, const Sunflower& field,
            const char* name, const T& outside, const Value& value) {
    ChannelBuilder<Traits, T> builder(tree, name, outside);
    const double voxelSize = tree->voxelSize();
    builder.fillTiles([&](const auto& tile, const TreeIndex&, auto values) {
        if (Ostrum::isJobCancelled())
            return;
        const auto [lower, upper] = worldBox<Traits>(tile.tijk(), tile.depth(), voxelSize);
        const Sunflower local = field.near(lower, upper);
        builder.forEachSample(tile, [&](std::size_t flat, const double3& index) {
            values[flat] = value(local, index * voxelSize);
        });
    });
    throwIfCancelled();
    return builder.finish();
}

template <class Traits>
Volume makeSunflower(int voxelsPerUnit) {
    const Sunflower field;
    const int half = voxelsPerUnit + voxelsPerUnit / 8;
    TreeBuilder<Traits> builder;
    builder.addRefined({{-half, -half, -half}, {half, half, half}},
                       refineAround<Traits>(field, 1.0 / voxelsPerUnit));
    const auto tree =
        builder.build(1.0F / static_cast<float>(voxelsPerUnit), VoxelOffsetType::kCellCentre);

    Volume volume{Ostrum::makePtr<Vantor::Object>(), {}, {}};
    Vantor::Object& object = *volume.object;
    Vantor::Geometry::addTree<Traits>(object, tree);
    const auto density =
        makeChannel<Traits>(tree, field, "density", 0.0F, [](const Sunflower& f, const double3& p) {
            return static_cast<float>(f.density(p));
        });
    const auto distance = makeChannel<Traits>(
        tree, field, "distance", static_cast<float>(Sunflower::kBand),
        [](const Sunflower& f, const double3& p) { return static_cast<float>(f.distance(p)); });
    const auto velocity = makeChannel<Traits>(
        tree, field, "velocity", float3{0, 0, 0},
        [](const Sunflower&, const double3& p) { return Sunflower::velocity(p); });

    using Vantor::Geometry::addChannel;
    addChannel(object, density);
    addChannel(object, density, Vantor::Geometry::sVoxelFogDensity);
    addChannel(object, distance);
    addChannel(object, distance, Vantor::Geometry::sVoxelSignedDistance);
    addChannel(object, velocity);
    volume.channels = {{"density",
                        "formula, a fog",
                        {Vantor::Geometry::sVoxelFogDensity.str()},
                        ChannelKind::kFog},
                       {"distance",
                        "formula, a level set",
                        {Vantor::Geometry::sVoxelSignedDistance.str()},
                        ChannelKind::kLevelSet},
                       {"velocity", "formula", {}}};
    return volume;
}

} // namespace

std::string formulaNames() {
    return "sunflower";
}

Volume formulaVolume(const std::string& name, TreeShape shape) {
    if (name != "sunflower")
        throw std::invalid_argument("there is no formula '" + name +
                                    "'; there are: " + formulaNames());
    return shape == TreeShape::kTwo ? makeSunflower<Traits<2, 4, 1>>(512)
                                    : makeSunflower<Traits<5, 5, 1>>(256);
}

} // namespace Stratum::io
