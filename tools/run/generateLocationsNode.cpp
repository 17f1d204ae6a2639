// The node generate_sample_locations.
#include "ops/generate_sample_locations.h"
#include "run/callOperator.h"
#include "run/nodeTypes.h"
#include "run/readSeeds.h"

#include <limits>

namespace Stratum::tools::graph {

namespace {

using Vantor::Geometry::Common::GeoLocation;
using Vantor::Sample::GenerateLocationOptions;

// One of two names, or any number that an operator may be handed.
template <class Enum>
Enum readEnum(const Json* json, Enum otherwise, const char* zero, const char* one) {
    if (!json)
        return otherwise;
    if (!json->isText())
        return static_cast<Enum>(json->integer(std::numeric_limits<std::int32_t>::min(),
                                               std::numeric_limits<std::int32_t>::max()));
    if (json->text() == zero)
        return Enum{0};
    if (json->text() == one)
        return Enum{1};
    json->fail("'" + json->text() + "' is neither " + zero + " nor " + one +
               ", nor a whole number");
}

Ostrum::Ptr<Ostrum::Array<long long>> readSeedArray(const Json* json, const Inputs& inputs) {
    if (!json || json->isNull())
        return nullptr;
    const auto array = readBits64Array(*json, inputs);
    return Ostrum::makePtr<Ostrum::Array<long long>>(array->begin(), array->end());
}

GenerateLocationOptions readOptions(const Json& node, const Inputs& inputs) {
    GenerateLocationOptions options;
    options.sample_type =
        readEnum(node.find("sample_type"), options.sample_type, "Surface", "Points");
    if (const Json* amount = node.find("amount"))
        options.amount = readScalar<double>(*amount);
    options.amount_type =
        readEnum(node.find("amount_type"), options.amount_type, "Count", "Density");
    options.mask_control =
        readEnum(node.find("mask_control"), options.mask_control, "Resample", "Discard");
    if (const Json* seed = node.find("seed"))
        options.seed = readSeed(*seed, inputs);
    options.seed_array = readSeedArray(node.find("seed_array"), inputs);
    if (const Json* most = node.find("max_number"))
        options.max_number = most->integer(std::numeric_limits<std::int64_t>::min(),
                                           std::numeric_limits<std::int64_t>::max());
    if (const Json* mask = node.find("mask_property"))
        options.mask_property = mask->text();
    const auto flag = [&](const char* key) {
        const Json* json = node.find(key);
        return json && json->boolean();
    };
    options.use_max_number = flag("use_max_number");
    options.use_mask = flag("use_mask");
    options.invert_mask = flag("invert_mask");
    return options;
}

} // namespace

Outcome evaluateGenerateSampleLocations(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "geometry", "sample_type", "amount", "amount_type", "mask_control",
                    "seed", "seed_array", "use_max_number", "max_number", "use_mask",
                    "mask_property", "invert_mask", "out", "settings"});
    const Json& json = node.at("geometry");
    const ObjectPtr geometry = json.isNull() ? nullptr : inputs.object(json);
    const GenerateLocationOptions o = readOptions(node, inputs);
    const Json* prefilled = node.find("out");
    ArrayPtr<GeoLocation> out = prefilled ? inputs.array<GeoLocation>(*prefilled) : nullptr;
    const ArrayPtr<GeoLocation> before = out;
    const Report report = callOperator(node, [&](Ostrum::RuntimeServices& services) {
        ::Geometry::Query::generate_sample_locations(
            geometry, o.sample_type, o.amount, o.amount_type, o.mask_control, o.seed, o.seed_array,
            o.use_max_number, o.max_number, o.use_mask, o.mask_property, o.invert_mask, out,
            services);
    });
    return {{{"out", out, out == before}}, report};
}

} // namespace Stratum::tools::graph
