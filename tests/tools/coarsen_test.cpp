#include "io/coarsen.h"

#include "io/formulaVolume.h"
#include "support/operators.h"

namespace {

using namespace Stratum::io;
using namespace StratumTest;

constexpr float kVoxel = 0.25F;

// Bends by 5e-4 a voxel on two axes, which voxels 16 wide follow to within 0.03, and by 0.07 in the
// middle, where voxels 2 wide are off by more than the tolerance.
double field(const double3& p) {
    const double r2 = p.x * p.x + 2 * p.y * p.y + 0.5 * p.z * p.z;
    return 0.02 * p.x - 0.01 * p.z + 0.3 * std::sin(p.x / 25) * std::cos(p.y / 25) +
           3 * std::exp(-r2 / 90);
}

// A ball of finest voxels, so that the rim cuts through coarse tiles.
template <class Shape>
Volume uniformVolume(VoxelOffsetType type) {
    TreeBuilder<Shape> builder;
    const int reach = Shape::kChildrenPerAxis == 2 ? 70 : 110, edge = Shape::kVoxelsPerAxis;
    for (int x = -reach; x < reach; x += edge)
        for (int y = -reach; y < reach; y += edge)
            for (int z = -reach; z < reach; z += edge)
                if (x * x + y * y + z * z < reach * reach)
                    builder.addTile(Shape::kFinestDepth, {x, y, z});
    const auto tree = builder.build(kVoxel, type);
    Volume volume{Ostrum::makePtr<Vantor::Object>(), {{"a", "", {}}, {"b", "", {}}}, {}};
    Vantor::Geometry::addTree<Shape>(*volume.object, tree);
    ChannelBuilder<Shape, float> a(tree, "a", 1.5F);
    a.fill([](const double3& p, int) { return static_cast<float>(field(p)); });
    ChannelBuilder<Shape, float3> b(tree, "b", {0, 0, 0});
    b.fill([](const double3& p, int) {
        return float3{static_cast<float>(p.x), static_cast<float>(field(p * 0.5)), 2};
    });
    Vantor::Geometry::addChannel(*volume.object, a.finish());
    Vantor::Geometry::addChannel(*volume.object, b.finish());
    return volume;
}

template <class Shape>
void keepsTheTolerance(VoxelOffsetType type) {
    const Volume fine = uniformVolume<Shape>(type);
    constexpr double kTolerance = Shape::kChildrenPerAxis == 2 ? 0.05 : 0.02;
    const Volume coarse = coarsen(fine, kTolerance);
    ASSERT_TRUE(coarse.saving);
    EXPECT_LT(coarse.saving->after.voxels, coarse.saving->before.voxels * 7 / 10);
    const auto channel = coarse.object->volumeParts().component<Plain<Shape, float>>("a");
    ASSERT_TRUE(channel);
    EXPECT_EQ(channel->depth(), Shape::kFinestDepth) << "there is detail too";
    if (Shape::kChildrenPerAxis == 2) {
        EXPECT_LE(channel->minDepth(), Shape::kFinestDepth - 2) << "tiles of three sizes meet";
    }

    // The rim stays where it is: nothing beyond the ball's bounds, and no tile mostly outside.
    const auto before = fine.object->volumeParts().component<Plain<Shape, float>>("a");
    const auto lowest = [](const auto& data) {
        int3 corner{0, 0, 0};
        for (int depth = 0; depth <= Shape::kFinestDepth; ++depth)
            for (const auto& tile : data.tree()->tiles(depth))
                if (tile.holdsVoxels())
                    corner = {std::min(corner.x, tile.tijk().x), std::min(corner.y, tile.tijk().y),
                              std::min(corner.z, tile.tijk().z)};
        return corner;
    };
    EXPECT_EQ(lowest(*channel), lowest(*before));

    Ostrum::Array<float3> positions(200000);
    const double reach = (Shape::kChildrenPerAxis == 2 ? 80 : 120) * double{kVoxel};
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto u = [&](std::uint64_t axis) {
            const double r = Vantor::Sample::randomUnit<double>(3 * i + axis, 11);
            // Every other position lies within a voxel of the faces of large tiles.
            const double at = (2 * r - 1) * reach, face = std::round(at / 10) * 10;
            return static_cast<float>(i % 2 == 0 ? at : face + (at - face) * 0.05);
        };
        positions[i] = {u(0), u(1), u(2)};
    }
    const auto a0 = sampled<float>(*fine.object, positions, "a"),
               a1 = sampled<float>(*coarse.object, positions, "a");
    const auto b0 = sampled<float3>(*fine.object, positions, "b"),
               b1 = sampled<float3>(*coarse.object, positions, "b");
    // The samples' own rounding: a few units in the last place of the largest values and positions.
    constexpr double kRounding = 40 * 4e-7;
    double largest = 0;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const double error = std::max(distance((*a0)[i], (*a1)[i]), distance((*b0)[i], (*b1)[i]));
        ASSERT_LE(error, kTolerance + kRounding)
            << positions[i].x << ' ' << positions[i].y << ' ' << positions[i].z;
        largest = std::max(largest, error);
    }
    EXPECT_GT(largest, kTolerance / 3) << "the tolerance is made use of";
}

class Coarsened : public testing::TestWithParam<int> {};

TEST_P(Coarsened, StaysWithinTheToleranceBetweenVoxels) {
    keepsTheTolerance<Traits<2, 4, 1>>(static_cast<VoxelOffsetType>(GetParam()));
    keepsTheTolerance<Traits<5, 5, 1>>(static_cast<VoxelOffsetType>(GetParam()));
}

// Centred and corner axes, both at once, and either alone.
INSTANTIATE_TEST_SUITE_P(OffsetTypes, Coarsened, testing::Values(0, 7, 5, 2));

TEST(Coarsen, RefusesWhatIsCoarseAlready) {
    EXPECT_THROW(coarsen(formulaVolume("sunflower"), 0.1), std::invalid_argument);
}

} // namespace
