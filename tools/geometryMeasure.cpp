#include "geometryMeasure.h"

#include "Vantor/Geometry.h"
#include "common/Math.h"

#include <array>
#include <cmath>
#include <limits>

namespace Stratum::tools {

namespace {

using Vantor::Math::float3;
using VantorExp::Geometry::SampleType;

std::array<double, 3> between(const float3& a, const float3& b) {
    return {double{b.x} - a.x, double{b.y} - a.y, double{b.z} - a.z};
}

double length(const std::array<double, 3>& v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

double triangleArea(const float3& a, const float3& b, const float3& c) {
    const auto u = between(a, b), v = between(a, c);
    return length(
               {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]}) /
           2;
}

void add(ScatterMeasure& measure, double part) {
    if (part <= double{std::numeric_limits<float>::max()})
        measure.total += part;
    else
        ++measure.leftOut;
}

// Calls visit(begin, end) for the runs that offsets with a closing entry make.
template <class Visit>
void forEachRun(const Ostrum::Array<std::uint32_t>& offsets, const Visit& visit) {
    for (std::size_t i = 0; i + 1 < offsets.size(); ++i)
        visit(offsets[i], offsets[i + 1]);
}

void addAreas(ScatterMeasure& measure, const Vantor::Object& geometry,
              const Ostrum::Array<float3>& points) {
    using namespace Vantor::Geometry;
    const auto corners = geometry.propertyData<std::uint32_t>(sFaceVertex);
    forEachRun(*geometry.propertyData<std::uint32_t>(sFaceOffset),
               [&](std::uint32_t begin, std::uint32_t end) {
                   for (std::uint32_t i = begin + 1; i + 1 < end; ++i)
                       add(measure, triangleArea(points[(*corners)[begin]], points[(*corners)[i]],
                                                 points[(*corners)[i + 1]]));
               });
}

void addLengths(ScatterMeasure& measure, const Vantor::Object& geometry,
                const Ostrum::Array<float3>& points) {
    forEachRun(*geometry.propertyData<std::uint32_t>(Vantor::Geometry::sStrandOffset),
               [&](std::uint32_t begin, std::uint32_t end) {
                   for (std::uint32_t i = begin; i + 1 < end; ++i)
                       add(measure, length(between(points[i], points[i + 1])));
               });
}

} // namespace

ScatterMeasure measureGeometry(const Vantor::Object& geometry, SampleType type) {
    using namespace Vantor::Geometry;
    const auto points = geometry.propertyData<float3>(sPointPosition);
    if (type == SampleType::Points)
        return {Common::kOnPoint, "points", "points", static_cast<double>(points->size())};
    if (geometry.isA(*getMeshPrototype())) {
        ScatterMeasure measure{Common::kOnFace, "faces", "area"};
        addAreas(measure, geometry, *points);
        return measure;
    }
    ScatterMeasure measure{Common::kOnStrand, "strands", "length"};
    addLengths(measure, geometry, *points);
    return measure;
}

} // namespace Stratum::tools
