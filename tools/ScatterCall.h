// Calling the operator that scatters, and what there is to say about it.
#pragma once

#include "ScatterSource.h"
#include "Vantor/GeoLocation.h"
#include "Vantor/Object.h"
#include "io/Provenance.h"
#include "locations/GenerateLocationOptions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Stratum::tools {

/// The operator's options for a source that was read with the same ones.
Vantor::Sample::GenerateLocationOptions generateOptions(const ScatterOptions& options,
                                                        const ScatterSource& source);

struct Scattered {
    /// What all locations lie on, also when there are none.
    Vantor::Geometry::Common::LocationKind kind = Vantor::Geometry::Common::kNoLocation;
    /// Those that lie nowhere are left out.
    Ostrum::Array<Vantor::Geometry::Common::GeoLocation> locations;
    std::vector<std::string> warnings;
    double seconds = 0;
    std::uint64_t nowhere = 0; ///< drawn past the end of the last strand
};

/// Calls generate_sample_locations. Throws io::Cancelled when the user cancels it,
/// std::runtime_error when there is no memory for so many locations.
Scattered scatter(const ScatterSource& source,
                  const Vantor::Sample::GenerateLocationOptions& options);

struct ScatterReport {
    ScatterMeasure measure;
    std::uint64_t asked = 0, made = 0, rejected = 0, givenUp = 0, nowhere = 0;
    /// Where a density was asked for.
    std::optional<double> askedDensity;
    double seconds = 0;
    std::int64_t foldedSeed = 0;
    std::vector<std::string> warnings;

    double density() const {
        return measure.total > 0 ? static_cast<double>(made) / measure.total : 0;
    }
};

/// What came of a call. How many locations a mask left out is found by a second call without it,
/// which draws the same numbers.
ScatterReport reportOn(const Scattered& scattered, const ScatterSource& source,
                       const Vantor::Sample::GenerateLocationOptions& options);

std::string reportText(const ScatterReport& report);
std::string reportJson(const ScatterReport& report, const io::Provenance& provenance);

} // namespace Stratum::tools
