// Volumes made from an input's bytes.
#pragma once

#include "Dice.h"
#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace Stratum::fuzz {

using namespace Vantor::Math;
using KDX::TileTree3D::Traits;

/// The numbers that a channel is made of.
struct Palette {
    std::array<float, 8> numbers;

    explicit Palette(Dice& dice) {
        const float scales[] = {1, 100, 1e30F, 1e-30F};
        const float scale = scales[dice.below(std::size(scales))];
        for (float& number : numbers) {
            number = dice.number();
            if (std::abs(number) <= 32)
                number *= scale;
        }
        // Mostly something to compare with.
        if (!dice.once(4))
            for (float& number : numbers)
                number = std::abs(number) < 1e32F ? number : 1;
    }

    float lowest() const { return *std::ranges::min_element(numbers); }
    float highest() const { return *std::ranges::max_element(numbers); }
    bool isFinite() const {
        return std::ranges::all_of(numbers, [](float v) { return std::abs(v) < 1e32F; });
    }
    template <class T>
    T value(std::uint64_t hash) const {
        Components<T> components;
        for (std::size_t c = 0; c < components.size(); ++c)
            components[c] = numbers[(hash >> 3 * c) % numbers.size()];
        return fromComponents<T>(components);
    }
};

/// A tree, and where on it most positions are to be.
template <class Shape>
struct RandomTree {
    Ostrum::Ptr<const KDX::TileTree3D::TileTree<Shape>> tree;
    int3 anchor{};

    explicit RandomTree(Dice& dice) {
        KDX::TileTree3D::TreeBuilder<Shape> builder;
        const int anchors[] = {0, -13, 1000, -1, 1 << 24, -1220703125, -2147483647 - 1, 2147483600};
        const auto pick = [&] { return anchors[dice.below(std::size(anchors))]; };
        anchor = dice.once(2) ? int3{pick(), pick(), pick()} : int3{};
        for (std::size_t steps = 1 + dice.below(5); steps > 0; --steps) {
            try {
                add(dice, builder);
            } catch (const std::out_of_range&) { // no tile can hold such an index
            }
        }
        const float sizes[] = {1,   0.1F,   0,         -1,
                               NAN, 1e-30F, 1e30F,     1000,
                               1,   1e-39F, -1.0F / 3, std::numeric_limits<float>::infinity()};
        tree = builder.build(sizes[dice.below(std::size(sizes))],
                             KDX::TileTree3D::VoxelOffsetType(dice.below(9)));
    }

private:
    int3 moved(Dice& dice, std::int64_t unit) const {
        const auto along = [&](int from) {
            const std::int64_t to = from + (static_cast<int>(dice.below(5)) - 2) * unit;
            return static_cast<int>(std::clamp<std::int64_t>(to, -2147483647 - 1, 2147483647));
        };
        return {along(anchor.x), along(anchor.y), along(anchor.z)};
    }

    void add(Dice& dice, KDX::TileTree3D::TreeBuilder<Shape>& builder) {
        const int depth =
            Shape::kFinestDepth -
            static_cast<int>(dice.once(3) ? dice.below(Shape::kDepthCount) : dice.below(4));
        const int3 at = moved(dice, dice.once(2) ? 7 : Shape::tileExtent(depth));
        const auto end = [](int v, std::int64_t more) {
            return static_cast<int>(std::min<std::int64_t>(v + more, 2147483647));
        };
        const auto more = [&](std::int64_t unit) {
            return int3{end(at.x, unit * static_cast<int>(dice.below(3))),
                        end(at.y, unit * static_cast<int>(dice.below(3))),
                        end(at.z, unit * static_cast<int>(dice.below(3)))};
        };
        switch (dice.below(3)) {
        case 0:
            return builder.addTile(depth, at, !dice.once(4));
        case 1:
            return builder.addBox(depth, {at, more(Shape::tileExtent(depth))}, !dice.once(4));
        default:
            const std::uint64_t seed = dice.word();
            const int coarsest = Shape::kFinestDepth - static_cast<int>(dice.below(4));
            const unsigned refined = 1U << dice.below(4);
            builder.addRefined({at, more(11)}, [=](const int3& tijk, int d) {
                const std::uint64_t hash = hashOf(tijk, d, seed);
                return typename KDX::TileTree3D::TreeBuilder<Shape>::Wish{
                    hash >> 8 & 7 || false,
                    d < coarsest || (d < Shape::kFinestDepth && hash % refined == 0)};
            });
        }
    }
};

/// A channel on some tiles of a tree, with values from a palette.
template <class T, class Shape>
auto randomChannel(Dice& dice, const RandomTree<Shape>& on, const Ostrum::String& name,
                   const Palette& palette) {
    using Builder = KDX::TileTree3D::ChannelBuilder<Shape, T>;
    const std::uint64_t seed = dice.word();
    const std::size_t holding = dice.below(4); // most often, where voxels are
    Builder builder(on.tree, name, palette.value<T>(seed),
                    [=](const auto& tile, const KDX::TileTree3D::TreeIndex& index) {
                        return holding == 2   ? true
                               : holding == 3 ? hashOf({1, 2, 3}, int(index.index), seed) % 4 != 0
                                              : tile.holdsVoxels();
                    });
    builder.fillTiles([&](const auto& tile, const auto&, auto values) {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = palette.value<T>(hashOf(tile.tijk(), static_cast<int>(i), seed));
    });
    if (dice.once(4))
        builder.restrictFrom(Shape::kFinestDepth - static_cast<int>(dice.below(5)));
    return builder.finish();
}

} // namespace Stratum::fuzz
