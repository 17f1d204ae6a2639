// Where a graph's results go.
#pragma once

#include "Results.h"
#include "run/Graph.h"

#include <string>
#include <vector>

namespace Stratum::tools::graph {

/// The "outputs" of a document (null: every node that is not just data, under its own name), in
/// files or in the one document of results.
class Outputs {
public:
    /// Checks everything that can be told before the graph is evaluated.
    Outputs(const Json* json, const Json& nodes, const Graph& graph);

    /// The files that nodes read.
    std::vector<std::string> inputFiles() const;

    /// Fails when a file would take the place of one of these, or of a file that a node reads.
    void refuseReplacing(const std::vector<std::string>& others) const;

    /// Whether nothing is left for the document of results: every output has a file of its own.
    bool areAllFiles() const;

    /// Writes the files, each complete or not at all, and then the document, if anything is in it.
    void write(const Graph& graph, bool withSeconds, Results& results) const;

private:
    struct Wish {
        std::string name, node;
        const Json* place;
        std::string file = {};
    };

    static void writeFile(io::OutputFile& out, const Wish& wish, const Graph& graph,
                          bool withSeconds);

    void refuseSameFiles() const;

    const Json& nodes_;
    const Graph& graph_;
    std::vector<Wish> wishes_;
};

} // namespace Stratum::tools::graph
