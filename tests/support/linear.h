// A volume with its linear samplers.
#pragma once

#include "support/volumes.h"
#include "volume/VoxelSamplerLinear.h"

namespace StratumTest {

/// A tree with a channel of a row's type, sampled through its halo channel and without.
template <class Row>
struct LinearVolume {
    using Shape = typename Row::Traits;
    using T = typename Row::Value;
    using Sampler = LinearSampler<Shape, T>;

    template <class F>
    LinearVolume(const TreePtr<Shape>& tree, const F& field, double defaultValue)
        : container(tree), topology(tree),
          channel(makeChannel<Shape, T>(tree, valueFrom<T>(defaultValue), field)),
          halo(makeHalo(*channel, container)), plain(container, topology, *channel),
          withHalo(container, topology, *halo) {}

    Container<Shape> container;
    VoxelTopology<Shape> topology;
    Ostrum::Ptr<Plain<Shape, T>> channel;
    Ostrum::Ptr<Halo<Shape, T>> halo;
    Sampler plain, withHalo;
};

} // namespace StratumTest
