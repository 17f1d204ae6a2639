// How samplers do where the depth changes by one to three at once.
#include "accuracyLevels.h"
#include "accuracySections.h"

#include <iostream>

namespace Stratum::Accuracy {

namespace {

constexpr double kStep = 0x1p-12; // of central differences, in fine voxels

// Values of the fields are below 8 and come from some ten roundings of them; coordinates of several
// thousand index units over differences of a voxel lose ten more bits.
constexpr double kRounding = 1e-12;

template <class Traits>
struct Case {
    Border<Traits> border;
    VoxelOffsetType type;
    Field field;
};

double3 differences(const Sample& sample, const double3& p, double step) {
    const auto slope = [&](const double3& d) {
        return (sample({p.x + d.x, p.y + d.y, p.z + d.z}) -
                sample({p.x - d.x, p.y - d.y, p.z - d.z})) /
               (2 * step);
    };
    return {slope({step, 0, 0}), slope({0, step, 0}), slope({0, 0, step})};
}

// The length of the difference of a gradient per index unit from one per coarse voxel.
double gradientError(const double3& perIndex, const double3& perCoarse, double coarse) {
    return std::hypot(perIndex.x * coarse - perCoarse.x, perIndex.y * coarse - perCoarse.y,
                      perIndex.z * coarse - perCoarse.z);
}

template <class Traits>
BorderErrors measure(const Case<Traits>& c, const Sample& sample) {
    const BorderPositions<Traits> positions(c.border, c.type);
    const double step = kStep * c.border.fine;
    BorderErrors errors;
    for (std::size_t i = 0; i < positions.kNear; ++i) {
        const double3 p = positions.near(i);
        errors.value.add(sample(p) - c.field.value(p));
        if (positions.isInsideCell(p, step))
            errors.gradient.add(
                gradientError(differences(sample, p, step), c.field.gradient(p), c.border.coarse));
    }
    for (std::size_t i = 0; i < positions.kOnBorder; ++i) {
        double low = std::numeric_limits<double>::infinity(), high = -low;
        for (int side = 0; side < positions.sides(); ++side) {
            const double3 p = positions.onBorder(i, side);
            const double value = sample(p);
            errors.value.add(value - c.field.value(p));
            low = std::min(low, value);
            high = std::max(high, value);
        }
        errors.borderStep = std::max(errors.borderStep, high - low);
    }
    for (std::size_t i = 0; i < positions.kOnFaces; ++i) {
        const auto [below, on] = positions.onFace(i);
        errors.cellStep = std::max(errors.cellStep, std::abs(sample(below) - sample(on)));
    }
    return errors;
}

template <class Traits>
Norms ownGradientErrors(const Case<Traits>& c, LinearSampler<Traits, double> sampler) {
    const BorderPositions<Traits> positions(c.border, c.type);
    Norms norms;
    for (std::size_t i = 0; i < positions.kNear; ++i) {
        const double3 p = positions.near(i);
        double3 gradient;
        sampler.sampleGradient(p, Traits::kFinestDepth, kIndex, gradient);
        if (positions.isInsideCell(p, kStep * c.border.fine))
            norms.add(gradientError(gradient, c.field.gradient(p), c.border.coarse));
    }
    return norms;
}

// The largest difference of a method from linear sampling next to the border.
template <class Traits>
double fromLinear(const Case<Traits>& c, const Sample& sample, const Sample& linear) {
    const BorderPositions<Traits> positions(c.border, c.type);
    double largest = 0;
    for (std::size_t i = 0; i < positions.kNear; ++i)
        if (const double3 p = positions.near(i); positions.isAtJump(p))
            largest = std::max(largest, std::abs(sample(p) - linear(p)));
    return largest;
}

// The worst of a method over faces, edges and corners and both offset types, by shape, field and
// jump.
struct Worst {
    std::string shape, field, method;
    std::array<BorderErrors, 3> byJump;
};

class Results {
public:
    Table rows{"",
               {"shape", "offset type", "border", "jump", "field", "method", "largest", "RMS",
                "step at border", "step between cells", "gradient largest", "gradient RMS",
                "own gradient largest"},
               {}};
    std::vector<Worst> worst;
    double exactness = 0, gradientExactness = 0, fallback = 0;

    template <class Traits>
    void add(const Case<Traits>& c, const std::string& method, const BorderErrors& e) {
        rows.rows.push_back({shapeName<Traits>(), text(static_cast<int>(c.type)), c.border.name(),
                             text(c.border.jump), c.field.name, method, text(e.value.largest()),
                             text(e.value.rms()), text(e.borderStep), text(e.cellStep),
                             text(e.gradient.largest()), text(e.gradient.rms()),
                             e.ownGradient ? text(e.ownGradient->largest()) : ""});
        if (c.field.name == "constant" || c.field.name == "linear") {
            exactness = std::max({exactness, e.value.largest(), e.borderStep, e.cellStep});
            if (e.ownGradient)
                gradientExactness = std::max(gradientExactness, e.ownGradient->largest());
            return;
        }
        BorderErrors& sum = find(shapeName<Traits>(), c.field.name, method)
                                .byJump[static_cast<std::size_t>(c.border.jump - 1)];
        sum.value.add(e.value);
        sum.gradient.add(e.gradient);
        sum.borderStep = std::max(sum.borderStep, e.borderStep);
        sum.cellStep = std::max(sum.cellStep, e.cellStep);
        if (e.ownGradient) {
            sum.ownGradient = sum.ownGradient.value_or(Norms());
            sum.ownGradient->add(*e.ownGradient);
        }
    }

private:
    Worst& find(const std::string& shape, const std::string& field, const std::string& method) {
        for (Worst& w : worst)
            if (w.shape == shape && w.field == field && w.method == method)
                return w;
        return worst.emplace_back(Worst{shape, field, method, {}});
    }
};

template <class Traits>
void measureCase(Results& results, const Tree<Traits>& tree, const Case<Traits>& c) {
    const Volume<Traits> volume(tree, c.field);
    const std::vector<Method> methods = levelChangeMethods(volume);
    for (const Method& method : methods) {
        BorderErrors errors = measure(c, method.sample);
        if (method.name == "kLinear")
            errors.ownGradient = ownGradientErrors(c, volume.linearSampler());
        if (method.name.ends_with("(operators)"))
            results.fallback =
                std::max(results.fallback, fromLinear(c, method.sample, methods[0].sample));
        results.add(c, method.name, errors);
    }
}

template <class Traits>
void measureShape(Results& results) {
    for (const auto type : {VoxelOffsetType::kCellCentre, VoxelOffsetType::kCorner})
        for (int jump = 1; jump <= 3; ++jump)
            for (int axes = 1; axes <= 3; ++axes) {
                const Border<Traits> border(jump, axes);
                const double3 origin{double(border.origin[0]), double(border.origin[1]),
                                     double(border.origin[2])};
                const double unit = border.coarse;
                const Tree<Traits> tree = borderTree(border, type);
                for (const Field& field :
                     {constantField(), linearField(origin, unit), quadraticField(origin, unit),
                      smoothField(origin, unit, 12)})
                    measureCase<Traits>(results, tree, {border, type, field});
            }
}

using Quantity = std::optional<double> (*)(const BorderErrors&);

void printWorst(const Results& results, const std::string& title, Quantity quantity) {
    Table table{title, {"shape", "field", "method", "1 depth", "2 depths", "3 depths"}, {}};
    for (const Worst& w : results.worst) {
        std::vector<std::string> row{w.shape, w.field, w.method};
        for (const BorderErrors& errors : w.byJump)
            if (const auto value = quantity(errors))
                row.push_back(text(*value));
        if (row.size() == table.columns.size())
            table.rows.push_back(row);
    }
    print(table, Format::kMarkdown);
}

void printSummary(const Results& results) {
    using E = BorderErrors;
    using Value = std::optional<double>;
    printWorst(results, "Largest error", [](const E& e) -> Value { return e.value.largest(); });
    printWorst(results, "Root-mean-square error",
               [](const E& e) -> Value { return e.value.rms(); });
    printWorst(results, "Largest step on the border",
               [](const E& e) -> Value { return e.borderStep; });
    printWorst(results, "Largest step between cells near the border",
               [](const E& e) -> Value { return e.cellStep; });
    printWorst(results, "Gradient error, root-mean-square, by central differences",
               [](const E& e) -> Value { return e.gradient.rms(); });
    printWorst(results, "Gradient error, largest, by central differences",
               [](const E& e) -> Value { return e.gradient.largest(); });
    printWorst(results, "Gradient error, largest, of the sampler's own gradient", [](const E& e) {
        return e.ownGradient ? Value(e.ownGradient->largest()) : Value();
    });
}

bool check(const std::string& what, double largest, double allowed) {
    const bool holds = largest <= allowed;
    std::cerr << what << ": " << text(largest) << (holds ? " (within " : " (MORE THAN ")
              << text(allowed) << ")\n";
    return holds;
}

} // namespace

bool levelChanges(Format format) {
    Results results;
    measureShape<Traits<2, 4, 1>>(results);
    measureShape<Traits<5, 5, 1>>(results);
    if (format == Format::kCsv)
        print(results.rows, format);
    else
        printSummary(results);
    const bool exact =
        check("constant and linear fields, largest error or step", results.exactness, kRounding);
    const bool gradients =
        check("their gradients by kLinear, largest error", results.gradientExactness, kRounding);
    const bool fallback = check("operators' cubic at a jump, largest difference from kLinear",
                                results.fallback, kRounding);
    return exact && gradients && fallback;
}

} // namespace Stratum::Accuracy
