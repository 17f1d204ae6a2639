// How the error falls as voxels get smaller.
#include "accuracySections.h"
#include "accuracyVolume.h"

#include <algorithm>
#include <cmath>

namespace Stratum::Accuracy {

namespace {

constexpr std::size_t kPositions = 200'000, kNearExtrema = 100'000;

// Voxels of the coarsest depth per wave of the field along x. Half a wave is a whole number of them
// on every axis, and the extrema lie a third of one beyond a sample. So they lie a third of a voxel
// from the nearest sample at all depths, and what happens at them can be compared.
constexpr double kCoarsestPerWave = 8;

// One run at one voxel width: errors all over the cube, and within a voxel of the field's extrema.
// `clamped` is the share of positions all over where clamping changed the value.
struct Step {
    double voxelsPerWave;
    Norms all, nearExtrema;
    double clamped = 0;
};

struct Case {
    const char* name;
    InterpolationMode mode;
    bool isLinear = false;
};
constexpr Case kCases[] = {
    {"kLinear", InterpolationMode::kCubicC0, true},
    {"kQuadraticC0Averaged", InterpolationMode::kQuadraticC0Averaged},
    {"kCubicC0", InterpolationMode::kCubicC0},
    {"kCubicC1", InterpolationMode::kCubicC1},
    {"kCubicC1Monotonic", InterpolationMode::kCubicC1Monotonic},
};

// The cube that is sampled reaches `reach` index units from the origin on each axis; the tree
// extends far enough for every stencil.
template <class Traits>
struct Domain {
    int reach, coarsestDepth;
    Field field;

    Volume<Traits> volume(int depth) const {
        TreeBuilder<Traits> builder;
        const int all = reach + 3 * Traits::voxelWidth(depth);
        builder.addBox(depth, {{-all, -all, -all}, {all, all, all}});
        return Volume<Traits>(builder.build(1, VoxelOffsetType::kCorner), field);
    }
    double3 position(std::size_t i) const { return drawPoint(i, 1) * reach; }
    double3 nearExtremum(std::size_t i, int depth) const {
        const double3 off = drawPoint(i, 13) * Traits::voxelWidth(depth);
        const auto along = [&](double relativeNumber, std::uint64_t stream, double offset) {
            const double halfWave = kCoarsestPerWave * coarsest() / relativeNumber / 2;
            const double number = std::round((2 * draw(i, stream) - 1) * reach / halfWave);
            const double extremum = coarsest() / 3.0 + number * halfWave;
            return (std::abs(extremum) < reach ? extremum : coarsest() / 3.0) + offset;
        };
        return {along(kSmoothNumbers.x, 10, off.x), along(kSmoothNumbers.y, 11, off.y),
                along(kSmoothNumbers.z, 12, off.z)};
    }
    int coarsest() const { return Traits::voxelWidth(coarsestDepth); }
    double voxelsPerWave(int depth) const {
        return kCoarsestPerWave * coarsest() / Traits::voxelWidth(depth);
    }
};

template <class Traits>
Domain<Traits> domain() {
    constexpr bool two = Traits::kChildrenPerAxis == 2;
    constexpr int reach = two ? 128 : 125, coarsestDepth = Traits::kFinestDepth - (two ? 4 : 2);
    constexpr double unit = Traits::voxelWidth(coarsestDepth);
    const double3 extremum = smoothFieldExtremum(unit, kCoarsestPerWave);
    const double3 origin{unit / 3 - extremum.x, unit / 3 - extremum.y, unit / 3 - extremum.z};
    return {reach, coarsestDepth, smoothField(origin, unit, kCoarsestPerWave)};
}

template <class Traits>
Step measure(const Domain<Traits>& domain, const Volume<Traits>& volume, int depth,
             const Case& what, bool clamp) {
    const Sample sample =
        what.isLinear ? volume.linear() : volume.cubic({.mode = what.mode, .clamp = clamp});
    const Sample unclamped = volume.cubic({.mode = what.mode, .clamp = false});
    Step step{domain.voxelsPerWave(depth), {}, {}};
    std::size_t clamped = 0;
    for (std::size_t i = 0; i < kPositions; ++i) {
        const double3 p = domain.position(i);
        const double value = sample(p);
        step.all.add(value - domain.field.value(p));
        clamped += clamp && value != unclamped(p);
    }
    for (std::size_t i = 0; i < kNearExtrema; ++i) {
        const double3 p = domain.nearExtremum(i, depth);
        step.nearExtrema.add(sample(p) - domain.field.value(p));
    }
    step.clamped = static_cast<double>(clamped) / kPositions;
    return step;
}

// The power of the voxel width by which an error fell.
std::string order(const Step& from, const Step& to, double (*error)(const Step&)) {
    return text(std::log(error(from) / error(to)) /
                std::log(to.voxelsPerWave / from.voxelsPerWave));
}

void addRows(Table& table, const std::string& shape, const Case& what, bool clamp,
             const std::vector<Step>& steps) {
    using Error = double (*)(const Step&);
    constexpr Error kErrors[] = {
        [](const Step& s) { return std::max(s.all.largest(), s.nearExtrema.largest()); },
        [](const Step& s) { return s.all.rms(); },
        [](const Step& s) { return s.nearExtrema.rms(); }};
    for (std::size_t i = 0; i < steps.size(); ++i) {
        std::vector<std::string> row{shape, what.name,
                                     what.isLinear ? "-"
                                     : clamp       ? "on"
                                                   : "off",
                                     text(steps[i].voxelsPerWave)};
        for (const Error error : kErrors) {
            row.push_back(text(error(steps[i])));
            row.push_back(i > 0 ? order(steps[i - 1], steps[i], error) : "");
        }
        row.push_back(clamp ? text(100 * steps[i].clamped) : "");
        table.rows.push_back(row);
    }
}

template <class Traits>
void measureShape(Table& table) {
    const Domain<Traits> where = domain<Traits>();
    std::vector<Volume<Traits>> volumes;
    for (int depth = where.coarsestDepth; depth <= Traits::kFinestDepth; ++depth)
        volumes.push_back(where.volume(depth));
    for (const bool clamp : {false, true})
        for (const Case& what : kCases) {
            if (clamp && what.isLinear)
                continue;
            std::vector<Step> steps;
            for (std::size_t i = 0; i < volumes.size(); ++i)
                steps.push_back(measure(where, volumes[i],
                                        where.coarsestDepth + static_cast<int>(i), what, clamp));
            addRows(table, shapeName<Traits>(), what, clamp, steps);
        }
}

} // namespace

bool convergence(Format format) {
    Table table{"Error by voxels per wave, smooth field of amplitude 1",
                {"shape", "mode", "clamp", "voxels per wave", "largest", "order", "RMS", "order",
                 "RMS near extrema", "order", "% clamped"},
                {}};
    measureShape<Traits<2, 4, 1>>(table);
    measureShape<Traits<5, 5, 1>>(table);
    print(table, format);
    return true;
}

} // namespace Stratum::Accuracy
