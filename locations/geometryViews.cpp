#include "locations/geometryViews.h"

#include <algorithm>
#include <cmath>

namespace Vantor::Sample {

IndexSpan MeshView::corners(std::size_t face) const {
    if (face >= faceOffset.size())
        return {};
    const std::size_t begin = faceOffset[face];
    const std::size_t closing =
        face + 1 < faceOffset.size() ? std::size_t{faceOffset[face + 1]} : faceVertex.size();
    const std::size_t end = std::min(closing, faceVertex.size());
    return begin < end ? IndexSpan{begin, end} : IndexSpan{};
}

float MeshView::triangleArea(const IndexSpan& corners, std::size_t t) const {
    const std::size_t a = faceVertex[corners.begin], b = faceVertex[corners.begin + t],
                      c = faceVertex[corners.begin + t + 1];
    if (a >= positions.size() || b >= positions.size() || c >= positions.size())
        return -1;
    const float3 &p = positions[a], &q = positions[b], &r = positions[c];
    const float3 u{q.x - p.x, q.y - p.y, q.z - p.z}, v{r.x - p.x, r.y - p.y, r.z - p.z};
    const float3 cross{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
    return 0.5F * std::sqrt(cross.x * cross.x + cross.y * cross.y + cross.z * cross.z);
}

StrandView::StrandView(std::span<const float3> points, std::span<const std::uint32_t> strandOffset,
                       std::size_t count)
    : positions(points), strandCount(std::min(count, strandOffset.size())) {
    begins.reserve(strandCount + 1);
    std::size_t reached = 0;
    for (std::size_t s = 0; s < strandCount; ++s) {
        reached = std::clamp<std::size_t>(strandOffset[s], reached, points.size());
        begins.push_back(reached);
    }
    begins.push_back(
        strandCount < strandOffset.size()
            ? std::clamp<std::size_t>(strandOffset[strandCount], reached, points.size())
            : points.size());
}

} // namespace Vantor::Sample
