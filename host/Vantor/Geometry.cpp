#include "Vantor/Geometry.h"

namespace Vantor::Geometry {

const Ostrum::String sPointComp("point_component");
const Ostrum::String sFaceComp("face_component");
const Ostrum::String sFaceVertexComp("face_vertex_component");
const Ostrum::String sStrandComp("strand_component");
const Ostrum::String sVoxelComp("voxel_component");
const Ostrum::String sVoxelTileTree("voxel_tile_tree");

const Ostrum::String sPointPosition("point_position");
const Ostrum::String sFaceOffset("face_offset");
const Ostrum::String sFaceVertex("face_vertex");
const Ostrum::String sStrandOffset("strand_offset");
const Ostrum::String sVoxelPosition("voxel_position");
const Ostrum::String sVoxelFogDensity("voxel_fog_density");
const Ostrum::String sVoxelSignedDistance("voxel_signed_distance");

const Ostrum::String sData("data");

Ostrum::Ptr<Prototype> getMeshPrototype() {
    return Ostrum::makePtr<Prototype>(Ostrum::Array<Ostrum::String>{sPointComp, sFaceComp});
}
Ostrum::Ptr<Prototype> getStrandPrototype() {
    return Ostrum::makePtr<Prototype>(Ostrum::Array<Ostrum::String>{sPointComp, sStrandComp});
}
Ostrum::Ptr<Prototype> getPointCloudPrototype() {
    return Ostrum::makePtr<Prototype>(Ostrum::Array<Ostrum::String>{sPointComp});
}
Ostrum::Ptr<Prototype> getVolumePrototype() {
    return Ostrum::makePtr<Prototype>(Ostrum::Array<Ostrum::String>{sVoxelTileTree});
}

std::size_t getElementCount(const Object& object, const Ostrum::String& component) {
    return object.elementCount(component);
}

Ostrum::String getGeoPropTargetName(const Object& object, const Ostrum::String& property) {
    return object.propertyTarget(property);
}

Ostrum::Ptr<KDX::Object> shallow_copy_object_to_kdx_volume(const Object& object) {
    if (!object.isA(*getVolumePrototype()))
        return nullptr;
    return Ostrum::makePtr<KDX::Object>(object.volumeParts());
}

} // namespace Vantor::Geometry
