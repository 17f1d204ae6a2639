// The kinds of nodes. A new one is a source of its own, a line here and a row in the table.
#pragma once

#include "run/Node.h"

namespace Stratum::tools::graph {

struct NodeType {
    const char* name;
    Outcome (*evaluate)(const Json& node, const Inputs& inputs);
    /// Whether the node is input only, and so no result unless it is asked for.
    bool isData;
};

/// The type that a node names; fails for a name that is none.
const NodeType& nodeType(const Json& node);

Outcome evaluateArray(const Json& node, const Inputs& inputs);
Outcome evaluateObject(const Json& node, const Inputs& inputs);
Outcome evaluateVolume(const Json& node, const Inputs& inputs);
Outcome evaluateMesh(const Json& node, const Inputs& inputs);
Outcome evaluateStrands(const Json& node, const Inputs& inputs);
Outcome evaluatePoints(const Json& node, const Inputs& inputs);
Outcome evaluateGeometry(const Json& node, const Inputs& inputs);
Outcome evaluateRandomUnit(const Json& node, const Inputs& inputs);
Outcome evaluateFoldSeed(const Json& node, const Inputs& inputs);
Outcome evaluateLinearSampler(const Json& node, const Inputs& inputs);
Outcome evaluateCubicSampler(const Json& node, const Inputs& inputs);
Outcome evaluateSampleVolume(const Json& node, const Inputs& inputs);
Outcome evaluateSampleVolumeGradient(const Json& node, const Inputs& inputs);
Outcome evaluateSampleVolumeProperty(const Json& node, const Inputs& inputs);
Outcome evaluateGenerateSampleLocations(const Json& node, const Inputs& inputs);

} // namespace Stratum::tools::graph
