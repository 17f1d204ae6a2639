#include "locations/CandidateCells.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Vantor::Sample {

namespace {

constexpr std::uint64_t kMostUnits = std::uint64_t{1} << 56;

// a * b + c, or more than kMostUnits where that is more. a and c must not exceed kMostUnits.
std::uint64_t saturated(std::uint64_t a, std::uint64_t b, std::uint64_t c) {
    constexpr std::uint64_t kTooMany = kMostUnits + 1;
    if (b != 0 && a > kMostUnits / b)
        return kTooMany;
    return std::min(a * b + c, kTooMany);
}

// Cells of a finer depth in one of a depth so many steps coarser, saturated.
template <class Traits>
std::uint64_t cellsIn(int steps) {
    constexpr auto B = static_cast<std::uint64_t>(Traits::kChildrenPerAxis);
    std::uint64_t cells = 1;
    for (int step = 0; step < steps; ++step)
        cells = saturated(cells, B * B * B, 0);
    return cells;
}

} // namespace

template <class Traits>
CandidateCells<Traits>::CandidateCells(std::vector<CandidateTile<Traits>> tiles, int finestDepth)
    : tiles_(std::move(tiles)) {
    std::erase_if(tiles_, [](const auto& tile) { return tile.voxels.empty(); });
    chooseUnit(finestDepth);
    sumUp();
    makeGuide();
}

template <class Traits>
void CandidateCells<Traits>::chooseUnit(int finestDepth) {
    std::array<std::uint64_t, Traits::kDepthCount> voxels{};
    for (const auto& tile : tiles_)
        voxels[static_cast<std::size_t>(tile.depth)] +=
            static_cast<std::uint64_t>(tile.voxels.count());
    for (unitDepth_ = std::max(finestDepth, 0);; --unitDepth_) {
        std::uint64_t total = 0;
        for (int depth = 0; depth < Traits::kDepthCount; ++depth) {
            const auto d = static_cast<std::size_t>(depth);
            unitsPerVoxel_[d] = cellsIn<Traits>(unitDepth_ - depth);
            total = saturated(voxels[d], unitsPerVoxel_[d], total);
        }
        if (total <= kMostUnits || unitDepth_ == 0)
            return;
    }
}

template <class Traits>
void CandidateCells<Traits>::sumUp() {
    for (auto& tile : tiles_) {
        tile.begin = total_;
        total_ += unitsOf(tile);
    }
}

template <class Traits>
void CandidateCells<Traits>::makeGuide() {
    // Some entries a tile, so that most of them meet but one.
    while (total_ >> shift_ > 4 * tiles_.size())
        ++shift_;
    guide_.reserve((total_ >> shift_) + 2);
    std::uint32_t tile = 0;
    for (std::uint64_t entry = 0; entry <= total_ >> shift_; ++entry) {
        while (tile + 1 < tiles_.size() && tiles_[tile + 1].begin <= entry << shift_)
            ++tile;
        guide_.push_back(tile);
    }
    guide_.push_back(static_cast<std::uint32_t>(tiles_.empty() ? 0 : tiles_.size() - 1));
}

template <class Traits>
CandidateCell CandidateCells<Traits>::partOf(const WholeCell& cell, std::uint64_t part,
                                             std::int64_t width) {
    const auto perAxis = static_cast<std::uint64_t>(cell.width / width);
    const auto offset = [&](std::uint64_t p) {
        return static_cast<std::int64_t>(p % perAxis) * width;
    };
    return WholeCell{cell.x + offset(part), cell.y + offset(part / perAxis),
                     cell.z + offset(part / perAxis / perAxis), width}
        .rounded();
}

template <class Traits>
typename CandidateCells<Traits>::Box CandidateCells<Traits>::bounds() const {
    constexpr int W = Traits::kVoxelsPerAxis;
    Box box;
    box.min.fill(std::numeric_limits<std::int64_t>::max());
    box.max.fill(std::numeric_limits<std::int64_t>::min());
    for (const auto& tile : tiles_) {
        const std::array<std::int64_t, 3> origin{tile.tijk.x, tile.tijk.y, tile.tijk.z};
        const std::int64_t width = Traits::voxelWidth(tile.depth);
        bool inside = true;
        for (std::size_t axis = 0; axis < 3; ++axis)
            inside = inside && box.min[axis] <= origin[axis] &&
                     origin[axis] + W * width <= box.max[axis];
        if (inside)
            continue;
        for (int voxel = 0; voxel < Traits::kVoxelCount; ++voxel) {
            if (!tile.voxels.contains(voxel))
                continue;
            const auto [x, y, z] = localVoxel<Traits>(voxel);
            const std::array<int, 3> n{x, y, z};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const std::int64_t lower = origin[axis] + n[axis] * width;
                box.min[axis] = std::min(box.min[axis], lower);
                box.max[axis] = std::max(box.max[axis], lower + width);
            }
        }
    }
    return box;
}

#define STRATUM_TREE_SHAPE(B, W) template class CandidateCells<KDX::TileTree3D::Traits<B, W, 1>>;
#include "common/rows.def"

} // namespace Vantor::Sample
