#include "io/formulaGeometry.h"

#include "Vantor/Geometry.h"
#include "io/Tube.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace Stratum::io {

namespace {

using Vantor::Math::double3;
using Vantor::Math::float3;
using Floats = Ostrum::Array<float>;

constexpr std::uint32_t kAlong = 720, kAround = 48; // quads
constexpr double kTau = 2 * std::numbers::pi;

double3 plus(const double3& a, const double3& b, double factor) {
    return {a.x + b.x * factor, a.y + b.y * factor, a.z + b.z * factor};
}
double3 cross(const double3& a, const double3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double3 unit(const double3& a) {
    return plus({}, a, 1 / std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z));
}

// The core of the torus nearest to the knot at t, which the tube's cross-sections are turned to.
double3 core(double t) {
    return {2 * std::cos(2 * t), 2 * std::sin(2 * t), 0};
}

float3 tube(double t, double angle) {
    constexpr double kStep = 1e-4;
    const double3 centre = knot(t);
    const double3 along = unit(plus(knot(t + kStep), knot(t - kStep), -1));
    const double3 side = unit(cross(along, plus(centre, core(t), -1)));
    const double3 outward = cross(side, along);
    const double3 p = plus(plus(centre, outward, kTubeRadius * std::cos(angle)), side,
                           kTubeRadius * std::sin(angle));
    return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

template <class T>
void setProperty(Vantor::Object& object, const char* name, const Ostrum::String& component,
                 Ostrum::Array<T> values) {
    object.setProperty(name, component, Ostrum::makePtr<Ostrum::Array<T>>(std::move(values)));
}

LoadedGeometry makeKnot() {
    GeometryArrays arrays;
    Floats bands, along;
    for (std::uint32_t i = 0; i < kAlong; ++i)
        for (std::uint32_t j = 0; j < kAround; ++j) {
            const double t = kTau * i / kAlong, angle = kTau * j / kAround;
            arrays.positions.push_back(tube(t, angle));
            const double wave = 0.5 + 0.5 * std::cos(2 * angle + 24 * t);
            bands.push_back(static_cast<float>(wave * wave * wave));
            along.push_back(static_cast<float>(i) / kAlong);
        }
    Floats checks;
    for (std::uint32_t i = 0; i < kAlong; ++i)
        for (std::uint32_t j = 0; j < kAround; ++j) {
            const std::uint32_t nextI = (i + 1) % kAlong, nextJ = (j + 1) % kAround;
            arrays.faceOffset.push_back(static_cast<std::uint32_t>(arrays.faceVertex.size()));
            for (const std::uint32_t vertex : {i * kAround + j, i * kAround + nextJ,
                                               nextI * kAround + nextJ, nextI * kAround + j})
                arrays.faceVertex.push_back(vertex);
            checks.push_back(static_cast<float>((i / 12 + j / 8) % 2));
        }
    arrays.faceOffset.push_back(static_cast<std::uint32_t>(arrays.faceVertex.size()));
    LoadedGeometry geometry{Ostrum::makePtr<Vantor::Object>(), {"bands", "along", "checks"}, {}};
    setProperty(*geometry.object, "bands", Vantor::Geometry::sPointComp, std::move(bands));
    setProperty(*geometry.object, "along", Vantor::Geometry::sPointComp, std::move(along));
    setProperty(*geometry.object, "checks", Vantor::Geometry::sFaceComp, std::move(checks));
    addArrays(*geometry.object, std::move(arrays));
    return geometry;
}

} // namespace

std::string formulaGeometryNames() {
    return "knot";
}

bool isFormulaGeometry(const std::string& name) {
    return name == "knot";
}

LoadedGeometry formulaGeometry(const std::string& name) {
    if (!isFormulaGeometry(name))
        throw std::invalid_argument("there is no geometry 'formula:" + name +
                                    "'; there is: " + formulaGeometryNames());
    return makeKnot();
}

} // namespace Stratum::io
