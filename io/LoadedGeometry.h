// A mesh, strands or points as the readers hand them over.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Vantor/Object.h"
#include "common/Math.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Stratum::io {

struct LoadedGeometry {
    Ostrum::Ptr<Vantor::Object> object;
    /// The names of its own properties; those of the arrays are the host's.
    std::vector<std::string> properties;
    /// What could not be taken over as it was, one sentence each.
    std::vector<std::string> warnings;
};

/// The arrays of a geometry. Runs of corners or points are given by where they begin, with the end
/// of the last one as closing entry; no faces and no strands have no entry at all.
struct GeometryArrays {
    Ostrum::Array<Vantor::Math::float3> positions;
    Ostrum::Array<std::uint32_t> faceOffset, faceVertex;
    Ostrum::Array<std::uint32_t> strandOffset; ///< strands are runs of the points themselves
};

/// Adds the arrays, with the counts of their components, to an object under the host's names.
void addArrays(Vantor::Object& object, GeometryArrays arrays);

} // namespace Stratum::io
