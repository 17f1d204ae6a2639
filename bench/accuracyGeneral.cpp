// The general path against linear sampling, where the depth changes.
#include "accuracySections.h"
#include "accuracyStencil.h"
#include "accuracyTrees.h"

#include <iostream>

namespace Stratum::Accuracy {

namespace {

constexpr std::size_t kPositions = 20'000;

// Positions whose stencils meet a change of depth.
template <class Traits>
std::vector<double3> positionsAtJumps(const Volume<Traits>& volume) {
    using Probe = StencilProbe<Traits>;
    Probe probe(volume);
    std::vector<double3> positions;
    for (std::size_t i = 0; positions.size() < kPositions; ++i) {
        const double3 p = drawPoint(i, 2) * RefinedCube<Traits>::inner;
        if (probe.at(p) == Probe::Kind::kJump)
            positions.push_back(p);
    }
    return positions;
}

Norms errors(const Sample& sample, const Field& field, const std::vector<double3>& positions) {
    Norms norms;
    for (const double3& p : positions)
        norms.add(sample(p) - field.value(p));
    return norms;
}

struct Case {
    VoxelOffsetType type;
    bool random; // else refined towards a sphere
    double wave; // in voxels of the coarsest depth
};

// Adds a row; false where the general path is less accurate than linear sampling.
template <class Traits>
bool measure(Table& table, const Case& c) {
    using Cube = RefinedCube<Traits>;
    const Field field = smoothField({0, 0, 0}, Cube::coarse, c.wave);
    const Volume<Traits> volume(c.random ? Cube::random(c.type) : Cube::sphere(c.type), field);
    const std::vector<double3> positions = positionsAtJumps(volume);
    const Norms linear = errors(volume.linear(), field, positions);
    std::vector<std::string> row{
        shapeName<Traits>(), text(static_cast<int>(c.type)), c.random ? "random" : "sphere",
        text(c.wave),        text(linear.largest()),         text(linear.rms())};
    bool better = true;
    for (const auto mode : {InterpolationMode::kCubicC0, InterpolationMode::kCubicC1}) {
        const Norms general =
            errors(volume.cubic({.mode = mode, .jumpPolicy = 0}), field, positions);
        row.insert(row.end(), {text(general.largest()), text(general.rms()),
                               text(general.largest() / linear.largest()),
                               text(general.rms() / linear.rms())});
        better &= general.largest() <= linear.largest() && general.rms() <= linear.rms();
    }
    table.rows.push_back(row);
    return better;
}

template <class Traits>
bool measureShape(Table& table) {
    bool better = true;
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner})
        for (const bool random : {false, true})
            for (const double wave : {8.0, 16.0, 32.0})
                better &= measure<Traits>(table, {type, random, wave});
    return better;
}

} // namespace

bool generalPath(Format format) {
    Table table{"Errors where stencils meet a change of depth, smooth field of amplitude 1",
                {"shape", "offset type", "tree", "coarsest voxels per wave", "kLinear largest",
                 "kLinear RMS", "C0 largest", "C0 RMS", "C0 / linear, largest", "C0 / linear, RMS",
                 "C1 largest", "C1 RMS", "C1 / linear, largest", "C1 / linear, RMS"},
                {}};
    bool better = measureShape<Traits<2, 4, 1>>(table);
    better &= measureShape<Traits<5, 5, 1>>(table);
    print(table, format);
    if (!better)
        std::cerr << "the general path is LESS accurate than kLinear in some row\n";
    return better;
}

} // namespace Stratum::Accuracy
