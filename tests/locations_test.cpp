// Scattering: against frozen numbers and slow generators, and the shares that elements get.
#include "support/locationCases.h"

#include <gtest/gtest.h>

using namespace StratumTest;
using namespace Vantor::Geometry;

namespace {

// The numbers come from a separate program in another language, working in single precision and
// unbounded integers.
TEST(Locations, SmallCasesAreFrozen) {
    struct Frozen {
        std::uint32_t element, first = kInvalidIndex;
        float a = 0, b = 0, c = 0;
    };
    const auto compare = [](std::uint32_t kind, const Locations& ours,
                            const std::vector<Frozen>& frozen) {
        ASSERT_EQ(ours.size(), frozen.size());
        for (std::size_t i = 0; i < frozen.size(); ++i) {
            const Frozen& f = frozen[i];
            GeoLocation expected;
            expected.kind = kind;
            expected.element = f.element;
            if (kind == Common::kOnFace)
                expected.indices = {0, f.first, f.first + 1, kInvalidIndex};
            else if (kind == Common::kOnStrand)
                expected.indices = {f.first, f.first + 1, kInvalidIndex, kInvalidIndex};
            expected.weights = {f.a, f.b, f.c, 0};
            EXPECT_EQ(ours[i], expected) << i;
        }
    };
    const auto mesh = kSmallMesh.object();
    compare(Common::kOnFace, scatter(mesh, byDensity(1.2)),
            {{0, 1, 0x1.cb19960p-1F, 0x1.0518a00p-4F, 0x1.4435600p-5F},
             {0, 1, 0x1.6c13040p-4F, 0x1.6d41dc0p-1F, 0x1.94ef100p-3F},
             {0, 2, 0x1.cb19960p-1F, 0x1.0518a00p-4F, 0x1.4435600p-5F},
             {0, 2, 0x1.6c13040p-4F, 0x1.6d41dc0p-1F, 0x1.94ef100p-3F},
             {1, 1, 0x1.2a9a9c0p-2F, 0x1.038ffa0p-3F, 0x1.29ceb40p-1F},
             {1, 1, 0x1.58584a0p-1F, 0x1.c3b8ca0p-6F, 0x1.3313e00p-2F},
             {1, 1, 0x1.32264c0p-1F, 0x1.8cbb080p-3F, 0x1.aaabc80p-3F},
             {1, 1, 0x1.5542b80p-2F, 0x1.4608180p-3F, 0x1.03dc9e0p-1F},
             {1, 1, 0x1.7c51000p-8F, 0x1.7c6c700p-1F, 0x1.0135dc0p-2F},
             {1, 1, 0x1.b0e3300p-2F, 0x1.e830f20p-2F, 0x1.9baf780p-4F}});
    compare(Common::kOnFace, scatter(mesh, byCount(6)),
            {{0, 2, 0x1.cb19960p-1F, 0x1.0518a00p-4F, 0x1.4435600p-5F},
             {1, 1, 0x1.6c13040p-4F, 0x1.6d41dc0p-1F, 0x1.94ef100p-3F},
             {1, 1, 0x1.f772bc0p-2F, 0x1.12d9400p-4F, 0x1.c3d6f40p-2F},
             {1, 1, 0x1.66d43e0p-2F, 0x1.ca9c3a0p-2F, 0x1.9d1f0c0p-3F},
             {1, 1, 0x1.415a1e0p-4F, 0x1.4a82180p-3F, 0x1.8534360p-1F},
             {0, 2, 0x1.4879280p-5F, 0x1.8b00c00p-1F, 0x1.81deb80p-3F}});
    compare(Common::kOnStrand, scatter(kSmallStrands.object(), byCount(6)),
            {{0, 0, 0x1.2d1d0c0p-1F, 0x1.a5c5e80p-2F},
             {1, 0, 0x1.d0f9d80p-1F, 0x1.7831400p-4F},
             {0, 0, 0x1.93f3a60p-2F, 0x1.36062c0p-1F},
             {0, 1, 0x1.2e16940p-3F, 0x1.b47a5c0p-1F},
             {0, 1, 0x1.1bbf620p-1F, 0x1.c8813c0p-2F},
             {1, 0, 0x1.54ec000p-9F, 0x1.feab140p-1F}});
    Vantor::Object points;
    setPoints(points, std::vector<float3>(1000));
    compare(Common::kOnPoint, scatter(points, onPoints(byCount(6))),
            {{223}, {796}, {879}, {478}, {812}, {26}});
}

// Every combination of mask target, rejection and inversion, on random geometry.
TEST(Locations, AgreeWithSlowGenerators) {
    for (std::int64_t seed = 1; seed <= 25; ++seed) {
        const SlowMesh mesh = randomMesh(std::uint64_t(seed), 40);
        const SlowStrands strands = randomStrands(std::uint64_t(seed), 30);
        std::vector<float> values(1000);
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = randomUnit<float>(i, std::uint64_t(seed) + 99) * 3 - 1;
        std::vector<std::size_t> firstCorner{0};
        for (const Indices& face : mesh.faces)
            firstCorner.push_back(firstCorner.back() + face.size());
        const auto blend = [&](const GeoLocation& l, const auto& place) {
            return l.weights[0] * values[place(l.indices[0])] +
                   l.weights[1] * values[place(l.indices[1])] +
                   (l.kind == 3 ? l.weights[2] * values[place(l.indices[2])] : 0.0F);
        };
        const auto perVertex = [&](const GeoLocation& l) {
            return blend(l, [&](std::uint32_t c) {
                return l.kind == 3 ? mesh.faces[l.element][c] : strands.offsets[l.element] + c;
            });
        };
        const auto perCorner = [&](const GeoLocation& l) {
            return blend(l, [&](std::uint32_t c) { return firstCorner[l.element] + c; });
        };
        const auto perElement = [&](const GeoLocation& l) { return values[l.element]; };
        for (const MaskControl control : {MaskControl::Resample, MaskControl::Discard})
            for (const bool invert : {false, true}) {
                const auto count = masked(byCount(50, seed), control, invert);
                const auto density = masked(byDensity(3, seed), control, invert);
                for (const auto& [target, mask] :
                     {std::pair<Ostrum::String, MaskValue>{sPointComp, perVertex},
                      {sFaceVertexComp, perCorner},
                      {sFaceComp, perElement}}) {
                    const auto object = withMask(mesh.object(), target, values);
                    expectSame(scatter(object, count), mesh.byCount(count, 50, mask), "count",
                               seed);
                    expectSame(scatter(object, density), mesh.byDensity(density, 3, mask),
                               "density", seed);
                }
                for (const auto& [target, mask] :
                     {std::pair<Ostrum::String, MaskValue>{sPointComp, perVertex},
                      {sStrandComp, perElement}})
                    expectSame(scatter(withMask(strands.object(), target, values), count),
                               strands.byCount(count, 50, mask), "strands", seed);
            }
        expectSame(scatter(mesh.object(), byCount(500, seed)),
                   mesh.byCount(byCount(500, seed), 500, {}), "plain count", seed);
        expectSame(scatter(mesh.object(), byDensity(40, seed)),
                   mesh.byDensity(byDensity(40, seed), 40, {}), "plain density", seed);
        expectSame(scatter(strands.object(), byCount(500, seed)),
                   strands.byCount(byCount(500, seed), 500, {}), "plain strands", seed);
    }
}

TEST(Locations, TotalsFollowAreaLengthAndNumber) {
    const auto expectInProportion = [](const std::vector<double>& counts,
                                       const std::vector<double>& sizes, double least) {
        std::vector<double> some, shares;
        for (std::size_t i = 0; i < sizes.size(); ++i)
            if (sizes[i] > least) {
                some.push_back(counts[i]);
                shares.push_back(sizes[i]);
            }
        expectShares(some, shares);
    };
    const SlowMesh mesh = randomMesh(5, 60);
    const auto triangles = mesh.triangles();
    const auto places = [&](const Locations& locations) {
        std::vector<double> counts(triangles.size());
        for (const GeoLocation& l : locations)
            for (std::size_t i = 0; i < triangles.size(); ++i)
                counts[i] += triangles[i].face == l.element && triangles[i].t == l.indices[1];
        return counts;
    };
    std::vector<double> areas;
    for (const auto& triangle : triangles)
        areas.push_back(double(triangle.area) + 1e-9);
    expectInProportion(places(scatter(mesh.object(), byCount(200'000))), areas, 0.01);
    const auto dense = places(scatter(mesh.object(), byDensity(500)));
    for (std::size_t i = 0; i < areas.size(); ++i)
        EXPECT_NEAR(dense[i], areas[i] * 500, 1.01);

    const SlowStrands strands = randomStrands(5, 40);
    std::vector<double> lengths(40), along(40);
    for (std::size_t s = 0; s < 40; ++s)
        for (std::uint32_t p = strands.offsets[s]; p + 1 < strands.offsets[s + 1]; ++p) {
            const float3 &a = strands.points[p], &b = strands.points[p + 1];
            lengths[s] += std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
        }
    for (const GeoLocation& l : scatter(strands.object(), byCount(100'000)))
        along[l.element] += 1;
    expectInProportion(along, lengths, 0);

    Vantor::Object points;
    setPoints(points, std::vector<float3>(97));
    std::vector<double> chosen(97);
    for (const GeoLocation& l : scatter(points, onPoints(byCount(50'000))))
        chosen[l.element] += 1;
    expectShares(chosen, std::vector<double>(97, 1));
}

TEST(Locations, AreUniformWithinTheirElement) {
    // Of a point of a triangle, the share of the area that a parallel of one side through it cuts
    // off and the place along that parallel are uniform and do not depend on each other.
    for (const auto& options : {byCount(60'000), byDensity(120'000)}) {
        std::vector<double> bins(64);
        for (const GeoLocation& l : scatter(kTriangle.object(), options)) {
            const double a = double(l.weights[0]), sum = a + double(l.weights[1]);
            bins[std::size_t(std::min(7.0, 8 * sum * sum)) * 8 +
                 std::size_t(std::min(7.0, 8 * a / sum))] += 1;
        }
        expectShares(bins, std::vector<double>(64, 1));
    }
    std::vector<double> along(50);
    for (const GeoLocation& l : scatter(kSegment.object(), byCount(50'000)))
        along[std::size_t(std::min(49.0F, l.weights[0] * 50))] += 1;
    expectShares(along, std::vector<double>(50, 1));
}

} // namespace
