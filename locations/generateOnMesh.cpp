#include "Vantor/Geometry.h"
#include "locations/generators.h"
#include "locations/scatterOnMesh.h"

namespace Vantor::Sample {

Locations generateOnMesh(GenerateLocationOptions options, const Object& geometry,
                         const Ostrum::RuntimeServices* services) {
    prepare(options, 0x2AAAAAAAAAAAAAAA);
    const auto positions = geometry.propertyData<float3>(Geometry::sPointPosition);
    const auto faceOffset = geometry.propertyData<std::uint32_t>(Geometry::sFaceOffset);
    const auto faceVertex = geometry.propertyData<std::uint32_t>(Geometry::sFaceVertex);
    const MeshView mesh{valuesOf(positions), valuesOf(faceVertex),
                        ElementRuns(valuesOf(faceOffset),
                                    Geometry::getElementCount(geometry, Geometry::sFaceComp),
                                    valuesOf(faceVertex).size())};
    const auto mask = options.use_mask ? makeMeshMask(geometry, mesh, options, services) : nullptr;
    return scatterOnMesh(mesh, mask.get(), options);
}

} // namespace Vantor::Sample
