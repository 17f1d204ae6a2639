// Where the samples of a volume's voxels lie.
#pragma once

#include "KDX/Object.h"
#include "KDX/TileTree.h"
#include "Ostrum/Ptr.h"

#include <stdexcept>

namespace KDX::TileTree3D {

template <class Traits>
class OSTRUM_API VoxelTopology : public Component {
public:
    /// Throws std::invalid_argument for no tree, as the other one does.
    explicit VoxelTopology(const Ostrum::Ptr<const TileTree<Traits>>& tree)
        : tree_(checked(tree)), offset_(voxelOffset(tree->offsetType())) {}

    /// With an offset of its own, which then may disagree with the offset type: samplers place
    /// samples by the offset and read neighbours by the type.
    VoxelTopology(const Ostrum::Ptr<const TileTree<Traits>>& tree,
                  const Vantor::Math::float3& offset)
        : tree_(checked(tree)), offset_(offset) {}

    /// Where a sample lies in its voxel, in voxels of its own depth.
    Vantor::Math::float3 offset() const { return offset_; }
    VoxelOffsetType offsetType() const { return tree_->offsetType(); }

    const Ostrum::Ptr<const TileTree<Traits>>& tree() const { return tree_; }

private:
    static const Ostrum::Ptr<const TileTree<Traits>>&
    checked(const Ostrum::Ptr<const TileTree<Traits>>& tree) {
        if (!tree)
            throw std::invalid_argument("a voxel topology needs a tree");
        return tree;
    }

    Ostrum::Ptr<const TileTree<Traits>> tree_;
    Vantor::Math::float3 offset_;
};

} // namespace KDX::TileTree3D
