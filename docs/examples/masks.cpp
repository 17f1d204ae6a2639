// Masks: what share of the locations they keep, and what they count as.
#include "geometries.h"
#include "ops/generate_sample_locations.h"

#include <algorithm>
#include <cstdio>
#include <limits>

using namespace Examples;
using namespace VantorExp::Geometry;
using Vantor::Math::float2;
using Locations = Ostrum::Array<Vantor::Geometry::Common::GeoLocation>;

namespace {

struct MaskUse {
    const char* property;
    MaskControl control = MaskControl::Discard;
    bool inverted = false;
};

Locations scatter(const Vantor::Object& mesh, const MaskUse& mask) {
    Vantor::Sample::GenerateLocationOptions options;
    options.amount = 10000;
    options.amount_type = AmountType::Count;
    options.seed = 12;
    options.use_mask = true;
    options.mask_property = mask.property;
    options.mask_control = mask.control;
    options.invert_mask = mask.inverted;
    Locations locations;
    const Ostrum::RuntimeServices services(
        2, [](int, const Ostrum::String& text) { std::printf("warning: %s\n", text.c_str()); });
    Vantor::Sample::generateSampleLocations(mesh, options, locations, &services);
    return locations;
}

template <class T>
void addFaceMask(Vantor::Object& mesh, const char* name, const T& value) {
    const std::vector<T> values(mesh.elementCount(Vantor::Geometry::sFaceComp), value);
    mesh.setProperty(name, Vantor::Geometry::sFaceComp, arrayOf(values));
}

} // namespace

int main() {
    Vantor::Object mesh = quadMesh({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {0, 1, 2, 3});
    addFaceMask(mesh, "quarter", 0.25F);
    addFaceMask(mesh, "pair", float2{0.25F, 1});
    addFaceMask(mesh, "above", 2.5F);
    addFaceMask(mesh, "below", -1.0);
    addFaceMask(mesh, "nan", std::numeric_limits<float>::quiet_NaN());
    addFaceMask(mesh, "integer", 1);
    mesh.setProperty("ramp", Vantor::Geometry::sPointComp, arrayOf<float>({0, 1, 1, 0}));
    mesh.setProperty(
        "flags", Vantor::Geometry::sPointComp,
        Ostrum::makePtr<Ostrum::Array<bool>>(Ostrum::Array<bool>{false, true, true, false}));

    for (const char* property :
         {"quarter", "pair", "above", "below", "nan", "ramp", "flags", "integer", "missing"})
        std::printf("%s: %zu of 10000\n", property, scatter(mesh, {property}).size());

    const auto kept = scatter(mesh, {"quarter"}),
               rest = scatter(mesh, {"quarter", MaskControl::Discard, true});
    std::printf("quarter and its inverse: %zu + %zu\n", kept.size(), rest.size());
    std::printf("quarter, resampled: %zu\n",
                scatter(mesh, {"quarter", MaskControl::Resample}).size());
    std::printf("below, resampled: %zu\n", scatter(mesh, {"below", MaskControl::Resample}).size());
}
