// Volumes of the in-memory host to test on.
#pragma once

#include "KDX/ChannelBuilder.h"
#include "KDX/HaloFilling.h"
#include "KDX/TreeBuilder.h"
#include "support/fields.h"

namespace StratumTest {

template <class Traits>
using TreePtr = Ostrum::Ptr<const TileTree<Traits>>;
template <class Traits>
TreePtr<Traits> build(const RandomTree& options) {
    constexpr int reach = kTreeReach<Traits>;
    TreeBuilder<Traits> builder;
    builder.addRefined({{-reach, -reach, -reach}, {reach - 1, reach - 1, reach - 1}},
                       [&](const int3& tijk, int depth) -> typename TreeBuilder<Traits>::Wish {
                           const TileWish wish = wishAt<Traits>(options, tijk, depth);
                           return {wish.holdsVoxels, wish.refine};
                       });
    return builder.build(options.voxelSize, options.type);
}

template <class Traits, class T, class F>
Ostrum::Ptr<Plain<Traits, T>> makeChannel(const TreePtr<Traits>& tree, const T& defaultValue,
                                          const F& field) {
    ChannelBuilder<Traits, T> builder(tree, "value", defaultValue);
    builder.fill([&](const double3& p, int depth) { return valueFrom<T>(field(p, depth)); });
    return builder.finish();
}

/// Halo channels are filled whole while one of these lives.
struct EagerHalos {
    EagerHalos() { HaloFilling::setEager(true); }
    ~EagerHalos() { HaloFilling::setEager(false); }
};

} // namespace StratumTest
