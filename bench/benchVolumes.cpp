#include "benchVolumes.h"

#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "common/randomUnit.h"

#include <cmath>
#include <map>

namespace Stratum::Bench {

using namespace KDX::TileTree3D;

namespace {

constexpr double kCentre = kSize / 2.0, kRadius = 100, kHalfWidth = 4;

double distance(double x, double y, double z) {
    return std::hypot(x - kCentre, y - kCentre, z - kCentre) - kRadius;
}

template <class Traits>
BenchVolume<Traits> makeVolume(Content content) {
    TreeBuilder<Traits> tiles;
    const bbox<int3, int> box{{0, 0, 0}, {kSize - 1, kSize - 1, kSize - 1}};
    if (content == Content::kDense) {
        tiles.addBox(Traits::kFinestDepth, box);
    } else {
        tiles.addRefined(box, [](const int3& tijk, int depth) {
            const double half = Traits::tileExtent(depth) / 2.0;
            const bool near = std::abs(distance(tijk.x + half, tijk.y + half, tijk.z + half)) <
                              kHalfWidth + half * 1.7321;
            const bool finest = depth == Traits::kFinestDepth;
            return typename TreeBuilder<Traits>::Wish{near && finest, near && !finest};
        });
    }
    const auto tree = tiles.build(1.0F, VoxelOffsetType::kCorner);
    ChannelBuilder<Traits, float> values(tree, kChannel, 0.0F);
    values.fill([](const double3& p, int) { return fieldValue(p.x, p.y, p.z); });

    BenchVolume<Traits> volume;
    volume.channel = values.finish();
    Vantor::Geometry::addTree<Traits>(volume.object, tree);
    Vantor::Geometry::addChannel(volume.object, volume.channel);
    const KDX::Object& parts = volume.object.volumeParts();
    volume.container = parts.component<Container<Traits>>(Vantor::Geometry::sVoxelTileTree);
    volume.topology = parts.component<VoxelTopology<Traits>>(Vantor::Geometry::sVoxelComp);
    return volume;
}

Vantor::Math::float3 randomPosition(Content content, std::size_t i) {
    const auto draw = [i](std::uint64_t axis) {
        return Vantor::Sample::randomUnit<double>(3 * i + axis, 1);
    };
    double x = 4 + (kSize - 8) * draw(0), y = 4 + (kSize - 8) * draw(1),
           z = 4 + (kSize - 8) * draw(2);
    if (content == Content::kBand) {
        const double dx = x - kCentre, dy = y - kCentre, dz = z - kCentre;
        const double scale = (kRadius + 2 * std::sin(double(i))) / std::hypot(dx, dy, dz);
        x = kCentre + dx * scale;
        y = kCentre + dy * scale;
        z = kCentre + dz * scale;
    }
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
}

Ostrum::Array<Vantor::Math::float3> makePositions(Content content, Access access) {
    Ostrum::Array<Vantor::Math::float3> positions(kPositions);
    constexpr std::size_t kRun = 500;
    for (std::size_t i = 0; i < kPositions; ++i) {
        if (access == Access::kRandom) {
            positions[i] = randomPosition(content, i);
            continue;
        }
        // A line along x, or for the band along a circle of the sphere.
        const std::size_t line = i / kRun;
        const double step = 0.37 * static_cast<double>(i % kRun);
        const auto draw = [line](std::uint64_t axis) {
            return Vantor::Sample::randomUnit<double>(3 * line + axis, 2);
        };
        if (content == Content::kDense) {
            positions[i] = {static_cast<float>(4 + 60 * draw(0) + step),
                            static_cast<float>(4 + (kSize - 8) * draw(1)),
                            static_cast<float>(4 + (kSize - 8) * draw(2))};
        } else {
            const double angle = step / kRadius + 6.28 * draw(0), tilt = 1.5 * (draw(1) - 0.5);
            positions[i] = {
                static_cast<float>(kCentre + kRadius * std::cos(angle) * std::cos(tilt)),
                static_cast<float>(kCentre + kRadius * std::sin(angle) * std::cos(tilt)),
                static_cast<float>(kCentre + kRadius * std::sin(tilt))};
        }
    }
    return positions;
}

} // namespace

float fieldValue(double x, double y, double z) {
    return static_cast<float>(std::sin(0.1 * x) + std::cos(0.07 * y) + 0.01 * z);
}

bool isInBand(double x, double y, double z) {
    return std::abs(distance(x, y, z)) < kHalfWidth;
}

std::string join(std::initializer_list<std::string> parts) {
    std::string joined;
    for (const std::string& part : parts)
        joined.append(joined.empty() ? 0 : 1, '/').append(part);
    return joined;
}

std::string nameOf(Content content) {
    return content == Content::kDense ? "dense" : "band";
}
std::string nameOf(Access access) {
    return access == Access::kRandom ? "random" : "coherent";
}

template <class Traits>
const BenchVolume<Traits>& benchVolume(Content content) {
    static std::map<Content, BenchVolume<Traits>> volumes;
    const auto found = volumes.find(content);
    return found != volumes.end()
               ? found->second
               : volumes.emplace(content, makeVolume<Traits>(content)).first->second;
}

const Ostrum::Array<Vantor::Math::float3>& benchPositions(Content content, Access access) {
    static std::map<std::pair<Content, Access>, Ostrum::Array<Vantor::Math::float3>> all;
    const auto found = all.find({content, access});
    return found != all.end()
               ? found->second
               : all.emplace(std::pair(content, access), makePositions(content, access))
                     .first->second;
}

template const BenchVolume<Traits<2, 4, 1>>& benchVolume(Content);
template const BenchVolume<Traits<5, 5, 1>>& benchVolume(Content);

} // namespace Stratum::Bench
