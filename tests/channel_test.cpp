// Channels of the in-memory host: their builder, restriction, memory, and halos in special cases.
#include "support/volumes.h"

#include "KDX/ChannelPool.h"

#include <atomic>
#include <memory>
#include <stdexcept>

using namespace StratumTest;

namespace {

template <class Traits>
class ChannelTest : public ::testing::Test {};
TYPED_TEST_SUITE(ChannelTest, AllShapes);

TYPED_TEST(ChannelTest, BlocksTilesAndErrors) {
    using Traits = TypeParam;
    constexpr int W = Traits::kVoxelsPerAxis, finest = Traits::kFinestDepth;
    constexpr int kMax = std::numeric_limits<int>::max();
    TreeBuilder<Traits> treeBuilder;
    treeBuilder.addBox(finest, {{-W, -W, -W}, {W - 1, W - 1, W - 1}});
    treeBuilder.addTile(finest, {kMax, 0, 0});
    const auto tree = treeBuilder.build(1, VoxelOffsetType::kCorner);
    ChannelBuilder<Traits, float> builder(tree, "block", 0.0F);
    const int3 first{-2, -1, -3}, size{4, 3, W + 1};
    std::vector<float> block;
    for (int i = 0; i < size.x * size.y * size.z; ++i)
        block.push_back(static_cast<float>(i + 1));
    builder.setBlock(finest, first, size, block);
    builder.setBlock(finest, {kMax - 1, 0, 0}, {2, 1, 1}, std::vector<float>{7, 8});
    EXPECT_THROW(builder.setBlock(finest, first, {4, 3, 2}, block), std::invalid_argument);
    EXPECT_THROW(builder.setBlock(finest, first, {-4, -3, W + 1}, block), std::invalid_argument);
    const std::array<float, Traits::kVoxelCount> values{};
    EXPECT_THROW(builder.setTile({0, finest - 1}, values), std::out_of_range);
    EXPECT_THROW(builder.setTile({}, values), std::out_of_range);
    const auto channel = builder.finish();
    auto accessor = Container<Traits>(tree).tileAccessor();
    const auto at = [&](const int3& p) {
        const auto tile = accessor.tileImpl(p, finest);
        return channel->tileData(tile.treeIndex())(p - tile.tijk());
    };
    for (int z = -W; z < W; ++z)
        for (int y = -W; y < W; ++y)
            for (int x = -W; x < W; ++x) {
                const int3 d = int3{x, y, z} - first;
                const bool inside =
                    std::min({d.x, d.y, d.z}) >= 0 && d.x < size.x && d.y < size.y && d.z < size.z;
                const int expected = inside ? 1 + d.x + size.x * (d.y + size.y * d.z) : 0;
                ASSERT_EQ(at({x, y, z}), static_cast<float>(expected)) << x << y << z;
            }
    EXPECT_EQ(at({kMax - 1, 0, 0}), 7);
    EXPECT_EQ(at({kMax, 0, 0}), 8);
}

TYPED_TEST(ChannelTest, RestrictionKeepsLinearFieldsLinear) {
    using Traits = TypeParam;
    for (int type = 0; type < 8; ++type) {
        const auto tree = build<Traits>(
            {.hole = 0, .interiorData = 1, .type = static_cast<VoxelOffsetType>(type)});
        ChannelBuilder<Traits, double> builder(tree, "v", -100.0);
        const auto isCovered = [](const auto& tile, std::size_t flat) {
            constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;
            const int i = static_cast<int>(flat);
            return !tile.isLeaf({B * (i % W) / W, B * (i / W % W) / W, B * (i / (W * W)) / W});
        };
        builder.fillTiles([&](const auto& tile, const TreeIndex&, auto values) {
            builder.forEachSample(tile, [&](std::size_t flat, const double3& p) {
                values[flat] = isCovered(tile, flat) ? 555 : linearField(p);
            });
        });
        builder.restrictFrom(Traits::kFinestDepth);
        std::atomic<int> covered = 0, wrong = 0;
        builder.fillTiles([&](const auto& tile, const TreeIndex&, auto values) {
            builder.forEachSample(tile, [&](std::size_t flat, const double3& p) {
                covered += isCovered(tile, flat);
                wrong += !(std::abs(values[flat] - linearField(p)) < 1e-9);
            });
        });
        EXPECT_GT(covered, 500) << "type " << type;
        EXPECT_EQ(wrong, 0) << "type " << type;
    }
}

TYPED_TEST(ChannelTest, HalosOfSomeDepthsOnlyAndOfNothing) {
    using Traits = TypeParam;
    constexpr int W = Traits::kVoxelsPerAxis, finest = Traits::kFinestDepth;
    constexpr double kNothing = 1000;
    const auto tree = build<Traits>({.seed = 5});
    const Container<Traits> container(tree);
    const auto source = makeChannel<Traits, double>(tree, kNothing, noise(1));
    const auto whole = makeHalo(*source, container);
    Halo<Traits, double> part("", kNothing, false, true, 0, finest);
    const auto compute = [&part](const auto& from, const auto& on, int depth) {
        computeHalo<Traits, double, 0, 0, 1, 0>(from, on, part, depth, depth);
    };
    const auto isNothing = [](double v) { return v == kNothing; };
    compute(*source, container, finest - 1);
    for (int depth = source->minDepth(); depth <= finest; ++depth)
        for (std::size_t i = 0; i < tree->tiles(depth).size(); ++i) {
            const TreeIndex index{static_cast<std::int64_t>(i), depth};
            const auto values = part.tileData(index);
            if (!values)
                continue;
            const double* end = values.data() + part.valuesPerTile();
            ASSERT_TRUE(depth == finest - 1
                            ? std::equal(values.data(), end, whole->tileData(index).data())
                            : std::all_of(values.data(), end, isNothing))
                << "depth " << depth << " tile " << i;
        }

    auto accessor = container.tileAccessor();
    TileData<double, W + 1, 1, 0> wide;
    for (const TreeIndex none : {TreeIndex{}, TreeIndex{0, -1}, TreeIndex{1LL << 40, finest}}) {
        setHaloTile<Traits, double, 0, 1, 0, 1>(none, *source, HaloMode::kStandalone,
                                                HaloType::kAll, accessor, wide, kNothing, 1.0F,
                                                VoxelOffsetType::kCellCentre);
        EXPECT_TRUE(std::all_of(wide.data(), wide.data() + (W + 3) * (W + 3) * (W + 3), isNothing));
    }
}

// Of the values restricted for neighbours, a channel keeps those that some halo can ask for.
TYPED_TEST(ChannelTest, HalosNeedNoMoreRestrictedTilesThanAreKept) {
    using Traits = TypeParam;
    using Restricted = RestrictedTiles<Traits, double>;
    const EagerHalos eager; // before the source changes
    std::size_t keptBytes = 0, allBytes = 0;
    for (std::uint64_t seed = 0; seed < 8; ++seed) {
        const auto tree = build<Traits>({.seed = seed, .type = static_cast<VoxelOffsetType>(seed)});
        const double share = 0.08 * static_cast<double>(1 + seed);
        ChannelBuilder<Traits, double> builder(
            tree, "sparse", 1000.0, [&](const auto& tile, const TreeIndex&) {
                return tile.depth() >= Traits::kFinestDepth - 3 &&
                       randomAt(tile.tijk(), tile.depth(), 60 + seed) < share;
            });
        builder.fill(noise(seed));
        const auto channel = builder.finish();
        const Container<Traits> container(tree);
        const auto kept = makeHalo(*channel, container);
        keptBytes += channel->restricted()->memoryUsage();
        channel->setRestricted(
            std::make_unique<const Restricted>(*channel, Restricted::Keep::kAll));
        allBytes += channel->restricted()->memoryUsage();
        const auto all = makeHalo(*channel, container);
        for (int depth = channel->minDepth(); depth <= channel->depth(); ++depth)
            for (std::size_t i = 0; i < tree->tiles(depth).size(); ++i) {
                const TreeIndex index{static_cast<std::int64_t>(i), depth};
                if (const auto values = all->tileData(index)) {
                    ASSERT_TRUE(std::equal(values.data(), values.data() + all->valuesPerTile(),
                                           kept->tileData(index).data()))
                        << "seed " << seed << " depth " << depth << " tile " << i;
                }
            }
    }
    EXPECT_LT(keptBytes, allBytes);
}

TEST(ChannelMemoryPool, MakesRoomForNewerSizes) {
    constexpr std::size_t kLimit = 1 << 20, kBlock = kLimit / 4;
    ChannelMemoryPool::trim();
    ChannelMemoryPool::setRetainedLimit(kLimit);
    for (std::size_t odd = 1; odd <= 8; ++odd) // more than fits, none of them asked for again
        ChannelMemory(kBlock + 64 * odd, true);
    EXPECT_LE(ChannelMemoryPool::retained(), kLimit);
    const void* first = ChannelMemory(kBlock, true).get();
    EXPECT_EQ(ChannelMemory(kBlock, true).get(), first);
    // When memory runs out, what the pool holds is given back first.
    Ostrum::failAllocation(1);
    EXPECT_NO_THROW(ChannelMemory(2 * kBlock, true));
    EXPECT_EQ(ChannelMemoryPool::retained(), 2 * kBlock);
    ChannelMemoryPool::setRetainedLimit(std::size_t{512} << 20);
    ChannelMemoryPool::trim();
}

} // namespace
