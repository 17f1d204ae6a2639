#include "locations/scatterOnMesh.h"

#include "locations/TrianglePicker.h"
#include "locations/amounts.h"
#include "locations/cancellation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace Vantor::Sample {

namespace {

// What a call needs of its options, and the areas of the triangles.
struct Scatter {
    const MeshView& mesh;
    const MeshMask* mask;
    std::uint64_t seed;
    std::uint64_t most;
    bool resample;
    std::vector<float> areas = triangleAreas(mesh);
    std::size_t triangles = 0;
    float total = 0;

    void measure() {
        for (const float area : areas)
            if (isTriangle(area)) {
                ++triangles;
                total += area;
            }
        Stratum::throwIfCancelled();
    }

    /// Calls visit(face, t, area) for the triangles that the mask does not reject for certain.
    template <class Visit>
    void forEachHopeful(const Visit& visit) const {
        std::size_t judged = std::numeric_limits<std::size_t>::max();
        bool hopeless = false;
        forEachTriangle(mesh, areas, [&](std::size_t face, std::size_t t, float area) {
            if (mask && face != judged) {
                hopeless = mask->rejectsAll(face);
                judged = face;
            }
            if (!hopeless)
                visit(face, t, area);
        });
    }
};

// Written where it stays: a copy of a record just put together would wait for its parts.
void append(Locations& locations, std::size_t face, std::size_t t, const Barycentric& weights) {
    locations.push_back({});
    Geometry::Common::GeoLocation& location = locations[locations.size() - 1];
    location.kind = Geometry::Common::kOnFace;
    location.element = static_cast<std::uint32_t>(face);
    location.indices[0] = 0;
    location.indices[1] = static_cast<std::uint32_t>(t);
    location.indices[2] = static_cast<std::uint32_t>(t + 1);
    location.indices[3] = Geometry::kInvalidIndex;
    for (std::size_t corner = 0; corner < 3; ++corner)
        location.weights[corner] = weights[corner];
    location.weights[3] = 0;
}

float toFloat(double v) {
    constexpr float kInfinite = std::numeric_limits<float>::infinity();
    return v > static_cast<double>(std::numeric_limits<float>::max()) ? kInfinite
                                                                      : static_cast<float>(v);
}

// A share of samples, rounded at random by the draw that all triangles of a face have in common.
std::uint32_t roundShare(float share, std::size_t face, std::uint64_t seed) {
    if (!(share > 0))
        return 0;
    constexpr float kBeyond = 0x1p31F;
    const std::int32_t whole = share >= kBeyond ? std::numeric_limits<std::int32_t>::max()
                                                : static_cast<std::int32_t>(share);
    const float rest = share - static_cast<float>(whole);
    const float draw = randomUnit<float>(static_cast<std::uint64_t>(face) << 32, seed);
    return static_cast<std::uint32_t>(whole) + (rest > draw ? 1U : 0U);
}

// Samples of a triangle.
struct Share {
    std::uint32_t face = 0, t = 0, samples = 0;
};

class DensityWriter {
public:
    DensityWriter(const Scatter& scatter, Locations& locations)
        : scatter_(scatter), locations_(locations) {}

    /// Which triangles get samples cannot be foreseen: the shares are listed without asking, and
    /// the list is then worked off.
    void add(const Share& share) {
        shares_[count_] = share;
        count_ += share.samples != 0 ? 1 : 0;
        if (count_ == shares_.size())
            flush();
    }

    void flush() {
        for (std::size_t i = 0; i < count_; ++i)
            write(shares_[i]);
        count_ = 0;
    }

private:
    void write(const Share& share) {
        std::uint64_t draw = (static_cast<std::uint64_t>(share.face) << 32) + 1;
        for (std::uint32_t i = 0; i < share.samples && locations_.size() < scatter_.most;
             ++i, draw += 3) {
            const Barycentric weights = drawBarycentric(draw, scatter_.seed);
            if (!scatter_.mask || !scatter_.mask->rejects(share.face, share.t, weights, draw + 2))
                append(locations_, share.face, share.t, weights);
        }
    }

    const Scatter& scatter_;
    Locations& locations_;
    std::array<Share, 256> shares_{};
    std::size_t count_ = 0;
};

// About so many samples, and some more than chance is likely to add.
std::uint64_t expectedByDensity(const Scatter& scatter, float density) {
    double area = 0;
    scatter.forEachHopeful(
        [&](std::size_t, std::size_t, float triangle) { area += static_cast<double>(triangle); });
    return wholeCount(area * static_cast<double>(density) +
                          4 * std::sqrt(static_cast<double>(scatter.triangles)),
                      scatter.most);
}

Locations byDensity(const Scatter& scatter, float density) {
    Locations locations;
    locations.reserve(expectedByDensity(scatter, density));
    DensityWriter writer(scatter, locations);
    scatter.forEachHopeful([&](std::size_t face, std::size_t t, float area) {
        writer.add({static_cast<std::uint32_t>(face), static_cast<std::uint32_t>(t),
                    roundShare(area * density, face, scatter.seed)});
    });
    writer.flush();
    Stratum::throwIfCancelled();
    return locations;
}

bool isHopeless(const Scatter& scatter) {
    if (!scatter.mask)
        return false;
    bool hopeless = true;
    scatter.forEachHopeful(
        [&](std::size_t, std::size_t, float area) { hopeless = hopeless && area == 0; });
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
            append(locations, face, t, weights);
            break;
        }
    Stratum::throwIfCancelled();
    return locations;
}

} // namespace

Barycentric drawBarycentric(std::uint64_t index, std::uint64_t seed) {
    float r1 = randomUnit<float>(index, seed), r2 = randomUnit<float>(index + 1, seed);
    // 1 - r or r, without a branch that half of the draws would take.
    const float turned = r1 + r2 > 1 ? 1.0F : 0.0F;
    r1 = std::abs(turned - r1);
    r2 = std::abs(turned - r2);
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
    const double bound = static_cast<double>(scatter.triangles) +
                         static_cast<double>(std::ceil(density * scatter.total));
    return bound > static_cast<double>(scatter.most) ? byCount(scatter, scatter.most)
                                                     : byDensity(scatter, density);
}

} // namespace Vantor::Sample
