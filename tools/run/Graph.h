// Evaluating a graph.
#pragma once

#include "run/Node.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Stratum::tools::graph {

/// The nodes of a document and, once evaluated, their outcomes.
class Graph {
public:
    /// Checks that all types and all references exist and that no node depends on itself. The
    /// document must outlive the graph; `folder` is where relative file names start, and `quiet`
    /// keeps back what warnings there are about files.
    Graph(const Json& nodes, const std::filesystem::path& folder, bool quiet);

    /// Evaluates every node after those it refers to; `begin(name)` is called before each.
    void evaluate(const std::function<void(const std::string& node)>& begin);

    /// For whoever refers to nodes from outside of them; see checkReference().
    const Inputs& inputs() const { return inputs_; }
    const Outcome& outcome(const std::string& node) const { return *outcomes_.at(node); }

    /// Fails for a reference to a node that there is not.
    void checkReference(const Json& reference) const;

    /// Nodes that are not just data, in the order of the document.
    std::vector<std::string> results() const;

private:
    struct Node {
        const Json* json;
        std::vector<const Json*> references;
    };

    void sort();
    [[noreturn]] void failWithCycle(const std::map<std::string, std::size_t>& waiting) const;

    std::map<std::string, Node> nodes_;
    std::vector<std::string> order_;
    std::map<std::string, std::unique_ptr<const Outcome>> outcomes_;
    Inputs inputs_;
    const Json* json_;
};

} // namespace Stratum::tools::graph
