// Random choices among points.
#pragma once

#include "locations/generators.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Vantor::Sample {

/// Decides which points are kept.
class PointMask {
public:
    PointMask() = default;
    PointMask(const PointMask&) = delete;
    PointMask& operator=(const PointMask&) = delete;
    virtual ~PointMask() = default;

    /// Whether a sample of a point is rejected; false where the mask has no value for it.
    virtual bool rejects(std::size_t point, std::uint64_t draw) const = 0;

    /// Whether every sample of the point is rejected.
    virtual bool rejectsAll(std::size_t point) const = 0;
};

/// The mask that the options name; null, with a warning, when the property has an unsuitable target
/// or type, and without one when there is no such property.
std::unique_ptr<const PointMask> makePointMask(const Object& geometry,
                                               const GenerateLocationOptions& options,
                                               const Ostrum::RuntimeServices* services);

/// Chooses among `pointCount` points, with repetition. The amount counts, whatever its type says.
///
/// With a mask: mask_control Resample draws each sample among the points that the mask does not
/// reject for certain, until it is kept or 32768 draws have failed; Discard draws it once among all
/// points. What is rejected is left out. Any other value gives that many locations of kind 0.
Locations scatterOnPoints(std::size_t pointCount, const PointMask* mask,
                          const GenerateLocationOptions& options);

} // namespace Vantor::Sample
