// Geometries to scatter on, the operator called on them, and slow, obvious generators to compare
// with.
#pragma once

#include "Vantor/Geometry.h"
#include "common/Math.h"
#include "common/randomUnit.h"
#include "ops/generate_sample_locations.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <vector>

namespace StratumTest {

using Ostrum::Array;
using Ostrum::makePtr;
using Ostrum::Ptr;
using Vantor::Geometry::Common::GeoLocation;
using Vantor::Math::float3;
using Vantor::Sample::GenerateLocationOptions;
using Vantor::Sample::randomHash;
using Vantor::Sample::randomUnit;
using VantorExp::Geometry::AmountType;
using VantorExp::Geometry::MaskControl;
using VantorExp::Geometry::SampleType;
using Locations = Array<GeoLocation>;
using Indices = std::vector<std::uint32_t>;

template <class T>
Ptr<Array<T>> arrayOf(const std::vector<T>& values) {
    return makePtr<Array<T>>(values.begin(), values.end());
}

inline void setPoints(Vantor::Object& object, const std::vector<float3>& points) {
    object.addComponent(Vantor::Geometry::sPointComp, points.size());
    object.setProperty(Vantor::Geometry::sPointPosition, Vantor::Geometry::sPointComp,
                       arrayOf(points));
}

inline Vantor::Object makeMesh(const std::vector<float3>& points, const Indices& faceOffset,
                               const Indices& faceVertex, std::size_t faceCount) {
    using namespace Vantor::Geometry;
    Vantor::Object mesh;
    setPoints(mesh, points);
    mesh.addComponent(sFaceComp, faceCount);
    mesh.addComponent(sFaceVertexComp, faceVertex.size());
    mesh.setProperty(sFaceOffset, sFaceComp, arrayOf(faceOffset));
    mesh.setProperty(sFaceVertex, sFaceVertexComp, arrayOf(faceVertex));
    return mesh;
}

inline Vantor::Object makeStrands(const std::vector<float3>& points, const Indices& offsets,
                                  std::size_t strandCount) {
    using namespace Vantor::Geometry;
    Vantor::Object strands;
    setPoints(strands, points);
    strands.addComponent(sStrandComp, strandCount);
    strands.setProperty(sStrandOffset, sStrandComp, arrayOf(offsets));
    return strands;
}

inline Locations scatter(const Vantor::Object& object, const GenerateLocationOptions& options) {
    Locations locations;
    Vantor::Sample::generateSampleLocations(object, options, locations, nullptr);
    return locations;
}

// The references. A mask is a function from a location to its value, or nothing.
using MaskValue = std::function<float(const GeoLocation&)>;

inline bool isKept(const MaskValue& mask, const GeoLocation& location, std::uint64_t draw,
                   const GenerateLocationOptions& o) {
    if (!mask)
        return true;
    const float v = mask(location), r = randomUnit<float>(draw, std::uint64_t(o.seed));
    const float w = v > 0 ? v < 1 ? v : 1 : 0;
    return o.invert_mask ? r > w : w > r;
}

inline GeoLocation faceLocation(std::size_t face, std::uint32_t t, std::uint64_t draw,
                                std::uint64_t seed) {
    float a = randomUnit<float>(draw, seed), b = randomUnit<float>(draw + 1, seed);
    if (a + b > 1)
        a = 1 - a, b = 1 - b;
    GeoLocation l;
    l.kind = 3;
    l.element = std::uint32_t(face);
    l.indices = {0, t, t + 1, Vantor::Geometry::kInvalidIndex};
    l.weights = {a, b, 1 - a - b, 0};
    return l;
}

/// Faces as lists of points; every index in range.
struct SlowMesh {
    std::vector<float3> points;
    std::vector<Indices> faces;

    struct Triangle {
        std::size_t face;
        std::uint32_t t;
        float area;
    };
    std::vector<Triangle> triangles() const {
        std::vector<Triangle> all;
        for (std::size_t f = 0; f < faces.size(); ++f)
            for (std::uint32_t t = 1; t + 1 < faces[f].size(); ++t) {
                const auto &p = points[faces[f][0]], &q = points[faces[f][t]],
                           &r = points[faces[f][t + 1]];
                const float ux = q.x - p.x, uy = q.y - p.y, uz = q.z - p.z, vx = r.x - p.x,
                            vy = r.y - p.y, vz = r.z - p.z;
                const float x = uy * vz - uz * vy, y = uz * vx - ux * vz, z = ux * vy - uy * vx;
                all.push_back({f, t, 0.5F * std::sqrt(x * x + y * y + z * z)});
            }
        return all;
    }

    Vantor::Object object() const {
        Indices offsets, corners;
        for (const Indices& face : faces) {
            offsets.push_back(std::uint32_t(corners.size()));
            corners.insert(corners.end(), face.begin(), face.end());
        }
        return makeMesh(points, offsets, corners, faces.size());
    }

    std::vector<GeoLocation> byDensity(const GenerateLocationOptions& o, float d,
                                       const MaskValue& mask) const {
        const std::uint64_t seed(o.seed);
        std::vector<GeoLocation> out;
        for (const Triangle& triangle : triangles()) {
            const float e = triangle.area * d;
            if (!(e > 0))
                continue;
            const std::uint64_t base = std::uint64_t{triangle.face} << 32;
            const int n = int(e) + (e - float(int(e)) > randomUnit<float>(base, seed));
            for (int i = 0; i < n; ++i) {
                const std::uint64_t draw = base + 1 + 3 * std::uint64_t(i);
                const auto l = faceLocation(triangle.face, triangle.t, draw, seed);
                if (isKept(mask, l, draw + 2, o))
                    out.push_back(l);
            }
        }
        return out;
    }

    std::vector<GeoLocation> byCount(const GenerateLocationOptions& o, std::size_t n,
                                     const MaskValue& mask) const {
        const auto all = triangles();
        std::vector<double> areas;
        for (const Triangle& triangle : all)
            areas.push_back(double(triangle.area));
        std::discrete_distribution<std::size_t> pick(areas.begin(), areas.end());
        std::mt19937 twister{std::uint32_t(o.seed)};
        std::vector<GeoLocation> out;
        std::uint64_t draw = 1;
        for (std::size_t i = 0; i < n; ++i)
            for (int retries = 0;; ++retries) {
                const Triangle& triangle = all[pick(twister)];
                const auto l = faceLocation(triangle.face, triangle.t, draw, std::uint64_t(o.seed));
                draw += 3;
                const bool kept = isKept(mask, l, draw - 1, o);
                if (kept)
                    out.push_back(l);
                if (kept || o.mask_control != MaskControl::Resample || retries == 10000)
                    break;
            }
        return out;
    }
};

struct SlowStrands {
    std::vector<float3> points;
    Indices offsets; // with the closing one

    Vantor::Object object() const { return makeStrands(points, offsets, offsets.size() - 1); }

    // No more than 1000 segments, which are added up in one run.
    std::vector<GeoLocation> byCount(const GenerateLocationOptions& o, std::size_t n,
                                     const MaskValue& mask) const {
        std::vector<float> w(points.size()), c(points.size());
        std::vector<std::uint32_t> owner(points.size());
        float total = 0;
        for (std::uint32_t s = 0; s + 1 < offsets.size(); ++s)
            for (std::uint32_t p = offsets[s]; p < offsets[s + 1]; ++p) {
                owner[p] = s;
                if (p + 1 == offsets[s + 1])
                    continue;
                const float x = points[p + 1].x - points[p].x, y = points[p + 1].y - points[p].y,
                            z = points[p + 1].z - points[p].z;
                w[p] = std::sqrt(x * x + y * y + z * z);
            }
        for (const float length : w)
            total += length;
        float sum = 0;
        for (std::size_t p = 0; p < w.size(); ++p)
            c[p] = sum += w[p] /= total;
        std::vector<GeoLocation> out;
        for (std::uint64_t k = 0; k < n; ++k)
            for (std::uint64_t attempt = 0; attempt < 32768; ++attempt) {
                const std::uint64_t draw = k * 65536 + 2 * attempt;
                const float r = randomUnit<float>(draw, std::uint64_t(o.seed));
                std::size_t j = 0;
                while (j < c.size() && !(c[j] > r))
                    ++j;
                GeoLocation l;
                if (j < c.size()) {
                    const std::uint32_t first = std::uint32_t(j) - offsets[owner[j]];
                    const float u = (c[j] - r) / w[j];
                    l.kind = 4;
                    l.element = owner[j];
                    l.indices[0] = first;
                    l.indices[1] = first + 1;
                    l.weights = {u, 1 - u, 0, 0};
                }
                const bool kept = l.kind == 0 || isKept(mask, l, draw + 1, o);
                if (kept && (l.kind || !mask))
                    out.push_back(l);
                if (kept || o.mask_control != MaskControl::Resample)
                    break;
            }
        return out;
    }
};

} // namespace StratumTest
