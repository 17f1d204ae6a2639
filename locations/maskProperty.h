// Reading the mask property, whatever its type.
#pragma once

#include "Vantor/Object.h"
#include "locations/GenerateLocationOptions.h"
#include "locations/maskValue.h"
#include "locations/warn.h"

#include <memory>

namespace Vantor::Sample {

/// What `make` gives for the values of the mask property, an array of one of the types of masks;
/// null, with a warning, when they are of another type.
template <class Mask, class Make>
std::unique_ptr<const Mask>
makeOfMaskType(const Object& geometry, const GenerateLocationOptions& options,
               const Ostrum::RuntimeServices* services, const Make& make) {
#define STRATUM_TRY(T)                                                                             \
    if (const auto values = geometry.propertyData<T>(options.mask_property))                       \
        return make(values);
    STRATUM_FOR_EACH_MASK_TYPE(STRATUM_TRY)
#undef STRATUM_TRY
    warn(services, "Unsupported data type for mask property.");
    return nullptr;
}

} // namespace Vantor::Sample
