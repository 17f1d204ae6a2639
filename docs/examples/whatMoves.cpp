// Changes one input at a time and counts which of the locations are still there.
#include "geometries.h"
#include "ops/generate_sample_locations.h"

#include <oneapi/tbb/global_control.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

using namespace Examples;
using namespace VantorExp::Geometry;
using KDX::TileTree3D::double3;
using Vantor::Geometry::Common::GeoLocation;
using Locations = Ostrum::Array<GeoLocation>;

namespace {

struct Inputs {
    double amount = 1000;
    std::int64_t seed = 12;
    std::vector<long long> seedArray = {};
    std::int64_t most = -1; ///< max_number, if not negative
    float mask = -1;        ///< the mask's value everywhere; none if negative
    bool discard = false, invert = false;
    int threads = 2;
    float scale = 1;       ///< of the geometry
    bool isBent = false;   ///< a point was moved, or a value of the volume changed
    bool hasMore = false;  ///< an element follows the others
    bool hasFirst = false; ///< an element precedes the others
};

constexpr int kRows = 20;

// Quads of equal areas in a square of area 1.
Vantor::Object mesh(const Inputs& in) {
    std::vector<float3> points;
    std::vector<std::uint32_t> corners;
    const int first = in.hasFirst ? -1 : 0, last = in.hasMore ? kRows + 1 : kRows;
    const auto addQuad = [&](int row, int column) {
        const auto x = static_cast<float>(column), y = static_cast<float>(row);
        for (const float3& p : {float3{x, y, 0}, {x + 1, y, 0}, {x + 1, y + 1, 0}, {x, y + 1, 0}}) {
            corners.push_back(static_cast<std::uint32_t>(points.size()));
            points.push_back(p * (in.scale / kRows));
        }
    };
    for (int row = 0; row < kRows; ++row)
        for (int column = row == 0 ? first : 0; column < (row + 1 == kRows ? last : kRows);
             ++column)
            addQuad(row, column);
    if (in.isBent)
        points[points.size() / 2].z = 0.05F;
    return quadMesh(points, corners);
}

// Strands of ten segments, of lengths that add up to 1.
Vantor::Object strands(const Inputs& in) {
    std::vector<float3> points;
    const int first = in.hasFirst ? -1 : 0, last = in.hasMore ? kRows + 1 : kRows;
    for (int strand = first; strand < last; ++strand)
        for (int point = 0; point <= 10; ++point)
            points.push_back(float3{static_cast<float>(strand), 0, static_cast<float>(point) / 10} *
                             (in.scale / kRows));
    if (in.isBent)
        points[points.size() / 2].x += 0.01F;
    return strandsOf(points, 11);
}

// So many that two samples hardly ever fall on one of them.
Vantor::Object points(const Inputs& in) {
    constexpr int kPoints = 1000000;
    std::vector<float3> positions;
    const int first = in.hasFirst ? -1 : 0, last = in.hasMore ? kPoints + 1 : kPoints;
    for (int i = first; i < last; ++i)
        positions.push_back(float3{static_cast<float>(i), 0, 0} * in.scale);
    if (in.isBent)
        positions[positions.size() / 2].z = 1;
    Vantor::Object object;
    addPoints(object, positions);
    return object;
}

// A block of fog with an edge of one unit.
Vantor::Object fog(const Inputs& in) {
    using namespace KDX::TileTree3D;
    constexpr int kEdge = 32, kTile = 4;
    TreeBuilder<VolumeShape> tiles;
    tiles.addBox(VolumeShape::kFinestDepth, {{0, 0, 0}, {kEdge - 1, kEdge - 1, kEdge - 1}});
    const auto addTile = [&](int at) {
        tiles.addBox(VolumeShape::kFinestDepth,
                     {{at, at, at}, {at + kTile - 1, at + kTile - 1, at + kTile - 1}});
    };
    if (in.hasFirst)
        addTile(-kTile);
    if (in.hasMore)
        addTile(kEdge);
    const auto tree = tiles.build(in.scale / kEdge, VoxelOffsetType::kCellCentre);
    Vantor::Object volume;
    Vantor::Geometry::addTree<VolumeShape>(volume, tree);
    addChannel(volume, tree, Vantor::Geometry::sVoxelFogDensity,
               [&in](const double3& p) { return in.isBent && p.x < 4 ? 2 : 1; });
    addChannel(volume, tree, "mask", [&in](const double3&) { return in.mask; });
    return volume;
}

struct Generator {
    const char* name;
    Vantor::Object (*make)(const Inputs&);
    SampleType sampleType;
    AmountType amountType;
};

constexpr std::array<Generator, 6> kGenerators{{
    {"mesh, count", mesh, SampleType::Surface, AmountType::Count},
    {"mesh, density", mesh, SampleType::Surface, AmountType::Density},
    {"strands, count", strands, SampleType::Surface, AmountType::Count},
    {"strands, density", strands, SampleType::Surface, AmountType::Density},
    {"points", points, SampleType::Points, AmountType::Count},
    {"fog, count", fog, SampleType::Points, AmountType::Count},
}};

void addMask(Vantor::Object& object, float value) {
    using namespace Vantor::Geometry;
    const std::vector<float> values(object.elementCount(sPointComp), value);
    object.setProperty("mask", sPointComp, arrayOf(values));
}

Locations scatter(const Generator& generator, const Inputs& in) {
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism,
                                      static_cast<std::size_t>(in.threads));
    Vantor::Object object = generator.make(in);
    if (in.mask >= 0 && generator.make != fog)
        addMask(object, in.mask);
    Vantor::Sample::GenerateLocationOptions options;
    options.sample_type = generator.sampleType;
    options.amount = in.amount;
    options.amount_type = generator.amountType;
    options.seed = in.seed;
    options.seed_array = arrayOf(in.seedArray);
    options.use_max_number = in.most >= 0;
    options.max_number = in.most;
    options.use_mask = in.mask >= 0;
    options.mask_property = "mask";
    options.mask_control = in.discard ? MaskControl::Discard : MaskControl::Resample;
    options.invert_mask = in.invert;
    Locations locations;
    Vantor::Sample::generateSampleLocations(object, options, locations, nullptr);
    if (in.hasFirst && generator.make != fog) // the others have moved up
        for (GeoLocation& location : locations)
            --location.element;
    if (generator.make == fog) // whose locations are positions, in units that grow with the volume
        for (GeoLocation& location : locations)
            for (float& coordinate : location.weights)
                coordinate /= in.scale;
    return locations;
}

// In any order that brings equal ones together.
bool isBefore(const GeoLocation& a, const GeoLocation& b) {
    return std::tie(a.element, a.indices, a.weights) < std::tie(b.element, b.indices, b.weights);
}

// How many of the former locations are there, a mark where one of them has another number, and how
// many new ones.
std::string difference(Locations former, Locations now) {
    std::size_t inPlace = 0;
    for (std::size_t i = 0; i < std::min(former.size(), now.size()); ++i)
        inPlace += former[i] == now[i] ? 1U : 0U;
    std::sort(former.begin(), former.end(), isBefore);
    std::sort(now.begin(), now.end(), isBefore);
    std::vector<GeoLocation> kept;
    std::set_intersection(former.begin(), former.end(), now.begin(), now.end(),
                          std::back_inserter(kept), isBefore);
    return std::to_string(kept.size()) + (inPlace < kept.size() ? "*" : "") + " + " +
           std::to_string(now.size() - kept.size());
}

// How many of the former locations have the element and indices that they had.
std::string sameSegment(const Locations& former, const Locations& now) {
    std::size_t same = 0;
    for (std::size_t i = 0; i < std::min(former.size(), now.size()); ++i)
        same += former[i].element == now[i].element && former[i].indices == now[i].indices;
    return std::to_string(same);
}

void compare(const char* change, const Inputs& former, const Inputs& now) {
    std::printf("| %s |", change);
    for (const Generator& generator : kGenerators)
        std::printf(" %s |",
                    difference(scatter(generator, former), scatter(generator, now)).c_str());
    std::printf("\n");
}

void compareSegments(const char* change, const Inputs& now) {
    std::printf("| %s |", change);
    for (const int generator : {0, 2})
        std::printf(" %s |", sameSegment(scatter(kGenerators[generator], {}),
                                         scatter(kGenerators[generator], now))
                                 .c_str());
    std::printf("\n");
}

} // namespace

int main() {
    std::printf("| change |");
    for (const Generator& generator : kGenerators)
        std::printf(" %s |", generator.name);
    std::printf("\n|---|---|---|---|---|---|---|\n");
    compare("1 thread instead of 2", {}, {.threads = 1});
    compare("amount 2000 instead of 1000", {}, {.amount = 2000});
    compare("amount 1000.5 instead of 1000", {}, {.amount = 1000.5});
    compare("`max_number` 300 instead of none", {}, {.most = 300});
    compare("seed 13 instead of 12", {}, {.seed = 13});
    compare("seed 3 and array [3], which fold to 12", {}, {.seed = 3, .seedArray = {3}});
    compare("mask of 0.5, resampled, instead of none", {}, {.mask = 0.5F});
    compare("mask of 0.5, discarded, instead of none", {}, {.mask = 0.5F, .discard = true});
    compare("discarded, mask of 0.6 instead of 0.5", {.mask = 0.5F, .discard = true},
            {.mask = 0.6F, .discard = true});
    compare("resampled, mask of 0.6 instead of 0.5", {.mask = 0.5F}, {.mask = 0.6F});
    compare("discarded, mask inverted", {.mask = 0.5F, .discard = true},
            {.mask = 0.5F, .discard = true, .invert = true});
    compare("geometry twice as large", {}, {.scale = 2});
    compare("a point moved, or values changed", {}, {.isBent = true});
    compare("an element more at the end", {}, {.hasMore = true});
    compare("an element more at the front", {}, {.hasFirst = true});

    std::printf("\n| change | mesh, count | strands, count |\n|---|---|---|\n");
    compareSegments("a point moved", {.isBent = true});
    compareSegments("an element more at the end", {.hasMore = true});
    compareSegments("seed 12 + 2^32", {.seed = 12 + (std::int64_t{1} << 32)});
}
