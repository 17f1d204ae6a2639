// Volumes to scatter in, and a slow, obvious generator to compare with.
#pragma once

#include "Vantor/Volume.h"
#include "support/locationCases.h"
#include "support/volumes.h"
#include "volume/VoxelSamplerLinear.h"

namespace StratumTest {

inline const Ostrum::String kFog = Vantor::Geometry::sVoxelFogDensity,
                            kDistance = Vantor::Geometry::sVoxelSignedDistance;

/// Points, of a volume, are places in its fog.
inline constexpr auto ofFog = onPoints;

/// An object with one tree.
template <class Traits>
struct TestVolume {
    TreePtr<Traits> tree;
    Vantor::Object object;

    explicit TestVolume(const TreePtr<Traits>& from) : tree(from) {
        Vantor::Geometry::addTree<Traits>(object, tree);
    }

    template <class T = float, class F>
    Ostrum::Ptr<Plain<Traits, T>> add(const Ostrum::String& name, const T& defaultValue,
                                      const F& field) {
        ChannelBuilder<Traits, T> builder(tree, name, defaultValue);
        builder.fill(field);
        auto channel = builder.finish();
        Vantor::Geometry::addChannel(object, channel);
        return channel;
    }
};

/// Every unit cell written out, and every step taken one after the other.
template <class Traits>
class SlowVolume {
    static constexpr int B = Traits::kChildrenPerAxis, W = Traits::kVoxelsPerAxis;
    using Probe = LinearSampler<Traits, float>;

public:
    struct Unit {
        std::int64_t x, y, z, width;
        int depth;
    };

    SlowVolume(const TestVolume<Traits>& volume, const Ostrum::Ptr<Plain<Traits, float>>& channel,
               bool distance)
        : tree_(*volume.tree), container_(volume.tree), topology_(volume.tree), channel_(channel),
          extended_("", 0.0F, false, true, 0, Traits::kFinestDepth), distance_(distance),
          corners_(tree_.offsetType() == VoxelOffsetType::kCorner) {
        computeHalo<Traits, float, 0, 0, 1, 0>(*channel, container_, extended_, -1, -1);
        for (std::size_t i = 0; i < tree_.tiles(0).size(); ++i)
            list({std::int64_t(i), 0});
    }

    const std::vector<Unit>& units() const { return units_; }

    std::vector<GeoLocation> byCount(const GenerateLocationOptions& o, std::size_t n,
                                     const Ostrum::Ptr<Plain<Traits, float>>& mask) {
        Halo<Traits, float> around("", 0.0F, false, true, 0, Traits::kFinestDepth);
        if (mask)
            computeHalo<Traits, float, 0, 0, 1, 0>(*mask, container_, around, -1, -1);
        std::optional<Probe> probe;
        if (mask)
            probe = corners_ ? Probe(container_, topology_, around)
                             : Probe(container_, topology_, *mask);
        const MaskValue value = [&](const GeoLocation& l) {
            return probe->sample({l.weights[0], l.weights[1], l.weights[2]});
        };
        std::vector<GeoLocation> out;
        for (std::uint64_t i = 0; i < n; ++i) {
            std::uint64_t c = i << 16;
            for (int attempt = 0; attempt <= 65536; ++attempt, c += 3) {
                const auto l = place(c, std::uint64_t(o.seed));
                if (isKept(mask ? value : MaskValue(), l, c + 2, o)) {
                    out.push_back(l);
                    break;
                }
            }
        }
        return out;
    }

private:
    void list(const TreeIndex& index) {
        const auto& tile = *tree_.tile(index);
        const std::int64_t width = tile.voxelDataWidth(),
                           unit = Traits::voxelWidth(channel_->depth());
        const float* values =
            corners_ ? extended_.tileData(index).data() : channel_->tileData(index).data();
        for (int v = 0; values && v < Traits::kVoxelCount; ++v) {
            const int x = v % W, y = v / W % W, z = v / W / W;
            if ((tile.depth() < channel_->depth() &&
                 !tile.isLeaf({x * B / W, y * B / W, z * B / W})) ||
                !qualifies(values, x, y, z))
                continue;
            const std::int64_t parts = width / unit, ox = tile.tijk().x + x * width,
                               oy = tile.tijk().y + y * width, oz = tile.tijk().z + z * width;
            for (std::int64_t k = 0; k < parts; ++k)
                for (std::int64_t j = 0; j < parts; ++j)
                    for (std::int64_t i = 0; i < parts; ++i)
                        units_.push_back(
                            {ox + i * unit, oy + j * unit, oz + k * unit, unit, tile.depth()});
        }
        for (int cell = 0; cell < B * B * B; ++cell)
            if (const auto child = tile.childTreeIndex({cell % B, cell / B % B, cell / B / B});
                child.isValid())
                list(child);
    }

    bool qualifies(const float* values, int x, int y, int z) const {
        if (!corners_) {
            const float v = values[x + W * (y + W * z)];
            return distance_ ? v <= 0 : v > 0;
        }
        double sum = 0;
        for (int k = 0; k < 2; ++k)
            for (int j = 0; j < 2; ++j)
                for (int i = 0; i < 2; ++i)
                    sum += double(values[x + i + (W + 1) * (y + j + (W + 1) * (z + k))]);
        return distance_ ? sum <= 0 : sum > 0;
    }

    GeoLocation place(std::uint64_t c, std::uint64_t seed) const {
        const std::uint64_t pick = randomHash(c, seed) % units_.size(),
                            bits = randomHash(c + 1, seed);
        const Unit& unit = units_[pick];
        const float s = tree_.voxelSize(), e = float(unit.width) * s;
        const float u = float(bits & 0x3FFFFF) * 0x1p-22F,
                    v = float(bits >> 22 & 0x1FFFFF) * 0x1p-21F,
                    w = float(bits >> 43 & 0x1FFFFF) * 0x1p-21F;
        const float x = float(unit.x) * s, y = float(unit.y) * s, z = float(unit.z) * s;
        GeoLocation l;
        l.kind = 6;
        l.element = std::uint32_t(pick);
        l.weights = {(x + e) * u + (1 - u) * x, (y + e) * v + (1 - v) * y,
                     (z + e) * w + (1 - w) * z, 0};
        return l;
    }

    const TileTree<Traits>& tree_;
    Container<Traits> container_;
    VoxelTopology<Traits> topology_;
    Ostrum::Ptr<Plain<Traits, float>> channel_;
    Halo<Traits, float> extended_;
    bool distance_, corners_;
    std::vector<Unit> units_;
};

} // namespace StratumTest
