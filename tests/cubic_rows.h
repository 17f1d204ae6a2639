// The cubic sampler for the rows of one value type.
#include "support/cubic.h"
#include "support/cubicReference.h"

#include <cstring>

namespace {

template <class Row>
class CubicTest : public ::testing::Test {};
TYPED_TEST_SUITE(CubicTest, Rows, RowName);

double power(double x, int degree) {
    return std::pow(x / 8, degree);
}

// Of full degree along every axis, with mixed terms.
double polynomial(const double3& p, int degree) {
    return 1 + power(p.x, degree) - 2 * power(p.y, degree) + power(p.z, degree) +
           power(p.x, degree) * power(p.y, 1) * power(p.z, degree);
}

TYPED_TEST(CubicTest, ReproducesItsDegreeAndNotTheNext) {
    using T = typename TypeParam::Value;
    using Shape = typename TypeParam::Traits;
    constexpr double rounding = std::is_same_v<ScalarOf<T>, float> ? 1e-4 : 1e-11;
    constexpr int degrees[] = {2, 3, 2, 1};
    for (int type = 0; type < 8; ++type)
        for (int degree = 1; degree <= 4; ++degree) {
            const auto field = [&](const double3& p, int) { return polynomial(p, degree); };
            CubicVolume<TypeParam> volume(uniformTree<Shape>(type), field, 0);
            for (const auto mode : kAllModes) {
                auto tileLocal = volume.cubic({.mode = mode, .clamp = false});
                auto general = volume.cubic({.mode = mode, .clamp = false, .jumpPolicy = 0});
                double worst = 0;
                for (std::uint64_t i = 0; i < 150; ++i) {
                    const auto p = toPosition<typename TypeParam::Position>(randomPosition(i, 12));
                    const T value = tileLocal.sample(p, kIndex);
                    ASSERT_EQ(value, general.sample(p, kIndex));
                    const T expected = valueFrom<T>(polynomial({p.x, p.y, p.z}, degree));
                    worst = std::max(worst, distance(value, expected));
                }
                const int reproduced = degrees[static_cast<int>(mode)];
                if (degree <= reproduced) {
                    EXPECT_LT(worst, rounding) << modeName(mode) << ", type " << type;
                } else if (degree == reproduced + 1) {
                    EXPECT_GT(worst, 3e-4) << modeName(mode) << ", degree " << degree;
                }
            }
        }
}

TYPED_TEST(CubicTest, AgreesWithASlowEvaluatorAndWithLinearAtJumps) {
    using T = typename TypeParam::Value;
    using Shape = typename TypeParam::Traits;
    using Position = typename TypeParam::Position;
    using Cubic = typename CubicVolume<TypeParam>::Cubic;
    // As for linear samples; what the reference takes for a slope adds 1e-7.
    constexpr double bound = std::is_same_v<ScalarOf<T>, float> ? 1e-2 : 2e-6;
    for (int type = 0; type < 8; ++type) {
        const auto tree = build<Shape>(
            {.seed = 60U + type, .interiorData = 0.7, .type = static_cast<VoxelOffsetType>(type)});
        const CubicVolume<TypeParam> volume(tree, noise(4), -70);
        auto linear = volume.plain;
        const auto numbers = makeChannel<Shape, double>(tree, -70.0, noise(4));
        CubicReference<Shape> reference(*numbers);
        std::vector<Cubic> plain, cached;
        for (const auto mode : kAllModes) {
            plain.push_back(volume.cubic({.mode = mode, .clamp = type % 2 == 0}));
            cached.push_back(
                volume.cubic({.mode = mode, .clamp = type % 2 == 0, .cache = type < 4 ? 1U : 40U}));
        }
        const auto offset = voxelOffset(static_cast<VoxelOffsetType>(type));
        int cubics = 0, jumps = 0, differing = 0;
        for (std::uint64_t i = 0; i < 400; ++i) {
            // Near the depth changes in the middle and in the wide tiles around them; some on
            // voxels.
            double3 at = randomPosition(i, (i % 2 ? 1 : 1.7) * kCoveredReach<Shape>);
            if (i % 10 < 2)
                at = {std::floor(at.x) + double{offset.x}, std::floor(at.y) + double{offset.y},
                      std::floor(at.z) + double{offset.z}};
            const auto p = toPosition<Position>(at);
            const int limit = Shape::kFinestDepth - (i % 5 == 4 ? static_cast<int>(i / 5 % 4) : 0);
            VoxelLocation<Position> found;
            plain[0].locate(p, std::min(volume.channel->depth(), limit), kIndex, found);
            for (std::size_t m = 0; m < plain.size(); ++m) {
                const T value = plain[m].sample(p, limit, kIndex);
                const T fromCache = cached[m].sample(p, limit, kIndex);
                if (!found.treeIndex.isValid() || !volume.channel->tileData(found.treeIndex)) {
                    ASSERT_EQ(value, valueFrom<T>(-70));
                    ASSERT_EQ(fromCache, valueFrom<T>(-70));
                    continue;
                }
                const int depth = found.treeIndex.depth;
                const std::int64_t width = Shape::voxelWidth(depth);
                const int3 tijk = tree->tile(found.treeIndex)->tijk();
                const double expected =
                    reference.sample(kAllModes[m], type % 2 == 0, depth,
                                     {tijk.x / width + found.n.x, tijk.y / width + found.n.y,
                                      tijk.z / width + found.n.z},
                                     {found.f.x, found.f.y, found.f.z}, {p.x, p.y, p.z});
                ASSERT_LT(distance(value, valueFrom<T>(expected)), bound)
                    << "type " << type << " sample " << i;
                if (reference.lastWasCubic) {
                    ASSERT_EQ(value, fromCache);
                }
                (reference.lastWasCubic ? cubics : jumps) += 1;
                differing += value != linear.sample(p, limit, kIndex);
            }
        }
        EXPECT_GT(std::min({cubics, jumps, differing}), 3);
    }
}

// Along lines, where successive positions share cells, rows and tiles, and anywhere; among zeros of
// both signs, which clamping must not mix up.
TYPED_TEST(CubicTest, BlocksHaveTheBitsOfSinglesInEveryMode) {
    using T = typename TypeParam::Value;
    using Shape = typename TypeParam::Traits;
    using Position = typename TypeParam::Position;
    for (const int type : {0, 6, 7}) {
        const auto mixed = [](const double3& p, int depth) {
            const double v = noise(8)(p, depth);
            return v < -25 ? -0.0 : v < 0 ? 0.0 : v;
        };
        const CubicVolume<TypeParam> volume(
            build<Shape>({.seed = 12, .interiorData = 0.7, .type = VoxelOffsetType(type)}), mixed,
            -70);
        std::vector<Position> positions;
        for (std::uint64_t line = 0; line < 24; ++line) {
            const double3 begin = randomPosition(line, kCoveredReach<Shape>);
            const double step = line % 2 == 0 ? 0.37 : -0.2;
            for (int i = 0; i < 40; ++i) {
                double3 p = begin;
                (line % 3 == 0 ? p.x : line % 3 == 1 ? p.y : p.z) += step * i;
                positions.push_back(toPosition<Position>(p));
            }
            positions.push_back(toPosition<Position>(randomPosition(line, 100)));
        }
        positions.push_back({0, NAN, 0});
        std::vector<typename CubicVolume<TypeParam>::Settings> all;
        for (const auto mode : kAllModes)
            for (const bool clamp : {false, true})
                all.push_back({.mode = mode, .clamp = clamp});
        for (const auto& [policy, cache] : {std::pair(0U, 0U), {0U, 4U}, {1U, 4U}})
            all.push_back({.jumpPolicy = policy, .cache = cache});
        for (const auto& settings : all)
            for (const std::size_t count : {std::size_t{1}, positions.size()}) {
                auto blocks = volume.cubic(settings), singles = blocks;
                std::vector<T> values(positions.size(), valueFrom<T>(5));
                blocks.sample(positions.data(), count, 28, kIndex, values.data());
                for (std::size_t i = 0; i < positions.size(); ++i) {
                    const T expected =
                        i < count ? singles.sample(positions[i], kIndex) : valueFrom<T>(5);
                    ASSERT_EQ(std::memcmp(&values[i], &expected, sizeof(T)), 0)
                        << modeName(settings.mode) << ", type " << type << ", position " << i;
                }
            }
    }
}

TYPED_TEST(CubicTest, LinearFieldsStayLinearAcrossJumpsOnEveryPath) {
    using T = typename TypeParam::Value;
    using Shape = typename TypeParam::Traits;
    constexpr double rounding = std::is_same_v<ScalarOf<T>, float> ? 6e-4 : 1e-11;
    for (int type = 0; type < 8; ++type) {
        const auto tree = build<Shape>({.seed = 5,
                                        .hole = 0,
                                        .interiorData = type % 2 ? 0.3 : 1.0,
                                        .type = static_cast<VoxelOffsetType>(type),
                                        .voxelSize = 0.37F});
        const CubicVolume<TypeParam> volume(
            tree, [](const double3& p, int) { return linearField(p); }, -99);
        for (const auto mode : kAllModes)
            for (const unsigned policy : {0U, 1U, 2U}) {
                auto sampler =
                    volume.cubic({.mode = mode, .jumpPolicy = policy % 2, .cache = policy});
                double worst = 0;
                for (std::uint64_t i = 0; i < 150; ++i) {
                    double3 p = randomPosition(i, kCoveredReach<Shape> - 16);
                    // Some on whole and half voxels along one, two or three axes.
                    const auto snap = [](double v) { return std::round(2 * v) / 2; };
                    p = {i % 2 ? snap(p.x) : p.x, i % 3 ? p.y : snap(p.y), i % 5 ? p.z : snap(p.z)};
                    const auto world =
                        toPosition<typename TypeParam::Position>(p * static_cast<double>(0.37F));
                    // A limit needs data in refined tiles.
                    const int limit = Shape::kFinestDepth - (type % 2 == 0 && i % 4 == 3 ? 1 : 0);
                    worst = std::max(worst, distance(sampler.sample(world, limit, kWorld),
                                                     valueFrom<T>(linearField(p))));
                }
                EXPECT_LT(worst, rounding)
                    << modeName(mode) << ", type " << type << ", policy " << policy;
            }
    }
}

} // namespace
