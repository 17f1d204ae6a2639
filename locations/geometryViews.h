// A geometry's arrays as the generators read them. Index arrays may be wrong: what cannot be used
// is left out, and nothing outside the arrays is read.
#pragma once

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

/// Elements as runs of another array's entries: faces of corners, strands of points. `offsets` says
/// where each begins and may end with where the last one ends. An element that begins before an
/// earlier one ends has no entries, and one that ends after the array ends with it, so that no
/// entry has two owners and each lies where its element's own offset says.
class ElementRuns {
public:
    /// `count` elements over `size` entries; the offsets must outlive the runs.
    ElementRuns(std::span<const std::uint32_t> offsets, std::size_t count, std::size_t size);

    /// Elements that have an offset.
    std::size_t count() const { return count_; }

    IndexSpan operator[](std::size_t element) const {
        if (element >= count_)
            return {};
        return usable_.empty() ? IndexSpan{offset(element), offset(element + 1)} : usable_[element];
    }

private:
    std::size_t offset(std::size_t element) const {
        return element < offsets_.size() ? std::min<std::size_t>(offsets_[element], size_) : size_;
    }

    std::span<const std::uint32_t> offsets_;
    std::size_t count_, size_;
    std::vector<IndexSpan> usable_; // where offsets do not ascend
};

/// Faces as runs of corners, corners as points. A face with m corners is a fan of the triangles
/// (0, t, t + 1), t = 1 .. m - 2.
struct MeshView {
    std::span<const float3> positions;
    std::span<const std::uint32_t> faceVertex; ///< the point of each corner
    ElementRuns faces;                         ///< of corners

    /// Half the cross product of the edges, or a negative number for a triangle whose points do not
    /// exist or whose area is no finite float.
    float triangleArea(const IndexSpan& corners, std::size_t t) const;
};

/// Strands as runs of points.
struct StrandView {
    std::span<const float3> positions;
    ElementRuns strands;

    /// From a point to the next, or 0 where that is no finite float.
    float segmentLength(std::size_t point) const;
};

/// The areas of all triangles of all fans, in the order of faces and t.
std::vector<float> triangleAreas(const MeshView& mesh);

/// Whether an area is that of a triangle and not what marks one to be left out.
inline bool isTriangle(float area) {
    return !(area < 0);
}

/// Calls visit(face, t, area) for all triangles of a mesh that are not left out, in the order of
/// faces and t. `areas` are the mesh's triangleAreas().
template <class Visit>
void forEachTriangle(const MeshView& mesh, std::span<const float> areas, const Visit& visit) {
    const float* area = areas.data();
    for (std::size_t face = 0; face < mesh.faces.count(); ++face) {
        const std::size_t corners = mesh.faces[face].size();
        for (std::size_t t = 1; t + 1 < corners; ++t, ++area)
            if (isTriangle(*area))
                visit(face, t, *area);
    }
}

} // namespace Vantor::Sample
