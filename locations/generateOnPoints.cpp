#include "Vantor/Geometry.h"
#include "locations/generators.h"
#include "locations/scatterOnPoints.h"

namespace Vantor::Sample {

Locations generateOnPoints(GenerateLocationOptions options, const Object& geometry,
                           const Ostrum::RuntimeServices* services) {
    prepare(options, 0x7FFFFFFFFFFFFFFF);
    const auto mask = options.use_mask ? makePointMask(geometry, options, services) : nullptr;
    return scatterOnPoints(Geometry::getElementCount(geometry, Geometry::sPointComp), mask.get(),
                           options);
}

} // namespace Vantor::Sample
