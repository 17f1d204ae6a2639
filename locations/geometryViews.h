// A geometry's arrays as the generators read them. Index arrays may be wrong: what cannot be used
// is left out, and nothing outside the arrays is read.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "common/Math.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Vantor {
class Object;
}

namespace Vantor::Sample {

using Math::float3;

/// Elements that follow each other in an array: [begin, end).
struct IndexSpan {
    std::size_t begin = 0, end = 0;
    std::size_t size() const { return end - begin; }
};

/// Faces as runs of corners, corners as points. A face with m corners is a fan of the triangles
/// (0, t, t + 1), t = 1 .. m - 2.
struct MeshView {
    std::span<const float3> positions;
    std::span<const std::uint32_t>
        faceOffset; ///< where faces begin; may or may not end with the end
    std::span<const std::uint32_t> faceVertex; ///< the point of each corner
    std::size_t faceCount = 0;

    /// The corners of a face: none of a face that has no offset, ends before it begins or begins
    /// after the last corner; one that ends after it ends there.
    IndexSpan corners(std::size_t face) const;

    /// Half the cross product of the edges, or a negative number for a triangle whose points do not
    /// exist.
    float triangleArea(const IndexSpan& corners, std::size_t t) const;
};

/// Strands as runs of points.
struct StrandView {
    std::span<const float3> positions;
    std::size_t strandCount = 0;
    /// Where strands begin and, as the last entry, where the last one ends: ascending and within
    /// the points, whatever the geometry says.
    std::vector<std::size_t> begins;

    StrandView(std::span<const float3> points, std::span<const std::uint32_t> strandOffset,
               std::size_t count);
    IndexSpan points(std::size_t strand) const { return {begins[strand], begins[strand + 1]}; }
};

/// Calls visit(face, t, area) for all triangles of a mesh that exist, in the order of faces and t.
template <class Visit>
void forEachTriangle(const MeshView& mesh, const Visit& visit) {
    const std::size_t faces = std::min(mesh.faceCount, mesh.faceOffset.size());
    for (std::size_t face = 0; face < faces; ++face) {
        const IndexSpan corners = mesh.corners(face);
        for (std::size_t t = 1; t + 1 < corners.size(); ++t) {
            const float area = mesh.triangleArea(corners, t);
            if (!(area < 0))
                visit(face, t, area);
        }
    }
}

} // namespace Vantor::Sample
