// The nodes mesh, strands and points, and geometry for what a file holds.
#include "Vantor/Geometry.h"
#include "commonOptions.h"
#include "io/LoadedGeometry.h"
#include "loadGeometry.h"
#include "run/nodeTypes.h"

#include <limits>

namespace Stratum::tools::graph {

namespace {

using Vantor::Math::float3;
using Indices = Ostrum::Array<std::uint32_t>;

const Ostrum::String& componentNamed(const Json& name) {
    using namespace Vantor::Geometry;
    const std::pair<const char*, const Ostrum::String&> kNames[] = {{"point", sPointComp},
                                                                    {"face", sFaceComp},
                                                                    {"corner", sFaceVertexComp},
                                                                    {"strand", sStrandComp}};
    for (const auto& [known, component] : kNames)
        if (name.text() == known)
            return component;
    name.fail("there is no component '" + name.text() +
              "'; there are: point, face, corner, strand");
}

void addProperty(Vantor::Object& object, const std::string& name, const Json& json,
                 const Inputs& inputs) {
    json.allowOnly({"component", "value_type", "values"});
    const Ostrum::String& component = componentNamed(json.at("component"));
    visitElementType(json.at("value_type"), [&]<class T>(std::type_identity<T>) {
        object.setProperty(name, component, inputs.array<T>(json.at("values")));
    });
}

Outcome makeObject(const Json& node, const Inputs& inputs, io::GeometryArrays arrays) {
    auto object = Ostrum::makePtr<Vantor::Object>();
    if (const Json* properties = node.find("properties"))
        for (const auto& [name, property] : properties->record())
            addProperty(*object, name, property, inputs);
    addArrays(*object, std::move(arrays));
    return {{{"object", object}}};
}

std::uint32_t readIndex(const Json& json) {
    return static_cast<std::uint32_t>(json.integer(0, std::numeric_limits<std::uint32_t>::max()));
}

} // namespace

Outcome evaluateMesh(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "points", "faces", "properties"});
    io::GeometryArrays arrays;
    arrays.positions = *inputs.array<float3>(node.at("points"));
    arrays.faceOffset.push_back(0);
    for (const Json& face : node.at("faces").list()) {
        for (const Json& corner : face.list())
            arrays.faceVertex.push_back(readIndex(corner));
        arrays.faceOffset.push_back(static_cast<std::uint32_t>(arrays.faceVertex.size()));
    }
    return makeObject(node, inputs, std::move(arrays));
}

Outcome evaluateStrands(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "strands", "properties"});
    io::GeometryArrays arrays;
    arrays.strandOffset.push_back(0);
    for (const Json& strand : node.at("strands").list()) {
        const auto points = inputs.array<float3>(strand);
        for (const float3& point : *points)
            arrays.positions.push_back(point);
        arrays.strandOffset.push_back(static_cast<std::uint32_t>(arrays.positions.size()));
    }
    return makeObject(node, inputs, std::move(arrays));
}

Outcome evaluatePoints(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "points", "properties"});
    io::GeometryArrays arrays;
    arrays.positions = *inputs.array<float3>(node.at("points"));
    return makeObject(node, inputs, std::move(arrays));
}

Outcome evaluateGeometry(const Json& node, const Inputs& inputs) {
    node.allowOnly({"type", "file"});
    CommonOptions options;
    const Json& file = node.at("file");
    options.file = file.text().starts_with("formula:") ? file.text() : inputs.fileName(file);
    ObjectPtr object;
    readingFile(file, [&] { object = loadGeometry(options).object; });
    return {{{"object", object}}};
}

} // namespace Stratum::tools::graph
