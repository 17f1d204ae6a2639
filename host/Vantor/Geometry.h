// The host's names for the parts of a geometry, its kinds, and its volume view.
#pragma once

#include "KDX/Object.h"
#include "Ostrum/Export.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/String.h"
#include "Vantor/Object.h"

#include <cstdint>
#include <limits>

namespace Vantor::Geometry {

/// Marks an index entry that is not in use.
inline constexpr std::uint32_t kInvalidIndex = std::numeric_limits<std::uint32_t>::max();

// Components.
OSTRUM_API extern const Ostrum::String sPointComp;
OSTRUM_API extern const Ostrum::String sFaceComp;
OSTRUM_API extern const Ostrum::String sFaceVertexComp;
OSTRUM_API extern const Ostrum::String sStrandComp;
OSTRUM_API extern const Ostrum::String sVoxelComp;
OSTRUM_API extern const Ostrum::String sVoxelTileTree;

// Properties.
OSTRUM_API extern const Ostrum::String sPointPosition;
OSTRUM_API extern const Ostrum::String sFaceOffset;
OSTRUM_API extern const Ostrum::String sFaceVertex;
OSTRUM_API extern const Ostrum::String sStrandOffset;
OSTRUM_API extern const Ostrum::String sVoxelPosition;
OSTRUM_API extern const Ostrum::String sVoxelFogDensity;
OSTRUM_API extern const Ostrum::String sVoxelSignedDistance;

/// The name of a property's data.
OSTRUM_API extern const Ostrum::String sData;

// The kinds of geometry. A mesh has points too, and so is a point cloud; a strand object likewise.
OSTRUM_API Ostrum::Ptr<Prototype> getMeshPrototype();
OSTRUM_API Ostrum::Ptr<Prototype> getStrandPrototype();
OSTRUM_API Ostrum::Ptr<Prototype> getPointCloudPrototype();
OSTRUM_API Ostrum::Ptr<Prototype> getVolumePrototype();

OSTRUM_API std::size_t getElementCount(const Object& object, const Ostrum::String& component);

/// The component that a property belongs to, empty when there is no such property.
OSTRUM_API Ostrum::String getGeoPropTargetName(const Object& object,
                                               const Ostrum::String& property);

/// The volume view of an object, sharing its parts; null when the object is no volume.
OSTRUM_API Ostrum::Ptr<KDX::Object> shallow_copy_object_to_kdx_volume(const Object& object);

} // namespace Vantor::Geometry
