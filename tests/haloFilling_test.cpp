// Halo channels whose tiles are filled by their readers, against those that are filled whole.
#include "support/volumes.h"

#include "KDX/ChannelPool.h"
#include "KDX/TileArena.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <thread>
#include <vector>

using namespace StratumTest;

namespace {

template <class Traits>
class HaloFillingTest : public ::testing::Test {};
TYPED_TEST_SUITE(HaloFillingTest, AllShapes);

template <class Traits>
std::vector<TreeIndex> allTiles(const TileTree<Traits>& tree) {
    std::vector<TreeIndex> tiles;
    for (int depth = 0; depth <= Traits::kFinestDepth; ++depth)
        for (std::size_t i = 0; i < tree.tiles(depth).size(); ++i)
            tiles.push_back({static_cast<std::int64_t>(i), depth});
    return tiles;
}

template <class Traits>
std::size_t bytesOf(const Halo<Traits, double>& halo) {
    return static_cast<std::size_t>(halo.valuesPerTile()) * sizeof(double);
}

// Whether a tile of one halo channel is that of another, bit for bit.
template <class Traits>
bool sameTile(const Halo<Traits, double>& a, const Halo<Traits, double>& b,
              const TreeIndex& index) {
    const auto left = a.tileData(index), right = b.tileData(index);
    return left && right ? std::memcmp(left.data(), right.data(), bytesOf(a)) == 0
                         : !left && !right;
}

TYPED_TEST(HaloFillingTest, ReadersOfAllThreadsSeeWhatIsFilledWhole) {
    using Traits = TypeParam;
    for (const auto type : {VoxelOffsetType::kCorner, VoxelOffsetType::kCellCentre}) {
        auto tree = build<Traits>({.seed = 21, .type = type});
        auto container = std::make_unique<Container<Traits>>(tree);
        auto source = makeChannel<Traits, double>(tree, 1000.0, noise(2));
        const auto whole = [&] {
            const EagerHalos eager;
            return makeHalo(*source, *container);
        }();
        const auto halo = makeHalo(*source, *container);
        EXPECT_LT(halo->memoryUsage(), whole->memoryUsage() / 4);
        EXPECT_EQ(halo->elementCount(-1), whole->elementCount(-1));
        const auto tiles = allTiles(*tree);
        source = {};
        container.reset();
        tree = {};
        std::array<int, 3> wrong{};
        std::array<std::vector<const double*>, 3> seen; // where tiles were when first asked for
        {
            std::vector<std::jthread> readers;
            for (std::size_t reader = 0; reader < wrong.size(); ++reader)
                readers.emplace_back([&, reader] {
                    // From different places, in strides: alone at first, then in groups.
                    constexpr std::size_t stride = 1'000'003; // a prime: every tile has its turn
                    const std::size_t count = tiles.size();
                    seen[reader].resize(count);
                    for (std::size_t i = 0; i < count; ++i) {
                        const std::size_t t = (reader * count / 3 + i * stride) % count;
                        wrong[reader] += !sameTile(*halo, *whole, tiles[t]);
                        seen[reader][t] = halo->tileData(tiles[t]).data();
                    }
                });
        }
        EXPECT_EQ(wrong, (std::array<int, 3>{}));
        for (const auto& first : seen)
            for (std::size_t t = 0; t < tiles.size(); ++t)
                if (const auto values = whole->tileData(tiles[t])) {
                    ASSERT_EQ(std::memcmp(first[t], values.data(), bytesOf(*whole)), 0);
                }
        EXPECT_LT(halo->memoryUsage(), 3 * whole->memoryUsage());
    }
}

TYPED_TEST(HaloFillingTest, ATileThatFailedIsFilledByTheNextReader) {
    using Traits = TypeParam;
    const auto tree = build<Traits>({.seed = 4, .type = VoxelOffsetType::kCornerXY});
    const Container<Traits> container(tree);
    const auto source = makeChannel<Traits, double>(tree, 2.0, noise(1));
    const auto whole = [&] {
        const EagerHalos eager;
        return makeHalo(*source, container);
    }();
    const auto tiles = allTiles(*tree);
    for (const bool pooled : {false, true}) {
        Halo<Traits, double> halo("", 2.0, pooled, true, 0, Traits::kFinestDepth);
        const auto compute = [&] {
            computeHalo<Traits, double, 0, 0, 1, 0>(*source, container, halo, -1, -1);
        };
        ChannelMemoryPool::trim();
        Ostrum::failAllocation(1);
        EXPECT_THROW(compute(), std::bad_alloc);
        EXPECT_EQ(halo.depth(), -1);
        compute();
        int failures = 0;
        for (const TreeIndex& index : tiles) {
            ChannelMemoryPool::trim();
            Ostrum::failAllocation(1);
            try {
                halo.tileData(index);
            } catch (const std::bad_alloc&) {
                ++failures;
            }
            Ostrum::failAllocation(0);
            ASSERT_TRUE(sameTile(halo, *whole, index));
        }
        EXPECT_GT(failures, 2);
    }
}

// A source that nobody shares may be gone before the first reader comes.
TYPED_TEST(HaloFillingTest, SourcesThatCannotBeKeptFillAtOnce) {
    using Traits = TypeParam;
    const auto tree = build<Traits>({.seed = 8});
    const Container<Traits> container(tree);
    VoxelTopology<Traits> topology(tree);
    auto source =
        std::make_unique<Plain<Traits, double>>("", 3.0, false, true, 0, Traits::kFinestDepth);
    source->update(topology);
    const auto halo = makeHalo(*source, container);
    source.reset();
    for (const TreeIndex& index : allTiles(*tree))
        if (const auto values = halo->tileData(index)) {
            ASSERT_EQ(values.data()[0], 3.0);
        }
}

TEST(TileArena, HandsOutEveryPlaceOnce) {
    constexpr std::size_t kNumbers = 3, kThreads = 3, kRuns = 400; // numbers a tile
    TileArena arena(kNumbers * sizeof(std::size_t), 500, false);
    struct Run {
        std::size_t number;
        std::span<const std::size_t> memory;
    };
    std::array<std::vector<Run>, kThreads> runs;
    {
        std::vector<std::jthread> threads;
        for (std::size_t t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t] {
                for (std::size_t i = 0; i < kRuns; ++i) {
                    const std::size_t tiles =
                        i % 4 == 0 ? 1 : 1 + (i * 7 + t) % TileArena::kMostAtOnce;
                    auto* memory = static_cast<std::size_t*>(arena.take(tiles));
                    std::fill_n(memory, tiles * kNumbers, t * kRuns + i);
                    if (tiles == 1 && i % 2 == 0)
                        arena.giveBack(memory);
                    else
                        runs[t].push_back({t * kRuns + i, {memory, tiles * kNumbers}});
                }
            });
    }
    for (const auto& ofThread : runs)
        for (const Run& run : ofThread)
            for (const std::size_t number : run.memory)
                ASSERT_EQ(number, run.number);
}

} // namespace
