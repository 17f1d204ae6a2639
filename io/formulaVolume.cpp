#include "io/formulaVolume.h"

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "io/Cancelled.h"
#include "io/Sunflower.h"
#include "io/Tube.h"

#include <algorithm>
#include <cmath>
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

// The same about the surface of a tube, whose inside is coarse.
template <class Traits>
auto refineAround(const Tube& field, double voxelSize) {
    return [&field, voxelSize](const int3& tijk, int depth) {
        const auto [lower, upper] = worldBox<Traits>(tijk, depth, voxelSize);
        const double width = Traits::voxelWidth(depth) * voxelSize;
        const double3 centre{(lower.x + upper.x) / 2, (lower.y + upper.y) / 2,
                             (lower.z + upper.z) / 2};
        const double radius = std::sqrt(3.0) / 2 * (upper.x - lower.x);
        const double distance = field.surfaceDistance(centre);
        const bool reached = distance - radius < Tube::kBand;
        const double gap = std::max(0.0, std::abs(distance) - radius);
        const bool refine = reached && depth < Traits::kFinestDepth && width > gap;
        return typename TreeBuilder<Traits>::Wish{reached && !refine, refine};
    };
}

template <class Traits, class Field, class T, class Value>
Ostrum::Ptr<typename ChannelBuilder<Traits, T>::Plain>
makeChannel(const Ostrum::Ptr<const TileTree<Traits>>& tree, const Field& field, const char* name,
            const T& outside, const Value& value) {
    ChannelBuilder<Traits, T> builder(tree, name, outside);
    const double voxelSize = tree->voxelSize();
    builder.fillTiles([&](const auto& tile, const TreeIndex&, auto values) {
        if (Ostrum::isJobCancelled())
            return;
        const auto [lower, upper] = worldBox<Traits>(tile.tijk(), tile.depth(), voxelSize);
        const Field local = field.near(lower, upper);
        builder.forEachSample(tile, [&](std::size_t flat, const double3& index) {
            values[flat] = value(local, index * voxelSize);
        });
    });
    throwIfInterrupted();
    return builder.finish();
}

// All of the field lies in a cube from -halfWidth to halfWidth.
template <class Traits, class Field>
Volume makeVolume(int voxelsPerUnit, double halfWidth) {
    const Field field;
    const int half = static_cast<int>(voxelsPerUnit * halfWidth);
    TreeBuilder<Traits> builder;
    builder.addRefined({{-half, -half, -half}, {half, half, half}},
                       refineAround<Traits>(field, 1.0 / voxelsPerUnit));
    const auto tree =
        builder.build(1.0F / static_cast<float>(voxelsPerUnit), VoxelOffsetType::kCellCentre);

    Volume volume{Ostrum::makePtr<Vantor::Object>(), {}, {}};
    Vantor::Object& object = *volume.object;
    Vantor::Geometry::addTree<Traits>(object, tree);
    const auto density =
        makeChannel<Traits>(tree, field, "density", 0.0F, [](const Field& f, const double3& p) {
            return static_cast<float>(f.density(p));
        });
    const auto distance = makeChannel<Traits>(
        tree, field, "distance", static_cast<float>(Field::kBand),
        [](const Field& f, const double3& p) { return static_cast<float>(f.distance(p)); });
    const auto velocity =
        makeChannel<Traits>(tree, field, "velocity", float3{0, 0, 0},
                            [](const Field& f, const double3& p) { return f.velocity(p); });

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
    return "sunflower, tube";
}

bool isFormulaVolume(const std::string& name) {
    return name == "sunflower" || name == "tube";
}

Volume formulaVolume(const std::string& name, TreeShape shape) {
    using Two = Traits<2, 4, 1>;
    using Five = Traits<5, 5, 1>;
    if (!isFormulaVolume(name))
        throw std::invalid_argument("there is no formula '" + name +
                                    "'; there are: " + formulaNames());
    const bool two = shape == TreeShape::kTwo;
    if (name == "sunflower")
        return two ? makeVolume<Two, Sunflower>(512, 1.125)
                   : makeVolume<Five, Sunflower>(256, 1.125);
    return two ? makeVolume<Two, Tube>(24, 3.75) : makeVolume<Five, Tube>(24, 3.75);
}

} // namespace Stratum::io
