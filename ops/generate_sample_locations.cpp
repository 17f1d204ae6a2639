#include "ops/generate_sample_locations.h"

#include <utility>

namespace Geometry::Query {

void generate_sample_locations(
    const Ostrum::Ptr<Vantor::Object>& geometry, VantorExp::Geometry::SampleType sample_type,
    double amount, VantorExp::Geometry::AmountType amount_type,
    VantorExp::Geometry::MaskControl mask_control, std::int64_t seed,
    const Ostrum::Ptr<Ostrum::Array<long long>>& seed_array, bool use_max_number,
    std::int64_t max_number, bool use_mask, const Ostrum::String& mask_property, bool invert_mask,
    Ostrum::Ptr<Ostrum::Array<Vantor::Geometry::Common::GeoLocation>>& locations,
    const Ostrum::RuntimeServices& services) {
    auto generated = Ostrum::makePtr<Ostrum::Array<Vantor::Geometry::Common::GeoLocation>>();
    Vantor::Sample::GenerateLocationOptions options;
    options.sample_type = sample_type;
    options.amount = amount;
    options.amount_type = amount_type;
    options.mask_control = mask_control;
    options.seed = seed;
    options.seed_array = seed_array;
    options.use_max_number = use_max_number;
    options.max_number = max_number;
    options.use_mask = use_mask;
    options.mask_property = mask_property;
    options.invert_mask = invert_mask;
    if (geometry)
        Vantor::Sample::generateSampleLocations(*geometry, options, *generated, &services);
    locations = std::move(generated);
}

} // namespace Geometry::Query
