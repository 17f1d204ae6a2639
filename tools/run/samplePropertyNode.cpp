// The node sample_volume_property.
#include "ops/sample_volume_property.h"
#include "run/callOperator.h"
#include "run/nodeTypes.h"
#include "run/sampleParameters.h"

#include <limits>

namespace Stratum::tools::graph {

namespace {

using Vantor::Geometry::Common::GeoLocation;

VantorExp::SampleMethod readMethod(const Json* json) {
    return static_cast<VantorExp::SampleMethod>(
        json ? json->integer(std::numeric_limits<std::int32_t>::min(),
                             std::numeric_limits<std::int32_t>::max())
             : 0);
}

template <class T>
ArrayPtr<T> readPrefilled(const Json* json, const Inputs& inputs) {
    return json ? inputs.array<T>(*json) : nullptr;
}

template <class T>
Outcome callProperty(const Json& node, const Inputs& inputs) {
    const ObjectPtr object = inputs.object(node.at("object"));
    const auto locations = inputs.array<GeoLocation>(node.at("locations"));
    const Ostrum::String property = node.at("property").text();
    const T defaultValue = readElement<T>(node.at("default_value"));
    const auto method = readMethod(node.find("method"));
    auto values = readPrefilled<T>(node.find("values"), inputs);
    auto valid = readPrefilled<bool>(node.find("valid"), inputs);
    const auto valuesBefore = values;
    const auto validBefore = valid;
    const Report report = callOperator(node, [&](Ostrum::RuntimeServices&) {
        Geometry::Internal::sample_volume_property(*object, *locations, property, defaultValue,
                                                   method, values, valid);
    });
    return {{{"values", values, values == valuesBefore}, {"valid", valid, valid == validBefore}},
            report};
}

} // namespace

Outcome evaluateSampleVolumeProperty(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "value_type", "object", "locations", "property", "default_value",
                    "method", "values", "valid", "settings"});
    Outcome outcome;
    visitSampledType(
        node, [&]<class T>(std::type_identity<T>) { outcome = callProperty<T>(node, inputs); });
    return outcome;
}

} // namespace Stratum::tools::graph
