#include "CandidateSpace.h"

#include "KDX/halo.h"
#include "io/Cancelled.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace Stratum::tools {

namespace {

using Vantor::Math::int3;

template <class Shape>
class Measuring {
    static constexpr int B = Shape::kChildrenPerAxis, W = Shape::kVoxelsPerAxis;

public:
    using Values = PlainChannel<Shape, float>;
    using Extended = KDX::TileTree3D::Channel<Shape, float, W + 1, 0, 0>;

    Measuring(const Values& values, bool isFog)
        : values_(values), isFog_(isFog), voxelSize_(values.tree()->voxelSize()) {
        if (values.tree()->offsetType() != KDX::TileTree3D::VoxelOffsetType::kCorner ||
            values.depth() < 0)
            return;
        extended_ = Ostrum::makePtr<Extended>(Ostrum::String("extended"), 0.0F, false, true, 0,
                                              Shape::kFinestDepth);
        const KDX::TileTree3D::Container<Shape> container(values.tree());
        KDX::TileTree3D::computeHalo<Shape, float, 0, 0, 1, 0>(values, container, *extended_, -1,
                                                               -1);
    }

    CandidateSpace measure() {
        for (int depth = 0; depth <= values_.depth(); ++depth) {
            io::throwIfInterrupted();
            const auto tiles = values_.tree()->tiles(depth);
            for (std::size_t i = 0; i < tiles.size(); ++i)
                add(tiles[i], {static_cast<std::int64_t>(i), depth});
        }
        return space_;
    }

private:
    void add(const typename KDX::TileTree3D::TileTree<Shape>::Tile& tile,
             const KDX::TileTree3D::TreeIndex& index) {
        const float* values =
            extended_ ? extended_->tileData(index).data() : values_.tileData(index).data();
        if (!values)
            return;
        for (int voxel = 0; voxel < Shape::kVoxelCount; ++voxel) {
            const int3 n{voxel % W, voxel / W % W, voxel / (W * W)};
            const double value = extended_ ? mean(values, n) : double{values[voxel]};
            if ((isFog_ ? value > 0 : value <= 0) &&
                (tile.depth() == values_.depth() ||
                 tile.isLeaf({n.x * B / W, n.y * B / W, n.z * B / W})))
                addCell(tile.tijk(), n, tile.voxelDataWidth());
        }
    }

    static double mean(const float* values, const int3& n) {
        double sum = 0;
        for (int corner = 0; corner < 8; ++corner) {
            const int x = n.x + (corner & 1), y = n.y + (corner >> 1 & 1), z = n.z + (corner >> 2);
            sum += double{values[x + (W + 1) * (y + (W + 1) * z)]};
        }
        return sum / 8;
    }

    void addCell(const int3& origin, const int3& n, int width) {
        const double edge = width * voxelSize_;
        ++space_.cells;
        space_.volume += edge * edge * edge;
        const auto extend = [&](int first, int steps, double& lower, double& upper) {
            const double begin = (first + static_cast<double>(steps) * width) * voxelSize_;
            lower = std::min(lower, begin);
            upper = std::max(upper, begin + edge);
        };
        extend(origin.x, n.x, space_.box.lower.x, space_.box.upper.x);
        extend(origin.y, n.y, space_.box.lower.y, space_.box.upper.y);
        extend(origin.z, n.z, space_.box.lower.z, space_.box.upper.z);
    }

    const Values& values_;
    bool isFog_;
    double voxelSize_;
    Ostrum::Ptr<Extended> extended_;
    CandidateSpace space_;
};

} // namespace

double CandidateSpace::boxVolume() const {
    return box.empty() ? 0
                       : (box.upper.x - box.lower.x) * (box.upper.y - box.lower.y) *
                             (box.upper.z - box.lower.z);
}

CandidateSpace candidateSpace(const Vantor::Object& object, const std::string& channel,
                              bool isFog) {
    CandidateSpace space;
    bool found = false;
    visitChannel(object, channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>& values) {
        if constexpr (std::is_same_v<T, float>) {
            found = true;
            space = Measuring<Shape>(values, isFog).measure();
        }
    });
    if (!found)
        throw std::runtime_error("there is no channel '" + channel + "' of float");
    return space;
}

} // namespace Stratum::tools
