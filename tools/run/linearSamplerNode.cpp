// The node linear_sampler: the sampler itself, without an operator around it.
#include "KDX/halo.h"
#include "Vantor/Geometry.h"
#include "ops/haloChannel.h"
#include "ops/volumeParts.h"
#include "run/callOperator.h"
#include "run/nodeTypes.h"
#include "run/tiles.h"
#include "volume/VoxelSamplerLinear.h"

namespace Stratum::tools::graph {

namespace {

using namespace KDX::TileTree3D;

struct SamplerOptions {
    bool halo = true;
    int maxDepth = 0;
    int space = kWorld;
    bool gradient = false;
};

template <class Traits>
SamplerOptions readOptions(const Json& node) {
    const auto flag = [&](const char* key, bool otherwise) {
        const Json* json = node.find(key);
        return json ? json->boolean() : otherwise;
    };
    const auto number = [&](const char* key, int otherwise) {
        const Json* json = node.find(key);
        return json ? readInt(*json) : otherwise;
    };
    return {flag("halo", true), number("max_depth", Traits::kFinestDepth), number("space", kWorld),
            flag("gradient", false)};
}

// Positions in the precision that the sampler wants; an array of float3 always serves.
template <class PositionT>
ArrayPtr<PositionT> readPositions(const Json& json, const Inputs& inputs) {
    if constexpr (std::is_same_v<PositionT, double3>)
        if (Inputs::isReference(json))
            if (const auto* single = std::get_if<ArrayPtr<float3>>(&inputs.output(json).data)) {
                auto positions = Ostrum::makePtr<Ostrum::Array<double3>>();
                for (const float3& p : **single)
                    positions->push_back({p.x, p.y, p.z});
                return positions;
            }
    return inputs.array<PositionT>(json);
}

template <class Sampler, class T, class PositionT>
void sampleAll(Sampler sampler, const SamplerOptions& options,
               const Ostrum::Array<PositionT>& positions, Ostrum::Array<T>& values,
               Ostrum::Array<PositionT>& gradients) {
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if constexpr (std::is_floating_point_v<T>)
            if (options.gradient) {
                values[i] = sampler.sampleGradient(positions[i], options.maxDepth, options.space,
                                                   gradients[i]);
                continue;
            }
        values[i] = sampler.sample(positions[i], options.maxDepth, options.space);
    }
}

template <class Traits, class T>
Outcome sample(const Json& node, const Inputs& inputs, const KDX::Object& volume) {
    using Sampler = LinearSampler<Traits, T>;
    using PositionT = typename Sampler::PositionType;
    const SamplerOptions options = readOptions<Traits>(node);
    if (options.gradient && !std::is_floating_point_v<T>)
        node.at("gradient")
            .fail("only float and double channels have a gradient, and this is one of " +
                  elementTypeName<T>());
    const Json& property = node.at("property");
    const auto parts = findVolumeParts<Traits, T>(volume, property.text());
    if (!parts)
        property.fail("the object has no tree of this shape with a channel '" + property.text() +
                      "' of " + elementTypeName<T>());
    const auto positions = readPositions<PositionT>(node.at("positions"), inputs);
    const auto values = Ostrum::makePtr<Ostrum::Array<T>>(positions->size(), T());
    const auto gradients = Ostrum::makePtr<Ostrum::Array<PositionT>>(
        options.gradient ? positions->size() : 0, PositionT());
    const Report report = callOperator(node, [&](Ostrum::RuntimeServices&) {
        if (!options.halo)
            return sampleAll(Sampler(*parts.container, *parts.topology, *parts.channel), options,
                             *positions, *values, *gradients);
        const auto halo = createHaloChannel<Traits, T>(
            *parts.topology, parts.channel->defaultValue(), {.finestDepth = Traits::kFinestDepth});
        computeHalo<Traits, T, 0, 0, 1, 0>(*parts.channel, *parts.container, *halo, -1, -1);
        sampleAll(Sampler(*parts.container, *parts.topology, *halo), options, *positions, *values,
                  *gradients);
    });
    const bool done = !report.exception;
    Outcome outcome{{{"values", done ? Data(values) : Data()}}, report};
    if (options.gradient)
        outcome.outputs.push_back({"gradients", done ? Data(gradients) : Data()});
    return outcome;
}

} // namespace

Outcome evaluateLinearSampler(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "value_type", "shape", "object", "property", "positions", "halo",
                    "max_depth", "space", "gradient", "settings"});
    const auto volume =
        Vantor::Geometry::shallow_copy_object_to_kdx_volume(*inputs.object(node.at("object")));
    if (!volume)
        node.at("object").fail("the object is no volume");
    const int children = readShape(node.at("shape"));
    Outcome outcome;
    visitValueType(node.at("value_type"), [&]<class T>(std::type_identity<T>) {
#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    if (children == (B))                                                                           \
        outcome = sample<Traits<B, W, 1>, T>(node, inputs, *volume);
#include "common/rows.def"
    });
    return outcome;
}

} // namespace Stratum::tools::graph
