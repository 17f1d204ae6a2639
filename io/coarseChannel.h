// One channel while a volume is coarsened.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "KDX/Container.h"
#include "KDX/HaloChain.h"
#include "Vantor/Volume.h"
#include "io/Cancelled.h"
#include "io/tileError.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace Stratum::io {

using KDX::TileTree3D::int3;

/// A channel of the uniform volume and what becomes of it, whatever its value type.
template <class Shape>
class CoarseChannel {
public:
    using Tree = TileTree<Shape>;
    using TreePtr = Ostrum::Ptr<const Tree>;

    CoarseChannel() = default;
    virtual ~CoarseChannel() = default;
    CoarseChannel(const CoarseChannel&) = delete;
    CoarseChannel& operator=(const CoarseChannel&) = delete;

    /// Throws std::invalid_argument when the channel is not uniform.
    virtual void requireUniform() const = 0;
    /// Whether a tile could take the place of its children, among neighbours of its own depth.
    virtual bool canBeCoarse(const TreeIndex& index) const = 0;
    /// Makes the channel on a new tree.
    virtual void build(const TreePtr& tree) = 0;
    /// Whether a tile of the new tree keeps the tolerance, among the neighbours that it has.
    virtual bool fits(const TreeIndex& index) const = 0;
    virtual bool holds(const TreeIndex& index) const = 0;

    virtual void addTo(Vantor::Object& object, const std::vector<std::string>& names) const = 0;
    virtual std::size_t voxels(bool before) const = 0;
    virtual std::size_t bytes(bool before) const = 0;
};

template <class Shape, class T>
class TypedCoarseChannel final : public CoarseChannel<Shape> {
    static constexpr int W = Shape::kVoxelsPerAxis;
    using Base = CoarseChannel<Shape>;
    using Plain = KDX::TileTree3D::Channel<Shape, T, W, 0, 0>;

public:
    using Tree = typename Base::Tree;

    TypedCoarseChannel(Ostrum::Ptr<const Plain> source, double tolerance)
        : source_(std::move(source)), tree_(*source_->tree()), tolerance_(tolerance),
          centred_(centredAxes(tree_.offsetType())) {
        for (int depth = 0; depth <= Shape::kFinestDepth; ++depth)
            points_.emplace_back(std::max(depth, Shape::kFinestDepth - kPointDepths), centred_);
        findData();
    }

    void requireUniform() const override {
        for (int depth = 0; depth < Shape::kFinestDepth; ++depth)
            for (std::size_t i = 0; i < tree_.tiles(depth).size(); ++i) {
                const auto view = source_->tileData({static_cast<std::int64_t>(i), depth});
                if (!view)
                    continue;
                bool constant = !tree_.tiles(depth)[i].hasChildren();
                for (int v = 1; v < Shape::kVoxelCount; ++v)
                    constant =
                        constant && std::memcmp(&view.data()[v], view.data(), sizeof(T)) == 0;
                if (!constant)
                    throw std::invalid_argument("channel '" + source_->name().str() +
                                                "' is not uniform: it has detail at depth " +
                                                std::to_string(depth) +
                                                "; only volumes with all of theirs in the finest "
                                                "voxels can be coarsened");
            }
    }

    bool canBeCoarse(const TreeIndex& index) const override {
        if (!hasData(index))
            return true;
        FineVoxels<Shape, T> voxels(*source_);
        const int3 tijk = tree_.tile(index)->tijk();
        return tileFits<Shape, T>(voxels, tijk, index.depth, pointsAt(index.depth),
                                  fieldValues(voxels, tijk, index.depth, -1, W), tolerance_);
    }

    void build(const typename Base::TreePtr& tree) override {
        KDX::TileTree3D::ChannelBuilder<Shape, T> builder(
            tree, source_->name(), source_->defaultValue(),
            [this](const auto& tile, const TreeIndex& index) {
                return tile.holdsVoxels() && hasData(sourceOf(tile.tijk(), index.depth));
            });
        builder.fillTiles([this](const auto& tile, const TreeIndex& index, auto values) {
            if (Ostrum::isJobCancelled())
                return;
            FineVoxels<Shape, T> voxels(*source_);
            if (isConstant(tile.tijk(), index.depth))
                std::ranges::fill(values, voxels.value(wide(tile.tijk())));
            else
                std::ranges::copy(fieldValues(voxels, tile.tijk(), index.depth, 0, W - 1),
                                  values.begin());
        });
        throwIfInterrupted();
        channel_ = builder.finish();
    }

    bool holds(const TreeIndex& index) const override {
        return static_cast<bool>(channel_->tileData(index));
    }

    bool fits(const TreeIndex& index) const override {
        if (!holds(index))
            return true;
        const int3 tijk = channel_->tree()->tile(index)->tijk();
        const std::vector<T> values = haloValues(index);
        FineVoxels<Shape, T> voxels(*source_);
        if (isConstant(tijk, index.depth))
            return nodesFit(values, [value = voxels.value(wide(tijk))](auto) { return value; });
        if (index.depth == Shape::kFinestDepth)
            return nodesFit(values, [&](const WideIndex& local) {
                return voxels.value({tijk.x + local.x, tijk.y + local.y, tijk.z + local.z});
            });
        return tileFits<Shape, T>(voxels, tijk, index.depth, pointsAt(index.depth), values,
                                  tolerance_);
    }

    void addTo(Vantor::Object& object, const std::vector<std::string>& names) const override {
        for (const auto& name : names)
            Vantor::Geometry::addChannel(object, channel_, name);
    }

    std::size_t voxels(bool before) const override {
        return static_cast<std::size_t>(before ? source_->elementCount(-1)
                                               : channel_->elementCount(-1));
    }
    std::size_t bytes(bool before) const override {
        return before ? source_->memoryUsage() : channel_->memoryUsage();
    }

private:
    // Wider tiles than these are constant and need no points.
    static constexpr int kPointDepths = Shape::kChildrenPerAxis == 2 ? 4 : 2;

    static WideIndex wide(const int3& v) { return {v.x, v.y, v.z}; }

    const TilePoints<Shape>& pointsAt(int depth) const {
        return points_[static_cast<std::size_t>(depth)];
    }

    TreeIndex sourceOf(const int3& tijk, int depth) const {
        typename Tree::Cursor cursor;
        return tree_.find(wide(tijk), depth, cursor).treeIndex();
    }

    // Whether a place lies in one of the source's constant tiles.
    bool isConstant(const int3& tijk, int depth) const {
        const TreeIndex index = sourceOf(tijk, depth);
        return index.depth < Shape::kFinestDepth && source_->tileData(index);
    }

    bool hasData(const TreeIndex& index) const {
        return index.isValid() && hasData_[static_cast<std::size_t>(index.depth)]
                                          [static_cast<std::size_t>(index.index)] != 0;
    }

    // Notes the tiles with data in them or in their descendants.
    void findData() {
        hasData_.resize(Shape::kDepthCount);
        for (int depth = Shape::kFinestDepth; depth >= 0; --depth) {
            auto& flags = hasData_[static_cast<std::size_t>(depth)];
            const auto tiles = tree_.tiles(depth);
            flags.resize(tiles.size());
            for (std::size_t i = 0; i < tiles.size(); ++i)
                flags[i] =
                    flags[i] != 0 || source_->tileData({static_cast<std::int64_t>(i), depth});
            if (depth == 0)
                continue;
            auto& above = hasData_[static_cast<std::size_t>(depth - 1)];
            above.resize(tree_.tiles(depth - 1).size());
            for (std::size_t i = 0; i < tiles.size(); ++i)
                if (flags[i] != 0)
                    above[static_cast<std::size_t>(tiles[i].parentTreeIndex().index)] = 1;
        }
    }

    // The field at a tile's samples, from local index `first` to `last` on each axis.
    std::vector<T> fieldValues(FineVoxels<Shape, T>& voxels, const int3& tijk, int depth, int first,
                               int last) const {
        const std::int64_t width = Shape::voxelWidth(depth);
        const auto halves = [&](std::size_t axis, std::int64_t origin, int n) {
            return 2 * (origin + n * width) + (centred_[axis] ? width : 0);
        };
        std::vector<T> values;
        for (int k = first; k <= last; ++k)
            for (int j = first; j <= last; ++j)
                for (int i = first; i <= last; ++i)
                    values.push_back(Vantor::Math::fromComponents<T>(fieldAt<Shape, T>(
                        voxels, centred_,
                        {halves(0, tijk.x, i), halves(1, tijk.y, j), halves(2, tijk.z, k)})));
        return values;
    }

    // What the samplers will find in and around a tile.
    std::vector<T> haloValues(const TreeIndex& index) const {
        const KDX::TileTree3D::HaloTile<Shape, T> halo(*channel_, channel_->defaultValue(),
                                                       tree_.offsetType(), 1, 1);
        const KDX::TileTree3D::Container<Shape> container(channel_->tree());
        auto accessor = container.tileAccessor();
        KDX::TileTree3D::HaloChain<Shape, T> ancestors(halo);
        std::vector<T> values(static_cast<std::size_t>(halo.valueCount()));
        halo.fill(
            index, accessor, [&] { return ancestors.parentOf(index, *channel_->tree(), accessor); },
            values.data());
        return values;
    }

    // Whether all values that a sample can reach are near those wanted, by local index.
    template <class Wanted>
    bool nodesFit(const std::vector<T>& values, const Wanted& wanted) const {
        const auto first = [&](std::size_t axis) { return centred_[axis] ? -1 : 0; };
        for (int k = first(2); k <= W; ++k)
            for (int j = first(1); j <= W; ++j)
                for (int i = first(0); i <= W; ++i) {
                    const auto flat =
                        static_cast<std::size_t>((i + 1) + (W + 2) * ((j + 1) + (W + 2) * (k + 1)));
                    const auto a = Vantor::Math::toComponents(values[flat]);
                    const auto b = Vantor::Math::toComponents(T(wanted(WideIndex{i, j, k})));
                    for (std::size_t c = 0; c < a.size(); ++c)
                        if (!isWithin(double{a[c]}, double{b[c]}, tolerance_))
                            return false;
                }
        return true;
    }

    Ostrum::Ptr<const Plain> source_;
    const Tree& tree_;
    double tolerance_;
    std::array<bool, 3> centred_;
    std::vector<TilePoints<Shape>> points_;
    std::vector<std::vector<std::uint8_t>> hasData_;
    Ostrum::Ptr<Plain> channel_;
};

} // namespace Stratum::io
