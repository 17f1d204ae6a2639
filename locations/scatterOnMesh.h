// Random locations on the triangles of a mesh.
#pragma once

#include "locations/MeshMask.h"
#include "locations/generators.h"

#include <cstdint>

namespace Vantor::Sample {

/// Attempts for one sample of a count: the first and so many more.
inline constexpr int kMeshRetries = 10000;

/// Uniform barycentric weights from the draws `index` and the next one: a point of the unit square,
/// whose upper half is turned onto the lower one.
Barycentric drawBarycentric(std::uint64_t index, std::uint64_t seed);

/// Scatters locations on a mesh in one of two ways.
///
/// - By density, each triangle in turn gets its area times the density, rounded at random. The
///   draws begin anew with every triangle of a face, so that equal shares of a face's triangles
///   look alike.
/// - By count, and where a density could give more than the largest number, triangles are picked at
///   random in proportion to their areas.
///
/// `mask` may be null. Nothing is scattered by count on a mesh without a positive, finite area.
Locations scatterOnMesh(const MeshView& mesh, const MeshMask* mask,
                        const GenerateLocationOptions& options);

} // namespace Vantor::Sample
