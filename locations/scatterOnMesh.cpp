#include "locations/scatterOnMesh.h"

#include "locations/TrianglePicker.h"
#include "locations/amounts.h"
#include "locations/cancellation.h"

#include <cmath>
#include <limits>
#include <vector>

namespace Vantor::Sample {

namespace {

// What a call needs of its options, and the areas of the triangles in the order of
// forEachTriangle().
struct Scatter {
    const MeshView& mesh;
    const MeshMask* mask;
    std::uint64_t seed;
    std::uint64_t most;
    bool resample;
    std::vector<float> areas{};
    float total = 0;

    void measure() {
        forEachTriangle(mesh, [&](std::size_t, std::size_t, float area) {
            areas.push_back(area);
            total += area;
        });
        Stratum::throwIfCancelled();
    }
};

Geometry::Common::GeoLocation onFace(std::size_t face, std::size_t t, const Barycentric& weights) {
    Geometry::Common::GeoLocation location;
    location.kind = Geometry::Common::kOnFace;
    location.element = static_cast<std::uint32_t>(face);
    location.indices[0] = 0;
    location.indices[1] = static_cast<std::uint32_t>(t);
    location.indices[2] = static_cast<std::uint32_t>(t + 1);
    for (std::size_t corner = 0; corner < 3; ++corner)
        location.weights[corner] = weights[corner];
    return location;
}

float toFloat(double v) {
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    return v > static_cast<double>(std::numeric_limits<float>::max()) ? kInfinite
                                                                      : static_cast<float>(v);
}

// A share of samples, rounded at random by the draw that all triangles of a face have in common.
// None where the area overflowed.
std::uint64_t roundShare(float share, std::size_t face, std::uint64_t seed) {
    if (!(share > 0) || std::isinf(share))
        return 0;
    constexpr float kBeyond = 0x1p31F;
    const std::int32_t whole = share >= kBeyond ? std::numeric_limits<std::int32_t>::max()
                                                : static_cast<std::int32_t>(share);
    const float rest = share - static_cast<float>(whole);
    const float draw = randomUnit<float>(static_cast<std::uint64_t>(face) << 32, seed);
    return static_cast<std::uint64_t>(whole) + (rest > draw ? 1 : 0);
}

// Calls visit(face, t, samples) for the triangles that get any, faces without hope left out.
template <class Visit>
void forEachShare(const Scatter& scatter, float density, const Visit& visit) {
    std::size_t triangle = 0, judged = std::numeric_limits<std::size_t>::max();
    bool hopeless = false;
    forEachTriangle(scatter.mesh, [&](std::size_t face, std::size_t t, float) {
        const float share = scatter.areas[triangle++] * density;
        if (scatter.mask && face != judged) {
            hopeless = scatter.mask->rejectsAll(face);
            judged = face;
        }
        if (hopeless)
            return;
        if (const std::uint64_t samples = roundShare(share, face, scatter.seed))
            visit(face, t, samples);
    });
}

Locations byDensity(const Scatter& scatter, float density) {
    std::uint64_t expected = 0;
    forEachShare(scatter, density,
                 [&](std::size_t, std::size_t, std::uint64_t samples) { expected += samples; });
    Locations locations;
    locations.reserve(std::min(expected, scatter.most));
    forEachShare(scatter, density, [&](std::size_t face, std::size_t t, std::uint64_t samples) {
        std::uint64_t draw = (static_cast<std::uint64_t>(face) << 32) + 1;
        for (std::uint64_t i = 0; i < samples && locations.size() < scatter.most; ++i, draw += 3) {
            const Barycentric weights = drawBarycentric(draw, scatter.seed);
            if (!scatter.mask || !scatter.mask->rejects(face, t, weights, draw + 2))
                locations.push_back(onFace(face, t, weights));
        }
    });
    Stratum::throwIfCancelled();
    return locations;
}

bool isHopeless(const Scatter& scatter) {
    if (!scatter.mask)
        return false;
    bool hopeless = true;
    forEachTriangle(scatter.mesh, [&](std::size_t face, std::size_t, float area) {
        hopeless = hopeless && (area == 0 || scatter.mask->rejectsAll(face));
    });
    return hopeless;
}

Locations byCount(const Scatter& scatter, std::uint64_t count) {
    if (count == 0 || !(scatter.total > 0) || !std::isfinite(scatter.total) || isHopeless(scatter))
        return {};
    TrianglePicker picker(scatter.mesh, scatter.areas, static_cast<std::uint32_t>(scatter.seed));
    const int attempts = scatter.mask && scatter.resample ? 1 + kMeshRetries : 1;
    Locations locations;
    locations.reserve(count);
    std::uint64_t draw = 1;
    for (std::uint64_t i = 0; i < count; ++i)
        for (int attempt = 0; attempt < attempts; ++attempt) {
            const auto [face, t] = picker.pick();
            const Barycentric weights = drawBarycentric(draw, scatter.seed);
            const std::uint64_t maskDraw = draw + 2;
            draw += 3;
            if (scatter.mask && scatter.mask->rejects(face, t, weights, maskDraw))
                continue;
            locations.push_back(onFace(face, t, weights));
            break;
        }
    Stratum::throwIfCancelled();
    return locations;
}

} // namespace

Barycentric drawBarycentric(std::uint64_t index, std::uint64_t seed) {
    float r1 = randomUnit<float>(index, seed), r2 = randomUnit<float>(index + 1, seed);
    if (r1 + r2 > 1) {
        r1 = 1 - r1;
        r2 = 1 - r2;
    }
    return {r1, r2, 1 - r1 - r2};
}

Locations scatterOnMesh(const MeshView& mesh, const MeshMask* mask,
                        const GenerateLocationOptions& options) {
    using namespace VantorExp::Geometry;
    Scatter scatter{mesh, mask, static_cast<std::uint64_t>(options.seed),
                    static_cast<std::uint64_t>(options.max_number),
                    options.mask_control == MaskControl::Resample};
    scatter.measure();
    if (options.amount_type != AmountType::Density) {
        if (scatter.total < std::numeric_limits<float>::epsilon())
            return {};
        return byCount(scatter,
                       wholeCount(roundAtRandom(options.amount, scatter.seed), scatter.most));
    }
    const float density = toFloat(options.amount);
    const double bound = static_cast<double>(scatter.areas.size()) +
                         static_cast<double>(std::ceil(density * scatter.total));
    return bound > static_cast<double>(scatter.most) ? byCount(scatter, scatter.most)
                                                     : byDensity(scatter, density);
}

} // namespace Vantor::Sample
