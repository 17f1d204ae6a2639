#include "run/nodeTypes.h"

namespace Stratum::tools::graph {

namespace {

constexpr NodeType kNodeTypes[] = {
    {"array", evaluateArray, true},
    {"object", evaluateObject, true},
    {"volume", evaluateVolume, true},
    {"mesh", evaluateMesh, true},
    {"strands", evaluateStrands, true},
    {"points", evaluatePoints, true},
    {"geometry", evaluateGeometry, true},
    {"random_unit", evaluateRandomUnit, false},
    {"fold_seed", evaluateFoldSeed, false},
    {"linear_sampler", evaluateLinearSampler, false},
    {"cubic_sampler", evaluateCubicSampler, false},
    {"sample_volume", evaluateSampleVolume, false},
    {"sample_volume_gradient", evaluateSampleVolumeGradient, false},
    {"sample_volume_property", evaluateSampleVolumeProperty, false},
    {"generate_sample_locations", evaluateGenerateSampleLocations, false},
};

} // namespace

const NodeType& nodeType(const Json& node) {
    const Json& type = node.at("type");
    std::string names;
    for (const NodeType& row : kNodeTypes) {
        if (type.text() == row.name)
            return row;
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    }
    type.fail("there is no node type '" + type.text() + "'; there are: " + names);
}

} // namespace Stratum::tools::graph
