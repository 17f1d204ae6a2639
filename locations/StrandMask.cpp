#include "locations/StrandMask.h"

#include "Vantor/Geometry.h"
#include "Vantor/Object.h"
#include "locations/maskProperty.h"

namespace Vantor::Sample {

std::unique_ptr<const StrandSamplerBase> makeStrandMask(const Object& geometry,
                                                        const StrandView& strands,
                                                        const GenerateLocationOptions& options,
                                                        const Ostrum::RuntimeServices* services) {
    const auto target = Geometry::getGeoPropTargetName(geometry, options.mask_property);
    const bool perStrand = target == Geometry::sStrandComp;
    if (!perStrand && target != Geometry::sPointComp) {
        warn(services, "Invalid target for mask property.");
        return nullptr;
    }
    return makeOfMaskType<StrandSamplerBase>(
        geometry, options, services,
        [&]<class T>(const Ostrum::Ptr<Ostrum::Array<T>>& values)
            -> std::unique_ptr<const StrandSamplerBase> {
            if (perStrand)
                return std::make_unique<StrandSamplerPerStrand<T>>(strands, values,
                                                                   options.invert_mask);
            return std::make_unique<StrandSamplerPerVertex<T>>(strands, values,
                                                               options.invert_mask);
        });
}

} // namespace Vantor::Sample
