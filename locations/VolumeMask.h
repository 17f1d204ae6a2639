// A mask on the voxels of a volume.
#pragma once

#include "KDX/Object.h"
#include "locations/CandidateCells.h"
#include "locations/GenerateLocationOptions.h"

#include <cstdint>
#include <memory>

namespace KDX::TileTree3D {
template <class Traits>
class Container;
template <class Traits>
class VoxelTopology;
} // namespace KDX::TileTree3D

namespace Vantor::Sample {

/// Decides which samples are kept, on one thread.
class VolumeProbe {
public:
    VolumeProbe() = default;
    VolumeProbe(const VolumeProbe&) = delete;
    VolumeProbe& operator=(const VolumeProbe&) = delete;
    virtual ~VolumeProbe() = default;

    /// Whether a sample at a world position is rejected.
    virtual bool rejects(const float3& position, std::uint64_t draw) = 0;
};

/// A channel that gives the probability of keeping a sample: its linearly interpolated value, of
/// which the first component counts. Where there is no data, samples on voxel corners blend towards
/// 0 and all others towards the channel's default value.
template <class Traits>
class VolumeMask {
public:
    VolumeMask() = default;
    VolumeMask(const VolumeMask&) = delete;
    VolumeMask& operator=(const VolumeMask&) = delete;
    virtual ~VolumeMask() = default;

    /// A probe for one thread; the mask must outlive it.
    virtual std::unique_ptr<VolumeProbe> probe() const = 0;

    /// Whether every sample in every one of these cells is rejected, whatever is drawn: all values
    /// that one could be blended from are such. Samples that rounding carries out of their cell, as
    /// happens where positions in single precision lie a voxel apart, count as if it did not.
    virtual bool rejectsAll(const CandidateCells<Traits>& cells) const = 0;
};

/// The mask that the options name: a channel of the volume with any type of value. Null when the
/// component of that name is no channel of this shape of tree. Throws std::invalid_argument when it
/// belongs to another tree.
template <class Traits>
std::unique_ptr<const VolumeMask<Traits>>
makeVolumeMask(const KDX::Object& volume, const KDX::TileTree3D::Container<Traits>& container,
               const KDX::TileTree3D::VoxelTopology<Traits>& topology,
               const GenerateLocationOptions& options);

/// The same for values of type T alone.
template <class Traits, class T>
std::unique_ptr<const VolumeMask<Traits>>
makeVolumeMaskOf(const KDX::Object& volume, const KDX::TileTree3D::Container<Traits>& container,
                 const KDX::TileTree3D::VoxelTopology<Traits>& topology,
                 const GenerateLocationOptions& options);

} // namespace Vantor::Sample
