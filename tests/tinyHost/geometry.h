// The tiny host's geometry objects: each is a volume or nothing.
#pragma once

#include "tinyHost/volume.h"

#pragma GCC visibility push(default)

namespace Vantor {

enum class Prototype { kMesh, kStrand, kPoints, kVolume };

class Object {
public:
    bool isA(const Prototype& prototype) const {
        Tiny::step();
        return prototype == Prototype::kVolume && !volume.parts.empty();
    }
    bool hasProperty(const Ostrum::String&) const { return false; }
    template <class T>
    Ostrum::Ptr<Ostrum::Array<T>> propertyData(const Ostrum::String&) const {
        return nullptr;
    }

    KDX::Object volume;
};

namespace Geometry {

inline constexpr std::uint32_t kInvalidIndex = ~std::uint32_t{0};

inline const Ostrum::String sPointComp("points"), sFaceComp("faces"), sFaceVertexComp("corners"),
    sStrandComp("strands"), sVoxelComp("voxels"), sVoxelTileTree("tree"), sPointPosition("point"),
    sFaceOffset("face"), sFaceVertex("corner"), sStrandOffset("strand"), sVoxelPosition("voxel"),
    sVoxelFogDensity("density"), sVoxelSignedDistance("distance");

template <Prototype kind>
Ostrum::Ptr<Prototype> prototype() {
    return Ostrum::makePtr<Prototype>(kind);
}
inline constexpr auto getMeshPrototype = prototype<Prototype::kMesh>,
                      getStrandPrototype = prototype<Prototype::kStrand>,
                      getPointCloudPrototype = prototype<Prototype::kPoints>,
                      getVolumePrototype = prototype<Prototype::kVolume>;

inline std::size_t getElementCount(const Object&, const Ostrum::String&) {
    return 0;
}
inline Ostrum::String getGeoPropTargetName(const Object&, const Ostrum::String&) {
    return {};
}
inline Ostrum::Ptr<KDX::Object> shallow_copy_object_to_kdx_volume(const Object& object) {
    const bool isVolume = object.isA(*getVolumePrototype());
    return isVolume ? Ostrum::makePtr<KDX::Object>(object.volume) : nullptr;
}

namespace Common {

enum LocationKind : std::uint32_t { kNoLocation, kOnFace = 3, kOnStrand, kOnPoint, kVolume };

struct GeoLocation {
    std::uint32_t kind = 0, element = 0;
    std::array<std::uint32_t, 4> indices{kInvalidIndex, kInvalidIndex, kInvalidIndex,
                                         kInvalidIndex};
    std::array<float, 4> weights{};
    std::array<std::uint64_t, 4> reserved{};
};

} // namespace Common
} // namespace Geometry
} // namespace Vantor

#pragma GCC visibility pop
