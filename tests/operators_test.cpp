// The operators as a host calls them: every way in which they end.
#include "KDX/ChannelPool.h"
#include "Kelvane/terminateMessage.h"
#include "Ostrum/Job.h"
#include "support/operators.h"
#include "volume/VisitOrder.h"
#include "volume/VoxelSamplerCubic.h"
#include "volume/VoxelSamplerLinear.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <future>
#include <thread>

using namespace StratumTest;
using Geometry::Query::sample_volume_gradient;

namespace {

// A packaged scheduler drowns the thread sanitizer in false reports when a test uses it itself.
#ifdef STRATUM_PLAIN_THREADS
constexpr bool kPlainThreads = true;
#else
constexpr bool kPlainThreads = false;
#endif

class FrameTest : public ::testing::Test {
protected:
    using Two = Traits<2, 4, 1>;

    FrameTest() { channel = addVolume<Two, float>(object, {.seed = 6}); }
    ~FrameTest() override {
        Ostrum::cancelJob(false);
        Ostrum::failAllocation(0);
        Kelvane::takeTerminateMessages();
    }

    Vantor::Object object;
    Ptr<Plain<Two, float>> channel;
    const Array<float3> positions = somePositions(3000, 50);
};

TEST_F(FrameTest, AChannelThatWasNeverLaidOutHoldsNoData) {
    Vantor::Object bare;
    Vantor::Geometry::addTree<Two>(bare, channel->tree());
    Vantor::Geometry::addChannel(
        bare, makePtr<Plain<Two, float>>("value", kChannelDefault, false, true, 0, 28));
    for (const auto sampler : {SamplerType::kLinear, SamplerType::kCubicC0})
        EXPECT_EQ(*sampled<float>(bare, positions, "value", sampler),
                  Array<float>(positions.size(), kChannelDefault));
    Ptr<Array<float3>> gradients;
    sample_volume_gradient(bare, positions, 4.0F, "value", SamplerType::kLinear, gradients);
    EXPECT_EQ(*gradients, Array<float3>(positions.size()));
}

TEST_F(FrameTest, CancellingCountsWithoutALoopToo) {
    for (const std::size_t count : {0U, 1U}) {
        Ostrum::cancelJobAtQuestion(2);
        EXPECT_TRUE(sampled<float>(object, somePositions(count, 50))->empty());
        Ostrum::cancelJob(false);
        EXPECT_EQ(Kelvane::takeTerminateMessages(), (Array<String>{"sample_volume"}));
    }
    // Nothing to loop over: nobody asks again.
    Ostrum::cancelJobAtQuestion(2);
    EXPECT_EQ(sampled<float>(Vantor::Object(), positions)->size(), positions.size());
}

TEST_F(FrameTest, PartsOfDifferentTreesAreTheHostsMistake) {
    Vantor::Object mixed;
    Vantor::Geometry::addTree<Two>(mixed, build<Two>({.seed = 6}));
    Vantor::Geometry::addChannel(mixed, channel);
    for (const auto sampler : {SamplerType::kLinear, SamplerType::kCubicC1})
        EXPECT_THROW(sampled<float>(mixed, positions, "value", sampler), std::invalid_argument);
}

TEST_F(FrameTest, ResultsDependOnNoPools) {
    const auto reference = sampled<float>(object, positions);
    for (const bool pool : {false, true})
        for (const bool memoryPool : {false, true}) {
            ChannelPool::setEnabled(pool);
            ChannelMemoryPool::setEnabled(memoryPool);
            for (int again = 0; again < 2; ++again)
                EXPECT_EQ(*sampled<float>(object, positions), *reference);
        }
    EXPECT_EQ(channel.useCount(), 2);
    // The channel's own memory went back to the pool, and leaves it when the pool shrinks.
    EXPECT_GT(ChannelMemoryPool::retained(), 0U);
    ChannelMemoryPool::trim();
    EXPECT_EQ(ChannelMemoryPool::retained(), 0U);
}

// Positions of any kind over more than one block of the order.
Array<float3> scatteredPositions() {
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    Array<float3> positions = somePositions(300'000, 60);
    for (std::size_t i = 0; i < positions.size(); i += 1000)
        positions[i].y = i % 3000 ? std::nanf("") : i % 2000 ? kInfinite : -1e30F;
    return positions;
}

// The last tiles of five children an axis reach beyond the last index.
TEST(Sampler, TilesAtTheEndOfTheRangeDoNotHoldWhatLiesAtItsBeginning) {
    using Shape = Traits<5, 5, 1>;
    TreeBuilder<Shape> tiles;
    tiles.addTile(3, {std::numeric_limits<int>::max(), 0, 0});
    const auto object = volumeOn<float>(tiles.build(1, VoxelOffsetType::kCorner),
                                        [](const double3&, int) { return 5.0; });
    Array<float3> positions;
    for (int i = 0; i < 1000; ++i)
        positions.push_back({i % 2 ? -2147000064.0F : 2146000000.0F, 1, 1});
    for (const auto sampler : {SamplerType::kLinear, SamplerType::kCubicC1}) {
        const auto values = sampled<float>(object, positions, "value", sampler);
        for (std::size_t i = 0; i < 1000; ++i)
            ASSERT_EQ((*values)[i], i % 2 ? kChannelDefault : 5) << i;
    }
}

TEST(Sampler, CubicSamplesWhereTheTopologyPlacesThem) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> tiles;
    tiles.addBox(Shape::kFinestDepth, {{-16, -16, -16}, {15, 15, 15}});
    const auto tree = tiles.build(1, VoxelOffsetType::kCornerX);
    const auto channel =
        makeChannel<Shape, double>(tree, -70.0, [](const double3& p, int) { return p.x; });
    const Container<Shape> container(tree);
    const VoxelTopology<Shape> topology(tree, float3{0.5F, 0.5F, 0.5F});
    CubicSampler<Shape, double> sampler(container, topology, *channel, InterpolationMode::kCubicC1,
                                        true, 1, nullptr, 0, 0);
    for (const double x : {4.2, 4.0, 3.9, 0.1, -3.8})
        EXPECT_NEAR(sampler.sample({x, 2, 2}, kIndex), x - 0.5, 1e-12);
}

TEST(VisitOrder, GivesWhatVisitingInTurnGives) {
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> tiles;
    tiles.addBox(Shape::kFinestDepth, {{-64, -64, -64}, {63, 63, 63}});
    const auto tree = tiles.build(1, VoxelOffsetType::kCorner);
    Vantor::Object dense = volumeOn<float>(tree, noise(3));
    // Large enough for linear samples to be visited in another order.
    ChannelBuilder<Shape, float4x4> wide(tree, "wide", float4x4{});
    wide.fill([](const double3& p, int) { return valueFrom<float4x4>(p.x + 0.01 * p.y * p.z); });
    Vantor::Geometry::addChannel(dense, wide.finish());
    const Array<float3> positions = scatteredPositions();
    const auto compare = [&]<class T>(const T&, const String& property, SamplerType sampler) {
        const auto all = sampled<T>(dense, positions, property, sampler);
        constexpr std::size_t kFew = 30'000; // which keep their own order
        for (std::size_t begin = 0; begin < positions.size(); begin += kFew) {
            const Array<float3> some(positions.begin() + begin, positions.begin() + begin + kFew);
            const auto part = sampled<T>(dense, some, property, sampler);
            ASSERT_TRUE(std::equal(part->begin(), part->end(), all->begin() + begin)) << begin;
        }
    };
    compare(0.0F, "value", SamplerType::kCubicC1);
    compare(float4x4{}, "wide", SamplerType::kLinear);
}

TEST(VisitOrder, BringsNeighboursTogetherAndLeavesNobodyOut) {
    const auto stepsOf = [](const Array<float3>& positions, const VisitOrder& order) {
        std::vector<bool> visited(positions.size());
        double length = 0;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            visited[order[i]] = true;
            const float3 &a = positions[order[i ? i - 1 : 0]], &b = positions[order[i]];
            length += std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
        }
        EXPECT_EQ(std::count(visited.begin(), visited.end(), false), 0);
        return length;
    };
    const Array<float3> positions = somePositions(300'000, 60);
    const VisitOrder order(std::span(positions.data(), positions.size()), 4);
    EXPECT_LT(stepsOf(positions, order), stepsOf(positions, {}) / 10);
    for (const auto& same : {VisitOrder(std::span(positions.data(), positions.size()), 200),
                             VisitOrder(std::span(positions.data(), 1000), 4), VisitOrder()})
        EXPECT_TRUE(same[0] == 0 && same[999] == 999);
}

TEST_F(FrameTest, ACancellationDoesNotReachTheNextCall) {
    if (kPlainThreads)
        GTEST_SKIP();
    const auto reference = sampled<float>(object, positions);
    const auto cancelThenSample = [&] {
        Ostrum::cancelJobAtQuestion(2);
        EXPECT_TRUE(sampled<float>(object, positions)->empty());
        Ostrum::cancelJob(false);
        EXPECT_EQ(*sampled<float>(object, positions), *reference);
        std::atomic<int> ran = 0;
        tbb::parallel_for(0, 1000, [&](int) { ++ran; });
        EXPECT_EQ(ran, 1000);
    };
    cancelThenSample();
    std::thread(cancelThenSample).join();
    tbb::task_arena arena(2);
    arena.execute(cancelThenSample);
    arena.execute(cancelThenSample);
    // Tasks that a host hands to the same arena, which run in the arena's own context.
    for (int task = 0; task < 2; ++task) {
        const auto done = std::make_shared<std::promise<void>>();
        auto future = done->get_future();
        arena.enqueue([&cancelThenSample, &arena, done] {
            cancelThenSample();
            arena.execute(cancelThenSample);
            done->set_value();
        });
        ASSERT_EQ(future.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    }
}

TEST(TreeBuilder, MakesWholeTreesInACancelledTaskGroup) {
    if (kPlainThreads)
        GTEST_SKIP();
    using Shape = Traits<2, 4, 1>;
    const auto counts = [] {
        TreeBuilder<Shape> builder;
        for (const int from : {0, -600}) // twice some, and the first come last
            builder.addBox(28, {{from, 0, 0}, {1200, 4, 4}});
        return std::pair(builder.build(1, VoxelOffsetType::kCorner)->tiles(28).size(),
                         build<Shape>({.seed = 1})->tiles(28).size());
    };
    tbb::task_group_context context;
    std::pair<std::size_t, std::size_t> cancelled;
    tbb::parallel_for(
        0, 1,
        [&](int) {
            context.cancel_group_execution();
            cancelled = counts();
        },
        context);
    EXPECT_EQ(cancelled, counts());
}

TEST_F(FrameTest, ACancellationStopsTheSiblingsOfAnEnclosingLoop) {
    if (kPlainThreads)
        GTEST_SKIP();
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 2);
    constexpr int kCount = 20000;
    std::atomic<int> started = 0;
    const auto body = [&](const auto& range) {
        for (int i = range.begin(); i < range.end(); ++i) {
            std::this_thread::sleep_for(std::chrono::microseconds(5));
            if (++started != 8)
                continue;
            Ostrum::cancelJobAtQuestion(2);
            EXPECT_TRUE(sampled<float>(object, positions)->empty());
            Ostrum::cancelJob(false);
        }
    };
    tbb::parallel_for(tbb::blocked_range<int>(0, kCount, 1), body, tbb::simple_partitioner());
    EXPECT_LT(started, kCount / 2);
    EXPECT_EQ(Kelvane::takeTerminateMessages().size(), 1U);
    std::atomic<int> whole = 0;
    tbb::parallel_for(0, 20, [&](int) {
        whole += sampled<float>(object, positions)->size() == positions.size();
    });
    EXPECT_EQ(whole, 20);
}

} // namespace
