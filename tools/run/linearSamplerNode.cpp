// The node linear_sampler: the sampler itself, without an operator around it.
#include "KDX/halo.h"
#include "interrupt.h"
#include "ops/haloChannel.h"
#include "run/callOperator.h"
#include "run/nodeTypes.h"
#include "run/samplerNode.h"
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

template <class Sampler, class T, class PositionT>
void sampleAll(Sampler sampler, const SamplerOptions& options,
               const Ostrum::Array<PositionT>& positions, Ostrum::Array<T>& values,
               Ostrum::Array<PositionT>& gradients) {
    for (std::size_t i = 0; i < positions.size() && !isInterrupted(); ++i) {
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
    const auto parts = volumeParts<Traits, T>(node.at("property"), volume);
    const auto positions = readPositions<PositionT>(node.at("positions"), inputs);
    const auto values = Ostrum::makePtr<Ostrum::Array<T>>(positions->size(), T());
    const auto gradients = Ostrum::makePtr<Ostrum::Array<PositionT>>(
        options.gradient ? positions->size() : 0, PositionT());
    const Report report = callOperator(node, [&](Ostrum::RuntimeServices&) {
        if (!options.halo)
            return sampleAll(Sampler(*parts.container, *parts.topology, *parts.channel), options,
                             *positions, *values, *gradients);
        const auto halo = buildHalo(parts, parts.channel->defaultValue());
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
    return sampleShape(node, inputs, [&]<class Traits, class T>(const KDX::Object& volume) {
        return sample<Traits, T>(node, inputs, volume);
    });
}

} // namespace Stratum::tools::graph
