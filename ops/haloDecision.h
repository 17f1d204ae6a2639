// Whether so many samples are worth a halo channel.
#pragma once

#include "Kelvane/Logger.h"
#include "ops/registeredProperty.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>

namespace Stratum {

/// Locations per stored voxel above which a halo channel pays: its building passes over all voxels
/// once, and spares every sample the look at neighbouring tiles.
inline constexpr float kHaloSamplingThreshold = 0.2F;

/// That ratio, or what a test registered in its place.
inline float haloSamplingThreshold() {
    if (!Kelvane::Logger::getEnableTestMode())
        return kHaloSamplingThreshold;
    const auto registered = registeredProperty("sample_volume_property_halo_sampling_threshold");
    if (Kelvane::Logger::verboseLevel() > 1) {
        if (registered)
            std::cout << "Found registered threshold = " << *registered << std::endl;
        else
            std::cout << "Unable to find registered threshold, using default" << std::endl;
    }
    return registered.value_or(kHaloSamplingThreshold);
}

/// What the threshold is for; none count as one voxel.
inline float samplesPerVoxel(std::size_t samples, std::int64_t voxels) {
    return static_cast<float>(samples) / static_cast<float>(std::max<std::int64_t>(1, voxels));
}

inline bool isHaloWorthwhile(std::size_t samples, std::int64_t voxels, float threshold) {
    const float ratio = samplesPerVoxel(samples, voxels);
    const bool enabled = ratio > threshold;
    if (Kelvane::Logger::verboseLevel() > 1)
        std::cout << "#Samples = " << samples << std::endl
                  << "#Voxels = " << voxels << std::endl
                  << "kHaloSamplingThreshold = " << threshold << std::endl
                  << "haloSamplingThreshold = " << ratio << std::endl
                  << "enableHaloChannel = " << enabled << std::endl;
    return enabled;
}

} // namespace Stratum
