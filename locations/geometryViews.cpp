#include "locations/geometryViews.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Vantor::Sample {

using Math::double3;

ElementRuns::ElementRuns(std::span<const std::uint32_t> offsets, std::size_t count,
                         std::size_t size)
    : offsets_(offsets), count_(std::min(count, offsets.size())), size_(size) {
    if (std::ranges::is_sorted(offsets))
        return;
    usable_.resize(count_);
    std::size_t reached = 0;
    for (std::size_t element = 0; element < count_; ++element) {
        const std::size_t begin = offset(element), end = offset(element + 1);
        if (begin >= reached && begin < end) {
            usable_[element] = {begin, end};
            reached = end;
        }
    }
}

namespace {

template <class Vector>
auto areaOf(const Vector& u, const Vector& v) {
    const Vector cross{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
    return std::sqrt(cross.x * cross.x + cross.y * cross.y + cross.z * cross.z) / 2;
}

} // namespace

float MeshView::triangleArea(const IndexSpan& corners, std::size_t t) const {
    const std::size_t a = faceVertex[corners.begin], b = faceVertex[corners.begin + t],
                      c = faceVertex[corners.begin + t + 1];
    if (a >= positions.size() || b >= positions.size() || c >= positions.size())
        return -1;
    const float3 &p = positions[a], &q = positions[b], &r = positions[c];
    const float area =
        areaOf(float3{q.x - p.x, q.y - p.y, q.z - p.z}, float3{r.x - p.x, r.y - p.y, r.z - p.z});
    if (std::isfinite(area)) [[likely]]
        return area;
    // Squares leave the range of single precision long before areas do.
    const double wide = areaOf(double3{double{q.x} - p.x, double{q.y} - p.y, double{q.z} - p.z},
                               double3{double{r.x} - p.x, double{r.y} - p.y, double{r.z} - p.z});
    return wide <= double{std::numeric_limits<float>::max()} ? static_cast<float>(wide) : -1;
}

float StrandView::segmentLength(std::size_t point) const {
    const float3 &p = positions[point], &q = positions[point + 1];
    const float3 d{q.x - p.x, q.y - p.y, q.z - p.z};
    const float length = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    if (std::isfinite(length)) [[likely]]
        return length;
    const double wide = std::hypot(double{q.x} - p.x, double{q.y} - p.y, double{q.z} - p.z);
    return wide <= double{std::numeric_limits<float>::max()} ? static_cast<float>(wide) : 0;
}

std::vector<float> triangleAreas(const MeshView& mesh) {
    std::size_t count = 0;
    for (std::size_t face = 0; face < mesh.faces.count(); ++face)
        count += std::max<std::size_t>(mesh.faces[face].size(), 2) - 2;
    std::vector<float> areas(count);
    float* area = areas.data();
    for (std::size_t face = 0; face < mesh.faces.count(); ++face) {
        const IndexSpan corners = mesh.faces[face];
        for (std::size_t t = 1; t + 1 < corners.size(); ++t)
            *area++ = mesh.triangleArea(corners, t);
    }
    return areas;
}

} // namespace Vantor::Sample
