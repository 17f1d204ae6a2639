#include "benchVolumes.h"

#include "common/randomUnit.h"

#include <cmath>
#include <tuple>

namespace Stratum::Bench {

using Vantor::Math::float3;

namespace {

constexpr double kRadius = 100, kHalfWidth = 4;

double centreOf(const Scene& scene) {
    return scene.size / 2.0;
}

double distance(const Scene& scene, double x, double y, double z) {
    const double centre = centreOf(scene);
    return std::hypot(x - centre, y - centre, z - centre) - kRadius;
}

float3 toFloats(double x, double y, double z) {
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
}

// Some voxels from the faces of the cube.
double inside(const Scene& scene, double unit) {
    return 4 + (scene.size - 8) * unit;
}

float3 randomPosition(const Scene& scene, std::size_t i) {
    const auto draw = [&](std::uint64_t axis) {
        return inside(scene, Vantor::Sample::randomUnit<double>(3 * i + axis, 1));
    };
    const double x = draw(0), y = draw(1), z = draw(2);
    if (scene.content == Content::kDense)
        return toFloats(x, y, z);
    const double centre = centreOf(scene), dx = x - centre, dy = y - centre, dz = z - centre;
    const double scale = (kRadius + 2 * std::sin(static_cast<double>(i))) / std::hypot(dx, dy, dz);
    return toFloats(centre + dx * scale, centre + dy * scale, centre + dz * scale);
}

// On a line along x, or for the band on a circle of the sphere.
float3 coherentPosition(const Scene& scene, std::size_t i) {
    constexpr double kStep = 0.37;
    const double longest = scene.size / 2.0 / kStep;
    const auto run = std::min(std::size_t{500}, static_cast<std::size_t>(longest));
    const std::size_t line = i / run;
    const double step = kStep * static_cast<double>(i % run);
    const auto draw = [line](std::uint64_t axis) {
        return Vantor::Sample::randomUnit<double>(3 * line + axis, 2);
    };
    const double centre = centreOf(scene);
    if (scene.content == Content::kDense)
        return toFloats(4 + (scene.size - 8 - kStep * static_cast<double>(run)) * draw(0) + step,
                        inside(scene, draw(1)), inside(scene, draw(2)));
    const double angle = step / kRadius + 6.28 * draw(0), tilt = 1.5 * (draw(1) - 0.5);
    return toFloats(centre + kRadius * std::cos(angle) * std::cos(tilt),
                    centre + kRadius * std::sin(angle) * std::cos(tilt),
                    centre + kRadius * std::sin(tilt));
}

} // namespace

float fieldValue(double x, double y, double z) {
    return static_cast<float>(std::sin(0.1 * x) + std::cos(0.07 * y) + 0.01 * z);
}

bool isInBand(const Scene& scene, double x, double y, double z) {
    return std::abs(distance(scene, x, y, z)) < kHalfWidth;
}

bool isNearBand(const Scene& scene, const Vantor::Math::int3& tijk, int extent) {
    // A tile's corners lie sqrt(3) times half its extent from its centre.
    const double half = extent / 2.0;
    return std::abs(distance(scene, tijk.x + half, tijk.y + half, tijk.z + half)) <
           kHalfWidth + half * 1.7321;
}

std::string nameOf(const Scene& scene) {
    const std::string content = scene.content == Content::kDense ? "dense" : "band";
    return scene.size == kSize ? content : content + "-" + std::to_string(scene.size);
}

std::string nameOf(Access access) {
    return access == Access::kRandom ? "random" : "coherent";
}

const Positions& benchPositions(const Scene& scene, Access access, std::size_t count) {
    static std::map<std::tuple<Scene, Access, std::size_t>, Positions> all;
    Positions& positions = all[{scene, access, count}];
    if (positions.empty()) {
        positions.resize(count);
        for (std::size_t i = 0; i < count; ++i)
            positions[i] =
                access == Access::kRandom ? randomPosition(scene, i) : coherentPosition(scene, i);
    }
    return positions;
}

} // namespace Stratum::Bench
