// Linear sampling of a channel at geo locations.
#pragma once

#include "KDX/halo.h"
#include "Kelvane/Logger.h"
#include "Vantor/GeoLocation.h"
#include "common/parallel.h"
#include "locations/cancellation.h"
#include "ops/haloChannel.h"
#include "ops/haloDecision.h"
#include "ops/sampleLoop.h"
#include "ops/sample_volume_property.h"
#include "ops/visitOrder.h"
#include "ops/volumeParts.h"
#include "volume/VoxelSamplerLinear.h"

#include <iostream>
#include <utility>

namespace Stratum {

using Vantor::Geometry::Common::GeoLocation;

inline constexpr std::size_t kLocationGrain = 1000;

/// One call, and what it has found so far.
template <class T>
struct PropertySampling {
    const Vantor::Object& object;
    const Ostrum::Array<GeoLocation>& locations;
    const Ostrum::String& property;
    const T& defaultValue;
    Ostrum::Array<T> values;
    Ostrum::Array<bool> valid;

    KDX::TileTree3D::PositionsView positions() const {
        return {locations.empty() ? nullptr : locations[0].weights.data(), sizeof(GeoLocation),
                locations.size()};
    }
};

template <class Traits, class T>
void samplePropertyOf(const VolumeParts<Traits, T>& volume,
                      const KDX::TileTree3D::LinearSampler<Traits, T>& sampler, OrderFrom orderFrom,
                      PropertySampling<T>& call) {
    const Kelvane::Logger::timer timer("Geometry::sample_volume_property.sample");
    using Sampler = KDX::TileTree3D::LinearSampler<Traits, T>;
    using PositionT = typename Sampler::PositionType;
    sampleAll<PositionT, T>(
        sampler, call.positions(), kLocationGrain, visitOrder(volume, call.positions(), orderFrom),
        [](Sampler& own, const PositionT* chunk, std::size_t count, T* values) {
            own.sample(chunk, count, Sampler::kFinestDepth, KDX::TileTree3D::kWorld, values);
        },
        [&call](std::size_t i, const T& value) {
            call.values[i] = value;
            call.valid[i] = true;
        });
}

/// Fills the call from the tree of one shape; false where the volume has no such channel there.
template <class Traits, class T>
bool samplePropertyIn(const KDX::Object& object, PropertySampling<T>& call) {
    using namespace KDX::TileTree3D;
    if (!object.component<Container<Traits>>(Vantor::Geometry::sVoxelTileTree) ||
        !object.component<VoxelTopology<Traits>>(Vantor::Geometry::sVoxelComp))
        return false;
    const float threshold = haloSamplingThreshold();
    const auto volume = findVolumeParts<Traits, T>(object, call.property);
    if (!volume)
        return false;
    call.values = Ostrum::Array<T>(call.locations.size());
    call.valid = Ostrum::Array<bool>(call.locations.size());
    const bool enabled =
        isHaloWorthwhile(call.locations.size(), volume.container->voxelDataCount(-1), threshold);
    using Sampler = LinearSampler<Traits, T>;
    if (!enabled || volume.topology->offsetType() != VoxelOffsetType::kCorner) {
        samplePropertyOf(volume, Sampler(*volume.container, *volume.topology, *volume.channel),
                         OrderFrom::kManyPlacesEach, call);
        return true;
    }
    const auto halo = [&] {
        const Kelvane::Logger::timer timer("Geometry::sample_volume_property.build_halo");
        return buildHalo(volume, call.defaultValue);
    }();
    samplePropertyOf(volume, Sampler(*volume.container, *volume.topology, *halo),
                     OrderFrom::kOnePlaceEach, call);
    return true;
}

/// The voxel positions as a property: those of the locations, for float3.
template <class T>
void copyPositions(PropertySampling<T>& call) {
    const std::size_t count = call.locations.size();
    call.values = Ostrum::Array<T>(count);
    call.valid = Ostrum::Array<bool>(count, std::is_same_v<T, Vantor::Math::float3>);
    if constexpr (std::is_same_v<T, Vantor::Math::float3>) {
        parallelFor(count, kLocationGrain, [&](const IndexRange& range) {
            const auto positions = call.positions();
            for (std::size_t i = range.begin(); i < range.end(); ++i)
                call.values[i] = positions[i];
        });
        throwIfCancelled();
    }
}

/// Whether the call could be filled.
template <class T>
bool sampleProperty(PropertySampling<T>& call) {
    if (call.property == Vantor::Geometry::sVoxelPosition) {
        copyPositions(call);
        return true;
    }
    const auto volume = Vantor::Geometry::shallow_copy_object_to_kdx_volume(call.object);
    if (!volume) {
        std::cerr << "Unable to convert to KDX volume for sampling.\n";
        return false;
    }
    bool sampled = false;
#define STRATUM_TREE_SHAPE(B, W)                                                                   \
    sampled = samplePropertyIn<KDX::TileTree3D::Traits<B, W, 1>>(*volume, call) || sampled;
#include "common/rows.def"
    if (!sampled)
        std::cerr << "Unable to sample property: " << call.property << std::endl;
    return sampled;
}

} // namespace Stratum
