// A volume with cubic samplers.
#pragma once

#include "support/linear.h"
#include "volume/VoxelSamplerCubic.h"

namespace StratumTest {

inline constexpr InterpolationMode kAllModes[] = {
    InterpolationMode::kQuadraticC0Averaged, InterpolationMode::kCubicC0,
    InterpolationMode::kCubicC1, InterpolationMode::kCubicC1Monotonic};

template <class Row>
struct CubicVolume : LinearVolume<Row> {
    using Shape = typename Row::Traits;
    using Cubic = CubicSampler<Shape, typename Row::Value>;
    using Mask = typename Cubic::MaskChannel;
    using LinearVolume<Row>::LinearVolume;

    struct Settings {
        InterpolationMode mode = InterpolationMode::kCubicC1;
        bool clamp = true;
        std::uint32_t jumpPolicy = 1;
        std::uint64_t cache = 0;
        const Mask* mask = nullptr;
        std::uint32_t maskBits = 0;
    };
    Cubic cubic(const Settings& s) const {
        return Cubic(this->container, this->topology, *this->channel, s.mode, s.clamp, s.jumpPolicy,
                     s.mask, s.maskBits, s.cache);
    }
};

/// One level of tiles about the origin, far enough for stencils around positions within 12.
template <class Traits>
TreePtr<Traits> uniformTree(int type, int depth = Traits::kFinestDepth, float voxelSize = 1) {
    TreeBuilder<Traits> builder;
    const int reach = 20 * Traits::voxelWidth(depth);
    builder.addBox(depth, {{-reach, -reach, -reach}, {reach, reach, reach}});
    return builder.build(voxelSize, static_cast<VoxelOffsetType>(type));
}

} // namespace StratumTest
