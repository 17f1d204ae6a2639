// Scattering, rule by rule, and on broken geometry.
#include "support/locationCases.h"

using namespace StratumTest;
using namespace Vantor::Geometry;

namespace {

TEST(Locations, AmountsAreRoundedUpOnlyAboveTheDraw) {
    const auto exact = randomUnit<double>(0, 7);
    const auto above = std::nextafter(exact, 1.0);
    Vantor::Object points;
    setPoints(points, std::vector<float3>(3));
    const auto sizes = [&](double amount) {
        return std::array{scatter(kTriangle.object(), byCount(amount)).size(),
                          scatter(kSegment.object(), byCount(amount)).size(),
                          scatter(points, onPoints(byCount(amount))).size()};
    };
    EXPECT_EQ(sizes(exact), (std::array<std::size_t, 3>{0, 0, 0}));
    EXPECT_EQ(sizes(above), (std::array<std::size_t, 3>{1, 1, 1}));
    EXPECT_EQ(sizes(2.5), (std::array<std::size_t, 3>{3, 3, 3}));
    EXPECT_EQ(sizes(2.0), (std::array<std::size_t, 3>{2, 2, 2}));
    // A triangle's share of a density, in float: its area is a half.
    const float share = randomUnit<float>(0, 7);
    EXPECT_EQ(scatter(kTriangle.object(), byDensity(double(2 * share))).size(), 0U);
    EXPECT_EQ(
        scatter(kTriangle.object(), byDensity(double(2 * std::nextafter(share, 1.0F)))).size(), 1U);
    // Along strands the length counts before the rounding: 1.25 times 10.
    const SlowStrands longer{{{0, 0, 0}, {1.25F, 0, 0}}, {0, 2}};
    EXPECT_EQ(scatter(longer.object(), byDensity(10)).size(), 13U);
    // Points take a density for a count.
    EXPECT_EQ(scatter(points, onPoints(byDensity(5))).size(), 5U);
}

TEST(Locations, NoAmountIsTooStrange) {
    const double inf = std::numeric_limits<double>::infinity();
    Vantor::Object points;
    setPoints(points, std::vector<float3>(3));
    const auto mesh = kSmallMesh.object(), strands = kSmallStrands.object();
    const auto plainly = [](const GenerateLocationOptions& options) { return options; };
    for (const auto& [object, on] :
         {std::pair(mesh, +plainly),
          {strands, +plainly},
          {points, +[](const GenerateLocationOptions& o) { return onPoints(o); }}})
        for (const auto& make : {byCount, byDensity}) {
            for (const double none : {0.0, -3.0, double(kNan), -inf})
                EXPECT_TRUE(scatter(object, on(make(none, 7))).empty()) << none;
            for (const double huge : {1e300, inf, 0x1p63, 1e17}) {
                // A cap holds, exactly, and by more than it for the extra point only.
                EXPECT_EQ(scatter(object, on(capped(make(huge, 7), 5))).size(), 5U) << huge;
                EXPECT_TRUE(scatter(object, on(capped(make(huge, 7), 0))).empty());
                Locations kept(2);
                EXPECT_THROW(Vantor::Sample::generateSampleLocations(object, on(make(huge, 7)),
                                                                     kept, nullptr),
                             std::bad_alloc);
                EXPECT_EQ(kept.size(), 2U);
            }
        }
    EXPECT_EQ(scatter(points, onPoints(capped(byCount(9.9), 5))).size(), 6U);
    EXPECT_EQ(scatter(mesh, capped(byCount(9.9), 5)).size(), 5U);
    EXPECT_EQ(scatter(strands, capped(byCount(9.9), 5)).size(), 5U);
    // A density that may exceed the cap becomes a count: here 3 triangles, and 2 for the area.
    expectSame(scatter(mesh, capped(byDensity(0.25), 4)), kSmallMesh.byCount(byCount(4), 4, {}),
               "density as count", 7);
    expectSame(scatter(mesh, capped(byDensity(0.25), 5)),
               kSmallMesh.byDensity(byDensity(0.25), 0.25F, {}), "density", 7);
    // An amount type that is none is a count.
    auto odd = byCount(4);
    odd.amount_type = AmountType{17};
    EXPECT_EQ(scatter(mesh, odd), scatter(mesh, byCount(4)));
    EXPECT_EQ(scatter(strands, odd), scatter(strands, byCount(4)));
}

// Points may be no numbers, or further apart than single precision can say; their squares are long
// before.
TEST(Locations, WhatCannotBeMeasuredIsLeftOut) {
    const SlowStrands strands{{{0, 0, 0}, {3e38F, 0, 0}, {-3e38F, 0, 0}, {kNan, 0, 0}}, {0, 4}};
    for (const GeoLocation& l : scatter(strands.object(), byCount(50)))
        EXPECT_TRUE(l.kind == Common::kOnStrand && l.indices[0] == 0);
    const SlowMesh large{{{0, 0, 0}, {1e15F, 0, 0}, {0, 1e15F, 0}, {kNan, 0, 0}, {-3e38F, 0, 0}},
                         {{0, 1, 3}, {4, 1, 2}, {0, 1, 2}}};
    for (const auto& [options, least] : {std::pair(byCount(20), 20U),
                                         {byDensity(1e-28), 49U},
                                         {capped(byDensity(1e-28), 20), 20U}}) {
        const auto locations = scatter(large.object(), options);
        EXPECT_TRUE(locations.size() == least || locations.size() == least + 1) << least;
        for (const GeoLocation& l : locations)
            EXPECT_EQ(l.element, 2U);
    }
}

// The bound of a density that a mesh takes for a count without a cap of the caller's: seen where
// the mask leaves of a large face and a small one the small one, whose few samples fit.
TEST(Locations, AMeshHasACapOfItsOwn) {
    const SlowMesh mesh{
        {{0, 0, 0}, {0x1p15F, 0, 0}, {0, 0x1p15F, 0}, {0x1p-15F, 0, 0}, {0, 0x1p-14F, 0}},
        {{0, 1, 2}, {0, 3, 4}}};
    const auto object = withMask(mesh.object(), sFaceComp, std::vector{false, true});
    float density = 0x1p-29F * static_cast<float>(0x2AAAAAAAAAAAAAAA); // the area being 2^29
    while (double(density) * 0x1p29 > double(0x2AAAAAAAAAAAAAAA))
        density = std::nextafter(density, 0.0F);
    const std::size_t few = scatter(object, masked(byDensity(double(density)))).size();
    EXPECT_TRUE(few == 5 || few == 6) << few;
    EXPECT_THROW(scatter(object, masked(byDensity(double(std::nextafter(density, 1e38F))))).size(),
                 std::bad_alloc);
}

TEST(Locations, TheTrianglesOfAFaceShareTheirDraws) {
    const SlowMesh quad{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2, 3}}};
    const auto locations = scatter(quad.object(), byDensity(40));
    ASSERT_EQ(locations.size(), 40U);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(locations[i].indices[1], 1U);
        EXPECT_EQ(locations[i + 20].indices[1], 2U);
        EXPECT_EQ(locations[i].weights, locations[i + 20].weights);
    }
}

TEST(Locations, AValueEqualToTheDrawRejectsEitherWay) {
    const float r = randomUnit<float>(std::uint64_t{1} << 33, 7);
    Vantor::Object point;
    setPoints(point, std::vector<float3>(1));
    const auto kept = [&](float value, bool invert) {
        return scatter(withMask(point, sPointComp, std::vector{value}),
                       onPoints(masked(byCount(1), MaskControl::Discard, invert)))
            .size();
    };
    EXPECT_EQ(kept(r, false), 0U);
    EXPECT_EQ(kept(std::nextafter(r, 1.0F), false), 1U);
    EXPECT_EQ(kept(r, true), 0U);
    EXPECT_EQ(kept(std::nextafter(r, 0.0F), true), 1U);
}

// The seeds were searched for: the smallest of the mask draws is that of the last attempt, or of
// the one after it. A mask value just above that draw is passed there alone.
TEST(Locations, AttemptsEndWhereTheyShould) {
    struct Case {
        std::int64_t seed;
        float draw;
        std::size_t kept;
    };
    const auto values = [](const Case& c) { return std::vector{std::nextafter(c.draw, 1.0F)}; };
    for (const Case& c : {Case{41694, 0x1.8d9844p-17F, 1}, Case{30878, 0x1.5c03d8p-14F, 0}}) {
        // A value for the strand, which is not blended.
        const auto object = withMask(kSegment.object(), sStrandComp, values(c));
        EXPECT_EQ(scatter(object, masked(byCount(1, c.seed))).size(), c.kept);
    }
    for (const Case& c : {Case{702, 0x1.4cff68p-14F, 1}, Case{3071, 0x1.5ebea6p-21F, 0}}) {
        const auto object = withMask(kTriangle.object(), sFaceComp, values(c));
        EXPECT_EQ(scatter(object, masked(byCount(1, c.seed))).size(), c.kept);
        // By density nothing is tried again.
        EXPECT_EQ(scatter(object, masked(byDensity(2, c.seed))).size(), 0U);
    }
    Vantor::Object point;
    setPoints(point, std::vector<float3>(1));
    for (const Case& c : {Case{28619, 0x1.9a674ep-14F, 1}, Case{51320, 0x1.90ed96p-19F, 0}})
        EXPECT_EQ(
            scatter(withMask(point, sPointComp, values(c)), onPoints(masked(byCount(1, c.seed))))
                .size(),
            c.kept);
}

TEST(Locations, MasksAreReadAsTheirTypeSays) {
    Vantor::Object points;
    setPoints(points, std::vector<float3>(4));
    const auto mesh = kTriangle.object();
    const auto strands = kSegment.object();
    const auto check = [&]<class T>(const T& full, const T& none) {
        const std::vector<T> mixed{none, full, none, full}, bare(4, none), whole(4, full);
        const auto options = masked(byCount(50), MaskControl::Discard);
        for (const GeoLocation& l :
             scatter(withMask(points, sPointComp, mixed), onPoints(masked(byCount(50)))))
            EXPECT_EQ(l.element % 2, 1U);
        for (const auto& [object, target] : {std::pair(mesh, sPointComp),
                                             {mesh, sFaceComp},
                                             {mesh, sFaceVertexComp},
                                             {strands, sPointComp},
                                             {strands, sStrandComp}}) {
            EXPECT_EQ(scatter(withMask(object, target, whole), options).size(), 50U);
            EXPECT_EQ(scatter(withMask(object, target, bare), options).size(), 0U);
            auto inverted = options;
            inverted.invert_mask = true;
            EXPECT_EQ(scatter(withMask(object, target, bare), inverted).size(), 50U);
            EXPECT_EQ(scatter(withMask(object, target, whole), inverted).size(), 0U);
        }
    };
    // Other types are with the graphs.
    check(2.5F, kNan);
    check(std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity());
    check(1.0, -1.0);

    // A double mask is compared in double: a value that a float would round up to the draw.
    const float r = randomUnit<float>(std::uint64_t{1} << 33, 7);
    Vantor::Object one;
    setPoints(one, std::vector<float3>(1));
    EXPECT_EQ(scatter(withMask(one, sPointComp, std::vector{double(r) * (1 + 1e-12)}),
                      onPoints(masked(byCount(1), MaskControl::Discard)))
                  .size(),
              1U);
    // bool is a number before it is blended.
    const auto half = withMask(kSegment.object(), sPointComp, std::vector{true, false});
    double sum = 0;
    const auto kept = scatter(half, masked(byCount(4000), MaskControl::Discard));
    for (const GeoLocation& l : kept)
        sum += double(l.weights[0]);
    EXPECT_NEAR(double(kept.size()), 2000, 150);
    EXPECT_NEAR(sum / double(kept.size()), 2.0 / 3, 0.02); // the density is proportional to u
}

TEST(Locations, AMaskThatKeepsNothingCostsNothing) {
    const SlowMesh mesh = randomMesh(1, 200);
    const SlowStrands strands = randomStrands(1, 200);
    for (const bool invert : {false, true}) {
        const std::vector<float> none(2000, invert ? 1.0F : 0.0F);
        const auto options = masked(byCount(1e12), MaskControl::Resample, invert);
        EXPECT_TRUE(scatter(withMask(mesh.object(), sPointComp, none), options).empty());
        EXPECT_TRUE(scatter(withMask(mesh.object(), sFaceComp, none), options).empty());
        EXPECT_TRUE(scatter(withMask(strands.object(), sPointComp, none), options).empty());
        EXPECT_TRUE(scatter(withMask(strands.object(), sStrandComp, none), options).empty());
        EXPECT_TRUE(scatter(withMask(mesh.object(), sPointComp, none), onPoints(options)).empty());
    }
    // One point without a value is worth the attempts: it cannot be tested, and is kept.
    const auto shorter =
        withMask(mesh.object(), sPointComp, std::vector<float>(mesh.points.size() - 1, 0.0F));
    for (const GeoLocation& l : scatter(shorter, onPoints(masked(byCount(20)))))
        EXPECT_EQ(l.element, mesh.points.size() - 1);
    auto odd = onPoints(masked(byCount(3)));
    odd.mask_control = MaskControl{5};
    EXPECT_EQ(scatter(shorter, odd), Locations(3));
}

// 250,000 segments of equal length: their sum in float misses 1 by 0.0014.
TEST(Locations, DrawsPastTheLastSegmentAreOfKindZero) {
    SlowStrands strands{{}, {0}};
    for (int i = 0; i <= 250'000; ++i)
        strands.points.push_back({float(i % 2), 0, 0});
    strands.offsets.push_back(250'001);
    float sum = 0;
    for (int i = 0; i < 250'000; ++i)
        sum += 1.0F / 250'000.0F;
    std::size_t past = 0;
    for (std::uint64_t k = 0; k < 100'000; ++k)
        past += !(sum > randomUnit<float>(k * 65536, 3));
    const auto all = scatter(strands.object(), byCount(100'000, 3));
    EXPECT_EQ(all.size(), 100'000U);
    EXPECT_EQ(std::size_t(std::ranges::count(all, GeoLocation())), past);
    const auto kept = scatter(withMask(strands.object(), sStrandComp, std::vector{true}),
                              masked(byCount(100'000, 3)));
    EXPECT_EQ(kept.size(), 100'000 - past);
    EXPECT_GT(past, 100U) << sum;
}

TEST(Locations, MeshesComeBeforeStrandsAndBothNeedAnExtent) {
    Vantor::Object both = kSmallMesh.object();
    both.addComponent(sStrandComp, 1);
    both.setProperty(sStrandOffset, sStrandComp, arrayOf<std::uint32_t>({0, 2}));
    const auto onBoth = scatter(both, byCount(3));
    ASSERT_EQ(onBoth.size(), 3U);
    EXPECT_EQ(onBoth[0].kind, Common::kOnFace);
    // Next to no area and no length: nothing by count.
    const SlowMesh tiny{{{0, 0, 0}, {4e-4F, 0, 0}, {0, 4e-4F, 0}}, {{0, 1, 2}}};
    const SlowStrands still{{{1, 1, 1}, {1, 1, 1}}, {0, 2}};
    EXPECT_TRUE(scatter(tiny.object(), byCount(3)).empty());
    EXPECT_EQ(scatter(tiny.object(), capped(byDensity(1e12), 3)).size(), 3U);
    EXPECT_TRUE(scatter(still.object(), byCount(3)).empty());
    EXPECT_TRUE(scatter(still.object(), byDensity(3)).empty());
}

// What is said at level 2 is with the graphs.
TEST(Locations, WarningsAreKeptFromThoseWhoDoNotListen) {
    const Ostrum::RuntimeServices quiet(
        1, [](int, const Ostrum::String&) { ADD_FAILURE() << "logged"; });
    Locations locations;
    Vantor::Sample::generateSampleLocations(kSmallMesh.object(), capped(byCount(-3), -1), locations,
                                            &quiet);
    EXPECT_TRUE(scatter(kSmallMesh.object(), capped(byCount(-3), -1)).empty());
}

} // namespace
