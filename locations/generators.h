// The generators: from options and the host's geometry to locations.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/RuntimeServices.h"
#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "common/foldSeed.h"
#include "locations/GenerateLocationOptions.h"

#include <cstddef>
#include <optional>
#include <span>

namespace Vantor::Sample {

using Locations = Ostrum::Array<Geometry::Common::GeoLocation>;

/// Each works on its own copy of validated options and returns all locations. The job's
/// cancellation and failing memory leave as exceptions.
Locations generateOnMesh(GenerateLocationOptions options, const Object& geometry,
                         const Ostrum::RuntimeServices* services);
Locations generateOnStrands(GenerateLocationOptions options, const Object& geometry,
                            const Ostrum::RuntimeServices* services);
Locations generateOnPoints(GenerateLocationOptions options, const Object& geometry,
                           const Ostrum::RuntimeServices* services);

/// None, with a line on the standard error stream, when the volume is not recognised.
std::optional<Locations> generateInVolume(GenerateLocationOptions options, const Object& geometry);

/// What the other generators begin with: the seed array goes into the seed, and there is always a
/// largest number.
inline void prepare(GenerateLocationOptions& options, std::int64_t defaultMaximum) {
    if (const auto& more = options.seed_array)
        options.seed = foldSeed(options.seed, {more->data(), more->size()});
    if (!options.use_max_number)
        options.max_number = defaultMaximum;
    options.use_max_number = true;
}

/// Attempts that a location on strands or points has at most where a mask rejects it, and the draws
/// that are its own for them.
inline constexpr std::uint64_t kMostAttempts = 32768, kDrawsPerSample = 65536;

/// The locations without those of kind 0, in order.
Locations keepValid(const Locations& all);

/// A property's values; none when there is no such property of that type.
template <class T>
std::span<const T> valuesOf(const Ostrum::Ptr<Ostrum::Array<T>>& values) {
    return values ? std::span<const T>(values->data(), values->size()) : std::span<const T>();
}

} // namespace Vantor::Sample
