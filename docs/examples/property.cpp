// Scatters locations in a fog and reads another channel there; then the same channel beside its
// data, where the number of locations decides which default counts.
#include "geometries.h"
#include "ops/generate_sample_locations.h"
#include "ops/sample_volume_property.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace Examples;
using namespace KDX::TileTree3D;
using Vantor::Geometry::Common::GeoLocation;

namespace {

GeoLocation at(float x, float y, float z) {
    GeoLocation location;
    location.weights = {x, y, z, 0}; // all that the operator reads
    return location;
}

} // namespace

int main() {
    // Samples on voxel corners; a ball of fog, and a heat that is x throughout.
    TreeBuilder<VolumeShape> tiles;
    tiles.addBox(VolumeShape::kFinestDepth, {{-8, -8, -8}, {7, 7, 7}});
    const auto tree = tiles.build(1, VoxelOffsetType::kCorner);
    const auto volume = Ostrum::makePtr<Vantor::Object>();
    Vantor::Geometry::addTree<VolumeShape>(*volume, tree);
    addChannel(*volume, tree, Vantor::Geometry::sVoxelFogDensity,
               [](const double3& p) { return 6 - std::hypot(p.x, p.y, p.z); });
    addChannel(*volume, tree, "heat", [](const double3& p) { return p.x; });

    Ostrum::Ptr<Ostrum::Array<GeoLocation>> locations;
    Geometry::Query::generate_sample_locations(
        volume, VantorExp::Geometry::SampleType::Points, 1000,
        VantorExp::Geometry::AmountType::Count, VantorExp::Geometry::MaskControl::Resample, 12,
        nullptr, false, 0, false, "", false, locations, Ostrum::RuntimeServices());

    constexpr VantorExp::SampleMethod kAnyMethod{};
    Ostrum::Ptr<Ostrum::Array<float>> values;
    Ostrum::Ptr<Ostrum::Array<bool>> valid;
    Geometry::Internal::sample_volume_property(*volume, *locations, "heat", -1.0F, kAnyMethod,
                                               values, valid);
    float error = 0;
    for (std::size_t i = 0; i < values->size(); ++i)
        error = std::max(error, std::abs((*values)[i] - (*locations)[i].weights[0]));
    std::printf("%zu values, largest error %.1g\n", values->size(), static_cast<double>(error));

    // 4096 voxels are stored: up to 819 locations count as few.
    for (const std::size_t count : {819, 820}) {
        const Ostrum::Array<GeoLocation> outside(count, at(7.5F, 0.5F, 0.5F));
        Geometry::Internal::sample_volume_property(*volume, outside, "heat", -1.0F, kAnyMethod,
                                                   values, valid);
        std::printf("%zu locations: value %g, valid %d\n", count, static_cast<double>((*values)[0]),
                    (*valid)[0] ? 1 : 0);
    }
}
