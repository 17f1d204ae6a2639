#include "io/ObjLines.h"
#include "io/readGeometry.h"

#include <tiny_obj_loader.h>

#include <algorithm>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace Stratum::io {

namespace {

using Vantor::Math::float3;
using Corners = std::vector<tinyobj::index_t>;

struct Parsed {
    Ostrum::Array<float3> vertices;
    Corners faceCorners, linePoints;
};

// The parser counts a face's corners in one byte, loses `l` elements of groups without faces and
// repeats those before a change of material: so it is given no groups and no materials, and the
// sizes of elements are counted beforehand.
Parsed parse(ObjLines& lines, const std::string& source) {
    tinyobj::attrib_t attributes;
    std::vector<tinyobj::shape_t> shapes;
    std::vector<tinyobj::material_t> materials;
    std::string warnings, errors;
    std::istringstream text(std::move(lines.text));
    const bool triangulate = false, colours = false;
    const bool done = tinyobj::LoadObj(&attributes, &shapes, &materials, &warnings, &errors, &text,
                                       nullptr, triangulate, colours);
    Parsed parsed;
    if (!shapes.empty()) {
        parsed.faceCorners = std::move(shapes[0].mesh.indices);
        parsed.linePoints = std::move(shapes[0].lines.indices);
    }
    const auto total = [](const std::vector<std::uint32_t>& sizes) {
        std::size_t sum = 0;
        for (const std::uint32_t size : sizes)
            sum += size;
        return sum;
    };
    if (!done || shapes.size() > 1 || attributes.vertices.size() != 3 * lines.vertexCount ||
        parsed.faceCorners.size() != total(lines.faceSizes) ||
        parsed.linePoints.size() != total(lines.lineSizes))
        throw std::runtime_error(source + ": it cannot be parsed");
    parsed.vertices.reserve(lines.vertexCount);
    for (std::size_t i = 0; i < attributes.vertices.size(); i += 3)
        parsed.vertices.push_back(
            {attributes.vertices[i], attributes.vertices[i + 1], attributes.vertices[i + 2]});
    return parsed;
}

Ostrum::Array<std::uint32_t> offsetsOf(const std::vector<std::uint32_t>& sizes,
                                       const std::string& source) {
    Ostrum::Array<std::uint32_t> offsets;
    offsets.reserve(sizes.size() + 1);
    std::uint64_t sum = 0;
    offsets.push_back(0);
    for (const std::uint32_t size : sizes) {
        sum += size;
        if (sum >= std::numeric_limits<std::uint32_t>::max())
            throw std::runtime_error(source + ": it has more corners than can be counted");
        offsets.push_back(static_cast<std::uint32_t>(sum));
    }
    return offsets;
}

} // namespace

LoadedGeometry readObj(std::string_view bytes, const std::string& source) {
    ObjLines lines = readObjLines(bytes, source);
    if (lines.vertexCount == 0)
        throw std::runtime_error(source + ": it has no vertices ('v' lines)");
    Parsed parsed = parse(lines, source);
    LoadedGeometry geometry{Ostrum::makePtr<Vantor::Object>(), {}, {}};
    GeometryArrays arrays;
    if (!lines.faceSizes.empty()) {
        arrays.faceOffset = offsetsOf(lines.faceSizes, source);
        arrays.faceVertex.reserve(parsed.faceCorners.size());
        for (const auto& corner : parsed.faceCorners)
            arrays.faceVertex.push_back(static_cast<std::uint32_t>(corner.vertex_index));
        if (!lines.lineSizes.empty())
            geometry.warnings.push_back(source + " has faces, and so its " +
                                        std::to_string(lines.lineSizes.size()) +
                                        " lines are left out; a file of lines alone makes strands");
    } else if (!lines.lineSizes.empty()) {
        arrays.strandOffset = offsetsOf(lines.lineSizes, source);
        Ostrum::Array<float3> points;
        points.reserve(parsed.linePoints.size());
        for (const auto& point : parsed.linePoints)
            points.push_back(parsed.vertices[static_cast<std::size_t>(point.vertex_index)]);
        parsed.vertices = std::move(points);
    }
    arrays.positions = std::move(parsed.vertices);
    addArrays(*geometry.object, std::move(arrays));
    return geometry;
}

bool canReadObj() {
    return true;
}

} // namespace Stratum::io
