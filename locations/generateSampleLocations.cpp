#include "locations/generateSampleLocations.h"

#include "Vantor/Geometry.h"
#include "locations/generators.h"
#include "locations/warn.h"

#include <utility>

namespace Vantor::Sample {

namespace {

using VantorExp::Geometry::SampleType;

GenerateLocationOptions validated(const GenerateLocationOptions& options,
                                  const Ostrum::RuntimeServices* services) {
    GenerateLocationOptions valid = options;
    if (options.max_number < 0) {
        valid.max_number = 0;
        warn(services, "max_number cannot be negative. Clamping to 0.");
    }
    if (options.amount < 0.0) {
        valid.amount = 0.0; // NaN stays
        warn(services, "amount cannot be negative. Clamping to 0.");
    }
    return valid;
}

} // namespace

void generateSampleLocations(const Object& geometry, const GenerateLocationOptions& options,
                             Ostrum::Array<Vantor::Geometry::Common::GeoLocation>& locations,
                             const Ostrum::RuntimeServices* services) {
    const GenerateLocationOptions valid = validated(options, services);
    const bool onSurface = valid.sample_type == SampleType::Surface,
               onPoints = valid.sample_type == SampleType::Points;
    // A mesh has points too, so the order decides.
    if (onSurface && geometry.isA(*Geometry::getMeshPrototype()))
        locations = generateOnMesh(valid, geometry, services);
    else if (onSurface && geometry.isA(*Geometry::getStrandPrototype()))
        locations = generateOnStrands(valid, geometry, services);
    else if (onPoints && geometry.isA(*Geometry::getPointCloudPrototype()))
        locations = generateOnPoints(valid, geometry, services);
    else if (geometry.isA(*Geometry::getVolumePrototype())) {
        if (auto found = generateInVolume(valid, geometry))
            locations = std::move(*found);
    }
}

} // namespace Vantor::Sample
