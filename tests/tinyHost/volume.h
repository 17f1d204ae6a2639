// The tiny host's volumes: a block of tiles side by side at one depth, nothing coarser or finer.
#pragma once

#include "common/Math.h"
#include "tinyHost/runtime.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>

#pragma GCC visibility push(default)

namespace KDX {

struct Component : Tiny::Counted {
    virtual ~Component() = default;
};

struct Object {
    std::multimap<std::string, Ostrum::Ptr<Component>> parts;

    template <class C>
    Ostrum::Ptr<C> component(const Ostrum::String& name) const {
        Tiny::step();
        for (auto [part, end] = parts.equal_range(name); part != end; ++part)
            if (auto typed = std::dynamic_pointer_cast<C>(part->second))
                return typed;
        return nullptr;
    }
};

namespace TileTree3D {

using Vantor::Math::float3, Vantor::Math::int3;

struct WideIndex {
    std::int64_t x, y, z;
};

constexpr std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    return a / b - (a % b < 0);
}

template <int B, int W, int>
struct Traits {
    static constexpr int kChildrenPerAxis = B, kVoxelsPerAxis = W, kVoxelCount = W * W * W,
                         kFinestDepth = B == 2 ? 28 : 12, kDepthCount = kFinestDepth + 1;
    static constexpr int voxelWidth(int depth) {
        return depth == kFinestDepth ? 1 : B * voxelWidth(depth + 1);
    }
    static constexpr int tileExtent(int depth) { return W * voxelWidth(depth); }
};

enum class VoxelOffsetType { kCorner = 7 };

constexpr float3 voxelOffset(VoxelOffsetType type) {
    const auto along = [type](int axis) { return static_cast<int>(type) >> axis & 1 ? 0 : 0.5F; };
    return {along(0), along(1), along(2)};
}

struct TreeIndex {
    std::int64_t index = -1;
    int depth = -1;
    bool isValid() const { return depth >= 0; }
    bool operator==(const TreeIndex&) const = default;
};

/// A tile, and what a search finds.
template <class Traits>
class Tile {
public:
    Tile() = default;
    Tile(const int3& tijk, const TreeIndex& index) : tijk_(tijk), index_(index) {}

    const int3& tijk() const { return tijk_; }
    int depth() const { return index_.depth; }
    const TreeIndex& treeIndex() const { return index_; }
    explicit operator bool() const { return index_.isValid(); }
    bool contains(const int3& p, int extent) const {
        const auto in = [extent](std::int64_t v) { return v >= 0 && v < extent; };
        return in(std::int64_t{p.x} - tijk_.x) && in(std::int64_t{p.y} - tijk_.y) &&
               in(std::int64_t{p.z} - tijk_.z);
    }
    int tileVoxelWidth() const { return Traits::tileExtent(depth()); }
    int childVoxelDataWidth() const { return 0; } // there are no children and no parents
    bool isLeaf(const int3&) const {
        Tiny::step();
        return true;
    }
    TreeIndex childTreeIndex(const int3&) const { return {}; }
    TreeIndex parentTreeIndex() const {
        Tiny::step();
        return {};
    }

private:
    int3 tijk_{0, 0, 0};
    TreeIndex index_;
};

/// What the parts of a volume share. Tiles are counted in tiles of the depth.
template <class Traits>
struct Block {
    int depth;
    int3 first, count;
    float voxelSize;
    VoxelOffsetType type;

    std::int64_t tileCount() const { return std::int64_t{count.x} * count.y * count.z; }
    Tile<Traits> tile(std::int64_t index) const {
        Tiny::step();
        const int i = static_cast<int>(index);
        const int3 at{i % count.x, i / count.x % count.y, i / count.x / count.y};
        return {(first + at) * Traits::tileExtent(depth), {index, depth}};
    }
    /// The tile at a place where tiles are `width` wide, -1 for none.
    std::int64_t find(const WideIndex& p, std::int64_t width) const {
        Tiny::step();
        const WideIndex at{floorDiv(p.x, width) - first.x, floorDiv(p.y, width) - first.y,
                           floorDiv(p.z, width) - first.z};
        const bool inside =
            std::min({at.x, at.y, at.z}) >= 0 && at.x < count.x && at.y < count.y && at.z < count.z;
        return inside ? at.x + count.x * (at.y + count.y * at.z) : -1;
    }
};

template <class Traits>
using BlockPtr = Ostrum::Ptr<const Block<Traits>>;

template <class Container>
struct Visitor {
    using Tile = typename Container::Tile;
    virtual ~Visitor() = default;
    virtual void beginTile(const Tile&) = 0;
    virtual bool visitInteriorVoxel(const Tile&, const int3& dataIJK) = 0;
    virtual void endTile(const Tile&) = 0;
};

template <class Traits>
class Container : public Component {
public:
    using Tile = TileTree3D::Tile<Traits>;
    using Record = Tile;

    explicit Container(const BlockPtr<Traits>& shared) : block(shared) {
        for (std::int64_t i = 0; i < block->tileCount(); ++i)
            tiles_.push_back(block->tile(i));
    }

    class ConstTileAccessor {
    public:
        explicit ConstTileAccessor(const Block<Traits>& block) : block_(&block) {}

        Record tileImpl(const int3& p, int maxDepth) {
            return tileImpl(WideIndex{p.x, p.y, p.z}, maxDepth);
        }
        template <std::same_as<WideIndex> Index>
        Record tileImpl(const Index& p, int maxDepth) {
            const auto tile = block_->find(p, Traits::tileExtent(block_->depth));
            return tile < 0 || maxDepth < block_->depth ? Record() : block_->tile(tile);
        }
        void tilesAt(const int3* p, std::size_t count, int maxDepth, TreeIndex* found) {
            for (std::size_t i = 0; i < count; ++i)
                found[i] = tileImpl(p[i], maxDepth).treeIndex();
        }
        void tileBlock(const WideIndex& first, const int3& count, int depth,
                       std::array<TreeIndex, 8>& found) {
            const std::int64_t e = Traits::tileExtent(depth);
            for (int i = 0; i < 8; ++i) {
                const int3 d{i / 4, i / 2 % 2, i % 2};
                const WideIndex at{first.x + e * d.x, first.y + e * d.y, first.z + e * d.z};
                if (d.x < count.x && d.y < count.y && d.z < count.z)
                    found[i] = tileImpl(at, depth).treeIndex();
            }
        }

    private:
        const Block<Traits>* block_;
    };

    const Tile& tile(const TreeIndex& index) const {
        Tiny::step();
        return tiles_.at(static_cast<std::size_t>(index.index));
    }
    ConstTileAccessor tileAccessor() const {
        Tiny::step();
        return ConstTileAccessor(*block);
    }
    float voxelSize() const {
        Tiny::step();
        return block->voxelSize;
    }
    float3 toWorldSpace(const float3& p) const { return p * voxelSize(); }
    std::int64_t voxelDataCount(int) const {
        Tiny::step();
        return block->tileCount() * Traits::kVoxelCount;
    }
    void reduce(Visitor<Container>& visitor) const {
        constexpr int W = Traits::kVoxelsPerAxis;
        for (const Tile& tile : tiles_) {
            Tiny::step();
            visitor.beginTile(tile);
            for (int v = 0; v < Traits::kVoxelCount; ++v)
                if (!visitor.visitInteriorVoxel(tile, {v % W, v / W % W, v / W / W}))
                    break;
            visitor.endTile(tile);
        }
    }

    const BlockPtr<Traits> block;

private:
    std::vector<Tile> tiles_;
};

template <class Traits>
class VoxelTopology : public Component {
public:
    explicit VoxelTopology(const BlockPtr<Traits>& shared) : block(shared) {}
    float3 offset() const { return voxelOffset(offsetType()); }
    VoxelOffsetType offsetType() const {
        Tiny::step();
        return block->type;
    }

    const BlockPtr<Traits> block;
};

template <class T, int Wd>
class ConstTileData {
public:
    explicit ConstTileData(const T* values = nullptr) : values_(values) {}
    explicit operator bool() const { return values_; }
    const T& operator()(const int3& p) const { return values_[p.x + Wd * (p.y + Wd * p.z)]; }
    const T* data() const { return values_; }

private:
    const T* values_;
};

template <class T, int Wd, int F, int>
class TileData : std::vector<T> {
public:
    void allocate() { this->resize((Wd + 2 * F) * (Wd + 2 * F) * (Wd + 2 * F)); }
    using std::vector<T>::data;
};

template <class Traits, class T, int Wd, int, int>
class Channel : public Component {
public:
    using View = ConstTileData<T, Wd>;

    Channel(const Ostrum::String& name, const T& defaultValue, bool, bool, int, int)
        : name_(name), defaultValue_(defaultValue) {}

    void update(const VoxelTopology<Traits>& topology) { layOut(topology.block); }
    void layOut(const BlockPtr<Traits>& shared) {
        Tiny::step();
        const bool isWider =
            Wd > Traits::kVoxelsPerAxis && shared->type != VoxelOffsetType::kCorner;
        const auto width = static_cast<std::size_t>(Wd + isWider);
        tiles.assign(shared->tileCount(), std::vector<T>(width * width * width, defaultValue_));
        block = shared;
    }

    const Ostrum::String& name() const { return name_; }
    const T& defaultValue() const {
        Tiny::step();
        return defaultValue_;
    }
    int depth() const {
        Tiny::step();
        return block ? block->depth : -1;
    }
    int minDepth() const { return depth(); }
    std::size_t valuesPerTile() const {
        Tiny::step();
        return tiles[0].size();
    }
    std::int64_t elementCount(int) const {
        Tiny::step();
        return Traits::kVoxelCount *
               std::ranges::count_if(tiles, std::not_fn(&std::vector<T>::empty));
    }
    View tileData(const TreeIndex& index) const {
        Tiny::step();
        const auto tile = static_cast<std::size_t>(index.index);
        const bool isHere = index.depth == depth() && tile < tiles.size();
        return isHere && !tiles[tile].empty() ? View(tiles[tile].data()) : View();
    }
    void tilesData(const TreeIndex* indices, std::size_t count, const T** found) const {
        for (std::size_t i = 0; i < count; ++i)
            found[i] = tileData(indices[i]).data();
    }

    BlockPtr<Traits> block;            // null until it is laid out
    std::vector<std::vector<T>> tiles; // no values: no data

private:
    Ostrum::String name_;
    T defaultValue_;
};

template <class Traits, class ChannelType>
bool partsFit(const Container<Traits>& container, const VoxelTopology<Traits>& topology,
              const ChannelType& channel) {
    Tiny::step();
    return topology.block == container.block &&
           (!channel.block || channel.block == container.block);
}

struct ChannelMemoryPool {
    static bool enabled() { return true; }
};

struct ChannelPool {
    static bool enabled() {
        Tiny::step();
        return true;
    }
    template <class Traits, class T, int Wd, int Hf>
    static Ostrum::Ptr<Channel<Traits, T, Wd, Hf, 0>>
    allocate(const T& defaultValue, bool, bool, int, int, std::size_t, const Component*) {
        return Ostrum::makePtr<Channel<Traits, T, Wd, Hf, 0>>("", defaultValue, true, true, 0, 0);
    }
};

enum class HaloMode { kFromParentBuffer, kStandalone };
enum class HaloType { kAll };

/// The values of a tile with `lower` and `upper` layers around it.
template <class Traits, class T>
void copyAround(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& from,
                const TreeIndex& index, int lower, int upper, const T& absent, T* out) {
    constexpr int W = Traits::kVoxelsPerAxis;
    const int3 tijk = from.block->tile(index.index).tijk();
    const auto width = Traits::voxelWidth(index.depth);
    const auto local = [](std::int64_t v) { return static_cast<int>(v - floorDiv(v, W) * W); };
    for (int z = -lower; z < W + upper; ++z)
        for (int y = -lower; y < W + upper; ++y)
            for (int x = -lower; x < W + upper; ++x) {
                const WideIndex p{tijk.x / width + x, tijk.y / width + y, tijk.z / width + z};
                const auto values = from.tileData({from.block->find(p, W), index.depth});
                *out++ = values ? values({local(p.x), local(p.y), local(p.z)}) : absent;
            }
}

template <class Traits, class T, int, int, int, int>
void computeHalo(const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& source,
                 const Container<Traits>& container,
                 Channel<Traits, T, Traits::kVoxelsPerAxis + 1, 0, 0>& halo, int, int) {
    if (source.block != container.block)
        throw std::invalid_argument("the source channel is not laid out on the container's tree");
    halo.layOut(source.block);
    const int lower = source.block->type == VoxelOffsetType::kCorner ? 0 : 1;
    for (std::size_t i = 0; i < source.tiles.size(); ++i)
        if (source.tiles[i].empty())
            halo.tiles[i].clear();
        else
            copyAround(source, {static_cast<std::int64_t>(i), source.depth()}, lower, 1,
                       halo.defaultValue(), halo.tiles[i].data());
}

template <class Traits, class T, int Wd, int F, class Accessor>
void setHaloTile(const Tile<Traits>& tile, const Tile<Traits>*,
                 const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel,
                 const TileData<T, Wd, F, 0>*, HaloMode, Accessor&, TileData<T, Wd, F, 0>& out) {
    copyAround(channel, tile.treeIndex(), F, 1, channel.defaultValue(), out.data());
}

template <class Traits, class T, int, int, int, int, class Accessor>
void setHaloTile(const TreeIndex& index,
                 const Channel<Traits, T, Traits::kVoxelsPerAxis, 0, 0>& channel, HaloMode,
                 HaloType, Accessor&, TileData<T, Traits::kVoxelsPerAxis + 1, 1, 0>& out,
                 const T& defaultValue, float, VoxelOffsetType) {
    out.allocate();
    copyAround(channel, index, 1, 2, defaultValue, out.data());
}

} // namespace TileTree3D
} // namespace KDX

#pragma GCC visibility pop
