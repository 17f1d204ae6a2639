// How much of a narrow band is sampled cubically.
#include "accuracySections.h"
#include "accuracyStencil.h"

#include <cmath>

namespace Stratum::Accuracy {

namespace {

constexpr std::size_t kPositions = 200'000;
constexpr double kRadius = 100;

enum class Around { kNothing, kCoarserTiles };

// Finest tiles where they come within `halfWidth` of the sphere; around them nothing, or the
// coarser tiles that the refinement leaves.
template <class Traits>
Tree<Traits> bandTree(double halfWidth, Around around) {
    TreeBuilder<Traits> builder;
    constexpr int reach = 128;
    builder.addRefined({{-reach, -reach, -reach}, {reach - 1, reach - 1, reach - 1}},
                       [=](const int3& tijk, int depth) {
                           const double half = Traits::tileExtent(depth) / 2.0;
                           const double distance =
                               std::hypot(tijk.x + half, tijk.y + half, tijk.z + half) - kRadius;
                           // A tile's corners lie sqrt(3) times half its extent from its centre.
                           const bool near = std::abs(distance) < halfWidth + half * 1.7321;
                           const bool finest = depth == Traits::kFinestDepth;
                           const bool small = Traits::tileExtent(depth) < kRadius;
                           const bool holds =
                               near ? finest : around == Around::kCoarserTiles && small;
                           return typename TreeBuilder<Traits>::Wish{holds, near && !finest};
                       });
    return builder.build(1, VoxelOffsetType::kCellCentre);
}

// A position within `depth` of the sphere.
double3 bandPosition(std::size_t i, double depth) {
    double3 p = drawPoint(i, 3);
    const double wanted = kRadius + depth * (2 * draw(i, 4) - 1);
    return p * (wanted / std::hypot(p.x, p.y, p.z));
}

template <class Traits>
void measure(Table& table, double halfWidth, Around around, double within) {
    using Probe = StencilProbe<Traits>;
    const Field distance{
        "distance", [](const double3& p) { return std::hypot(p.x, p.y, p.z) - kRadius; }, {}};
    const Volume<Traits> volume(bandTree<Traits>(halfWidth, around), distance);
    Probe probe(volume);
    std::array<std::size_t, 4> counts{};
    for (std::size_t i = 0; i < kPositions; ++i)
        ++counts[static_cast<std::size_t>(probe.at(bandPosition(i, within)))];
    const auto share = [&](typename Probe::Kind kind) {
        return text(100.0 * static_cast<double>(counts[static_cast<std::size_t>(kind)]) /
                    kPositions);
    };
    table.rows.push_back({shapeName<Traits>(),
                          around == Around::kNothing ? "nothing" : "coarser tiles", text(halfWidth),
                          text(within), share(Probe::Kind::kWhole), share(Probe::Kind::kPartial),
                          share(Probe::Kind::kJump)});
}

template <class Traits>
void measureShape(Table& table) {
    for (const Around around : {Around::kNothing, Around::kCoarserTiles})
        for (const double halfWidth : {2.0, 3.0, 4.0, 6.0}) {
            measure<Traits>(table, halfWidth, around, 0.5);
            measure<Traits>(table, halfWidth, around, halfWidth);
        }
}

} // namespace

bool narrowBand(Format format) {
    Table table{"Share of positions about a sphere, in percent",
                {"shape", "around the band", "half width of the band", "positions within",
                 "cubic, all values stored", "cubic, with defaults", "linear, at a jump"},
                {}};
    measureShape<Traits<2, 4, 1>>(table);
    measureShape<Traits<5, 5, 1>>(table);
    print(table, format);
    return true;
}

} // namespace Stratum::Accuracy
