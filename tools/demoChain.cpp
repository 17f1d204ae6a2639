#include "demoChain.h"

#include "KDX/whereStored.h"
#include "PropertyCall.h"
#include "ScatterCall.h"
#include "io/LocationVertices.h"
#include "scatterPicture.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace Stratum::tools {

namespace {

using Vantor::Math::float3;

constexpr const char *kVolume = "formula:tube", *kMesh = "formula:knot";

ScatterOptions optionsFor(const CommonOptions& common, const char* file, double count,
                          const char* mask) {
    ScatterOptions options;
    options.common = common;
    options.common.file = file;
    options.count = count;
    options.mask = mask;
    options.seed = "1";
    return options;
}

Scattered scatterOn(const ScatterOptions& options, const ScatterSource& source) {
    return scatter(source, generateOptions(options, source));
}

// Locations on a mesh say where they are by its points; the sampling operator wants positions.
Locations positioned(const Vantor::Object& mesh, const Locations& onMesh) {
    const io::LocationVertices vertices(mesh);
    Locations locations = onMesh;
    for (auto& location : locations) {
        const float3 p = vertices.position(location);
        location.weights = {p.x, p.y, p.z, 0};
    }
    return locations;
}

std::size_t countInside(const Vantor::Object& volume, const std::string& channel,
                        const Locations& locations) {
    std::size_t inside = 0;
    visitChannel(volume, channel, [&]<class Shape, class T>(const PlainChannel<Shape, T>& values) {
        const KDX::TileTree3D::Container<Shape> container(values.tree());
        auto accessor = container.tileAccessor();
        for (const auto& location : locations) {
            const auto& w = location.weights;
            inside += whereStored(accessor, container, values, {w[0], w[1], w[2]}).isStored;
        }
    });
    return inside;
}

double mean(const Ostrum::Array<float>& values) {
    double sum = 0;
    for (const float value : values)
        sum += double{value};
    return sum / static_cast<double>(values.size());
}

double largest(const Ostrum::Array<float>& values) {
    float found = 0;
    for (const float value : values)
        found = std::max(found, std::abs(value));
    return double{found};
}

} // namespace

DemoChain runDemoChain(const CommonOptions& common, Results& picture) {
    ScatterOptions inVolume = optionsFor(common, kVolume, 40000, "density");
    const ScatterOptions onMesh = optionsFor(common, kMesh, 20000, "bands");
    const ScatterSource volume = loadScatterSource(inVolume), mesh = loadScatterSource(onMesh);

    DemoChain chain;
    const auto start = std::chrono::steady_clock::now();
    const Scattered dense = scatterOn(inVolume, volume);
    const auto densities =
        sampleProperty<float>(*volume.object, dense.locations, "density", 0.0F).values;
    const Scattered banded = scatterOn(onMesh, mesh);
    const Locations surface = positioned(*mesh.object, banded.locations);
    const auto distances = sampleProperty<float>(*volume.object, surface, "distance", 0.0F).values;
    chain.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    chain.inVolume = dense.locations.size();
    chain.onMesh = surface.size();
    chain.inside = countInside(*volume.object, "density", dense.locations) +
                   countInside(*volume.object, "distance", surface);
    chain.meanDensity = mean(*densities);
    chain.surfaceError = largest(*distances);
    inVolume.picture.colour = "density";
    inVolume.picture.view = {20, 55};
    drawScattered(inVolume.picture, volume, dense, "Locations in a fog, by its density", picture);
    return chain;
}

} // namespace Stratum::tools
