// What the nodes of samplers share.
#pragma once

#include "Vantor/Geometry.h"
#include "ops/volumeParts.h"
#include "run/Node.h"
#include "run/tiles.h"

namespace Stratum::tools::graph {

/// Positions in the precision that the sampler wants; an array of float3 always serves.
template <class PositionT>
ArrayPtr<PositionT> readPositions(const Json& json, const Inputs& inputs) {
    if constexpr (std::is_same_v<PositionT, Vantor::Math::double3>)
        if (Inputs::isReference(json))
            if (const auto* single =
                    std::get_if<ArrayPtr<Vantor::Math::float3>>(&inputs.output(json).data)) {
                auto positions = Ostrum::makePtr<Ostrum::Array<Vantor::Math::double3>>();
                for (const Vantor::Math::float3& p : **single)
                    positions->push_back({p.x, p.y, p.z});
                return positions;
            }
    return inputs.array<PositionT>(json);
}

/// The tree and channel that a sampler node names; fails when the object does not have them.
template <class Traits, class T>
VolumeParts<Traits, T> volumeParts(const Json& property, const KDX::Object& volume) {
    auto parts = findVolumeParts<Traits, T>(volume, property.text());
    if (!parts)
        property.fail("the object has no tree of this shape with a channel '" + property.text() +
                      "' of " + elementTypeName<T>());
    return parts;
}

/// sample.operator()<Traits, T>(volume) for the tree shape and value type that the node names.
template <class Sample>
Outcome sampleShape(const Json& node, const Inputs& inputs, const Sample& sample) {
    using namespace KDX::TileTree3D;
    const auto volume =
        Vantor::Geometry::shallow_copy_object_to_kdx_volume(*inputs.object(node.at("object")));
    if (!volume)
        node.at("object").fail("the object is no volume");
    const int children = readShape(node.at("shape"));
    Outcome outcome;
    visitValueType(node.at("value_type"), [&]<class T>(std::type_identity<T>) {
#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    if (children == (B))                                                                           \
        outcome = sample.template operator()<Traits<B, W, 1>, T>(*volume);
#include "common/rows.def"
    });
    return outcome;
}

} // namespace Stratum::tools::graph
