#include "KDX/Channel.h"
#include "Vantor/Geometry.h"
#include "common/randomUnit.h"
#include "io/Sunflower.h"
#include "io/formulaVolume.h"
#include "ops/sample_volume.h"

#include <gtest/gtest.h>

namespace {

using namespace Stratum::io;
using KDX::TileTree3D::Channel;
using KDX::TileTree3D::Traits;

// A seed's profile has the second derivative -6 / radius^2 on each axis in its middle, where it
// bends most, so interpolating over voxels of width w misses it by 3 / 8 * 6 * (w / radius)^2 at
// most: 0.019 for 11 voxels a radius and 0.075 for half of that. Overlaps add a little.
TEST(FormulaVolume, FollowsTheFieldInBothShapesAtSeveralDepths) {
    const Sunflower field;
    for (const TreeShape shape : {TreeShape::kTwo, TreeShape::kFive}) {
        const Volume volume = formulaVolume("sunflower", shape);
        const double bound = shape == TreeShape::kTwo ? 0.025 : 0.08;
        Ostrum::Array<float3> positions(100000);
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const auto u = [i](std::size_t axis) {
                return Vantor::Sample::randomUnit<float>(3 * i + axis, 5) * 2 - 1;
            };
            positions[i] = {u(0), u(1), u(2) * 0.2F};
        }
        Ostrum::Ptr<Ostrum::Array<float>> density;
        Geometry::Query::sample_volume(*volume.object, positions, 9.0F,
                                       Vantor::Geometry::sVoxelFogDensity,
                                       Geometry::Query::SamplerType::kLinear, density);
        for (std::size_t i = 0; i < positions.size(); ++i) {
            const auto& p = positions[i];
            ASSERT_NEAR((*density)[i], field.density({p.x, p.y, p.z}), bound) << i;
        }
        const auto& parts = volume.object->volumeParts();
        const auto two = parts.component<Channel<Traits<2, 4, 1>, float, 4, 0, 0>>("density");
        const auto five = parts.component<Channel<Traits<5, 5, 1>, float, 5, 0, 0>>("density");
        ASSERT_EQ(static_cast<bool>(two), shape == TreeShape::kTwo);
        ASSERT_EQ(static_cast<bool>(five), shape == TreeShape::kFive);
        EXPECT_GT(two ? two->depth() - two->minDepth() : five->depth() - five->minDepth(), 0);
    }
    EXPECT_THROW(formulaVolume("rose"), std::invalid_argument);
}

} // namespace
