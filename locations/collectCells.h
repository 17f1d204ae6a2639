// Finding the cells of a volume that hold what is asked for.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "locations/CandidateCells.h"

#include <vector>

namespace Vantor::Sample {

/// Which values a cell must have.
enum class CellRule {
    kDensity,  ///< above 0
    kDistance, ///< 0 or below, the inside
};

/// The cells that follow the rule, among those that no finer tile covers that samplers would look
/// into, down to the channel's own depth; tile by tile in the order of a walk through the tree. A
/// cell is a voxel with its value; or, with the values around a tile in `extended` (see
/// extendedChannel()), the cube between eight neighbouring samples with their mean. NaN follows no
/// rule. Runs in parallel; lets a cancellation through.
template <class Traits>
std::vector<CandidateTile<Traits>> collectCells(
    const KDX::TileTree3D::Container<Traits>& container,
    const KDX::TileTree3D::Channel<Traits, float, Traits::kVoxelsPerAxis, 0, 0>& channel,
    const KDX::TileTree3D::Channel<Traits, float, Traits::kVoxelsPerAxis + 1, 0, 0>* extended,
    CellRule rule);

} // namespace Vantor::Sample
