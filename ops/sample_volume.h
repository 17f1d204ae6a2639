// The volume sampling operators.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/String.h"
#include "Vantor/Object.h"
#include "common/Math.h"
#include "common/export.h"

/// Operators that ask a geometry or a volume for something.
namespace Geometry::Query {

/// How values are interpolated between voxels, at the deepest tile that holds the position. The
/// cubic ones stay within the range of the eight voxels around the position, at the price of small
/// steps between cells where that cuts something off, and give what kLinear gives where their
/// stencil meets tiles of another depth.
enum class SamplerType : int {
    kLinear = 0,  ///< trilinear
    kCubicC0 = 1, ///< tricubic through the four nearest voxels of each axis (Lagrange)
    kCubicC1 = 2, ///< tricubic with central differences as tangents (Catmull-Rom)
};

#define STRATUM_SAMPLE_VOLUME(T)                                                                   \
    STRATUM_API void sample_volume(const Vantor::Object& object,                                   \
                                   const Ostrum::Array<Vantor::Math::float3>& positions,           \
                                   const T& default_value, const Ostrum::String& property,         \
                                   SamplerType sampler, Ostrum::Ptr<Ostrum::Array<T>>& out)

/// @{
/// Reads the channel `property` of a volume at world positions, one value a position.
///
/// `out` becomes a new array with as many values as there are positions. Every value is
/// `default_value` where nothing can be sampled: `object` is no volume, it has no channel of that
/// name and value type, or `sampler` is none of those offered. Where a channel is sampled,
/// positions outside its tiles, NaN and infinite ones give the channel's own default instead. An
/// object with trees of both shapes is sampled in both, and the second one's values remain.
///
/// When the job is already cancelled, `out` is left as it was; when it is cancelled meanwhile, the
/// enclosing task group is cancelled, the host is told that "sample_volume" ended, and `out`
/// becomes an empty array. Other failures, such as memory running out, leave as exceptions, with
/// `out` as it was. Runs in parallel; safe to call from many threads.
STRATUM_SAMPLE_VOLUME(float);
STRATUM_SAMPLE_VOLUME(double);
STRATUM_SAMPLE_VOLUME(Vantor::Math::double3);
STRATUM_SAMPLE_VOLUME(Vantor::Math::float2);
STRATUM_SAMPLE_VOLUME(Vantor::Math::float3);
STRATUM_SAMPLE_VOLUME(Vantor::Math::float3x3);
STRATUM_SAMPLE_VOLUME(Vantor::Math::float4);
STRATUM_SAMPLE_VOLUME(Vantor::Math::float4x2);
STRATUM_SAMPLE_VOLUME(Vantor::Math::float4x4);
/// @}

#undef STRATUM_SAMPLE_VOLUME

/// @{
/// The gradient per world unit of a scalar channel at world positions, as sample_volume() samples:
/// of the trilinear interpolation with kLinear. `default_value` in all three components stands
/// where nothing can be sampled, which includes the cubic samplers; outside a channel's tiles the
/// gradient is 0. A cancellation names "sample_volume_gradient".
STRATUM_API void sample_volume_gradient(const Vantor::Object& object,
                                        const Ostrum::Array<Vantor::Math::float3>& positions,
                                        const float& default_value, const Ostrum::String& property,
                                        SamplerType sampler,
                                        Ostrum::Ptr<Ostrum::Array<Vantor::Math::float3>>& out);
STRATUM_API void sample_volume_gradient(const Vantor::Object& object,
                                        const Ostrum::Array<Vantor::Math::float3>& positions,
                                        const double& default_value, const Ostrum::String& property,
                                        SamplerType sampler,
                                        Ostrum::Ptr<Ostrum::Array<Vantor::Math::double3>>& out);
/// @}

} // namespace Geometry::Query
