#include "Vantor/Geometry.h"
#include "locations/generators.h"
#include "locations/scatterOnStrands.h"

namespace Vantor::Sample {

Locations generateOnStrands(GenerateLocationOptions options, const Object& geometry,
                            const Ostrum::RuntimeServices* services) {
    prepare(options, 0x3FFFFFFFFFFFFFFF);
    const auto positions = geometry.propertyData<float3>(Geometry::sPointPosition);
    const auto strandOffset = geometry.propertyData<std::uint32_t>(Geometry::sStrandOffset);
    const StrandView strands{valuesOf(positions),
                             ElementRuns(valuesOf(strandOffset),
                                         Geometry::getElementCount(geometry, Geometry::sStrandComp),
                                         valuesOf(positions).size())};
    const auto mask =
        options.use_mask ? makeStrandMask(geometry, strands, options, services) : nullptr;
    if (strands.positions.empty() || valuesOf(strandOffset).empty())
        return {};
    return scatterOnStrands(strands, mask.get(), options);
}

} // namespace Vantor::Sample
