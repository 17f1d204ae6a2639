// The operator that samples a volume at geo locations.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/String.h"
#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "common/Math.h"
#include "common/export.h"

#include <cstdint>

/// The types of parameters that a node shows.
namespace VantorExp {

/// The host's choice of a way to sample. Every value means linear interpolation here.
enum class SampleMethod : std::int32_t {};

} // namespace VantorExp

/// Operators that a host's own nodes are made of.
namespace Geometry::Internal {

#define STRATUM_SAMPLE_VOLUME_PROPERTY(T)                                                          \
    STRATUM_API void sample_volume_property(                                                       \
        const Vantor::Object& object,                                                              \
        const Ostrum::Array<Vantor::Geometry::Common::GeoLocation>& locations,                     \
        const Ostrum::String& property, const T& default_value, VantorExp::SampleMethod method,    \
        Ostrum::Ptr<Ostrum::Array<T>>& values, Ostrum::Ptr<Ostrum::Array<bool>>& valid)

/// @{
/// Reads the channel `property` of a volume at the world positions of locations, which are the
/// first three weights whatever the location's kind: one value and one flag a location, linearly
/// interpolated. A flag says that a value was written, not that the place lies inside the volume:
/// outside the channel's tiles and at positions that are NaN or infinite the value is a default.
///
/// With more than 0.2 locations per stored voxel and samples on voxel corners, a halo channel is
/// built first, and the default is `default_value`; otherwise it is the channel's own. In the
/// host's test mode the registered property "sample_volume_property_halo_sampling_threshold"
/// stands in for the 0.2. The decision is traced on the standard output stream above verbosity 1.
///
/// `property` may name the voxel positions (sVoxelPosition): no volume is read then, and the values
/// are the locations' own positions. Types other than float3 give zeros and flags that are false.
///
/// `values` and `valid` become new arrays. They are empty, with a line on the standard error
/// stream, where `object` is no volume or has no channel of that name and value type. An object
/// with trees of both shapes is sampled in both, and the second one's values remain. A cancellation
/// of the job, failing memory and parts that belong to different trees leave as exceptions, with
/// both arrays empty, or as they were when there is no memory even for those.
STRATUM_SAMPLE_VOLUME_PROPERTY(float);
STRATUM_SAMPLE_VOLUME_PROPERTY(double);
STRATUM_SAMPLE_VOLUME_PROPERTY(Vantor::Math::double3);
STRATUM_SAMPLE_VOLUME_PROPERTY(Vantor::Math::float2);
STRATUM_SAMPLE_VOLUME_PROPERTY(Vantor::Math::float3);
STRATUM_SAMPLE_VOLUME_PROPERTY(Vantor::Math::float3x3);
STRATUM_SAMPLE_VOLUME_PROPERTY(Vantor::Math::float4);
STRATUM_SAMPLE_VOLUME_PROPERTY(Vantor::Math::float4x2);
STRATUM_SAMPLE_VOLUME_PROPERTY(Vantor::Math::float4x4);
/// @}

#undef STRATUM_SAMPLE_VOLUME_PROPERTY

} // namespace Geometry::Internal
