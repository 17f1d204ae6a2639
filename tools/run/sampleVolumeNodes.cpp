// The nodes sample_volume and sample_volume_gradient.
#include "ops/sample_volume.h"
#include "run/callOperator.h"
#include "run/nodeTypes.h"
#include "run/sampleParameters.h"

#include <limits>

namespace Stratum::tools::graph {

namespace {

using Geometry::Query::SamplerType;
using Vantor::Math::double3;
using Vantor::Math::float3;

// A sampler by its name, or any number that an operator may be handed.
SamplerType readSampler(const Json* json) {
    if (!json)
        return SamplerType::kLinear;
    if (!json->isText())
        return static_cast<SamplerType>(
            json->integer(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
    constexpr std::pair<const char*, SamplerType> kNames[] = {{"kLinear", SamplerType::kLinear},
                                                              {"kCubicC0", SamplerType::kCubicC0},
                                                              {"kCubicC1", SamplerType::kCubicC1}};
    for (const auto& [name, sampler] : kNames)
        if (json->text() == name)
            return sampler;
    json->fail("there is no sampler '" + json->text() +
               "'; there are kLinear, kCubicC0, kCubicC1, or any whole number");
}

template <class T, class R, class Operator>
Outcome callSampling(const Json& node, const Inputs& inputs, const Operator& call) {
    const ObjectPtr object = inputs.object(node.at("object"));
    const auto positions = inputs.array<float3>(node.at("positions"));
    const T defaultValue = readElement<T>(node.at("default_value"));
    const Ostrum::String property = node.at("property").text();
    const SamplerType sampler = readSampler(node.find("sampler"));
    const Json* prefilled = node.find("out");
    ArrayPtr<R> out = prefilled ? inputs.array<R>(*prefilled) : nullptr;
    const ArrayPtr<R> before = out;
    const Report report = callOperator(node, [&](Ostrum::RuntimeServices&) {
        call(*object, *positions, defaultValue, property, sampler, out);
    });
    return {{{"out", out, out == before}}, report};
}

void allowKeys(const Json& node) {
    node.allowOnly({"type", "value_type", "object", "positions", "default_value", "property",
                    "sampler", "out", "settings"});
}

} // namespace

const char* typeByForm(const Json& value) {
    if (!value.isList())
        return "float";
    const auto& list = value.list();
    const std::size_t rows = list.size();
    const std::size_t columns = rows > 0 && list[0].isList() ? list[0].list().size() : 0;
    if (rows == 3 && columns == 3)
        return "float3x3";
    if (rows == 4 && (columns == 2 || columns == 4))
        return columns == 2 ? "float4x2" : "float4x4";
    if (columns == 0 && rows >= 2 && rows <= 4)
        return rows == 2 ? "float2" : rows == 3 ? "float3" : "float4";
    value.fail("the value has the form of no value type");
}

Outcome evaluateSampleVolume(const Json& node, const Inputs& inputs) {
    allowKeys(node);
    Outcome outcome;
    visitSampledType(node, [&]<class T>(std::type_identity<T>) {
        outcome = callSampling<T, T>(
            node, inputs, [](auto&... arguments) { Geometry::Query::sample_volume(arguments...); });
    });
    return outcome;
}

Outcome evaluateSampleVolumeGradient(const Json& node, const Inputs& inputs) {
    allowKeys(node);
    const auto call = [](auto&... arguments) {
        Geometry::Query::sample_volume_gradient(arguments...);
    };
    const Json* type = node.find("value_type");
    if (!type || type->text() == "float")
        return callSampling<float, float3>(node, inputs, call);
    if (type->text() == "double")
        return callSampling<double, double3>(node, inputs, call);
    type->fail("there is no gradient of '" + type->text() + "'; allowed are: float, double");
}

} // namespace Stratum::tools::graph
