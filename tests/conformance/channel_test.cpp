// A host's channels and halos, voxel by voxel, and how parts of a volume are found.
#include "Vantor/Geometry.h"
#include "conformance/MakeVolume.h"
#include "support/reference.h"

#include "KDX/ChannelPool.h"
#include "KDX/partsFit.h"

using namespace Conformance;

namespace {

template <class Traits>
class ChannelConformance : public ::testing::Test {
protected:
    static constexpr int kFinest = Traits::kFinestDepth;

    static Parts<Traits> parts(int type) {
        const auto offsetType = static_cast<VoxelOffsetType>(type);
        return makeParts<Traits>(kMakesAnyTree ? tilesOfTree<Traits>({.seed = 11U + type})
                                               : tilesOfBlock<Traits>(kFinest - type % 2),
                                 1, offsetType);
    }
    // With gaps.
    static bool mostly(const int3& tijk, int depth) { return randomAt(tijk, depth, 9) > 0.2; }
};
TYPED_TEST_SUITE(ChannelConformance, AllShapes);

TYPED_TEST(ChannelConformance, SeveralTypesAndSubsetsShareATree) {
    using Traits = TypeParam;
    const auto parts = this->parts(0);
    const auto all =
        makeChannel<float3>(parts, "all", float3{9, 9, 9}, everywhere,
                            [](const double3& p, int) { return toPosition<float3>(p); });
    const int depth = kMakesAnyTree ? this->kFinest - 2 : this->kFinest;
    const auto isPart = [&](const int3& tijk, int at) { return at == depth && tijk.x < 0; };
    const auto part =
        makeChannel<double>(parts, "part", -1.0, isPart, [](const double3& p, int) { return p.x; });
    EXPECT_EQ(part->name(), Ostrum::String("part"));
    EXPECT_EQ(part->minDepth(), depth);
    EXPECT_EQ(part->depth(), depth);
    EXPECT_EQ(all->depth(), this->kFinest);
    EXPECT_EQ(all->defaultValue(), (float3{9, 9, 9}));
    EXPECT_EQ(all->elementCount(-1), parts.container->voxelDataCount(-1));
    auto accessor = parts.container->tileAccessor();
    std::int64_t values = 0;
    for (const auto* tile : TileList<Traits>(*parts.container).tiles) {
        const TreeIndex index = accessor.tileImpl(tile->tijk(), tile->depth()).treeIndex();
        const auto own = part->tileData(index);
        ASSERT_EQ(bool(own), bool(all->tileData(index)) && isPart(tile->tijk(), tile->depth()));
        if (!own)
            continue;
        values += Traits::kVoxelCount;
        const float w = static_cast<float>(Traits::voxelWidth(depth)), half = w / 2;
        const auto origin = toPosition<float3>(
            {double(tile->tijk().x), double(tile->tijk().y), double(tile->tijk().z)});
        EXPECT_EQ((all->tileData(index)(int3{1, 2, 3})),
                  (float3{origin.x + w + half, origin.y + 2 * w + half, origin.z + 3 * w + half}));
        EXPECT_EQ(own.data()[1], double(origin.x + w + half)) << "x fastest";
        const std::array<TreeIndex, 3> some{index, TreeIndex{}, index};
        std::array<decltype(own.data()), 3> found;
        part->tilesData(some.data(), 3, found.data());
        EXPECT_EQ(found, (std::array<decltype(own.data()), 3>{own.data(), nullptr, own.data()}));
    }
    EXPECT_EQ(part->elementCount(-1), values);
    for (const TreeIndex bad : {TreeIndex{}, TreeIndex{0, -1}, TreeIndex{-1, depth},
                                TreeIndex{1LL << 40, depth}, TreeIndex{0, 99}})
        EXPECT_FALSE(part->tileData(bad));
}

// Own values, finer and coarser neighbours, absent ones: at faces, edges and corners alike.
TYPED_TEST(ChannelConformance, HalosHoldWhatIsAround) {
    using Traits = TypeParam;
    constexpr int W = Traits::kVoxelsPerAxis;
    for (int type = 0; type < 8; ++type) {
        const auto parts = this->parts(type);
        const auto source = makeChannel<double>(parts, "v", 1000.0, this->mostly, noise(2));
        const auto halo = makeHalo(*source, *parts.container);
        ASSERT_TRUE(partsFit(*parts.container, *parts.topology, *halo));
        const Reference<Traits> reference(*source, *parts.container, parts.topology->offsetType());
        ASSERT_EQ(halo->depth(), source->depth());
        ASSERT_EQ(halo->minDepth(), source->minDepth());
        auto accessor = parts.container->tileAccessor();
        TileData<double, W + 1, 1, 0> wide;
        const auto check = [&](const auto& tile, const double* values, int lower, int upper) {
            const int3 origin = tile.tijk();
            const std::int64_t v = Traits::voxelWidth(tile.depth());
            for (int z = -lower; z < W + upper; ++z)
                for (int y = -lower; y < W + upper; ++y)
                    for (int x = -lower; x < W + upper; ++x)
                        ASSERT_NEAR(
                            *values++,
                            reference.value(tile.depth(),
                                            {origin.x / v + x, origin.y / v + y, origin.z / v + z}),
                            1e-9)
                            << "type " << type << " depth " << tile.depth() << " tile at "
                            << origin.x << ' ' << origin.y << ' ' << origin.z << " at " << x << ' '
                            << y << ' ' << z;
        };
        std::map<int, std::size_t> seen; // by depth
        for (const auto* tile : TileList<Traits>(*parts.container).tiles) {
            const TreeIndex index = accessor.tileImpl(tile->tijk(), tile->depth()).treeIndex();
            const auto values = halo->tileData(index);
            ASSERT_EQ(static_cast<bool>(values), static_cast<bool>(source->tileData(index)));
            if (!values || (++seen[tile->depth()] > 20 && seen[tile->depth()] % 61))
                continue;
            check(*tile, values.data(), type == 7 ? 0 : 1, 1);
            setHaloTile<Traits, double, 0, 1, 0, 1>(index, *source, HaloMode::kStandalone,
                                                    HaloType::kAll, accessor, wide, 1000.0, 1.0F,
                                                    static_cast<VoxelOffsetType>(type));
            check(*tile, wide.data(), 1, 2);
            if (this->HasFatalFailure())
                return;
        }
        EXPECT_GT(seen.size(), kMakesAnyTree ? 2U : 0U);
    }
}

TYPED_TEST(ChannelConformance, NewChannelsGetTheirTilesLater) {
    using Traits = TypeParam;
    using HaloChannel = Halo<Traits, float>;
    const auto parts = this->parts(7);
    const auto source = makeChannel<float>(parts, "v", 4.0F, this->mostly, noise(1));
    const auto pooled = ChannelPool::allocate<Traits, float, Traits::kVoxelsPerAxis + 1, 0>(
        7.0F, true, ChannelMemoryPool::enabled(), 0, this->kFinest, std::size_t{0},
        parts.topology.get());
    HaloChannel made("made", 7.0F, false, true, 0, this->kFinest);
    for (HaloChannel* channel : {&*pooled, &made}) {
        EXPECT_EQ(channel->depth(), -1);
        EXPECT_EQ(channel->defaultValue(), 7.0F);
        EXPECT_FALSE(channel->tileData({0, this->kFinest}));
        EXPECT_TRUE(partsFit(*parts.container, *parts.topology, *channel));
    }
    made.update(*parts.topology);
    EXPECT_GE(made.depth(), source->depth());
    computeHalo<Traits, float, 0, 0, 1, 0>(*source, *parts.container, *pooled, -1, -1);
    EXPECT_EQ(pooled->depth(), source->depth());
    const auto other = this->parts(1);
    const Plain<Traits, float> unplaced("", 0, false, true, 0, this->kFinest);
    const auto compute = [&pooled](const auto& from, const auto& on) {
        computeHalo<Traits, float, 0, 0, 1, 0>(from, on, *pooled, -1, -1);
    };
    EXPECT_THROW(compute(unplaced, *parts.container), std::invalid_argument);
    EXPECT_THROW(compute(*source, *other.container), std::invalid_argument);
    EXPECT_FALSE(partsFit(*other.container, *parts.topology, *source));
    EXPECT_FALSE(partsFit(*other.container, *other.topology, *source));
}

TEST(ObjectConformance, PartsAreFoundByNameAndType) {
    namespace Geo = Vantor::Geometry;
    using Two = Traits<2, 4, 1>;
    using Five = Traits<5, 5, 1>;
    Vantor::Object object;
    EXPECT_FALSE(Geo::shallow_copy_object_to_kdx_volume(object));
    EXPECT_FALSE(object.isA(*Geo::getVolumePrototype()));
    const auto two = makeParts<Two>(tilesOfBlock<Two>(28), 1, VoxelOffsetType::kCorner);
    const auto five = makeParts<Five>(tilesOfBlock<Five>(12), 1, VoxelOffsetType::kCorner);
    const auto channel =
        makeChannel<float>(five, "x", 0.0F, everywhere, [](const double3&, int) { return 1.0F; });
    addPart(object, Geo::sVoxelTileTree, two.container);
    addPart(object, Geo::sVoxelTileTree, five.container);
    addPart(object, Geo::sVoxelComp, five.topology);
    addPart(object, "x", channel);
    EXPECT_TRUE(object.isA(*Geo::getVolumePrototype()));
    EXPECT_FALSE(object.isA(*Geo::getMeshPrototype()));
    EXPECT_FALSE(object.isA(*Geo::getStrandPrototype()));
    EXPECT_FALSE(object.isA(*Geo::getPointCloudPrototype()));
    const auto volume = Geo::shallow_copy_object_to_kdx_volume(object);
    EXPECT_EQ(volume->component<Container<Two>>(Geo::sVoxelTileTree), two.container);
    EXPECT_EQ(volume->component<Container<Five>>(Geo::sVoxelTileTree), five.container);
    EXPECT_EQ(volume->component<VoxelTopology<Five>>(Geo::sVoxelComp), five.topology);
    EXPECT_FALSE(volume->component<VoxelTopology<Two>>(Geo::sVoxelComp));
    EXPECT_EQ((volume->component<Plain<Five, float>>("x")), channel);
    EXPECT_TRUE(volume->component<KDX::Component>("x"));
    EXPECT_FALSE((volume->component<Plain<Five, double>>("x")));
    EXPECT_FALSE((volume->component<Plain<Two, float>>("x")));
    EXPECT_FALSE((volume->component<Plain<Five, float>>("value")));
}

} // namespace
