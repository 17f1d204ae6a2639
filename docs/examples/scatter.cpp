// Scatters locations over a mesh, and works out where in the world they are.
#include "geometries.h"
#include "ops/generate_sample_locations.h"

#include <cstdio>
#include <vector>

using namespace Examples;
using Vantor::Geometry::Common::GeoLocation;
using VantorExp::Geometry::AmountType;
using VantorExp::Geometry::MaskControl;
using VantorExp::Geometry::SampleType;

namespace {

// A location on a face names three of its corners, and their weights.
float3 positionOf(const Vantor::Object& mesh, const GeoLocation& location) {
    using namespace Vantor::Geometry;
    const auto& points = *mesh.propertyData<float3>(sPointPosition);
    const auto& offsets = *mesh.propertyData<std::uint32_t>(sFaceOffset);
    const auto& corners = *mesh.propertyData<std::uint32_t>(sFaceVertex);
    float3 position{0, 0, 0};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t corner = offsets[location.element] + location.indices[i];
        const float3 part = points[corners[corner]] * location.weights[i];
        position = {position.x + part.x, position.y + part.y, position.z + part.z};
    }
    return position;
}

} // namespace

int main() {
    // A square and a rectangle of twice its area, side by side.
    const auto mesh = Ostrum::makePtr<Vantor::Object>(
        quadMesh({{0, 0, 0}, {1, 0, 0}, {3, 0, 0}, {0, 1, 0}, {1, 1, 0}, {3, 1, 0}},
                 {0, 1, 4, 3, 1, 2, 5, 4}));
    const Ostrum::RuntimeServices services; // warnings go to the standard error stream
    Ostrum::Ptr<Ostrum::Array<GeoLocation>> locations;

    Geometry::Query::generate_sample_locations(mesh, SampleType::Surface, 3000, AmountType::Count,
                                               MaskControl::Resample, 12, nullptr, false, 0, false,
                                               "", false, locations, services);
    int onSquare = 0;
    bool isInside = true;
    for (const GeoLocation& location : *locations) {
        const float3 p = positionOf(*mesh, location);
        onSquare += location.element == 0 ? 1 : 0;
        const float left = location.element == 0 ? 0.0F : 1.0F;
        const float right = location.element == 0 ? 1.0F : 3.0F;
        isInside = isInside && p.x >= left && p.x <= right && p.y >= 0 && p.y <= 1 && p.z == 0;
    }
    std::printf("count 3000: %zu locations, %d on the square, %s\n", locations->size(), onSquare,
                isInside ? "each on its face" : "some beside their faces");

    // 100.5 for each unit of area: every triangle rounds its share at random.
    Geometry::Query::generate_sample_locations(
        mesh, SampleType::Surface, 100.5, AmountType::Density, MaskControl::Resample, 12, nullptr,
        false, 0, false, "", false, locations, services);
    std::printf("density 100.5 on area 3: %zu locations\n", locations->size());

    // Two seeds more are folded in; the cap takes what comes first.
    const auto seeds = Ostrum::makePtr<Ostrum::Array<long long>>(Ostrum::Array<long long>{7, 8});
    Geometry::Query::generate_sample_locations(mesh, SampleType::Points, 10, AmountType::Count,
                                               MaskControl::Resample, 12, seeds, true, 6, false, "",
                                               false, locations, services);
    std::printf("points:");
    for (const GeoLocation& location : *locations)
        std::printf(" %u", location.element);
    std::printf("\n");
}
