// The operator that scatters sample locations.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/RuntimeServices.h"
#include "Ostrum/String.h"
#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "common/export.h"
#include "locations/GenerateLocationOptions.h"
#include "locations/generateSampleLocations.h"

namespace Geometry::Query {

/// Scatters random locations over a geometry; see GenerateLocationOptions for the parameters and
/// generateSampleLocations() for what becomes of them. `locations` becomes a new array, empty where
/// nothing can be scattered or there is no geometry. A cancellation of the job and failing memory
/// leave as exceptions, with `locations` as it was.
STRATUM_API void generate_sample_locations(
    const Ostrum::Ptr<Vantor::Object>& geometry, VantorExp::Geometry::SampleType sample_type,
    double amount, VantorExp::Geometry::AmountType amount_type,
    VantorExp::Geometry::MaskControl mask_control, std::int64_t seed,
    const Ostrum::Ptr<Ostrum::Array<long long>>& seed_array, bool use_max_number,
    std::int64_t max_number, bool use_mask, const Ostrum::String& mask_property, bool invert_mask,
    Ostrum::Ptr<Ostrum::Array<Vantor::Geometry::Common::GeoLocation>>& locations,
    const Ostrum::RuntimeServices& services);

} // namespace Geometry::Query
