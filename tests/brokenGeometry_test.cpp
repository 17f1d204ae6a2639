// Scattering on whatever a geometry can be: what comes out lies on it.
#include "support/locationCases.h"

#include <rapidcheck.h>

#include <cstdlib>

using namespace StratumTest;
using namespace Vantor::Geometry;

namespace {

std::size_t pick(std::uint64_t most) {
    return static_cast<std::size_t>(*rc::gen::inRange<std::uint64_t>(0, most + 1));
}

// Mostly up to one more than is usual.
std::uint32_t wild(std::size_t usual) {
    return pick(9) ? static_cast<std::uint32_t>(pick(usual + 1))
                   : *rc::gen::arbitrary<std::uint32_t>();
}

float coordinate() {
    const float odd[] = {kNan, std::numeric_limits<float>::infinity(), 1e30F, -0.0F};
    return pick(60) ? static_cast<float>(pick(100)) / 10 : odd[pick(3)];
}

struct Broken {
    std::vector<float3> points = std::vector<float3>(pick(12));
    Indices offsets = Indices(pick(7)), vertices = Indices(pick(24));
    std::size_t count = 0;
    Vantor::Object object;

    Broken() {
        for (float3& p : points)
            p = {coordinate(), coordinate(), coordinate()};
        std::uint32_t ascending = 0;
        for (auto& offset : offsets)
            offset =
                pick(5) ? ascending = std::min<std::uint32_t>(ascending + wild(4), 100) : wild(24);
        for (auto& vertex : vertices)
            vertex = wild(points.size());
        count = pick(8) ? offsets.size() - (pick(1) && !offsets.empty()) : wild(9);
        object = pick(1) ? makeStrands(points, offsets, count)
                         : makeMesh(points, offsets, vertices, count);
        if (pick(9) == 0)
            object.addComponent(sPointComp, points.size() + pick(3));
        std::vector<double> values(pick(24));
        for (double& value : values)
            value = pick(20) ? static_cast<double>(pick(14)) / 10 - 0.2 : double(kNan);
        const Ostrum::String targets[] = {sPointComp, sFaceComp, sFaceVertexComp, sStrandComp};
        object = withMask(object, targets[pick(3)], values);
    }

    void check(const GeoLocation& l) const {
        if (l.kind == 5) {
            RC_ASSERT(l.element < object.elementCount(sPointComp));
        } else if (l.kind == 4) {
            RC_ASSERT(l.element < std::min(count, offsets.size()));
            RC_ASSERT(l.indices[1] == l.indices[0] + 1);
            RC_ASSERT(std::size_t{offsets[l.element]} + l.indices[1] < points.size());
        } else if (l.kind == 3) {
            RC_ASSERT(l.element < std::min(count, offsets.size()));
            for (std::size_t c = 0; c < 3; ++c) {
                const std::size_t corner = std::size_t{offsets[l.element]} + l.indices[c];
                RC_ASSERT(corner < vertices.size());
                RC_ASSERT(vertices[corner] < points.size());
            }
        } else {
            RC_ASSERT(l == GeoLocation());
        }
    }
};

GenerateLocationOptions anyOptions() {
    const auto seed = *rc::gen::arbitrary<std::int64_t>();
    const auto amount = static_cast<double>(pick(30));
    auto options = pick(1) ? byCount(amount, seed) : byDensity(amount / 10, seed);
    if (pick(1))
        // Trying again may take all attempts.
        options = masked(options, MaskControl(pick(15) ? 1 : pick(1) * 2), pick(1) != 0);
    return capped(pick(3) ? options : onPoints(options), 40);
}

TEST(Locations, BrokenGeometryGivesOnlyIndicesThatExist) {
    ::setenv("RC_PARAMS", "max_success=10000 seed=4711", 0);
    std::size_t made = 0;
    EXPECT_TRUE(rc::check("every index exists", [&] {
        const Broken broken;
        for (const GeoLocation& l : scatter(broken.object, anyOptions())) {
            broken.check(l);
            ++made;
        }
    }));
    EXPECT_GT(made, 20'000U);
}

} // namespace
