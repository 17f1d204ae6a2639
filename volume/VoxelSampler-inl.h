#pragma once

#include "volume/VoxelSampler.h"
#include "volume/haloLayout.h"

namespace KDX::TileTree3D {

template <class Traits, class PositionT>
VoxelSampler<Traits, PositionT>::VoxelSampler(const ContainerT& container,
                                              const VoxelTopology<Traits>& topology)
    : accessor(container.tileAccessor()),
      worldToVoxel(container.voxelSize() == 0.0F
                       ? ScalarT{0}
                       : ScalarT{1} / static_cast<ScalarT>(container.voxelSize())),
      offset{topology.offset().x, topology.offset().y, topology.offset().z},
      offsetType(topology.offsetType()), placement{{offset.x, offset.y, offset.z},
                                                   static_cast<ScalarT>(
                                                       offsetType == VoxelOffsetType::kCorner ? 0
                                                                                              : -1),
                                                   static_cast<ScalarT>(Traits::kVoxelsPerAxis - 1),
                                                   haloLayout<Traits>(offsetType).base,
                                                   haloLayout<Traits>(offsetType).stride},
      kernels(&blockKernels<ScalarT>()) {}

template <class Traits, class PositionT>
VoxelSampler<Traits, PositionT>::VoxelSampler(const VoxelSampler& other)
    : accessor(other.accessor), worldToVoxel(other.worldToVoxel), offset(other.offset),
      offsetType(other.offsetType), placement(other.placement), kernels(other.kernels) {}

template <class Traits, class PositionT>
auto VoxelSampler<Traits, PositionT>::operator=(const VoxelSampler& other) -> VoxelSampler& {
    if (this == &other)
        return *this;
    accessor = other.accessor;
    worldToVoxel = other.worldToVoxel;
    offset = other.offset;
    offsetType = other.offsetType;
    placement = other.placement;
    kernels = other.kernels;
    currentTile = {};
    return *this;
}

template <class Traits, class PositionT>
VoxelSampler<Traits, PositionT>::~VoxelSampler() = default;

template <class Traits, class PositionT>
Ostrum::String VoxelSampler<Traits, PositionT>::name() const {
    return "kNone";
}

} // namespace KDX::TileTree3D
