// What to scatter on a geometry, and how.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/String.h"
#include "common/export.h"

#include <cstdint>

/// The types of parameters of nodes that work on geometry.
namespace VantorExp::Geometry {

/// What part of a geometry is sampled.
enum class SampleType : std::int32_t {
    Surface = 0, ///< faces of a mesh, or along strands; a volume's signed distance
    Points = 1,  ///< points; a volume's fog density, or else its signed distance
};

/// How an amount is read.
enum class AmountType : std::int32_t {
    Count = 0,   ///< the number of samples
    Density = 1, ///< samples per unit of area or length, in volumes of the volume of the box around
                 ///< all cells; points read a count all the same
};

/// What becomes of a sample that the mask rejects.
enum class MaskControl : std::int32_t {
    Resample = 0, ///< it is drawn again, up to a limit
    Discard = 1,  ///< it is dropped
};

} // namespace VantorExp::Geometry

/// Scattering of sample locations.
namespace Vantor::Sample {

/// The inputs of generateSampleLocations(). Copies share the seed array.
struct STRATUM_API GenerateLocationOptions {
    GenerateLocationOptions();
    /// Shares the seed array.
    GenerateLocationOptions(const GenerateLocationOptions& other);
    /// Takes the seed array over, which `other` then lacks, and copies all else.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): copying may fail
    GenerateLocationOptions(GenerateLocationOptions&& other);
    ~GenerateLocationOptions();
    /// Shares the seed array.
    GenerateLocationOptions& operator=(const GenerateLocationOptions& other);
    /// Takes the seed array and the mask property over.
    GenerateLocationOptions& operator=(GenerateLocationOptions&& other) noexcept;

    /// Which generator runs, together with the kind of geometry; volumes take any value.
    VantorExp::Geometry::SampleType sample_type = VantorExp::Geometry::SampleType::Surface;
    /// A number of samples or a density. A negative one counts as 0, and NaN makes none; a count
    /// that is not whole is rounded up with the probability of its fraction.
    double amount = 0;
    /// Any value other than Density is a count.
    VantorExp::Geometry::AmountType amount_type = VantorExp::Geometry::AmountType::Density;
    /// Any value other than Resample drops what the mask rejects, but for points, where a value
    /// that is neither gives locations of kind 0. Without effect on meshes by a density that does
    /// not become a count, whose rejected samples are dropped, and on volumes, whose are drawn
    /// again.
    VantorExp::Geometry::MaskControl mask_control = VantorExp::Geometry::MaskControl::Resample;
    /// All 64 bits count.
    std::int64_t seed = 0;
    /// Folded into the seed, in order; may be null.
    Ostrum::Ptr<Ostrum::Array<long long>> seed_array;
    /// Whether max_number limits the number of samples.
    bool use_max_number = false;
    /// At most so many samples, if use_max_number; a negative number counts as 0. On points the
    /// rounding of a fraction may add one; in volumes only amounts of type Count are limited.
    std::int64_t max_number = 0;
    /// Whether mask_property decides which samples are kept.
    bool use_mask = false;
    /// The property whose value at a sample is the probability of keeping it: 0 or less and NaN
    /// never, 1 and more always (but for a draw of exactly 1). bool counts as 0 or 1, a vector by
    /// its first component; on faces and segments the values at the vertices are interpolated, in
    /// the precision of the property.
    Ostrum::String mask_property;
    /// Keeps what the mask would reject.
    bool invert_mask = false;
};

} // namespace Vantor::Sample
