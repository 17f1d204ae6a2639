#pragma once

#include "KDX/partsFit.h"
#include "volume/PlainCells-inl.h"
#include "volume/VoxelSampler-inl.h"
#include "volume/VoxelSamplerLinear.h"

#include <stdexcept>

namespace KDX::TileTree3D {

inline constexpr char kUnfit[] = "container, topology and channel are not parts of one tree";

template <class Tr, class V, int N, class S, class P, int A, int B, int C, int D>
VoxelSamplerLinear<Tr, V, N, S, P, A, B, C, D>::VoxelSamplerLinear(const Container<Tr>& tree,
                                                                   const VoxelTopology<Tr>& voxels,
                                                                   const PlainChannel& plain)
    : Base(tree, voxels), plainCells(tree, &plain, voxels.offsetType()),
      inverseVoxelSize(S{1} / static_cast<S>(tree.voxelSize())), channel(&plain),
      haloChannel(nullptr), topology(&voxels), haloLayout_(haloLayout<Tr>(voxels.offsetType())),
      defaultValue(plain.defaultValue()), minDepth(plain.minDepth()), maxDepth(plain.depth()) {
    if (!partsFit(tree, voxels, plain))
        throw std::invalid_argument(kUnfit);
}

template <class Tr, class V, int N, class S, class P, int A, int B, int C, int D>
VoxelSamplerLinear<Tr, V, N, S, P, A, B, C, D>::VoxelSamplerLinear(const Container<Tr>& tree,
                                                                   const VoxelTopology<Tr>& voxels,
                                                                   const HaloChannel& halo)
    : Base(tree, voxels), plainCells(tree, nullptr, voxels.offsetType()),
      inverseVoxelSize(S{1} / static_cast<S>(tree.voxelSize())), channel(nullptr),
      haloChannel(&halo), topology(&voxels), haloLayout_(haloLayout<Tr>(voxels.offsetType())),
      defaultValue(halo.defaultValue()), minDepth(halo.minDepth()), maxDepth(halo.depth()) {
    if (!partsFit(tree, voxels, halo))
        throw std::invalid_argument(kUnfit);
}

template <class Tr, class V, int N, class S, class P, int A, int B, int C, int D>
Ostrum::String VoxelSamplerLinear<Tr, V, N, S, P, A, B, C, D>::name() const {
    return "kLinear";
}

} // namespace KDX::TileTree3D
