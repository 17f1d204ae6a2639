#include "run/Graph.h"

#include "run/nodeTypes.h"

#include <deque>
#include <set>

namespace Stratum::tools::graph {

namespace {

void collectReferences(const Json& json, std::vector<const Json*>& references) {
    if (Inputs::isReference(json)) {
        references.push_back(&json);
        return;
    }
    if (json.isList())
        for (const Json& child : json.list())
            collectReferences(child, references);
    if (json.isRecord())
        for (const auto& [key, child] : json.record())
            collectReferences(child, references);
}

const std::string& target(const Json* reference) {
    return reference->at("node").text();
}

} // namespace

Graph::Graph(const Json& nodes, const std::filesystem::path& folder, bool quiet)
    : inputs_([this](const std::string& node) { return outcomes_.at(node).get(); }, folder, quiet),
      json_(&nodes) {
    for (const auto& [name, json] : nodes.record()) {
        nodeType(json);
        Node& node = nodes_[name];
        node.json = &json;
        for (const auto& [key, parameter] : json.record())
            collectReferences(parameter, node.references);
    }
    for (const auto& [name, node] : nodes_)
        for (const Json* reference : node.references)
            checkReference(*reference);
    sort();
}

void Graph::checkReference(const Json& reference) const {
    const Json& node = reference.at("node");
    if (nodes_.contains(node.text()))
        return;
    std::string names;
    for (const auto& [name, json] : json_->record())
        names += (names.empty() ? "" : ", ") + name;
    node.fail("there is no node '" + node.text() + "'; there are: " + names);
}

// Nodes that wait for nothing come first, in the order of the document; each then releases others.
void Graph::sort() {
    std::map<std::string, std::size_t> waiting;
    std::map<std::string, std::vector<std::string>> users;
    std::deque<std::string> ready;
    for (const auto& [name, json] : json_->record()) {
        std::set<std::string> needs;
        for (const Json* reference : nodes_.at(name).references)
            needs.insert(target(reference));
        for (const auto& need : needs)
            users[need].push_back(name);
        if (needs.empty())
            ready.push_back(name);
        else
            waiting[name] = needs.size();
    }
    for (; !ready.empty(); ready.pop_front()) {
        order_.push_back(ready.front());
        for (const auto& user : users[ready.front()])
            if (--waiting.at(user) == 0) {
                waiting.erase(user);
                ready.push_back(user);
            }
    }
    if (!waiting.empty())
        failWithCycle(waiting);
}

// Every node that still waits refers to another such node, so that following them comes back.
void Graph::failWithCycle(const std::map<std::string, std::size_t>& waiting) const {
    const auto next = [&](const std::string& name) {
        for (const Json* reference : nodes_.at(name).references)
            if (waiting.contains(target(reference)))
                return reference;
        return static_cast<const Json*>(nullptr);
    };
    std::set<std::string> seen;
    std::string name = waiting.begin()->first;
    while (seen.insert(name).second)
        name = target(next(name));
    std::string circle = name;
    const std::string start = name;
    do {
        name = target(next(name));
        circle += " -> " + name;
    } while (name != start);
    next(start)->fail("nodes depend on each other in a circle: " + circle);
}

void Graph::evaluate(const std::function<void(const std::string& node)>& begin) {
    for (const auto& name : order_) {
        const Json& json = *nodes_.at(name).json;
        io::throwIfInterrupted();
        begin(name);
        outcomes_[name] = std::make_unique<const Outcome>(nodeType(json).evaluate(json, inputs_));
    }
}

std::vector<std::string> Graph::results() const {
    std::vector<std::string> names;
    for (const auto& [name, json] : json_->record())
        if (!nodeType(json).isData)
            names.push_back(name);
    return names;
}

} // namespace Stratum::tools::graph
