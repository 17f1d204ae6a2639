// How the error falls as voxels get smaller.
#include "accuracySections.h"
#include "accuracyVolume.h"

#include <cmath>
#include <numeric>

namespace Stratum::Accuracy {

namespace {

constexpr std::size_t kPositions = 200'000;

// One run at one voxel width. `active` is the share of positions where clamping changed the value.
struct Step {
    double width;
    Norms norms;
    double active;
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

// The cube that is sampled reaches `reach` index units from the origin on each axis and is as long
// as the field's wave along x; the tree extends far enough for every stencil.
template <class Traits>
struct Domain {
    int reach, coarsestDepth;
    Field field;

    Volume<Traits> volume(int depth) const {
        TreeBuilder<Traits> builder;
        const int all = reach + 3 * Traits::voxelWidth(depth);
        builder.addBox(depth, {{-all, -all, -all}, {all, all, all}});
        return Volume<Traits>(builder.build(1, VoxelOffsetType::kCellCentre), field);
    }
    double3 position(std::size_t i) const { return drawPoint(i, 1) * reach; }
    double relativeWidth(int depth) const { return Traits::voxelWidth(depth) / (2.0 * reach); }
};

template <class Traits>
Domain<Traits> domain() {
    const int reach = Traits::kChildrenPerAxis == 2 ? 64 : 100;
    const int steps = Traits::kChildrenPerAxis == 2 ? 4 : 2;
    return {reach, Traits::kFinestDepth - steps, smoothField({0, 0, 0}, 2.0 * reach, 1)};
}

template <class Traits>
Step measure(const Domain<Traits>& domain, const Volume<Traits>& volume, int depth,
             const Case& what, bool clamp) {
    const Sample sample =
        what.isLinear ? volume.linear() : volume.cubic({.mode = what.mode, .clamp = clamp});
    const Sample unclamped = volume.cubic({.mode = what.mode, .clamp = false});
    Step step{domain.relativeWidth(depth), {}, 0};
    std::size_t active = 0;
    for (std::size_t i = 0; i < kPositions; ++i) {
        const double3 p = domain.position(i);
        const double value = sample(p);
        step.norms.add(value - domain.field.value(p));
        active += clamp && value != unclamped(p);
    }
    step.active = static_cast<double>(active) / kPositions;
    return step;
}

// The power of the voxel width by which an error fell.
double order(double before, double after, const Step& from, const Step& to) {
    return std::log(before / after) / std::log(from.width / to.width);
}

void addRows(Table& table, const std::string& shape, const Case& what, bool clamp,
             const std::vector<Step>& steps) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Step& step = steps[i];
        const Step* before = i > 0 ? &steps[i - 1] : nullptr;
        const auto orderOf = [&](double (*norm)(const Norms&)) {
            return before ? text(order(norm(before->norms), norm(step.norms), *before, step)) : "";
        };
        table.rows.push_back({shape, what.name,
                              what.isLinear ? "-"
                              : clamp       ? "on"
                                            : "off",
                              text(1 / step.width), text(step.norms.largest()),
                              orderOf([](const Norms& n) { return n.largest(); }),
                              text(step.norms.rms()),
                              orderOf([](const Norms& n) { return n.rms(); }),
                              clamp ? text(100 * step.active) : ""});
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
                 "% clamped"},
                {}};
    measureShape<Traits<2, 4, 1>>(table);
    measureShape<Traits<5, 5, 1>>(table);
    print(table, format);
    return true;
}

} // namespace Stratum::Accuracy
