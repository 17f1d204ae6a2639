// Small geometries for the examples, as a host would hand them over: components with their numbers
// of elements, and properties by name.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Geometry.h"
#include "Vantor/Volume.h"

#include <cstdint>
#include <vector>

namespace Examples {

using Vantor::Math::float3;
using VolumeShape = KDX::TileTree3D::Traits<2, 4, 1>;

template <class T>
Ostrum::Ptr<Ostrum::Array<T>> arrayOf(const std::vector<T>& values) {
    return Ostrum::makePtr<Ostrum::Array<T>>(values.begin(), values.end());
}

inline void addPoints(Vantor::Object& object, const std::vector<float3>& points) {
    using namespace Vantor::Geometry;
    object.addComponent(sPointComp, points.size());
    object.setProperty(sPointPosition, sPointComp, arrayOf(points));
}

/// Faces of four corners each, which name points. The offsets say at which corner each face begins.
inline Vantor::Object quadMesh(const std::vector<float3>& points,
                               const std::vector<std::uint32_t>& corners) {
    using namespace Vantor::Geometry;
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t corner = 0; corner < corners.size(); corner += 4)
        offsets.push_back(corner);
    Vantor::Object mesh;
    addPoints(mesh, points);
    mesh.addComponent(sFaceComp, offsets.size());
    mesh.addComponent(sFaceVertexComp, corners.size());
    mesh.setProperty(sFaceOffset, sFaceComp, arrayOf(offsets));
    mesh.setProperty(sFaceVertex, sFaceVertexComp, arrayOf(corners));
    return mesh;
}

/// Strands of so many points each.
inline Vantor::Object strandsOf(const std::vector<float3>& points, std::uint32_t pointsPerStrand) {
    using namespace Vantor::Geometry;
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t point = 0; point < points.size(); point += pointsPerStrand)
        offsets.push_back(point);
    Vantor::Object strands;
    addPoints(strands, points);
    strands.addComponent(sStrandComp, offsets.size());
    strands.setProperty(sStrandOffset, sStrandComp, arrayOf(offsets));
    return strands;
}

/// A channel of values f(position), in index units, on a tree of the volume.
template <class Function>
void addChannel(Vantor::Object& volume,
                const Ostrum::Ptr<const KDX::TileTree3D::TileTree<VolumeShape>>& tree,
                const Ostrum::String& name, const Function& f) {
    KDX::TileTree3D::ChannelBuilder<VolumeShape, float> builder(tree, name, 0.0F);
    builder.fill([&f](const auto& p, int) { return static_cast<float>(f(p)); });
    Vantor::Geometry::addChannel(volume, builder.finish());
}

} // namespace Examples
